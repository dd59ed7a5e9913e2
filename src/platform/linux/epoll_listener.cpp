#include "platform/linux/epoll_listener.h"

#include "platform/linux/epoll_stream.h"
#include "platform/linux/socket_calls.h"

#include <QLoggingCategory>

#include <cerrno>

#include <sys/epoll.h>
#include <sys/timerfd.h>

namespace merlode {

namespace {

Q_LOGGING_CATEGORY(log, "merlode.platform", QtWarningMsg)

constexpr int kAcceptedAtATime = 16; // others have their turn in between
constexpr long kPauseNanoseconds = 100'000'000;

// Of a peer that left before it was accepted, or a network that failed it: the next one may be well.
bool concernsThePeer(int error) {
    return error != EMFILE && error != ENFILE && error != ENOBUFS && error != ENOMEM;
}

} // namespace

// What the thread uses: a call that has begun there may end after the listener.
struct EpollListener::Shared {
    OwnedDescriptor socket;
    OwnedDescriptor pause; // a timer, made now so that it is there when descriptors run out
    std::weak_ptr<EpollThread> thread;
    std::weak_ptr<ListenerHandler> handler;
    EpollThread::Id socketId = 0;
    EpollThread::Id pauseId = 0;
    bool short_ = false; // the thread's own

    void resume() {
        if (const auto held = thread.lock())
            held->arm(socketId, socket.get(), EPOLLIN);
    }

    void acceptSome() {
        const auto held = thread.lock();
        for (int count = 0; held && count < kAcceptedAtATime; ++count) {
            OwnedDescriptor accepted(::accept4(socket.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
            if (accepted)
                welcome(std::move(accepted), held);
            else if (errno == EAGAIN)
                break;
            else if (!concernsThePeer(errno))
                return rest(errno);
        }
        resume();
    }

    void welcome(OwnedDescriptor accepted, const std::shared_ptr<EpollThread>& held) {
        short_ = false;
        prepareTcpSocket(accepted.get());
        auto stream = std::make_unique<EpollStream>(std::move(accepted), held);
        if (const auto told = handler.lock())
            told->streamAccepted(std::move(stream));
    }

    void rest(int reason) {
        if (!std::exchange(short_, true))
            qCWarning(log, "connections wait to be accepted: %s", qPrintable(errorText(reason)));
        const itimerspec when{{}, {0, kPauseNanoseconds}};
        ::timerfd_settime(pause.get(), 0, &when, nullptr);
        if (const auto held = thread.lock())
            held->arm(pauseId, pause.get(), EPOLLIN);
    }
};

EpollListener::EpollListener(OwnedDescriptor socket, const std::shared_ptr<EpollThread>& thread,
                             std::weak_ptr<ListenerHandler> handler)
    : thread_(thread), shared_(std::make_shared<Shared>()) {
    shared_->socket = std::move(socket);
    shared_->pause = OwnedDescriptor(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK));
    shared_->thread = thread;
    shared_->handler = std::move(handler);
    shared_->socketId = thread_->add(shared_->socket.get(), [s = shared_](auto) { s->acceptSome(); });
    shared_->pauseId = thread_->add(shared_->pause.get(), [s = shared_](auto) { s->resume(); });
    shared_->resume();
}

EpollListener::~EpollListener() {
    thread_->remove(shared_->socketId, shared_->socket.get());
    thread_->remove(shared_->pauseId, shared_->pause.get());
}

quint16 EpollListener::port() const {
    KernelAddress address;
    ::getsockname(shared_->socket.get(), address.get(), &address.size);
    return socketAddress(address).port;
}

} // namespace merlode
