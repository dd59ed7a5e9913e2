#pragma once

namespace merlode::ctl {

/// What merlodectl ends with; scripts rely on these numbers.
enum ExitCode {
    kDone = 0,
    kFailed = 1, ///< the program refused, failed or did not answer
    kWrongUsage = 2,
    kNotRunning = 3,
    kNoPlayer = 4,
};

} // namespace merlode::ctl
