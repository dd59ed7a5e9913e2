#include "base/session.h"
#include "model/json.h"
#include "model/service_hosts.h"
#include "model/text.h"
#include "search/rdio_token_request.h"
#include "search/search_step.h"

namespace merlode {

namespace {

// The kinds of results, as the reply names them. Artists ("r") are not asked for and left out.
constexpr QStringView kAlbumResult = u"a";
constexpr QStringView kTrackResult = u"t";

HttpRequest searchRequest(const QString& term, const QString& token) {
    const QByteArray body = "access_token=" + token.toUtf8() +
                            "&method=search&query=" + cleanString(term).toUtf8() +
                            "&types=album,artist,track";
    return {.url = ServiceHosts::sharedController().address(WebService::Rdio) + QStringLiteral("/api/1"),
            .timeoutSeconds = kRdioTimeOut,
            .method = HttpRequest::Method::Post,
            .body = body,
            .headers = {{"Authorization", "Bearer " + token.toUtf8()},
                        {"Query", "?access_token=" + token.toUtf8()},
                        {"Content-Type", "application/x-www-form-urlencoded"},
                        {"Content-Length", QByteArray::number(body.size())}}};
}

std::shared_ptr<Album> albumOf(const JSON& result) {
    const QString key = result[u"key"].stringValue();
    auto album = Album::RdioAlbum({.id = key,
                                   .playKey = key,
                                   .name = result[u"name"].stringValue(),
                                   .artistName = result[u"artist"].stringValue(),
                                   .artworkURL = result[u"icon"].string(),
                                   .loadArtwork = true});
    QStringList tracks;
    for (const auto& [place, track] : result[u"trackKeys"])
        tracks << track.stringValue();
    album->setRdioTrackKeys(tracks);
    return album;
}

std::shared_ptr<Track> trackOf(const JSON& result) {
    const QString key = result[u"key"].stringValue();
    return Track::RdioTrack({.id = key,
                             .name = result[u"name"].stringValue(),
                             .albumName = result[u"album"].stringValue(),
                             .artistName = result[u"artist"].stringValue(),
                             .duration = result[u"duration"].intValue(),
                             .isExplicit = !result[u"isClean"].boolValue(),
                             .trackNumber = result[u"trackNum"].intValue()},
                            key);
}

} // namespace

StepFailure searchRdio(const SearchStep& step) {
    const QString token = RdioTokenRequest::sharedController().getAuthorizationToken(step.cancellation);
    if (token.isEmpty())
        return QStringLiteral("it gives no token");
    if (step.isCancelled())
        return std::nullopt;
    QString failure;
    const auto reply = Session::current().port<HttpClient>().send(searchRequest(step.term, token),
                                                                  step.cancellation, &failure);
    if (!reply)
        return failure;
    for (const auto& [place, result] : JSON(*reply)[u"result"][u"results"]) {
        if (step.isCancelled())
            break;
        const QString type = result[u"type"].stringValue();
        if (type == kAlbumResult)
            step.findings.albums.fold(albumOf(result));
        else if (type == kTrackResult)
            step.findings.tracks.fold(trackOf(result));
    }
    return std::nullopt;
}

} // namespace merlode
