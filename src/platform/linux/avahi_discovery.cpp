#include "platform/linux/avahi_discovery.h"

#include "platform/linux/avahi_daemon_activities.h"

#include <QDBusMetaType>

namespace merlode {

AvahiDiscovery::AvahiDiscovery(RunLoop& loop, QDBusConnection systemBus)
    : loop_(loop), bus_(std::move(systemBus)), core_(loop) {
    qDBusRegisterMetaType<QByteArrayList>(); // what the daemon takes with a service
}

// Asked each time: the other program may have gone, or have come.
bool AvahiDiscovery::needsDaemon() {
    unavailable_.clear();
    if (core_.start())
        return false;
    if (!bus_.isConnected())
        unavailable_ = QStringLiteral("%1, and there is no system bus").arg(core_.unavailableReason());
    return true;
}

std::function<void(const QString&)> AvahiDiscovery::noting(std::function<void(const QString&)> failure) {
    return [this, failure = std::move(failure)](const QString& reason) {
        if (unavailable_.isEmpty() && reason != ServiceDiscovery::nameIsTaken())
            unavailable_ = QStringLiteral("%1; avahi-daemon: %2").arg(core_.unavailableReason(), reason);
        if (failure)
            failure(reason);
    };
}

std::unique_ptr<ServiceDiscovery::Activity> AvahiDiscovery::publish(const Service& service,
                                                                    PublishCallbacks callbacks) {
    if (!needsDaemon())
        return core_.publish(service, std::move(callbacks));
    if (whyNotAName(service.name).isEmpty())
        callbacks.didNotPublish = noting(std::move(callbacks.didNotPublish));
    return std::make_unique<AvahiDaemonPublication>(loop_, bus_, service, std::move(callbacks));
}

std::unique_ptr<ServiceDiscovery::Activity> AvahiDiscovery::browse(const QString& type,
                                                                   BrowseCallbacks callbacks) {
    if (!needsDaemon())
        return core_.browse(type, std::move(callbacks));
    callbacks.didNotSearch = noting(std::move(callbacks.didNotSearch));
    return std::make_unique<AvahiDaemonBrowsing>(loop_, bus_, type, std::move(callbacks));
}

std::unique_ptr<ServiceDiscovery::Activity> AvahiDiscovery::resolve(const QString& type, const QString& name,
                                                                    double seconds,
                                                                    ResolveCallbacks callbacks) {
    if (!needsDaemon())
        return core_.resolve(type, name, seconds, std::move(callbacks));
    return std::make_unique<AvahiDaemonResolution>(loop_, bus_, type, name, seconds, std::move(callbacks));
}

} // namespace merlode
