#pragma once

#include "base/image.h"
#include "platform/media_item.h"

#include <QByteArray>

#include <functional>
#include <optional>

namespace merlode {

/// The user's own music. What was found in earlier runs is there at once; scans bring it up to date.
///
/// On the main thread an implementation posts on the session's default centre
/// `notifications::kMediaLibraryChanged` when `readItems` would hand over something else than before, and
/// `notifications::kMediaLibraryProgress` when `progress` has changed; both a few times a second at most.
class MediaLibrary {
  public:
    enum class State {
        Idle, ///< not scanned yet in this run
        Scanning,
        Finished,    ///< the last scan went through everything
        Cancelled,   ///< the last scan was cancelled; what it had found by then is kept
        Unreachable, ///< the last scan did not reach the music, and what was known is kept
    };

    struct Progress {
        State state = State::Idle;
        qint64 filesSeen = 0;  ///< of `filesTotal`
        qint64 filesTotal = 0; ///< 0 while they are being counted
        bool operator==(const Progress&) const = default;
    };

    /// False to hear of no more items.
    using Visit = std::function<bool(const MediaItem&)>;

    virtual ~MediaLibrary() = default;

    /// Hands over all items of the library one by one, in an order that lasts. Nothing is handed over where
    /// the library cannot be opened. Blocks for up to a second: for background queues. `visit` runs on the
    /// calling thread.
    virtual void readItems(const Visit& visit) = 0;

    /// Whether all of the music has been seen once, in this run or an earlier one. What `readItems` hands
    /// over before is a part. Blocks: for background queues.
    virtual bool isFinal() = 0;

    /// The picture of an item as it lies there, empty for none. It is read anew each time and not kept.
    /// Blocks: for background queues.
    virtual Image artwork(quint64 persistentID) = 0;

    /// Where the file of an item lies, in the file system's own bytes; nothing for an unknown item, and for
    /// one that lies with a server. Blocks: for background queues.
    virtual std::optional<QByteArray> location(quint64 persistentID) = 0;

    /// Begins to bring the library up to date, unless it is at it already. Returns at once. Main thread.
    virtual void startScan() = 0;

    /// Lets a scan end soon. Returns at once. Main thread.
    virtual void cancelScan() = 0;

    /// Main thread.
    virtual Progress progress() const = 0;

    /// Where the music lies, for people: a folder, or a server. Main thread.
    virtual QString place() const = 0;
};

} // namespace merlode
