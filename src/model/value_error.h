#pragma once

#include <QString>

namespace merlode {

/// Why a text could not be read, or a step into a value went wrong: whose code it is, the code, and words for
/// it.
struct ValueError {
    QString domain;
    int code = 0;
    QString localizedDescription;

    bool operator==(const ValueError&) const = default;
};

} // namespace merlode
