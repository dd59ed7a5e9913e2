#include "platform/linux/epoll_stream.h"

#include "platform/linux/socket_calls.h"

#include <cerrno>

#include <sys/epoll.h>

namespace merlode {

namespace {

// A stream that has ended can be read, which tells so.
constexpr std::uint32_t kEndEvents = EPOLLERR | EPOLLHUP;

unsigned interestsOf(std::uint32_t events) {
    const unsigned ended = events & kEndEvents;
    return (events & EPOLLIN || ended ? Stream::kReadable : 0) |
           (events & EPOLLOUT || ended ? Stream::kWritable : 0) |
           (events & EPOLLRDHUP || ended ? Stream::kHungUp : 0);
}

std::uint32_t eventsOf(unsigned interests) {
    std::uint32_t events = 0;
    if (interests & Stream::kReadable)
        events |= EPOLLIN;
    if (interests & Stream::kWritable)
        events |= EPOLLOUT;
    if (interests & Stream::kHungUp)
        events |= EPOLLRDHUP;
    return events;
}

Stream::Transfer transferOf(ssize_t result) {
    if (result >= 0)
        return {result};
    if (errno == EAGAIN || errno == EINTR)
        return {};
    return {0, errorText(errno)};
}

SocketAddress addressBy(int (*ask)(int, sockaddr*, socklen_t*), int socket) {
    KernelAddress address;
    if (ask(socket, address.get(), &address.size) != 0)
        return {};
    return socketAddress(address);
}

} // namespace

EpollStream::EpollStream(OwnedDescriptor socket, std::shared_ptr<EpollThread> thread)
    : socket_(std::move(socket)), thread_(std::move(thread)) {}

EpollStream::~EpollStream() {
    if (id_)
        thread_->remove(id_, socket_.get());
}

QString EpollStream::openingError() {
    int error = 0;
    socklen_t size = sizeof error;
    ::getsockopt(socket_.get(), SOL_SOCKET, SO_ERROR, &error, &size);
    return error == 0 ? QString() : errorText(error);
}

void EpollStream::setHandler(std::weak_ptr<StreamHandler> handler) {
    id_ = thread_->add(socket_.get(), [handler = std::move(handler)](std::uint32_t events) {
        if (const auto held = handler.lock())
            held->streamReady(interestsOf(events));
    });
}

void EpollStream::watch(unsigned interests) {
    thread_->arm(id_, socket_.get(), eventsOf(interests));
}

Stream::Transfer EpollStream::read(char* buffer, qsizetype size) {
    const auto got = ::recv(socket_.get(), buffer, static_cast<std::size_t>(size), 0);
    if (got == 0)
        return {0, QStringLiteral("the peer has closed the connection")};
    return transferOf(got);
}

Stream::Transfer EpollStream::write(const char* bytes, qsizetype size) {
    return transferOf(::send(socket_.get(), bytes, static_cast<std::size_t>(size), MSG_NOSIGNAL));
}

SocketAddress EpollStream::localAddress() const {
    return addressBy(&::getsockname, socket_.get());
}

SocketAddress EpollStream::remoteAddress() const {
    return addressBy(&::getpeername, socket_.get());
}

} // namespace merlode
