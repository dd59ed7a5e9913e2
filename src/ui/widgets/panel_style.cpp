#include "ui/widgets/panel_style.h"

#include <QApplication>

#include <algorithm>
#include <initializer_list>

namespace merlode {

namespace {

Color mixed(const Color& one, const Color& other, double share) {
    const auto mix = [share](double a, double b) { return a + (b - a) * share; };
    return {mix(one.red, other.red), mix(one.green, other.green), mix(one.blue, other.blue)};
}

// The background, tinted with the colour of the text or, where that could not be read on it, away from it.
Color ground(const Color& background, const Color& text, double share) {
    const Color tinted = mixed(background, text, share);
    if (readingContrast(tinted, text) >= kTextContrast)
        return tinted;
    return mixed(background, luminance(text) > luminance(background) ? Color{} : Color{1, 1, 1}, share);
}

// As far from the text towards the background as can be read on the background and on these grounds.
Color dimmed(const Color& text, const Color& background, std::initializer_list<Color> grounds) {
    for (const double share : {0.35, 0.3, 0.25, 0.2, 0.15, 0.1}) {
        const Color dim = mixed(text, background, share);
        const auto readable = [&dim](const Color& on) { return readingContrast(dim, on) >= kTextContrast; };
        if (readable(background) && std::ranges::all_of(grounds, readable))
            return dim;
    }
    return text;
}

QFont scaled(double factor, QFont::Weight weight) {
    QFont font = QApplication::font();
    if (font.pointSizeF() > 0)
        font.setPointSizeF(font.pointSizeF() * factor);
    else
        font.setPixelSize(std::max(1, static_cast<int>(font.pixelSize() * factor)));
    font.setWeight(weight);
    return font;
}

} // namespace

PanelColors PanelColors::of(const BackgroundSchemeController& scheme) {
    constexpr double kField = 0.1, kHighlight = 0.14, kLine = 0.25;
    const Color background = scheme.backgroundColor();
    const Color text = scheme.textColor();
    const Color field = ground(background, text, kField);
    const Color highlight = ground(background, text, kHighlight);
    PanelColors colors;
    colors.background = background.toQColor();
    colors.text = text.toQColor();
    colors.dimText = dimmed(text, background, {field, highlight}).toQColor();
    colors.control = scheme.controlColor().toQColor();
    colors.field = field.toQColor();
    colors.highlight = highlight.toQColor();
    colors.line = mixed(background, text, kLine).toQColor();
    return colors;
}

namespace panelfont {

QFont title() {
    return scaled(1.2, QFont::DemiBold);
}
QFont detail() {
    return scaled(1, QFont::Normal);
}
QFont small() {
    return scaled(0.85, QFont::Normal);
}
QFont header() {
    return scaled(0.85, QFont::DemiBold);
}

} // namespace panelfont

} // namespace merlode
