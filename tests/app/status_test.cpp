#include "app/follower_pipes.h"
#include "app/local_role.h"
#include "app/status.h"
#include "app/status_publisher.h"
#include "platform/linux/player_roles.h"
#include "support/fake_player_program.h"
#include "support/player_fixture.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <QJsonObject>

#include <csignal>

#include <fcntl.h>
#include <unistd.h>

namespace merlode {
namespace {

// What is told, and when.

class StatusPublisherTest : public testing::Test {
  protected:
    StatusPublisherTest() {
        publisher.addListener([this](const QVariantMap& published) { told.push_back(published); });
        publisher.addBatchListener([this] { ++batches; });
    }

    void post(std::initializer_list<NotificationName> names = {notifications::kTrackPositionUpdated}) {
        for (const auto name : names)
            test.session.notificationCenter().post(name);
        test.loop.runUntilIdle();
    }
    /// How often the listener was told since the last look.
    std::size_t toldNow() { return std::exchange(told, {}).size(); }

    TestSession test;
    QVariantMap status{{u"state"_qs, u"playing"_qs}, {u"title"_qs, u"Kite"_qs}, {u"position"_qs, 10}};
    StatusPublisher publisher{test.session, [this] { return status; }};
    std::vector<QVariantMap> told;
    int batches = 0;
};

TEST_F(StatusPublisherTest, OneIntakeIsToldOnceAndTheSameStatusNotAgain) {
    using namespace notifications;
    post({kNewTrackInfoAvailable, kNewPlayStateAvailable, kNewVolumeInfoAvailable, kTrackPositionUpdated});
    ASSERT_EQ(told.size(), 1U);
    EXPECT_EQ(told[0], status);
    toldNow();
    post({kNewPlayStateAvailable});
    EXPECT_EQ(toldNow(), 0U);
    EXPECT_EQ(batches, 2);
    status[u"muted"_qs] = true;
    post({kNewVolumeInfoAvailable});
    EXPECT_EQ(toldNow(), 1U);
}

TEST_F(StatusPublisherTest, APositionCountsOnlyWhenItJumps) {
    struct Row {
        double seconds; ///< that pass
        int position;   ///< that the player tells then
        bool told;
        const char* state = "playing";
    };
    const Row rows[] = {
        {0, 10, true},
        {30, 40, false},
        {30, 72, false}, // a player rounds as it likes
        {30, 60, true},
        {10, 50, true},
        {0, 50, true, "paused"},
        {60, 50, false, "paused"},
        {60, 90, true, "paused"},
        {600, 90, true},
        {600, 690, false},
        {600, -1, true}, // none any more
        {600, -1, false},
    };
    for (const auto& row : rows) {
        status[u"position"_qs] = row.position;
        if (row.position < 0)
            status.remove(u"position"_qs);
        status[u"state"_qs] = QString::fromUtf8(row.state);
        test.loop.advance(row.seconds);
        post();
        EXPECT_EQ(toldNow(), std::size_t(row.told)) << &row - rows;
    }
}

// Pipes to followers.

class FollowerPipesTest : public testing::Test {
  protected:
    // As the program has it; a pipe whose reader has gone would end the process.
    FollowerPipesTest() : before_(std::signal(SIGPIPE, SIG_IGN)) {}
    ~FollowerPipesTest() override { std::signal(SIGPIPE, before_); }

    /// Everything that has been written for this reader, up to and including `last`.
    static QList<QByteArray> readUntil(const QDBusUnixFileDescriptor& reader, const QByteArray& last) {
        const int fd = reader.fileDescriptor();
        fcntl(fd, F_SETFL, O_NONBLOCK);
        QByteArray text;
        QByteArray bytes(64 * 1024, Qt::Uninitialized);
        for (int round = 0; round < 1000 && !text.endsWith(last + '\n'); ++round) {
            for (ssize_t count = 0; (count = read(fd, bytes.data(), std::size_t(bytes.size()))) > 0;)
                text.append(bytes.constData(), count);
            QCoreApplication::processEvents(); // the writer goes on where there is room again
        }
        EXPECT_TRUE(text.endsWith(last + '\n'));
        text.chop(1);
        return text.split('\n');
    }

    FollowerPipes pipes;

