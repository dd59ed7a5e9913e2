#pragma once

#include "platform/linux/dbus_menu.h"
#include "platform/linux/deferred_calls.h"
#include "platform/status_item.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QDBusVirtualObject>

#include <functional>

namespace merlode {

/// A picture as it travels: (iiay), pixels as ARGB in the order of the network.
struct StatusNotifierPixmap {
    int width = 0;
    int height = 0;
    QByteArray bytes;
};
/// (sa(iiay)ss)
struct StatusNotifierToolTip {
    QString iconName;
    QList<StatusNotifierPixmap> icon;
    QString title;
    QString text; ///< markup
};

QDBusArgument& operator<<(QDBusArgument& argument, const StatusNotifierPixmap& value);
const QDBusArgument& operator>>(const QDBusArgument& argument, StatusNotifierPixmap& value);
QDBusArgument& operator<<(QDBusArgument& argument, const StatusNotifierToolTip& value);
const QDBusArgument& operator>>(const QDBusArgument& argument, StatusNotifierToolTip& value);

/// The item as bars of today show it: org.kde.StatusNotifierItem, with the text beside the icon as
/// XAyatanaLabel. Follows the bars as they come and go, and blocks for none of them. Main thread.
class StatusNotifierItem final : public QDBusVirtualObject, public StatusItem {
    Q_OBJECT
  public:
    struct Identity {
        QString id;    ///< by which bars remember where the user has put the item
        QString title; ///< for people
        QString iconThemePath;
    };

    StatusNotifierItem(QDBusConnection bus, RunLoop& loop, Identity identity, Events events);
    ~StatusNotifierItem() override;

    void setIcon(const StatusIcon& icon) override;
    void setText(const QString& text, const QString& guide) override;
    void setToolTip(const QString& title, const QString& text) override;
    void setMenu(std::vector<MenuEntry> entries) override { menu_.setMenu(std::move(entries)); }
    std::optional<bool> isShown() const override { return shown_; }

    QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

  private Q_SLOTS:
    void hostsChanged();

  private:
    void watcherChanged(bool present);
    void registerAtWatcher();
    void askForHosts();
    void setShown(bool shown);
    void call(const QDBusMessage& message, std::function<void(const QDBusMessage&)> done);

    QVariantMap properties() const;
    QDBusMessage answerProperties(const QDBusMessage& message) const;
    bool carryOut(const QDBusMessage& message);
    void scroll(const QDBusMessage& message);
    void emitSignal(const QString& name, const QVariantList& arguments = {});

    QDBusConnection bus_;
    DeferredCalls calls_;
    Identity identity_;
    Events events_;
    DBusMenu menu_;
    QString service_;
    QDBusServiceWatcher watcher_;
    std::optional<bool> shown_;

    StatusIcon icon_;
    QList<StatusNotifierPixmap> pixmaps_;
    QString text_;
    QString guide_;
    StatusNotifierToolTip toolTip_;
    int scrolled_ = 0; ///< that makes no notch yet
    QString fineBar_;  ///< the unique name of one that tells the wheel as the hardware does
};

} // namespace merlode

Q_DECLARE_METATYPE(merlode::StatusNotifierPixmap)
Q_DECLARE_METATYPE(merlode::StatusNotifierToolTip)
