#include "ui/widgets/entry_menu.h"

#include <QApplication>

namespace merlode {

namespace {

// What a menu merely tells is written in the colour of what cannot be chosen, which some styles all but hide.
void makeDisabledReadable(QMenu& menu) {
    constexpr float kShare = 0.4F; // of the background
    QPalette palette = QApplication::palette();
    const QColor text = palette.color(QPalette::Text), ground = palette.color(QPalette::Window);
    const auto mixed = [](float one, float other) { return one + (other - one) * kShare; };
    const QColor faint =
        QColor::fromRgbF(mixed(text.redF(), ground.redF()), mixed(text.greenF(), ground.greenF()),
                         mixed(text.blueF(), ground.blueF()));
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, faint);
    menu.setPalette(palette);
}

} // namespace

void fillMenu(QMenu& menu, const std::vector<MenuEntry>& entries) {
    menu.clear();
    makeDisabledReadable(menu);
    for (const auto& entry : entries) {
        if (entry.isSeparator()) {
            menu.addSeparator();
            continue;
        }
        QString text = entry.text;
        text.replace(u'&', QStringLiteral("&&")); // a single one would mark a key
        if (!entry.children.empty()) {
            fillMenu(*menu.addMenu(text), entry.children);
            continue;
        }
        QAction* action = menu.addAction(text);
        action->setEnabled(entry.enabled);
        action->setCheckable(entry.checked.has_value());
        action->setChecked(entry.checked.value_or(false));
        if (entry.action)
            QObject::connect(action, &QAction::triggered, &menu, [act = entry.action] { act(); });
    }
}

} // namespace merlode
