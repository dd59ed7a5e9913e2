#include "appearance/color.h"

#include <algorithm>
#include <cmath>

namespace merlode {

namespace {

constexpr double kHalf = 0.5;
constexpr double kNearlyWhite = 0.91;
constexpr double kNearlyBlack = 0.09;
constexpr double kDistinctBy = 0.25;
constexpr double kNearlyGreyBy = 0.03;
constexpr double kContrasting = 1.6;
constexpr double kGlare = 0.05; // of a lit screen, in both definitions of contrast

double ratio(double one, double other) {
    return (std::max(one, other) + kGlare) / (std::min(one, other) + kGlare);
}

bool isNearlyGrey(const Color& color) {
    return std::abs(color.red - color.green) < kNearlyGreyBy &&
           std::abs(color.red - color.blue) < kNearlyGreyBy;
}

// The inverse of how screens encode light (sRGB).
double linear(double component) {
    return component <= 0.04045 ? component / 12.92 : std::pow((component + 0.055) / 1.055, 2.4);
}

double light(const Color& color) {
    return luminance({linear(color.red), linear(color.green), linear(color.blue)});
}

Color between(const Color& one, const Color& other, double share) {
    return {std::lerp(one.red, other.red, share), std::lerp(one.green, other.green, share),
            std::lerp(one.blue, other.blue, share)};
}

} // namespace

QColor Color::toQColor() const {
    const auto clamped = [](double component) { return static_cast<float>(std::clamp(component, 0.0, 1.0)); };
    return QColor::fromRgbF(clamped(red), clamped(green), clamped(blue), clamped(alpha));
}

double luminance(const Color& color) {
    return 0.2126 * color.red + 0.7152 * color.green + 0.0722 * color.blue;
}

bool pc_isDarkColor(const Color& color) {
    return kHalf > luminance(color);
}

bool pc_isBlackOrWhite(const Color& color) {
    const auto [least, most] = std::minmax({color.red, color.green, color.blue});
    return least > kNearlyWhite || most < kNearlyBlack;
}

bool pc_isDistinct(const Color& one, const Color& other) {
    const auto differs = [](double a, double b) { return std::abs(a - b) > kDistinctBy; };
    const bool areApart = differs(one.red, other.red) || differs(one.green, other.green) ||
                          differs(one.blue, other.blue) || differs(one.alpha, other.alpha);
    return areApart && !(isNearlyGrey(one) && isNearlyGrey(other));
}

bool pc_isContrastingColor(const Color& one, const Color& other) {
    return ratio(luminance(one), luminance(other)) > kContrasting;
}

Color pc_colorWithMinimumSaturation(const Color& color, double minimum) {
    const auto [least, most] = std::minmax({color.red, color.green, color.blue});
    const double saturation = most > 0 ? (most - least) / most : 0;
    if (minimum <= saturation)
        return color;
    // A grey has the hue of red, 0, as everywhere.
    if (most == least)
        return {most, most * (1 - minimum), most * (1 - minimum), color.alpha};
    // How far each component lies below the brightest grows with the saturation; hue is the ratio of these.
    const double stretch = minimum / saturation;
    const auto raised = [most = most, stretch](double component) {
        return most - (most - component) * stretch;
    };
    return {raised(color.red), raised(color.green), raised(color.blue), color.alpha};
}

double readingContrast(const Color& one, const Color& other) {
    return ratio(light(one), light(other));
}

Color readableOn(const Color& background, const Color& color) {
    const Color opaque{color.red, color.green, color.blue};
    if (readingContrast(opaque, background) >= kTextContrast)
        return opaque;
    const Color black, white{1, 1, 1};
    const auto& target =
        readingContrast(white, background) > readingContrast(black, background) ? white : black;
    // On one side of the background the contrast only grows on the way to the target; a colour from the other
    // side passes the background itself first. Either way the far end of the way is good.
    double bad = 0, good = 1;
    constexpr int kHalvings = 12; // finer than the steps of a screen
    for (int step = 0; step < kHalvings; ++step) {
        const double middle = std::midpoint(bad, good);
        (readingContrast(between(opaque, target, middle), background) < kTextContrast ? bad : good) = middle;
    }
    return between(opaque, target, good);
}

} // namespace merlode
