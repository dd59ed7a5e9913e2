#include "support/mpd_server.h"
#include "support/music_files.h"
#include "support/private_bus.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <csignal>

#include <gtest/gtest.h>
#include <sys/prctl.h>

namespace merlode {

using namespace testing_support;

namespace {

constexpr double kPatience = 25; ///< seconds; a deadline, never waited out when all is well

struct Outcome {
    int code = -1;
    QByteArray out;
    QByteArray errors;
};

Outcome runToEnd(const QStringList& words, const QProcessEnvironment& environment) {
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(words[0], words.mid(1));
    EXPECT_TRUE(process.waitForFinished(110'000)) << words.join(u' ').toStdString();
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            process.readAllStandardOutput(), process.readAllStandardError()};
}

/// One of two machines: the namespace of this process or, with the words that lead into it, another one.
class Host {
  public:
    explicit Host(QStringList enter)
        : enter_(std::move(enter)), environment(QProcessEnvironment::systemEnvironment()) {
        const QString home = folder_.path();
        for (const auto* name :
             {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM", "DBUS_SESSION_BUS_ADDRESS", "MPD_HOST",
              "MPD_PORT", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DATA_HOME"})
            environment.remove(QLatin1String(name));
        for (const auto& [name, folder] : {std::pair{"HOME", home}, {"XDG_RUNTIME_DIR", home}})
            environment.insert(QLatin1String(name), folder);
        environment.insert(u"DBUS_SYSTEM_BUS_ADDRESS"_qs, u"unix:path=/nowhere"_qs);
        QDir(home).mkpath(u".config/co.vantry.Merlode"_qs);
        QFile settings(home + u"/.config/co.vantry.Merlode/Preferences.plist"_qs);
        settings.open(QIODevice::WriteOnly);
        settings.write(
            "<plist version=\"1.0\"><dict><key>Local Player Kind</key><string>mpd</string></dict></plist>");
    }
    ~Host() { stop(SIGKILL); }

    void start(const QStringList& options = {}) {
        program_ = std::make_unique<QProcess>();
        program_->setProcessEnvironment(environment);
        program_->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        program_->setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGKILL); });
        const auto words =
            enter_ + QStringList{QStringLiteral(MERLODE_BIN_DIR "/merlode"), u"--headless"_qs} + options;
        program_->start(words[0], words.mid(1));
        EXPECT_TRUE(waitUntil([this] { return ctl("status").code != 3; }, kPatience));
    }
    void stop(int signal) {
        if (!program_ || program_->state() == QProcess::NotRunning)
            return;
        ::kill(static_cast<pid_t>(program_->processId()), signal);
        program_->waitForFinished();
    }
    Outcome ctl(const char* words) const {
        return runToEnd(enter_ + QStringList{QStringLiteral(MERLODE_BIN_DIR "/merlodectl")} +
                            QString::fromUtf8(words).split(u' '),
                        environment);
    }
    QString shows(const char* field) const {
        return QJsonDocument::fromJson(ctl("status --json").out)
            .object()
            .value(QLatin1String(field))
            .toString();
    }
    bool comesToShow(const char* field, const QString& value) const {
        return waitUntil([&] { return shows(field) == value; }, kPatience);
    }

  private:
    QStringList enter_;
    QTemporaryDir folder_;
    std::unique_ptr<QProcess> program_;

  public:
    QProcessEnvironment environment;
};

bool insideNamespace() {
    return qEnvironmentVariableIsSet("MERLODE_TEST_NAMESPACE");
}

const QStringList kIntoNamespace{u"unshare"_qs, u"--map-current-user"_qs, u"--keep-caps"_qs, u"--net"_qs,
                                 u"--"_qs};

void play(const QStringList& titles, MpdServer& mpd) {
    for (const auto& title : titles)
        writeMusicFile({mpd.musicFolder() + u'/' + title + u".flac"_qs, title, u"Album"_qs, {u"Artist"_qs}});
    ASSERT_TRUE(mpd.start());
    for (const auto& title : titles)
        mpd.ask("add \"" + title.toUtf8() + ".flac\"");
    mpd.ask("play 0");
}

/// Two machines that a cable joins, each with a network of its own. The tests run in a namespace where they
/// may lay cables: the program starts itself once more in there.
class LinkTest : public testing::Test {
  protected:
    void SetUp() override {
        if (insideNamespace())
            return layCable();
        const auto allowed =
            runToEnd(kIntoNamespace + QStringList{u"true"_qs}, QProcessEnvironment::systemEnvironment());
        if (allowed.code != 0)
            GTEST_SKIP() << "this machine lets nobody make user namespaces: " << allowed.errors.constData();
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"MERLODE_TEST_NAMESPACE"_qs, u"1"_qs);
        environment.remove(u"GTEST_OUTPUT"_qs);
        const auto* test = testing::UnitTest::GetInstance()->current_test_info();
        const auto filter = u"--gtest_filter=%1.%2"_qs.arg(QLatin1String(test->test_suite_name()),
                                                           QLatin1String(test->name()));
        const auto inside = runToEnd(
            kIntoNamespace + QStringList{QCoreApplication::applicationFilePath(), filter}, environment);
        EXPECT_EQ(inside.code, 0) << inside.out.constData() << inside.errors.constData();
    }

