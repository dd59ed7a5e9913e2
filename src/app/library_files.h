#pragma once

#include "model/library_songs.h"
#include "platform/scripted_player.h"

#include <QByteArrayList>

namespace merlode {

class MediaLibrary;

/// The files of the songs that the query names, in playing order, for players that have no library of their
/// own: one song, or an album in the order of its discs and tracks. Names are compared whatever their case;
/// an album is also found under its album artist, and one of "Various Artists" under the collections of that
/// title. Files of a library that lies with a server are not to be had. Looks into the library's database: a
/// moment's wait.
QByteArrayList filesOf(const LibraryQuery& query, const LibrarySongs& songs, MediaLibrary& library);

} // namespace merlode
