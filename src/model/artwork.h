#pragma once

#include "base/image.h"

#include <QSize>

namespace merlode {

/// The size at which views show a cover, in points.
inline constexpr double kArtworkImageViewWidth = 176.0;
inline constexpr double kArtworkImageViewHeight = 176.0;
inline constexpr QSize kArtworkImageViewSize{static_cast<int>(kArtworkImageViewWidth),
                                             static_cast<int>(kArtworkImageViewHeight)};

/// The one placeholder for art that is not there, "PanelAlbumArt". Always the same object: code tells real
/// art from the lack of it by comparing with this. Any thread.
const Image& sSharedAlbumArtworkImage();

/// The heart on notifications of liked tracks. Any thread.
const Image& sSharedNotificationHeart();

} // namespace merlode
