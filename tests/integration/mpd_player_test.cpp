#include "base/qt_run_loop.h"
#include "base/session.h"
#include "platform/linux/mpd_player.h"
#include "platform/linux/mpd_program.h"
#include "support/mpd_server.h"
#include "support/music_files.h"

#include <QElapsedTimer>
#include <QFile>

#include <csignal>

#include <gtest/gtest.h>

namespace merlode {
namespace {

using namespace testing_support;

const QString kOddTitle = u"Three \"x\" \\"_qs;
const LibraryQuery kOne{u"One"_qs, u"First"_qs, u"Ann"_qs};

int widthOf(const std::optional<Image>& image) {
    return image ? image->pixels().width() : 0;
}

std::optional<QString> nameOf(ScriptedPlayer& player) {
    const auto track = player.currentTrack();
    return track ? track->name : std::nullopt;
}

class MpdPlayerTest : public testing::Test {
  protected:
    void SetUp() override {
        const QString music = server_.musicFolder();
        const QStringList ann{u"Ann"_qs};
        const QStringList both{u"Bob"_qs, u"Ann"_qs};
        const MusicFile files[] = {
            // the first has a picture of more than one piece
            {.path = music + u"/first/1.flac"_qs,
             .title = u"One"_qs,
             .album = u"First"_qs,
             .artists = ann,
             .track = u"1/2"_qs,
             .picture = noisePicture(640)},
            {music + u"/first/2.flac"_qs, u"Two"_qs, u"First"_qs, ann},
            {music + u"/second/a.flac"_qs, u"Four"_qs, u"Second"_qs, both, u"Various"_qs, u"2"_qs},
            {music + u"/second/b.flac"_qs, kOddTitle, u"Second"_qs, both, u"Various"_qs, u"1"_qs}};
        for (const MusicFile& file : files)
            ASSERT_TRUE(writeMusicFile(file));
        QFile cover(music + u"/first/cover.png"_qs);
        ASSERT_TRUE(cover.open(QIODevice::WriteOnly) && cover.write(noisePicture(64)) > 0);
        cover.close();
        ASSERT_TRUE(server_.start());
        server_.ask(
            "command_list_begin\nadd first/1.flac\nadd first/2.flac\nadd second/b.flac\ncommand_list_end");
    }

    // Connects; events are counted from here on.
    ScriptedPlayer& connect() {
        program_ = std::make_unique<MpdProgram>(address(), session_);
        program_->start({.changed = [this] { ++changes_; },
                         .launched = [this] { ++launches_; },
                         .quit = [this] { ++quits_; }});
        program_->settle(2);
        return *program_->player();
    }

    MpdAddress address() const { return {.socketPath = server_.socketPath(), .host = {}, .password = {}}; }

    pid_t pid() const { return static_cast<pid_t>(server_.processId()); }

    bool becomes(const QByteArray& name, const QByteArray& value) {
        return pumpUntil([&] { return server_.value(name) == value; });
    }

    QByteArray playlist(const QByteArray& name) {
        return server_.ask("listplaylist " + name).replace("file: ", "").replace('\n', ' ');
    }

