#include "base/control_interface.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMetaType>
#include <QDBusUnixFileDescriptor>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>

#include <csignal>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace merlode;

namespace {

constexpr int kPatience = 20000; ///< milliseconds; a deadline, never waited out when all is well

/// Runs the event loop until `condition` holds; false at the deadline.
bool eventually(const std::function<bool()>& condition) {
    QTimer deadline;
    deadline.setSingleShot(true);
    deadline.start(kPatience);
    while (!condition()) {
        if (!deadline.isActive())
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

class PrivateBus {
  public:
    PrivateBus() {
        QFile config(folder_.filePath(QStringLiteral("bus.conf")));
        EXPECT_TRUE(config.open(QIODevice::WriteOnly));
        config.write("<busconfig><type>session</type><listen>unix:dir=" + folder_.path().toUtf8() +
                     "</listen><policy context=\"default\"><allow send_destination=\"*\"/><allow "
                     "receive_sender=\"*\"/><allow own=\"*\"/>"
                     "</policy></busconfig>");
        config.close();
        daemon_.start(QStringLiteral("dbus-daemon"),
                      {QStringLiteral("--config-file=") + config.fileName(), QStringLiteral("--nofork"),
                       QStringLiteral("--print-address")});
        EXPECT_TRUE(eventually([this] { return daemon_.canReadLine(); }));
        address = QString::fromUtf8(daemon_.readLine()).trimmed();
    }
    ~PrivateBus() {
        daemon_.kill();
        daemon_.waitForFinished();
    }
    /// Keeps accepting connections, answers nothing.
    void freeze() const { ::kill(static_cast<pid_t>(daemon_.processId()), SIGSTOP); }

    QString address;

  private:
    QTemporaryDir folder_;
    QProcess daemon_;
};

using Maps = QList<QVariantMap>;

/// Stands in for the running program.
class ProgramDouble : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "co.vantry.Merlode1")

  public:
    explicit ProgramDouble(const QString& address) : bus_(connect(address)) {
        qDBusRegisterMetaType<Maps>();
        EXPECT_TRUE(
            bus_.registerObject(QString::fromLatin1(control::kPath), this, QDBusConnection::ExportAllSlots));
        EXPECT_TRUE(bus_.registerService(QString::fromLatin1(control::kService)));
    }
    ~ProgramDouble() override {
        hangUp();
        leave();
    }

    void send(const char* line) {
        const auto text = QByteArray(line) + '\n';
        EXPECT_EQ(::write(pipe_, text.constData(), static_cast<size_t>(text.size())), text.size());
    }
    bool isFollowed() const { return pipe_ >= 0; }
    void hangUp() {
        if (pipe_ >= 0)
            ::close(std::exchange(pipe_, -1));
    }

    QStringList calls;
    QVariantMap status{{QStringLiteral("state"), QStringLiteral("playing")},
                       {QStringLiteral("title"), QStringLiteral("Kite")},
                       {QStringLiteral("duration"), 200},
                       {QStringLiteral("volume"), 40}};
    QString error; ///< the name of the error that every method gives, if any
    bool silent = false;

  public Q_SLOTS: // clang-format off
    QVariantMap Status() { note(QStringLiteral("Status")); return status; }
    QDBusUnixFileDescriptor Follow() { note(QStringLiteral("Follow")); return openPipe(); }
    void PlayPause() { note(QStringLiteral("PlayPause")); }
    void Play() { note(QStringLiteral("Play")); }
    void Pause() { note(QStringLiteral("Pause")); }
    void Next() { note(QStringLiteral("Next")); }
    void Previous() { note(QStringLiteral("Previous")); }
    void Seek(double seconds) { note(QStringLiteral("Seek %1").arg(seconds)); }
    void SeekBy(double seconds) { note(QStringLiteral("SeekBy %1").arg(seconds)); }
    void SetVolume(int volume) { note(QStringLiteral("SetVolume %1").arg(volume)); }
    void ChangeVolume(int by) { note(QStringLiteral("ChangeVolume %1").arg(by)); }
    void ToggleMute() { note(QStringLiteral("ToggleMute")); }
    Maps Players() { note(QStringLiteral("Players"));
                     return {{{QStringLiteral("role"), QStringLiteral("local")}, {QStringLiteral("running"), true}}}; }
    void UsePlayer(const QString& role, const QString& program) { note(QStringLiteral("UsePlayer ") + role + u' ' + program); }
    Maps Doctor() { note(QStringLiteral("Doctor"));
                    return {{{QStringLiteral("name"), QStringLiteral("MPD")}, {QStringLiteral("state"), QStringLiteral("missing")}}}; }
    void Reopen() { note(QStringLiteral("Reopen")); }
    void Quit() { setDelayedReply(true); QTimer::singleShot(0, this, &ProgramDouble::leave); }
                  // clang-format on

  private:
    static QDBusConnection connect(const QString& address) {
        static int count = 0;
        return QDBusConnection::connectToBus(address, QStringLiteral("double-%1").arg(++count));
    }

    void note(const QString& call) {
        calls << call;
        setDelayedReply(silent);
        if (!error.isEmpty())
            sendErrorReply(error, QStringLiteral("it\x1b[2J cannot"));
    }

    void leave() {
        QDBusConnection::disconnectFromBus(bus_.name());
        bus_ = QDBusConnection(QString()); // the last handle closes the connection
    }

    QDBusUnixFileDescriptor openPipe() {
        int ends[2] = {-1, -1};
        EXPECT_EQ(::pipe2(ends, O_CLOEXEC | O_NONBLOCK), 0);
        hangUp();
        pipe_ = ends[1];
        QDBusUnixFileDescriptor reading;
        reading.giveFileDescriptor(ends[0]);
        return reading;
    }

    QDBusConnection bus_;
    int pipe_ = -1;
};

/// merlodectl with a runtime folder and a session bus of its own.
class MerlodectlTest : public testing::Test {
  protected:
    MerlodectlTest() {
        environment_.insert(QStringLiteral("XDG_RUNTIME_DIR"), runtime_.path());
        environment_.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), bus_.address);
    }
    ~MerlodectlTest() override {
        if (process_.state() != QProcess::NotRunning) {
            process_.kill();
            process_.waitForFinished();
        }
    }

    void start(const QStringList& arguments) {
        out_.clear();
        errors_.clear();
        process_.setProcessEnvironment(environment_);
        process_.start(executable_, arguments);
    }
    int finish() {
        EXPECT_TRUE(eventually([this] { return process_.state() == QProcess::NotRunning; }));
        EXPECT_EQ(process_.exitStatus(), QProcess::NormalExit);
        out_ += process_.readAllStandardOutput();
        errors_ += process_.readAllStandardError();
        return process_.exitCode();
    }
    int run(const QStringList& arguments) {
        start(arguments);
        return finish();
    }
    int run(const char* arguments) { return run(QString::fromUtf8(arguments).split(u' ')); }

    /// The next line of a merlodectl that goes on running.
    QByteArray line() {
        EXPECT_TRUE(eventually([this] { return process_.canReadLine(); }));
        return process_.readLine();
    }

    QTemporaryDir runtime_;
    PrivateBus bus_;
    QString executable_ = QStringLiteral(MERLODE_BIN_DIR "/merlodectl");
    QProcessEnvironment environment_ = QProcessEnvironment::systemEnvironment();
    QProcess process_;
    QByteArray out_;
    QByteArray errors_;
};

} // namespace

