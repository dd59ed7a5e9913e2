#include "appearance/color_art.h"

#include <algorithm>
#include <array>
#include <bit>

namespace merlode {

namespace {

Color colorOf(QRgb pixel) {
    constexpr double kMost = 255;
    return {qRed(pixel) / kMost, qGreen(pixel) / kMost, qBlue(pixel) / kMost, qAlpha(pixel) / kMost};
}

/// The pixel of just this colour; nothing for one between the steps of a pixel.
std::optional<QRgb> pixelOf(const Color& color) {
    const QRgb pixel = color.toQColor().rgba();
    return colorOf(pixel) == color ? std::optional(pixel) : std::nullopt;
}

// The top of a tall picture, the left of a wide one.
QImage scaleImage(const QImage& image, const QSize& size) {
    const int side = std::min(image.width(), image.height());
    if (side == 0 || size.isEmpty())
        return {};
    QImage square = image.width() == image.height() ? image : image.copy(0, 0, side, side);
    if (square.size() != size)
        square = square.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    return square.convertToFormat(QImage::Format_ARGB32);
}

} // namespace

int PCCountedColor::compare(const PCCountedColor& other) const {
    return count < other.count ? 1 : count > other.count ? -1 : 0;
}

/// Counts pixels by colour, in an open-addressing table that grows with the number of colours. Colours are
/// kept in the order in which they first came.
class SLColorArt::Counter {
  public:
    struct Entry {
        QRgb pixel;
        quint32 count;
    };

    void add(QRgb pixel) {
        if (last_ < entries_.size() && entries_[last_].pixel == pixel) { // pictures have areas
            ++entries_[last_].count;
            return;
        }
        quint32& place = placeOf(pixel);
        if (place == 0) {
            entries_.push_back({pixel, 0});
            place = static_cast<quint32>(entries_.size());
        }
        last_ = place - 1;
        ++entries_[last_].count;
        if (2 * entries_.size() > table_.size())
            grow();
    }

    qint64 countOf(QRgb pixel) const {
        const quint32 place = const_cast<Counter*>(this)->placeOf(pixel);
        return place == 0 ? 0 : entries_[place - 1].count;
    }

    const std::vector<Entry>& entries() const { return entries_; }

  private:
    quint32& placeOf(QRgb pixel) {
        constexpr quint32 kSpread = 2654435769U; // 2^32 by the golden ratio: neighbours land far apart
        const std::size_t mask = table_.size() - 1;
        std::size_t at = (pixel * kSpread) >> (32 - std::countr_zero(table_.size()));
        while (table_[at] != 0 && entries_[table_[at] - 1].pixel != pixel)
            at = (at + 1) & mask;
        return table_[at];
    }

    void grow() {
        table_.assign(4 * table_.size(), 0);
        for (quint32 place = 0; place < entries_.size(); ++place)
            placeOf(entries_[place].pixel) = place + 1;
    }

    std::vector<Entry> entries_;
    std::vector<quint32> table_ = std::vector<quint32>(1024); // 1 + place in `entries_`; 0 for none
    std::size_t last_ = 0;
};

SLColorArt::SLColorArt(const Image& image, const QSize& scaledSize)
    : scaledSize_(scaledSize), scaledImage_(scaleImage(image.pixels(), scaledSize)) {
    analyzeImage();
}

void SLColorArt::analyzeImage() {
    Counter imageColors;
    backgroundColor_ = findEdgeColor(imageColors);
    findTextColors(imageColors);
}

std::optional<Color> SLColorArt::findEdgeColor(Counter& imageColors) const {
    Counter edge;
    const int width = scaledImage_.width(), height = scaledImage_.height();
    const auto* pixels = reinterpret_cast<const QRgb*>(scaledImage_.constBits());
    const auto stride = scaledImage_.bytesPerLine() / qsizetype(sizeof(QRgb));
    for (int x = 0; x < width; ++x) {
        for (int y = 0; y < height; ++y)
            imageColors.add(pixels[y * stride + x]);
    }
    for (int y = 0; y < height; ++y)
        edge.add(pixels[y * stride]);
    const auto threshold = static_cast<qint64>(height * kNoiseShare);
    std::vector<PCCountedColor> colors;
    for (const auto& [pixel, count] : edge.entries()) {
        if (count > threshold)
            colors.push_back({colorOf(pixel), count});
    }
    if (colors.empty())
        return std::nullopt;
    std::ranges::stable_sort(colors, [](const auto& a, const auto& b) { return a.compare(b) < 0; });
    const auto& proposal = colors.front();
    if (!pc_isBlackOrWhite(proposal.color))
        return proposal.color;
    for (std::size_t next = 1; next < colors.size(); ++next) {
        const auto share = static_cast<double>(colors[next].count) / static_cast<double>(proposal.count);
        if (!(share > kSecondChoiceShare))
            break;
        if (!pc_isBlackOrWhite(colors[next].color))
            return colors[next].color;
    }
    return proposal.color;
}

// A colour that was raised is mostly not in the picture and counts 0 then: such sink to the end.
void SLColorArt::findTextColors(const Counter& imageColors) {
    const bool isDark = backgroundColor_ && pc_isDarkColor(*backgroundColor_);
    std::vector<PCCountedColor> colors;
    colors.reserve(imageColors.entries().size());
    for (const auto& [pixel, count] : imageColors.entries()) {
        const Color own = colorOf(pixel);
        const Color raised = pc_colorWithMinimumSaturation(own, kLeastTextSaturation);
        if (pc_isDarkColor(raised) == isDark)
            continue;
        const auto known = raised == own ? std::optional(pixel) : pixelOf(raised);
        colors.push_back({raised, raised == own ? count : known ? imageColors.countOf(*known) : 0});
    }
    std::ranges::stable_sort(colors, [](const auto& a, const auto& b) { return a.compare(b) < 0; });

    std::array<std::optional<Color>, 3> found;
    auto& [primary, secondary, detail] = found;
    for (const auto& [color, count] : colors) {
        const bool contrasts = !backgroundColor_ || pc_isContrastingColor(color, *backgroundColor_);
        if (!primary) {
            if (contrasts)
                primary = color;
        } else if (!secondary) {
            if (contrasts && pc_isDistinct(*primary, color))
                secondary = color;
        } else if (contrasts && pc_isDistinct(*secondary, color) && pc_isDistinct(*primary, color)) {
            detail = color;
            break;
        }
    }
    const Color fallback = isDark ? Color{1, 1, 1} : Color{};
    primaryColor_ = primary.value_or(fallback);
    secondaryColor_ = secondary.value_or(fallback);
    detailColor_ = detail.value_or(fallback);
}

} // namespace merlode
