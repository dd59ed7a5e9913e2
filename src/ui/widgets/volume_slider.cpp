#include "ui/widgets/volume_slider.h"

#include <QMouseEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace merlode {

namespace {

constexpr int kMost = 100;
constexpr int kStep = 5;
constexpr int kKnob = 14;
constexpr int kBar = 4;
constexpr int kBarLength = 100;
constexpr double kDisabledOpacity = 0.35;
constexpr double kRestOpacity = 0.3;

} // namespace

VolumeSlider::VolumeSlider(QWidget* parent) : QSlider(Qt::Horizontal, parent) {
    setRange(0, kMost);
    setSingleStep(kStep);
    setPageStep(2 * kStep);
    setFixedSize(kBarLength + kKnob, 24);
    setFocusPolicy(Qt::TabFocus);
    setAccessibleName(QStringLiteral("Volume"));
}

void VolumeSlider::setImages(const ControlImage& bar, const ControlImage& knob, const QColor& control) {
    bar_ = bar;
    knob_ = knob;
    control_ = control;
    barPixels_ = {};
    knobPixels_ = {};
    update();
}

double VolumeSlider::share() const {
    const double part = value() / double(kMost);
    return layoutDirection() == Qt::RightToLeft ? 1 - part : part;
}

int VolumeSlider::valueAt(double x) const {
    const double room = width() - kKnob;
    double part = (x - kKnob / 2.0) / room;
    if (layoutDirection() == Qt::RightToLeft)
        part = 1 - part;
    return static_cast<int>(std::lround(std::clamp(part, 0.0, 1.0) * kMost));
}

void VolumeSlider::paintEvent(QPaintEvent*) {
    const double scale = devicePixelRatioF();
    if (barPixels_.isNull() || barPixels_.devicePixelRatio() != scale) {
        barPixels_ = QPixmap::fromImage(bar_.pixels(QSizeF(kBarLength, kBar), scale));
        knobPixels_ = QPixmap::fromImage(knob_.pixels(QSizeF(kKnob, kKnob), scale));
    }
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const double opacity = isEnabled() ? 1 : kDisabledOpacity;
    const QRectF bar((width() - kBarLength) / 2.0, (height() - kBar) / 2.0, kBarLength, kBar);
    const double middle = bar.x() + share() * bar.width();
    const QPointF knob(middle - kKnob / 2.0, (height() - kKnob) / 2.0);
    // What is disabled can be seen through, and the bar under its knob should not.
    const QRect covered = QRectF(knob, QSizeF(kKnob, kKnob)).toRect();
    const QRegion around = isEnabled() ? QRegion(rect()) : QRegion(rect()) - covered.adjusted(1, 0, -1, 0);
    painter.setClipRegion(around);
    painter.setOpacity(opacity * kRestOpacity);
    painter.drawPixmap(bar.topLeft(), barPixels_);
    QRectF filled = bar;
    layoutDirection() == Qt::RightToLeft ? filled.setLeft(middle) : filled.setRight(middle);
    painter.setOpacity(opacity);
    painter.setClipRect(filled, Qt::IntersectClip);
    painter.drawPixmap(bar.topLeft(), barPixels_);
    painter.setClipping(false);
    painter.drawPixmap(knob, knobPixels_);
    if (hasFocus()) {
        painter.setPen(QPen(control_, 2));
        painter.setBrush(Qt::NoBrush);
        painter.drawEllipse(QRectF(knob, QSizeF(kKnob, kKnob)).adjusted(-2, -2, 2, 2));
    }
}

void VolumeSlider::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton)
        return event->ignore();
    setSliderDown(true);
    setSliderPosition(valueAt(event->position().x()));
}

void VolumeSlider::mouseMoveEvent(QMouseEvent* event) {
    if (isSliderDown())
        setSliderPosition(valueAt(event->position().x()));
}

void VolumeSlider::mouseReleaseEvent(QMouseEvent*) {
    setSliderDown(false);
}

} // namespace merlode
