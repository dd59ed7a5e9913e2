#include "platform/linux/status_notifier_item.h"

#include "platform/activation_token.h"

#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <QDBusError>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QtEndian>

#include <algorithm>
#include <atomic>

namespace merlode {

namespace {

const QString kItem = u"org.kde.StatusNotifierItem"_qs;
const QString kItemPath = u"/StatusNotifierItem"_qs;
const QString kWatcher = u"org.kde.StatusNotifierWatcher"_qs;
const QString kWatcherPath = u"/StatusNotifierWatcher"_qs;
const QString kProperties = u"org.freedesktop.DBus.Properties"_qs;

// Bars made with Qt tell a turn of the wheel as the hardware does, by 120 and above 0 away from the user, and
// fractions of that for a touch pad. Those made with GTK tell it by 1, and above 0 towards the user. A bar
// that has once told more than any of the latter would is one of the former from then on.
constexpr int kNotch = 120;
constexpr int kLeastOfHardware = 15;
constexpr int kMostNotches = 100;

QString newServiceName() {
    static std::atomic<int> count = 0;
    return u"org.kde.StatusNotifierItem-%1-%2"_qs.arg(QCoreApplication::applicationPid()).arg(++count);
}

// A title is plain text, but bars made with Qt show what looks like a tag as one. Something invisible inside
// keeps it from looking so, and harms nowhere else.
QString neverMarkup(QString text) {
    constexpr QChar kWordJoiner(0x2060);
    return text.replace(u'<', u"<"_qs + kWordJoiner).replace(u"&lt;"_qs, u"&"_qs + kWordJoiner + u"lt;"_qs);
}

StatusNotifierPixmap pixmapOf(const QImage& picture) {
    QImage pixels = picture.convertToFormat(QImage::Format_ARGB32);
    auto* words = reinterpret_cast<quint32*>(pixels.bits());
    const auto count = pixels.sizeInBytes() / qsizetype(sizeof(quint32));
    std::transform(words, words + count, words, [](quint32 word) { return qToBigEndian(word); });
    return {pixels.width(), pixels.height(),
            QByteArray(reinterpret_cast<const char*>(pixels.constBits()), pixels.sizeInBytes())};
}

} // namespace

QDBusArgument& operator<<(QDBusArgument& argument, const StatusNotifierPixmap& value) {
    argument.beginStructure();
    argument << value.width << value.height << value.bytes;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, StatusNotifierPixmap& value) {
    argument.beginStructure();
    argument >> value.width >> value.height >> value.bytes;
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const StatusNotifierToolTip& value) {
    argument.beginStructure();
    argument << value.iconName << value.icon << value.title << value.text;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, StatusNotifierToolTip& value) {
    argument.beginStructure();
    argument >> value.iconName >> value.icon >> value.title >> value.text;
    argument.endStructure();
    return argument;
}

StatusNotifierItem::StatusNotifierItem(QDBusConnection bus, RunLoop& loop, Identity identity, Events events)
    : bus_(std::move(bus)),
      calls_(loop),
      identity_(std::move(identity)),
      events_(std::move(events)),
      menu_(bus_, loop, events_.menuWillOpen),
      service_(newServiceName()),
      watcher_(kWatcher, bus_, QDBusServiceWatcher::WatchForOwnerChange) {
    qDBusRegisterMetaType<StatusNotifierPixmap>();
    qDBusRegisterMetaType<QList<StatusNotifierPixmap>>();
    qDBusRegisterMetaType<StatusNotifierToolTip>();
    bus_.registerVirtualObject(kItemPath, this);
    bus_.registerService(service_);
    for (const auto& name : {u"StatusNotifierHostRegistered"_qs, u"StatusNotifierHostUnregistered"_qs})
        bus_.connect(kWatcher, kWatcherPath, kWatcher, name, this, SLOT(hostsChanged()));
    connect(&watcher_, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString&, const QString&, const QString& owner) {
                calls_.call([this, present = !owner.isEmpty()] { watcherChanged(present); });
            });
    auto question = QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_qs, u"/org/freedesktop/DBus"_qs,
                                                   u"org.freedesktop.DBus"_qs, u"NameHasOwner"_qs);
    call(question << kWatcher,
         [this](const QDBusMessage& reply) { watcherChanged(reply.arguments().value(0).toBool()); });
}

StatusNotifierItem::~StatusNotifierItem() {
    bus_.unregisterService(service_); // by this bars notice that the item has gone
    bus_.unregisterObject(kItemPath);
}

// Bars that come and go.

