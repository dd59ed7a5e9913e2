#pragma once

#include "base/image.h"

#include <QByteArray>
#include <QList>

#include <functional>
#include <optional>

namespace merlode {

/// Reads the picture out of a music file, as it lies there. Any thread; blocks.
using PictureReader = std::function<std::optional<QByteArray>(const QByteArray& path)>;

/// The picture of a music file: the one that it carries, else the cover that lies beside it. Pictures that
/// are broken or too big are passed over. `embedded` may be empty. Blocks: for dispatch queues.
std::optional<Image> artOfMusicFile(const QByteArray& path, const PictureReader& embedded);

/// Whether a file of this name holds the cover of the music beside it: "cover", "folder" or "front", as JPEG
/// or PNG, in whatever case.
bool isCoverName(const QByteArray& name);

/// The files beside a music file that hold its cover, the likeliest first. Of a folder with more than
/// `kMostEntries` files a part is looked at.
QList<QByteArray> coverFilesBeside(const QByteArray& path);
inline constexpr int kMostEntries = 10'000;

} // namespace merlode
