#include "ui/remote_client_control.h"

#include "remote/socket_controller.h"

#include <algorithm>

namespace merlode {

QString RemoteClientControl::text() const {
    const auto& host = SocketController::sharedController().clientHostName();
    return host ? QStringLiteral("Connected to ") + *host : QStringLiteral("Local");
}

double RemoteClientControl::buttonWidth(double textWidth, double arrowWidth) {
    return std::min(textWidth + kTextMargin + arrowWidth, kMostButtonWidth);
}

std::vector<MenuEntry> RemoteClientControl::triangleButtonSelected() {
    fixFirstResponderStatus_();
    SocketController::sharedController().discoverHosts();
    return remoteClientMenu();
}

std::vector<MenuEntry> RemoteClientControl::remoteClientMenu() {
    auto& link = SocketController::sharedController();
    const auto connected = link.clientHostName();
    std::vector<MenuEntry> entries;
    if (connected)
        entries.push_back(
            {QStringLiteral("Disconnect"), true, std::nullopt, [this] { clientMenuItemLocal(); }, {}});
    for (const auto& name : link.socketClient().hostList())
        entries.push_back(
            {name, true, name == connected, [this, name] { clientMenuItemSelected(name); }, {}});
    if (entries.empty())
        entries.push_back({link.discoveringHosts() ? QStringLiteral("Looking for other machines…")
                                                   : QStringLiteral("No other machine was found"),
                           false,
                           std::nullopt,
                           {},
                           {}});
    return entries;
}

void RemoteClientControl::clientMenuItemSelected(const QString& title) {
    auto& link = SocketController::sharedController();
    if (link.clientHostName() != title)
        link.connectToHostName(title);
}

void RemoteClientControl::clientMenuItemLocal() {
    SocketController::sharedController().connectToSelf();
}

} // namespace merlode
