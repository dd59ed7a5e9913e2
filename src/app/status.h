#pragma once

#include <QVariantMap>

namespace merlode {

class PlayerController;
class PlayerRoles;

/// True while an advertisement plays. The track before it stays on show, but position and duration, which are
/// the advertisement's, are not that track's.
bool showsTrackBeforeAdvertisement(const PlayerController& controller);

/// What plays, under the keys of `control::status`. Read from the controller's mirror; the position, duration
/// and volume from the active player. `artFile` is empty where there is none. Main thread.
QVariantMap currentStatus(const PlayerController& controller, const PlayerRoles& roles,
                          const QString& artFile);

/// The program behind a role and the players in none, as the control interface's `Players` answers.
QList<QVariantMap> playersStatus(const PlayerController& controller, const PlayerRoles& roles,
                                 const QStringList& otherPlayers);

} // namespace merlode
