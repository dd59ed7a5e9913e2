#pragma once

#include <QVariantMap>

namespace merlode {

class PlayerController;
class PlayerRoles;

/// What plays, under the keys of `control::status`. Read from the controller's mirror; the position, duration
/// and volume from the active player. Main thread.
QVariantMap currentStatus(const PlayerController& controller, const PlayerRoles& roles);

/// The program behind a role and the players in none, as the control interface's `Players` answers.
QList<QVariantMap> playersStatus(const PlayerController& controller, const PlayerRoles& roles,
                                 const QStringList& otherPlayers);

} // namespace merlode
