#pragma once

#include "base/run_loop.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>

#include <functional>

namespace merlode {

/// Asynchronous calls to one player, and the verdict whether it hangs. A call that outlives
/// `kPlayerCallTimeout` while nothing else is heard of the player makes it count as hung: calls are then
/// swallowed but for one question every `kHungPlayerPause`, which is left with the player for as long: one
/// that was only busy, as many are while they start, is back the moment it answers. Main thread; never waits.
class MprisCalls final : public QObject {
    Q_OBJECT
  public:
    using Reply = std::function<void(const QDBusMessage& answer)>;

    struct Events {
        std::function<void()> hung;
        std::function<void()> revived;
    };

    /// `owner` is the unique bus name of the player: calls can then neither start a program nor reach a
    /// successor. The run loop must outlive this object.
    MprisCalls(QDBusConnection connection, QString owner, RunLoop& runLoop, Events events);

    /// Calls a method of the player. `reply` gets the answer or the error, a time-out included, unless this
    /// object goes first. False where the player is hung or gone: `reply` is then never called.
    bool send(const QString& interface, const QString& method, const QVariantList& arguments,
              Reply reply = {});

    /// As above for a method that is waited for, `seconds` at most. For start-up only.
    std::optional<QDBusMessage> sendAndWait(const QString& interface, const QString& method,
                                            const QVariantList& arguments, double seconds);

    /// Says that a signal of the player came: it lives.
    void heard();

    /// Ends all traffic; replies under way are dropped.
    void close();

    bool usable() const { return !closed_ && !hung_; }
    bool closed() const { return closed_; }

  private:
    QDBusMessage message(const QString& interface, const QString& method,
                         const QVariantList& arguments) const;
    void post(const QDBusMessage& call, double timeout, Reply reply);
    void judge(const QDBusMessage& answer, quint64 serial, quint64 signalsAtCall);
    void revive();
    void becomeHung();
    void probe(double timeout);

    QDBusConnection connection_;
    QString owner_;
    RunLoop& runLoop_;
    Events events_;
    Timer pause_;
    quint64 lastSerial_ = 0;
    quint64 lastAnswered_ = 0; // the latest call that was answered
    quint64 signals_ = 0;
    bool hung_ = false;
    bool closed_ = false;
};

} // namespace merlode
