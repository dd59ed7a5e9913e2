#pragma once

namespace merlode {

/// What the user has told the desktop about how programs should look. A change is posted as
/// "AppleInterfaceThemeChangedNotification" on the session's distributed centre. Main thread.
class DesktopSettings {
  public:
    enum class ColorScheme { NoPreference, Dark, Light };

    virtual ~DesktopSettings() = default;

    /// `NoPreference` also where the desktop does not tell, or has not told yet.
    virtual ColorScheme colorScheme() const = 0;

    /// Whether movement on the screen is to be kept down.
    virtual bool reducedMotion() const = 0;
};

} // namespace merlode
