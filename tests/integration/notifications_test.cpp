#include "base/dispatch_queue.h"
#include "platform/linux/freedesktop_notification_center.h"
#include "support/private_bus.h"
#include "support/virtual_run_loop.h"

#include <QDBusArgument>
#include <QDBusVirtualObject>
#include <QImage>

#include <gtest/gtest.h>

namespace merlode {
namespace {

const QString kName = u"org.freedesktop.Notifications"_qs;
const QString kObject = u"/org/freedesktop/Notifications"_qs;

/// A notification daemon that does what a test says.
class Daemon final : public QDBusVirtualObject {
  public:
    explicit Daemon(PrivateBus& bus, QStringList capabilities = {u"actions"_qs, u"body-markup"_qs})
        : bus_(bus.connect()), capabilities_(std::move(capabilities)) {
        EXPECT_TRUE(bus_.registerVirtualObject(kObject, this));
        EXPECT_TRUE(bus_.registerService(kName));
    }
    ~Daemon() override { bus_.unregisterService(kName); }

    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        const bool notify = message.member() == u"Notify";
        if (notify)
            shown << message.arguments();
        else
            ++questions;
        if (mute)
            return true;
        if (!error.isEmpty())
            return connection.send(message.createErrorReply(error, u"not today"_qs));
        const auto right = notify ? QVariantList{++lastId} : QVariantList{capabilities_};
        return connection.send(message.createReply(garbage.isEmpty() ? right : garbage));
    }
    void emitSignal(const QString& name, const QVariantList& arguments) {
        auto signal = QDBusMessage::createSignal(kObject, kName, name);
        signal.setArguments(arguments);
        bus_.send(signal);
    }

    QList<QVariantList> shown; ///< the arguments of each Notify
    int questions = 0;         ///< other calls
    bool mute = false;
    QString error;
    QVariantList garbage; ///< answered in place of what is right
    quint32 lastId = 0;

  private:
    QDBusConnection bus_;
    QStringList capabilities_;
};

class NotificationsTest : public testing::Test, public UserNotificationCenterDelegate {
  protected:
    NotificationsTest() { center.setDelegate(this); }

    bool shouldPresentNotification(const UserNotification&) override { return agrees; }
    void didActivateNotification(const UserNotification& notification) override {
        activated << notification.title;
    }

    void deliver(const QString& title, const QString& type = u"Playing Notification"_qs, Image image = {}) {
        center.deliver({title, u"A & B <i>"_qs, std::move(image), {{u"type"_qs, type}}});
    }
    bool wait(const std::function<bool()>& condition) {
        return waitUntil([&] {
            loop.runUntilIdle();
            return condition();
        });
    }
    /// Delivers until the daemon shows this title: what came before has been dealt with then.
    bool shows(Daemon& daemon, const QString& title) {
        deliver(title);
        return wait([&] { return !daemon.shown.isEmpty() && daemon.shown.constLast().value(3) == title; });
    }