    MpdServer server_;
    Session session_{std::make_unique<QtRunLoop>(), makeThreadPoolExecutor()};
    SessionScope scope_{&session_};
    std::unique_ptr<MpdProgram> program_;
    int changes_ = 0;
    int launches_ = 0;
    int quits_ = 0;
};

TEST_F(MpdPlayerTest, CarriesOutCommands) {
    auto& player = connect();
    player.play();
    ASSERT_TRUE(becomes("state", "play"));
    player.nextTrack();
    EXPECT_TRUE(becomes("song", "1"));
    player.previousTrack();
    EXPECT_TRUE(becomes("song", "0"));
    ASSERT_TRUE(pumpUntil([&] { return nameOf(player) == u"One"_qs; }));
    player.setPlayerPosition(30);
    EXPECT_NEAR(player.playerPosition().value_or(0), 30, 1) << "shown at once";
    EXPECT_TRUE(pumpUntil([this] { return server_.value("elapsed").toDouble() >= 30; }));
    player.pause();
    EXPECT_TRUE(becomes("state", "pause"));
    player.playpause();
    player.playpause();
    player.playpause();
    EXPECT_TRUE(becomes("state", "play")) << "quick presses count one by one";
    player.setSoundVolume(30);
    EXPECT_EQ(player.soundVolume(), 30);
    player.setRepeating(true);
    player.setShuffling(true);
    EXPECT_TRUE(becomes("volume", "30") && becomes("repeat", "1") && becomes("random", "1"));
    server_.ask("stop");
    ASSERT_TRUE(pumpUntil([&] { return player.playerState() == kPlayerStateStopped; }));
    player.nextTrack(); // refused while stopped
    player.playpause();
    EXPECT_TRUE(becomes("state", "play"));
}

TEST_F(MpdPlayerTest, AnnouncesWhatOthersDo) {
    server_.ask("play 0");
    auto& player = connect();
    ASSERT_TRUE(pumpUntil([&] { return player.albumArt().has_value(); }));
    for (const char* command : {"next", "seekcur 40", "pause 1", "clear"}) {
        changes_ = 0;
        server_.ask(command);
        EXPECT_TRUE(pumpUntil([this] { return changes_ > 0; }, 0.5)) << command;
    }
    EXPECT_FALSE(player.currentTrack().has_value());
    changes_ = 0;
    server_.ask("setvol 12");
    EXPECT_TRUE(pumpUntil([&] { return player.soundVolume() == 12; }));
    EXPECT_EQ(changes_, 0) << "the volume is no change of what plays";
}

TEST_F(MpdPlayerTest, KeepsOnePlaylistOfItsNameAndLeavesTheOthers) {
    server_.ask("save Mine");
    server_.ask("repeat 1");
    server_.ask("consume 1");
    auto& player = connect();
    const auto play = [&player](const LibraryQuery& query) {
        return player.playFromLibrary(query, u"Merlode"_qs);
    };
    EXPECT_TRUE(play(kOne));
    EXPECT_TRUE(play({{}, u"Second"_qs, u"Various"_qs}));
    EXPECT_TRUE(pumpUntil([&] { return nameOf(player) == kOddTitle; }));
    EXPECT_EQ(server_.value("state") + server_.value("repeat") + server_.value("consume"), "play00");
    EXPECT_FALSE(play({u"Two"_qs, u"First"_qs, u"Bob"_qs}));
    EXPECT_EQ(playlist("Merlode"), "second/b.flac second/a.flac OK ");
    EXPECT_EQ(playlist("Mine"), "first/1.flac first/2.flac second/b.flac OK ");
    EXPECT_TRUE(play({kOddTitle, u"Second"_qs, u"Bob, Ann"_qs}));
    EXPECT_EQ(playlist("Merlode"), "second/b.flac OK ");
}

TEST_F(MpdPlayerTest, PlaysByKeyAndKeepsTheQueueForAWrongOne) {
    auto& player = connect();
    player.playKey(u"file://"_qs + server_.musicFolder() + u"/second/b.flac"_qs);
    EXPECT_TRUE(becomes("state", "play"));
    player.playKey(u"no such song"_qs);
    player.setSoundVolume(3);
    EXPECT_TRUE(becomes("volume", "3")) << "commands are carried out in order";
    EXPECT_EQ(server_.value("file", "currentsong"), "second/b.flac");
    EXPECT_EQ(server_.value("playlistlength"), "1");
}

TEST_F(MpdPlayerTest, EachSongHasItsOwnRatingAndPicture) {
    server_.ask("play 0");
    auto& player = connect();
    EXPECT_TRUE(pumpUntil([&] { return widthOf(player.albumArt()) == 640; })) << "embedded";
    EXPECT_FALSE(player.rating().has_value());
    player.setRating(80);
    EXPECT_TRUE(pumpUntil([&] { return player.rating() == 80; }));
    EXPECT_EQ(server_.value("sticker", "sticker get song first/1.flac rating"), "rating=8");
    server_.ask("sticker set song first/1.flac rating 4");
    EXPECT_TRUE(pumpUntil([&] { return player.rating() == 40; }));
    server_.ask("next");
    EXPECT_TRUE(pumpUntil([&] { return widthOf(player.albumArt()) == 64; })) << "beside it";
    EXPECT_FALSE(player.rating().has_value());
    server_.ask("next");
    EXPECT_TRUE(pumpUntil([&] { return nameOf(player) == kOddTitle; }));
    EXPECT_FALSE(player.albumArt().has_value());
    const QTemporaryDir elsewhere;
    const QString song = elsewhere.filePath(u"outside.flac"_qs);
    ASSERT_TRUE(writeMusicFile({.path = song, .picture = noisePicture(32)}));
    player.playKey(song);
    EXPECT_TRUE(pumpUntil([&] { return widthOf(player.albumArt()) == 32; })) << "from outside the library";
}

TEST_F(MpdPlayerTest, StaysAliveWhileTheServerHangs) {
    server_.ask("play 0");
    auto& player = connect();
    ::kill(pid(), SIGSTOP);
    QElapsedTimer call;
    call.start();
    player.setSoundVolume(50);
    player.nextTrack();
    EXPECT_LT(call.elapsed(), 100);
    EXPECT_FALSE(player.playFromLibrary(kOne, u"Merlode"_qs));
    EXPECT_LT(call.elapsed(), 1500);
    EXPECT_TRUE(pumpUntil([&] { return player.playerState() == 0 && !player.currentTrack(); }));
    EXPECT_FALSE(player.soundVolume() || player.playerPosition() || player.albumArt() || player.rating());
    call.restart();
    EXPECT_FALSE(player.playFromLibrary(kOne, u"Merlode"_qs));
    EXPECT_LT(call.elapsed(), 100) << "a hung player is not waited for again";
    ::kill(pid(), SIGCONT);
    server_.ask("pause 1");
    EXPECT_TRUE(pumpUntil([&] { return player.playerState() == kPlayerStatePaused; }, 3))
        << "its sign ends the pause";
    EXPECT_EQ(quits_, 0);
}

TEST_F(MpdPlayerTest, NoticesAHangFromReadsAndComesBackByItself) {
    server_.ask("play 0");
    auto& player = connect();
    ASSERT_TRUE(pumpUntil([&] { return player.albumArt().has_value(); })) << "nothing is under way any more";
    const Timer polling = session_.runLoop().every(0.5, [&player] { player.soundVolume(); });
    ::kill(pid(), SIGSTOP);
    EXPECT_TRUE(pumpUntil([&] { return player.playerState() == 0; }, 4));
    ::kill(pid(), SIGCONT);
    EXPECT_TRUE(pumpUntil([&] { return player.playerState() == kPlayerStatePlaying; }, kHungPlayerPause + 3));
}

TEST_F(MpdPlayerTest, TellsOfTheEndAndTheReturn) {
    server_.ask("play 0");
    connect();
    const auto old = program_->player();
    server_.kill();
    ASSERT_TRUE(pumpUntil([this] { return quits_ == 1; }));
    EXPECT_FALSE(program_->player() || program_->processIdentifier());
    EXPECT_FALSE(old->currentTrack() || old->soundVolume());
    EXPECT_FALSE(old->playFromLibrary(kOne, u"Merlode"_qs));
    ASSERT_TRUE(server_.start());
    ASSERT_TRUE(pumpUntil([this] { return launches_ == 1; }));
    EXPECT_NE(program_->player(), old);
    EXPECT_EQ(program_->processIdentifier(), server_.processId());
    EXPECT_EQ(quits_, 1);
}

} // namespace
} // namespace merlode
