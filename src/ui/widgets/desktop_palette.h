#pragma once

#include "base/notification_center.h"

#include <QPalette>

namespace merlode {

class DesktopSettings;
class Session;

/// Gives menus, alerts and dialogs dark colours while the desktop asks for those, where Qt does not do so by
/// itself. Needs a QApplication. Main thread.
class DesktopPalette {
  public:
    explicit DesktopPalette(Session& session);
    DesktopPalette(const DesktopPalette&) = delete;
    DesktopPalette& operator=(const DesktopPalette&) = delete;

  private:
    void follow();

    const DesktopSettings& desktop_;
    const QPalette usual_; ///< what the desktop gives to all programs
    Observation changes_;
};

} // namespace merlode