  private:
    void (*before_)(int);
};

TEST_F(FollowerPipesTest, AReaderThatDoesNotReadIsSkippedAheadToTheLatestLine) {
    const QByteArray filler(1000, '.');
    const auto line = [&](int number) { return QByteArray::number(number) + ' ' + filler; };
    const auto slow = pipes.add(line(0));
    const auto quick = pipes.add(line(0));
    for (int number = 1; number <= 5000; ++number) {
        pipes.send(line(number)); // were one to block, this would never end
        if (number % 50 == 0)
            readUntil(quick, line(number));
    }
    const auto lines = readUntil(slow, line(5000));
    EXPECT_LT(lines.size(), 1000);
    int previous = -1;
    for (const auto& each : lines) {
        const int number = each.left(each.indexOf(' ')).toInt();
        EXPECT_EQ(each, line(number)) << "a line in pieces";
        EXPECT_GT(number, previous);
        previous = number;
    }
    EXPECT_EQ(pipes.count(), 2U);
}

TEST_F(FollowerPipesTest, ALineLongerThanAPipeComesWhole) {
    const QByteArray longLine(300 * 1000, 'x');
    const auto reader = pipes.add(longLine);
    pipes.send("skipped");
    pipes.send("latest");
    EXPECT_EQ(readUntil(reader, "latest"), (QList<QByteArray>{longLine, "latest"}));
}

// Who plays the local library.

TEST(LocalRoleTest, TheSettingDecidesAndElseWhatIsThere) {
    using enum LocalPlayerKind;
    struct Row {
        const char* setting;
        const char* desktopName;
        bool userMpdRuns;
        LocalPlayerKind chosen;
    };
    const Row rows[] = {
        {"mpd", "strawberry", false, UserMpd},
        {"desktop", "strawberry", true, Desktop},
        {"private", "strawberry", true, Private},
        {"auto", "strawberry", true, UserMpd},
        {"auto", "strawberry", false, Desktop},
        {"auto", "", false, Private},
        {"", "", true, UserMpd},
        {"nonsense", "", false, Private},
        {"desktop", "", true, UserMpd},
        {"desktop", "", false, Private},
    };
    for (const auto& row : rows)
        EXPECT_EQ(chooseLocalPlayer(
                      {QString::fromUtf8(row.setting), QString::fromUtf8(row.desktopName), row.userMpdRuns}),
                  row.chosen)
            << &row - rows;
}

// What is told of the active player.

class CurrentStatusTest : public PlayerFixture {
  protected:
    static std::string text(const QVariantMap& status) {
        return QJsonDocument(QJsonObject::fromVariantMap(status)).toJson().toStdString();
    }
    std::string current() {
        controller(); // made on first use, and then looks at its player
        test.loop.runUntilIdle();
        return text(currentStatus(controller(), roles, {}));
    }

    PlayerRoles roles{test.session};
};

TEST_F(CurrentStatusTest, NobodyIsNone) {
    EXPECT_EQ(current(), text({{u"state"_qs, u"none"_qs}}));
}

TEST_F(CurrentStatusTest, APlayingPlayerIsToldWithAllThatItKnows) {
    auto& player = desktop.start(iTunes);
    player.playing(u"Kite"_qs);
    roles.assign(PlayerRole::Local, std::make_unique<FakePlayerProgram>());
    QVariantMap expected{
        {u"state"_qs, u"playing"_qs}, {u"player"_qs, u"iTunes"_qs}, {u"program"_qs, u"a fake"_qs},
        {u"title"_qs, u"Kite"_qs},    {u"artist"_qs, u"Artist"_qs}, {u"album"_qs, u"Album"_qs},
        {u"position"_qs, 10},         {u"duration"_qs, 200},        {u"volume"_qs, 50},
        {u"muted"_qs, false}};
    EXPECT_EQ(current(), text(expected));

    player.playing(u"Stream"_qs, QString(), QString());
    player.track->duration.reset();
    player.position.reset();
    player.volume.reset();
    player.state = kPlayerStatePaused;
    roles.assign(PlayerRole::Local, nullptr);
    announce(notifications::kITunesPlayerInfo);
    expected = {{u"state"_qs, u"paused"_qs}, {u"player"_qs, u"iTunes"_qs}, {u"title"_qs, u"Stream"_qs}};
    EXPECT_EQ(current(), text(expected));
}

TEST_F(CurrentStatusTest, AnAdvertisementLeavesTheTrackBeforeItOnShow) {
    auto& client = desktop.start(spotify);
    client.playing(u"Kite"_qs);
    current();
    client.track = ScriptedTrack{u"spotify:ad:1"_qs, {}, u"Buy this"_qs, u""_qs, u""_qs, 30, {}};
    client.art = Image(QImage(1, 1, QImage::Format_RGB32));
    announce(notifications::kSpotifyPlaybackStateChanged);
    EXPECT_NE(current().find("Kite"), std::string::npos);
    EXPECT_EQ(current().find("duration"), std::string::npos) << "that of the advertisement";
    EXPECT_FALSE(controller().activePlayer()->getAlbumArt());
}

} // namespace
} // namespace merlode