TEST_F(MerlodectlTest, EachWordMakesItsCall) {
    ProgramDouble program(bus_.address);
    const std::vector<std::tuple<const char*, const char*, int>> cases{
        {"play-pause", "PlayPause", 0},
        {"play", "Play", 0},
        {"pause", "Pause", 0},
        {"next", "Next", 0},
        {"previous", "Previous", 0},
        {"seek 1:05", "Seek 65", 0},
        {"seek -5", "SeekBy -5", 0},
        {"seek 25%", "Status,Seek 50", 0},
        {"volume 30", "SetVolume 30", 0},
        {"volume -5", "ChangeVolume -5", 0},
        {"volume", "Status", 0},
        {"mute", "ToggleMute", 0},
        {"players use rdio mpd", "UsePlayer rdio mpd", 0},
        {"players", "Players", 0},
        {"doctor", "Doctor", 1},
        {"open", "Reopen", 0},
        {"sing", "", 2},
    };
    for (const auto& [arguments, calls, code] : cases) {
        program.calls.clear();
        EXPECT_EQ(run(arguments), code) << arguments << ": " << errors_.constData();
        EXPECT_EQ(program.calls.join(u',').toStdString(), calls) << arguments;
    }
}

TEST_F(MerlodectlTest, PrintsWhatTheProgramTells) {
    ProgramDouble program(bus_.address);
    EXPECT_EQ(run("volume"), 0);
    EXPECT_EQ(out_, "40\n");
    EXPECT_EQ(run("status"), 0);
    EXPECT_EQ(out_, "State     playing\nTitle     Kite\nPosition  3:20\nVolume    40\n");
    EXPECT_EQ(run("status --format {title}"), 0);
    EXPECT_EQ(out_, "Kite\n");
    EXPECT_EQ(run("players"), 0);
    EXPECT_EQ(out_, "  ROLE   PROGRAM  STATE\n  local  -        running\n");
    program.status.clear();
    EXPECT_EQ(run("volume"), 4);
    EXPECT_EQ(run("seek 50%"), 4);
    EXPECT_EQ(run("status --json"), 4);
    EXPECT_EQ(out_, "{}\n");
}

