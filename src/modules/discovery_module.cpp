#include "platform/linux/avahi_discovery.h"

// Loaded when the link to other machines is first used: most machines play for themselves alone.
extern "C" merlode::ServiceDiscovery* merlodeMakeServiceDiscovery(merlode::RunLoop* loop) {
    return new merlode::AvahiDiscovery(*loop, QDBusConnection::systemBus());
}
