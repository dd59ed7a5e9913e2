#pragma once

#include <QString>

namespace merlode {

/// The version of this build, "0.1.0", or "Version Number Not Available" for a build without one.
QString applicationVersionNumber();

/// As above for the build number, which is the version: builds are not counted apart. Without one "Build
/// Number Not Available".
QString applicationBuildNumber();

} // namespace merlode
