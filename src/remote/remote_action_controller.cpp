#include "remote/remote_action_controller.h"

#include "base/session.h"
#include "players/remote_state.h"
#include "remote/remote_handlers.h"

namespace merlode {

RemoteActionController& RemoteActionController::sharedController() {
    return Session::current().shared<RemoteActionController>();
}

void RemoteActionController::handleRemoteMessage(const QVariantMap& message) {
    const auto action = remotestate::text(message, QStringLiteral("action"));
    const auto payload = remotestate::dictionary(message, QStringLiteral("payload"));
    if (action && payload)
        takeAction(*action, *payload);
}

void RemoteActionController::takeAction(const QString& action, const QVariantMap& payload) {
    const auto known = remoteActionFromRawValue(action);
    if (!known)
        return;
    if (const auto handle = remotehandlers::toldByServer(*known))
        handle(payload);
    else if (const auto carryOut = remotehandlers::askedByClient(*known))
        carryOut(payload);
}

} // namespace merlode
