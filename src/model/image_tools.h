#pragma once

#include "base/image.h"

#include <QRect>
#include <QSize>

#include <array>

/// Operations on pictures. A point is a pixel here: pictures carry no scale of their own. Any thread, but
/// large pictures take their time (some 10 ns a pixel), so background work prepares what the main thread
/// shows.
namespace merlode {

/// The part of a picture of size `source` that has the aspect ratio of `target` and fills it: the longer side
/// is cut evenly at both ends, to whole pixels and never below one. Empty when either size is.
QRect fillingCrop(const QSize& source, const QSize& target);

/// The picture cut to the aspect ratio of `size` and scaled to it, so that nothing looks stretched. A picture
/// of that size is returned as it is; an empty picture or size gives an empty picture.
Image resize(const Image& image, const QSize& size);

/// The square out of the picture's middle, as large as its shorter side, unscaled.
Image cropToSquare(const Image& image);

/// Red, green, blue and alpha of the average over a part of the picture, counted from the top left corner;
/// the colours are multiplied by the alpha. All 0 where the part and the picture do not meet.
std::array<uchar, 4> averagePixelData(const Image& image, const QRect& part);

} // namespace merlode
