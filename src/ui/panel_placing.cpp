#include "ui/panel_placing.h"

#include <QLineF>

#include <algorithm>
#include <cmath>

namespace merlode {

double pixelsPerUnit(const QPoint& told, const QPointF& pointer, double devicePixelRatio, double before) {
    // Pixels. An item is about as wide, and some bars tell its corner.
    constexpr double kSame = 24, kNear = 64;
    const auto distance = [&](double unit) { return QLineF(QPointF(told) * unit, pointer).length(); };
    if (distance(before) <= kSame)
        return before;
    double best = before;
    for (const double unit : {1.0, devicePixelRatio, 2.0, 3.0}) { // bars of GTK have whole scales
        if (distance(unit) < distance(best))
            best = unit;
    }
    return distance(best) <= kNear ? best : before;
}

PanelPlace placePanel(const QRect& item, double imageWidth, const QSize& panel, const Screen& screen) {
    PanelPlace place;
    const double wanted = item.x() - (kPanelArrowInset - 0.5 * imageWidth);
    const double limit = screen.frame.x() + screen.frame.width() - panel.width();
    const double x = std::max(std::min(wanted, limit), double(screen.frame.x()));
    place.offset = std::abs(x - wanted);
    place.arrow = kPanelArrowInset + (wanted - x);
    place.barBelow = item.center().y() > screen.frame.center().y();
    const auto& visible = screen.visibleFrame;
    // The bar may not have told the desktop of the room that it takes: the item is kept free in any case.
    const int top = std::max(visible.top(), item.bottom() + 1);
    const int bottom = std::min(visible.bottom(), item.top() - 1);
    const int height = std::min(panel.height(), visible.height());
    const int y = place.barBelow ? bottom + 1 - height : top;
    const int lowest = std::max(visible.top(), visible.bottom() + 1 - height);
    place.frame =
        QRect(static_cast<int>(std::lround(x)), std::clamp(y, visible.top(), lowest), panel.width(), height);
    return place;
}

QRect panelFrameWithHeight(const QRect& frame, int height, bool barBelow, const Screen& screen) {
    const auto& visible = screen.visibleFrame;
    const int room = barBelow ? frame.bottom() + 1 - visible.top() : visible.bottom() + 1 - frame.top();
    const int allowed = std::max(std::min(height, room), 1);
    const int top = barBelow ? frame.bottom() + 1 - allowed : frame.top();
    return {frame.x(), top, frame.width(), allowed};
}

} // namespace merlode
