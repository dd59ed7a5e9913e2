#pragma once

#include "base/image.h"
#include "platform/scripted_player.h"
#include "players/player_type.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace merlode {

class Album;
class Track;

/// The play state as it travels everywhere on our side of an adapter.
inline constexpr std::uint32_t kPlayStatePlaying = 0;
/// Paused, stopped or unknown.
inline constexpr std::uint32_t kPlayStateNotPlaying = 1;

/// One player that can be in charge, seen through the few operations that all of them share. The base class
/// does nothing; each adapter overrides what its service can do. Main thread; no operation blocks longer than
/// `kPlayerCallTimeout`, and a player that is gone or hung gives nothing.
class MusicPlayer {
  public:
    explicit MusicPlayer(MusicPlayerType playerType) : type(playerType) {}
    virtual ~MusicPlayer() = default;
    MusicPlayer(const MusicPlayer&) = delete;
    MusicPlayer& operator=(const MusicPlayer&) = delete;

    /// The process of the application that the adapter is bound to; absent where there is none.
    std::optional<std::int32_t> processID;
    const MusicPlayerType type;

    virtual void play() {}
    virtual void playpause() {}
    virtual void previousTrack() {}
    virtual void nextTrack() {}
    virtual void toggleRepeating(bool) {}
    virtual void toggleShuffling(bool) {}
    /// The loaded track; nothing where the player tells of none. The base class gives one with empty fields.
    virtual std::shared_ptr<Track> getCurrentTrack();
    /// 0 to 100.
    virtual int getSoundVolume() { return 50; }
    virtual void setSoundVolume(int) {}
    /// 0 playing, 1 anything else.
    virtual std::uint32_t getPlayState() { return kPlayStateNotPlaying; }
    /// Whole seconds.
    virtual std::optional<int> playerPosition() { return std::nullopt; }
    /// Whole seconds.
    virtual std::optional<int> trackDuration() { return std::nullopt; }
    virtual void pause() {}
    /// Whole seconds.
    virtual void setPlayerPosition(int) {}
    virtual void playAlbum(const Album&) {}
    virtual void playTrack(const Track&) {}
    virtual std::optional<Image> getAlbumArt() { return std::nullopt; }
    /// True exactly when `getPlayState()` is 0.
    virtual bool isPlaying() { return false; }

    /// What can be done with the player right now, for the desktop's media controls.
    virtual PlayerCapabilities capabilities() { return {}; }
};

} // namespace merlode
