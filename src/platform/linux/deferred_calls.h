#pragma once

#include "base/run_loop.h"

#include <functional>
#include <memory>

namespace merlode {

/// Calls that are made through the run loop's queue, in their order, as long as their maker lives and wants
/// them. Main thread.
class DeferredCalls {
  public:
    explicit DeferredCalls(RunLoop& loop) : loop_(loop) {}

    /// An empty function is left out.
    void call(std::function<void()> work) {
        if (!work)
            return;
        loop_.async([weak = std::weak_ptr(life_), work = std::move(work)] {
            if (!weak.expired())
                work();
        });
    }

    /// Drops what has not been called yet.
    void forget() { life_ = std::make_shared<char>(); }

    RunLoop& loop() const { return loop_; }

  private:
    RunLoop& loop_;
    std::shared_ptr<char> life_ = std::make_shared<char>();
};

} // namespace merlode
