#pragma once

#include <QString>

#include <cstdint>
#include <optional>
#include <vector>

namespace merlode {

/// An application that runs.
struct RunningApplication {
    std::int32_t processIdentifier = 0;
};

/// The applications of the desktop by their role. An implementation posts
/// `notifications::kWorkspaceDidLaunchApplication` on the session's workspace centre, with the user
/// information "NSApplicationName", whenever the program in a role has come up. Main thread; nothing here
/// blocks.
class Workspace {
  public:
    virtual ~Workspace() = default;

    /// Where the program of this role ("iTunes", "Spotify", "Rdio") is installed, or nothing where it is not.
    virtual std::optional<QString> fullPathForApplication(const QString& name) = 0;

    /// The running programs of the role with this bundle identifier, at most one on this desktop.
    virtual std::vector<RunningApplication>
    runningApplicationsWithBundleIdentifier(const QString& bundleIdentifier) = 0;

    /// Starts the program of this role. True when the start was set going, not when it is up.
    virtual bool launchApplication(const QString& name) = 0;
};

} // namespace merlode
