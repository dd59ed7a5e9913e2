#include "support/virtual_run_loop.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace merlode {

Timer VirtualRunLoop::after(double seconds, Work work) {
    return schedule(seconds > 0 ? seconds : 0, 0, std::move(work));
}

Timer VirtualRunLoop::every(double seconds, Work work) {
    const double period = std::max(seconds, 0.001);
    return schedule(period, period, std::move(work));
}

Timer VirtualRunLoop::schedule(double seconds, double period, Work work) {
    const auto id = queue_->add(uptime_ + seconds, period, std::move(work));
    return Timer([weak = std::weak_ptr(queue_), id] {
        if (auto queue = weak.lock())
            queue->cancel(id);
    });
}

void VirtualRunLoop::advance(double seconds) {
    const double end = uptime_ + seconds;
    const bool outermost = !std::exchange(running_, true);
    int steps = 0;
    while (outermost && !held()) {
        const auto deadline = queue_->nextDeadline();
        if (!deadline || *deadline > end)
            break;
        uptime_ = std::max(uptime_, *deadline);
        if (const auto work = queue_->takeDue(uptime_))
            perform(*work);
        if (++steps > kMostSteps) {
            std::fprintf(stderr, "the virtual run loop does not come to rest\n");
            std::abort();
        }
    }
    uptime_ = std::max(uptime_, end);
    if (outermost)
        running_ = false;
}

} // namespace merlode
