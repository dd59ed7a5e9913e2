#pragma once

#include "base/observed.h"
#include "platform/service_discovery.h"
#include "remote/socket_connection.h"

#include <QStringList>

#include <memory>
#include <optional>
#include <vector>

namespace merlode {

/// A server that a client can connect to.
struct HostService {
    QString name; ///< the name that it announces, or the text of its address
    /// Where it is, when somebody entered that by hand; else it is looked up on the network at each connect.
    std::optional<SocketAddress> address{};
    bool operator==(const HostService&) const = default;
};

/// The host at a numeric address such as "192.168.1.7:4711" or "[2001:db8::7]:4711"; nothing for other text.
std::optional<HostService> hostAtAddress(const QString& text);

/// Who hears of the client. Main thread.
class SocketClientDelegate {
  public:
    using SocketPtr = GCDAsyncSocketDelegate::SocketPtr;

    virtual ~SocketClientDelegate() = default;
    virtual void socketClientConnectedToHost(const SocketPtr& socket, const QString& host, quint16 port) = 0;
    /// `alert` tells whether the user is to hear of the loss; `error` is why, for people.
    virtual void socketClientDisconnectedFromHost(bool alert, const SocketPtr& socket,
                                                  const QString& error) = 0;
    virtual void socketClientWillSearch() = 0;
    virtual void socketClientDiscoverSearchFinished() = 0;
};

/// Finds servers on the local network and holds the one connection to a server. It decides nothing about
/// roles, and browsing and connecting do not touch each other. Main thread.
class SocketClient final : public SocketConnection {
  public:
    /// Seconds that a server may take to tell its address.
    static constexpr double kResolveTime = 5.0;

    /// The session outlives the client.
    static std::shared_ptr<SocketClient> make(Session& session, MessageHandler handler);

    std::weak_ptr<SocketClientDelegate> delegate;

    /// Whether a loss of the connection is to be reported to the user.
    bool disconnectAlert = false;

    /// The services that the present browse has found, in the order of finding.
    const std::vector<HostService>& hosts() const { return hosts_; }
    /// Their names, once the batch is complete. Each assignment posts "SocketHostListDidChange".
    const QStringList& hostList() const { return hostList_.get(); }
    /// The name of the host that is being connected, or is connected; empty otherwise.
    const QString& currentServerName() const { return currentServerName_.get(); }
    /// With an empty name an attempt to connect that is under way comes to nothing.
    void setCurrentServerName(const QString& name) { currentServerName_.set(name); }
    /// Is called after each assignment of `currentServerName`, with its new value.
    void observeCurrentServerName(std::function<void(const QString& name)> observer);
    /// The socket of the open connection; null before the first one.
    const SocketPtr& currentServer() const { return currentServer_; }

    /// Begins a new browse, with empty lists. It ends with the first complete batch; while there is no
    /// service it goes on.
    void discoverHosts();

    /// Looks the host up and connects to the first of its addresses. One that does not answer in time only
    /// clears `currentServerName`; one without an address is silently given up.
    void connectToHost(const HostService& service);

    /// Ends the connection; the delegate hears of it, with this flag.
    void disconnectFromHost(bool alert);

    bool connected() const { return client_ && client_->isConnected(); }

    void socketDidConnectToHost(const SocketPtr& socket, const QString& host, quint16 port) override;
    void socketDidDisconnect(const SocketPtr& socket, const QString& error) override;

  private:
    SocketClient(Session& session, MessageHandler handler);

    void didFindService(const QString& name, bool moreComing);
    bool isOwnStoppedService(const QString& name) const;
    void didResolve(const QString& name, const std::vector<SocketAddress>& addresses, quint16 port);

    std::vector<HostService> hosts_;
    Observed<QStringList> hostList_;
    Observed<QString> currentServerName_;
    SocketPtr client_;
    SocketPtr currentServer_;
    std::unique_ptr<ServiceDiscovery::Activity> hostBrowser_;
    std::unique_ptr<ServiceDiscovery::Activity> hostDiscovery_;
};

} // namespace merlode
