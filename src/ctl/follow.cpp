#include "ctl/follow.h"

#include "base/control_interface.h"
#include "base/runtime_folder.h"
#include "ctl/output.h"
#include "ctl/program.h"
#include "ctl/render.h"

#include <QDBusServiceWatcher>
#include <QDBusUnixFileDescriptor>
#include <QEventLoop>
#include <QFileInfo>
#include <QFileSystemWatcher>
#include <QJsonDocument>

#include <cerrno>
#include <csignal>
#include <thread>

#include <poll.h>
#include <unistd.h>

namespace merlode::ctl {

namespace {

void endDone(int) {
    ::_exit(kDone);
}

/// Ends the process once nobody reads standard output: a bar that was restarted must not leave us behind
/// until the next change. Its own thread, since the main one blocks in a read or an event loop.
void endWithReader() {
    std::thread([] {
        pollfd reader{STDOUT_FILENO, 0, 0};
        while (::poll(&reader, 1, -1) < 0 && errno == EINTR) {
        }
        ::_exit(kDone);
    }).detach();
}

void print(StatusPrinter& printer, const QJsonObject& status) {
    const auto line = printer.next(status);
    if (line && !printOut(*line))
        ::_exit(kDone);
}

/// Prints a line for each status out of the pipe until its other end closes. No event loop between: a change
/// costs one read, one parse and one write.
void printStatuses(int pipe, StatusPrinter& printer) {
    LineBuffer lines;
    char chunk[16384];
    for (;;) {
        const auto count = ::read(pipe, chunk, sizeof chunk);
        if (count > 0) {
            lines.append(chunk, count);
            while (const auto line = lines.next()) {
                const auto status = QJsonDocument::fromJson(*line);
                if (status.isObject())
                    print(printer, status.object());
            }
        } else if (count < 0 && errno == EAGAIN) {
            pollfd ready{pipe, POLLIN, 0};
            ::poll(&ready, 1, -1);
        } else if (count == 0 || errno != EINTR) {
            return;
        }
    }
}

/// Returns when the program may have come: its name was taken on one of the buses, or a bus may be new.
void waitForChange() {
    QEventLoop loop;
    QStringList names;
    std::vector<std::unique_ptr<QDBusServiceWatcher>> watchers;
    for (const auto& address : busAddresses()) {
        const auto bus = openBus(address);
        names << bus.name();
        watchers.push_back(std::make_unique<QDBusServiceWatcher>(QString::fromLatin1(control::kService), bus,
                                                                 QDBusServiceWatcher::WatchForRegistration));
        QObject::connect(watchers.back().get(), &QDBusServiceWatcher::serviceRegistered, &loop,
                         &QEventLoop::quit);
    }
    QFileSystemWatcher files;
    const auto folder = runtimeFolder();
    const auto addressFile = folder + u'/' + QLatin1String(control::kBusAddressFile);
    for (const auto& path : {folder, QFileInfo(addressFile).path(), addressFile}) {
        if (QFileInfo::exists(path))
            files.addPath(path);
    }
    QObject::connect(&files, &QFileSystemWatcher::directoryChanged, &loop, &QEventLoop::quit);
    QObject::connect(&files, &QFileSystemWatcher::fileChanged, &loop, &QEventLoop::quit);
    // It may have come before the watching began.
    if (!Program::find())
        loop.exec();
    watchers.clear();
    for (const auto& name : names)
        QDBusConnection::disconnectFromBus(name);
}

/// Follows the program that is running now until it quits.
Reply followOnce(StatusPrinter& printer) {
    const auto program = Program::find();
    if (!program)
        return Program::notRunning();
    auto reply = program->call("Follow", {}, "h");
    if (!reply)
        return reply;
    const auto pipe = reply.value.value<QDBusUnixFileDescriptor>();
    if (!pipe.isValid())
        return {kFailed, QStringLiteral("this bus does not pass on the pipe that status --follow reads"), {}};
    printStatuses(pipe.fileDescriptor(), printer);
    return {kNotRunning, QStringLiteral("merlode has quit"), {}};
}

} // namespace

void LineBuffer::append(const char* bytes, qsizetype count) {
    bytes_.remove(0, std::exchange(read_, 0));
    bytes_.append(bytes, count);
    if (bytes_.size() > kLongestLine && bytes_.indexOf('\n') < 0) {
        bytes_.clear();
        dropping_ = true;
    }
}

std::optional<QByteArray> LineBuffer::next() {
    for (;;) {
        const auto end = bytes_.indexOf('\n', read_);
        if (end < 0)
            return std::nullopt;
        const auto line = bytes_.mid(read_, end - read_);
        read_ = end + 1;
        if (!std::exchange(dropping_, false))
            return line;
    }
}

std::optional<QByteArray> StatusPrinter::next(const QJsonObject& status) {
    QByteArray line;
    if (json_)
        line = jsonLine(status);
    else
        line = (format_ ? format_->render(status) : statusLine(status)).toUtf8() + '\n';
    if (line == previous_)
        return std::nullopt;
    previous_ = line;
    return line;
}

int follow(const Command& command) {
    std::signal(SIGINT, endDone);
    std::signal(SIGTERM, endDone);
    endWithReader();
    StatusPrinter printer(command);
    for (;;) {
        const auto end = followOnce(printer);
        if (end.code != kNotRunning || !command.wait) {
            printProblem(end.problem);
            return end.code;
        }
        // A bar must not go on showing what was playing.
        print(printer, {{QLatin1String(control::status::kState), QStringLiteral("none")}});
        waitForChange();
    }
}

} // namespace merlode::ctl
