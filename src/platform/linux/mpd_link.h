#pragma once

#include "base/dispatch_queue.h"
#include "base/run_loop.h"
#include "platform/linux/mpd_connection.h"

#include <atomic>
#include <functional>
#include <memory>

namespace merlode {

class Session;

/// The command connection of one player: blocking work on a queue of its own, its results on the main thread.
///
/// A server that keeps silent for `kPlayerCallTimeout`, or that cannot be connected to, counts as hung: work
/// is dropped for `kHungPlayerPause`, then one probe asks whether it is back. Main thread, unless said
/// otherwise.
class MpdLink {
  public:
    /// Runs on the main thread, unless the link is gone by then.
    using Finish = std::function<void()>;
    /// Runs on the queue with an open connection and gives what is left to do on the main thread, or null.
    using Work = std::function<Finish(MpdConnection&)>;
    struct Events {
        std::function<void()> hung; ///< work that was queued may have been dropped
        std::function<void()> back;
    };

    /// The session must outlive the link.
    MpdLink(MpdAddress address, Session& session, Events events);
    /// Breaks off what runs.
    ~MpdLink();

    /// Queues work; dropped while hung.
    void run(Work work);

    bool isHung() const { return hung_; }

    /// The server has shown life by itself: ends the pause of a hung one.
    void awaken();

  private:
    void runOnQueue(const Work& work);
    void conclude(MpdOutcome outcome);
    void probe();

    RunLoop& loop_;
    Events events_;
    MpdConnection connection_;
    bool hung_ = false;
    std::atomic<bool> dropping_ =
        false; // hung as the queue knows it: what waits there must not hang one by one
    Timer pause_;
    std::shared_ptr<char> life_ = std::make_shared<char>();
    DispatchQueue queue_; // last: its destructor waits for work that uses the members above
};

} // namespace merlode
