#pragma once

#include <QString>
#include <QVariantMap>

namespace merlode {

/// Does what the messages of other machines ask for, on whichever end they arrive. It trusts no message: one
/// that lacks something it needs, or has it in another type, is passed over in silence, and no text of a
/// message is ever used as anything but a text. Main thread.
class RemoteActionController {
  public:
    /// The controller of the current session, made on first use.
    static RemoteActionController& sharedController();

    /// Takes a message as it came off the wire: "action" and "payload". One without either is ignored. Runs
    /// to its end before it returns, a modal alert included.
    void handleRemoteMessage(const QVariantMap& message);

    /// Takes the action of this name, which is compared exactly; any other name does nothing.
    void takeAction(const QString& action, const QVariantMap& payload);
};

} // namespace merlode
