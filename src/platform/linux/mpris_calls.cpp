#include "platform/linux/mpris_calls.h"

#include "platform/linux/mpris_names.h"
#include "platform/scripted_player.h"

#include <QDBusError>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>

namespace merlode {

namespace {

Q_LOGGING_CATEGORY(lcCalls, "merlode.platform", QtWarningMsg)

int milliseconds(double seconds) {
    return std::max(1, static_cast<int>(seconds * 1000));
}

bool isTimeout(const QDBusMessage& answer) {
    if (answer.type() != QDBusMessage::ErrorMessage)
        return false;
    const auto type = QDBusError(answer).type();
    return type == QDBusError::NoReply || type == QDBusError::Timeout || type == QDBusError::TimedOut;
}

} // namespace

MprisCalls::MprisCalls(QDBusConnection connection, QString owner, RunLoop& runLoop, Events events)
    : connection_(std::move(connection)),
      owner_(std::move(owner)),
      runLoop_(runLoop),
      events_(std::move(events)) {}

QDBusMessage MprisCalls::message(const QString& interface, const QString& method,
                                 const QVariantList& arguments) const {
    auto call = QDBusMessage::createMethodCall(owner_, mpris::kObjectPath, interface, method);
    call.setArguments(arguments);
    call.setAutoStartService(false);
    return call;
}

bool MprisCalls::send(const QString& interface, const QString& method, const QVariantList& arguments,
                      Reply reply) {
    if (!usable())
        return false;
    post(message(interface, method, arguments), kPlayerCallTimeout, std::move(reply));
    return true;
}

void MprisCalls::post(const QDBusMessage& call, double timeout, Reply reply) {
    const auto pending = connection_.asyncCall(call, milliseconds(timeout));
    auto* watcher = new QDBusPendingCallWatcher(pending, this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, serial = ++lastSerial_, heardBefore = signals_,
             reply = std::move(reply)](QDBusPendingCallWatcher* finished) {
                finished->deleteLater();
                if (closed_)
                    return;
                const QDBusMessage answer = finished->reply();
                judge(answer, serial, heardBefore);
                if (reply)
                    reply(answer);
            });
}

std::optional<QDBusMessage> MprisCalls::sendAndWait(const QString& interface, const QString& method,
                                                    const QVariantList& arguments, double seconds) {
    if (!usable() || seconds <= 0)
        return std::nullopt;
    const double limit = std::min(seconds, kPlayerCallTimeout);
    const auto answer =
        connection_.call(message(interface, method, arguments), QDBus::Block, milliseconds(limit));
    return answer;
}

void MprisCalls::judge(const QDBusMessage& answer, quint64 serial, quint64 signalsAtCall) {
    if (!isTimeout(answer)) {
        lastAnswered_ = std::max(lastAnswered_, serial);
        revive();
    } else if (lastAnswered_ < serial && signals_ == signalsAtCall) {
        becomeHung();
    } else if (!hung_) {
        // One method that is slow to answer is no hang; but the other sign may have been the last one.
        probe(kPlayerCallTimeout);
    }
}

void MprisCalls::heard() {
    ++signals_;
    revive();
}

void MprisCalls::revive() {
    if (closed_ || !std::exchange(hung_, false))
        return;
    qCInfo(lcCalls) << "player" << owner_ << "answers again";
    pause_.invalidate();
    events_.revived();
}

void MprisCalls::becomeHung() {
    if (std::exchange(hung_, true))
        return;
    qCWarning(lcCalls) << "player" << owner_ << "does not answer";
    pause_ = runLoop_.every(kHungPlayerPause, [this] { probe(kHungPlayerPause); });
    probe(kHungPlayerPause);
    events_.hung();
}

// Asks for a property of the player itself: bus libraries answer a ping on their own, hung or not.
void MprisCalls::probe(double timeout) {
    post(message(mpris::kPropertiesInterface, u"Get"_qs, {mpris::kPlayerInterface, u"PlaybackStatus"_qs}),
         timeout, {});
}

void MprisCalls::close() {
    closed_ = true;
    pause_.invalidate();
}

} // namespace merlode
