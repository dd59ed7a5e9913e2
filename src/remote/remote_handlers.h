#pragma once

#include "model/remote_action.h"

#include <QVariantMap>

/// What is done at each action, by the side that it is meant for. Nobody checks that it came from the other
/// one. Main thread.
namespace merlode::remotehandlers {

/// Takes a payload; one that lacks something, or has it in another type, is passed over.
using Handler = void (*)(const QVariantMap& payload);

/// What a server tells its clients; null for an action that only a client sends.
Handler toldByServer(RemoteAction action);

/// What a client asks of its server; null for an action that only a server sends.
Handler askedByClient(RemoteAction action);

/// Tells the user that somebody has liked the track, unless it was the user.
void notifyOfFavorite(const QString& userName);

} // namespace merlode::remotehandlers
