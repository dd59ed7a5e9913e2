#pragma once

#include <QByteArray>

#include <functional>

namespace TagLib {
class File;
}

namespace merlode {

/// Reads the tags of a music file, and with `lengths` how long it plays, and hands it to `look`. False for
/// what is no music file, and for one that would have more read than `kMostReadOfFile`; `look` may not have
/// been called then, or not have come to its end. Blocks: for dispatch queues.
bool readMusicFile(const QByteArray& path, bool lengths, const std::function<void(TagLib::File&)>& look);

/// Tags lie at the ends of a file and are small but for their pictures; only a damaged or hostile file has
/// more of it looked at.
inline constexpr long kMostReadOfFile = 64 * 1024 * 1024;

} // namespace merlode
