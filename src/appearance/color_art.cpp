#include "appearance/color_art.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

namespace merlode {

namespace {

constexpr double kMostOfPixel = 255;
constexpr quint32 kNoCandidate = std::numeric_limits<quint32>::max();

std::array<double, 256> makeComponents() {
    std::array<double, 256> components{};
    for (std::size_t step = 0; step < components.size(); ++step)
        components[step] = static_cast<double>(step) / kMostOfPixel;
    return components;
}

// A division takes longer than a look into a table, and there are four to a pixel.
const std::array<double, 256> kComponents = makeComponents();

Color colorOf(QRgb pixel) {
    const auto component = [](int step) { return kComponents[static_cast<std::size_t>(step)]; };
    return {component(qRed(pixel)), component(qGreen(pixel)), component(qBlue(pixel)),
            component(qAlpha(pixel))};
}

/// Whether the colour is saturated beyond the least that text has, by enough that rounding plays no part.
bool isSaturated(QRgb pixel) {
    const auto [least, most] = std::minmax({qRed(pixel), qGreen(pixel), qBlue(pixel)});
    return (most - least) * 100 > 16 * most;
}

/// The pixel of just this colour; nothing for one between the steps of a pixel.
std::optional<QRgb> pixelOf(const Color& color) {
    const auto step = [](double component) {
        return static_cast<int>(std::lround(component * kMostOfPixel));
    };
    const QRgb pixel = qRgba(step(color.red), step(color.green), step(color.blue), step(color.alpha));
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
        Slot& slot = slotOf(pixel);
        if (slot.place == 0) {
            entries_.push_back({pixel, 0});
            slot = {pixel, static_cast<quint32>(entries_.size())};
        }
        last_ = slot.place - 1;
        ++entries_[last_].count;
        if (2 * entries_.size() > table_.size())
            grow();
    }

    quint32 countOf(QRgb pixel) {
        const quint32 place = slotOf(pixel).place;
        return place == 0 ? 0 : entries_[place - 1].count;
    }

    const std::vector<Entry>& entries() const { return entries_; }

  private:
    struct Slot {
        QRgb pixel = 0;
        quint32 place = 0; ///< 1 + place in `entries_`; 0 for a free slot
    };
    static constexpr int kFirstBits = 12;

    Slot& slotOf(QRgb pixel) {
        constexpr quint32 kSpread = 2654435769U; // 2^32 by the golden ratio: neighbours land far apart
        std::size_t at = (pixel * kSpread) >> (32 - bits_);
        while (table_[at].place != 0 && table_[at].pixel != pixel)
            at = (at + 1) & (table_.size() - 1);
        return table_[at];
    }

    void grow() {
        bits_ += 2;
        table_.assign(std::size_t{1} << bits_, {});
        for (quint32 place = 0; place < entries_.size(); ++place)
            slotOf(entries_[place].pixel) = {entries_[place].pixel, place + 1};
    }

    std::vector<Entry> entries_;
    int bits_ = kFirstBits;
    std::vector<Slot> table_ = std::vector<Slot>(std::size_t{1} << kFirstBits);
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

// Colours by their counts, the highest first, those of one count in their own order. Most of many colours are
// never looked at, so they are put in order by distribution and made only when it is their turn.
std::vector<quint32> SLColorArt::textCandidates(Counter& imageColors, bool isDark) {
    const auto& entries = imageColors.entries();
    std::vector<quint32> counts(entries.size());
    std::vector<quint32> ends; // by count: how many candidates have it, and then where those of it go
    for (std::size_t place = 0; place < entries.size(); ++place) {
        const auto& [pixel, count] = entries[place];
        const Color own = colorOf(pixel);
        const Color raised =
            isSaturated(pixel) ? own : pc_colorWithMinimumSaturation(own, kLeastTextSaturation);
        counts[place] = kNoCandidate;
        if (pc_isDarkColor(raised) == isDark)
            continue;
        // A colour that was raised is mostly not in the picture and counts 0 then: such sink to the end.
        const auto known = raised == own ? std::optional(pixel) : pixelOf(raised);
        counts[place] = raised == own ? count : known ? imageColors.countOf(*known) : 0;
        if (counts[place] >= ends.size())
            ends.resize(counts[place] + 1);
        ++ends[counts[place]];
    }
    quint32 before = 0;
    for (std::size_t count = ends.size(); count-- > 0;)
        before += std::exchange(ends[count], before);
    std::vector<quint32> ordered(before);
    for (quint32 place = 0; place < entries.size(); ++place) {
        if (counts[place] != kNoCandidate)
            ordered[ends[counts[place]]++] = place;
    }
    return ordered;
}

void SLColorArt::findTextColors(Counter& imageColors) {
    const bool isDark = backgroundColor_ && pc_isDarkColor(*backgroundColor_);
    std::array<std::optional<Color>, 3> found;
    auto& [primary, secondary, detail] = found;
    for (const quint32 place : textCandidates(imageColors, isDark)) {
        const Color color =
            pc_colorWithMinimumSaturation(colorOf(imageColors.entries()[place].pixel), kLeastTextSaturation);
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
