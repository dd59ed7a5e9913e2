#include "ui/widgets/text_button.h"

#include "ui/widgets/panel_style.h"

#include <QPainter>
#include <QPolygonF>
#include <QStyle>

namespace merlode {

namespace {

constexpr int kArrow = 12;
constexpr int kLeast = 24;

} // namespace

TextButton::TextButton(bool opensMenu, QWidget* parent) : QAbstractButton(parent), opensMenu_(opensMenu) {
    setAttribute(Qt::WA_Hover);
    setFocusPolicy(Qt::TabFocus);
    setFont(panelfont::small());
    setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
}

void TextButton::setColors(const QColor& text, const QColor& highlight) {
    text_ = text;
    highlight_ = highlight;
    update();
}

int TextButton::arrowWidth() const {
    return 2 * kPadding + (opensMenu_ ? kArrow : 0);
}

void TextButton::setWantedWidth(int width) {
    wantedWidth_ = width;
    updateGeometry();
}

QSize TextButton::sizeHint() const {
    const int own = fontMetrics().horizontalAdvance(text()) + arrowWidth();
    return {wantedWidth_ > 0 ? wantedWidth_ : own, std::max(fontMetrics().height() + 6, kLeast)};
}

QSize TextButton::minimumSizeHint() const {
    return {kLeast, sizeHint().height()};
}

void TextButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF whole = QRectF(rect()).adjusted(1, 1, -1, -1);
    if ((isEnabled() && underMouse()) || hasFocus()) {
        painter.setPen(hasFocus() ? QPen(text_, 1.5) : QPen(Qt::NoPen));
        painter.setBrush(highlight_);
        painter.drawRoundedRect(whole, 6, 6);
    }
    const bool mirrored = layoutDirection() == Qt::RightToLeft;
    const int arrow = opensMenu_ ? kArrow : 0;
    const QRect room =
        rect().adjusted(kPadding + (mirrored ? arrow : 0), 0, -kPadding - (mirrored ? 0 : arrow), 0);
    painter.setPen(text_);
    // Lines of text that begin where the button's does are in line with it.
    const auto side = QStyle::visualAlignment(layoutDirection(), Qt::AlignLeft);
    painter.drawText(room, int(side | Qt::AlignVCenter | Qt::AlignAbsolute | Qt::TextSingleLine),
                     fontMetrics().elidedText(text(), Qt::ElideMiddle, room.width() + 1));
    if (opensMenu_) {
        const QPointF middle(mirrored ? kPadding + kArrow / 2.0 : width() - kPadding - kArrow / 2.0 + 2,
                             height() / 2.0);
        painter.setPen(Qt::NoPen);
        painter.setBrush(text_);
        painter.drawPolygon(
            QPolygonF({middle + QPointF(-3.5, -2), middle + QPointF(3.5, -2), middle + QPointF(0, 2.5)}));
    }
}

} // namespace merlode
