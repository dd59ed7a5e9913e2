#pragma once

#include "ctl/exit_codes.h"

#include <QDBusConnection>
#include <QJsonArray>
#include <QJsonObject>
#include <QStringList>
#include <QVariant>

#include <memory>

namespace merlode::ctl {

/// The buses on which the program may be, the likeliest first: the login's session bus, and the bus that a
/// program without one has started for itself. Addresses only; whether anything answers there is not known.
QStringList busAddresses();

/// What became of a call.
struct Reply {
    ExitCode code = kDone;
    QString problem; ///< for people, when the code is not kDone
    QVariant value;  ///< the reply's argument, if one was asked for

    explicit operator bool() const { return code == kDone; }
    /// The argument as JSON, for the signatures a{sv} and aa{sv}.
    QJsonObject object() const;
    QJsonArray array() const;
};

/// What an error reply of this name and message means to us.
Reply failureOf(const QString& errorName, const QString& message);

/// The running program over the bus on which it was found.
class Program {
  public:
    /// No call takes longer; a person waits for it.
    static constexpr int kTimeoutMilliseconds = 3000;

    /// But a search, which waits for the slowest of the services.
    static constexpr int kSearchMilliseconds = 120'000;

    /// And signing in, for which somebody may have to unlock the keychain.
    static constexpr int kSignInMilliseconds = 100'000;
    /// And the link, where a machine may take its time to be found and to answer.
    static constexpr int kLinkMilliseconds = 45'000;

    /// The first bus of `busAddresses()` on which the program's name is owned, or null.
    static std::unique_ptr<Program> find();
    /// What to tell when there is none.
    static Reply notRunning();
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    /// Calls a method of the control interface and waits for the reply, whose signature must be `signature`
    /// (empty for methods that give nothing).
    Reply call(const char* method, const QVariantList& arguments = {}, const char* signature = "",
               int timeoutMilliseconds = kTimeoutMilliseconds) const;

  private:
    explicit Program(QString connectionName) : connectionName_(std::move(connectionName)) {}
    bool isThere() const;

    QString connectionName_;
};

/// A connection to the bus at `address`, perhaps one that is not connected. Its name is to be handed to
/// QDBusConnection::disconnectFromBus. Ends the process when the bus accepts but does not answer in time.
QDBusConnection openBus(const QString& address);

} // namespace merlode::ctl
