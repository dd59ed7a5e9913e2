#include "model/track.h"

#include "base/session.h"
#include "model/album.h"
#include "model/catalogue_requests.h"
#include "model/item_dictionary.h"
#include "model/item_link.h"

#include <cmath>

namespace merlode {

Track::Track(ItemSourceType sourceType, const Details& details)
    : MusicItem(sourceType, details.id, details.name),
      identity_({details.name, details.artistName, details.albumName}),
      albumName_(details.albumName),
      artistName_(details.artistName),
      isExplicit_(details.isExplicit),
      duration_(details.duration),
      number_(details.trackNumber) {}

std::shared_ptr<Track> Track::make(ItemSourceType sourceType, const Details& details) {
    return std::shared_ptr<Track>(new Track(sourceType, details));
}

std::shared_ptr<Track> Track::iTunesTrack(const Details& details, const QString& playKey) {
    auto track = make(ItemSourceType::iTunes, details);
    track->setiTunesPlayKey(playKey);
    return track;
}

std::shared_ptr<Track> Track::SpotifyTrack(const Details& details, const QString& playKey) {
    Details inSeconds = details;
    inSeconds.duration = std::llround(static_cast<float>(details.duration) / 1000.0F);
    auto track = make(ItemSourceType::Spotify, inSeconds);
    track->setSpotifyPlayKey(playKey);
    return track;
}

std::shared_ptr<Track> Track::RdioTrack(const Details& details, const QString& playKey) {
    auto track = make(ItemSourceType::Rdio, details);
    track->setRdioPlayKey(playKey);
    return track;
}

std::shared_ptr<Track> Track::UnknownTrack(const Details& details) {
    return make(ItemSourceType::None, details);
}

std::shared_ptr<Track> Track::copyTrack(const Track& track) {
    auto copy = make(track.sourceType(), {.id = track.id(),
                                          .name = track.name(),
                                          .albumName = track.albumName(),
                                          .artistName = track.artistName(),
                                          .duration = track.duration(),
                                          .isExplicit = track.isExplicit(),
                                          .trackNumber = track.number()});
    copy->setiTunesPlayKey(track.iTunesPlayKey());
    copy->setSpotifyPlayKey(track.spotifyPlayKey());
    copy->setRdioPlayKey(track.rdioPlayKey());
    copy->setAlbum(track.album());
    copy->setPreferredSource(track.preferredSource());
    copy->setDiscNumber(track.discNumber());
    copy->setDiscCount(track.discCount());
    return copy;
}

void Track::sourceTypeDidChange() {
    if (const auto holder = album())
        holder->trackItemUpdated();
}

QString Track::description() const {
    return QStringLiteral("Track: \n Name: ") + name() + QStringLiteral(" \n Album: ") + albumName_ +
           QStringLiteral(" \n Artist: ") + artistName_ + QStringLiteral(" \n Track Number: ") +
           QString::number(number());
}

void Track::getiTunesPlayKey() {
    auto& session = Session::current();
    auto& link = session.port<ItemLink>();
    if (isTrackType(ItemSourceType::iTunes) || link.hasRemotePlayer())
        return;
    const auto library = link.iTunesSongs();
    const auto song = library->find(name(), artistName_, albumName_);
    if (!song)
        return;
    session.runLoop().async([weak = weak_from_this(), key = playKeyOf(*song)] {
        if (const auto track = weak.lock()) {
            track->setiTunesPlayKey(key);
            track->insertSource(ItemSourceType::iTunes);
        }
    });
}

void Track::getSpotifyPlayKey() {
    if (isTrackType(ItemSourceType::Spotify))
        return;
    // The title alone is asked for: an album that the service spells otherwise must not hide the song.
    const auto reply = catalogue::fetchJSON(catalogue::spotifySearch(name(), QStringLiteral("track")));
    if (!reply)
        return;
    for (const auto& [place, item] : (*reply)[u"tracks"][u"items"]) {
        const auto found = catalogue::trackOfSpotify(item);
        if (!(*found == *this))
            continue;
        return Session::current().runLoop().async([weak = weak_from_this(), found] {
            if (const auto track = weak.lock())
                static_cast<Track&>(*track).foundAtSpotify(*found);
        });
    }
}

void Track::foundAtSpotify(Track& found) {
    mergeMusicItems(found, *this);
    if (const auto record = favorite())
        Session::current().port<ItemLink>().updateFavorite(record, self());
}

void Track::getFavoritesiTunesPlayKey() {
    if (isTrackType(ItemSourceType::iTunes))
        return;
    auto& link = Session::current().port<ItemLink>();
    if (link.hasRemotePlayer())
        link.fetchiTunesKeyFromHost(self());
    else
        getiTunesPlayKey();
}

bool Track::isFavoriteTrack() const {
    return Session::current().port<ItemLink>().isFavorite(*this);
}

QVariantMap Track::trackToDictionary() const {
    QVariantMap dictionary{
        {QStringLiteral("id"), id()},
        {QStringLiteral("trackName"), name()},
        {QStringLiteral("albumName"), albumName_},
        {QStringLiteral("artistName"), artistName_},
        {QStringLiteral("duration"), duration()},
        {QStringLiteral("explicit"), isExplicit_},
        {QStringLiteral("number"), number()},
        {QStringLiteral("discNumber"), travellingNumber(discNumber())},
    };
    insertText(dictionary, QStringLiteral("iTunesPlayKey"), iTunesPlayKey());
    insertText(dictionary, QStringLiteral("rdioPlayKey"), rdioPlayKey());
    insertText(dictionary, QStringLiteral("spotifyPlayKey"), spotifyPlayKey());
    return dictionary;
}

} // namespace merlode
