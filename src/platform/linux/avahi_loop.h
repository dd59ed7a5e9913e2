#pragma once

#include <avahi-common/watch.h>

namespace merlode {

class RunLoop;

/// Lets libavahi live on the run loop: what it wants to hear of its sockets and clocks comes through the
/// loop's queue, so that a modal alert holds it like everything else. Must outlive what libavahi made with
/// it. Main thread.
class AvahiLoop {
  public:
    explicit AvahiLoop(RunLoop& loop);
    AvahiLoop(const AvahiLoop&) = delete;
    AvahiLoop& operator=(const AvahiLoop&) = delete;

    const AvahiPoll* api() const { return &api_; }

  private:
    AvahiPoll api_{};
};

} // namespace merlode
