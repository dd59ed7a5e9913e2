#include "remote/socket_client.h"

#include "base/notification_names.h"
#include "base/session.h"
#include "platform/user_defaults.h"
#include "remote/socket_controller.h"

#include <QLoggingCategory>
#include <QRegularExpression>

#include <algorithm>
#include <array>

#include <arpa/inet.h>

namespace merlode {

namespace {

Q_LOGGING_CATEGORY(log, "merlode.remote", QtWarningMsg)

bool isNumericAddress(const QString& host) {
    std::array<char, sizeof(in6_addr)> ignored{};
    const QByteArray text = host.section(u'%', 0, 0).toLatin1();
    return inet_pton(host.contains(u':') ? AF_INET6 : AF_INET, text.constData(), ignored.data()) == 1;
}

} // namespace

std::optional<HostService> hostAtAddress(const QString& text) {
    static const QRegularExpression form(
        QStringLiteral(R"(\A(?:\[([0-9A-Fa-f:.%\w]+)\]|([0-9.]+)):([0-9]{1,5})\z)"));
    const auto match = form.match(text);
    const QString host = match.captured(1) + match.captured(2);
    const uint port = match.captured(3).toUInt();
    if (!match.hasMatch() || port == 0 || port > 0xFFFF || !isNumericAddress(host))
        return std::nullopt;
    return HostService{text, SocketAddress{host, static_cast<quint16>(port)}};
}

std::shared_ptr<SocketClient> SocketClient::make(Session& session, MessageHandler handler) {
    return std::shared_ptr<SocketClient>(new SocketClient(session, std::move(handler)));
}

SocketClient::SocketClient(Session& session, MessageHandler handler)
    : SocketConnection(session, std::move(handler)) {
    hostList_.onSet([this](const auto&) {
        this->session().notificationCenter().post(notifications::kSocketHostListDidChange);
    });
}

void SocketClient::observeCurrentServerName(std::function<void(const QString&)> observer) {
    currentServerName_.onSet([this, observer = std::move(observer)](const auto&) {
        if (observer)
            observer(currentServerName());
    });
}

// Finding servers.

void SocketClient::discoverHosts() {
    hosts_.clear();
    hostList_.set({});
    ServiceDiscovery::BrowseCallbacks callbacks;
    callbacks.willSearch = [this] {
        if (const auto controller = delegate.lock())
            controller->socketClientWillSearch();
    };
    callbacks.didFind = [this](const QString& name, bool moreComing) { didFindService(name, moreComing); };
    callbacks.didStop = [] { qCInfo(log) << "net server search stopped"; };
    callbacks.didNotSearch = [](const QString& reason) {
        qCInfo(log).noquote() << "did not search -" << reason;
    };
    hostBrowser_ = session().port<ServiceDiscovery>().browse(kServiceType(), std::move(callbacks));
}

// What this machine has just ceased to announce is seen for a while longer.
bool SocketClient::isOwnStoppedService(const QString& name) const {
    return session().port<UserDefaults>().valueFor(defaults::kHostName) == name &&
           SocketController::sharedController().serverStopTime() >= session().runLoop().now();
}

void SocketClient::didFindService(const QString& name, bool moreComing) {
    if (isOwnStoppedService(name))
        return; // even as the last of its batch, which then goes on with the next service that comes up
    const HostService service{name};
    if (std::ranges::find(hosts_, service) == hosts_.end())
        hosts_.push_back(service);
    if (moreComing)
        return;
    QStringList names;
    for (const auto& host : hosts_)
        names << host.name;
    hostList_.set(names);
    hostBrowser_->stop();
    if (const auto controller = delegate.lock())
        controller->socketClientDiscoverSearchFinished();
}

// The connection.

void SocketClient::connectToHost(const HostService& service) {
    setCurrentServerName(service.name);
    if (service.address)
        return didResolve(service.name, {*service.address}, service.address->port);
    ServiceDiscovery::ResolveCallbacks callbacks;
    callbacks.didResolve = [this, name = service.name](const auto& addresses, quint16 port) {
        didResolve(name, addresses, port);
    };
    callbacks.didNotResolve = [this](const QString& reason) {
        qCInfo(log).noquote() << "did not resolve -" << reason;
        setCurrentServerName({});
    };
    // What browsing has found is only a name: where it leads is looked up now.
    hostDiscovery_ = session().port<ServiceDiscovery>().resolve(kServiceType(), service.name, kResolveTime,
                                                                std::move(callbacks));
}

void SocketClient::didResolve(const QString& name, const std::vector<SocketAddress>& addresses,
                              quint16 port) {
    qCInfo(log).noquote().nospace() << "found: " << name << " port: " << port;
    if (addresses.empty() || currentServerName() != name)
        return;
    client_ = makeSocket();
    QString error;
    if (!client_->connectToAddress(addresses.front(), &error))
        qCInfo(log).noquote() << "problem?" << error;
}

void SocketClient::socketDidConnectToHost(const SocketPtr& socket, const QString& host, quint16 port) {
    if (socket != client_ || currentServerName().isEmpty()) {
        disconnectAlert = false; // nobody wants it any more
        return socket->disconnect();
    }
    disconnectAlert = true;
    currentServer_ = socket;
    readMessage(socket);
    if (const auto controller = delegate.lock())
        controller->socketClientConnectedToHost(socket, host, port);
}

void SocketClient::disconnectFromHost(bool alert) {
    disconnectAlert = alert;
    setCurrentServerName({});
    if (client_)
        client_->disconnect();
}

void SocketClient::socketDidDisconnect(const SocketPtr& socket, const QString& error) {
    if (socket != client_)
        return; // another has taken its place
    setCurrentServerName({});
    if (const auto controller = delegate.lock())
        controller->socketClientDisconnectedFromHost(disconnectAlert, socket, error);
}

} // namespace merlode
