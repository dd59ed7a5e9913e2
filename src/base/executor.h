#pragma once

#include <functional>
#include <memory>

namespace merlode {

/// Where background work runs: a pool of threads in the program, the virtual loop in tests.
class Executor {
  public:
    virtual ~Executor() = default;
    /// Runs `work` soon, off the caller's stack. Any thread; returns at once.
    virtual void execute(std::function<void()> work) = 0;
};

/// An executor on a pool of threads. At least four, since blocking network requests sit on them; idle threads
/// end after half a minute. Its destructor waits for what is running.
std::unique_ptr<Executor> makeThreadPoolExecutor();

} // namespace merlode
