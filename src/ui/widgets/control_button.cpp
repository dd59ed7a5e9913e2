#include "ui/widgets/control_button.h"

#include <QPainter>

namespace merlode {

namespace {

constexpr double kDisabledOpacity = 0.35;
constexpr double kFocusLine = 2;

} // namespace

ControlButton::ControlButton(int side, int shape, QWidget* parent)
    : QAbstractButton(parent), side_(side), shape_(shape) {
    setFixedSize(side, side);
    setAttribute(Qt::WA_Hover);
    setFocusPolicy(Qt::TabFocus); // a click leaves the keyboard where it is
}

void ControlButton::setImage(const ControlImage& image) {
    if (image_ == image)
        return;
    image_ = image;
    pixels_ = {};
    update();
}

void ControlButton::setAction(const QString& what, const QString& shortcut) {
    const QString tip = shortcut.isEmpty() ? what : what + QStringLiteral(" (%1)").arg(shortcut);
    setToolTip(tip);
    setAccessibleName(what);
}

void ControlButton::setColors(const QColor& control, const QColor& highlight) {
    control_ = control;
    highlight_ = highlight;
    update();
}

void ControlButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF whole = QRectF(rect()).adjusted(1, 1, -1, -1);
    if (isEnabled() && (underMouse() || isDown())) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(isDown() ? highlight_.darker(110) : highlight_);
        painter.drawEllipse(whole);
    }
    if (hasFocus()) {
        painter.setPen(QPen(control_, kFocusLine));
        painter.setBrush(Qt::NoBrush);
        painter.drawEllipse(whole.adjusted(1, 1, -1, -1));
    }
    if (pixels_.isNull() || pixels_.devicePixelRatio() != devicePixelRatioF())
        pixels_ = QPixmap::fromImage(image_.pixels(QSizeF(shape_, shape_), devicePixelRatioF()));
    painter.setOpacity(isEnabled() ? 1 : kDisabledOpacity);
    painter.drawPixmap(QPointF((width() - shape_) / 2.0, (height() - shape_) / 2.0), pixels_);
}

void ControlButton::enterEvent(QEnterEvent*) {
    update();
}

void ControlButton::leaveEvent(QEvent*) {
    update();
}

} // namespace merlode
