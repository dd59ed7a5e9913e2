#pragma once

#include "platform/media_item.h"

#include <QByteArray>

#include <optional>

namespace merlode {

/// What the tags of a music file tell; `persistentID` is left to the caller. A file without a title has its
/// own name for one; several artists are one text. Nothing for what is no music file, and for one that lacks
/// an artist or an album and so has no place in the library. Blocks: for background queues.
std::optional<MediaItem> readMusicTags(const QByteArray& path);

} // namespace merlode
