#pragma once

#include "players/music_player.h"

namespace merlode {

/// The player of another machine, while this instance is its client.
class RemotePlayer : public MusicPlayer {
  public:
    RemotePlayer() : MusicPlayer(MusicPlayerType::Remote) {}

    /// What the server told of its services, whatever the settings on this side say.
    bool iTunesAvailable = false;
    bool spotifyAvailable = false;
    bool rdioAvailable = false;
};

} // namespace merlode
