#pragma once

#include "base/run_loop.h"
#include "platform/alerts.h"

namespace merlode {

/// Alerts as message boxes. Needs a QApplication. Main thread.
class MessageBoxAlerts final : public Alerts {
  public:
    explicit MessageBoxAlerts(RunLoop& loop) : loop_(loop) {}
    int runModal(const Alert& alert) override;

  private:
    RunLoop& loop_;
};

} // namespace merlode
