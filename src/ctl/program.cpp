#include "ctl/program.h"

#include "base/control_interface.h"
#include "base/runtime_folder.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusMetaType>
#include <QFile>
#include <QFileInfo>

#include <csignal>

#include <unistd.h>

namespace merlode::ctl {

namespace {

const QString kDoesNotAnswer = QStringLiteral("merlode does not answer");

QString ownBusAddress() {
    const auto folder = runtimeFolder();
    QFile file(folder + u'/' + QLatin1String(control::kBusAddressFile));
    if (folder.isEmpty() || !file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.read(4096)).trimmed();
}

QString loginBusAddress() {
    auto given = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
    if (!given.isEmpty())
        return given;
    const auto socket = qEnvironmentVariable("XDG_RUNTIME_DIR") + QStringLiteral("/bus");
    return QFileInfo::exists(socket) ? QStringLiteral("unix:path=") + socket : QString();
}

/// libdbus gives a bus 25 s to greet and cannot be told otherwise.
void endForSilentBus(int) {
    constexpr char text[] = "merlodectl: the session bus does not answer\n";
    [[maybe_unused]] const auto written = ::write(STDERR_FILENO, text, sizeof text - 1);
    ::_exit(kFailed);
}

QDBusMessage busCall(const QDBusConnection& bus, const QString& method, const QVariantList& arguments) {
    auto message = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"),
                                                  QStringLiteral("/org/freedesktop/DBus"),
                                                  QStringLiteral("org.freedesktop.DBus"), method);
    message.setArguments(arguments);
    return bus.call(message, QDBus::Block, Program::kTimeoutMilliseconds);
}

} // namespace

QStringList busAddresses() {
    QStringList addresses{loginBusAddress(), ownBusAddress()};
    // "autolaunch:" would start a bus that nobody else is on.
    addresses.removeIf(
        [](const QString& a) { return a.isEmpty() || a.startsWith(QStringLiteral("autolaunch")); });
    addresses.removeDuplicates();
    return addresses;
}

QJsonObject Reply::object() const {
    return QJsonObject::fromVariantMap(qdbus_cast<QVariantMap>(value));
}

QJsonArray Reply::array() const {
    QJsonArray result;
    for (const auto& map : qdbus_cast<QList<QVariantMap>>(value))
        result.append(QJsonObject::fromVariantMap(map));
    return result;
}

Reply failureOf(const QString& errorName, const QString& message) {
    if (errorName == QLatin1String(control::kErrorNoPlayer))
        return {kNoPlayer, message.isEmpty() ? QStringLiteral("no player is active") : message, {}};
    switch (QDBusError(QDBusMessage::createError(errorName, message)).type()) {
    case QDBusError::ServiceUnknown:
    case QDBusError::Disconnected:
        return {kNotRunning, QStringLiteral("merlode has quit"), {}};
    case QDBusError::NoReply:
    case QDBusError::Timeout:
    case QDBusError::TimedOut:
        return {kFailed, kDoesNotAnswer, {}};
    case QDBusError::UnknownMethod:
    case QDBusError::UnknownInterface:
    case QDBusError::UnknownObject:
        return {kFailed,
                QStringLiteral("the merlode that is running does not know this; is it an older one?"),
                {}};
    default:
        return {kFailed, message.isEmpty() ? errorName : message, {}};
    }
}

QDBusConnection openBus(const QString& address) {
    static int count = 0;
    const auto name = QStringLiteral("merlodectl-%1").arg(++count);
    std::signal(SIGALRM, endForSilentBus);
    ::alarm(Program::kTimeoutMilliseconds / 1000);
    auto bus = QDBusConnection::connectToBus(address, name);
    ::alarm(0);
    return bus;
}

std::unique_ptr<Program> Program::find() {
    for (const auto& address : busAddresses()) {
        const auto bus = openBus(address);
        std::unique_ptr<Program> program(new Program(bus.name()));
        if (bus.isConnected() && program->isThere())
            return program;
    }
    return nullptr;
}

Reply Program::notRunning() {
    return {kNotRunning,
            QStringLiteral(
                "merlode is not running; start it with: merlode (without a display: merlode --headless)"),
            {}};
}

Program::~Program() {
    QDBusConnection::disconnectFromBus(connectionName_);
}

bool Program::isThere() const {
    const auto reply = busCall(QDBusConnection(connectionName_), QStringLiteral("NameHasOwner"),
                               {QString::fromLatin1(control::kService)});
    return reply.type() == QDBusMessage::ReplyMessage && reply.arguments().value(0).toBool();
}

Reply Program::call(const char* method, const QVariantList& arguments, const char* signature,
                    int timeoutMilliseconds) const {
    auto message = QDBusMessage::createMethodCall(
        QString::fromLatin1(control::kService), QString::fromLatin1(control::kPath),
        QString::fromLatin1(control::kInterface), QString::fromLatin1(method));
    message.setAutoStartService(false);
    message.setArguments(arguments);
    const auto reply = QDBusConnection(connectionName_).call(message, QDBus::Block, timeoutMilliseconds);
    if (reply.type() != QDBusMessage::ReplyMessage) {
        auto failure = failureOf(reply.errorName(), reply.errorMessage());
        // The bus says the same of a program that ends while it owes a reply as of one that is too slow.
        if (failure.problem == kDoesNotAnswer && !isThere())
            return {kNotRunning, QStringLiteral("merlode has quit"), {}};
        return failure;
    }
    if (reply.signature() != QLatin1String(signature))
        return {kFailed,
                QStringLiteral("merlode's answer to %1 is not understood").arg(QLatin1String(method)),
                {}};
    return {kDone, {}, reply.arguments().value(0)};
}

} // namespace merlode::ctl
