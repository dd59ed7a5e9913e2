#include "platform/linux/service_names.h"

#include <array>

#include <net/if.h>

namespace merlode {

namespace {

bool isLinkLocal(const QString& host) {
    return host.startsWith(QStringLiteral("fe80:"), Qt::CaseInsensitive);
}

int rank(const QString& host) {
    if (!host.contains(u':'))
        return 0;
    return isLinkLocal(host) ? 2 : 1;
}

} // namespace

void ResolvedAddresses::add(const QString& address, unsigned interfaceIndex) {
    QString host = address;
    std::array<char, IF_NAMESIZE> name{};
    if (isLinkLocal(host) && if_indextoname(interfaceIndex, name.data()))
        host += u'%' + QString::fromLocal8Bit(name.data());
    if (std::ranges::find(hosts_, host) == hosts_.end())
        hosts_.push_back(host);
}

std::vector<SocketAddress> ResolvedAddresses::inOrder(quint16 port) const {
    auto hosts = hosts_;
    std::ranges::stable_sort(hosts, {}, rank);
    std::vector<SocketAddress> addresses;
    addresses.reserve(hosts.size());
    for (const auto& host : hosts)
        addresses.push_back({host, port});
    return addresses;
}

} // namespace merlode
