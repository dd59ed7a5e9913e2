#pragma once

namespace merlode {

/// Whether the desktop mixes the windows' pictures, so that one can be transparent where it is not painted.
/// Asks the X server, which takes some tenths of a millisecond; true everywhere else. Main thread.
bool isComposited();

} // namespace merlode
