#include "platform/linux/socket_calls.h"

#include <cstring>
#include <memory>
#include <string>
#include <system_error>

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>

namespace merlode {

namespace {

// A peer that was unplugged is missed after 30 + 3 * 10 seconds; by itself TCP takes two hours.
constexpr int kIdleSeconds = 30;
constexpr int kProbeIntervalSeconds = 10;
constexpr int kProbes = 3;

void setOption(int descriptor, int level, int name, int value) {
    ::setsockopt(descriptor, level, name, &value, sizeof value);
}

QString textOf(int family, const void* address) {
    char text[INET6_ADDRSTRLEN] = {};
    ::inet_ntop(family, address, text, sizeof text);
    return QString::fromLatin1(text);
}

} // namespace

std::optional<KernelAddress> kernelAddress(const SocketAddress& address) {
    addrinfo hints{};
    hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    const auto port = std::to_string(address.port);
    if (::getaddrinfo(address.host.toUtf8().constData(), port.c_str(), &hints, &found) != 0)
        return std::nullopt;
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> owner(found, &freeaddrinfo);
    KernelAddress result;
    std::memcpy(&result.storage, found->ai_addr, found->ai_addrlen);
    result.size = found->ai_addrlen;
    return result;
}

SocketAddress socketAddress(const KernelAddress& address) {
    if (address.storage.ss_family == AF_INET) {
        const auto& four = reinterpret_cast<const sockaddr_in&>(address.storage);
        return {textOf(AF_INET, &four.sin_addr), ntohs(four.sin_port)};
    }
    if (address.storage.ss_family != AF_INET6)
        return {};
    const auto& six = reinterpret_cast<const sockaddr_in6&>(address.storage);
    const bool mapped = IN6_IS_ADDR_V4MAPPED(&six.sin6_addr) != 0;
    return {mapped ? textOf(AF_INET, six.sin6_addr.s6_addr + 12) : textOf(AF_INET6, &six.sin6_addr),
            ntohs(six.sin6_port)};
}

OwnedDescriptor makeTcpSocket(int family) {
    OwnedDescriptor made(::socket(family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (made)
        prepareTcpSocket(made.get());
    return made;
}

void prepareTcpSocket(int descriptor) {
    setOption(descriptor, IPPROTO_TCP, TCP_NODELAY, 1);
    setOption(descriptor, SOL_SOCKET, SO_KEEPALIVE, 1);
    setOption(descriptor, IPPROTO_TCP, TCP_KEEPIDLE, kIdleSeconds);
    setOption(descriptor, IPPROTO_TCP, TCP_KEEPINTVL, kProbeIntervalSeconds);
    setOption(descriptor, IPPROTO_TCP, TCP_KEEPCNT, kProbes);
}

QString errorText(int error) {
    return QString::fromStdString(std::system_category().message(error));
}

} // namespace merlode
