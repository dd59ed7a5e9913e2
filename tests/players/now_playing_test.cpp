#include "base/notification_names.h"
#include "model/artwork.h"
#include "players/position_clock.h"
#include "players/remote_player.h"
#include "support/player_fixture.h"

#include <QBuffer>

namespace merlode {
namespace {

using namespace notifications;

TEST(PositionClock, IsShownAndCorrectedWithoutJitter) {
    PositionClock clock;
    EXPECT_TRUE(clock.correct(605, 600, 3)) << "another duration is another track";
    EXPECT_EQ(clock.text(), u"10:00"_qs);
    EXPECT_FALSE(clock.correct(605, 597, 3));
    clock.toggleDisplayType();
    EXPECT_EQ(clock.text(), u"-00:05"_qs);
    clock.advance(5.5);
    EXPECT_EQ(clock.position(), 605) << "it waits at the end";
    EXPECT_TRUE(clock.correct(605, 599, 3));
    clock.toggleDisplayType();
    EXPECT_EQ(clock.text(), u"09:59"_qs);
}

class NowPlayingTest : public PlayerFixture {
  protected:
    QVariantMap serverState(const QString& name, const QString& source) const {
        return {{u"trackDictionary"_qs, QVariantMap{{u"trackName"_qs, name},
                                                    {u"albumName"_qs, u"Album"_qs},
                                                    {u"artistName"_qs, u"Artist"_qs},
                                                    {u"spotifyPlayKey"_qs, u"spotify:track:1"_qs}}},
                {u"source"_qs, source},
                {u"iTunesAvailable"_qs, false},
                {u"SpotifyAvailable"_qs, true},
                {u"RdioAvailable"_qs, false},
                {u"PandoraAvailable"_qs, false},
                {u"trackDuration"_qs, 100LL},
                {u"playerPosition"_qs, 20.0}};
    }
};

TEST_F(NowPlayingTest, ThePositionRunsWhileATrackPlaysAndFollowsThePlayer) {
    auto& library = desktop.start(iTunes);
    library.playing(u"Song"_qs);
    library.position = 10;
    controller();
    test.loop.advance(2.1);
    EXPECT_EQ(controller().currentPlayerPosition(), 12.0);
    library.position = 15; // 3 seconds off: not worth a jump
    announce(kITunesPlayerInfo);
    EXPECT_EQ(controller().currentPlayerPosition(), 12.0);
    library.position = 16;
    announce(kITunesPlayerInfo);
    EXPECT_EQ(controller().currentPlayerPosition(), 16.0);
    test.loop.advance(3);
    EXPECT_EQ(remote.last[RemoteAction::playerPosition].value(u"playerPosition"_qs), 16);
    library.state = kPlayerStatePaused;
    announce(kITunesPlayerInfo);
    const auto ticks = count(kTrackPositionUpdated);
    test.loop.advance(20);
    EXPECT_EQ(*ticks, 0) << "nothing ticks while nothing plays";
}

TEST_F(NowPlayingTest, ANewlyConnectedClientGetsTheCompletePictureAlone) {
    auto& library = desktop.start(iTunes);
    library.playing(u"Song"_qs);
    library.stars = 80;
    controller();
    test.loop.advance(2);
    remote.log.clear();
    controller().broadcastAllStates(7);
    test.loop.runUntilIdle();
    using enum RemoteAction;
    EXPECT_EQ(remote.log,
              (std::vector<RecordingRemoteLink::Sent>{
                  {setVolume, 7}, {playBackStateChanged, 7}, {trackChanged, 7}, {albumArtChanged, 7}}));
    EXPECT_EQ(remote.last[trackChanged].value(u"iTunesRating"_qs), 80);
}

TEST_F(NowPlayingTest, AClientShowsWhatItsServerTells) {
    auto& server = becomeClient();
    const auto sources = count(kAvailableSourcesChanged);
    controller().remoteStateChange(serverState(u"Song"_qs, u"Spotify"_qs));
    ASSERT_NE(controller().currentTrack(), nullptr);
    EXPECT_EQ(controller().currentTrack()->spotifyPlayKey(), u"spotify:track:1"_qs);
    EXPECT_EQ(controller().currentTrackDuration(), 100);
    EXPECT_EQ(controller().availableSources(), ItemSourceType::Spotify);
    EXPECT_EQ(*sources, 1);
    controller().remotePlayBackStateChanged({{u"state"_qs, 0}});
    test.loop.advance(3);
    EXPECT_EQ(server.playerPosition(), 23);
    EXPECT_EQ(controller().currentPlayerPosition(), 23.0);
    controller().remoteVolumeChanged({{u"volume"_qs, 130}});
    EXPECT_EQ(controller().currentVolume, 100);
    EXPECT_FALSE(links.log.join(u' ').contains(u"started"_qs)) << "the server reports what it plays";

    controller().remoteStateChange(serverState(u"Other"_qs, u"AppleMusic"_qs));
    EXPECT_EQ(server.remoteSource, MusicItemSourceType::iTunes);
    EXPECT_EQ(controller().currentTrack()->sourceType(), ItemSourceType::None)
        << "no key of that service came";
    EXPECT_EQ(*sources, 1);
}

TEST_F(NowPlayingTest, ArtFromAServerIsDroppedWhenNewerArtHasCome) {
    becomeClient();
    QByteArray png;
    QBuffer buffer(&png);
    QImage(2, 2, QImage::Format_RGB32).save(&buffer, "PNG");
    const QVariantMap picture{{u"useDefault"_qs, false}, {u"imageData"_qs, png}};
    controller().remoteAlbumArtChanged(picture);
    controller().remoteAlbumArtChanged({{u"useDefault"_qs, true}});
    test.loop.runUntilIdle();
    EXPECT_EQ(controller().currentAlbumArt(), sSharedAlbumArtworkImage());
    controller().remoteAlbumArtChanged(picture);
    test.loop.runUntilIdle();
    EXPECT_EQ(controller().currentAlbumArt().pixels().width(), 2);
    controller().remoteAlbumArtChanged({{u"useDefault"_qs, false}, {u"imageData"_qs, QByteArray("x")}});
    test.loop.runUntilIdle();
    EXPECT_EQ(controller().currentAlbumArt(), sSharedAlbumArtworkImage());
}

TEST_F(NowPlayingTest, PandoraIsPolledForItsTrackStationAndThumb) {
    pandora.ready = true;
    pandora.player->state = kPlayStatePlaying;
    pandora.player->track = Track::UnknownTrack({{}, u"Tune"_qs, u"Album"_qs, u"Artist"_qs});
    pandora.player->station = u"Radio"_qs;
    controller().switchToPlayer(pandora.player);
    controller().setPandoraThumbsUp();
    const auto thumbs = count(kPandoraThumbsUpdated);
    test.loop.advance(3.1);
    EXPECT_EQ(controller().currentTrack()->name(), u"Tune");
    EXPECT_EQ(controller().pandoraStationName, u"Radio"_qs);
    EXPECT_EQ(remote.last[RemoteAction::pandoraStationNameUpdated].value(u"pandoraStationName"_qs),
              u"Radio"_qs);
    EXPECT_EQ(*thumbs, 1);
    EXPECT_EQ(remote.last[RemoteAction::pandoraThumbsUpdated].value(u"thumb"_qs), 2);
    EXPECT_EQ(controller().getiTunesRating(), std::nullopt);
}

TEST_F(NowPlayingTest, ANewTrackIsNotifiedWithWhatItHas) {
    userDefaults.set(defaults::kPlayingNotifications, true);
    userDefaults.set(defaults::kHostName, u"Study"_qs);
    auto& library = desktop.start(iTunes);
    library.playing(u"Song"_qs);
    controller();
    test.loop.runUntilIdle();
    announce(kITunesPlayerInfo);
    ASSERT_EQ(links.notified.size(), 1U) << "the same track is no news";
    EXPECT_EQ(links.notified[0].title, u"Song"_qs);
    EXPECT_EQ(links.notified[0].informativeText, u"Artist\nAlbum"_qs);
    EXPECT_FALSE(links.notified[0].contentImage);
    const struct {
        QString client;
        QString text;
    } cases[] = {{u"Kitchen"_qs, u"Artist\nAlbum\nPlayed by Kitchen"_qs},
                 {u"Study"_qs, u"Artist\nAlbum\nPlayed by you"_qs}};
    for (const auto& c : cases) {
        controller().remoteClientName = c.client;
        library.playing(c.client);
        announce(kITunesPlayerInfo);
        EXPECT_EQ(links.notified.back().informativeText, c.text);
    }
    library.art = Image(QImage(4, 4, QImage::Format_RGB32));
    library.playing(u"First of another"_qs, u"Artist"_qs, u"Another album"_qs);
    announce(kITunesPlayerInfo);
    test.loop.advance(2);
    library.playing(u"Second of it"_qs, u"Artist"_qs, u"Another album"_qs);
    announce(kITunesPlayerInfo);
    EXPECT_TRUE(links.notified.back().contentImage);
    library.playing(u"Third album"_qs, u"Artist"_qs, u"Third album"_qs);
    announce(kITunesPlayerInfo);
    EXPECT_FALSE(links.notified.back().contentImage) << "the art of the album before is none";
    userDefaults.set(defaults::kPlayingNotifications, false);
    library.playing(u"Silent"_qs);
    announce(kITunesPlayerInfo);
    EXPECT_EQ(links.notified.size(), 6U);
}

} // namespace
} // namespace merlode
