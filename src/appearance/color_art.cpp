#include "appearance/color_art.h"

#include "appearance/pixel_counts.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <utility>

namespace merlode {

namespace {

constexpr double kMostOfPixel = 255;
constexpr std::size_t kTextColors = 3;

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

/// The pixel of just this colour; nothing for one between the steps of a pixel.
std::optional<QRgb> pixelOf(const Color& color) {
    const auto step = [](double component) {
        return static_cast<int>(std::lround(component * kMostOfPixel));
    };
    const QRgb pixel = qRgba(step(color.red), step(color.green), step(color.blue), step(color.alpha));
    return colorOf(pixel) == color ? std::optional(pixel) : std::nullopt;
}

constexpr auto kByCount = [](const PCCountedColor& one, const PCCountedColor& other) {
    return one.compare(other) < 0;
};

/// How many pixels have the colour that this one becomes when its saturation is raised to the least that text
/// has.
quint32 countOfRaised(const PixelCounts& counts, QRgb pixel) {
    const Color own = colorOf(pixel);
    const Color raised = pc_colorWithMinimumSaturation(own, SLColorArt::kLeastTextSaturation);
    const auto known = raised == own ? std::optional(pixel) : pixelOf(raised);
    return known ? counts.countOf(*known) : 0;
}

/// The colours of the picture, each with the count of what it becomes as text.
std::vector<PixelCounts::Entry> textCandidates(PixelCounts counts) {
    std::vector<std::pair<std::size_t, quint32>> raised;
    const auto& entries = counts.entries();
    for (std::size_t place = 0; place < entries.size(); ++place) {
        const QRgb pixel = entries[place].pixel;
        const int most = std::max({qRed(pixel), qGreen(pixel), qBlue(pixel)});
        const int least = std::min({qRed(pixel), qGreen(pixel), qBlue(pixel)});
        if ((most - least) * 20 > 3 * most) // saturated by enough that rounding plays no part
            continue;
        // The least component becomes 17/20 of the most. Where 20 does not divide that, no pixel has the
        // colour.
        raised.emplace_back(place, most % 20 == 0 ? countOfRaised(counts, pixel) : 0);
    }
    auto candidates = counts.takeEntries();
    for (const auto& [place, count] : raised)
        candidates[place].count = count;
    return candidates;
}

/// Of the candidates with a count from `least` to less than `beyond` those that can be read on the
/// background, the most frequent first, and of equals those that come first in the picture.
std::vector<PCCountedColor> readableColors(const std::vector<PixelCounts::Entry>& candidates, qint64 least,
                                           qint64 beyond, const std::optional<Color>& background) {
    const bool isDark = background && pc_isDarkColor(*background);
    std::vector<PCCountedColor> colors;
    for (const auto& [pixel, count] : candidates) {
        if (count < least || count >= beyond)
            continue;
        const Color color = pc_colorWithMinimumSaturation(colorOf(pixel), SLColorArt::kLeastTextSaturation);
        if (pc_isDarkColor(color) != isDark && (!background || pc_isContrastingColor(color, *background)))
            colors.push_back({color, count});
    }
    std::ranges::stable_sort(colors, kByCount);
    return colors;
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

SLColorArt::SLColorArt(const Image& image, const QSize& scaledSize)
    : scaledSize_(scaledSize), scaledImage_(scaleImage(image.pixels(), scaledSize)) {
    analyzeImage();
}

void SLColorArt::analyzeImage() {
    backgroundColor_ = findEdgeColor();
    findTextColors();
}

std::optional<Color> SLColorArt::findEdgeColor() const {
    const auto threshold = static_cast<qint64>(scaledImage_.height() * kNoiseShare);
    std::vector<PCCountedColor> colors;
    const PixelCounts counts(scaledImage_, std::min(scaledImage_.width(), 1));
    for (const auto& [pixel, count] : counts.entries()) {
        if (count > threshold)
            colors.push_back({colorOf(pixel), count});
    }
    if (colors.empty())
        return std::nullopt;
    std::ranges::stable_sort(colors, kByCount);
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

// The three are mostly among the most frequent colours. So candidates are put in order only from a count down
// to a quarter of it, and so on, and the thousands that come once or twice are seldom looked at.
void SLColorArt::findTextColors() {
    const bool isDark = backgroundColor_ && pc_isDarkColor(*backgroundColor_);
    const auto candidates = textCandidates(PixelCounts(scaledImage_, scaledImage_.width()));
    quint32 most = 0;
    for (const auto& candidate : candidates)
        most = std::max(most, candidate.count);
    std::vector<Color> found;
    for (qint64 beyond = static_cast<qint64>(most) + 1; beyond > 0 && found.size() < kTextColors;
         beyond /= 4) {
        for (const auto& next : readableColors(candidates, beyond / 4, beyond, backgroundColor_)) {
            const bool isNew = std::ranges::all_of(
                found, [&](const Color& color) { return pc_isDistinct(color, next.color); });
            if (isNew && found.size() < kTextColors)
                found.push_back(next.color);
        }
    }
    found.resize(kTextColors, isDark ? Color{1, 1, 1} : Color{});
    primaryColor_ = found[0];
    secondaryColor_ = found[1];
    detailColor_ = found[2];
}

} // namespace merlode
