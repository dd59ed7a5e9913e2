#include "support/mpd_server.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QLocalSocket>
#include <QTimer>

#include <csignal>

#include <sys/prctl.h>

namespace merlode::testing_support {

static constexpr int kAskMilliseconds = 3000;

bool pumpUntil(const std::function<bool()>& condition, double seconds) {
    QTimer tick; // conditions may hold without an event
    tick.start(10);
    const QDeadlineTimer deadline(static_cast<qint64>(seconds * 1000));
    while (!condition()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

MpdServer::MpdServer() {
    QDir(folder_.path()).mkpath(QStringLiteral("music"));
    QDir(folder_.path()).mkpath(QStringLiteral("playlists"));
    QFile configuration(folder_.path() + QStringLiteral("/mpd.conf"));
    configuration.open(QIODevice::WriteOnly);
    const QString text = QStringLiteral("music_directory \"%1/music\"\nplaylist_directory \"%1/playlists\"\n"
                                        "db_file \"%1/database\"\nsticker_file \"%1/stickers.sql\"\n"
                                        "bind_to_address \"%1/socket\"\nlog_file \"%1/log\"\n"
                                        "zeroconf_enabled \"no\"\nfilesystem_charset \"UTF-8\"\n"
                                        "audio_output {\ntype \"null\"\nname \"none\"\n"
                                        "mixer_type \"software\"\n}\n");
    configuration.write(text.arg(folder_.path()).toUtf8());
}

bool MpdServer::start() {
    process_.setStandardErrorFile(folder_.path() + QStringLiteral("/errors"));
    process_.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGKILL); }); // also when a test is aborted
    process_.start(QStringLiteral("mpd"),
                   {QStringLiteral("--no-daemon"), folder_.path() + QStringLiteral("/mpd.conf")});
    const auto scanned = [this] { return ask("status").endsWith("OK\n") && value("updating_db").isEmpty(); };
    if (!process_.waitForStarted() || !pumpUntil(scanned))
        return false;
    ask("update");
    return pumpUntil(scanned);
}

void MpdServer::kill() {
    process_.kill();
    process_.waitForFinished();
}

QByteArray MpdServer::ask(const QByteArray& command) const {
    QLocalSocket socket;
    socket.connectToServer(socketPath());
    if (!socket.waitForConnected(kAskMilliseconds))
        return {};
    socket.write(command + '\n');
    QByteArray reply; // its first line is the greeting
    const auto isComplete = [&reply] {
        const auto last = reply.lastIndexOf('\n', -2) + 1;
        return last > 0 && reply.endsWith('\n') &&
               (reply.mid(last) == "OK\n" || reply.mid(last, 4) == "ACK ");
    };
    while (!isComplete() && socket.waitForReadyRead(kAskMilliseconds))
        reply += socket.readAll();
    return reply.mid(reply.indexOf('\n') + 1);
}

QByteArray MpdServer::value(const QByteArray& name, const QByteArray& command) const {
    for (const QByteArray& line : ask(command).split('\n')) {
        if (line.startsWith(name + ": "))
            return line.mid(name.size() + 2);
    }
    return {};
}

} // namespace merlode::testing_support
