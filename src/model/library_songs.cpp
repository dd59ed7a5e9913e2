#include "model/library_songs.h"

#include <algorithm>

namespace merlode {

namespace {

bool same(const QString& one, const QString& other) {
    return one.compare(other, Qt::CaseInsensitive) == 0;
}

} // namespace

LibrarySongs::LibrarySongs(std::vector<LibrarySong> songs) : songs_(std::move(songs)) {
    for (std::size_t place = 0; place < songs_.size(); ++place)
        byAlbum_[songs_[place].albumTitle.toCaseFolded()].push_back(place);
}

template<class Accepts>
const LibrarySong* LibrarySongs::findOnAlbum(const QString& album, const QString& artist,
                                             Accepts accepts) const {
    const auto places = byAlbum_.constFind(album.toCaseFolded());
    if (places == byAlbum_.constEnd())
        return nullptr;
    // Folding makes a little more equal than the comparison does ("ss" and a sharp s), hence the first test.
    const auto found = std::ranges::find_if(*places, [&](std::size_t place) {
        const LibrarySong& song = songs_[place];
        return same(song.albumTitle, album) &&
               (same(song.artistName, artist) || same(song.albumArtist, artist)) && accepts(song);
    });
    return found == places->end() ? nullptr : &songs_[*found];
}

const LibrarySong* LibrarySongs::find(const QString& title, const QString& artist,
                                      const QString& album) const {
    return findOnAlbum(album, artist, [&](const LibrarySong& song) { return same(song.title, title); });
}

bool LibrarySongs::hasAlbum(const QString& album, const QString& artist) const {
    return findOnAlbum(album, artist, [](const LibrarySong&) { return true; }) != nullptr;
}

QString playKeyOf(const LibrarySong& song) {
    return QStringLiteral("%1").arg(song.persistentID, 16, 16, QLatin1Char('0')).toUpper();
}

} // namespace merlode
