#include "platform/linux/dbus_menu.h"

#include <QDBusError>
#include <QDBusMetaType>
#include <QGuiApplication>

#include <algorithm>
#include <limits>

namespace merlode {

namespace {

const QString kInterface = u"com.canonical.dbusmenu"_qs;
const QString kProperties = u"org.freedesktop.DBus.Properties"_qs;
constexpr uint kVersion = 3;
constexpr int kMostIds = std::numeric_limits<int>::max() - 1;

QDBusMessage wrongArguments(const QDBusMessage& message) {
    return message.createErrorReply(QDBusError::InvalidArgs, u"these arguments make no sense"_qs);
}

QVariantMap propertiesOf(const MenuEntry& entry, bool hasChildren) {
    if (entry.isSeparator())
        return {{u"type"_qs, u"separator"_qs}};
    QString label = entry.text;
    label.replace(u'_', u"__"_qs); // a single one would mark a key
    QVariantMap properties{{u"label"_qs, label}, {u"enabled"_qs, entry.enabled}};
    if (hasChildren)
        properties.insert(u"children-display"_qs, u"submenu"_qs);
    if (entry.checked) {
        properties.insert(u"toggle-type"_qs, u"checkmark"_qs);
        properties.insert(u"toggle-state"_qs, *entry.checked ? 1 : 0);
    }
    return properties;
}

QVariantMap chosen(const QVariantMap& properties, const QStringList& names) {
    if (names.isEmpty())
        return properties;
    QVariantMap some;
    for (const auto& name : names) {
        if (const auto found = properties.find(name); found != properties.end())
            some.insert(name, *found);
    }
    return some;
}

void registerTypes() {
    qDBusRegisterMetaType<DBusMenuLayout>();
    qDBusRegisterMetaType<DBusMenuItem>();
    qDBusRegisterMetaType<QList<DBusMenuItem>>();
    qDBusRegisterMetaType<DBusMenuKeys>();
    qDBusRegisterMetaType<QList<DBusMenuKeys>>();
    qDBusRegisterMetaType<DBusMenuEvent>();
    qDBusRegisterMetaType<QList<DBusMenuEvent>>();
    qDBusRegisterMetaType<QList<int>>();
}

} // namespace

QDBusArgument& operator<<(QDBusArgument& argument, const DBusMenuLayout& value) {
    argument.beginStructure();
    argument << value.id << value.properties;
    argument.beginArray(QMetaType::fromType<QDBusVariant>());
    for (const auto& child : value.children)
        argument << QDBusVariant(QVariant::fromValue(child));
    argument.endArray();
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, DBusMenuLayout& value) {
    value.children.clear();
    argument.beginStructure();
    argument >> value.id >> value.properties;
    argument.beginArray();
    while (!argument.atEnd()) {
        QDBusVariant child;
        argument >> child;
        value.children << qdbus_cast<DBusMenuLayout>(child.variant());
    }
    argument.endArray();
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const DBusMenuItem& value) {
    argument.beginStructure();
    argument << value.id << value.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, DBusMenuItem& value) {
    argument.beginStructure();
    argument >> value.id >> value.properties;
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const DBusMenuKeys& value) {
    argument.beginStructure();
    argument << value.id << value.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, DBusMenuKeys& value) {
    argument.beginStructure();
    argument >> value.id >> value.properties;
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const DBusMenuEvent& value) {
    argument.beginStructure();
    argument << value.id << value.type << value.data << value.timestamp;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, DBusMenuEvent& value) {
    argument.beginStructure();
    argument >> value.id >> value.type >> value.data >> value.timestamp;
    argument.endStructure();
    return argument;
}

DBusMenu::DBusMenu(QDBusConnection bus, RunLoop& loop, std::function<void()> willOpen)
    : bus_(std::move(bus)), calls_(loop), willOpen_(std::move(willOpen)) {
    registerTypes();
    setMenu({});
    bus_.registerVirtualObject(path(), this);
}

DBusMenu::~DBusMenu() {
    bus_.unregisterObject(path());
}

QString DBusMenu::path() {
    return u"/MenuBar"_qs;
}

// What is shown.

void DBusMenu::addNodes(Nodes& nodes, std::size_t parent, std::vector<MenuEntry>& entries) {
    for (auto& entry : entries) {
        std::vector<MenuEntry> children = std::exchange(entry.children, {});
        const std::size_t place = nodes.size();
        nodes[parent].children.push_back(place);
        nodes.push_back({0, entry, {}, propertiesOf(entry, !children.empty())});
        addNodes(nodes, place, children);
    }
}

bool DBusMenu::sameShape(const Nodes& one, const Nodes& other) {
    return std::ranges::equal(one, other, [](const Node& a, const Node& b) {
        return a.children == b.children && a.properties.keys() == b.properties.keys();
    });
}

void DBusMenu::setMenu(std::vector<MenuEntry> entries) {
    const Nodes before = std::exchange(nodes_, {});
    nodes_.push_back({0, {}, {}, {{u"children-display"_qs, u"submenu"_qs}}});
    addNodes(nodes_, 0, entries);
    const bool same = sameShape(before, nodes_);
    if (same) {
        for (std::size_t place = 0; place < nodes_.size(); ++place)
            nodes_[place].id = before[place].id;
    } else {
        takeIds(before, before.empty() ? std::vector<std::size_t>() : before[0].children, 0);
    }
    announceChanges(before);
    if (!same)
        emitSignal(u"LayoutUpdated"_qs, {++revision_, 0});
}

// Whoever still shows the old menu must not choose from the new one by a number that has another meaning.
void DBusMenu::takeIds(const Nodes& before, std::vector<std::size_t> candidates, std::size_t parent) {
    for (const auto child : nodes_[parent].children) {
        const auto same = std::ranges::find_if(candidates, [&](std::size_t place) {
            return before[place].entry.text == nodes_[child].entry.text;
        });
        const Node* kept = same == candidates.end() ? nullptr : &before[*same];
        if (kept)
            candidates.erase(same);
        else
            lastId_ = lastId_ % kMostIds + 1;
        nodes_[child].id = kept ? kept->id : lastId_;
        takeIds(before, kept ? kept->children : std::vector<std::size_t>(), child);
    }
}

void DBusMenu::announceChanges(const Nodes& before) {
    QList<DBusMenuItem> changed;
    QList<DBusMenuKeys> lost;
    for (const auto& now : nodes_) {
        const auto* old = find(before, now.id);
        if (!old || old->properties == now.properties)
            continue;
        changed << DBusMenuItem{now.id, now.properties};
        DBusMenuKeys keys{now.id, old->properties.keys()};
        keys.properties.removeIf([&](const QString& name) { return now.properties.contains(name); });
        if (!keys.properties.isEmpty())
            lost << keys;
    }
    if (!changed.isEmpty())
        emitSignal(u"ItemsPropertiesUpdated"_qs, {QVariant::fromValue(changed), QVariant::fromValue(lost)});
}

void DBusMenu::emitSignal(const QString& name, const QVariantList& arguments) {
    auto signal = QDBusMessage::createSignal(path(), kInterface, name);
    signal.setArguments(arguments);
    bus_.send(signal);
}

const DBusMenu::Node* DBusMenu::find(const Nodes& nodes, int id) {
    const auto found = std::ranges::find(nodes, id, &Node::id);
    return found == nodes.end() ? nullptr : &*found;
}

// The protocol.

bool DBusMenu::handleMessage(const QDBusMessage& message, const QDBusConnection& connection) {
    const QString called = message.member() + u' ' + message.signature();
    if (called == u"AboutToShow i" || called == u"AboutToShowGroup ai") {
        aboutToShow(message, connection);
        return true;
    }
    const auto reply = message.interface() == kProperties ? answerProperties(message) : answer(message);
    if (reply.type() == QDBusMessage::InvalidMessage)
        return false;
    return !message.isReplyRequired() || connection.send(reply);
}

QDBusMessage DBusMenu::answer(const QDBusMessage& message) {
    const QString called = message.member(), signature = message.signature();
    const auto is = [&](QStringView name, QStringView expected) {
        return called == name && signature == expected;
    };
    if (is(u"GetLayout", u"iias"))
        return getLayout(message);
    if (is(u"GetGroupProperties", u"aias"))
        return getGroupProperties(message);
    if (is(u"GetProperty", u"is"))
        return getProperty(message);
    if (is(u"Event", u"isvu") || is(u"EventGroup", u"a(isvu)"))
        return events(message);
    return {};
}

QVariant DBusMenu::menuProperty(const QString& name) const {
    if (name == u"Version")
        return kVersion;
    if (name == u"Status")
        return u"normal"_qs;
    if (name == u"TextDirection")
        return QGuiApplication::layoutDirection() == Qt::RightToLeft ? u"rtl"_qs : u"ltr"_qs;
    if (name == u"IconThemePath")
        return QStringList();
    return {};
}

QDBusMessage DBusMenu::answerProperties(const QDBusMessage& message) const {
    if (message.member() == u"GetAll") {
        QVariantMap all;
        for (const auto& name : {u"Version"_qs, u"Status"_qs, u"TextDirection"_qs, u"IconThemePath"_qs})
            all.insert(name, menuProperty(name));
        return message.createReply(all);
    }
    const auto value = menuProperty(message.arguments().value(1).toString());
    if (message.member() != u"Get" || !value.isValid())
        return wrongArguments(message);
    return message.createReply(QVariant::fromValue(QDBusVariant(value)));
}

DBusMenuLayout DBusMenu::layout(std::size_t place, int depth, const QStringList& names) const {
    DBusMenuLayout described{nodes_[place].id, chosen(nodes_[place].properties, names), {}};
    if (depth != 0) {
        for (const auto child : nodes_[place].children)
            described.children << layout(child, depth - 1, names);
    }
    return described;
}

QDBusMessage DBusMenu::getLayout(const QDBusMessage& message) const {
    const auto arguments = message.arguments();
    const auto* parent = node(arguments[0].toInt());
    if (!parent)
        return wrongArguments(message);
    const auto place = static_cast<std::size_t>(parent - nodes_.data());
    const int depth = std::max(arguments[1].toInt(), -1); // below 0 the whole of it
    auto reply = message.createReply(revision_);
    reply << QVariant::fromValue(layout(place, depth, arguments[2].toStringList()));
    return reply;
}

QDBusMessage DBusMenu::getGroupProperties(const QDBusMessage& message) const {
    const auto ids = qdbus_cast<QList<int>>(message.arguments()[0]);
    const auto names = message.arguments()[1].toStringList();
    QList<DBusMenuItem> items;
    for (const auto& known : nodes_) { // each once, however often it is asked for
        if (ids.isEmpty() || ids.contains(known.id))
            items << DBusMenuItem{known.id, chosen(known.properties, names)};
    }
    return message.createReply(QVariant::fromValue(items));
}

QDBusMessage DBusMenu::getProperty(const QDBusMessage& message) const {
    const auto* known = node(message.arguments()[0].toInt());
    const auto value = known ? known->properties.value(message.arguments()[1].toString()) : QVariant();
    if (!value.isValid())
        return wrongArguments(message);
    return message.createReply(QVariant::fromValue(QDBusVariant(value)));
}

QDBusMessage DBusMenu::events(const QDBusMessage& message) {
    const auto arguments = message.arguments();
    if (message.member() == u"Event") {
        happened(arguments[0].toInt(), arguments[1].toString());
        return message.createReply();
    }
    QList<int> unknown;
    for (const auto& event : qdbus_cast<QList<DBusMenuEvent>>(arguments[0])) {
        if (!happened(event.id, event.type))
            unknown << event.id;
    }
    return message.createReply(QVariant::fromValue(unknown));
}

// An entry that has gone meanwhile does nothing: the user chose what was to be seen, not what took its place.
// That the menu has "opened" is told behind AboutToShow, when it is too late to change what is seen.
bool DBusMenu::happened(int id, const QString& type) {
    const auto* known = node(id);
    if (known && type == u"clicked" && known->entry.enabled)
        calls_.call(known->entry.action);
    return known != nullptr;
}

// Answered when the menu has been brought up to date, so that nobody shows it as it was before. The answer
// counts beside the signals: bars made with Qt show nothing where a menu changes that is said to stay as it
// is.
void DBusMenu::aboutToShow(const QDBusMessage& message, const QDBusConnection& connection) {
    const bool single = message.signature() == u"i";
    const auto ids =
        single ? QList<int>{message.arguments()[0].toInt()} : qdbus_cast<QList<int>>(message.arguments()[0]);
    calls_.call([this, message, connection, single, shown = ids.contains(0)] {
        const uint before = revision_;
        if (shown && willOpen_)
            willOpen_();
        const bool changed = revision_ != before;
        const auto updated = QVariant::fromValue(changed ? QList<int>{0} : QList<int>());
        const auto unknown = QVariant::fromValue(QList<int>());
        connection.send(message.createReply(single ? QVariantList{changed} : QVariantList{updated, unknown}));
    });
}

QString DBusMenu::introspect(const QString&) const {
    return u"<interface name='com.canonical.dbusmenu'>"
           "<property name='Version' type='u' access='read'/><property name='Status' type='s' access='read'/>"
           "<property name='TextDirection' type='s' access='read'/>"
           "<property name='IconThemePath' type='as' access='read'/>"
           "<method name='GetLayout'><arg type='i' direction='in'/><arg type='i' direction='in'/>"
           "<arg type='as' direction='in'/><arg type='u' direction='out'/>"
           "<arg type='(ia{sv}av)' direction='out'/></method>"
           "<method name='GetGroupProperties'><arg type='ai' direction='in'/><arg type='as' direction='in'/>"
           "<arg type='a(ia{sv})' direction='out'/></method>"
           "<method name='GetProperty'><arg type='i' direction='in'/><arg type='s' direction='in'/>"
           "<arg type='v' direction='out'/></method>"
           "<method name='Event'><arg type='i' direction='in'/><arg type='s' direction='in'/>"
           "<arg type='v' direction='in'/><arg type='u' direction='in'/></method>"
           "<method name='EventGroup'><arg type='a(isvu)' direction='in'/><arg type='ai' direction='out'/>"
           "</method><method name='AboutToShow'><arg type='i' direction='in'/><arg type='b' direction='out'/>"
           "</method><method name='AboutToShowGroup'><arg type='ai' direction='in'/>"
           "<arg type='ai' direction='out'/><arg type='ai' direction='out'/></method>"
           "<signal name='ItemsPropertiesUpdated'><arg type='a(ia{sv})'/><arg type='a(ias)'/></signal>"
           "<signal name='LayoutUpdated'><arg type='u'/><arg type='i'/></signal>"
           "<signal name='ItemActivationRequested'><arg type='i'/><arg type='u'/></signal></interface>"_qs;
}

} // namespace merlode