void StatusNotifierItem::call(const QDBusMessage& message, std::function<void(const QDBusMessage&)> done) {
    auto* pending = new QDBusPendingCallWatcher(bus_.asyncCall(message), this);
    connect(pending, &QDBusPendingCallWatcher::finished, this,
            [this, done = std::move(done)](QDBusPendingCallWatcher* finished) {
                finished->deleteLater();
                calls_.call([done, reply = finished->reply()] { done(reply); });
            });
}

void StatusNotifierItem::watcherChanged(bool present) {
    if (present)
        registerAtWatcher();
    else
        setShown(false);
}

void StatusNotifierItem::registerAtWatcher() {
    auto message =
        QDBusMessage::createMethodCall(kWatcher, kWatcherPath, kWatcher, u"RegisterStatusNotifierItem"_qs);
    call(message << service_, [this](const QDBusMessage& reply) {
        if (reply.type() == QDBusMessage::ErrorMessage)
            setShown(false);
        else
            askForHosts();
    });
}

void StatusNotifierItem::hostsChanged() {
    calls_.call([this] { askForHosts(); });
}

void StatusNotifierItem::askForHosts() {
    auto message = QDBusMessage::createMethodCall(kWatcher, kWatcherPath, kProperties, u"Get"_qs);
    call(message << kWatcher << u"IsStatusNotifierHostRegistered"_qs, [this](const QDBusMessage& reply) {
        setShown(qvariant_cast<QDBusVariant>(reply.arguments().value(0)).variant() == QVariant(true));
    });
}

void StatusNotifierItem::setShown(bool shown) {
    if (shown_ == shown)
        return;
    shown_ = shown;
    if (events_.shownChanged)
        calls_.call([this, shown] { events_.shownChanged(shown); });
}

// What is shown.

void StatusNotifierItem::setIcon(const StatusIcon& icon) {
    if (icon.name == icon_.name && icon.pictures == icon_.pictures)
        return;
    icon_ = icon;
    pixmaps_.clear();
    for (const auto& picture : icon.pictures)
        pixmaps_ << pixmapOf(picture);
    emitSignal(u"NewIcon"_qs);
}

void StatusNotifierItem::setText(const QString& text, const QString& guide) {
    if (text == text_ && guide == guide_)
        return;
    text_ = text;
    guide_ = guide;
    emitSignal(u"XAyatanaNewLabel"_qs, {text_, guide_});
}

void StatusNotifierItem::setToolTip(const QString& title, const QString& text) {
    const QString plain = neverMarkup(title), markup = text.toHtmlEscaped();
    if (plain == toolTip_.title && markup == toolTip_.text)
        return;
    toolTip_ = {{}, {}, plain, markup};
    emitSignal(u"NewToolTip"_qs);
}

void StatusNotifierItem::emitSignal(const QString& name, const QVariantList& arguments) {
    auto signal = QDBusMessage::createSignal(kItemPath, kItem, name);
    signal.setArguments(arguments);
    bus_.send(signal);
}

QVariantMap StatusNotifierItem::properties() const {
    const auto none = QVariant::fromValue(QList<StatusNotifierPixmap>());
    return {{u"Category"_qs, u"ApplicationStatus"_qs},
            {u"Id"_qs, identity_.id},
            {u"Title"_qs, identity_.title},
            {u"Status"_qs, u"Active"_qs},
            {u"WindowId"_qs, 0},
            {u"IconThemePath"_qs, identity_.iconThemePath},
            {u"IconName"_qs, icon_.name},
            {u"IconPixmap"_qs, QVariant::fromValue(pixmaps_)},
            {u"IconAccessibleDesc"_qs, identity_.title},
            {u"OverlayIconName"_qs, QString()},
            {u"OverlayIconPixmap"_qs, none},
            {u"AttentionIconName"_qs, QString()},
            {u"AttentionIconPixmap"_qs, none},
            {u"AttentionMovieName"_qs, QString()},
            {u"ToolTip"_qs, QVariant::fromValue(toolTip_)},
            {u"ItemIsMenu"_qs, false},
            {u"Menu"_qs, QVariant::fromValue(QDBusObjectPath(DBusMenu::path()))},
            {u"XAyatanaLabel"_qs, text_},
            {u"XAyatanaLabelGuide"_qs, guide_},
            {u"XAyatanaOrderingIndex"_qs, 0U}};
}

// What bars ask and tell.

bool StatusNotifierItem::handleMessage(const QDBusMessage& message, const QDBusConnection& connection) {
    if (message.interface() == kProperties)
        return connection.send(answerProperties(message));
    if (!carryOut(message))
        return false;
    return !message.isReplyRequired() || connection.send(message.createReply());
}

QDBusMessage StatusNotifierItem::answerProperties(const QDBusMessage& message) const {
    const auto all = properties();
    if (message.member() == u"GetAll")
        return message.createReply(all);
    const auto value = all.value(message.arguments().value(1).toString());
    if (message.member() != u"Get" || !value.isValid())
        return message.createErrorReply(QDBusError::UnknownProperty, u"there is no such property"_qs);
    return message.createReply(QVariant::fromValue(QDBusVariant(value)));
}

