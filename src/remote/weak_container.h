#pragma once

#include <memory>

namespace merlode {

/// A reference that does not keep what it refers to alive: a question about a track ends with the track.
template<typename T>
struct WeakContainer {
    std::weak_ptr<T> item;
};

} // namespace merlode
