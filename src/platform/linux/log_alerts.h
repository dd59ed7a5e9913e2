#pragma once

#include "platform/alerts.h"

namespace merlode {

/// Alerts of a program without a display: they go to the log, and the first button is taken at once.
class LogAlerts final : public Alerts {
  public:
    int runModal(const Alert& alert) override;
};

} // namespace merlode
