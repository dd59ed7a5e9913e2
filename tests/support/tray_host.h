#pragma once

#include "support/private_bus.h"

#include <QImage>
#include <QProcess>
#include <QString>

namespace merlode {

/// A screen of its own with nothing on it but a bar of a real desktop (Xfce's), 32 pixels high at the top,
/// which shows items from its left end on. Both end with the object, or with the test program should that
/// crash.
class TrayHost {
  public:
    /// The bar lives on `bus` and keeps its files under `home`. Waits until it takes items, forty seconds at
    /// most.
    TrayHost(PrivateBus& bus, const QString& home);
    ~TrayHost();
    TrayHost(const TrayHost&) = delete;
    TrayHost& operator=(const TrayHost&) = delete;

    /// Whether the bar came up.
    bool isUp() const { return isUp_; }
    /// For programs that are to show their windows and their item here.
    const QProcessEnvironment& environment() const { return environment_; }

    /// What is on the screen; null where that cannot be told.
    QImage screen() const;
    /// Moves the mouse, presses keys: the words of one xdotool command. False where it failed.
    bool act(const QStringList& words) const;

  private:
    void startScreen();
    void writeSettings(const QString& home) const;
    bool takesItems() const;
    QByteArray run(const QString& program, const QStringList& arguments) const;

    QDBusConnection connection_;
    QProcessEnvironment environment_;
    QProcess screen_;
    QProcess bar_;
    bool isUp_ = false;
};

} // namespace merlode
