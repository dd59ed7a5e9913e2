#pragma once

#include "platform/alerts.h"

#include <memory>
#include <optional>

namespace merlode {

/// Shows alerts by another implementation, except while what causes them was asked for by somebody who reads
/// the answer elsewhere, on a terminal say. Main thread.
class DivertedAlerts final : public Alerts {
  public:
    explicit DivertedAlerts(std::unique_ptr<Alerts> shown) : shown_(std::move(shown)) {}

    int runModal(const Alert& alert) override {
        if (!diverting_)
            return shown_->runModal(alert);
        diverted_ = alert;
        return kAlertFirstButtonReturn;
    }

    /// Runs `work` and gives the last alert that it would have shown.
    template<class Work>
    std::optional<Alert> during(Work work) {
        diverted_.reset();
        diverting_ = true;
        work();
        diverting_ = false;
        return std::exchange(diverted_, std::nullopt);
    }

  private:
    std::unique_ptr<Alerts> shown_;
    bool diverting_ = false;
    std::optional<Alert> diverted_;
};

} // namespace merlode
