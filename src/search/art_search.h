#pragma once

#include "players/links.h"

#include <memory>

namespace merlode {

class JSON;

/// Finds the art of the playing track at the web services and hands it to the player controller, which drops
/// what comes too late. Requests are sent in the background; one that fails or finds nothing leaves the art
/// as it is. Main thread.
class ArtSearch {
  public:
    /// The track is named by its Spotify address: "spotify:track:ID" or that of a web page.
    void findSpotifyAlbumArt(const QString& spotifyUrl);

    /// The store's album of the track's very artist and album names.
    void findiTunesAlbumArt(const Track& track);
};

} // namespace merlode
