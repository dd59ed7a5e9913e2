#pragma once

#include "app/demo/demo_catalogue.h"

#include <atomic>
#include <functional>

namespace merlode {

/// Makes the music of demoCatalogue() below `folder`, with tags and covers; the same files each time. Blocks,
/// and works on two threads.
///
/// The tracks are made in the order of the catalogue. `progress` may be empty; it is called from the threads
/// at work, one call at a time, with how many of the tracks from the first on are finished, and all of them.
/// A file appears under its name once it is whole, and one that is there already is kept, so that an album
/// made before may be playing meanwhile.
///
/// Once `*stop` is set, where one is given, no further track is begun. False when a file could not be
/// written; in both cases what is made so far stays.
bool makeDemoLibrary(const QString& folder, const std::function<void(int done, int total)>& progress,
                     const std::atomic<bool>* stop = nullptr);

/// Makes one album of the catalogue in the same way.
bool makeDemoAlbum(const QString& folder, int index);

/// Makes one track, counted from 0 across the discs of its album.
bool makeDemoTrack(const QString& folder, int album, int track);

/// Where a track of the album is made, relative to the folder.
QString demoTrackPath(const DemoAlbum& album, const DemoTrack& track);

} // namespace merlode
