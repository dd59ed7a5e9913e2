#pragma once

#include <functional>
#include <memory>
#include <utility>

namespace merlode {

class Session;

/// A handle on scheduled work: the work is cancelled when the handle is destroyed or overwritten. A default
/// made handle holds nothing. Main thread only.
class Timer {
  public:
    Timer() = default;
    explicit Timer(std::function<void()> cancel) : cancel_(std::move(cancel)) {}
    Timer(Timer&& other) noexcept { swap(other); }
    Timer& operator=(Timer&& other) noexcept {
        Timer taken(std::move(other));
        swap(taken);
        return *this;
    }
    ~Timer() { invalidate(); }

    /// Cancels the work. Nothing happens when it has run already or was cancelled before.
    void invalidate() {
        if (auto cancel = std::exchange(cancel_, nullptr))
            cancel();
    }

    /// True from the scheduling until `invalidate()`; a one-shot timer that has fired still counts as held
    /// until its owner lets go of it.
    explicit operator bool() const { return static_cast<bool>(cancel_); }

  private:
    void swap(Timer& other) noexcept { std::swap(cancel_, other.cancel_); }

    std::function<void()> cancel_;
};

/// The main thread's one queue of work and the program's only clock. Work runs in the order of its deadlines,
/// work of equal deadline in the order of its scheduling, never nested inside other work.
///
/// `QtRunLoop` runs it in the program; the tests have a loop with a virtual clock under the same contract.
class RunLoop {
  public:
    using Work = std::function<void()>;

    /// While one of these exists the queue stands still: nothing that was or is scheduled runs, timers
    /// included; what fell due meanwhile runs, once each, when the last hold has gone. A modal alert holds
    /// the loop, so that no message or timer is handled under it. Main thread.
    class Hold {
      public:
        explicit Hold(RunLoop& loop);
        ~Hold();
        Hold(const Hold&) = delete;
        Hold& operator=(const Hold&) = delete;

      private:
        RunLoop& loop_;
    };

    virtual ~RunLoop() = default;

    /// Queues work to run soon on the main thread. May be called from any thread; returns at once.
    virtual void async(Work work) = 0;

    /// Runs `work` once, `seconds` from now, unless the handle goes first. Main thread. Negative and NaN
    /// delays count as 0.
    [[nodiscard]] virtual Timer after(double seconds, Work work) = 0;

    /// Runs `work` every `seconds`, first after one period, until the handle goes. Main thread. A period
    /// below one millisecond is taken as one millisecond. Periods missed (by a hold or a slow machine) are
    /// dropped.
    [[nodiscard]] virtual Timer every(double seconds, Work work) = 0;

    /// Runs `work` once, `seconds` from now; nobody can cancel it. The work must hold what it touches weakly.
    /// Main thread.
    void asyncAfter(double seconds, Work work);

    /// Wall-clock time in seconds since 1970-01-01 UTC. Any thread.
    virtual double now() const = 0;

    /// Seconds since some fixed moment, never running backwards. Any thread.
    virtual double uptime() const = 0;

    /// The session that is made current around all work of this loop. Set once by `Session`.
    void setSession(Session* session) { session_ = session; }

  protected:
    /// Runs one piece of work under the loop's session.
    void perform(const Work& work) const;
    bool held() const { return holds_ > 0; }
    /// Called when the last hold has gone.
    virtual void resume() = 0;

  private:
    Session* session_ = nullptr;
    int holds_ = 0;
};

} // namespace merlode
