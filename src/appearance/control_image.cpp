#include "appearance/control_image.h"

#include <QPainter>
#include <QSvgRenderer>

// A static library's resources are linked and registered only when asked for; the macro wants global scope.
static void registerControlImages() {
    Q_INIT_RESOURCE(control_images);
}

namespace merlode {

ControlImage ControlImage::named(const QString& name) {
    [[maybe_unused]] static const bool registered = (registerControlImages(), true);
    ControlImage image;
    image.name_ = name;
    return image;
}

ControlImage ControlImage::filled(const Color& color) const {
    ControlImage image = *this;
    image.color_ = color;
    return image;
}

QImage ControlImage::pixels(const QSizeF& size, double pixelsPerPoint) const {
    const QSize whole = (size * pixelsPerPoint).toSize();
    if (whole.isEmpty())
        return {};
    QImage picture(whole, QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::transparent);
    QSvgRenderer drawing(QStringLiteral(":/merlode/controls/%1.svg").arg(name_));
    drawing.setAspectRatioMode(Qt::KeepAspectRatio);
    QPainter painter(&picture);
    drawing.render(&painter);
    if (color_) {
        painter.setCompositionMode(QPainter::CompositionMode_SourceAtop);
        painter.fillRect(picture.rect(), color_->toQColor());
    }
    painter.end();
    picture.setDevicePixelRatio(pixelsPerPoint);
    return picture;
}

} // namespace merlode
