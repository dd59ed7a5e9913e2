#include "platform/linux/portal_settings.h"

#include "base/notification_names.h"
#include "base/session.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QPointer>

namespace merlode {

namespace {

const QString kPortal = u"org.freedesktop.portal.Desktop"_qs;
const QString kPath = u"/org/freedesktop/portal/desktop"_qs;
const QString kInterface = u"org.freedesktop.portal.Settings"_qs;
const QString kAppearance = u"org.freedesktop.appearance"_qs;
const QString kGnome = u"org.gnome.desktop.interface"_qs;

using Groups = QMap<QString, QVariantMap>;

// Portals wrap a value in one variant or in two.
QVariant unwrapped(QVariant value) {
    for (int layer = 0; layer < 2 && value.metaType() == QMetaType::fromType<QDBusVariant>(); ++layer)
        value = qvariant_cast<QDBusVariant>(value).variant();
    return value;
}

} // namespace

PortalSettings::PortalSettings(QDBusConnection bus, Session& session)
    : bus_(std::move(bus)),
      session_(session),
      portal_(kPortal, bus_, QDBusServiceWatcher::WatchForRegistration) {
    qDBusRegisterMetaType<Groups>();
    // The slot's types are looked up by their names, and this one has none until somebody has used it.
    qRegisterMetaType<QDBusVariant>();
    bus_.connect(kPortal, kPath, kInterface, u"SettingChanged"_qs, this,
                 SLOT(settingChanged(QString, QString, QDBusVariant)));
    connect(&portal_, &QDBusServiceWatcher::serviceRegistered, this, [this] { ask(); });
    ask();
}

void PortalSettings::ask() {
    auto question = QDBusMessage::createMethodCall(kPortal, kPath, kInterface, u"ReadAll"_qs);
    auto* pending =
        new QDBusPendingCallWatcher(bus_.asyncCall(question << QStringList{kAppearance, kGnome}), this);
    connect(pending, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* finished) {
        finished->deleteLater();
        session_.runLoop().async([self = QPointer(this), reply = finished->reply()] {
            if (self)
                self->readAll(reply);
        });
    });
}

void PortalSettings::readAll(const QDBusMessage& reply) {
    if (reply.type() != QDBusMessage::ReplyMessage || reply.signature() != u"a{sa{sv}}")
        return; // no portal, or none that tells settings
    const auto groups = qdbus_cast<Groups>(reply.arguments().at(0));
    changing([&] {
        for (auto group = groups.begin(); group != groups.end(); ++group) {
            for (auto value = group->begin(); value != group->end(); ++value)
                take(group.key(), value.key(), *value);
        }
    });
}

void PortalSettings::settingChanged(const QString& group, const QString& key, const QDBusVariant& value) {
    session_.runLoop().async([self = QPointer(this), group, key, value] {
        if (self)
            self->changing([&] { self->take(group, key, value.variant()); });
    });
}

void PortalSettings::changing(const std::function<void()>& change) {
    const auto before = std::pair(colorScheme_, reducedMotion());
    change();
    if (before != std::pair(colorScheme_, reducedMotion()))
        session_.distributedCenter().post(notifications::kInterfaceThemeChanged);
}

void PortalSettings::take(const QString& group, const QString& key, const QVariant& value) {
    constexpr uint kDark = 1, kLight = 2, kReduced = 1;
    const QVariant told = unwrapped(value);
    const bool isNumber = told.metaType() == QMetaType::fromType<uint>();
    if (group == kAppearance && key == u"color-scheme" && isNumber)
        colorScheme_ = told.toUInt() == kDark    ? ColorScheme::Dark
                       : told.toUInt() == kLight ? ColorScheme::Light
                                                 : ColorScheme::NoPreference;
    else if (group == kAppearance && key == u"reduced-motion" && isNumber)
        motionIsReduced_ = told.toUInt() == kReduced;
    else if (group == kGnome && key == u"enable-animations" && told.metaType() == QMetaType::fromType<bool>())
        animationsAreOff_ = !told.toBool();
}

} // namespace merlode
