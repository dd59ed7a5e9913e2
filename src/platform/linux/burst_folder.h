#pragma once

#include "base/run_loop.h"

#include <functional>

namespace merlode {

/// Folds bursts of signs into few calls: the first sign calls at once, those within the following `window`
/// seconds are folded into one more call at its end. A player's change of track then shows with the first
/// signal, and the burst behind it costs one more intake at most. Main thread.
class BurstFolder {
  public:
    BurstFolder(RunLoop& loop, double window, std::function<void()> call)
        : loop_(loop), window_(window), call_(std::move(call)) {}

    void sign() {
        if (timer_) {
            pending_ = true;
            return;
        }
        timer_ = loop_.after(window_, [this] { close(); });
        call_();
    }

  private:
    void close() {
        timer_.invalidate();
        if (std::exchange(pending_, false))
            sign(); // opens a new window: a stream of signs is slowed down to one call a window
    }

    RunLoop& loop_;
    double window_;
    std::function<void()> call_;
    Timer timer_;
    bool pending_ = false;
};

} // namespace merlode
