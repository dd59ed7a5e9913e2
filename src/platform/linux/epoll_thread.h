#pragma once

#include <QtGlobal>

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <unordered_map>

#include <unistd.h>

namespace merlode {

/// A file descriptor and its end.
class OwnedDescriptor {
  public:
    explicit OwnedDescriptor(int descriptor = -1) : descriptor_(descriptor) {}
    OwnedDescriptor(OwnedDescriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    OwnedDescriptor& operator=(OwnedDescriptor&& other) noexcept {
        std::swap(descriptor_, other.descriptor_);
        return *this;
    }
    ~OwnedDescriptor() {
        if (descriptor_ >= 0)
            ::close(descriptor_);
    }

    int get() const { return descriptor_; }
    explicit operator bool() const { return descriptor_ >= 0; }

  private:
    int descriptor_;
};

/// A thread that waits for descriptors to become ready, and calls. The thread is made with the first
/// descriptor. Any thread.
class EpollThread {
  public:
    /// Called on the thread, without a lock held, with the EPOLL* events that came.
    using Ready = std::function<void(std::uint32_t events)>;
    using Id = quint64;

    EpollThread();
    ~EpollThread() { close(); }
    EpollThread(const EpollThread&) = delete;
    EpollThread& operator=(const EpollThread&) = delete;

    /// Takes in a descriptor, which nothing is waited for yet.
    Id add(int descriptor, Ready ready);
    /// Has `ready` called once, when any of the events comes. Replaces what was waited for.
    void arm(Id id, int descriptor, std::uint32_t events);
    /// Forgets the descriptor, which is then free to be closed. A call that has begun on the thread goes on.
    void remove(Id id, int descriptor);

    /// Ends the thread, and with it all calls, and waits for that; nothing that is armed later comes about.
    /// Not from the thread itself.
    void close();

  private:
    void run();
    std::shared_ptr<const Ready> find(Id id);

    const OwnedDescriptor epoll_;
    const OwnedDescriptor wake_;
    std::mutex mutex_;
    std::unordered_map<Id, std::shared_ptr<const Ready>> called_;
    Id lastId_ = 0;
    bool closed_ = false;
    std::thread thread_; // last: it uses the others
};

} // namespace merlode
