#include "support/tray_host.h"

#include <QDBusInterface>
#include <QDBusReply>
#include <QDir>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace merlode {
namespace {

constexpr double kPatience = 60; ///< seconds; a deadline, never waited out when all is well

/// The program with its demo on a desktop of its own, which has a real bar.
class TrayTest : public testing::Test {
  protected:
    TrayTest() {
        // Whatever this desk shows notifications with would put them beside the panel.
        connection.registerService(u"org.freedesktop.Notifications"_qs);
        auto environment = host.environment();
        for (const auto& name : {u"run"_qs, u"tmp"_qs}) {
            QDir(home.path()).mkdir(name);
            QFile::setPermissions(home.filePath(name),
                                  QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        }
        environment.insert(u"XDG_RUNTIME_DIR"_qs, home.filePath(u"run"_qs));
        environment.insert(u"TMPDIR"_qs, home.filePath(u"tmp"_qs));
        program.setProcessEnvironment(environment);
        program.setProcessChannelMode(QProcess::ForwardedChannels);
    }
    ~TrayTest() override {
        program.kill();
        program.waitForFinished();
    }

    static bool wait(const std::function<bool()>& condition) { return waitUntil(condition, kPatience); }

    QString status(const QString& key) {
        QDBusInterface merlode(u"co.vantry.Merlode"_qs, u"/co/vantry/Merlode"_qs, u"co.vantry.Merlode1"_qs,
                               connection);
        return QDBusReply<QVariantMap>(merlode.call(u"Status"_qs)).value().value(key).toString();
    }
    /// The rows of the screen, below the bar, on which something other than the bare screen is to be seen.
    std::pair<int, int> rows() {
        constexpr int kBar = 34; // with its frame
        const QImage screen = host.screen();
        int first = -1, last = -1;
        for (int y = kBar; y < screen.height(); ++y) {
            for (int x = 0; x < screen.width(); x += 5) {
                if (screen.pixelColor(x, y).rgb() == qRgb(0, 0, 0))
                    continue;
                first = first < 0 ? y : first;
                last = y;
                break;
            }
        }
        return {first, last};
    }
    bool act(const QString& words) { return host.act(words.split(u' ')); }
    /// A click on the item; then the mouse goes away, so that no tip comes up.
    bool clickItem(int mouseButton) {
        return act(u"mousemove 12 16 click %1 mousemove 790 590"_qs.arg(mouseButton));
    }

    PrivateBus bus;
    const QTemporaryDir home;
    const TrayHost host{bus, home.path()};
    QDBusConnection connection = bus.connect();
    QProcess program;
};

TEST_F(TrayTest, AClickInARealBarDropsThePanelThatSearchesAndCloses) {
    ASSERT_TRUE(host.isUp());
    program.start(QStringLiteral(MERLODE_BIN_DIR "/merlode"), {u"--demo"_qs});
    ASSERT_TRUE(wait([&] { return status(u"state"_qs) == u"playing" && !status(u"artFile"_qs).isEmpty(); }))
        << status(u"state"_qs).toStdString();
    const QColor badge(0x11, 0x74, 0x80);
    const auto inBar = [&](int x) { return host.screen().pixelColor(x, 16); };
    ASSERT_TRUE(wait([&] { return inBar(6) == badge || inBar(8) == badge; })) << "the item is in the bar";
    const auto nothing = std::pair(-1, -1);
    ASSERT_EQ(rows(), nothing);

    ASSERT_TRUE(clickItem(1));
    ASSERT_TRUE(wait([&] { return rows().second > 200; })) << "a click drops the panel";
    const auto small = rows();
    EXPECT_LT(small.first, 60) << "right below the bar";
    EXPECT_TRUE(wait([&] {
        const auto ground = host.screen().pixelColor(100, small.second - 8);
        return ground.hsvSaturation() > 60; // the neutral scheme has none
    })) << "in the colours of the cover";

    ASSERT_TRUE(act(u"key ctrl+f"_qs) && act(u"type lantern"_qs) && act(u"key Return"_qs));
    ASSERT_TRUE(wait([&] { return rows().second > small.second + 150; })) << "it grows for what was found";
    EXPECT_EQ(rows().first, small.first) << "downward";
    ASSERT_TRUE(act(u"key Escape"_qs));
    EXPECT_TRUE(wait([&] { return rows() == small; }));
    ASSERT_TRUE(act(u"key Escape"_qs));
    EXPECT_TRUE(wait([&] { return rows() == nothing; }));

    ASSERT_TRUE(clickItem(1));
    ASSERT_TRUE(wait([&] { return rows() == small; }));
    ASSERT_TRUE(act(u"mousemove 700 500 click 1"_qs));
    EXPECT_TRUE(wait([&] { return rows() == nothing; })) << "a click elsewhere closes it";
    ASSERT_TRUE(clickItem(2));
    EXPECT_TRUE(wait([&] { return status(u"state"_qs) == u"paused"; })) << "the middle button pauses";

    QDBusInterface merlode(u"co.vantry.Merlode"_qs, u"/co/vantry/Merlode"_qs, u"co.vantry.Merlode1"_qs,
                           connection);
    merlode.call(u"Quit"_qs);
    ASSERT_TRUE(wait([&] { return program.state() == QProcess::NotRunning; }));
    EXPECT_EQ(program.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(program.exitCode(), 0);
}

} // namespace
} // namespace merlode
