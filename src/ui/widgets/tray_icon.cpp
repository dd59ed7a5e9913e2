#include "ui/widgets/tray_icon.h"

#include "ui/widgets/entry_menu.h"

#include <QTextDocument>
#include <QWheelEvent>

namespace merlode {

namespace {

constexpr int kNotch = 120; ///< eighths of a degree, as `QWheelEvent` has it

} // namespace

TrayIcon::TrayIcon(RunLoop& loop, Events events) : loop_(loop), events_(std::move(events)) {
    connect(&icon_, &QSystemTrayIcon::activated, this, [this](auto reason) { activated(reason); });
    connect(&menu_, &QMenu::aboutToShow, this, [this] {
        fillMenu(menu_, entries_);
        later(events_.menuWillOpen);
    });
    icon_.setContextMenu(&menu_);
    icon_.installEventFilter(this);
}

void TrayIcon::later(std::function<void()> work) {
    if (!work)
        return;
    loop_.async([life = std::weak_ptr(life_), work = std::move(work)] {
        if (!life.expired())
            work();
    });
}

void TrayIcon::setIcon(const StatusIcon& icon) {
    QIcon pictures;
    for (const auto& picture : icon.pictures)
        pictures.addPixmap(QPixmap::fromImage(picture));
    icon_.setIcon(pictures);
    icon_.show();
}

void TrayIcon::setToolTip(const QString& title, const QString& text) {
    icon_.setToolTip(Qt::convertFromPlainText(text.isEmpty() ? title : title + u'\n' + text));
}

void TrayIcon::setMenu(std::vector<MenuEntry> entries) {
    entries_ = std::move(entries);
    if (!menu_.isVisible())
        fillMenu(menu_, entries_);
}

void TrayIcon::activated(QSystemTrayIcon::ActivationReason reason) {
    if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick) {
        const QRect place = icon_.geometry();
        later([this, place] {
            events_.selected(place.isValid() ? std::optional(place.center()) : std::nullopt);
        });
    } else if (reason == QSystemTrayIcon::MiddleClick) {
        later(events_.secondarySelected);
    }
}

bool TrayIcon::eventFilter(QObject* watched, QEvent* event) {
    if (watched == &icon_ && event->type() == QEvent::Wheel) {
        wheel_ += static_cast<QWheelEvent*>(event)->angleDelta().y();
        const int notches = wheel_ / kNotch;
        wheel_ -= notches * kNotch;
        if (notches != 0)
            later([this, notches] { events_.scrolled(notches); });
    }
    return QObject::eventFilter(watched, event);
}

} // namespace merlode
