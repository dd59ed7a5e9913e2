#include "model/album.h"

#include "model/artwork.h"

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
