#include "platform/linux/dbus_menu.h"
#include "support/tray_host.h"
#include "ui/widgets/panel_style.h"

#include <QDir>
#include <QTemporaryDir>

#include <algorithm>
#include <iterator>

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
        const auto reply =
            ask(u"co.vantry.Merlode"_qs, u"/co/vantry/Merlode"_qs, u"co.vantry.Merlode1/Status"_qs, {});
        return qdbus_cast<QVariantMap>(reply.arguments().value(0)).value(key).toString();
    }
    /// What is to be seen below the bar on the bare screen: the panel, or nothing.
    QRect panel() {
        constexpr int kBar = 34; // with its frame
        const QImage screen = host.screen().convertToFormat(QImage::Format_RGB32);
        QRect seen;
        for (int y = kBar; y < screen.height(); ++y) {
            const auto* row = reinterpret_cast<const QRgb*>(screen.constScanLine(y));
            const auto isBare = [](QRgb pixel) { return pixel == qRgb(0, 0, 0); };
            const auto first = std::find_if_not(row, row + screen.width(), isBare) - row;
            if (first == screen.width())
                continue;
            const auto bare = std::find_if_not(std::reverse_iterator(row + screen.width()),
                                               std::reverse_iterator(row), isBare);
            seen |= QRect(QPoint(int(first), y), QPoint(int(bare.base() - row) - 1, y));
        }
        return seen;
    }
    QDBusMessage ask(const QString& service, const QString& path, const QString& method,
                     const QVariantList& arguments) {
        auto call = QDBusMessage::createMethodCall(service, path, method.section(u'/', 0, 0),
                                                   method.section(u'/', 1));
        call.setArguments(arguments);
        return connection.call(call);
    }
    /// Chooses the entry in the menu of the one item that the bar has.
    void choose(const QString& label) {
        const QString watcher = u"org.kde.StatusNotifierWatcher"_qs, menu = u"com.canonical.dbusmenu/"_qs;
        const auto items =
            ask(watcher, u"/StatusNotifierWatcher"_qs, u"org.freedesktop.DBus.Properties/Get"_qs,
                {watcher, u"RegisteredStatusNotifierItems"_qs});
        const auto names = items.arguments().value(0).value<QDBusVariant>().variant().toStringList();
        ASSERT_EQ(names.size(), 1);
        const QString item = names[0].section(u'/', 0, 0), path = DBusMenu::path();
        const auto reply = ask(item, path, menu + u"GetLayout"_qs, {0, 1, QStringList()});
        for (const auto& entry : qdbus_cast<DBusMenuLayout>(reply.arguments().value(1)).children) {
            if (entry.properties[u"label"_qs] == label)
                ask(item, path, menu + u"Event"_qs,
                    {entry.id, u"clicked"_qs, QVariant::fromValue(QDBusVariant(0)), 0u});
        }
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
    const QRect nothing;
    ASSERT_EQ(panel(), nothing);

    ASSERT_TRUE(clickItem(1));
    ASSERT_TRUE(wait([&] { return panel().bottom() > 200; })) << "a click drops the panel";
    const QRect small = panel();
    EXPECT_LT(small.top(), 60) << "right below the bar";
    EXPECT_NEAR(small.width(), panelsize::kWidth, 2) << "nothing of it is beyond the screen's edge";
    EXPECT_LT(small.left(), 12) << "beneath the item";
    EXPECT_TRUE(wait([&] {
        const auto ground = host.screen().pixelColor(100, small.bottom() - 8);
        return ground.hsvSaturation() > 60; // the neutral scheme has none
    })) << "in the colours of the cover";

    ASSERT_TRUE(act(u"key ctrl+f"_qs) && act(u"type lantern"_qs) && act(u"key Return"_qs));
    ASSERT_TRUE(wait([&] { return panel().bottom() > small.bottom() + 150; }))
        << "it grows for what was found";
    EXPECT_EQ(panel().topLeft(), small.topLeft()) << "downward";
    ASSERT_TRUE(act(u"key Escape"_qs));
    EXPECT_TRUE(wait([&] { return panel() == small; }));
    ASSERT_TRUE(act(u"key Escape"_qs));
    EXPECT_TRUE(wait([&] { return panel() == nothing; }));

    ASSERT_TRUE(clickItem(1));
    ASSERT_TRUE(wait([&] { return panel() == small; }));
    ASSERT_TRUE(act(u"mousemove 700 500 click 1"_qs));
    EXPECT_TRUE(wait([&] { return panel() == nothing; })) << "a click elsewhere closes it";
    ASSERT_TRUE(clickItem(2));
    EXPECT_TRUE(wait([&] { return status(u"state"_qs) == u"paused"; })) << "the middle button pauses";

    choose(u"Quit"_qs);
    ASSERT_TRUE(wait([&] { return program.state() == QProcess::NotRunning; }));
    EXPECT_EQ(program.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(program.exitCode(), 0);
}

} // namespace
} // namespace merlode
