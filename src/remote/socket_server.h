#pragma once

#include "platform/service_discovery.h"
#include "remote/socket_connection.h"

#include <memory>
#include <optional>
#include <vector>

namespace merlode {

class Album;
class Track;
enum class RemoteAction;

/// Who hears of the announcement of a server. Main thread.
class SocketServerDelegate {
  public:
    virtual ~SocketServerDelegate() = default;
    virtual void netServiceDidPublish(const ServiceDiscovery::Service& service) = 0;
    virtual void netServiceDidStop(const ServiceDiscovery::Service& service) = 0;
};

/// The listening end of the link: it announces itself on the local network, keeps the connected clients, and
/// writes messages to all of them or to one. It is started once and stopped once. Main thread.
class SocketServer final : public SocketConnection {
  public:
    /// The session outlives the server.
    static std::shared_ptr<SocketServer> make(Session& session, MessageHandler handler);

    std::weak_ptr<SocketServerDelegate> serverDelegate;

    /// The listening socket.
    const SocketPtr& server() const { return server_; }
    /// Why the server that runs cannot be found by others; empty where it can.
    const QString& announcementProblem() const { return announcementProblem_; }
    /// In the order of their arrival.
    const std::vector<SocketPtr>& connectedSockets() const { return connectedSockets_; }

    /// Listens on a free port and announces it under the "Host Name" of the settings. `netServiceDidPublish`
    /// follows; after a failure nothing does.
    void start();
    /// Ends the announcement, all connections and the listening. `netServiceDidStop` follows in any case.
    void stop();

    /// Sends the action to one client, or to all. Nothing happens without clients, or when the one has gone.
    void broadcastMessage(const QString& action, std::optional<QVariantMap> additionalData,
                          const SocketPtr& singleClient = {});

    // Messages to the first client that connected from this address. Nothing happens where there is none.
    void broadcastRemoteSearch(const QVariantMap& results, const QString& address);
    void broadcastAlertToClient(const QVariantMap& alert, const QString& address);
    void broadcastRemoteiTunesAlbumKey(const Album& album, const QString& address);
    void broadcastRemoteiTunesTrackKey(const Track& track, const QString& address);

    /// The first client that connected from exactly this address; null where there is none.
    SocketPtr getClientSocketFromAddress(const QString& address) const;
    /// The client whose socket has this identifier; null when it has gone.
    SocketPtr clientSocketWithIdentifier(quint64 identifier) const;

    void socketDidAcceptNewSocket(const SocketPtr& socket, const SocketPtr& newSocket) override;
    void socketDidDisconnect(const SocketPtr& socket, const QString& error) override;

  private:
    using SocketConnection::SocketConnection;

    void publish();
    /// What tells the delegate, if both it and this server are still there.
    std::function<void()> telling(void (SocketServerDelegate::*what)(const ServiceDiscovery::Service&));
    void sendToAddress(RemoteAction action, const QVariantMap& payload, const QString& address);

    SocketPtr server_;
    ServiceDiscovery::Service service_;
    QString announcementProblem_;
    std::unique_ptr<ServiceDiscovery::Activity> hostBroadcast_;
    std::vector<SocketPtr> connectedSockets_;
    bool stopped_ = false;
};

} // namespace merlode
