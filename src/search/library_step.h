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

/// The song as an item, which has its key.
std::shared_ptr<Track> libraryTrack(const LibrarySong& song);

/// For whom the library is searched: for this machine's views, or for another machine, which is told names
/// and keys. Nothing that cannot travel is then looked for.
enum class SearchedFor { Views, Client };

/// Appends the songs and albums of the library in which the term occurs, the albums with their tracks. What
/// equals an item of the lists is dropped: a library can hold a song twice. The tracks of albums look for
/// their keys at the other services, and other new items if their list is one that does. `isCancelled` is
/// asked before each item that is made; once it says so the step ends with what it has.
///
/// A song is found by its title and its artist whatever the case, an album likewise by its title but by its
/// artists in their very case only. For views albums show the art that the session's `MediaLibrary` has of
/// their first song, and reading that takes most of the time. Blocks: for background queues.
void searchLibrary(const LibrarySongs& songs, const QString& term, const std::function<bool()>& isCancelled,
                   FoldedList<Track>& tracks, FoldedList<Album>& albums,
                   SearchedFor searchedFor = SearchedFor::Views);

} // namespace merlode
