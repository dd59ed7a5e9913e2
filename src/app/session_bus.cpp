#include "app/session_bus.h"

#include "base/control_interface.h"
#include "base/runtime_folder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <array>
#include <csignal>

#include <poll.h>
#include <spawn.h>
#include <sys/prctl.h>
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

} // namespace

SessionBus::SessionBus() {
    if (!busExists())
        start();
}

SessionBus::~SessionBus() {
    if (process_ <= 0)
        return;
    QFile::remove(addressFile_);
    kill(process_, SIGTERM);
    waitpid(process_, nullptr, 0);
}

void SessionBus::start() {
    int ends[2];
    if (pipe(ends) != 0) {
        error_ = QStringLiteral("no session bus could be started: too many open files");
        return;
    }
    const QByteArray address = "--print-address=" + QByteArray::number(ends[1]);
    process_ = fork();
    if (process_ == 0) {
        prctl(PR_SET_PDEATHSIG, SIGTERM); // the bus never outlives the program
        close(ends[0]);
        execlp("dbus-daemon", "dbus-daemon", "--session", "--nofork", "--nopidfile", address.constData(),
               static_cast<char*>(nullptr));
        _exit(127);
    }
    close(ends[1]);
    if (process_ < 0 || !readAddress(ends[0]))
        error_ = QStringLiteral("there is no session bus, and dbus-daemon could not be started: install \"dbus\"");
    close(ends[0]);
}

bool SessionBus::readAddress(int fd) {
    QByteArray address;
    pollfd waiting{fd, POLLIN, 0};
    while (!address.contains('\n') && poll(&waiting, 1, kBusStartMilliseconds) > 0) {
        std::array<char, 512> buffer{};
        const ssize_t count = read(fd, buffer.data(), buffer.size());
        if (count <= 0)
            break;
        address.append(buffer.data(), count);
    }
    address = address.trimmed();
    if (address.isEmpty())
        return false;
    qputenv("DBUS_SESSION_BUS_ADDRESS", address);
    addressFile_ = runtimeFolder() + u'/' + QString::fromLatin1(control::kBusAddressFile);
    QDir().mkpath(QFileInfo(addressFile_).absolutePath());
    QSaveFile file(addressFile_);
    if (file.open(QIODevice::WriteOnly)) {
        file.write(address);
        file.commit();
    }
    return true;
}

} // namespace merlode
