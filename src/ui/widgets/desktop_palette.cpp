#include "ui/widgets/desktop_palette.h"

#include "base/notification_names.h"
#include "base/session.h"
#include "platform/desktop_settings.h"

#include <QApplication>

namespace merlode {

namespace {

bool isDark(const QPalette& colors) {
    return colors.color(QPalette::Window).lightness() < colors.color(QPalette::WindowText).lightness();
}

QPalette darkPalette() {
    const QColor window(0x2d, 0x2d, 0x30), base(0x1f, 0x1f, 0x22), text(0xee, 0xee, 0xee),
        faint(0x8c, 0x8c, 0x8c);
    const QColor highlight(0x11, 0x74, 0x80);
    QPalette colors(text, window.lighter(115), window.lighter(150), base.darker(130), window.darker(130),
                    text, Qt::white, base, window);
    colors.setColor(QPalette::Highlight, highlight);
    colors.setColor(QPalette::HighlightedText, Qt::white);
    colors.setColor(QPalette::ToolTipBase, base);
    colors.setColor(QPalette::ToolTipText, text);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        colors.setColor(QPalette::Disabled, role, faint);
    return colors;
}

} // namespace

DesktopPalette::DesktopPalette(Session& session)
    : desktop_(session.port<DesktopSettings>()), usual_(QApplication::palette()) {
    changes_ = session.distributedCenter().addObserver(notifications::kInterfaceThemeChanged,
                                                       [this](const auto&) { follow(); });
    follow();
}

void DesktopPalette::follow() {
    const bool wantsDark = desktop_.colorScheme() == DesktopSettings::ColorScheme::Dark;
    QApplication::setPalette(wantsDark && !isDark(usual_) ? darkPalette() : usual_);
}

} // namespace merlode
