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

// Beyond one piece of a picture.
const QByteArray& largePicture() {
    static const QByteArray bytes = noisePicture(640, 1);
    return bytes;
}

const QByteArray& folderPicture() {
    static const QByteArray bytes = noisePicture(64, 2);
    return bytes;
}

bool isPicture(const std::optional<Image>& image, const QByteArray& bytes) {
    const auto expected = Image::decode(bytes);
    return image && expected && image->pixels() == expected->pixels();
}

std::optional<QString> nameOf(ScriptedPlayer& player) {
    const auto track = player.currentTrack();
    return track ? track->name : std::nullopt;
}

class MpdPlayerTest : public testing::Test {
  protected:
    void SetUp() override {
        writeLibrary();
        ASSERT_TRUE(server_.start());
        server_.ask(
            "command_list_begin\nadd first/1.flac\nadd first/2.flac\nadd second/b.flac\ncommand_list_end");
    }

    void writeLibrary() {
        const QString music = server_.musicFolder();
        const auto write = [&](const char* path, MusicFile file) {
            file.path = music + QString::fromUtf8(path);
            ASSERT_TRUE(writeMusicFile(file));
        };
        MusicFile one{.path = {},
                      .title = u"One"_qs,
                      .album = u"First"_qs,
                      .artists = {u"Ann"_qs},
                      .albumArtist = {},
                      .track = u"1/2"_qs,
                      .disc = {},
                      .picture = largePicture()};
        write("/first/1.flac", one);
        one.title = u"Two"_qs;
        one.track = u"2/2"_qs;
        one.picture.clear();
        write("/first/2.flac", one);
        QFile cover(music + u"/first/cover.png"_qs);
        ASSERT_TRUE(cover.open(QIODevice::WriteOnly) && cover.write(folderPicture()) > 0);
        MusicFile four{.path = {},
                       .title = u"Four"_qs,
                       .album = u"Second"_qs,
                       .artists = {u"Bob"_qs, u"Ann"_qs},
                       .albumArtist = u"Various"_qs,
                       .track = u"2"_qs,
                       .disc = {},
                       .picture = {}};
        write("/second/a.flac", four);
        four.title = u"Three \"x\" \\"_qs;
        four.track = u"1"_qs;
        write("/second/b.flac", four);
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

    bool becomes(const QByteArray& name, const QByteArray& value) {
        return pumpUntil([&] { return server_.value(name) == value; });
    }

    QByteArray playlist(const QByteArray& name) {
        return server_.ask("listplaylist " + name)
            .replace("file: ", "")
            .replace("\nOK\n", "")
            .replace('\n', ' ');
    }

    MpdServer server_;
    Session session_{std::make_unique<QtRunLoop>(), makeThreadPoolExecutor()};
    SessionScope scope_{&session_};
    std::unique_ptr<MpdProgram> program_;
    int changes_ = 0;
    int launches_ = 0;
    int quits_ = 0;
};

TEST_F(MpdPlayerTest, FindsOnSettlingWhatPlaysAlready) {
    server_.ask("play 0");
    server_.ask("seekcur 20");
    auto& player = connect();
    EXPECT_EQ(player.playerState(), kPlayerStatePlaying);
    const ScriptedTrack expected{.id = u"first/1.flac"_qs,
                                 .url = u"file://"_qs + server_.musicFolder() + u"/first/1.flac"_qs,
                                 .name = u"One"_qs,
                                 .album = u"First"_qs,
                                 .artist = u"Ann"_qs,
                                 .duration = 60,
                                 .number = 1};
    EXPECT_EQ(player.currentTrack(), expected);
    EXPECT_NEAR(player.playerPosition().value_or(0), 20, 1);
    EXPECT_EQ(player.soundVolume(), 100);
    EXPECT_TRUE(player.capabilities().canSeek && player.capabilities().canSetVolume);
    EXPECT_EQ(program_->processIdentifier(), server_.processId());
    EXPECT_EQ(changes_ + launches_, 0) << "it ran already";
}

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
    player.setSoundVolume(130);
    EXPECT_TRUE(becomes("volume", "100"));
    player.setSoundVolume(30);
    EXPECT_EQ(player.soundVolume(), 30);
    EXPECT_TRUE(becomes("volume", "30"));
    player.setRepeating(true);
    player.setShuffling(true);
    EXPECT_TRUE(becomes("repeat", "1") && becomes("random", "1"));
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
        EXPECT_TRUE(pumpUntil([this] { return changes_ > 0; })) << command;
    }
    EXPECT_FALSE(player.currentTrack().has_value());
    EXPECT_FALSE(player.capabilities().canGoNext);
    changes_ = 0;
    server_.ask("setvol 12");
    EXPECT_TRUE(pumpUntil([&] { return player.soundVolume() == 12; }));
    server_.ask("random 1");
    EXPECT_EQ(changes_, 0) << "neither volume nor options are changes of what plays";
}

