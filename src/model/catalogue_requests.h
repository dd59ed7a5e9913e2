#pragma once

#include "model/json.h"
#include "platform/http_client.h"

#include <QString>

#include <memory>
#include <optional>

/// The requests to the web services by which items find themselves, and the reading of their replies. The
/// hosts are settings of the session. Any thread, but `fetchJSON` blocks and belongs on a queue.
namespace merlode {
class Track;
}

namespace merlode::catalogue {

/// Seconds that the Spotify, iTunes store and Last.fm services may take.
inline constexpr double kSearchTimeoutInterval = 15.0;

/// The key by which Last.fm knows this program. It is no secret: every request shows it.
inline constexpr char kLastFMAPIKey[] = "9be17d03f6a2c84d15ea7c60d3b29f48";

/// Spotify's search for items of one kind ("track", "album", "artist"), in the market of the session.
HttpRequest spotifySearch(const QString& text, const QString& kind);
HttpRequest spotifyAlbum(const QString& id);
HttpRequest spotifyTrack(const QString& id);
/// All albums of an artist in the iTunes store.
HttpRequest iTunesAlbumsOfArtist(const QString& artistName);
HttpRequest lastFMAlbumInfo(const QString& artistName, const QString& albumName);

/// The identifier at the end of a Spotify address: "spotify:album:ID", or that of a web page.
QString spotifyID(const QString& uri);

/// Spotify's search for tracks, albums and artists together, at most `limit` of each.
HttpRequest spotifySearchOfAllKinds(const QString& text, int limit);

/// Sends the request and reads the reply; nothing when either fails. `failure`, where given, then tells why.
std::optional<JSON> fetchJSON(const HttpRequest& request, const HttpCancellation& cancellation = {},
                              QString* failure = nullptr);

/// The song of one entry of Spotify's answer; fields that are missing are empty.
std::shared_ptr<Track> trackOfSpotify(const JSON& item);

/// The entry of the store's reply that is this album, name and artist compared exactly; null where none is.
JSON iTunesAlbumIn(const JSON& reply, const QString& albumName, const QString& artistName);

} // namespace merlode::catalogue
