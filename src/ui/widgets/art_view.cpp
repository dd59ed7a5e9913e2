#include "ui/widgets/art_view.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>

namespace merlode {

namespace {

constexpr double kFadeShare = 0.4; ///< of the width

} // namespace

ArtView::ArtView(int side, QWidget* parent) : QWidget(parent) {
    setFixedSize(side, side);
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAccessibleName(QStringLiteral("Cover"));
}

void ArtView::setArt(const Image& art) {
    if (art_ == art)
        return;
    art_ = art;
    drawn_ = {};
    update();
}

void ArtView::setBackground(const QColor& background) {
    background_ = background;
    drawn_ = {};
    update();
}

void ArtView::setCornerRadius(int radius) {
    cornerRadius_ = radius;
    drawn_ = {};
    update();
}

QPixmap ArtView::draw(double scale) const {
    const QSize pixels = size() * scale;
    QImage picture = art_.pixels()
                         .scaled(pixels, Qt::KeepAspectRatioByExpanding, Qt::SmoothTransformation)
                         .convertToFormat(QImage::Format_ARGB32_Premultiplied);
    picture = picture.copy((picture.width() - pixels.width()) / 2, (picture.height() - pixels.height()) / 2,
                           pixels.width(), pixels.height());
    picture.setDevicePixelRatio(scale);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    // Mirrored layouts have the cover at the left, so the other edge meets the text.
    const bool mirrored = layoutDirection() == Qt::RightToLeft;
    const double edge = mirrored ? width() : 0, end = width() * (mirrored ? 1 - kFadeShare : kFadeShare);
    QLinearGradient fade(edge, 0, end, 0);
    QColor clear = background_;
    clear.setAlpha(0);
    fade.setColorAt(0, background_);
    fade.setColorAt(1, clear);
    painter.fillRect(rect(), fade);
    QPainterPath shape;
    const double left = mirrored ? 0 : -2.0 * cornerRadius_;
    shape.addRoundedRect(QRectF(left, 0, width() + 2.0 * cornerRadius_, height() + 2.0 * cornerRadius_),
                         cornerRadius_, cornerRadius_);
    QPainterPath all;
    all.addRect(rect());
    painter.setCompositionMode(QPainter::CompositionMode_DestinationOut);
    painter.fillPath(all.subtracted(shape), Qt::black);
    painter.end();
    return QPixmap::fromImage(picture);
}

void ArtView::paintEvent(QPaintEvent*) {
    if (!art_ || art_.pixels().isNull())
        return;
    if (drawn_.isNull() || drawn_.devicePixelRatio() != devicePixelRatioF())
        drawn_ = draw(devicePixelRatioF());
    QPainter(this).drawPixmap(0, 0, drawn_);
}

} // namespace merlode
