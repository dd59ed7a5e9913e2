#include "base/image.h"

#include <QBuffer>
#include <QImageReader>

#include <algorithm>
#include <array>
#include <mutex>

namespace merlode {

namespace {

struct Signature {
    const char* format = "";
    qsizetype offset = 0;
    QByteArrayView bytes;
};

// The formats in which covers come. Naming one keeps Qt from loading the plug-ins of all the others, and
// keeps bytes from outside away from decoders that no cover needs.
QByteArray formatOf(const QByteArray& bytes) {
    static const std::array signatures{
        Signature{"png", 0, "\x89PNG"},     Signature{"jpeg", 0, "\xff\xd8\xff"},
        Signature{"gif", 0, "GIF8"},        Signature{"webp", 8, "WEBP"},
        Signature{"tiff", 0, {"II*\0", 4}}, Signature{"tiff", 0, {"MM\0*", 4}},
        Signature{"bmp", 0, "BM"},
    };
    for (const auto& signature : signatures) {
        if (QByteArrayView(bytes)
                .sliced(std::min(signature.offset, bytes.size()))
                .startsWith(signature.bytes))
            return signature.format;
    }
    return {};
}

} // namespace

struct Image::Data {
    QImage pixels;
    QByteArray encoded;
    std::once_flag decoded;
};

Image::Image(QImage pixels) : data_(std::make_shared<Data>()) {
    data_->pixels = std::move(pixels);
}

Image Image::encoded(QByteArray bytes) {
    Image image{QImage()};
    image.data_->encoded = std::move(bytes);
    return image;
}

std::optional<Image> Image::decode(const QByteArray& bytes) {
    const QByteArray format = formatOf(bytes);
    if (format.isEmpty() || bytes.size() > kMostBytes)
        return std::nullopt;
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer, format);
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
    if (!data_)
        return none;
    std::call_once(data_->decoded, [this] {
        if (const auto image = data_->encoded.isEmpty() ? std::nullopt : decode(data_->encoded))
            data_->pixels = image->data_->pixels;
    });
    return data_->pixels;
}

} // namespace merlode
