// What travels over the link, on its way from those beneath to the sockets.

#include "base/session.h"
#include "platform/user_defaults.h"
#include "remote/socket_controller.h"

namespace merlode {

namespace {

enum class Naming { None, Address, AddressAndName, AddressAndNameIfShown };

// What the host learns of the client that asks: where to send the answer and, as the user likes, who it is.
Naming namingOf(RemoteAction action) {
    using enum RemoteAction;
    switch (action) {
    case remoteSearch:
    case requestBroadcast:
    case remoteSearchiTunesForAlbum:
    case remoteSearchiTunesForTrack:
        return Naming::AddressAndName;
    case playAlbum:
    case playTrack:
    case findAndPlayTrack:
    case findAndPlayAlbum:
    case playPandoraStation:
    case playPandoraItem:
        return Naming::AddressAndNameIfShown;
    default:
        return Naming::None;
    }
}

} // namespace

void SocketController::addClient(RemoteAction action, QVariantMap& payload) {
    const auto naming = namingOf(action);
    if (naming == Naming::None)
        return;
    const QString address = socketClient().currentServer()->localHost();
    if (!address.isEmpty())
        payload.insert(QStringLiteral("ClientAddress"), address);
    const auto name = defaults_.valueFor(defaults::kHostName);
    if (name && (naming == Naming::AddressAndName || defaults_.boolFor(defaults::kShowRemoteActivity)))
        payload.insert(QStringLiteral("ClientName"), *name);
}

void SocketController::sendMessageToHost(RemoteAction action, const QVariantMap& payload) {
    const auto& host = socketClient().currentServer();
    if (!host)
        return;
    QVariantMap decorated = payload;
    addClient(action, decorated);
    host->writeData(serializeMessage(remoteMessage(rawValue(action), decorated)), SocketConnection::kTag);
}

bool SocketController::hasClients() const {
    return socketServer_ && !socketServer_->connectedSockets().empty();
}

std::optional<RemoteLink::ClientId>
SocketController::getClientSocketFromAddress(const QString& address) const {
    const auto socket = socketServer_ ? socketServer_->getClientSocketFromAddress(address) : nullptr;
    return socket ? std::optional(socket->identifier()) : std::nullopt;
}

void SocketController::broadcastRemoteSearch(const QVariantMap& results, const QString& address) {
    if (socketServer_)
        socketServer_->broadcastRemoteSearch(results, address);
}

void SocketController::broadcastRemoteiTunesAlbumKey(const Album& album, const QString& address) {
    if (socketServer_)
        socketServer_->broadcastRemoteiTunesAlbumKey(album, address);
}

void SocketController::broadcastRemoteiTunesTrackKey(const Track& track, const QString& address) {
    if (socketServer_)
        socketServer_->broadcastRemoteiTunesTrackKey(track, address);
}

void SocketController::broadcastAlertToClient(const QString& title, const QString& message,
                                              const QString& address) {
    if (socketServer_)
        socketServer_->broadcastAlertToClient(
            {{QStringLiteral("title"), title}, {QStringLiteral("message"), message}}, address);
}

void SocketController::broadcastMessage(RemoteAction action, const QVariantMap& payload,
                                        std::optional<ClientId> singleClient) {
    if (!socketServer_)
        return;
    if (!singleClient)
        return socketServer_->broadcastMessage(rawValue(action), payload);
    if (const auto client = socketServer_->clientSocketWithIdentifier(*singleClient))
        socketServer_->broadcastMessage(rawValue(action), payload, client);
}

} // namespace merlode
