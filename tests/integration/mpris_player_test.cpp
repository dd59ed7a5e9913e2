#include "base/qt_run_loop.h"
#include "platform/linux/mpris_names.h"
#include "platform/linux/mpris_program.h"
#include "support/mpris_double.h"
#include "support/private_bus.h"
#include "support/virtual_run_loop.h"

#include <QCoreApplication>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QUrl>

#include <limits>

#include <gtest/gtest.h>

namespace merlode {
namespace {

const QString kPlayerName = u"org.mpris.MediaPlayer2.Player"_qs;

QVariantMap playing(const QString& title, qint64 position = 0) {
    return {{u"PlaybackStatus"_qs, u"Playing"_qs},
            {u"Metadata"_qs, MprisDouble::metadata(title)},
            {u"Position"_qs, position},
            {u"Volume"_qs, 0.5},
            {u"CanPause"_qs, true}};
}

/// A program on a bus of its own, under a clock that moves only when a test says so.
class MprisProgramTest : public testing::Test {
  protected:
    void SetUp() override { ASSERT_FALSE(bus_.address().isEmpty()) << "no dbus-daemon"; }

    std::unique_ptr<MprisDouble> run(const QString& suffix,
                                     const QVariantMap& properties = playing(u"One"_qs)) {
        return std::make_unique<MprisDouble>(bus_.connect(), suffix, properties);
    }

    void start(const QString& suffix = u"double"_qs, MprisPlayerOptions options = {}) {
        program_ = std::make_unique<MprisProgram>(bus_.connect(), loop_,
                                                  MprisProgramOptions{suffix, {}, std::move(options)});
        program_->start({.changed = [this] { ++changes_; },
                         .launched = [this] { ++launches_; },
                         .quit = [this] { ++quits_; }});
    }

    /// Waits in real time with the clock standing still.
    bool wait(const std::function<bool()>& condition) {
        return waitUntil([&] {
            loop_.runUntilIdle();
            return condition();
        });
    }

    QString title() const {
        const auto player = program_->player();
        const auto track = player ? player->currentTrack() : std::nullopt;
        return track && track->name ? *track->name : QString();
    }

    bool waitForTitle(const QString& expected) {
        return wait([&] { return title() == expected; });
    }