TEST_F(MerlodectlTest, FailuresHaveTheirExitCodes) {
    EXPECT_EQ(run("play"), 3);
    EXPECT_TRUE(errors_.contains("merlode is not running")) << errors_.constData();
    ProgramDouble program(bus_.address);
    program.error = QString::fromLatin1(control::kErrorNoPlayer);
    EXPECT_EQ(run("play"), 4);
    program.error = QString::fromLatin1(control::kErrorNotSupported);
    EXPECT_EQ(run("status"), 1);
    EXPECT_EQ(errors_, "merlodectl: it\xef\xbf\xbd[2J cannot\n");
    program.error.clear();
    program.silent = true;
    EXPECT_EQ(run("status"), 1);
    EXPECT_EQ(errors_, "merlodectl: merlode does not answer\n");
    program.silent = false;
    EXPECT_EQ(run("quit"), 0) << errors_.constData();
    EXPECT_EQ(run("quit"), 3);
}

TEST_F(MerlodectlTest, ABusThatHangsDoesNotHangUs) {
    bus_.freeze();
    EXPECT_EQ(run("status"), 1);
    EXPECT_TRUE(errors_.contains("does not answer")) << errors_.constData();
}

TEST_F(MerlodectlTest, FindsAProgramOnABusOfItsOwn) {
    const PrivateBus own;
    ProgramDouble program(own.address);
    ASSERT_TRUE(QDir(runtime_.path()).mkdir(QStringLiteral("merlode")));
    QFile file(runtime_.filePath(QString::fromLatin1(control::kBusAddressFile)));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(own.address.toUtf8() + '\n');
    file.close();
    EXPECT_EQ(run("next"), 0) << errors_.constData();
    environment_.remove(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"));
    EXPECT_EQ(run("next"), 0) << errors_.constData();
    environment_.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), QStringLiteral("unix:path=/nowhere"));
    EXPECT_EQ(run("next"), 0) << errors_.constData();
    EXPECT_EQ(program.calls.size(), 3);
}

