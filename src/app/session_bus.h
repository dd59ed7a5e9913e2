#pragma once

#include <QString>

#include <memory>

namespace merlode {

/// Makes sure that there is a session bus, also on a machine without a desk. Where DBUS_SESSION_BUS_ADDRESS
/// is set or the user's bus socket exists nothing is done; else a bus is started that ends with the program,
/// and its address is put into the environment and into `control::kBusAddressFile`, where `merlodectl` finds
/// it. To be called before anything uses D-Bus. Main thread; waits up to two seconds for a new bus.
class SessionBus {
  public:
    SessionBus();
    /// Stops a bus that was started and removes its address.
    ~SessionBus();
    SessionBus(const SessionBus&) = delete;
    SessionBus& operator=(const SessionBus&) = delete;

    /// What went wrong; empty where there is a bus.
    const QString& error() const { return error_; }
    bool startedOwnBus() const { return process_ > 0; }

  private:
    void start(const QString& socket);
    void publish(const QString& socket);

    QString error_;
    QString addressFile_;
    int process_ = 0;
};

} // namespace merlode
