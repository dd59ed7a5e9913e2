#include "app/demo/demo_catalogue.h"
#include "base/control_interface.h"
#include "support/private_bus.h"

#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <QDBusContext>
#include <QDBusInterface>
#include <QDBusReply>
#include <QDBusUnixFileDescriptor>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <csignal>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace merlode {
namespace {

constexpr double kPatience = 20; ///< seconds; a deadline, never waited out when all is well
constexpr int kNotRunning = 3;   ///< what merlodectl ends with where there is nobody to talk to
constexpr int kNoPlayer = 4;

/// What a command ended with.
struct Outcome {
    int code = -1;
    QByteArray out;
    QByteArray errors;
    qint64 milliseconds = 0;
};

/// The program and merlodectl on a bus, in a home and in a temporary folder of their own.
class ProgramTest : public testing::Test {
  protected:
    ProgramTest() {
        for (const auto& name : {u"home"_qs, u"tmp"_qs, u"run"_qs}) {
            QDir(folder_.path()).mkdir(name);
            QFile::setPermissions(folder_.filePath(name),
                                  QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        }
        environment = bus.environment(folder_.filePath(u"home"_qs));
        environment.insert(u"XDG_RUNTIME_DIR"_qs, folder_.filePath(u"run"_qs));
        environment.insert(u"TMPDIR"_qs, folder_.filePath(u"tmp"_qs));
        environment.insert(u"DBUS_SYSTEM_BUS_ADDRESS"_qs, u"unix:path=/nowhere"_qs);
        for (const auto& name :
             {u"QT_QPA_PLATFORM"_qs, u"WAYLAND_DISPLAY"_qs, u"MPD_HOST"_qs, u"MPD_PORT"_qs})
            environment.remove(name);
    }
    ~ProgramTest() override {
        if (HasFailure())
            std::fputs(errorsSoFar().constData(), stderr);
        if (program.state() != QProcess::NotRunning) {
            program.kill();
            program.waitForFinished();
        }
        // A test that failed may have left something behind; nobody else has this folder in his environment.
        for (const int process : descendants().values())
            ::kill(process, SIGKILL);
    }

    void start(const QStringList& arguments) {
        program.setProcessEnvironment(environment);
        program.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGKILL); }); // should the test crash
        program.start(QStringLiteral(MERLODE_BIN_DIR "/merlode"), arguments);
    }
    /// Starts it headless, with the words that keep it off any mpd of this machine.
    void startHeadless() {
        const QString settings = configFolder();
        QDir().mkpath(settings);
        QFile file(settings + u"/Preferences.plist"_qs);
        if (!file.exists() && file.open(QIODevice::WriteOnly))
            file.write("<plist version=\"1.0\"><dict><key>Local Player Kind</key><string>private</string>"
                       "</dict></plist>");
        file.close();
        start({u"--headless"_qs});
    }
    /// Starts the demo and waits until it plays.
    void startDemo() {
        start({u"--demo"_qs});
        ASSERT_TRUE(becomes(u"state"_qs, u"playing"_qs)) << program.readAllStandardError().constData();
    }

    int waitForEnd() {
        EXPECT_TRUE(waitUntil([this] { return program.state() == QProcess::NotRunning; }, kPatience));
        errors += program.readAllStandardError();
        EXPECT_EQ(program.exitStatus(), QProcess::NormalExit);
        return program.exitCode();
    }
    QByteArray errorsSoFar() { return errors += program.readAllStandardError(); }

    Outcome run(const QString& executable, const QStringList& arguments) const {
        QProcess process;
        QElapsedTimer timer;
        timer.start();
        process.setProcessEnvironment(environment);
        process.start(executable, arguments);
        EXPECT_TRUE(process.waitForFinished(int(kPatience * 1000))) << executable.toStdString();
        return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
                process.readAllStandardOutput(), process.readAllStandardError(), timer.elapsed()};
    }
    Outcome merlode(const QStringList& arguments) const {
        return run(QStringLiteral(MERLODE_BIN_DIR "/merlode"), arguments);
    }
    /// merlodectl with these words.
    Outcome ctl(const char* words) const {
        return run(QStringLiteral(MERLODE_BIN_DIR "/merlodectl"), QString::fromUtf8(words).split(u' '));
    }
    QJsonObject status() const { return QJsonDocument::fromJson(ctl("status --json").out).object(); }
    bool becomes(const QString& key, const QJsonValue& value) const {
        return waitUntil([&] { return status().value(key) == value; }, kPatience);
    }
    bool answers() const {
        return waitUntil([this] { return ctl("status").code != kNotRunning; }, kPatience);
    }

    /// The processes that stem from this test, by their names. Those of a private mpd and bus count as well,
    /// and so would anything that had been let go.
    QMultiMap<QString, int> descendants() const {
        QMultiMap<QString, int> found;
        const QByteArray mark = "TMPDIR=" + folder_.filePath(u"tmp"_qs).toUtf8();
        const auto numbers = QDir(u"/proc"_qs).entryList(QDir::Dirs);
        for (const auto& number : numbers) {
            QFile variables(u"/proc/%1/environ"_qs.arg(number));
            QFile name(u"/proc/%1/comm"_qs.arg(number));
            if (number.toInt() > 0 && variables.open(QIODevice::ReadOnly) &&
                variables.readAll().split('\0').contains(mark) && name.open(QIODevice::ReadOnly))
                found.insert(QString::fromUtf8(name.readAll()).trimmed(), number.toInt());
        }
        return found;
    }
    bool nothingIsLeft() const {
        const QDir temporary(folder_.filePath(u"tmp"_qs));
        return waitUntil([&] { return descendants().isEmpty(); }) && temporary.isEmpty();
    }
    QString configFolder() const {
        return environment.value(u"XDG_CONFIG_HOME"_qs, folder_.filePath(u"home/.config"_qs)) +
               u"/co.vantry.Merlode"_qs;
    }

    QTemporaryDir folder_;
    PrivateBus bus;
    QProcessEnvironment environment;
    QProcess program;
    QByteArray errors;
};

