#pragma once

#include "platform/linux/avahi_loop.h"
#include "platform/linux/network_addresses.h"

#include <QByteArray>
#include <QStringList>

#include <memory>
#include <optional>

#include <avahi-core/core.h>
#include <avahi-core/publish.h>

namespace merlode {

/// A multicast DNS responder of this process, beside whatever else answers on the machine. It has a host name
/// of its own: two responders that announced the machine's name would fight over it for ever. Its end takes
/// back all that it announced. Main thread.
class AvahiResponder {
  public:
    /// On the named interfaces, or on all. Null, with why in `error`, where another program keeps multicast
    /// DNS to itself.
    static std::shared_ptr<AvahiResponder> start(RunLoop& loop, const QStringList& interfaces,
                                                 QString& error);
    ~AvahiResponder();
    AvahiResponder(const AvahiResponder&) = delete;
    AvahiResponder& operator=(const AvahiResponder&) = delete;

    AvahiServer* server() const { return server_; }
    QString lastError() const;

    /// The name under which the addresses of this machine are announced from the first call on, and kept up
    /// to date.
    const QByteArray& announcedHostName();

  private:
    explicit AvahiResponder(RunLoop& loop);
    void announceAddresses();

    RunLoop& runLoop_;
    AvahiLoop loop_;
    AvahiServer* server_ = nullptr;
    QByteArray hostName_;
    AvahiSEntryGroup* addressGroup_ = nullptr;
    std::vector<NetworkAddress> announced_;
    std::optional<NetworkChanges> changes_;
};

} // namespace merlode
