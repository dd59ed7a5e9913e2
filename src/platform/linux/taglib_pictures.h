#pragma once

#include <QByteArray>

#include <optional>

namespace TagLib {
class File;
}

namespace merlode {

/// The picture that a music file carries, as it lies there: the front cover, else its first one. Nothing for
/// a file without, for what is no music file, and for one that would have more read than `kMostReadOfFile`.
/// Blocks: for dispatch queues.
std::optional<QByteArray> embeddedPicture(const QByteArray& path);

/// The same picture of a file whose tags are read already.
std::optional<QByteArray> pictureOf(TagLib::File& file);

} // namespace merlode
