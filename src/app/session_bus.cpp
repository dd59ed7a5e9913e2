#include "app/session_bus.h"

#include "base/control_interface.h"
#include "base/runtime_folder.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <csignal>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace merlode {

namespace {

constexpr int kBusStartMilliseconds = 2000;

bool busExists() {
    if (!qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS"))
        return true;
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    return !runtime.isEmpty() && QFileInfo::exists(runtime + QStringLiteral("/bus"));
}

QByteArray addressOf(const QString& socket) {
    return "unix:path=" + QFile::encodeName(socket);
}

bool answers(const QString& socket) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const QByteArray path = QFile::encodeName(socket);
    if (path.size() >= static_cast<qsizetype>(sizeof address.sun_path))
        return false;
    std::memcpy(address.sun_path, path.constData(), static_cast<std::size_t>(path.size()));
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool connected = fd >= 0 && connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    if (fd >= 0)
        close(fd);
    return connected;
}

// The daemon prints its address once it listens.
bool isUp(int fd) {
    pollfd waiting{fd, POLLIN, 0};
    char byte = 0;
    return poll(&waiting, 1, kBusStartMilliseconds) > 0 && read(fd, &byte, 1) == 1;
}

} // namespace

SessionBus::SessionBus() {
    if (busExists())
        return;
    // A program that was started before without a bus has left one that answers: then it is the one to use.
    const QString folder = runtimeFolder() + QStringLiteral("/merlode");
    const QString socket = folder + QStringLiteral("/bus");
    if (runtimeFolder().isEmpty() || !makePrivateFolder(folder)) {
        error_ = QStringLiteral("there is no session bus, and no folder for one of our own");
    } else if (answers(socket)) {
        qputenv("DBUS_SESSION_BUS_ADDRESS", addressOf(socket));
    } else {
        QFile::remove(socket);
        start(socket);
    }
}

SessionBus::~SessionBus() {
    if (process_ <= 0)
        return;
    if (!addressFile_.isEmpty())
        QFile::remove(addressFile_);
    kill(process_, SIGTERM);
    waitpid(process_, nullptr, 0);
}

void SessionBus::start(const QString& socket) {
    int ends[2];
    if (pipe(ends) != 0) {
        error_ = QStringLiteral("no session bus could be started: too many open files");
        return;
    }
    const QByteArray address = "--address=" + addressOf(socket);
    const QByteArray print = "--print-address=" + QByteArray::number(ends[1]);
    process_ = fork();
    if (process_ == 0) {
        prctl(PR_SET_PDEATHSIG, SIGTERM); // the bus never outlives the program
        close(ends[0]);
        // What it has to say of limits it cannot raise is of no use to anybody here.
        const int silence = open("/dev/null", O_WRONLY | O_CLOEXEC);
        dup2(silence, STDERR_FILENO);
        execlp("dbus-daemon", "dbus-daemon", "--session", "--nofork", "--nopidfile", address.constData(),
               print.constData(), static_cast<char*>(nullptr));
        _exit(127);
    }
    close(ends[1]);
    if (process_ > 0 && isUp(ends[0]))
        publish(socket);
    else
        error_ =
            QStringLiteral("there is no session bus, and dbus-daemon could not be started: install \"dbus\"");
    close(ends[0]);
}

void SessionBus::publish(const QString& socket) {
    qputenv("DBUS_SESSION_BUS_ADDRESS", addressOf(socket));
    addressFile_ = runtimeFolder() + u'/' + QString::fromLatin1(control::kBusAddressFile);
    QSaveFile file(addressFile_);
    if (file.open(QIODevice::WriteOnly)) {
        file.write(addressOf(socket));
        file.commit();
    }
}

} // namespace merlode
