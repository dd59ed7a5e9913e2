#pragma once

#include "platform/linux/avahi_core_discovery.h"

#include <QDBusConnection>

#include <optional>

namespace merlode {

/// Discovery by whatever works on this machine: a responder of our own, or where another program keeps
/// multicast DNS to itself the daemon on the system bus. The daemon is never needed where it is not. Main
/// thread.
class AvahiDiscovery final : public ServiceDiscovery {
  public:
    AvahiDiscovery(RunLoop& loop, QDBusConnection systemBus);

    std::unique_ptr<Activity> publish(const Service& service, PublishCallbacks callbacks) override;
    std::unique_ptr<Activity> browse(const QString& type, BrowseCallbacks callbacks) override;
    std::unique_ptr<Activity> resolve(const QString& type, const QString& name, double seconds,
                                      ResolveCallbacks callbacks) override;
    QString unavailableReason() const override { return unavailable_; }

  private:
    /// Whether the daemon has to do it.
    bool needsDaemon();
    /// Remembers what the daemon's failures say, and hands them on.
    std::function<void(const QString&)> noting(std::function<void(const QString&)> failure);

    RunLoop& loop_;
    QDBusConnection bus_;
    AvahiCoreDiscovery core_;
    QString unavailable_;
};

} // namespace merlode
