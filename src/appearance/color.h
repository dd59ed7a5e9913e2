#pragma once

#include <QColor>

namespace merlode {

/// A colour by its components from 0 to 1, not multiplied by the alpha.
struct Color {
    double red = 0;
    double green = 0;
    double blue = 0;
    double alpha = 1;

    bool operator==(const Color&) const = default;
    QColor toQColor() const;
};

/// 0.2126 R + 0.7152 G + 0.0722 B, of the components as they are.
double luminance(const Color& color);

/// Whether white reads better on it than black: a luminance below one half.
bool pc_isDarkColor(const Color& color);

/// Whether all components but alpha are above 0.91, or all below 0.09.
bool pc_isBlackOrWhite(const Color& color);

/// Whether somebody would call the two different: a component, alpha included, differs by more than 0.25, and
/// not both are nearly grey, since two greys do not read as two colours however far apart they are.
bool pc_isDistinct(const Color& one, const Color& other);

/// Whether one can be read on the other: (lighter + 0.05) / (darker + 0.05) above 1.6.
bool pc_isContrastingColor(const Color& one, const Color& other);

/// The colour with its saturation raised to `minimum` where it is less; hue, brightness and alpha stay.
Color pc_colorWithMinimumSaturation(const Color& color, double minimum);

/// The contrast that people are asked for who write for everybody (WCAG 2): from 1 to 21, by luminances of
/// linear light.
double readingContrast(const Color& one, const Color& other);

/// What is asked of running text.
inline constexpr double kTextContrast = 4.5;

/// The colour, or where it has not `kTextContrast` on the background the nearest one towards white or black,
/// whichever of them is further off, that has. Alpha becomes 1.
Color readableOn(const Color& background, const Color& color);

} // namespace merlode
