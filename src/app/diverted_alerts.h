#pragma once

#include "platform/alerts.h"

#include <functional>
#include <memory>
#include <optional>

namespace merlode {

/// Shows alerts by another implementation, except while what causes them was asked for by somebody who reads
/// the answer elsewhere, on a terminal say. Main thread.
class DivertedAlerts final : public Alerts {
  public:
    /// Until it is destroyed alerts go to whoever asked for it; the youngest one gets them.
    class Diversion {
      public:
        Diversion(DivertedAlerts& alerts, std::function<void(const Alert&)> taker)
            : alerts_(alerts), before_(std::exchange(alerts.taker_, std::move(taker))) {}
        ~Diversion() { alerts_.taker_ = std::move(before_); }
        Diversion(const Diversion&) = delete;
        Diversion& operator=(const Diversion&) = delete;

      private:
        DivertedAlerts& alerts_;
        std::function<void(const Alert&)> before_;
    };

    explicit DivertedAlerts(std::unique_ptr<Alerts> shown) : shown_(std::move(shown)) {}

    int runModal(const Alert& alert) override {
        if (!taker_)
            return shown_->runModal(alert);
        taker_(alert);
        return kAlertFirstButtonReturn;
    }

    /// Runs `work` and gives the last alert that it would have shown.
    template<class Work>
    std::optional<Alert> during(Work work) {
        std::optional<Alert> last;
        const Diversion diversion(*this, [&last](const Alert& alert) { last = alert; });
        work();
        return last;
    }

  private:
    std::unique_ptr<Alerts> shown_;
    std::function<void(const Alert&)> taker_;
};

} // namespace merlode
