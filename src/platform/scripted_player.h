#pragma once

#include "base/image.h"

#include <QString>

#include <cstdint>
#include <memory>
#include <optional>

namespace merlode {

/// How long any one call to a player may take, in seconds. A player that takes longer counts as hung.
inline constexpr double kPlayerCallTimeout = 1.0;

/// How long a hung player is left alone before it is asked again, in seconds. Whatever it announces by itself
/// ends the pause at once.
inline constexpr double kHungPlayerPause = 10.0;

/// How long the signals behind a first one are collected, in seconds: one change of track shows as up to
/// eleven signals within 20 ms, and what comes within this time is taken in together.
inline constexpr double kAnnouncementBurst = 0.05;

/// The state code of a playing player, "kPSP"; every other code means not playing.
inline constexpr std::uint32_t kPlayerStatePlaying = 0x6b505350;
inline constexpr std::uint32_t kPlayerStatePaused = 0x6b505370;  // "kPSp"
inline constexpr std::uint32_t kPlayerStateStopped = 0x6b505353; // "kPSS"

/// What a player tells of its current track. A field is absent where the player did not tell it, or told
/// something of the wrong type, out of range or too long (`kLongestPlayerText`).
struct ScriptedTrack {
    std::optional<QString> id;  ///< stable across plays: a library address, a track id, "spotify:track:..."
    std::optional<QString> url; ///< where the music lies, as an address
    std::optional<QString> name;
    std::optional<QString> album;
    std::optional<QString> artist;
    std::optional<double> duration; ///< seconds, above 0
    std::optional<int> number;      ///< position on the album, from 1

    bool operator==(const ScriptedTrack&) const = default;
};

/// Texts from players beyond this many UTF-16 units are treated as absent: no title is that long.
inline constexpr int kLongestPlayerText = 4096;

/// What can be done with a player at this moment.
struct PlayerCapabilities {
    bool canPlay = false;
    bool canPause = false;
    bool canGoNext = false;
    bool canGoPrevious = false;
    bool canSeek = false;
    bool canSetVolume = false;

    bool operator==(const PlayerCapabilities&) const = default;
};

/// Names a track, or with an empty `name` a whole album, in a player's library. Compared exactly.
struct LibraryQuery {
    QString name;
    QString album;
    QString artist;
};

/// One running player, driven from outside. No call blocks longer than `kPlayerCallTimeout`; a player that is
/// hung or gone gives nothing and swallows commands without a word. Reads may come from a mirror that the
/// player's own signals keep up to date. Main thread.
class ScriptedPlayer {
  public:
    virtual ~ScriptedPlayer() = default;

    /// `kPlayerStatePlaying`, another state code, or 0 where nothing is known.
    virtual std::uint32_t playerState() = 0;

    /// The loaded track, playing or not.
    virtual std::optional<ScriptedTrack> currentTrack() = 0;

    virtual void play() = 0;
    virtual void playpause() = 0;
    virtual void pause() = 0;
    virtual void nextTrack() = 0;
    virtual void previousTrack() = 0;

    /// 0 to 100; absent for a player without a volume.
    virtual std::optional<int> soundVolume() = 0;
    /// Values outside 0 to 100 are brought into that range.
    virtual void setSoundVolume(int volume) = 0;

    /// Seconds from the start of the track.
    virtual std::optional<double> playerPosition() = 0;
    /// Seconds from the start of the track; negative values count as 0.
    virtual void setPlayerPosition(double seconds) = 0;

    /// The picture of the current track, where it is at hand without waiting: a player that names its art by
    /// address has it fetched in the background from the moment it announces the track.
    virtual std::optional<Image> albumArt() = 0;

    virtual void setRepeating(bool repeating) = 0;
    virtual void setShuffling(bool shuffling) = 0;

    /// 0 to 100 in steps of 20 for a star; absent where the player keeps no ratings or this track has none.
    virtual std::optional<int> rating() = 0;
    virtual void setRating(int rating) = 0;

    /// Plays the item of this key, or of this address. Control characters are refused.
    virtual void playKey(const QString& key) = 0;

    /// Makes the playlist `playlistName`, replacing one of that name and no other, of the library's tracks
    /// that match, and plays it once through. False when nothing matches or the player has no library of its
    /// own; the playlists are then as they were.
    virtual bool playFromLibrary(const LibraryQuery& query, const QString& playlistName) = 0;

    virtual PlayerCapabilities capabilities() = 0;
};

/// Finds the player in a role. Main thread.
class ScriptedPlayers {
  public:
    virtual ~ScriptedPlayers() = default;

    /// The running player whose process this is, for the role with this bundle identifier
    /// ("com.apple.iTunes", "com.spotify.client", "com.rdio.desktop"). Null when that process is gone or
    /// plays another role. Calls on a player that quits later give nothing.
    virtual std::shared_ptr<ScriptedPlayer> player(const QString& bundleIdentifier,
                                                   std::int32_t processIdentifier) = 0;
};

} // namespace merlode
