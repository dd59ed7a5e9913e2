#include "base/executor.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

namespace merlode {

namespace {

constexpr unsigned kFewestThreads = 4;
constexpr std::chrono::seconds kIdleLife{30};

// On standard threads, not on QThreadPool: the thread sanitizer then sees the hand-over of work, which inside
// an uninstrumented library it does not.
class ThreadPoolExecutor final : public Executor {
  public:
    ~ThreadPoolExecutor() override {
        {
            const std::lock_guard lock(mutex_);
            closing_ = true;
        }
        wake_.notify_all();
        for (auto& thread : threads_)
            thread.join();
    }

    void execute(std::function<void()> work) override {
        const std::lock_guard lock(mutex_);
        pending_.push_back(std::move(work));
        if (idle_ >= pending_.size())
            return wake_.notify_one();
        joinEnded();
        if (threads_.size() < mostThreads_)
            threads_.emplace_back([this] { serve(); });
    }

  private:
    void serve() {
        std::unique_lock lock(mutex_);
        while (waitForWork(lock)) {
            auto work = std::move(pending_.front());
            pending_.pop_front();
            lock.unlock();
            work();
            work = nullptr;
            lock.lock();
        }
        ended_.push_back(std::this_thread::get_id());
    }

    // False when this thread is to end: nothing came for a while, or the pool closes with nothing left to do.
    bool waitForWork(std::unique_lock<std::mutex>& lock) {
        ++idle_;
        wake_.wait_for(lock, kIdleLife, [this] { return closing_ || !pending_.empty(); });
        --idle_;
        return !pending_.empty();
    }

    void joinEnded() {
        for (const auto id : std::exchange(ended_, {})) {
            const auto found = std::ranges::find(threads_, id, &std::thread::get_id);
            found->join();
            threads_.erase(found);
        }
    }

    const std::size_t mostThreads_ = std::max(kFewestThreads, std::thread::hardware_concurrency());
    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<std::function<void()>> pending_;
    std::vector<std::thread> threads_;
    std::vector<std::thread::id> ended_;
    std::size_t idle_ = 0;
    bool closing_ = false;
};

} // namespace

std::unique_ptr<Executor> makeThreadPoolExecutor() {
    return std::make_unique<ThreadPoolExecutor>();
}

} // namespace merlode
