#include "model/track.h"

#include "model/album.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace merlode {

namespace {

void insertKey(QVariantMap& dictionary, const QString& name, const std::optional<QString>& key) {
    if (key)
        dictionary.insert(name, *key);
}

} // namespace

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

QVariantMap Track::trackToDictionary() const {
    // Signed like every number that comes out of a property list, so that both ends see the same types.
    const auto disc =
        static_cast<qint64>(std::min<quint64>(discNumber(), std::numeric_limits<qint64>::max()));
    QVariantMap dictionary{
        {QStringLiteral("id"), id()},
        {QStringLiteral("trackName"), name()},
        {QStringLiteral("albumName"), albumName_},
        {QStringLiteral("artistName"), artistName_},
        {QStringLiteral("duration"), duration()},
        {QStringLiteral("explicit"), isExplicit_},
        {QStringLiteral("number"), number()},
        {QStringLiteral("discNumber"), disc},
    };
    insertKey(dictionary, QStringLiteral("iTunesPlayKey"), iTunesPlayKey());
    insertKey(dictionary, QStringLiteral("rdioPlayKey"), rdioPlayKey());
    insertKey(dictionary, QStringLiteral("spotifyPlayKey"), spotifyPlayKey());
    return dictionary;
}

} // namespace merlode
