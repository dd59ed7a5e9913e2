#pragma once

#include <QByteArray>
#include <QImage>

#include <memory>
#include <optional>

namespace merlode {

/// A shared, immutable picture. Copies are handles on the same pixels, and equality is identity: two pictures
/// decoded from the same bytes are different. A default made image holds nothing. Any thread.
class Image {
  public:
    /// Larger inputs count as broken: no cover comes near, and a hostile file must not take the memory.
    static constexpr qsizetype kMostBytes = 32 * 1024 * 1024;
    static constexpr int kMostPixels = 64 * 1000 * 1000;

    Image() = default;
    explicit Image(QImage pixels);

    /// A picture of the program's own that is decoded when its pixels are first asked for: one that is only
    /// ever compared with costs no decoder.
    static Image encoded(QByteArray bytes);

    /// Decodes a JPEG, PNG, GIF, WebP, TIFF or BMP picture. Nothing for bytes that are none of these or
    /// exceed the limits above; the pixel limit is checked before the pixels are decoded.
    static std::optional<Image> decode(const QByteArray& bytes);

    explicit operator bool() const { return data_ != nullptr; }
    bool operator==(const Image&) const = default;

    /// A null QImage where the handle holds nothing.
    const QImage& pixels() const;

  private:
    struct Data;

    std::shared_ptr<Data> data_;
};

} // namespace merlode
