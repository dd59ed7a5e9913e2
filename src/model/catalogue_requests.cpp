#include "model/catalogue_requests.h"

#include "base/session.h"
#include "model/item_link.h"
#include "model/service_hosts.h"
#include "model/text.h"
#include "model/track.h"

#include <QUrl>

namespace merlode::catalogue {

namespace {

QString host(WebService service) {
    return ServiceHosts::sharedController().address(service);
}

HttpRequest request(const QString& url) {
    return {.url = url, .timeoutSeconds = kSearchTimeoutInterval};
}

// An identifier comes out of a reply: whatever is in it, it stays one piece of the path.
QString pathPiece(const QString& id) {
    return QString::fromLatin1(QUrl::toPercentEncoding(id));
}

QString market() {
    return QStringLiteral("market=") + Session::current().port<ItemLink>().countryCode();
}

} // namespace

HttpRequest spotifySearch(const QString& text, const QString& kind) {
    return request(host(WebService::SpotifyAPI) + QStringLiteral("/v1/search?q=") + encodeString(text) +
                   QStringLiteral("&type=") + kind + u'&' + market());
}

HttpRequest spotifyAlbum(const QString& id) {
    return request(host(WebService::SpotifyAPI) + QStringLiteral("/v1/albums/") + pathPiece(id));
}

HttpRequest spotifyTrack(const QString& id) {
    return request(host(WebService::SpotifyAPI) + QStringLiteral("/v1/tracks/") + pathPiece(id) + u'?' +
                   market());
}

HttpRequest iTunesAlbumsOfArtist(const QString& artistName) {
    return request(host(WebService::iTunesSearch) +
                   QStringLiteral("/search?entity=album&attribute=artistTerm&term=") +
                   encodeString(artistName) + QStringLiteral("&limit=100"));
}

HttpRequest lastFMAlbumInfo(const QString& artistName, const QString& albumName) {
    return request(host(WebService::LastFMAPI) +
                   QStringLiteral("/2.0/?format=json&method=album.getInfo&artist=") +
                   encodeString(artistName) + QStringLiteral("&album=") + encodeString(albumName) +
                   QStringLiteral("&api_key=") + QString::fromLatin1(kLastFMAPIKey));
}

QString spotifyID(const QString& uri) {
    return uri.section(u':', -1).section(u'/', -1).section(u'?', 0, 0);
}

HttpRequest spotifySearchOfAllKinds(const QString& text, int limit) {
    return request(host(WebService::SpotifyAPI) + QStringLiteral("/v1/search?q=") + encodeString(text) +
                   QStringLiteral("&type=album,artist,track&limit=%1&").arg(limit) + market());
}

std::optional<JSON> fetchJSON(const HttpRequest& request, const HttpCancellation& cancellation,
                              QString* failure) {
    const auto body = Session::current().port<HttpClient>().send(request, cancellation, failure);
    if (!body)
        return std::nullopt;
    JSONError error;
    JSON json(*body, JSONReadingOptions::AllowFragments, &error);
    if (error.code == 0)
        return json;
    if (failure)
        *failure = QStringLiteral("its answer cannot be read");
    return std::nullopt;
}

std::shared_ptr<Track> trackOfSpotify(const JSON& item) {
    return Track::SpotifyTrack({.id = item[u"id"].stringValue(),
                                .name = item[u"name"].stringValue(),
                                .albumName = item[u"album"][u"name"].stringValue(),
                                .artistName = item[u"artists"][0][u"name"].stringValue(),
                                .duration = item[u"duration_ms"].intValue(),
                                .isExplicit = item[u"explicit"].boolValue(),
                                .trackNumber = item[u"track_number"].intValue()},
                               item[u"uri"].stringValue());
}

JSON iTunesAlbumIn(const JSON& reply, const QString& albumName, const QString& artistName) {
    for (const auto& [place, entry] : reply[u"results"]) {
        if (entry[u"collectionType"].stringValue() == u"Album" &&
            entry[u"artistName"].stringValue() == artistName &&
            entry[u"collectionName"].stringValue() == albumName)
            return entry;
    }
    return {};
}

} // namespace merlode::catalogue
