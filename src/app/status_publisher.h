#pragma once

#include "base/session.h"

#include <QVariantMap>

#include <functional>
#include <optional>
#include <vector>

namespace merlode {

/// Watches the controller's notifications and tells its listeners of each change of the status once, however
/// many notifications it made. A position that merely runs on is no change; one that jumps is. Main thread.
class StatusPublisher {
  public:
    using Listener = std::function<void(const QVariantMap& status)>;

    /// A position further off than this many seconds from where it should have run is a jump.
    static constexpr double kPositionJump = 2.0;

    /// `read` gives the status of this moment.
    StatusPublisher(Session& session, std::function<QVariantMap()> read);

    /// Told of changes from now on, for as long as this object lives.
    void addListener(Listener listener) { listeners_.push_back(std::move(listener)); }

    /// Told after each batch of notifications, behind the listeners and whether or not the status came out
    /// the same.
    void addBatchListener(std::function<void()> listener) { batchListeners_.push_back(std::move(listener)); }

    /// Something that `read` looks at has changed without a notification: told at the end of this pass.
    void schedule();

    QVariantMap status() const { return read_(); }

    /// The status of this moment for somebody who listens from now on. Who listens already is told first
    /// where it is news: the next change is then one to all of them.
    QVariantMap publishStatus();

  private:
    void publish();
    bool positionJumped(const QVariantMap& status) const;

    Session& session_;
    std::function<QVariantMap()> read_;
    std::vector<Listener> listeners_;
    std::vector<std::function<void()>> batchListeners_;
    std::vector<Observation> observations_;
    std::optional<Timer> scheduled_;
    std::optional<QVariantMap> published_;
    double publishedAt_ = 0;
};

} // namespace merlode
