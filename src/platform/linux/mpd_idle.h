#pragma once

#include "base/run_loop.h"
#include "platform/linux/mpd_connection.h"

#include <QSocketNotifier>

#include <functional>
#include <memory>

namespace merlode {

/// The connection on which an MPD tells of changes, and on whose closing its end shows. Nothing here blocks.
/// Main thread.
class MpdIdle {
  public:
    struct Events {
        std::function<void()> changed;
        std::function<void()> closed; ///< once, and nothing after it
    };

    /// Takes over an open connection without a call under way; `subsystems` are those of the protocol whose
    /// changes are wanted. The events are called through the run loop.
    MpdIdle(std::shared_ptr<MpdConnection> connection, RunLoop& loop, QByteArrayList subsystems,
            Events events);

  private:
    void listen();
    void read();
    void close();
    void tell();

    std::shared_ptr<MpdConnection> connection_;
    RunLoop& loop_;
    QByteArrayList subsystems_;
    Events events_;
    bool changed_ = false;
    bool closed_ = false;
    bool telling_ = false;
    std::shared_ptr<char> life_ = std::make_shared<char>();
    QSocketNotifier notifier_; // last: gone before the socket that it watches
};

} // namespace merlode
