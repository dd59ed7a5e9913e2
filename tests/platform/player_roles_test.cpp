#include "base/notification_names.h"
#include "platform/linux/player_roles.h"
#include "support/fake_player_program.h"
#include "support/test_session.h"

#include <gtest/gtest.h>

namespace merlode {
namespace {

constexpr double kWindow = 0.05;

TEST(BurstFolderTest, ABurstBecomesTwoCallsAndTheFirstAtOnce) {
    VirtualRunLoop loop;
    std::vector<double> calls;
    BurstFolder burst(loop, kWindow, [&] { calls.push_back(loop.uptime()); });
    for (int sign = 0; sign < 11; ++sign) {
        burst.sign();
        EXPECT_EQ(calls.size(), 1U);
        loop.advance(0.002);
    }
    loop.advance(10);
    ASSERT_EQ(calls.size(), 2U);
    EXPECT_EQ(calls[0], 0);
    EXPECT_NEAR(calls[1], kWindow, 1e-9);
    burst.sign();
    EXPECT_EQ(calls.size(), 3U) << "a sign after the quiet is a first one again";
}

TEST(BurstFolderTest, AStreamIsSlowedToOneCallAWindow) {
    VirtualRunLoop loop;
    int calls = 0;
    BurstFolder burst(loop, kWindow, [&] {
        if (++calls < 1000)
            burst.sign(); // a call whose reads make the player signal again must not go round at once
    });
    burst.sign();
    for (int millisecond = 0; millisecond < 1000; ++millisecond) {
        burst.sign();
        loop.advance(0.001);
    }
    EXPECT_GE(calls, 20);
    EXPECT_LE(calls, 21);
}

class PlayerRolesTest : public testing::Test {
  protected:
    PlayerRolesTest() {
        auto& session = test.session;
        for (const auto name :
             {notifications::kITunesPlayerInfo, notifications::kSpotifyPlaybackStateChanged})
            observations_.push_back(session.distributedCenter().addObserver(name, note()));
        observations_.push_back(
            session.workspaceCenter().addObserver(notifications::kWorkspaceDidLaunchApplication, note()));
    }

    FakePlayerProgram& put(PlayerRole role) {
        auto program = std::make_unique<FakePlayerProgram>();
        auto& reference = *program;
        roles.assign(role, std::move(program));
        return reference;
    }

    TestSession test;
    PlayerRoles roles{test.session};
    std::vector<std::pair<QString, QVariantMap>> posted; ///< name and user information

  private:
    NotificationCenter::Handler note() {
        return [this](const Notification& notification) {
            posted.emplace_back(
                QString::fromUtf8(notification.name.text.data(), qsizetype(notification.name.text.size())),
                notification.userInfo);
        };
    }

    std::vector<Observation> observations_;
};

using Posts = std::vector<std::pair<QString, QVariantMap>>;

const QString kLocalAnnouncement = u"com.apple.iTunes.playerInfo"_qs;
const QString kSpotifyAnnouncement = u"com.spotify.client.PlaybackStateChanged"_qs;

TEST_F(PlayerRolesTest, AnAnnouncementTellsOfTheTrackWhatThePlayerTold) {
    struct Row {
        PlayerRole role;
        std::optional<ScriptedTrack> track;
        Posts expected;
    };
    const ScriptedTrack full{{}, {}, u"Kite"_qs, u"Album"_qs, u"Artist"_qs, {}, {}};
    const ScriptedTrack nameOnly{u"id"_qs, {}, u"Kite"_qs, {}, {}, 20, {}};
    const QVariantMap fullInfo{
        {u"Name"_qs, u"Kite"_qs}, {u"Artist"_qs, u"Artist"_qs}, {u"Album"_qs, u"Album"_qs}};
    const QVariantMap streamInfo{
        {u"Name"_qs, u"Kite"_qs}, {u"Artist"_qs, QString()}, {u"Album"_qs, QString()}};
    const Row rows[] = {
        {PlayerRole::Local, full, {{kLocalAnnouncement, fullInfo}}},
        {PlayerRole::Local, nameOnly, {{kLocalAnnouncement, streamInfo}}},
        {PlayerRole::Local, {}, {{kLocalAnnouncement, {}}}},
        {PlayerRole::Spotify, full, {{kSpotifyAnnouncement, fullInfo}}},
        {PlayerRole::Rdio, full, {}},
    };
    for (const auto& row : rows) {
        auto& program = put(row.role);
        program.process = 7;
        program.scripted->track = row.track;
        program.events.changed();
        test.loop.advance(1);
        EXPECT_EQ(std::exchange(posted, {}), row.expected) << &row - rows;
    }
}

TEST_F(PlayerRolesTest, AProgramThatComesUpIsLaunchedFirstAndAnnouncesThen) {
    auto& program = put(PlayerRole::Spotify);
    program.process = 7;
    program.events.launched();
    const QVariantMap info{{u"NSApplicationName"_qs, u"Spotify"_qs}};
    EXPECT_EQ(posted,
              (Posts{{u"NSWorkspaceDidLaunchApplicationNotification"_qs, info}, {kSpotifyAnnouncement, {}}}));
    posted.clear();
    test.loop.advance(1);
    program.process.reset();
    program.events.quit();
    EXPECT_EQ(posted, (Posts{{kSpotifyAnnouncement, {}}}));
}

TEST_F(PlayerRolesTest, APlayerIsFoundByItsRoleAndItsProcess) {
    auto& program = put(PlayerRole::Local);
    const QString bundle = u"com.apple.iTunes"_qs;
    const auto processes = [&](const QString& identifier) {
        return roles.runningApplicationsWithBundleIdentifier(identifier).size();
    };
    EXPECT_EQ(processes(bundle), 0U);
    EXPECT_EQ(roles.player(bundle, 0), nullptr);
    program.process = -3; // on another host
    ASSERT_EQ(processes(bundle), 1U);
    EXPECT_EQ(roles.runningApplicationsWithBundleIdentifier(bundle)[0].processIdentifier, -3);
    EXPECT_EQ(roles.player(bundle, -3), program.scripted);
    EXPECT_EQ(roles.player(bundle, -2), nullptr) << "the process of an earlier run";
    EXPECT_EQ(processes(u"com.spotify.client"_qs), 0U);
    EXPECT_EQ(roles.player(u"com.example.other"_qs, -3), nullptr);
    EXPECT_FALSE(roles.launchApplication(u"Spotify"_qs));
    EXPECT_FALSE(roles.fullPathForApplication(u"Spotify"_qs));
}

} // namespace
} // namespace merlode
