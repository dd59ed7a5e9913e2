#include "platform/linux/sleep_monitor.h"

#include "base/notification_names.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QPointer>

namespace merlode {

namespace {
const QString kLogin = QStringLiteral("org.freedesktop.login1");
const QString kLoginPath = QStringLiteral("/org/freedesktop/login1");
const QString kManager = QStringLiteral("org.freedesktop.login1.Manager");
} // namespace

SleepMonitor::SleepMonitor(const QDBusConnection& systemBus, Session& session)
    : bus_(systemBus), session_(session) {
    if (!bus_.isConnected())
        return;
    bus_.connect(kLogin, kLoginPath, kManager, QStringLiteral("PrepareForSleep"), this,
                 SLOT(prepareForSleep(bool)));
    takeDelayLock();
}

void SleepMonitor::takeDelayLock() {
    auto call = QDBusMessage::createMethodCall(kLogin, kLoginPath, kManager, QStringLiteral("Inhibit"));
    call << QStringLiteral("sleep") << QStringLiteral("Merlode")
         << QStringLiteral("Leaves the shared player in an orderly way") << QStringLiteral("delay");
    const auto* watcher = new QDBusPendingCallWatcher(bus_.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* finished) {
        const QDBusPendingReply<QDBusUnixFileDescriptor> reply = *finished;
        if (reply.isValid())
            delayLock_ = reply.value();
        finished->deleteLater();
    });
}

void SleepMonitor::prepareForSleep(bool start) {
    session_.runLoop().async([self = QPointer(this), start] {
        if (!self)
            return;
        auto& center = self->session_.workspaceCenter();
        center.post(start ? notifications::kWorkspaceWillSleep : notifications::kWorkspaceDidWake);
        if (start)
            self->delayLock_ = {}; // the machine may go now
        else
            self->takeDelayLock();
    });
}

} // namespace merlode
