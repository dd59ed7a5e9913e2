#include "base/session.h"
#include "model/catalogue_requests.h"
#include "search/search_step.h"

namespace merlode {

namespace {

void addTracks(const JSON& items, const SearchStep& step) {
    for (const auto& [place, item] : items) {
        if (step.isCancelled())
            return;
        step.findings.tracks.fold(catalogue::trackOfSpotify(item));
    }
}

// The replies about the albums, in their order; nothing for one that failed.
std::vector<HttpClient::Reply> askForAlbums(const JSON& items, const SearchStep& step) {
    std::vector<HttpRequest> requests;
    for (const auto& [place, item] : items)
        requests.push_back(catalogue::spotifyAlbum(item[u"id"].stringValue()));
    return Session::current().port<HttpClient>().sendAll(requests, step.cancellation);
}

void addAlbums(const JSON& items, const SearchStep& step) {
    const auto replies = askForAlbums(items, step);
    std::size_t index = 0;
    for (const auto& [place, item] : items) {
        if (step.isCancelled())
            return;
        const JSON album(replies[index++].value_or(QByteArray()));
        step.findings.albums.fold(
            Album::SpotifyAlbum({.id = item[u"id"].stringValue(),
                                 .playKey = item[u"uri"].stringValue(),
                                 .name = item[u"name"].stringValue(),
                                 .artistName = album[u"artists"][0][u"name"].stringValue(),
                                 .artworkURL = item[u"images"][0][u"url"].string(),
                                 .loadArtwork = true}));
    }
}

} // namespace

StepFailure searchSpotify(const SearchStep& step) {
    if (step.isCancelled())
        return std::nullopt;
    QString failure;
    const auto reply = catalogue::fetchJSON(
        catalogue::spotifySearchOfAllKinds(step.term, kSpotifyResultLimit), step.cancellation, &failure);
    if (!reply)
        return failure;
    addTracks((*reply)[u"tracks"][u"items"], step);
    if (!step.isCancelled())
        addAlbums((*reply)[u"albums"][u"items"], step);
    return std::nullopt;
}

} // namespace merlode