TEST_F(ProgramTest, TheDemoPlaysItsFirstAlbumAndObeysEveryWord) {
    startDemo();
    const auto& album = demoCatalogue().front();
    const auto playing = status();
    EXPECT_EQ(playing.value(u"album"_qs), album.title);
    EXPECT_EQ(playing.value(u"title"_qs), album.tracks[0].title);
    EXPECT_EQ(playing.value(u"player"_qs), u"iTunes"_qs);

    EXPECT_EQ(ctl("next").code, 0);
    EXPECT_TRUE(becomes(u"title"_qs, album.tracks[1].title));
    EXPECT_EQ(ctl("pause").code, 0);
    EXPECT_TRUE(becomes(u"state"_qs, u"paused"_qs));
    EXPECT_EQ(ctl("volume 30").code, 0);
    EXPECT_TRUE(becomes(u"volume"_qs, 30));
    EXPECT_EQ(ctl("volume +5").code, 0);
    EXPECT_TRUE(becomes(u"volume"_qs, 35));
    EXPECT_EQ(ctl("seek 0:07").code, 0);
    EXPECT_TRUE(becomes(u"position"_qs, 7));
    EXPECT_EQ(ctl("seek +4").code, 0);
    EXPECT_TRUE(becomes(u"position"_qs, 11)) << "paused, it stays where it was put";
    EXPECT_NE(ctl("volume 101").code, 0);
    EXPECT_TRUE(waitUntil([this] { return status().contains(u"artFile"_qs); }, kPatience));

    const auto players = QJsonDocument::fromJson(ctl("players --json").out).array();
    ASSERT_GE(players.size(), 3);
    EXPECT_EQ(players[0].toObject().value(u"role"_qs), u"local"_qs);
    EXPECT_EQ(players[0].toObject().value(u"active"_qs), true);
    EXPECT_TRUE(players[0].toObject().value(u"program"_qs).toString().contains(u"private mpd"));
    EXPECT_TRUE(ctl("doctor").out.contains("mpd"));
    EXPECT_EQ(ctl("players use local mpd").code, 1) << "the demo keeps to its own music";

    const auto second = merlode({u"--headless"_qs});
    EXPECT_EQ(second.code, 0) << second.errors.constData();
    EXPECT_TRUE(second.errors.contains("runs already")) << second.errors.constData();
    EXPECT_EQ(merlode({u"--demo"_qs}).code, 1) << "this one was not asked to play a demo";

    EXPECT_EQ(ctl("quit").code, 0);
    EXPECT_EQ(waitForEnd(), 0) << errors.constData();
    EXPECT_EQ(errors, "merlode: there is no display, running as with --headless\n");
    EXPECT_TRUE(nothingIsLeft());
    EXPECT_EQ(ctl("status").code, kNotRunning);
}

