#include "platform/linux/epoll_network.h"

#include "platform/linux/epoll_listener.h"
#include "platform/linux/epoll_stream.h"
#include "platform/linux/epoll_thread.h"
#include "platform/linux/socket_calls.h"

#include <cerrno>

#include <netinet/in.h>
#include <netinet/tcp.h>

namespace merlode {

namespace {

// Many clients may come at once, when a server has come back.
constexpr int kBacklog = 128;

// How long a host may leave what we sent without an answer: keepalive does not look while something is under
// way. Not for accepted sockets: a client whose user leaves an alert standing takes nothing for as long.
constexpr int kUnansweredMilliseconds = 60'000;

KernelAddress anyAddress(int family, quint16 port) {
    KernelAddress address;
    if (family == AF_INET6) {
        auto& six = reinterpret_cast<sockaddr_in6&>(address.storage);
        six.sin6_family = AF_INET6;
        six.sin6_port = htons(port); // in6addr_any is all zeros
        address.size = sizeof six;
    } else {
        auto& four = reinterpret_cast<sockaddr_in&>(address.storage);
        four.sin_family = AF_INET;
        four.sin_port = htons(port); // INADDR_ANY is all zeros
        address.size = sizeof four;
    }
    return address;
}

/// Listening at all addresses; with IPv6 those of IPv4 are among them. None, and errno, on failure.
OwnedDescriptor listeningSocket(int family, quint16 port) {
    auto made = makeTcpSocket(family);
    if (!made)
        return made;
    const int off = 0;
    const int on = 1;
    if (family == AF_INET6)
        ::setsockopt(made.get(), IPPROTO_IPV6, IPV6_V6ONLY, &off, sizeof off);
    ::setsockopt(made.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    const auto address = anyAddress(family, port);
    if (::bind(made.get(), address.get(), address.size) != 0 || ::listen(made.get(), kBacklog) != 0)
        return OwnedDescriptor();
    return made;
}

} // namespace

EpollNetwork::EpollNetwork() : thread_(std::make_shared<EpollThread>()) {}

EpollNetwork::~EpollNetwork() {
    thread_->close();
}

std::unique_ptr<StreamListener> EpollNetwork::listen(quint16 port, std::weak_ptr<ListenerHandler> handler,
                                                     QString* error) {
    auto socket = listeningSocket(AF_INET6, port);
    if (!socket && errno != EADDRINUSE) // a machine without IPv6
        socket = listeningSocket(AF_INET, port);
    if (!socket) {
        *error = errorText(errno);
        return nullptr;
    }
    return std::make_unique<EpollListener>(std::move(socket), thread_, std::move(handler));
}

std::unique_ptr<Stream> EpollNetwork::connect(const SocketAddress& address,
                                              std::weak_ptr<StreamHandler> handler, QString* error) {
    const auto target = kernelAddress(address);
    if (!target) {
        *error = QStringLiteral("no numeric address: %1").arg(address.host);
        return nullptr;
    }
    auto socket = makeTcpSocket(target->storage.ss_family);
    if (socket)
        ::setsockopt(socket.get(), IPPROTO_TCP, TCP_USER_TIMEOUT, &kUnansweredMilliseconds,
                     sizeof kUnansweredMilliseconds);
    if (!socket || (::connect(socket.get(), target->get(), target->size) != 0 && errno != EINPROGRESS)) {
        *error = errorText(errno);
        return nullptr;
    }
    auto stream = std::make_unique<EpollStream>(std::move(socket), thread_);
    stream->setHandler(std::move(handler));
    return stream;
}

} // namespace merlode
