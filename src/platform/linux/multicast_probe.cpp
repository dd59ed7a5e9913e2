#include "platform/linux/multicast_probe.h"

#include <QStringList>

#include <cerrno>
#include <cstring>
#include <memory>

#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace merlode {

namespace {

constexpr quint16 kMulticastDnsPort = 5353;

// The port is shared, unless a program there says that it keeps it to itself.
QString portProblem() {
    const int probe = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (probe < 0)
        return QString::fromLocal8Bit(strerror(errno));
    const int yes = 1;
    setsockopt(probe, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    setsockopt(probe, SOL_SOCKET, SO_REUSEPORT, &yes, sizeof yes);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(kMulticastDnsPort);
    const bool bound = bind(probe, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    QString error = bound ? QString() : QString::fromLocal8Bit(strerror(errno));
    close(probe);
    return error;
}

} // namespace

bool hasMulticastNetwork() {
    ifaddrs* raw = nullptr;
    if (getifaddrs(&raw) != 0)
        return false;
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> list(raw, &freeifaddrs);
    for (const auto* entry = list.get(); entry; entry = entry->ifa_next) {
        if ((entry->ifa_flags & IFF_UP) && (entry->ifa_flags & IFF_MULTICAST) &&
            !(entry->ifa_flags & IFF_LOOPBACK))
            return true;
    }
    return false;
}

QString multicastProblem() {
    const auto problem = portProblem();
    return problem.isEmpty() ? QString() : QStringLiteral("port 5353: %1").arg(problem);
}

} // namespace merlode
