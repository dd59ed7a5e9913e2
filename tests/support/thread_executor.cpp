#include "support/thread_executor.h"

#ifndef __SANITIZE_THREAD__

namespace merlode {

std::unique_ptr<Executor> makeThreadExecutor() {
    return makeThreadPoolExecutor();
}

} // namespace merlode

#else

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

// What Qt does within itself (pictures are scaled on a pool of its own) looks like races for the same reason.
// Code of this program is instrumented wherever it runs and stays watched.
extern "C" const char* __tsan_default_suppressions() {
    return "called_from_lib:libQt6Core.so.6\n"
           "called_from_lib:libQt6Gui.so.6\n";
}

namespace merlode {

namespace {

class StandardThreadExecutor final : public Executor {
  public:
    StandardThreadExecutor() {
        for (int i = 0; i < 4; ++i)
            threads_.emplace_back([this] { serve(); });
    }

    ~StandardThreadExecutor() override {
        {
            const std::lock_guard lock(mutex_);
            ended_ = true;
        }
        changed_.notify_all();
        for (auto& thread : threads_)
            thread.join();
    }

    void execute(std::function<void()> work) override {
        {
            const std::lock_guard lock(mutex_);
            pending_.push_back(std::move(work));
        }
        changed_.notify_one();
    }

  private:
    void serve() {
        std::unique_lock lock(mutex_);
        for (;;) {
            changed_.wait(lock, [this] { return ended_ || !pending_.empty(); });
            if (pending_.empty())
                return;
            auto work = std::move(pending_.front());
            pending_.pop_front();
            lock.unlock();
            work();
            work = nullptr;
            lock.lock();
        }
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::function<void()>> pending_;
    bool ended_ = false;
    std::vector<std::thread> threads_;
};

} // namespace

std::unique_ptr<Executor> makeThreadExecutor() {
    return std::make_unique<StandardThreadExecutor>();
}

} // namespace merlode

#endif
