#include "app/library_files.h"

#include "platform/media_library.h"
#include "search/library_step.h"

#include <algorithm>

namespace merlode {

namespace {

std::vector<LibrarySong> songsNamed(const LibraryQuery& query, const LibrarySongs& songs) {
    std::vector<LibrarySong> found;
    if (!query.name.isEmpty()) {
        if (const auto song = songs.find(query.name, query.artist, query.album))
            found.push_back(*song);
        return found;
    }
    const bool isCollection = query.artist == kCompilationAlbumArtistName;
    for (const auto place :
         songs.songsOfAlbum(query.album, isCollection ? std::nullopt : std::optional(query.artist))) {
        auto song = songs.song(place);
        if (!isCollection || song.isCompilation || song.albumArtist == query.artist)
            found.push_back(std::move(song));
    }
    std::ranges::stable_sort(found, {},
                             [](const auto& song) { return std::pair(song.discNumber, song.trackNumber); });
    return found;
}

} // namespace

QByteArrayList filesOf(const LibraryQuery& query, const LibrarySongs& songs, MediaLibrary& library) {
    QByteArrayList files;
    for (const auto& song : songsNamed(query, songs)) {
        if (const auto file = library.location(song.persistentID))
            files << *file;
    }
    return files;
}

} // namespace merlode
