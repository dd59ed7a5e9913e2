#pragma once

#include <QString>

namespace merlode {

/// Which kind of program plays the local library.
enum class LocalPlayerKind {
    UserMpd, ///< an MPD that the user runs
    Desktop, ///< an MPRIS player that the user chose
    Private, ///< an MPD of our own
};

/// What the choice depends on.
struct LocalRoleFacts {
    QString setting;     ///< `defaults::kLocalPlayerKind`: "auto", "mpd", "desktop" or "private"
    QString desktopName; ///< `defaults::kLocalPlayerName`
    bool userMpdRuns = false;
};

/// The setting decides where it names a kind; with "auto", or anything unknown, an MPD that the user runs
/// comes first, then a desktop player that the user chose, then an MPD of our own.
LocalPlayerKind chooseLocalPlayer(const LocalRoleFacts& facts);

} // namespace merlode
