#include "base/run_loop.h"

#include "base/session_scope.h"

namespace merlode {

RunLoop::Hold::Hold(RunLoop& loop) : loop_(loop) {
    ++loop_.holds_;
}

RunLoop::Hold::~Hold() {
    if (--loop_.holds_ == 0)
        loop_.resume();
}

void RunLoop::asyncAfter(double seconds, Work work) {
    // The work owns its own timer: the handle lives exactly as long as the work is pending.
    auto timer = std::make_shared<Timer>();
    *timer = after(seconds, [timer, work = std::move(work)] {
        // Letting go of the handle would destroy this closure while it runs.
        auto keep = std::make_shared<Work>(work);
        timer->invalidate();
        (*keep)();
    });
}

void RunLoop::perform(const Work& work) const {
    const SessionScope scope(session_);
    work();
}

} // namespace merlode