TEST_F(MerlodectlTest, FollowPrintsEachChangeUntilTheProgramQuits) {
    ProgramDouble program(bus_.address);
    start({QStringLiteral("status"), QStringLiteral("--follow"), QStringLiteral("--format={title}")});
    ASSERT_TRUE(eventually([&] { return program.isFollowed(); }));
    program.send(R"({"title":"Kite","position":1})");
    EXPECT_EQ(line(), "Kite\n");
    program.send(R"({"title":"Kite","position":2})");
    program.send("nonsense");
    program.send(R"({"title":"Lantern"})");
    EXPECT_EQ(line(), "Lantern\n");
    program.hangUp();
    EXPECT_EQ(finish(), 3);
    EXPECT_EQ(errors_, "merlodectl: merlode has quit\n");
}

TEST_F(MerlodectlTest, FollowWaitsForTheProgramToComeBack) {
    start({QStringLiteral("status"), QStringLiteral("--follow"), QStringLiteral("--wait"),
           QStringLiteral("--format={state}")});
    EXPECT_EQ(line(), "none\n");
    for (int round = 0; round < 2; ++round) {
        ProgramDouble program(bus_.address);
        ASSERT_TRUE(eventually([&] { return program.isFollowed(); }));
        program.send(R"({"state":"paused"})");
        EXPECT_EQ(line(), "paused\n");
        // The pipe closes a moment before the name is given up.
        program.hangUp();
        EXPECT_EQ(line(), "none\n");
    }
    ::kill(static_cast<pid_t>(process_.processId()), SIGINT);
    EXPECT_EQ(finish(), 0);
}

TEST_F(MerlodectlTest, FollowEndsWhenNobodyReads) {
    // The reader goes after the first line; no second one makes us notice.
    const auto command =
        executable_ + QStringLiteral(" status --follow --wait | head -n 1; exit ${PIPESTATUS[0]}");
    executable_ = QStringLiteral("bash");
    EXPECT_EQ(run({QStringLiteral("-c"), command}), 0) << "while waiting";
    EXPECT_EQ(out_, "no player is active\n");

    ProgramDouble program(bus_.address);
    start({QStringLiteral("-c"), command});
    ASSERT_TRUE(eventually([&] { return program.isFollowed(); }));
    program.send(R"({"state":"paused"})");
    EXPECT_EQ(finish(), 0) << "while following";
    EXPECT_EQ(out_, "paused\n");
}

TEST_F(MerlodectlTest, DoctorRunsTheProgramsChecksWhenItIsNotRunning) {
    const QTemporaryDir folder;
    const auto copy = folder.filePath(QStringLiteral("merlodectl"));
    ASSERT_TRUE(QFile::copy(executable_, copy));
    QFile script(folder.filePath(QStringLiteral("merlode")));
    ASSERT_TRUE(script.open(QIODevice::WriteOnly));
    script.write("#!/bin/sh\n[ \"$1\" = --doctor ] || exit 9\n"
                 "echo '[{\"name\":\"MPD\",\"state\":\"ok\",\"found\":\"0.23\",\"mend\":\"\"}]'\n");
    script.close();
    ASSERT_TRUE(script.setPermissions(QFile::ReadOwner | QFile::ExeOwner));
    executable_ = copy;
    EXPECT_EQ(run("doctor"), 0) << errors_.constData();
    EXPECT_TRUE(out_.startsWith("warning  merlode: not running\n")) << out_.constData();
    EXPECT_TRUE(out_.endsWith("ok       MPD: 0.23\n")) << out_.constData();
    EXPECT_EQ(run("doctor --json"), 0);
    EXPECT_EQ(QJsonDocument::fromJson(out_).array().size(), 2);

    ASSERT_TRUE(script.open(QIODevice::WriteOnly));
    script.write("#!/bin/sh\necho broken\n");
    script.close();
    EXPECT_EQ(run("doctor"), 3);
}

#include "merlodectl_test.moc"
