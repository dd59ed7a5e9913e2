#pragma once

#include <functional>
#include <utility>

namespace merlode {

/// A stored value that tells one observer of every assignment, also of an equal value. The observer is called
/// after the store, with the value that was there before. Not locked: it belongs to its owner's thread.
template<class T>
class Observed {
  public:
    using DidSet = std::function<void(const T& oldValue)>;

    explicit Observed(T value = {}) : value_(std::move(value)) {}

    /// Sets the observer; assignments before that are silent.
    void onSet(DidSet didSet) { didSet_ = std::move(didSet); }

    const T& get() const { return value_; }

    void set(T value) {
        const T oldValue = std::exchange(value_, std::move(value));
        if (didSet_)
            didSet_(oldValue);
    }

  private:
    T value_;
    DidSet didSet_;
};

} // namespace merlode