// SIGTERM also comes in the middle of things: here while the rest of the music is being made.
TEST_F(ProgramTest, OneSearchFindsWhatSeveralServicesHaveAndARowPlays) {
    startDemo();
    const auto& album = demoCatalogue().front();
    const QByteArray words = "search --json " + album.title.toUtf8();
    int row = 0;
    EXPECT_TRUE(waitUntil(
        [&] {
            const auto found = QJsonDocument::fromJson(ctl(words.constData()).out).object();
            for (const auto& value : found[u"rows"].toArray()) {
                if (value[u"kind"].toString() == u"album" &&
                    value[u"services"].toArray() == QJsonArray({u"library"_qs, u"spotify"_qs}))
                    row = value[u"row"].toInt();
            }
            return row > 0;
        },
        kPatience));
    const QByteArray play = "play " + QByteArray::number(row);
    const auto refused = ctl((play + " --on spotify").constData());
    EXPECT_EQ(refused.code, 1);
    EXPECT_EQ(refused.errors, "merlodectl: Spotify is not installed: Please install Spotify\n");
    ASSERT_EQ(ctl("next").code, 0);
    EXPECT_EQ(ctl(play.constData()).code, 0);
    EXPECT_TRUE(becomes(u"title"_qs, album.tracks[0].title));
    EXPECT_TRUE(waitUntil([&] { return ctl("library").out.startsWith("up to date: "); }, kPatience));
    const auto nothing = ctl("search zzzqqqxxx");
    EXPECT_EQ(nothing.out, "nothing was found\n") << nothing.errors.constData();
    EXPECT_EQ(ctl(play.constData()).code, 1) << "the rows of the search before are gone";
}

// A keychain of this test's own, unlocked, in the test's home.
TEST_F(ProgramTest, AnAccountAtSpotifyIsKeptInTheKeychain) {
    constexpr auto kCredentials = "0123456789abcdef0123456789abcdef";
    const auto login = [&](const QByteArray& secret) {
        return run(u"sh"_qs, {u"-c"_qs, u"printf '%1\\n' | %2/merlodectl spotify login %3"_qs.arg(
                                            QString::fromLatin1(secret), QStringLiteral(MERLODE_BIN_DIR),
                                            QLatin1String(kCredentials))});
    };
    QProcess keychain;
    keychain.setProcessEnvironment(environment);
    keychain.start(u"gnome-keyring-daemon"_qs,
                   {u"--foreground"_qs, u"--unlock"_qs, u"--components=secrets"_qs});
    keychain.write("test");
    keychain.closeWriteChannel();
    auto* names = bus.connect().interface();
    ASSERT_TRUE(waitUntil([&] { return names->isServiceRegistered(u"org.freedesktop.secrets"_qs).value(); },
                          kPatience));

    startDemo();
    EXPECT_TRUE(ctl("spotify").out.startsWith("Not signed in."));
    EXPECT_EQ(login("").code, 1);
    EXPECT_EQ(login("wrong").errors, "merlodectl: Spotify did not accept them: it answered 400.\n");
    EXPECT_EQ(login(kCredentials).out, "Signed in to Spotify's catalogue.\n");
    const auto found = ctl("search --json lantern");
    EXPECT_TRUE(found.out.contains("\"spotify\"") && !found.out.contains("failure")) << found.out.constData();
    EXPECT_EQ(ctl("spotify logout").out, "Signed out.\n");
    EXPECT_TRUE(ctl("spotify").out.startsWith("Not signed in."));
    keychain.kill();
    keychain.waitForFinished();
}

TEST_F(ProgramTest, ATerminatedDemoLeavesNothingBehind) {
    startDemo();
    EXPECT_TRUE(descendants().contains(u"mpd"_qs));
    QElapsedTimer timer;
    timer.start();
    program.terminate();
    EXPECT_EQ(waitForEnd(), 0) << errors.constData();
    EXPECT_LT(timer.elapsed(), 5000) << "whoever ends it waits for no music";
    EXPECT_TRUE(nothingIsLeft());
}

