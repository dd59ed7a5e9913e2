// The position: a clock of our own, held against the player's every few seconds.

#include "base/notification_names.h"
#include "base/session.h"
#include "model/remote_link.h"
#include "players/player_controller.h"

namespace merlode {

void PlayerController::startPositionTimers() {
    if (timersKilled_)
        return;
    auto& loop = session_.runLoop();
    if (!playerPositionTimer_)
        playerPositionTimer_ =
            loop.every(kPlayerPositionUpdateInterval, [this] { localUpdatePlayerPosition(); });
    if (!playerPositionBroadcastTimer_)
        playerPositionBroadcastTimer_ =
            loop.every(kPlayerPositionBroadcastInterval, [this] { checkPlayerPosition(); });
}

void PlayerController::localUpdatePlayerPosition() {
    clock_.advance(kPlayerPositionUpdateInterval);
    post(notifications::kTrackPositionUpdated);
}

void PlayerController::checkPlayerPosition() {
    const auto read = readPosition();
    if (!read)
        return;
    agreeOnPosition(read->first, read->second);
    remoteLink_.broadcastMessage(
        RemoteAction::playerPosition,
        {{QStringLiteral("trackDuration"), read->first}, {QStringLiteral("playerPosition"), read->second}});
}

void PlayerController::agreeOnPosition(int duration, int position) {
    if (clock_.correct(duration, position, kMinPositionOverlay))
        post(notifications::kTrackPositionUpdated);
}

} // namespace merlode