    void layCable() {
        otherNetwork_.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGKILL); });
        otherNetwork_.start(u"unshare"_qs, {u"--net"_qs, u"sh"_qs, u"-c"_qs,
                                            u"ip link set lo up; echo up; exec sleep 600"_qs});
        ASSERT_TRUE(otherNetwork_.waitForReadyRead());
        const auto process = QString::number(otherNetwork_.processId());
        enterOther = {u"nsenter"_qs, u"--net"_qs, u"--target"_qs, process, u"--"_qs};
        ip({}, "link set lo up");
        ip({}, "link add cable0 type veth peer name cable1");
        ip({}, ("link set cable1 netns " + process.toLatin1()).constData());
        for (const auto& [enter, words] : {std::pair{QStringList(), "address add 10.77.0.1/24 dev cable0"},
                                           {QStringList(), "link set cable0 up"},
                                           {enterOther, "address add 10.77.0.2/24 dev cable1"},
                                           {enterOther, "link set cable1 up"}})
            ip(enter, words);
    }
    static void ip(const QStringList& enter, const char* words) {
        const auto outcome = runToEnd(enter + QStringList{u"ip"_qs} + QString::fromLatin1(words).split(u' '),
                                      QProcessEnvironment::systemEnvironment());
        EXPECT_EQ(outcome.code, 0) << words << ": " << outcome.errors.constData();
    }

    QStringList enterOther;

  private:
    QProcess otherNetwork_;
};

} // namespace

TEST_F(LinkTest, OneMachinePlaysAndAnotherDrivesItThroughALostNetworkAndALostServer) {
    if (!insideNamespace())
        return;
    MpdServer mpd;
    MpdServer kitchenMpd;
    play({u"One"_qs, u"Two"_qs, u"Three"_qs}, mpd);
    play({u"Own"_qs}, kitchenMpd);
    Host den({});
    den.environment.insert(u"MPD_HOST"_qs, mpd.socketPath());
    Host kitchen(enterOther);
    kitchen.environment.insert(u"MPD_HOST"_qs, kitchenMpd.socketPath());
    den.start();
    kitchen.start();
    ASSERT_TRUE(den.comesToShow("title", u"One"_qs));
    EXPECT_EQ(den.shows("role"), u"local");
    EXPECT_EQ(den.ctl("name Den").code, 0);
    EXPECT_NE(den.ctl("name 0123456789012345678901234567890123456789012345678901234567890123").code, 0);
    EXPECT_TRUE(den.ctl("serve on").out.contains("as \"Den\""));
    EXPECT_EQ(den.shows("role"), u"server");

    EXPECT_EQ(kitchen.ctl("hosts").out, "  Den\n");
    const auto unknown = kitchen.ctl("connect Moon");
    EXPECT_TRUE(unknown.code == 1 && unknown.errors.contains("No host \"Moon\" was found"))
        << unknown.errors.constData();
    EXPECT_EQ(kitchen.ctl("connect Den").out, "Connected to Den.\n");
    EXPECT_EQ(kitchen.shows("role"), u"client of Den");
    EXPECT_TRUE(kitchen.comesToShow("title", u"One"_qs));
    EXPECT_TRUE(waitUntil([&] { return kitchenMpd.value("state") == "pause"; }, kPatience));
    EXPECT_EQ(kitchen.ctl("name Pantry").code, 0);
    EXPECT_EQ(kitchen.shows("role"),
              u"client of Den"); // its own player, which fell silent, did not take over
    EXPECT_EQ(kitchen.ctl("next").code, 0);
    EXPECT_TRUE(kitchen.comesToShow("title", u"Two"_qs));
    EXPECT_EQ(mpd.value("song"), "1");

    ip({}, "link set cable0 down");
    mpd.ask("play 2");
    EXPECT_TRUE(den.comesToShow("title", u"Three"_qs));
    EXPECT_EQ(kitchen.shows("title"), u"Two");
    ip({}, "link set cable0 up");
    EXPECT_TRUE(kitchen.comesToShow("title", u"Three"_qs));

    den.stop(SIGKILL); // without a good-bye
    EXPECT_TRUE(kitchen.comesToShow("role", u"local"_qs));
    den.start({u"--serve"_qs});
    EXPECT_TRUE(waitUntil([&] { return kitchen.ctl("connect Den").code == 0; }, kPatience));
    EXPECT_TRUE(kitchen.comesToShow("title", u"Three"_qs));
    den.stop(SIGTERM);
    EXPECT_TRUE(kitchen.comesToShow("role", u"local"_qs));
    EXPECT_TRUE(waitUntil([&] { return kitchen.ctl("hosts").out == "no host was found\n"; }, kPatience));
    EXPECT_EQ(kitchen.ctl("disconnect").code, 1);
    EXPECT_TRUE(kitchen.comesToShow("title", u"Own"_qs));
}

} // namespace merlode
