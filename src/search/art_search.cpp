#include "search/art_search.h"

#include "base/session.h"
#include "model/catalogue_requests.h"
#include "model/queues.h"
#include "model/track.h"
#include "players/player_controller.h"

namespace merlode {

namespace {

/// Whose art is meant, for the check that it still plays.
struct Names {
    QString track;
    QString artist;
    QString album;
};

// Reads and decodes the picture in the background.
void fetchArt(const QString& url, const Names& names) {
    if (url.isEmpty())
        return;
    kHighResImageDownloadQueue().async([url, names] {
        auto& session = Session::current();
        const auto bytes =
            session.port<HttpClient>().send({.url = url,
                                             .timeoutSeconds = catalogue::kSearchTimeoutInterval,
                                             .mostBytes = HttpRequest::kMostPictureBytes});
        const auto image = bytes ? Image::decode(*bytes) : std::nullopt;
        if (!image)
            return;
        session.runLoop().async([image = *image, names] {
            PlayerController::sharedController().replaceAlbumArt(image, names.track, names.artist,
                                                                 names.album);
        });
    });
}

} // namespace

void ArtSearch::findSpotifyAlbumArt(const QString& spotifyUrl) {
    const auto request = catalogue::spotifyTrack(catalogue::spotifyID(spotifyUrl));
    Session::current().port<HttpClient>().sendAsync(request, [](const HttpClient::Reply& reply) {
        const JSON track(reply.value_or(QByteArray()));
        const JSON album = track[u"album"];
        fetchArt(album[u"images"][0][u"url"].stringValue(),
                 {track[u"name"].stringValue(), track[u"artists"][0][u"name"].stringValue(),
                  album[u"name"].stringValue()});
    });
}

void ArtSearch::findiTunesAlbumArt(const Track& track) {
    const Names names{track.name(), track.artistName(), track.albumName()};
    const auto request = catalogue::iTunesAlbumsOfArtist(names.artist);
    Session::current().port<HttpClient>().sendAsync(request, [names](const HttpClient::Reply& reply) {
        const JSON albums(reply.value_or(QByteArray()));
        QString url =
            catalogue::iTunesAlbumIn(albums, names.album, names.artist)[u"artworkUrl100"].stringValue();
        // The store keeps each picture in many sizes; the reply names a small one.
        fetchArt(url.replace(QStringLiteral(".100x100-75."), QStringLiteral(".512x512-75.")), names);
    });
}

} // namespace merlode
