#pragma once

#include "base/dispatch_queue.h"

/// The background queues that all items share, one set for each session. A queue works through its requests
/// one at a time; screens have their own, so that one screen's downloads do not delay another's. Any thread.
namespace merlode {

DispatchQueue& kPlayKeyQueue();
DispatchQueue& kTopAlbumsPlayKeyQueue();
DispatchQueue& kNewReleasesPlayKeyQueue();
DispatchQueue& kTrackListPlayKeyQueue();
DispatchQueue& kImageDownloadQueue();
DispatchQueue& kDiscoverImageDownloadQueue();
DispatchQueue& kTopAlbumsImageDownloadQueue();
DispatchQueue& kNewReleasesImageDownloadQueue();
DispatchQueue& kHighResImageDownloadQueue();

} // namespace merlode
