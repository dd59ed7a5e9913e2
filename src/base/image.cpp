#include "base/image.h"

#include <QBuffer>
#include <QImageReader>

namespace merlode {

std::optional<Image> Image::decode(const QByteArray& bytes) {
    if (bytes.isEmpty() || bytes.size() > kMostBytes)
        return std::nullopt;
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    const QSize size = reader.size();
    if (size.isValid() && qint64(size.width()) * size.height() > kMostPixels)
        return std::nullopt;
    QImage pixels = reader.read();
    if (pixels.isNull() || qint64(pixels.width()) * pixels.height() > kMostPixels)
        return std::nullopt;
    return Image(std::move(pixels));
}

const QImage& Image::pixels() const {
    static const QImage none;
    return pixels_ ? *pixels_ : none;
}

} // namespace merlode
