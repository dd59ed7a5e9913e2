#include "app/socket_hosts.h"

#include "platform/user_defaults.h"

namespace merlode {

bool SocketHosts::isInUse() const {
    return controller_.hasSocketClient() || defaults_.boolFor(defaults::kControlMac) ||
           defaults_.boolFor(defaults::kWantServer) || defaults_.boolFor(defaults::kAutoConnect);
}

void SocketHosts::discoverHosts(std::function<void()> done) {
    if (isInUse())
        controller_.discoverHosts(std::move(done));
    else
        session_.runLoop().async(std::move(done));
}

void SocketHosts::disconnectFromHost() {
    if (controller_.hasSocketClient())
        controller_.disconnectFromHost(false);
}

} // namespace merlode
