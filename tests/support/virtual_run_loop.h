#pragma once

#include "base/deadline_queue.h"
#include "base/executor.h"
#include "base/run_loop.h"

#include <memory>

namespace merlode {

/// A run loop whose clock moves only when a test says so.
class VirtualRunLoop final : public RunLoop {
  public:
    /// More pieces of work than this in one call mean a loop that never ends: the process is stopped.
    static constexpr int kMostSteps = 100'000;

    VirtualRunLoop() : queue_(std::make_shared<DeadlineQueue>()) {}
    ~VirtualRunLoop() override { queue_->clear(); }

    void async(Work work) override { queue_->add(uptime_, 0, std::move(work)); }
    Timer after(double seconds, Work work) override;
    Timer every(double seconds, Work work) override;
    double now() const override { return kEpoch + uptime_; }
    double uptime() const override { return uptime_; }

    /// Runs everything that falls due within the next `seconds`, each at its own time, then stands there.
    void advance(double seconds);
    /// Runs what is due now and what that work adds for now.
    void runUntilIdle() { advance(0); }

  protected:
    void resume() override {}

  private:
    static constexpr double kEpoch = 1'800'000'000;

    Timer schedule(double seconds, double period, Work work);

    std::shared_ptr<DeadlineQueue> queue_;
    double uptime_ = 0;
    bool running_ = false;
};

/// Runs background work on a virtual loop, so that queues take their turns in a fixed order.
class VirtualExecutor final : public Executor {
  public:
    explicit VirtualExecutor(RunLoop& loop) : loop_(loop) {}
    void execute(std::function<void()> work) override { loop_.async(std::move(work)); }

  private:
    RunLoop& loop_;
};

} // namespace merlode