TEST_F(ProgramTest, AKilledProgramTakesItsChildrenAlong) {
    environment.remove(u"DBUS_SESSION_BUS_ADDRESS"_qs);
    startDemo();
    EXPECT_TRUE(descendants().contains(u"mpd"_qs));
    EXPECT_TRUE(descendants().contains(u"dbus-daemon"_qs));
    program.kill();
    program.waitForFinished();
    EXPECT_TRUE(waitUntil([this] { return descendants().isEmpty(); }));

    // What it could not clear away is in nobody's way.
    EXPECT_EQ(ctl("status").code, kNotRunning);
    startHeadless();
    EXPECT_TRUE(answers());
}

TEST_F(ProgramTest, WithoutASessionBusItRunsOnOneOfItsOwn) {
    environment.remove(u"DBUS_SESSION_BUS_ADDRESS"_qs);
    startHeadless();
    ASSERT_TRUE(answers()) << errorsSoFar().constData();
    const auto second = merlode({u"--headless"_qs});
    EXPECT_EQ(second.code, 0);
    EXPECT_TRUE(second.errors.contains("runs already")) << second.errors.constData();
    EXPECT_EQ(ctl("quit").code, 0);
    EXPECT_EQ(waitForEnd(), 0) << errors.constData();
    EXPECT_TRUE(nothingIsLeft());
    EXPECT_FALSE(QFile::exists(folder_.filePath(u"run/"_qs) + QString::fromLatin1(control::kBusAddressFile)));
}

TEST_F(ProgramTest, ArgumentsThatItDoesNotKnowAreRefused) {
    const auto help = merlode({u"--help"_qs});
    EXPECT_EQ(help.code, 0);
    EXPECT_TRUE(help.out.contains("--headless") && help.out.contains("--demo"));
    EXPECT_EQ(merlode({u"--loud"_qs}).code, 2);
    EXPECT_EQ(merlode({u"play"_qs}).code, 2);
    EXPECT_TRUE(merlode({u"play"_qs}).errors.contains("merlodectl"));
}

TEST_F(ProgramTest, SettingsThatCannotBeKeptAreToldOfOnce) {
    QFile obstacle(folder_.filePath(u"obstacle"_qs));
    ASSERT_TRUE(obstacle.open(QIODevice::WriteOnly));
    environment.insert(u"XDG_CONFIG_HOME"_qs, obstacle.fileName());
    start({u"--headless"_qs});
    ASSERT_TRUE(answers());
    const auto complaints = [this] { return errorsSoFar().count("cannot be saved"); };
    EXPECT_EQ(ctl("players use rdio first").code, 0);
    EXPECT_TRUE(waitUntil([&] { return complaints() > 0; }));
    EXPECT_EQ(ctl("players use rdio second").code, 0);
    EXPECT_EQ(ctl("quit").code, 0); // tries again
    EXPECT_EQ(waitForEnd(), 0) << errors.constData();
    EXPECT_EQ(complaints(), 1) << errors.constData();
}

TEST_F(ProgramTest, MediaKeysReachIt) {
    startDemo();
    QDBusInterface properties(u"org.mpris.MediaPlayer2.merlode"_qs, u"/org/mpris/MediaPlayer2"_qs,
                              u"org.freedesktop.DBus.Properties"_qs, bus.connect());
    const QDBusReply<QVariantMap> reply = properties.call(u"GetAll"_qs, u"org.mpris.MediaPlayer2.Player"_qs);
    ASSERT_TRUE(reply.isValid()) << reply.error().message().toStdString();
    for (const auto& name : {u"CanPlay"_qs, u"CanPause"_qs, u"CanGoNext"_qs, u"CanSeek"_qs, u"CanControl"_qs})
        EXPECT_TRUE(reply.value().value(name).toBool()) << name.toStdString();
    EXPECT_EQ(reply.value().value(u"PlaybackStatus"_qs), u"Playing"_qs);

    const QString playerctl = QStandardPaths::findExecutable(u"playerctl"_qs);
    if (playerctl.isEmpty())
        GTEST_SKIP() << "playerctl is not installed";
    const auto title = run(playerctl, {u"-p"_qs, u"merlode"_qs, u"metadata"_qs, u"title"_qs});
    EXPECT_EQ(QString::fromUtf8(title.out).trimmed(), demoCatalogue().front().tracks[0].title);
    const QStringList artUrl{u"-p"_qs, u"merlode"_qs, u"metadata"_qs, u"mpris:artUrl"_qs};
    EXPECT_TRUE(waitUntil([&] { return run(playerctl, artUrl).out.startsWith("file:///"); }, kPatience));
    EXPECT_EQ(run(playerctl, {u"-p"_qs, u"merlode"_qs, u"pause"_qs}).code, 0);
    EXPECT_TRUE(becomes(u"state"_qs, u"paused"_qs));
}