    PrivateBus bus;
    VirtualRunLoop loop;
    VirtualExecutor executor{loop};
    DispatchQueue queue{u"notifications"_qs, executor, nullptr};
    FreedesktopNotificationCenter center{bus.connect(), loop, queue, 0.5};
    bool agrees = true;
    QStringList activated;
};

TEST_F(NotificationsTest, ATrackArrivesAsTheDaemonCanShowIt) {
    for (const bool markup : {true, false}) {
        Daemon daemon(bus, markup ? QStringList{u"body-markup"_qs, u"actions"_qs} : QStringList());
        deliver(u"Salt & <Pepper>"_qs, u"Playing Notification"_qs,
                Image(QImage(600, 300, QImage::Format_RGB32)));
        ASSERT_TRUE(wait([&] { return daemon.shown.size() == 1; }));
        const auto arguments = daemon.shown.constFirst();
        EXPECT_EQ(arguments.value(0), u"Merlode"_qs);
        EXPECT_EQ(arguments.value(3), u"Salt & <Pepper>"_qs) << "a summary is never markup";
        EXPECT_EQ(arguments.value(4), markup ? u"A &amp; B &lt;i&gt;"_qs : u"A & B <i>"_qs);
        EXPECT_EQ(arguments.value(5).toStringList().isEmpty(), !markup) << "who has no actions is given none";
        const auto hints = qdbus_cast<QVariantMap>(arguments.value(6));
        EXPECT_EQ(hints.value(u"urgency"_qs), QVariant::fromValue(uchar(0)));
        EXPECT_EQ(hints.value(u"desktop-entry"_qs), u"merlode"_qs);
        const auto picture = qdbus_cast<NotificationPicture>(hints.value(u"image-data"_qs));
        EXPECT_EQ(picture.width, 256);
        EXPECT_EQ(picture.height, 128);
        EXPECT_EQ(picture.bytes.size(), picture.rowStride * picture.height);
        EXPECT_EQ(picture.rowStride, picture.width * picture.channels);
    }
    Daemon daemon(bus);
    agrees = false;
    deliver(u"Unwanted"_qs);
    agrees = true;
    EXPECT_TRUE(shows(daemon, u"Wanted"_qs));
    EXPECT_EQ(daemon.shown.size(), 1);
}

TEST_F(NotificationsTest, OneOfAKindIsReplacedAndAClickIsTheOneClicked) {
    Daemon daemon(bus);
    const auto replaced = [&] { return daemon.shown.constLast().value(1).toUInt(); };
    ASSERT_TRUE(shows(daemon, u"One"_qs)); // 1
    EXPECT_EQ(replaced(), 0u);
    deliver(u"Liked"_qs, u"Favorite Notification"_qs);
    ASSERT_TRUE(wait([&] { return daemon.lastId == 2; }));
    EXPECT_EQ(replaced(), 0u) << "another kind stands beside it";
    ASSERT_TRUE(shows(daemon, u"Two"_qs)); // 3
    EXPECT_EQ(replaced(), 1u);

    auto stranger = bus.connect();
    auto forged = QDBusMessage::createSignal(kObject, kName, u"ActionInvoked"_qs);
    stranger.send(forged << 3u << u"default"_qs);
    daemon.emitSignal(u"ActionInvoked"_qs, {77u, u"default"_qs});
    daemon.emitSignal(u"ActionInvoked"_qs, {3u, u"other"_qs});
    daemon.emitSignal(u"ActionInvoked"_qs, {u"default"_qs, 3u});
    daemon.emitSignal(u"ActionInvoked"_qs, {2u, u"default"_qs});
    ASSERT_TRUE(wait([&] { return !activated.isEmpty(); }));
    daemon.emitSignal(u"NotificationClosed"_qs, {3u, 2u});
    daemon.emitSignal(u"ActionInvoked"_qs, {3u, u"default"_qs});
    daemon.emitSignal(u"ActionInvoked"_qs, {2u, u"default"_qs});
    ASSERT_TRUE(wait([&] { return activated.size() > 1; }));
    EXPECT_EQ(activated, (QStringList{u"Liked"_qs, u"Liked"_qs}));
    ASSERT_TRUE(shows(daemon, u"Three"_qs));
    EXPECT_EQ(replaced(), 0u) << "the one before has been closed";
}

TEST_F(NotificationsTest, AHungDaemonIsNotLeftWithAQueue) {
    Daemon daemon(bus);
    ASSERT_TRUE(shows(daemon, u"One"_qs));
    daemon.mute = true;
    ASSERT_TRUE(shows(daemon, u"Two"_qs));
    for (int number = 3; number < 100; ++number)
        deliver(QString::number(number));
    ASSERT_TRUE(wait([&] { return daemon.questions == 2; })) << "the call has run out of time";
    daemon.mute = false;
    ASSERT_TRUE(wait([&] { // the question runs out of time as well
        deliver(u"Newest"_qs);
        return daemon.shown.size() > 2;
    }));
    EXPECT_EQ(daemon.shown.size(), 3);
    EXPECT_EQ(daemon.shown.constLast().value(3), u"Newest"_qs);
}

TEST_F(NotificationsTest, WhateverTheDaemonDoesTheNextOneIsShown) {
    deliver(u"Nobody is there"_qs);
    auto daemon = std::make_unique<Daemon>(bus);
    ASSERT_TRUE(shows(*daemon, u"One"_qs));
    daemon->error = u"org.freedesktop.DBus.Error.LimitsExceeded"_qs;
    ASSERT_TRUE(shows(*daemon, u"Refused"_qs));
    daemon->error.clear();
    for (const auto& garbage : {QVariant(u"text"_qs), QVariant(-1), QVariant(QVariantMap())}) {
        daemon->garbage = {garbage};
        ASSERT_TRUE(shows(*daemon, QString::fromLatin1(garbage.typeName())));
    }
    daemon->garbage.clear();
    ASSERT_TRUE(shows(*daemon, u"Two"_qs));

    daemon.reset();
    daemon = std::make_unique<Daemon>(bus);
    ASSERT_TRUE(shows(*daemon, u"Three"_qs));
    EXPECT_EQ(daemon->shown.constLast().value(1).toUInt(), 0u) << "its ids are not its predecessor's";
}

} // namespace
} // namespace merlode
