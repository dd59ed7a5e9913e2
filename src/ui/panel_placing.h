#pragma once

#include "ui/window.h"

namespace merlode {

/// From the item's left edge to that of the panel, for an item without width: half the panel's design width
/// less the offset of its arrow.
inline constexpr double kPanelArrowInset = 76.0;

/// Where the panel stands, and which of its edges is at the bar.
struct PanelPlace {
    QRect frame;
    bool barBelow = false; ///< the panel stands above the bar, and grows upwards
    double offset = 0;     ///< how far the screen's edge has pushed the panel aside, in points, never below 0
    double arrow = 0;      ///< from the panel's left edge to the tip of its arrow
};

/// How many of the screens' pixels one unit is in which a bar tells where it was clicked. Some bars count
/// pixels, some points of their own scale, some those of this program. At a click the pointer stands on the
/// item, and so tells them apart; where it stands elsewhere, as after a key, it is as `before`. `pointer` is
/// in pixels, on a screen that has `devicePixelRatio` of them to a point.
double pixelsPerUnit(const QPoint& told, const QPointF& pointer, double devicePixelRatio, double before);

/// The place beside the item `item` (`imageWidth` wide without its text) for a panel of this size.
PanelPlace placePanel(const QRect& item, double imageWidth, const QSize& panel, const Screen& screen);

/// The frame for another height: the edge at the bar stays where it is. Not higher than the screen allows.
QRect panelFrameWithHeight(const QRect& frame, int height, bool barBelow, const Screen& screen);

} // namespace merlode
