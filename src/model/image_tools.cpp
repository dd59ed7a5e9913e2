#include "model/image_tools.h"

#include <QColorSpace>

#include <algorithm>

namespace merlode {

namespace {

// A part of a picture, whose pixels are not copied where they need not be: the result is good as long as
// these are.
QImage partOf(const QImage& pixels, const QRect& part) {
    if (part == pixels.rect())
        return pixels;
    if (pixels.depth() < 8 || pixels.colorCount() > 0)
        return pixels.copy(part);
    const uchar* const corner = pixels.constScanLine(part.y()) + qsizetype{part.x()} * (pixels.depth() / 8);
    QImage view(corner, part.width(), part.height(), pixels.bytesPerLine(), pixels.format());
    view.setColorSpace(pixels.colorSpace());
    return view;
}

} // namespace

QRect fillingCrop(const QSize& source, const QSize& target) {
    if (source.isEmpty() || target.isEmpty())
        return {};
    // Ratios are compared and applied in whole numbers: a quotient of doubles can miss a pixel.
    const qint64 across = qint64(source.width()) * target.height();
    const qint64 down = qint64(source.height()) * target.width();
    QSize part = source;
    if (across > down)
        part.setWidth(std::max(1, int(down / target.height())));
    else
        part.setHeight(std::max(1, int(across / target.width())));
    const QPoint offset((source.width() - part.width()) / 2, (source.height() - part.height()) / 2);
    return {offset, part};
}

Image resize(const Image& image, const QSize& size) {
    const QImage& pixels = image.pixels();
    if (pixels.isNull() || size.isEmpty())
        return {};
    if (pixels.size() == size)
        return image;
    const QRect part = fillingCrop(pixels.size(), size);
    if (part.size() == size)
        return Image(pixels.copy(part));
    // Averages what falls on a pixel. A painter would look at four source pixels only, and a cover shrunk to
    // a tenth would flicker with noise.
    QImage scaled = partOf(pixels, part).scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    return scaled.isNull() ? image : Image(std::move(scaled));
}

Image cropToSquare(const Image& image) {
    const QSize size = image.pixels().size();
    const int side = std::min(size.width(), size.height());
    return resize(image, {side, side});
}

std::array<uchar, 4> averagePixelData(const Image& image, const QRect& part) {
    const QRect inside = part.intersected(image.pixels().rect());
    if (inside.isEmpty())
        return {};
    const QImage pixel = partOf(image.pixels(), inside)
                             .scaled(1, 1, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                             .convertToFormat(QImage::Format_RGBA8888_Premultiplied);
    std::array<uchar, 4> bytes{};
    if (!pixel.isNull())
        std::copy_n(pixel.constScanLine(0), bytes.size(), bytes.begin());
    return bytes;
}

} // namespace merlode
