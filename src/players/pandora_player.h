#pragma once

#include "players/music_player.h"

#include <QString>

namespace merlode {

struct PandoraItem;

/// Pandora, as far as it can do more than other players: it plays stations, and its tracks take thumbs.
class PandoraPlayer : public MusicPlayer {
  public:
    PandoraPlayer() : MusicPlayer(MusicPlayerType::Pandora) {}

    /// Makes a station of what a search has found and plays it.
    virtual void playItem(const PandoraItem& item) = 0;
    virtual void playStation(const PandoraItem& station) = 0;
    virtual void thumbsUp() = 0;
    virtual void thumbsDown() = 0;
    /// The thumb of the playing track: 0 none, 1 down, 2 up.
    virtual int thumbType() = 0;
    /// The station that plays; nothing while the page does not show one.
    virtual std::optional<QString> getStationName() = 0;
};

} // namespace merlode
