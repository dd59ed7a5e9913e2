#include "base/deadline_queue.h"

#include <cmath>

namespace merlode {

DeadlineQueue::Id DeadlineQueue::add(double deadline, double period, Work work) {
    const std::lock_guard lock(mutex_);
    const Id id = ++lastId_;
    entries_.emplace(Key{deadline, id}, Entry{period, std::make_shared<Work>(std::move(work))});
    deadlines_.emplace(id, deadline);
    return id;
}

void DeadlineQueue::cancel(Id id) {
    Entry dropped; // destroyed after the lock: its closure may own timers of this very queue
    const std::lock_guard lock(mutex_);
    const auto deadline = deadlines_.find(id);
    if (deadline == deadlines_.end())
        return;
    const auto entry = entries_.find(Key{deadline->second, id});
    dropped = std::move(entry->second);
    entries_.erase(entry);
    deadlines_.erase(deadline);
}

std::optional<double> DeadlineQueue::nextDeadline() const {
    const std::lock_guard lock(mutex_);
    if (entries_.empty())
        return std::nullopt;
    return entries_.begin()->first.first;
}

std::shared_ptr<DeadlineQueue::Work> DeadlineQueue::takeDue(double now) {
    const std::lock_guard lock(mutex_);
    if (entries_.empty() || entries_.begin()->first.first > now)
        return nullptr;
    auto node = entries_.extract(entries_.begin());
    const auto [deadline, id] = node.key();
    auto work = node.mapped().work;
    if (node.mapped().period <= 0) {
        deadlines_.erase(id);
        return work;
    }
    const double period = node.mapped().period;
    const double missed = std::floor((now - deadline) / period);
    const double next = deadline + period * (1 + missed);
    node.key() = Key{next, id};
    deadlines_[id] = next;
    entries_.insert(std::move(node));
    return work;
}

void DeadlineQueue::clear() {
    std::map<Key, Entry> dropped;
    const std::lock_guard lock(mutex_);
    dropped.swap(entries_);
    deadlines_.clear();
}

} // namespace merlode
