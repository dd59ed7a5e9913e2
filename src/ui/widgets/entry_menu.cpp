#include "ui/widgets/entry_menu.h"

namespace merlode {

void fillMenu(QMenu& menu, const std::vector<MenuEntry>& entries) {
    menu.clear();
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
