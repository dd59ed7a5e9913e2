#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <unordered_map>
#include <utility>

namespace merlode {

/// Work ordered by (deadline, sequence of adding): the part that every run loop shares, so that the real and
/// the virtual one cannot disagree on order. Deadlines are in seconds on the loop's `uptime()`. Any thread.
class DeadlineQueue {
  public:
    using Work = std::function<void()>;
    using Id = std::uint64_t;

    /// Adds work that falls due at `deadline`; a `period` above 0 makes it repeat.
    Id add(double deadline, double period, Work work);

    /// Takes work out; unknown identifiers are ignored. Work that is running at this moment ends undisturbed.
    void cancel(Id id);

    /// The earliest deadline, or nothing when the queue is empty.
    std::optional<double> nextDeadline() const;

    /// Takes the earliest work that is due at `now`, or null. Repeating work is put back with its next
    /// deadline first, the periods that lie wholly before `now` dropped, so that it may cancel itself while
    /// it runs.
    std::shared_ptr<Work> takeDue(double now);

    /// Empties the queue. What the dropped closures own is destroyed on the calling thread.
    void clear();

  private:
    using Key = std::pair<double, Id>;
    struct Entry {
        double period = 0;
        std::shared_ptr<Work> work;
    };

    mutable std::mutex mutex_;
    std::map<Key, Entry> entries_;
    std::unordered_map<Id, double> deadlines_;
    Id lastId_ = 0;
};

} // namespace merlode
