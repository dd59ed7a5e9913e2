#pragma once

#include "base/session.h"

#include <QDBusConnection>
#include <QDBusUnixFileDescriptor>
#include <QObject>

namespace merlode {

/// Tells the session when the machine goes to sleep and wakes, as the log-in manager announces it: posts
/// `kWorkspaceWillSleep` and `kWorkspaceDidWake` on the workspace centre. Holds a delay lock, so that the
/// machine waits until the observers have returned (a connection is closed in an orderly way). Without a
/// log-in manager nothing is posted. Main thread.
class SleepMonitor final : public QObject {
    Q_OBJECT
  public:
    SleepMonitor(const QDBusConnection& systemBus, Session& session);

  private:
    // Called by D-Bus.
    Q_SLOT void prepareForSleep(bool start);

    void takeDelayLock();

    QDBusConnection bus_;
    Session& session_;
    QDBusUnixFileDescriptor delayLock_;
};

} // namespace merlode
