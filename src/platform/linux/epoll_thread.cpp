#include "platform/linux/epoll_thread.h"

#include <array>
#include <cerrno>

#include <sys/epoll.h>
#include <sys/eventfd.h>

namespace merlode {

namespace {

constexpr EpollThread::Id kWakeId = 0;
constexpr int kEventsAtATime = 64;

epoll_event eventFor(EpollThread::Id id, std::uint32_t events) {
    epoll_event event{};
    event.events = events;
    event.data.u64 = id;
    return event;
}

} // namespace

EpollThread::EpollThread()
    : epoll_(::epoll_create1(EPOLL_CLOEXEC)), wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    auto event = eventFor(kWakeId, EPOLLIN);
    ::epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, wake_.get(), &event);
}

EpollThread::Id EpollThread::add(int descriptor, Ready ready) {
    const std::lock_guard lock(mutex_);
    const Id id = ++lastId_;
    called_.emplace(id, std::make_shared<const Ready>(std::move(ready)));
    auto event = eventFor(id, EPOLLONESHOT);
    ::epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, descriptor, &event);
    // One that has fired is silent until it is armed, errors included: that is what "once" needs.
    if (!thread_.joinable() && !closed_)
        thread_ = std::thread([this] { run(); });
    return id;
}

void EpollThread::arm(Id id, int descriptor, std::uint32_t events) {
    auto event = eventFor(id, events | EPOLLONESHOT);
    ::epoll_ctl(epoll_.get(), EPOLL_CTL_MOD, descriptor, &event);
}

void EpollThread::remove(Id id, int descriptor) {
    ::epoll_ctl(epoll_.get(), EPOLL_CTL_DEL, descriptor, nullptr);
    const std::lock_guard lock(mutex_);
    called_.erase(id);
}

void EpollThread::close() {
    std::thread thread;
    {
        const std::lock_guard lock(mutex_);
        closed_ = true;
        thread.swap(thread_);
    }
    ::eventfd_write(wake_.get(), 1);
    if (thread.joinable())
        thread.join();
}

std::shared_ptr<const EpollThread::Ready> EpollThread::find(Id id) {
    const std::lock_guard lock(mutex_);
    const auto found = called_.find(id);
    return closed_ || found == called_.end() ? nullptr : found->second;
}

void EpollThread::run() {
    std::array<epoll_event, kEventsAtATime> events{};
    while (true) {
        const int count = ::epoll_wait(epoll_.get(), events.data(), kEventsAtATime, -1);
        if (count < 0 && errno != EINTR)
            return;
        for (int index = 0; index < count; ++index) {
            const auto& event = events[static_cast<std::size_t>(index)];
            if (event.data.u64 == kWakeId)
                return;
            if (const auto ready = find(event.data.u64))
                (*ready)(event.events);
        }
    }
}

} // namespace merlode
