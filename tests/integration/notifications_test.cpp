#include "platform/activation_token.h"
#include "platform/linux/freedesktop_notification_center.h"
#include "support/private_bus.h"
#include "support/test_session.h"

#include <QDBusArgument>
#include <QDBusVirtualObject>

#include <gtest/gtest.h>

namespace merlode {
namespace {

const QString kName = u"org.freedesktop.Notifications"_qs;
const QString kObject = u"/org/freedesktop/Notifications"_qs;

QDBusMessage said(const QString& name, const QVariant& first, const QVariant& second) {
    return QDBusMessage::createSignal(kObject, kName, name) << first << second;
}

/// A notification daemon that does what a test says.
struct Daemon final : QDBusVirtualObject {
    explicit Daemon(PrivateBus& bus) : connection(bus.connect()) {
        EXPECT_TRUE(connection.registerVirtualObject(kObject, this) && connection.registerService(kName));
    }
    ~Daemon() override { connection.unregisterService(kName); }

    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& call, const QDBusConnection&) override {
        const bool notify = call.member() == u"Notify";
        questions += notify ? 0 : 1;
        if (notify)
            shown.append(call.arguments());
        const QVariantList right{notify ? QVariant(quint32(shown.size())) : QVariant(abilities)};
        return mute || connection.send(error.isEmpty() ? call.createReply(garbage.value_or(right))
                                                       : call.createErrorReply(error, u"no"_qs));
    }
    quint32 replaced() const { return shown.constLast().at(1).toUInt(); }

    QDBusConnection connection;
    QStringList abilities{u"actions"_qs, u"body-markup"_qs};
    QList<QVariantList> shown; ///< the arguments of each Notify, numbered from 1
    int questions = 0;         ///< other calls
    bool mute = false;
    QString error;
    std::optional<QVariantList> garbage; ///< answered in place of what is right
};

class NotificationsTest : public testing::Test, public UserNotificationCenterDelegate {
  protected:
    NotificationsTest() { center.setDelegate(this); }
    bool shouldPresentNotification(const UserNotification& given) override { return given.title != u"No"; }
    void didActivateNotification(const UserNotification& given) override { activated << given.title; }

    void deliver(const QString& title) {
        const Image image(QImage(600, 300, QImage::Format_RGB32));
        center.deliver({title, u"A & B"_qs, image, {{u"type"_qs, title.left(8)}}});
    }
    bool wait(auto condition) {
        return waitUntil([&] { return test.loop.runUntilIdle(), condition(); });
    }
    bool shows(Daemon& daemon, const QString& title) {
        deliver(title);
        return wait([&] { return !daemon.shown.isEmpty() && daemon.shown.constLast().value(3) == title; });
    }

    PrivateBus bus;
    TestSession test;
    FreedesktopNotificationCenter center{bus.connect(), test.loop, test.session.queue(u"pictures"_qs), 0.5};
    QStringList activated;
};

TEST_F(NotificationsTest, ATrackArrivesAsTheDaemonCanShowIt) {
    for (const bool able : {true, false}) {
        Daemon daemon(bus);
        daemon.abilities = able ? daemon.abilities : QStringList();
        deliver(u"No"_qs);
        ASSERT_TRUE(shows(daemon, u"Salt & <Pepper>"_qs)) << "a summary is never markup";
        const auto& arguments = daemon.shown.constFirst();
        EXPECT_EQ(arguments.at(4), able ? u"A &amp; B"_qs : u"A & B"_qs);
        EXPECT_EQ(arguments.at(5).toStringList().isEmpty(), !able);
        const auto hints = qdbus_cast<QVariantMap>(arguments.at(6));
        const auto picture = qdbus_cast<NotificationPicture>(hints.value(u"image-data"_qs));
        EXPECT_EQ(picture.bytes.size(), 256 * 128 * picture.channels) << picture.width;
    }
}

TEST_F(NotificationsTest, OneOfAKindIsReplacedAndAClickIsTheOneClicked) {
    Daemon daemon(bus);
    ASSERT_TRUE(shows(daemon, u"Playing 1"_qs) && shows(daemon, u"Favorite 2"_qs));
    EXPECT_EQ(daemon.replaced(), 0u) << "another kind stands beside it";
    ASSERT_TRUE(shows(daemon, u"Playing 3"_qs) && daemon.replaced() == 1);
    const QString click = u"ActionInvoked"_qs, key = u"default"_qs, token = u"ActivationToken"_qs;
    bus.connect().send(said(click, 3u, key)); // somebody else's word
    for (const auto& signal :
         {said(click, 77u, key), said(click, 3u, u"other"_qs), said(u"NotificationClosed"_qs, 3u, 2u),
          said(token, 2u, u"mine"_qs), said(token, 77u, u"another's"_qs), said(click, 2u, key)})
        daemon.connection.send(signal);
    ASSERT_TRUE(wait([&] { return !activated.isEmpty(); }));
    EXPECT_EQ(activated, QStringList{u"Favorite 2"_qs});
    EXPECT_EQ(qgetenv(kActivationTokenVariable), "mine");
    qunsetenv(kActivationTokenVariable);
    EXPECT_TRUE(shows(daemon, u"Playing 4"_qs) && daemon.replaced() == 0) << "3 has been closed";
}

TEST_F(NotificationsTest, WhateverTheDaemonDoesTheNewestIsShown) {
    auto daemon = std::make_unique<Daemon>(bus);
    ASSERT_TRUE(shows(*daemon, u"Playing"_qs));
    daemon->error = u"org.freedesktop.DBus.Error.LimitsExceeded"_qs;
    ASSERT_TRUE(shows(*daemon, u"Playing to no avail"_qs));
    daemon->error.clear();
    for (const auto& garbage : {QVariantList(), {u"text"_qs}, {-1}, {QVariantMap()}}) {
        daemon->garbage = garbage;
        ASSERT_TRUE(shows(*daemon, u"Playing %1"_qs.arg(daemon->shown.size())));
    }
    daemon->mute = true; // it hangs
    ASSERT_TRUE(shows(*daemon, u"Playing on"_qs));
    daemon->questions = 0;
    ASSERT_TRUE(wait([&] { return deliver(u"Playing unheard"_qs), daemon->questions == 2; }));
    EXPECT_EQ(daemon->shown.constLast().at(3), u"Playing on"_qs) << "it is only asked for a sign of life";
    daemon.reset();
    deliver(u"Playing to nobody"_qs);
    daemon = std::make_unique<Daemon>(bus);
    ASSERT_TRUE(wait([&] { return deliver(u"Playing again"_qs), !daemon->shown.isEmpty(); }));
    EXPECT_EQ(daemon->replaced(), 0u) << "its numbers are not its predecessor's";
}

} // namespace
} // namespace merlode
