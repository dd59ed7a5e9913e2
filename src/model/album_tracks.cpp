// What an album has at the services: itself and its tracks.

#include "base/session.h"
#include "model/album.h"
#include "model/catalogue_requests.h"
#include "model/item_link.h"
#include "model/queues.h"
#include "model/track.h"

#include <algorithm>
#include <map>

namespace merlode {

namespace {

using Tracks = std::vector<std::shared_ptr<Track>>;

void sortByNumber(Tracks& tracks) {
    std::ranges::stable_sort(tracks, {}, [](const auto& track) { return track->number(); });
}

// Services count the tracks of each disc from one. The album shows one list, so the numbers run on from disc
// to disc, whatever the order in which the tracks come.
void renumberOverDiscs(const Tracks& tracks) {
    std::map<quint64, qint64> highestOfDisc;
    for (const auto& track : tracks) {
        auto& highest = highestOfDisc[track->discNumber()];
        highest = std::max(highest, track->number());
    }
    if (highestOfDisc.empty() || highestOfDisc.rbegin()->first < 2)
        return;
    std::map<quint64, qint64> before;
    qint64 sum = 0;
    for (const auto& [disc, highest] : highestOfDisc) {
        before[disc] = sum;
        sum += highest;
    }
    for (const auto& track : tracks)
        track->setNumber(track->number() + before[track->discNumber()]);
}

// No album comes near; larger numbers in a reply would only overflow the sums.
qint64 plausible(qint64 number) {
    constexpr qint64 kMostTracks = 1'000'000;
    return std::clamp<qint64>(number, 0, kMostTracks);
}

Tracks tracksOfSpotify(const JSON& reply, const QString& albumName, const QString& artistName) {
    Tracks tracks;
    for (const auto& [place, item] : reply[u"tracks"][u"items"]) {
        auto track = Track::SpotifyTrack({.id = item[u"id"].stringValue(),
                                          .name = item[u"name"].stringValue(),
                                          .albumName = albumName,
                                          .artistName = artistName,
                                          .duration = item[u"duration_ms"].intValue(),
                                          .isExplicit = item[u"explicit"].boolValue(),
                                          .trackNumber = plausible(item[u"track_number"].intValue())},
                                         item[u"uri"].stringValue());
        track->setDiscNumber(static_cast<quint64>(plausible(item[u"disc_number"].intValue())));
        tracks.push_back(std::move(track));
    }
    renumberOverDiscs(tracks);
    return tracks;
}

} // namespace

void Album::getiTunesPlayKey() {
    auto& session = Session::current();
    auto& link = session.port<ItemLink>();
    if (isAlbumType(ItemSourceType::iTunes) || link.hasRemotePlayer() ||
        !link.iTunesSongs()->hasAlbum(name(), artistName_))
        return;
    session.runLoop().async([weak = weak_from_this()] {
        if (const auto album = weak.lock())
            album->insertSource(ItemSourceType::iTunes);
    });
}

void Album::getSpotifyPlayKey() {
    if (isAlbumType(ItemSourceType::Spotify))
        return;
    const auto reply =
        catalogue::fetchJSON(catalogue::spotifySearch(name() + u' ' + artistName_, QStringLiteral("album")));
    if (!reply)
        return;
    for (const auto& [place, item] : (*reply)[u"albums"][u"items"]) {
        if (item[u"name"].stringValue().toLower() != name().toLower())
            continue;
        // Search replies do not tell the artist of an album.
        const auto album = catalogue::fetchJSON(catalogue::spotifyAlbum(item[u"id"].stringValue()));
        if (!album || (*album)[u"artists"][0][u"name"].stringValue().toLower() != artistName_.toLower())
            continue;
        return Session::current().runLoop().async([weak = weak_from_this(), uri = item[u"uri"].stringValue(),
                                                   art = item[u"images"][0][u"url"].stringValue()] {
            if (const auto found = weak.lock())
                static_cast<Album&>(*found).foundAtSpotify(uri, art);
        });
    }
}

void Album::foundAtSpotify(const QString& uri, const QString& artURL) {
    setSpotifyPlayKey(uri);
    insertSource(ItemSourceType::Spotify);
    if (imageURL() || image() || artURL.isEmpty())
        return;
    setImageURL(artURL);
    fetchImage();
}

void Album::getSpotifyTracks() {
    const auto key = spotifyPlayKey();
    if (!key || !setOnce(fetchingSpotifyTracks_))
        return;
    kTrackListPlayKeyQueue().async(
        [weak = weak_from_this(), albumName = name(), artist = artistName_, id = catalogue::spotifyID(*key)] {
            if (weak.expired())
                return;
            auto request = catalogue::spotifyAlbum(id);
            request.timeoutSeconds = HttpRequest::kDefaultTimeout;
            const auto reply = catalogue::fetchJSON(request);
            if (!reply)
                return;
            auto tracks = tracksOfSpotify(*reply, albumName, artist);
            if (tracks.empty())
                return;
            Session::current().runLoop().async([weak, tracks = std::move(tracks)] {
                if (const auto album = weak.lock())
                    static_cast<Album&>(*album).mergeTracks(tracks);
            });
        });
}

void Album::mergeTracks(const Tracks& incoming) {
    for (const auto& track : incoming) {
        if (mergeIntoRow(*track))
            continue;
        auto rows = tracks();
        rows.push_back(track);
        track->setAlbum(std::static_pointer_cast<Album>(shared_from_this()));
        setTracks(std::move(rows));
        track->getPlayKeys();
    }
    auto rows = tracks();
    sortByNumber(rows);
    setTracks(std::move(rows));
}

bool Album::mergeIntoRow(const Track& track) const {
    const auto rows = tracks();
    const auto ofNumber = [&track](const auto& row) { return row->number() == track.number(); };
    const auto equal =
        std::ranges::find_if(rows, [&](const auto& row) { return ofNumber(row) && *row == track; });
    if (equal != rows.end()) {
        (*equal)->takeServices(track);
        (*equal)->getPlayKeys();
        return true;
    }
    const auto sameNumber = std::ranges::find_if(rows, ofNumber);
    if (sameNumber == rows.end())
        return false;
    (*sameNumber)->takeServices(track);
    return true;
}

} // namespace merlode
