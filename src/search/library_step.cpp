#include "search/library_step.h"

#include "base/session.h"
#include "platform/media_library.h"

#include <algorithm>

namespace merlode {

namespace {

quint64 discOf(const LibrarySong& song) {
    return std::max<quint64>(song.discNumber, 1);
}

const QString& albumArtistOf(const LibrarySong& song) {
    if (song.isCompilation)
        return kCompilationAlbumArtistName;
    return song.albumArtist.isEmpty() ? song.artistName : song.albumArtist;
}

std::shared_ptr<Album> albumOf(const LibrarySong& song) {
    auto album = Album::iTunesAlbum(
        {.id = QStringLiteral("iTunes"), .name = song.albumTitle, .artistName = albumArtistOf(song)});
    album->setDiscNumber(discOf(song));
    return album;
}

void addTracks(const LibrarySongs& songs, const SearchTerm& term, FoldedList<Track>& tracks,
               const std::function<bool()>& isCancelled) {
    for (const auto place : songs.firstContaining(term, kMaxiTunesSongResults)) {
        if (isCancelled())
            return;
        tracks.appendNew(libraryTrack(songs.song(place)));
    }
}

// The art is read for an album that stays only, since reading it takes far longer than all the rest.
void addAlbum(const LibrarySong& song, FoldedList<Album>& albums, SearchedFor searchedFor) {
    const auto album = albumOf(song);
    if (albums.equalOf(*album))
        return;
    if (song.hasArtwork && searchedFor == SearchedFor::Views) {
        if (const auto art = Session::current().port<MediaLibrary>().artwork(song.persistentID))
            album->setImage(art);
    }
    albums.appendNew(album);
}

void addAlbums(const LibrarySongs& songs, const SearchTerm& term, FoldedList<Album>& albums,
               SearchedFor searchedFor, const std::function<bool()>& isCancelled) {
    songs.forEachAlbumContaining(term, [&](LibrarySongs::Place place) {
        if (albums.size() >= kMaxiTunesAlbumResults || isCancelled())
            return false;
        addAlbum(songs.song(place), albums, searchedFor);
        return true;
    });
}

void fillAlbum(const LibrarySongs& songs, Album& album, SearchedFor searchedFor,
               const std::function<bool()>& isCancelled) {
    const bool isCompilation = album.artistName() == kCompilationAlbumArtistName;
    auto tracks = album.tracks();
    for (const auto place :
         songs.songsOfAlbum(album.name(), isCompilation ? std::nullopt : std::optional(album.artistName()))) {
        if (isCancelled())
            return;
        tracks.push_back(libraryTrack(songs.song(place)));
        if (searchedFor == SearchedFor::Views)
            tracks.back()->getPlayKeys();
    }
    std::ranges::stable_sort(tracks, {}, [](const auto& track) { return track->number(); });
    album.setTracks(std::move(tracks));
}

} // namespace

std::shared_ptr<Track> libraryTrack(const LibrarySong& song) {
    const QString key = playKeyOf(song);
    auto track = Track::iTunesTrack({.id = key,
                                     .name = song.title,
                                     .albumName = song.albumTitle,
                                     .artistName = song.artistName,
                                     .duration = song.totalTime,
                                     .isExplicit = false,
                                     .trackNumber = song.trackNumber},
                                    key);
    track->setDiscNumber(discOf(song));
    return track;
}

void searchLibrary(const LibrarySongs& songs, const QString& term, const std::function<bool()>& isCancelled,
                   FoldedList<Track>& tracks, FoldedList<Album>& albums, SearchedFor searchedFor) {
    const SearchTerm wanted(term);
    addTracks(songs, wanted, tracks, isCancelled);
    if (isCancelled())
        return;
    addAlbums(songs, wanted, albums, searchedFor, isCancelled);
    for (const auto& album : albums.items()) {
        if (isCancelled())
            return;
        fillAlbum(songs, *album, searchedFor, isCancelled);
    }
}

} // namespace merlode
