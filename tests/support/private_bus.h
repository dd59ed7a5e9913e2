#pragma once

#include <QDBusConnection>
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

#include <functional>

namespace merlode {

/// Runs the event loop until `condition` holds, `seconds` at most; gives whether it held. The condition is
/// looked at after every event and every few milliseconds.
bool waitUntil(const std::function<bool()>& condition, double seconds = 10);

/// A message bus of its own for one test: nothing of the desktop's session is seen or disturbed. The daemon
/// ends with the object, or with the test program should that crash.
class PrivateBus {
  public:
    PrivateBus();
    ~PrivateBus();
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    /// Empty where the daemon did not come up.
    const QString& address() const { return address_; }

    /// A new connection to the bus, closed with this object.
    QDBusConnection connect();

    /// Ends the daemon under its users.
    void stop();

    /// What programs need in order to live on this bus and keep off the user's files: everything of theirs
    /// goes under `home`.
    QProcessEnvironment environment(const QString& home) const;

  private:
    QProcess daemon_;
    QString address_;
    QStringList connections_;
};

} // namespace merlode
