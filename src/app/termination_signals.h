#pragma once

#include <QSocketNotifier>

#include <functional>
#include <memory>

namespace merlode {

/// Turns SIGINT, SIGTERM and SIGHUP into a call on the main thread, where everything can be ended in order.
/// One at a time in a process; the default handling returns with its destruction. Main thread.
class TerminationSignals {
  public:
    explicit TerminationSignals(std::function<void()> terminate);
    ~TerminationSignals();

  private:
    std::unique_ptr<QSocketNotifier> notifier_;
};

} // namespace merlode
