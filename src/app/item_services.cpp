#include "app/item_services.h"

#include "players/player_controller.h"

namespace merlode {

bool ItemServices::hasRemotePlayer() {
    const auto* controller = controller_.load();
    return controller && controller->hasRemotePlayer();
}

} // namespace merlode
