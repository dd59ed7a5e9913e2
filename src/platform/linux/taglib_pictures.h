#pragma once

#include <QByteArray>

#include <optional>

namespace merlode {

/// The picture that a music file carries, as it lies there: the front cover, else its first one. Nothing for
/// a file without, for what is no music file, and for one that would have more read than `kMostReadOfFile`.
/// Blocks: for dispatch queues.
std::optional<QByteArray> embeddedPicture(const QByteArray& path);

/// Tags lie at the ends of a file and are small but for their pictures; only a damaged or hostile file has
/// more of it looked at.
inline constexpr long kMostReadOfFile = 64 * 1024 * 1024;

} // namespace merlode