    PrivateBus bus_;
    VirtualRunLoop loop_;
    std::unique_ptr<MprisProgram> program_;
    int changes_ = 0;
    int launches_ = 0;
    int quits_ = 0;
};

TEST_F(MprisProgramTest, AfterSettlingTheFirstLookFindsWhatPlays) {
    const auto player = run(u"double"_qs, playing(u"One"_qs, 30'000'000));
    start();
    program_->settle(5);
    ASSERT_TRUE(program_->player());
    EXPECT_EQ(program_->player()->playerState(), kPlayerStatePlaying);
    EXPECT_EQ(title(), u"One"_qs);
    EXPECT_EQ(program_->player()->playerPosition(), 30.0);
    EXPECT_EQ(program_->player()->soundVolume(), 50);
    EXPECT_EQ(program_->processIdentifier(), QCoreApplication::applicationPid());
    EXPECT_EQ(launches_, 0);
}

TEST_F(MprisProgramTest, AProgramComesAndGoesWhilePlaying) {
    start();
    program_->settle(5);
    EXPECT_FALSE(program_->player());
    EXPECT_FALSE(program_->processIdentifier());

    auto player = run(u"double.instance7"_qs);
    ASSERT_TRUE(wait([&] { return launches_ == 1; }));
    EXPECT_EQ(title(), u"One"_qs);
    EXPECT_TRUE(program_->installedPath());
    const auto kept = program_->player();

    player.reset();
    ASSERT_TRUE(wait([&] { return quits_ == 1; }));
    EXPECT_FALSE(program_->player());
    EXPECT_FALSE(program_->processIdentifier());
    EXPECT_EQ(kept->playerState(), 0u);
    EXPECT_FALSE(kept->currentTrack());
    kept->play();

    player = run(u"double"_qs, playing(u"Two"_qs));
    ASSERT_TRUE(wait([&] { return launches_ == 2; }));
    EXPECT_NE(program_->player(), kept);
    EXPECT_EQ(title(), u"Two"_qs);
}

TEST_F(MprisProgramTest, TheProxyAndOurOwnNamesAreNeverAPlayer) {
    const auto proxy = run(u"playerctld"_qs);
    const auto own = run(u"merlode"_qs);
    for (const auto& suffix : {u"playerctld"_qs, u"merlode"_qs, u"no such name!"_qs, QString()}) {
        start(suffix);
        program_->settle(1);
        EXPECT_FALSE(program_->player()) << suffix.toStdString();
        EXPECT_FALSE(program_->launch()) << suffix.toStdString();
    }
}

TEST_F(MprisProgramTest, ABurstOfElevenSignalsTellsOnlyOfWhatChanged) {
    const auto player = run(u"double"_qs);
    start();
    ASSERT_TRUE(waitForTitle(u"One"_qs));
    changes_ = 0;

    const QVariantMap two = MprisDouble::metadata(u"Two"_qs);
    QVariantMap artless = two;
    artless.insert(u"mpris:artUrl"_qs, u"file:///two.png"_qs);
    player->announce({{u"PlaybackStatus"_qs, u"Playing"_qs}});
    player->announce({{u"Metadata"_qs, two}});
    player->announce({{u"Metadata"_qs, artless}});
    for (int i = 0; i < 6; ++i)
        player->announce({{u"Volume"_qs, 0.1 * i}, {u"CanPause"_qs, true}});
    player->announce({{u"PlaybackStatus"_qs, u"Paused"_qs}});
    player->announce({{u"Metadata"_qs, artless}, {u"Volume"_qs, 0.9}});
    ASSERT_TRUE(wait([&] { return program_->player()->soundVolume() == 90; }));
    EXPECT_EQ(title(), u"Two"_qs);
    EXPECT_EQ(program_->player()->playerState(), kPlayerStatePaused);
    EXPECT_EQ(changes_, 2);
}

TEST_F(MprisProgramTest, WhateverIsWrongInWhatAPlayerSaysTheNextGoodWordIsHeard) {
    const auto player = run(u"double"_qs);
    start();
    ASSERT_TRUE(waitForTitle(u"One"_qs));
    const QVariantList wrong = {
        u"text"_qs,
        42,
        -1.5,
        true,
        QStringList{u"a"_qs},
        QVariantMap{{u"x"_qs, 1}},
        QVariantList{1, u"a"_qs},
        QVariant::fromValue(QDBusObjectPath(u"/a"_qs)),
        QVariant::fromValue(QDBusVariant(QVariantMap{{u"xesam:title"_qs, QStringList{u"a"_qs}}})),
        QByteArray("bytes"),
        std::numeric_limits<double>::quiet_NaN(),
        QString(100'000, u'x'),
    };
    int count = 0;
    for (const auto& value : wrong) {
        QVariantMap metadata;
        for (const auto* key : {"mpris:trackid", "mpris:length", "xesam:title", "xesam:artist", "xesam:url",
                                "mpris:artUrl", "xesam:trackNumber", "xesam:userRating"})
            metadata.insert(QString::fromLatin1(key), value);
        player->announce({{u"Metadata"_qs, metadata}, {u"PlaybackStatus"_qs, value}, {u"Rate"_qs, value}});
        player->announce({{u"Metadata"_qs, value}, {u"Volume"_qs, value}, {u"Position"_qs, value}});
        player->sendSignal({value, value, value});
        player->sendSignal({kPlayerName, value, QStringList{u"Position"_qs}});
        player->sendSignal({kPlayerName});
        player->answerAllWith(QVariantList{value});
        const int readings = player->readings();
        player->invalidate({u"Metadata"_qs});
        ASSERT_TRUE(wait([&] { return player->readings() > readings; }));
        const QString good = u"Good %1"_qs.arg(++count);
        player->answerAllWith(std::nullopt);
        player->announce(
            {{u"Metadata"_qs, MprisDouble::metadata(good)}, {u"PlaybackStatus"_qs, u"Playing"_qs}});
        player->invalidate(
            {u"Metadata"_qs}); // the last of the wrong readings may come behind the announcement
        ASSERT_TRUE(waitForTitle(good)) << value.typeName();
    }
    player->answerAllWith(QVariantList());
    player->invalidate({u"Metadata"_qs});
    player->announce({{u"Metadata"_qs, MprisDouble::metadata(u"After an error"_qs)}});
    EXPECT_TRUE(waitForTitle(u"After an error"_qs));
}

TEST_F(MprisProgramTest, WhatAPlayerForgetsToAnnounceIsFoundWhenTheVolumeIsPolled) {
    const auto player = run(u"double"_qs);
    start();
    ASSERT_TRUE(waitForTitle(u"One"_qs));
    changes_ = 0;
    player->change({{u"PlaybackStatus"_qs, u"Paused"_qs}});
    const int readings = player->readings();
    program_->player()->soundVolume();
    loop_.advance(2);
    program_->player()->soundVolume();
    program_->player()->playerPosition();
    ASSERT_TRUE(wait([&] { return program_->player()->playerState() == kPlayerStatePaused; }));
    EXPECT_TRUE(wait([&] { return changes_ > 0; }));
    EXPECT_EQ(player->readings(), readings + 1);
}

TEST_F(MprisProgramTest, ATrackThatBeginsToPlayWithoutAWordIsSeenToPlay) {
    const auto player = run(u"double"_qs, {{u"PlaybackStatus"_qs, u"Stopped"_qs}});
    start();
    program_->settle(5);
    player->announce({{u"Metadata"_qs, MprisDouble::metadata(u"First"_qs)}});
    ASSERT_TRUE(waitForTitle(u"First"_qs));
    EXPECT_TRUE(wait([&] { return player->readings() > 1; }));
    player->change({{u"PlaybackStatus"_qs, u"Playing"_qs}});
    loop_.advance(1);
    EXPECT_TRUE(wait([&] { return program_->player()->playerState() == kPlayerStatePlaying; }));
}

TEST_F(MprisProgramTest, PositionsRunOnAndFollowSeeksAndNewTracks) {
    const auto player = run(u"double"_qs, playing(u"One"_qs, 10'000'000));
    start();
    ASSERT_TRUE(waitForTitle(u"One"_qs));
    loop_.advance(1);
    EXPECT_EQ(program_->player()->playerPosition(), 11.0);

    changes_ = 0;
    player->announceSeek(60'000'000);
    ASSERT_TRUE(wait([&] { return changes_ == 1; }));
    EXPECT_EQ(program_->player()->playerPosition(), 60.0);

    player->change({{u"Position"_qs, qint64(25'000'000)}});
    player->announce({{u"Metadata"_qs, MprisDouble::metadata(u"Two"_qs)}});
    ASSERT_TRUE(wait([&] { return program_->player()->playerPosition() == 25.0; }));
    EXPECT_EQ(changes_, 3); // the track, then the place in it, which is not its beginning
}

TEST_F(MprisProgramTest, AHungPlayerIsLeftAloneThenAskedAgain) {
    const auto player = run(u"double"_qs);
    start();
    ASSERT_TRUE(waitForTitle(u"One"_qs));
    changes_ = 0;
    player->setMute(true);
    program_->player()->nextTrack();
    ASSERT_TRUE(wait([&] { return changes_ == 1; }));
    EXPECT_EQ(program_->player()->playerState(), 0u);
    EXPECT_FALSE(program_->player()->currentTrack());
    EXPECT_FALSE(program_->player()->soundVolume());

    player->setMute(false);
    program_->player()->nextTrack();
    loop_.advance(kHungPlayerPause - 1);
    EXPECT_EQ(program_->player()->playerState(), 0u);
    loop_.advance(1);
    ASSERT_TRUE(waitForTitle(u"One"_qs));
    EXPECT_TRUE(wait([&] { return changes_ == 2; }));
    EXPECT_TRUE(player->calls().isEmpty()) << "a command was kept for later";

    player->setMute(true);
    program_->player()->nextTrack();
    ASSERT_TRUE(wait([&] { return program_->player()->playerState() == 0; }));
    player->announce({{u"PlaybackStatus"_qs, u"Paused"_qs}});
    ASSERT_TRUE(wait([&] { return program_->player()->playerState() == kPlayerStatePaused; }));
}

TEST_F(MprisProgramTest, AnAlbumOfTheLibraryIsOpenedAsAPlaylist) {
    const auto player = run(u"double"_qs);
    const QTemporaryDir folder;
    MprisPlayerOptions options;
    options.playlistFolder = folder.filePath(u"made #1"_qs);
    options.filesFor = [](const LibraryQuery& query) {
        return query.album == u"None" ? QByteArrayList()
                                      : QByteArrayList{"/m/50% a#b.flac", "/m/line\nbreak", "/m/latin\xe9"};
    };
    start(u"double"_qs, options);
    program_->settle(5);
    EXPECT_FALSE(program_->player()->playFromLibrary({{}, u"None"_qs, {}}, u"Merlode"_qs));
    ASSERT_TRUE(program_->player()->playFromLibrary({{}, u"Any"_qs, {}}, u"Merlode"_qs));
    const auto path = options.playlistFolder + u"/Merlode.m3u"_qs;
    const auto opened = u"OpenUri "_qs + QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded);
    EXPECT_TRUE(wait([&] { return player->calls().contains(opened); })) << qPrintable(opened);
    QFile playlist(path);
    ASSERT_TRUE(playlist.open(QIODevice::ReadOnly));
    EXPECT_EQ(playlist.readAll(), "#EXTM3U\nfile:///m/50%25%20a%23b.flac\nfile:///m/line%0Abreak\n"
                                  "file:///m/latin%E9\n");
}

} // namespace
} // namespace merlode
