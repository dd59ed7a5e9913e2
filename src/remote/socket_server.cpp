#include "remote/socket_server.h"

#include "base/defaults_keys.h"
#include "base/session.h"
#include "model/album.h"
#include "model/remote_action.h"
#include "model/track.h"
#include "platform/user_defaults.h"
#include "players/player_controller.h"

#include <QLoggingCategory>

#include <algorithm>

namespace merlode {

namespace {
Q_LOGGING_CATEGORY(log, "merlode.remote", QtWarningMsg)
}

std::shared_ptr<SocketServer> SocketServer::make(Session& session, MessageHandler handler) {
    // Not make_shared: the constructor is for here alone.
    std::shared_ptr<SocketServer> made(new SocketServer(session, std::move(handler)));
    made->server_ = made->makeSocket();
    return made;
}

void SocketServer::start() {
    QString error;
    if (!server_->acceptOnPort(0, &error)) {
        qCWarning(log).noquote() << QStringLiteral("Error in acceptOnPort:error: -> ") + error;
        return;
    }
    const auto name = session().port<UserDefaults>().valueFor(defaults::kHostName);
    service_ = {kServiceType(), name.value_or(QStringLiteral("My Mac")), server_->localPort()};
    publish();
}

void SocketServer::publish() {
    hostBroadcast_ = session().port<ServiceDiscovery>().publish(
        service_, {.didPublish = telling(&SocketServerDelegate::netServiceDidPublish),
                   .didStop = telling(&SocketServerDelegate::netServiceDidStop),
                   .didNotPublish = [this](const QString& reason) {
                       qCWarning(log).noquote() << "the server is not announced:" << reason;
                       announcementProblem_ = reason;
                   }});
}

std::function<void()>
SocketServer::telling(void (SocketServerDelegate::*what)(const ServiceDiscovery::Service&)) {
    return [weak = weak_from_this(), this, what] {
        const auto self = weak.lock();
        const auto delegate = self ? serverDelegate.lock() : nullptr;
        if (delegate)
            (*delegate.*what)(ServiceDiscovery::Service(service_)); // a copy: it may drop this server
    };
}

void SocketServer::stop() {
    stopped_ = true;
    if (hostBroadcast_)
        hostBroadcast_->stop();
    else // it could not listen; whoever waits for the end must not wait for ever
        session().runLoop().async(telling(&SocketServerDelegate::netServiceDidStop));
    for (const auto& socket : connectedSockets_)
        socket->disconnect();
    server_->disconnect();
}

void SocketServer::socketDidAcceptNewSocket(const SocketPtr&, const SocketPtr& newSocket) {
    if (stopped_) // it was on its way when the server was stopped
        return newSocket->disconnect();
    qCInfo(log).noquote() << QStringLiteral("accepted new socket: ") + newSocket->connectedHost();
    connectedSockets_.push_back(newSocket);
    readMessage(newSocket);
}

void SocketServer::socketDidDisconnect(const SocketPtr& socket, const QString&) {
    qCInfo(log).noquote() << QStringLiteral("socket did disconnect from server - ") + socket->description();
    const auto found = std::ranges::find(connectedSockets_, socket);
    if (found != connectedSockets_.end())
        connectedSockets_.erase(found);
}

void SocketServer::broadcastMessage(const QString& action, std::optional<QVariantMap> additionalData,
                                    const SocketPtr& singleClient) {
    if (connectedSockets_.empty())
        return;
    const auto& clientName = PlayerController::sharedController().remoteClientName;
    if (action == rawValue(RemoteAction::trackChanged) && additionalData && clientName)
        additionalData->insert(QStringLiteral("ClientName"), *clientName);
    qCInfo(log).noquote() << QStringLiteral("sending message to %1 client(s)").arg(connectedSockets_.size());
    const auto message =
        serializeMessage(remoteMessage(action, std::move(additionalData).value_or(QVariantMap())));
    if (singleClient) {
        if (singleClient->isConnected())
            write(singleClient, message);
        return;
    }
    for (const auto& socket : connectedSockets_) {
        if (socket->isConnected())
            write(socket, message);
    }
}

void SocketServer::sendToAddress(RemoteAction action, const QVariantMap& payload, const QString& address) {
    const auto found = std::ranges::find_if(connectedSockets_, [&](const auto& socket) {
        return socket->connectedHost() == address && socket->isConnected();
    });
    if (found != connectedSockets_.end())
        write(*found, serializeMessage(remoteMessage(rawValue(action), payload)));
}

void SocketServer::broadcastRemoteSearch(const QVariantMap& results, const QString& address) {
    sendToAddress(RemoteAction::processSearchResults, results, address);
}

void SocketServer::broadcastAlertToClient(const QVariantMap& alert, const QString& address) {
    sendToAddress(RemoteAction::showAlert, alert, address);
}

void SocketServer::broadcastRemoteiTunesAlbumKey(const Album& album, const QString& address) {
    sendToAddress(RemoteAction::processRemoteiTunesSearchAlbum,
                  {{QStringLiteral("albumDictionary"), album.albumToDictionary(true)}}, address);
}

void SocketServer::broadcastRemoteiTunesTrackKey(const Track& track, const QString& address) {
    sendToAddress(RemoteAction::processRemoteiTunesSearchTrack,
                  {{QStringLiteral("trackDictionary"), track.trackToDictionary()}}, address);
}

GCDAsyncSocketDelegate::SocketPtr SocketServer::getClientSocketFromAddress(const QString& address) const {
    const auto found = std::ranges::find_if(
        connectedSockets_, [&](const auto& socket) { return socket->connectedHost() == address; });
    return found == connectedSockets_.end() ? nullptr : *found;
}

GCDAsyncSocketDelegate::SocketPtr SocketServer::clientSocketWithIdentifier(quint64 identifier) const {
    const auto found = std::ranges::find(connectedSockets_, identifier, &GCDAsyncSocket::identifier);
    return found == connectedSockets_.end() ? nullptr : *found;
}

} // namespace merlode
