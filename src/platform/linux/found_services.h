#pragma once

#include "platform/linux/deferred_calls.h"

#include <QString>
#include <QStringList>

#include <map>
#include <utility>

namespace merlode {

/// Folds what a browser sees, which is every service once for each interface and address family, into batches
/// of names. The first batch is complete when everybody has had time to answer and somebody did.
class FoundServices {
  public:
    void add(const QString& name) {
        if (++sightings_[name] == 1)
            waiting_ << name;
    }

    void remove(const QString& name) {
        const auto found = sightings_.find(name);
        if (found == sightings_.end() || --found->second > 0)
            return;
        sightings_.erase(found);
        waiting_.removeAll(name);
    }

    /// Everybody has had time to answer.
    void settled() { settled_ = true; }

    /// The names that have not been taken yet, once they may be.
    QStringList takeBatch() { return settled_ ? std::exchange(waiting_, {}) : QStringList(); }

  private:
    std::map<QString, int> sightings_;
    QStringList waiting_;
    bool settled_ = false;
};

/// Has the next batch of names told one by one, if it is complete; `tell` takes a name and whether more of
/// the batch are to come.
inline void tellFound(DeferredCalls& calls, FoundServices& found,
                      const std::function<void(const QString&, bool)>& tell) {
    auto batch = found.takeBatch();
    while (tell && !batch.isEmpty()) {
        const auto name = batch.takeFirst();
        calls.call([tell, name, more = !batch.isEmpty()] { tell(name, more); });
    }
}

} // namespace merlode
