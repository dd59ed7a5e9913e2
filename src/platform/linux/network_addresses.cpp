#include "platform/linux/network_addresses.h"

#include <array>

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <sys/socket.h>
#include <unistd.h>

namespace merlode {

namespace {

QString textOf(const sockaddr& address) {
    std::array<char, INET6_ADDRSTRLEN> text{};
    const void* bytes =
        address.sa_family == AF_INET
            ? static_cast<const void*>(&reinterpret_cast<const sockaddr_in&>(address).sin_addr)
            : &reinterpret_cast<const sockaddr_in6&>(address).sin6_addr;
    return QString::fromLatin1(inet_ntop(address.sa_family, bytes, text.data(), text.size()));
}

int openNews() {
    const int news = socket(AF_NETLINK, SOCK_RAW | SOCK_NONBLOCK | SOCK_CLOEXEC, NETLINK_ROUTE);
    if (news < 0)
        return -1;
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_groups = RTMGRP_LINK | RTMGRP_IPV4_IFADDR | RTMGRP_IPV6_IFADDR;
    if (bind(news, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
        return news;
    close(news);
    return -1;
}

} // namespace

std::vector<NetworkAddress> networkAddresses() {
    ifaddrs* raw = nullptr;
    if (getifaddrs(&raw) != 0)
        return {};
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> list(raw, &freeifaddrs);
    std::vector<NetworkAddress> result;
    for (const auto* entry = list.get(); entry; entry = entry->ifa_next) {
        const auto* address = entry->ifa_addr;
        if (!address || !(entry->ifa_flags & IFF_UP) ||
            (address->sa_family != AF_INET && address->sa_family != AF_INET6))
            continue;
        result.push_back({if_nametoindex(entry->ifa_name), textOf(*address)});
    }
    return result;
}

NetworkChanges::NetworkChanges(RunLoop& loop, std::function<void()> changed)
    : loop_(loop), changed_(std::move(changed)), socket_(openNews()) {
    if (socket_ < 0)
        return;
    notifier_ = std::make_unique<QSocketNotifier>(socket_, QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(), [this] { drain(); });
}

NetworkChanges::~NetworkChanges() {
    notifier_.reset();
    if (socket_ >= 0)
        close(socket_);
}

// What changed is read anew anyway.
void NetworkChanges::drain() {
    std::array<char, 8192> ignored{};
    while (recv(socket_, ignored.data(), ignored.size(), 0) > 0) {
    }
    settle_ = loop_.after(kSettleTime, changed_);
}

} // namespace merlode
