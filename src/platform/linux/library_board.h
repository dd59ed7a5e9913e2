#pragma once

#include "base/notification_names.h"
#include "base/session.h"
#include "platform/linux/burst_folder.h"
#include "platform/media_library.h"

#include <memory>

namespace merlode {

/// What the main thread knows of a library that is brought up to date on other threads, and the notifications
/// about it. Main thread, but for `tell`.
class LibraryBoard {
  public:
    /// At most one notification of each kind in this time, in seconds. Who hears of a change reads all items.
    static constexpr double kProgressWindow = 0.25;
    static constexpr double kChangeWindow = 3.0;

    explicit LibraryBoard(Session& session)
        : progressFolder_(session.runLoop(), kProgressWindow,
                          post(session, notifications::kMediaLibraryProgress)),
          changeFolder_(session.runLoop(), kChangeWindow,
                        post(session, notifications::kMediaLibraryChanged)) {}

    const MediaLibrary::Progress& progress() const { return progress_; }

    void take(const MediaLibrary::Progress& progress, bool isChanged) {
        if (isChanged)
            changeFolder_.sign();
        if (progress != std::exchange(progress_, progress))
            progressFolder_.sign();
    }

    /// Has the main thread take it, unless the board is gone by then. Any thread.
    static void tell(const std::shared_ptr<LibraryBoard>& board, RunLoop& loop,
                     const MediaLibrary::Progress& progress, bool isChanged) {
        loop.async([weak = std::weak_ptr(board), progress, isChanged] {
            if (const auto alive = weak.lock())
                alive->take(progress, isChanged);
        });
    }

  private:
    static std::function<void()> post(Session& session, NotificationName name) {
        return [&session, name] { session.notificationCenter().post(name); };
    }

    BurstFolder progressFolder_;
    BurstFolder changeFolder_;
    MediaLibrary::Progress progress_;
};

} // namespace merlode