TEST_F(MpdPlayerTest, AnnouncesWithoutDelay) {
    server_.ask("play 0");
    connect();
    MpdConnection other(address());
    ASSERT_TRUE(other.open(1));
    std::vector<double> milliseconds;
    for (int i = 0; i < 60; ++i) {
        changes_ = 0;
        QElapsedTimer timer;
        timer.start();
        other.run({"pause", {i % 2 ? "0" : "1"}}, 1);
        ASSERT_TRUE(pumpUntil([this] { return changes_ > 0; }));
        milliseconds.push_back(static_cast<double>(timer.nsecsElapsed()) / 1e6);
    }
    std::ranges::sort(milliseconds);
    std::printf("pause to changed: median %.2f ms, best %.2f ms, 90%% %.2f ms\n", milliseconds[30],
                milliseconds[0], milliseconds[54]);
    EXPECT_LT(milliseconds[30], 50);
}

TEST_F(MpdPlayerTest, KeepsOnePlaylistOfItsNameAndLeavesTheOthers) {
    server_.ask("save Mine");
    server_.ask("repeat 1");
    server_.ask("consume 1");
    auto& player = connect();
    const auto play = [&player](const char* name, const char* album, const char* artist) {
        const LibraryQuery query{QString::fromUtf8(name), QString::fromUtf8(album),
                                 QString::fromUtf8(artist)};
        return player.playFromLibrary(query, u"Merlode"_qs);
    };
    EXPECT_TRUE(play("One", "First", "Ann"));
    EXPECT_TRUE(play("", "Second", "Various"));
    EXPECT_EQ(playlist("Merlode"), "second/b.flac second/a.flac");
    EXPECT_TRUE(pumpUntil([&] { return nameOf(player) == u"Three \"x\" \\"_qs; }));
    EXPECT_EQ(server_.value("state") + server_.value("repeat") + server_.value("consume"), "play00");
    EXPECT_FALSE(play("Two", "First", "Bob"));
    EXPECT_FALSE(play("", "", ""));
    EXPECT_EQ(playlist("Merlode"), "second/b.flac second/a.flac");
    EXPECT_EQ(server_.value("playlistlength"), "2");
    EXPECT_EQ(playlist("Mine"), "first/1.flac first/2.flac second/b.flac");
    EXPECT_TRUE(play("Three \"x\" \\", "Second", "Bob, Ann"));
    EXPECT_EQ(playlist("Merlode"), "second/b.flac");
}

TEST_F(MpdPlayerTest, PlaysByKeyAndKeepsTheQueueForAWrongOne) {
    auto& player = connect();
    const auto current = [this] { return server_.value("file", "currentsong"); };
    player.playKey(u"first/2.flac"_qs);
    EXPECT_TRUE(pumpUntil([&] { return current() == "first/2.flac"; }));
    EXPECT_TRUE(becomes("playlistlength", "1"));
    player.playKey(u"no such song"_qs);
    player.playKey(u"first/1.flac\nclear"_qs);
    player.playKey(u"file://"_qs + server_.musicFolder() + u"/second/b.flac"_qs);
    EXPECT_TRUE(pumpUntil([&] { return current() == "second/b.flac"; }));
    EXPECT_TRUE(becomes("playlistlength", "1"));
    EXPECT_EQ(server_.value("state"), "play");
}

TEST_F(MpdPlayerTest, KeepsRatingsWhereOtherClientsSeeThem) {
    server_.ask("play 0");
    auto& player = connect();
    EXPECT_FALSE(player.rating().has_value());
    player.setRating(80);
    EXPECT_TRUE(pumpUntil([&] { return player.rating() == 80; }));
    EXPECT_EQ(server_.value("sticker", "sticker get song first/1.flac rating"), "rating=8");
    server_.ask("sticker set song first/1.flac rating 4");
    EXPECT_TRUE(pumpUntil([&] { return player.rating() == 40; }));
    server_.ask("next");
    EXPECT_TRUE(pumpUntil([&] { return nameOf(player) == u"Two"_qs; }));
    EXPECT_FALSE(player.rating().has_value());
}

