#pragma once

#include "platform/linux/deferred_calls.h"
#include "platform/status_item.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>

#include <functional>
#include <vector>

namespace merlode {

/// An entry and what is below it, as it travels: (ia{sv}av).
struct DBusMenuLayout {
    int id = 0;
    QVariantMap properties;
    QList<DBusMenuLayout> children;
};
/// An entry without what is below it: (ia{sv}).
struct DBusMenuItem {
    int id = 0;
    QVariantMap properties;
};
/// Properties that an entry has no more: (ias).
struct DBusMenuKeys {
    int id = 0;
    QStringList properties;
};
/// Something that happened to an entry: (isvu).
struct DBusMenuEvent {
    int id = 0;
    QString type;
    QDBusVariant data;
    uint timestamp = 0;
};

QDBusArgument& operator<<(QDBusArgument& argument, const DBusMenuLayout& value);
const QDBusArgument& operator>>(const QDBusArgument& argument, DBusMenuLayout& value);
QDBusArgument& operator<<(QDBusArgument& argument, const DBusMenuItem& value);
const QDBusArgument& operator>>(const QDBusArgument& argument, DBusMenuItem& value);
QDBusArgument& operator<<(QDBusArgument& argument, const DBusMenuKeys& value);
const QDBusArgument& operator>>(const QDBusArgument& argument, DBusMenuKeys& value);
QDBusArgument& operator<<(QDBusArgument& argument, const DBusMenuEvent& value);
const QDBusArgument& operator>>(const QDBusArgument& argument, DBusMenuEvent& value);

/// A menu that another program shows: com.canonical.dbusmenu. Actions run through the run loop. Main thread.
class DBusMenu final : public QDBusVirtualObject {
  public:
    /// `willOpen` is called when somebody is about to show the menu, who waits for what becomes of it; may be
    /// empty.
    DBusMenu(QDBusConnection bus, RunLoop& loop, std::function<void()> willOpen);
    ~DBusMenu() override;

    static QString path();

    /// Shows these entries from now on. Entries keep their identity while only their looks change, and in a
    /// menu of another shape those that say the same as before: some bars show a menu that is open as it was
    /// until it is closed, and a choice from it is to have its effect.
    void setMenu(std::vector<MenuEntry> entries);

    QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

  private:
    /// Entries in one row; those of a submenu stand behind their own.
    struct Node {
        int id = 0;
        MenuEntry entry; ///< without its children, which are nodes
        std::vector<std::size_t> children;
        QVariantMap properties;
    };
    using Nodes = std::vector<Node>;

    static void addNodes(Nodes& nodes, std::size_t parent, std::vector<MenuEntry>& entries);
    static bool sameShape(const Nodes& one, const Nodes& other);
    void takeIds(const Nodes& before, std::vector<std::size_t> candidates, std::size_t parent);
    void announceChanges(const Nodes& before);
    void emitSignal(const QString& name, const QVariantList& arguments);

    static const Node* find(const Nodes& nodes, int id);
    const Node* node(int id) const { return find(nodes_, id); }
    DBusMenuLayout layout(std::size_t place, int depth, const QStringList& names) const;
    QVariant menuProperty(const QString& name) const;

    QDBusMessage answer(const QDBusMessage& message);
    QDBusMessage answerProperties(const QDBusMessage& message) const;
    QDBusMessage getLayout(const QDBusMessage& message) const;
    QDBusMessage getGroupProperties(const QDBusMessage& message) const;
    QDBusMessage getProperty(const QDBusMessage& message) const;
    QDBusMessage events(const QDBusMessage& message);
    void aboutToShow(const QDBusMessage& message, const QDBusConnection& connection);
    bool happened(int id, const QString& type);

    QDBusConnection bus_;
    DeferredCalls calls_;
    std::function<void()> willOpen_;
    Nodes nodes_; ///< the first is the menu itself
    uint revision_ = 1;
    int lastId_ = 0; ///< given to an entry; the menu itself is always 0
};

} // namespace merlode

Q_DECLARE_METATYPE(merlode::DBusMenuLayout)
Q_DECLARE_METATYPE(merlode::DBusMenuItem)
Q_DECLARE_METATYPE(merlode::DBusMenuKeys)
Q_DECLARE_METATYPE(merlode::DBusMenuEvent)
