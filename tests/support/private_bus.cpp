#include "support/private_bus.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>

#include <atomic>
#include <csignal>

#include <sys/prctl.h>

namespace merlode {

namespace {

constexpr int kDeadlineMilliseconds = 10'000;
constexpr int kLookMilliseconds = 5;

} // namespace

bool waitUntil(const std::function<bool()>& condition, double seconds) {
    const QDeadlineTimer deadline(static_cast<qint64>(seconds * 1000));
    QTimer look; // wakes the wait below
    look.start(kLookMilliseconds);
    while (!condition()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

PrivateBus::PrivateBus() {
    auto variables = QProcessEnvironment::systemEnvironment();
    variables.remove(u"DISPLAY"_qs); // services that the bus starts keep off the tester's screen
    daemon_.setProcessEnvironment(variables);
    // What it and the services that it starts complain of would fill a pipe that nobody reads, and block it.
    daemon_.setStandardErrorFile(QProcess::nullDevice());
    daemon_.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGTERM); });
    daemon_.start(u"dbus-daemon"_qs, {u"--session"_qs, u"--print-address"_qs, u"--nofork"_qs});
    while (!daemon_.canReadLine() && daemon_.waitForReadyRead(kDeadlineMilliseconds)) {
    }
    address_ = QString::fromLocal8Bit(daemon_.readLine()).trimmed();
}

PrivateBus::~PrivateBus() {
    for (const auto& name : std::as_const(connections_))
        QDBusConnection::disconnectFromBus(name);
    stop();
}

void PrivateBus::stop() {
    daemon_.terminate();
    daemon_.waitForFinished(kDeadlineMilliseconds);
}

QDBusConnection PrivateBus::connect() {
    static std::atomic<int> count = 0;
    connections_ += u"private-bus-%1"_qs.arg(++count);
    return QDBusConnection::connectToBus(address_, connections_.constLast());
}

QProcessEnvironment PrivateBus::environment(const QString& home) const {
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_qs, address_);
    environment.insert(u"HOME"_qs, home);
    environment.insert(u"XDG_RUNTIME_DIR"_qs, home);
    environment.insert(u"TMPDIR"_qs, home); // where programs look whether they run already
    environment.insert(u"QT_QPA_PLATFORM"_qs, u"offscreen"_qs);
    for (const auto& name : {u"XDG_CONFIG_HOME"_qs, u"XDG_DATA_HOME"_qs, u"XDG_CACHE_HOME"_qs, u"DISPLAY"_qs})
        environment.remove(name);
    return environment;
}

} // namespace merlode
