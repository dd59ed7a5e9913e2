#pragma once

#include "platform/linux/epoll_thread.h"
#include "platform/socket_address.h"

#include <optional>

#include <sys/socket.h>

namespace merlode {

/// An address as the kernel has it.
struct KernelAddress {
    sockaddr_storage storage{};
    socklen_t size = sizeof storage;

    sockaddr* get() { return reinterpret_cast<sockaddr*>(&storage); }
    const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&storage); }
};

/// Of a numeric host, with a zone where it has one. Nothing for any other.
std::optional<KernelAddress> kernelAddress(const SocketAddress& address);

/// Numeric and without zone; an IPv4 address in IPv6's clothes is undressed.
SocketAddress socketAddress(const KernelAddress& address);

/// A TCP socket that does not block, is closed in child processes, sends small messages at once, and finds
/// out within a minute that an idle peer has vanished. None, and errno, where there is none to be had.
OwnedDescriptor makeTcpSocket(int family);

/// Gives a socket from `accept` those properties of `makeTcpSocket` that it does not come with.
void prepareTcpSocket(int descriptor);

/// What an errno means, for people.
QString errorText(int error);

} // namespace merlode
