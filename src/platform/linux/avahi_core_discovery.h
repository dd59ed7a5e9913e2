#pragma once

#include "platform/linux/avahi_responder.h"
#include "platform/service_discovery.h"

#include <QStringList>

#include <memory>

namespace merlode {

/// Discovery by a responder inside this process; needs no daemon, no bus and no rights. The responder is
/// started with the first call and ended when nobody has needed it for a while: it wakes with every
/// multicast on the network. Main thread.
class AvahiCoreDiscovery final : public ServiceDiscovery {
  public:
    /// Seconds that the responder, and what it has learned, outlives its last use.
    static constexpr double kLingerTime = 30.0;

    /// On the named interfaces, or on all.
    explicit AvahiCoreDiscovery(RunLoop& loop, QStringList interfaces = {});

    /// False where another program keeps multicast DNS to itself; then nothing else here works.
    bool start() { return responder() != nullptr; }

    std::unique_ptr<Activity> publish(const Service& service, PublishCallbacks callbacks) override;
    std::unique_ptr<Activity> browse(const QString& type, BrowseCallbacks callbacks) override;
    std::unique_ptr<Activity> resolve(const QString& type, const QString& name, double seconds,
                                      ResolveCallbacks callbacks) override;
    QString unavailableReason() const override { return error_; }

  private:
    std::shared_ptr<AvahiResponder> responder();

    RunLoop& loop_;
    QStringList interfaces_;
    QString error_;
    std::weak_ptr<AvahiResponder> running_;
    Timer linger_; ///< holds the responder
};

} // namespace merlode
