#include "model/album.h"
#include "model/track.h"
#include "players/local_players.h"
#include "support/player_fixture.h"

namespace merlode {
namespace {

class LocalPlayersTest : public PlayerFixture {};

TEST_F(LocalPlayersTest, CountsInWholeSecondsEachInItsOwnWay) {
    for (const QString& name : {iTunes, spotify, rdio}) {
        desktop.start(name).playing(u"Song"_qs);
        desktop.applications[name].player->position = 12.5;
    }
    EXPECT_EQ(iTunesPlayer().playerPosition(), 12);
    EXPECT_EQ(SpotifyPlayer().playerPosition(), 13);
    EXPECT_EQ(RdioPlayer().playerPosition(), 12);
    EXPECT_EQ(iTunesPlayer().trackDuration(), 200);
    EXPECT_EQ(SpotifyPlayer().trackDuration(), 200);
    EXPECT_EQ(SpotifyPlayer().getCurrentTrack()->duration(), 201);
}

TEST_F(LocalPlayersTest, AnIncompleteTrackFallsBackOnTheLastAnnouncement) {
    auto& scripted = desktop.start(iTunes);
    scripted.playing(u"Stream"_qs);
    scripted.track->album.reset();
    iTunesPlayer player;
    EXPECT_EQ(player.getCurrentTrack(), nullptr);
    const QVariantMap full{{u"Name"_qs, u"N"_qs}, {u"Artist"_qs, u"A"_qs}, {u"Album"_qs, u"B"_qs}};
    player.trackChanged({notifications::kITunesPlayerInfo, nullptr, full});
    const auto track = player.getCurrentTrack();
    ASSERT_NE(track, nullptr);
    EXPECT_EQ(track->name(), u"N");
    EXPECT_TRUE(track->isTrackType(ItemSourceType::AppleMusic));
    for (const QString& missing : full.keys()) {
        QVariantMap part = full;
        part.insert(u"Name"_qs, u"other"_qs);
        part.remove(missing);
        player.trackChanged({notifications::kITunesPlayerInfo, nullptr, part});
        EXPECT_EQ(player.getCurrentTrack(), track) << qPrintable(missing);
    }
    scripted.track.reset();
    EXPECT_EQ(player.getCurrentTrack(), nullptr);
}

TEST_F(LocalPlayersTest, TheWebServicesNeedEveryText) {
    desktop.start(spotify).playing(u"Song"_qs);
    desktop.start(rdio).playing(u"Song"_qs);
    EXPECT_EQ(SpotifyPlayer().getCurrentTrack()->spotifyPlayKey(), u"id of Song"_qs);
    EXPECT_EQ(RdioPlayer().getCurrentTrack()->rdioPlayKey(), u"id of Song"_qs);
    for (auto* player : {desktop.applications[spotify].player.get(), desktop.applications[rdio].player.get()})
        player->track->artist.reset();
    EXPECT_EQ(SpotifyPlayer().getCurrentTrack(), nullptr);
    EXPECT_EQ(RdioPlayer().getCurrentTrack(), nullptr);
}

TEST_F(LocalPlayersTest, PlaysByKeyOrFromTheLibrary) {
    auto& library = desktop.start(iTunes);
    auto& client = desktop.start(spotify);
    const auto track = Track::UnknownTrack({{}, u"T"_qs, u"B"_qs, u"A"_qs});
    SpotifyPlayer().playTrack(*track);
    EXPECT_TRUE(client.commands.isEmpty()) << "there is no key to play";
    track->setSpotifyPlayKey(u"spotify:track:1"_qs);
    SpotifyPlayer().playTrack(*track);
    EXPECT_EQ(client.commands, QStringList(u"key spotify:track:1"_qs));
    iTunesPlayer().playTrack(*track);
    EXPECT_TRUE(alerts.shown.empty());
    library.inLibrary = false;
    iTunesPlayer().playTrack(*track);
    const auto album = Album::make(ItemSourceType::iTunes, {}, u"B"_qs, u"A"_qs, {}, false);
    iTunesPlayer().playAlbum(*album);
    ASSERT_EQ(alerts.shown.size(), 1U) << "none for an album";
    EXPECT_EQ(alerts.shown[0].messageText, u"Track not found");
    EXPECT_EQ(library.commands, (QStringList{u"Merlode|T|B|A"_qs, u"Merlode|T|B|A"_qs, u"Merlode||B|A"_qs}));
}

TEST_F(LocalPlayersTest, AnAdapterOfAnApplicationThatHasGoneGivesNothing) {
    iTunesPlayer player;
    EXPECT_EQ(player.getPlayState(), kPlayStateNotPlaying);
    EXPECT_EQ(player.getCurrentTrack(), nullptr);
    EXPECT_FALSE(player.playerPosition() || player.trackDuration() || player.getAlbumArt());
    player.playpause();
    player.setSoundVolume(3);
}

} // namespace
} // namespace merlode