TEST_F(MpdPlayerTest, ShowsThePictureOfTheSongAndNeverAnotherAlbums) {
    server_.ask("play 0");
    auto& player = connect();
    EXPECT_TRUE(pumpUntil([&] { return isPicture(player.albumArt(), largePicture()); })) << "embedded";
    server_.ask("next");
    EXPECT_TRUE(pumpUntil([&] { return isPicture(player.albumArt(), folderPicture()); }))
        << "beside the song";
    server_.ask("next");
    EXPECT_TRUE(pumpUntil([&] { return nameOf(player) == u"Three \"x\" \\"_qs; }));
    EXPECT_FALSE(player.albumArt().has_value());
}

TEST_F(MpdPlayerTest, StaysAliveWhileTheServerHangs) {
    server_.ask("play 0");
    auto& player = connect();
    int ticks = 0;
    const Timer ticking = session_.runLoop().every(0.01, [&ticks] { ++ticks; });
    server_.send(SIGSTOP);
    QElapsedTimer call;
    call.start();
    player.setSoundVolume(50);
    player.nextTrack();
    player.nextTrack();
    EXPECT_LT(call.elapsed(), 100);
    EXPECT_FALSE(player.playFromLibrary({u"One"_qs, u"First"_qs, u"Ann"_qs}, u"Merlode"_qs));
    EXPECT_LT(call.elapsed(), 1500);
    EXPECT_TRUE(pumpUntil([&] { return player.playerState() == 0 && !player.currentTrack(); }));
    EXPECT_FALSE(player.soundVolume() || player.playerPosition() || player.albumArt() || player.rating());
    ticks = 0;
    call.restart();
    EXPECT_FALSE(player.playFromLibrary({u"One"_qs, u"First"_qs, u"Ann"_qs}, u"Merlode"_qs));
    EXPECT_LT(call.elapsed(), 100) << "a hung player is not waited for again";
    ASSERT_TRUE(pumpUntil([&] { return ticks >= 50; }, 2)) << "the loop stands still";
    server_.send(SIGCONT);
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
    server_.send(SIGSTOP);
    EXPECT_TRUE(pumpUntil([&] { return player.playerState() == 0; }, 4));
    server_.send(SIGCONT);
    EXPECT_TRUE(pumpUntil([&] { return player.playerState() == kPlayerStatePlaying; }, kHungPlayerPause + 3));
}

TEST_F(MpdPlayerTest, TellsOfTheEndAndTheReturn) {
    server_.ask("play 0");
    connect();
    const auto old = program_->player();
    server_.kill();
    ASSERT_TRUE(pumpUntil([this] { return quits_ == 1; }));
    EXPECT_FALSE(program_->player() || program_->processIdentifier());
    EXPECT_TRUE(program_->installedPath().has_value()) << "the socket file is still there";
    EXPECT_EQ(old->playerState(), 0U);
    EXPECT_FALSE(old->currentTrack() || old->soundVolume());
    old->nextTrack();
    EXPECT_FALSE(old->playFromLibrary({u"One"_qs, u"First"_qs, u"Ann"_qs}, u"Merlode"_qs));
    ASSERT_TRUE(server_.start());
    ASSERT_TRUE(pumpUntil([this] { return launches_ == 1; }));
    EXPECT_NE(program_->player(), old);
    EXPECT_EQ(program_->processIdentifier(), server_.processId());
    EXPECT_EQ(quits_, 1);
}

TEST_F(MpdPlayerTest, IsFoundAmongPlacesWhereNobodyIs) {
    const MpdAddress nobody{.socketPath = server_.musicFolder() + u"/socket"_qs, .host = {}, .password = {}};
    EXPECT_EQ(findRunningMpd({nobody, address()}, 1), address());
    server_.send(SIGSTOP);
    QElapsedTimer timer;
    timer.start();
    EXPECT_FALSE(findRunningMpd({address(), nobody}, 0.3).has_value());
    EXPECT_LT(timer.elapsed(), 1000);
    server_.send(SIGCONT);
}

} // namespace
} // namespace merlode
