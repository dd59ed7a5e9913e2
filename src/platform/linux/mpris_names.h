#pragma once

#include <QDBusConnection>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <optional>

/// Names and addresses of MPRIS players on the session bus.
namespace merlode::mpris {

inline const QString kNamePrefix = u"org.mpris.MediaPlayer2."_qs;
inline const QString kObjectPath = u"/org/mpris/MediaPlayer2"_qs;
inline const QString kRootInterface = u"org.mpris.MediaPlayer2"_qs;
inline const QString kPlayerInterface = u"org.mpris.MediaPlayer2.Player"_qs;
inline const QString kPropertiesInterface = u"org.freedesktop.DBus.Properties"_qs;

/// True for a well-formed suffix of a real player: not the proxy "playerctld", which would show every player
/// a second time, and not one of our own names.
bool isPlayerSuffix(const QString& suffix);

/// Asks the bus itself, which always answers at once: `method` of org.freedesktop.DBus with `arguments`.
/// Nothing on an error.
std::optional<QVariant> askBus(const QDBusConnection& connection, const QString& method,
                               const QVariantList& arguments = {});

/// The full names on the bus that are `suffix` or an instance of it ("vlc", "vlc.instance77"), in order.
QStringList namesOf(const QDBusConnection& connection, const QString& suffix);

} // namespace merlode::mpris

namespace merlode {

/// The suffixes of the running MPRIS players, sorted, without their instance numbers: "vlc", "strawberry". A
/// program that holds several names is listed once. Asks the bus only, never a player.
QStringList mprisPlayerNames(const QDBusConnection& connection);

} // namespace merlode
