#include "ui/widgets/accessibility.h"

#include "ui/widgets/art_view.h"
#include "ui/widgets/panel_window.h"

#include <QAccessibleApplication>
#include <QAccessibleWidget>
#include <QApplication>

namespace merlode {

namespace {

class ApplicationInterface final : public QAccessibleApplication {
  public:
    int childCount() const override { return ownCount() + (panel() ? 1 : 0); }
    QAccessibleInterface* child(int index) const override {
        return index < ownCount() ? QAccessibleApplication::child(index)
                                  : QAccessible::queryAccessibleInterface(panel());
    }
    int indexOfChild(const QAccessibleInterface* child) const override {
        return child && child->object() && child->object() == panel()
                   ? ownCount()
                   : QAccessibleApplication::indexOfChild(child);
    }

  private:
    int ownCount() const { return QAccessibleApplication::childCount(); }
    static PanelWindow* panel() {
        for (auto* widget : QApplication::topLevelWidgets()) {
            auto* panel = qobject_cast<PanelWindow*>(widget);
            if (panel && panel->windowType() == Qt::Popup && widget->isVisible())
                return panel;
        }
        return nullptr;
    }
};

QAccessibleInterface* makeInterface(const QString&, QObject* object) {
    if (object == qApp)
        return new ApplicationInterface;
    if (auto* announcer = qobject_cast<Announcer*>(object))
        return new QAccessibleWidget(announcer, QAccessible::Notification);
    if (auto* art = qobject_cast<ArtView*>(object))
        return new QAccessibleWidget(art, QAccessible::Graphic);
    if (auto* panel = qobject_cast<PanelWindow*>(object))
        return new QAccessibleWidget(panel, QAccessible::Window);
    return nullptr;
}

} // namespace

void installAccessibility() {
    QAccessible::installFactory(makeInterface);
}

Announcer::Announcer(QWidget* parent) : QWidget(parent) {
    setGeometry(0, 0, 1, 1); // what has no size is not there for a screen reader either
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

void Announcer::announce(const QString& text) {
    if (text.isEmpty() || !isVisible())
        return;
    setAccessibleName(text);
    QAccessibleEvent shown(this, QAccessible::ObjectShow);
    QAccessible::updateAccessibility(&shown);
}

} // namespace merlode
