#pragma once

#include "base/notification_center.h"
#include "base/run_loop.h"
#include "model/remote_link.h"
#include "remote/socket_client.h"
#include "remote/socket_server.h"

#include <functional>
#include <memory>
#include <optional>

namespace merlode {

class UserDefaults;

/// Decides whether this machine is a server, a client of another one, or neither, and runs the sequences that
/// lead from one role to another without a half-open state between them. Everything above the sockets talks
/// to this object only. Main thread.
///
/// | role | `isServer` | `connectedToHost` | `clientHostName` |
/// |---|---|---|---|
/// | alone | no | no | none |
/// | server | yes | no | none |
/// | connecting | no, or about to stop | no, with `connecting` | none |
/// | client | no | yes | the server's name |
class SocketController final : public RemoteLink,
                               public SocketClientDelegate,
                               public SocketServerDelegate,
                               public std::enable_shared_from_this<SocketController> {
  public:
    using Completion = std::function<void()>;

    /// The controller of the current session, made on first use.
    static SocketController& sharedController();

    SocketController();
    ~SocketController() override;
    SocketController(const SocketController&) = delete;
    SocketController& operator=(const SocketController&) = delete;

    const QString kNameTakenAlertTitle = QStringLiteral("Host name in-use");
    const QString kNameTakenAlertMessage =
        QStringLiteral("The name you have selected is already being used. Please choose a different name.");
    const QString kHostNameTakenAlertTitle = QStringLiteral("Host name in-use");
    const QString kHostNameTakenAlertMessage =
        QStringLiteral("You must change your name to connect to this host.");
    const double kDiscoverSearchWaitTime = 5.0; ///< seconds that a look around waits for the first host

    // Roles.

    /// Whether there is a server, be it that it is still on its way up or down.
    bool isServer() const { return socketServer_ != nullptr; }
    bool connecting() const override { return connecting_; }
    bool connectedToHost() const { return connectedToHost_; }
    /// The server that this machine is a client of.
    const std::optional<QString>& clientHostName() const { return clientHostName_; }
    /// Until when, in wall-clock seconds, a service of the own name is what is left of the own server.
    double serverStopTime() const { return serverStopTime_; }
    bool discoveringHosts() const { return discoveringHosts_; }
    /// The two ends of the link; each is made when it is first needed, the server anew for each start.
    SocketClient& socketClient();
    bool hasSocketClient() const { return socketClient_ != nullptr; }
    SocketServer& socketServer();

    // The server.

    /// The port on which clients can connect; 0 while there is none.
    quint16 serverPort() const { return socketServer_ ? socketServer_->server()->localPort() : quint16{0}; }
    /// Why other machines cannot find the server that runs; empty where they can.
    QString announcementProblem() const {
        return socketServer_ ? socketServer_->announcementProblem() : QString();
    }

    /// Starts a server, after leaving the host where there is one; the user is told when the own name is
    /// taken. Nothing happens when there is a server already.
    void startServer();
    /// Stops the server; `completion` is called when it has gone. With `connectToSelfAfterwards` this machine
    /// plays for itself from then on, and `completion` is dropped.
    void stopServer(bool connectToSelfAfterwards, Completion completion);
    /// Stops the server and remembers that one is wanted.
    void killSever();
    /// Whether the host list holds the own name, or there is none.
    bool nameTaken();
    /// Stores a new name and takes the server, or the connection, down and up again under it.
    void changeHostName(const QString& name);

    // The client.

    /// Connects to a host that was found, or to an address. Nothing happens, but that `connecting` is false
    /// again, for a host that is not there.
    void connectToHostName(const QString& name);
    void connectToSelf() override;
    /// `alert` tells whether the loss is to be reported to the user.
    void disconnectFromHost(bool alert);

    /// Looks for hosts; `completion` is called when the first have been found, or after
    /// `kDiscoverSearchWaitTime`. Without one the look goes on until there are some. While a look is under
    /// way another is not begun, and its completion is dropped.
    void discoverHosts(Completion completion = nullptr);
    void startDiscoverTimer();
    void stopDiscoverTimer();
    void discoverTimerEnded();

    // The link as those beneath see it.

    using RemoteLink::broadcastMessage;
    bool hasClients() const override;
    void sendMessageToHost(RemoteAction action, const QVariantMap& payload) override;
    std::optional<ClientId> getClientSocketFromAddress(const QString& address) const override;
    void broadcastRemoteSearch(const QVariantMap& results, const QString& address) override;
    void broadcastRemoteiTunesAlbumKey(const Album& album, const QString& address) override;
    void broadcastRemoteiTunesTrackKey(const Track& track, const QString& address) override;
    void broadcastAlertToClient(const QString& title, const QString& message,
                                const QString& address) override;
    void broadcastMessage(RemoteAction action, const QVariantMap& payload,
                          std::optional<ClientId> singleClient) override;

    // What the two ends tell.

    void socketClientConnectedToHost(const SocketPtr& socket, const QString& host, quint16 port) override;
    void socketClientDisconnectedFromHost(bool alert, const SocketPtr& socket, const QString& error) override;
    void socketClientWillSearch() override;
    void socketClientDiscoverSearchFinished() override;
    void netServiceDidPublish(const ServiceDiscovery::Service& service) override;
    void netServiceDidStop(const ServiceDiscovery::Service& service) override;

  private:
    void setConnecting(bool connecting);
    void setConnectedToHost(bool connected);
    void setClientHostName(const std::optional<QString>& name);
    /// What the end of a connection, of whatever kind, leaves behind.
    void forgetHost();
    void postServerState(bool controlMac);
    void connectToOwnName();
    void leaveServerAndConnect(const HostService& service);
    std::optional<HostService> findHost(const QString& name);
    void clearWhatWasShown();
    void addClient(RemoteAction action, QVariantMap& payload);
    void post(NotificationName name);
    void showAlert(const QString& title, const QString& message);
    /// Runs the work on the main queue, unless this object has gone by then.
    void later(Completion work);

    Session& session_;
    UserDefaults& defaults_;
    std::shared_ptr<SocketClient> socketClient_;
    std::shared_ptr<SocketServer> socketServer_;
    Timer discoverTimer_;
    Completion discoverCompletion_;
    Completion disconnectCompletion_;
    Completion stopCompletion_;
    double serverStopTime_ = 0;
    bool discoveringHosts_ = false;
    bool connecting_ = false;
    bool connectedToHost_ = false;
    std::optional<HostService> desiredHost_; ///< what a running connect aims at
    std::optional<QString> clientHostName_;
};

} // namespace merlode
