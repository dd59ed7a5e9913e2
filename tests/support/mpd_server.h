#pragma once

#include <QProcess>
#include <QString>
#include <QTemporaryDir>

#include <functional>

namespace merlode::testing_support {

/// Runs the Qt event loop until the condition holds; false after `seconds`.
bool pumpUntil(const std::function<bool()>& condition, double seconds = 5);

/// A real mpd with a silent output that keeps real time, in a folder of its own, and a plain client on it
/// that shares no code with the program.
class MpdServer {
  public:
    MpdServer();
    ~MpdServer() { kill(); }

    QString musicFolder() const { return folder_.path() + QStringLiteral("/music"); }
    QString socketPath() const { return folder_.path() + QStringLiteral("/socket"); }
    qint64 processId() const { return process_.processId(); }

    /// Starts it and waits until the music folder is scanned.
    bool start();
    /// Kills it without a chance to tidy up.
    void kill();

    /// The reply to a command of an independent client, up to and with its OK or ACK line. Blocks.
    QByteArray ask(const QByteArray& command) const;
    /// One value of "status", or of another command's reply.
    QByteArray value(const QByteArray& name, const QByteArray& command = "status") const;

  private:
    QTemporaryDir folder_;
    QProcess process_;
};

} // namespace merlode::testing_support
