#pragma once

#include "model/album.h"
#include "model/library_songs.h"
#include "model/track.h"
#include "search/folded_list.h"

#include <functional>

namespace merlode {

inline constexpr std::size_t kMaxiTunesSongResults = 25;
inline constexpr std::size_t kMaxiTunesAlbumResults = 20;
inline const QString kCompilationAlbumArtistName = QStringLiteral("Various Artists");

/// Appends the songs and albums of the library in which the term occurs, the albums with their tracks. What
/// equals an item of the lists is dropped: a library can hold a song twice. Every new item looks for its keys
/// at the other services. `isCancelled` is asked before each item that is made; once it says so the step ends
/// with what it has.
///
/// A song is found by its title and its artist whatever the case, an album likewise by its title but by its
/// artists in their very case only. Albums show the art that the session's `MediaLibrary` has of their first
/// song, and reading that takes most of the time. Blocks: for background queues.
void searchLibrary(const LibrarySongs& songs, const QString& term, const std::function<bool()>& isCancelled,
                   FoldedList<Track>& tracks, FoldedList<Album>& albums);

} // namespace merlode
