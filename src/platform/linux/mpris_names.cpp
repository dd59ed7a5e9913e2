#include "platform/linux/mpris_names.h"

#include <QDBusMessage>
#include <QRegularExpression>
#include <QSet>

namespace merlode {

namespace mpris {

namespace {

constexpr int kBusTimeoutMilliseconds = 1000;

QString withoutInstance(const QString& suffix) {
    static const QRegularExpression instance(u"\\.instance[^.]*$"_qs);
    return QString(suffix).remove(instance);
}

} // namespace

bool isPlayerSuffix(const QString& suffix) {
    static const QRegularExpression wellFormed(u"^[A-Za-z0-9_-]+(?:\\.[A-Za-z0-9_-]+)*$"_qs);
    constexpr int kLongestName = 255; // of a whole bus name
    return kNamePrefix.size() + suffix.size() <= kLongestName && wellFormed.match(suffix).hasMatch() &&
           withoutInstance(suffix) != u"playerctld" && !suffix.startsWith(u"merlode", Qt::CaseInsensitive);
}

std::optional<QVariant> askBus(const QDBusConnection& connection, const QString& method,
                               const QVariantList& arguments) {
    if (!connection.isConnected())
        return std::nullopt;
    auto call = QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_qs, u"/org/freedesktop/DBus"_qs,
                                               u"org.freedesktop.DBus"_qs, method);
    call.setArguments(arguments);
    const auto answer = connection.call(call, QDBus::Block, kBusTimeoutMilliseconds);
    if (answer.type() != QDBusMessage::ReplyMessage || answer.arguments().isEmpty())
        return std::nullopt;
    return answer.arguments().constFirst();
}

QStringList namesOf(const QDBusConnection& connection, const QString& suffix) {
    QStringList names = askBus(connection, u"ListNames"_qs).value_or(QVariant()).toStringList();
    const QString name = kNamePrefix + suffix;
    names.removeIf([&](const QString& other) { return other != name && !other.startsWith(name + u'.'); });
    names.sort();
    return names;
}

} // namespace mpris

QStringList mprisPlayerNames(const QDBusConnection& connection) {
    QStringList names = mpris::askBus(connection, u"ListNames"_qs).value_or(QVariant()).toStringList();
    names.sort(); // "vlc" before "vlc.instance77"
    QSet<QString> owners;
    QStringList suffixes;
    for (const auto& name : std::as_const(names)) {
        const QString suffix = mpris::withoutInstance(name.mid(mpris::kNamePrefix.size()));
        if (!name.startsWith(mpris::kNamePrefix) || !mpris::isPlayerSuffix(suffix))
            continue;
        const auto owner = mpris::askBus(connection, u"GetNameOwner"_qs, {name});
        if (!owner || owners.contains(owner->toString()))
            continue;
        owners.insert(owner->toString());
        if (!suffixes.contains(suffix))
            suffixes += suffix;
    }
    return suffixes;
}

} // namespace merlode