TEST_F(ProgramTest, APlayerThatHangsOrDiesHoldsNothingUp) {
    startDemo();
    const int mpd = descendants().value(u"mpd"_qs);
    ASSERT_GT(mpd, 0);
    ASSERT_EQ(::kill(mpd, SIGSTOP), 0);
    EXPECT_EQ(ctl("pause").code, 0); // makes it wait for an answer
    for (int look = 0; look < 5; ++look) {
        const auto outcome = ctl("status");
        EXPECT_EQ(outcome.code, 0);
        EXPECT_LT(outcome.milliseconds, 1000);
    }
    ASSERT_EQ(::kill(mpd, SIGKILL), 0);
    QElapsedTimer timer;
    timer.start();
    EXPECT_TRUE(becomes(u"state"_qs, u"none"_qs));
    EXPECT_LT(timer.elapsed(), 1500) << "a second, and the time of the last look";
    EXPECT_EQ(ctl("next").code, kNoPlayer);
    program.terminate();
    EXPECT_EQ(waitForEnd(), 0) << errors.constData();
}

/// Stands in for the log-in manager.
class LogInManager : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.login1.Manager")
  public:
    explicit LogInManager(QDBusConnection bus) {
        EXPECT_TRUE(bus.registerObject(u"/org/freedesktop/login1"_qs, this,
                                       QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals));
        EXPECT_TRUE(bus.registerService(u"org.freedesktop.login1"_qs));
    }
    ~LogInManager() override { closeLock(); }

    bool isLockHeld() const {
        pollfd watched{lock_, POLLIN, 0};
        return lock_ >= 0 && ::poll(&watched, 1, 0) == 0;
    }

    QStringList inhibitions; ///< what and mode of each

  public Q_SLOTS:
    QDBusUnixFileDescriptor Inhibit(const QString& what, const QString&, const QString&,
                                    const QString& mode) {
        inhibitions << what + u' ' + mode;
        closeLock();
        int ends[2] = {-1, -1};
        EXPECT_EQ(::pipe2(ends, O_CLOEXEC), 0);
        lock_ = ends[0];
        QDBusUnixFileDescriptor held;
        held.giveFileDescriptor(ends[1]);
        return held;
    }

  Q_SIGNALS:
    void PrepareForSleep(bool start);

  private:
    void closeLock() {
        if (lock_ >= 0)
            ::close(std::exchange(lock_, -1));
    }

    int lock_ = -1;
};

TEST_F(ProgramTest, TheMachineWaitsForItBeforeItSleeps) {
    PrivateBus systemBus;
    LogInManager manager(systemBus.connect());
    environment.insert(u"DBUS_SYSTEM_BUS_ADDRESS"_qs, systemBus.address());
    startHeadless();
    for (const qsizetype night : {1, 2}) {
        ASSERT_TRUE(waitUntil([&] { return manager.inhibitions.size() == night; }, kPatience));
        EXPECT_EQ(manager.inhibitions.constLast(), u"sleep delay"_qs);
        ASSERT_TRUE(answers()); // it has had the lock by then
        EXPECT_TRUE(manager.isLockHeld());
        Q_EMIT manager.PrepareForSleep(true);
        EXPECT_TRUE(waitUntil([&] { return !manager.isLockHeld(); })) << "the machine may go";
        Q_EMIT manager.PrepareForSleep(false);
    }
    program.terminate();
    EXPECT_EQ(waitForEnd(), 0) << errors.constData();
}

} // namespace
} // namespace merlode

#include "program_test.moc"
