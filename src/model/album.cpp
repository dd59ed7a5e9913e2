#include "model/album.h"

#include "model/artwork.h"
#include "model/item_dictionary.h"
#include "model/track.h"

#include <algorithm>

namespace merlode {

Album::Album(ItemSourceType sourceType, const QString& id, const QString& name, const QString& artistName)
    : MusicItem(sourceType, id, name), identity_({name, artistName}), artistName_(artistName) {}

std::shared_ptr<Album> Album::make(ItemSourceType sourceType, const QString& id, const QString& name,
                                   const QString& artistName, const std::optional<QString>& artworkURL,
                                   bool loadArtwork) {
    std::shared_ptr<Album> album(new Album(sourceType, id, name, artistName));
    album->setImage(sSharedAlbumArtworkImage());
    album->setShouldFetchImage(loadArtwork);
    album->setImageURL(artworkURL);
    return album;
}

std::shared_ptr<Album> Album::iTunesAlbum(const Details& details) {
    return make(ItemSourceType::iTunes, details.id, details.name, details.artistName, details.artworkURL,
                details.loadArtwork);
}

std::shared_ptr<Album> Album::SpotifyAlbum(const Details& details) {
    auto album = make(ItemSourceType::Spotify, details.id, details.name, details.artistName,
                      details.artworkURL, details.loadArtwork);
    album->setSpotifyPlayKey(details.playKey);
    return album;
}

std::shared_ptr<Album> Album::RdioAlbum(const Details& details) {
    auto album = make(ItemSourceType::Rdio, details.id, details.name, details.artistName, details.artworkURL,
                      details.loadArtwork);
    album->setRdioPlayKey(details.playKey);
    return album;
}

std::shared_ptr<Album> Album::UnknownAlbum(const Details& details) {
    return make(ItemSourceType::None, details.id, details.name, details.artistName, details.artworkURL,
                details.loadArtwork);
}

std::shared_ptr<Album> Album::copyAlbum(const Album& album) {
    auto copy = make(album.sourceType(), album.id(), album.name(), album.artistName(), album.imageURL(),
                     album.shouldFetchImage());
    if (const auto art = album.image())
        copy->setImage(art);
    else
        copy->fetchImage();
    copy->setiTunesPlayKey(album.iTunesPlayKey());
    copy->setSpotifyPlayKey(album.spotifyPlayKey());
    copy->setRdioPlayKey(album.rdioPlayKey());
    copy->setArtist(album.artist());
    copy->setRdioTrackKeys(album.rdioTrackKeys());
    copy->setDiscNumber(album.discNumber());
    copy->setDiscCount(album.discCount());
    auto tracks = album.tracks();
    std::ranges::transform(tracks, tracks.begin(),
                           [](const auto& track) { return Track::copyTrack(*track); });
    std::ranges::stable_sort(tracks, {}, [](const auto& track) { return track->number(); });
    copy->setTracks(std::move(tracks));
    copy->setPreferredSource(album.preferredSource());
    return copy;
}

QVariantMap Album::albumToDictionary(bool includeTracks) const {
    QVariantMap dictionary{{QStringLiteral("id"), id()},
                           {QStringLiteral("albumName"), name()},
                           {QStringLiteral("artistName"), artistName_},
                           {QStringLiteral("discNumber"), travellingNumber(discNumber())}};
    if (isAlbumType(ItemSourceType::iTunes))
        dictionary.insert(QStringLiteral("iTunesPlayKey"), QStringLiteral("iTunes"));
    insertText(dictionary, QStringLiteral("rdioPlayKey"), rdioPlayKey());
    insertText(dictionary, QStringLiteral("spotifyPlayKey"), spotifyPlayKey());
    insertText(dictionary, QStringLiteral("imageURL"), imageURL());
    if (includeTracks) {
        QVariantList list;
        for (const auto& track : tracks())
            list.append(track->trackToDictionary());
        dictionary.insert(QStringLiteral("tracks"), list);
    }
    return dictionary;
}

void Album::setTracks(std::vector<std::shared_ptr<Track>> tracks) {
    write(tracks_, std::move(tracks));
    if (const auto listener = albumDelegate())
        listener->albumTracksUpdated();
}

void Album::trackItemUpdated() {
    if (const auto listener = albumDelegate())
        listener->albumTracksSourcesUpdated();
}

QString Album::description() const {
    return QStringLiteral("Album: \n Name: ") + name() + QStringLiteral(" \n Artist: ") + artistName_;
}

} // namespace merlode
