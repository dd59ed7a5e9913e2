// How two items found on different services become one. Apart from the other operations of MusicItem, since
// it needs the derived classes, which MusicItem itself does not know.
#include "model/album.h"
#include "model/music_item.h"
#include "model/track.h"

#include <unordered_map>

namespace merlode {

namespace {

// The first value wins; the one that is missing takes the other's.
void share(std::optional<QString>& first, std::optional<QString>& second) {
    if (first)
        second = first;
    else if (second)
        first = second;
}

} // namespace

void MusicItem::takeServices(const MusicItem& other) {
    const ItemSourceType services = other.sourceType();
    if (services.contains(ItemSourceType::iTunes)) {
        setiTunesPlayKey(other.iTunesPlayKey());
        insertSource(ItemSourceType::iTunes);
    }
    if (services.contains(ItemSourceType::Spotify)) {
        setSpotifyPlayKey(other.spotifyPlayKey());
        insertSource(ItemSourceType::Spotify);
    }
    if (services.contains(ItemSourceType::Rdio)) {
        setRdioPlayKey(other.rdioPlayKey());
        insertSource(ItemSourceType::Rdio);
    }
}

void MusicItem::mergeMusicItems(MusicItem& first, MusicItem& second) {
    mergeSourcesAndKeys(first, second);
    const auto* firstAlbum = dynamic_cast<const Album*>(&first);
    const auto* secondAlbum = dynamic_cast<const Album*>(&second);
    if (firstAlbum && secondAlbum)
        mergeAlbumTracks(*firstAlbum, *secondAlbum);
}

void MusicItem::mergeAlbumTracks(const Album& first, const Album& second) {
    // The tracks by identity, those of one identity in the order of the list: the same pairs in the same
    // order as two nested walks would find.
    const auto others = second.tracks();
    std::unordered_map<ItemIdentity, std::vector<Track*>> byIdentity;
    byIdentity.reserve(others.size());
    for (const auto& other : others)
        byIdentity[other->identity()].push_back(other.get());
    for (const auto& track : first.tracks()) {
        const auto equals = byIdentity.find(track->identity());
        if (equals == byIdentity.end())
            continue;
        for (Track* other : equals->second)
            mergeSourcesAndKeys(*track, *other);
    }
}

void MusicItem::mergeSourcesAndKeys(MusicItem& first, MusicItem& second) {
    const ItemSourceType united = first.insertSource(second.sourceType());
    second.insertSource(united);
    if (&first != &second)
        mergeKeys(first, second);
    if (const auto url = first.imageURL())
        second.setImageURL(url);
    else if (const auto otherURL = second.imageURL())
        first.setImageURL(otherURL);
}

void MusicItem::mergeKeys(MusicItem& first, MusicItem& second) {
    const std::scoped_lock lock(first.mutex_, second.mutex_);
    share(first.keys_.iTunes, second.keys_.iTunes);
    share(first.keys_.spotify, second.keys_.spotify);
    share(first.keys_.rdio, second.keys_.rdio);
}

} // namespace merlode
