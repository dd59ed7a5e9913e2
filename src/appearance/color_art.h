#pragma once

#include "appearance/color.h"
#include "base/image.h"

#include <QSize>

#include <optional>
#include <vector>

namespace merlode {

/// A colour and how many pixels have it.
struct PCCountedColor {
    Color color;
    qint64 count = 0;

    /// Orders by count, the highest first: 1 where this one's is the lower, 0 where they are equal, else -1.
    int compare(const PCCountedColor& other) const;
};

/// The palette of a cover, for an interface that is laid over it: a background out of its left edge, and
/// three text colours that stand out against that. Made on any thread, which it takes some milliseconds of.
class SLColorArt {
  public:
    /// A colour makes a background where it has more than this share of the left edge.
    static constexpr double kNoiseShare = 0.01;
    /// A black or white edge gives way to a colour that has more than this share of its pixels.
    static constexpr double kSecondChoiceShare = 0.3;
    static constexpr double kLeastTextSaturation = 0.15;

    /// Scales the picture, of which a square is cut out at the top left, and analyses it.
    SLColorArt(const Image& image, const QSize& scaledSize);

    /// Nothing where the picture is empty, or no colour is frequent at its left edge.
    const std::optional<Color>& backgroundColor() const { return backgroundColor_; }
    /// White on a dark background and black otherwise, where the picture has no such colour.
    const Color& primaryColor() const { return primaryColor_; }
    const Color& secondaryColor() const { return secondaryColor_; }
    const Color& detailColor() const { return detailColor_; }

    const QImage& scaledImage() const { return scaledImage_; }
    const QSize& scaledSize() const { return scaledSize_; }

  private:
    void analyzeImage();
    std::optional<Color> findEdgeColor() const;
    void findTextColors();

    QSize scaledSize_;
    QImage scaledImage_;
    std::optional<Color> backgroundColor_;
    Color primaryColor_;
    Color secondaryColor_;
    Color detailColor_;
};

} // namespace merlode