bool StatusNotifierItem::carryOut(const QDBusMessage& message) {
    const QString called = message.member(), signature = message.signature();
    const auto arguments = message.arguments();
    if (called == u"Activate" && signature == u"ii") {
        // Bars that do not know where the item is say that it is in the corner.
        const QPoint place(arguments[0].toInt(), arguments[1].toInt());
        if (events_.selected)
            calls_.call(
                [this, place] { events_.selected(place.isNull() ? std::nullopt : std::optional(place)); });
        return true;
    }
    if ((called == u"SecondaryActivate" && signature == u"ii") ||
        (called == u"XAyatanaSecondaryActivate" && signature == u"u")) {
        calls_.call(events_.secondarySelected);
        return true;
    }
    if (called == u"Scroll" && signature == u"is") {
        scroll(message);
        return true;
    }
    if (called == u"ProvideXdgActivationToken" && signature == u"s") {
        keepActivationToken(arguments[0].toString());
        return true;
    }
    // Bars that ask for the menu so can show what stands under "Menu" themselves.
    return called == u"ContextMenu" && signature == u"ii";
}

void StatusNotifierItem::scroll(const QDBusMessage& message) {
    const auto arguments = message.arguments();
    if (arguments[1].toString().compare(u"vertical", Qt::CaseInsensitive) != 0 || !events_.scrolled)
        return;
    const int delta = std::clamp(arguments[0].toInt(), -kMostNotches * kNotch, kMostNotches * kNotch);
    if (std::abs(delta) >= kLeastOfHardware)
        fineBar_ = message.service();
    scrolled_ += message.service() == fineBar_ ? delta : -delta * kNotch;
    const int notches = std::clamp(scrolled_ / kNotch, -kMostNotches, kMostNotches);
    scrolled_ %= kNotch;
    if (notches != 0)
        calls_.call([this, notches] { events_.scrolled(notches); });
}

QString StatusNotifierItem::introspect(const QString&) const {
    QString text = u"<interface name='org.kde.StatusNotifierItem'>"_qs;
    for (const auto& [name, type] : {std::pair{u"Category"_qs, u"s"_qs},
                                     {u"Id"_qs, u"s"_qs},
                                     {u"Title"_qs, u"s"_qs},
                                     {u"Status"_qs, u"s"_qs},
                                     {u"WindowId"_qs, u"i"_qs},
                                     {u"IconThemePath"_qs, u"s"_qs},
                                     {u"IconName"_qs, u"s"_qs},
                                     {u"IconPixmap"_qs, u"a(iiay)"_qs},
                                     {u"IconAccessibleDesc"_qs, u"s"_qs},
                                     {u"OverlayIconName"_qs, u"s"_qs},
                                     {u"OverlayIconPixmap"_qs, u"a(iiay)"_qs},
                                     {u"AttentionIconName"_qs, u"s"_qs},
                                     {u"AttentionIconPixmap"_qs, u"a(iiay)"_qs},
                                     {u"AttentionMovieName"_qs, u"s"_qs},
                                     {u"ToolTip"_qs, u"(sa(iiay)ss)"_qs},
                                     {u"ItemIsMenu"_qs, u"b"_qs},
                                     {u"Menu"_qs, u"o"_qs},
                                     {u"XAyatanaLabel"_qs, u"s"_qs},
                                     {u"XAyatanaLabelGuide"_qs, u"s"_qs},
                                     {u"XAyatanaOrderingIndex"_qs, u"u"_qs}})
        text += u"<property name='%1' type='%2' access='read'/>"_qs.arg(name, type);
    for (const auto& name : {u"Activate"_qs, u"SecondaryActivate"_qs, u"ContextMenu"_qs})
        text +=
            u"<method name='%1'><arg type='i' direction='in'/><arg type='i' direction='in'/></method>"_qs.arg(
                name);
    text += u"<method name='Scroll'><arg type='i' direction='in'/><arg type='s' direction='in'/></method>"
            "<method name='ProvideXdgActivationToken'><arg type='s' direction='in'/></method>"
            "<method name='XAyatanaSecondaryActivate'><arg type='u' direction='in'/></method>"_qs;
    for (const auto& name : {u"NewTitle"_qs, u"NewIcon"_qs, u"NewToolTip"_qs})
        text += u"<signal name='%1'/>"_qs.arg(name);
    return text + u"<signal name='NewStatus'><arg type='s'/></signal>"
                  "<signal name='XAyatanaNewLabel'><arg type='s'/><arg type='s'/></signal></interface>"_qs;
}

} // namespace merlode
