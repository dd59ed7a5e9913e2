#include "model/album.h"
#include "model/track.h"
#include "players/local_players.h"
#include "support/player_fixture.h"

namespace merlode {
namespace {

class LocalPlayersTest : public PlayerFixture {
  protected:
    Notification info(const QVariantMap& values) {
        return {notifications::kITunesPlayerInfo, nullptr, values};
    }
};

TEST_F(LocalPlayersTest, OnlyTheStateCodeOfPlayingCountsAsPlaying) {
    auto& player = desktop.start(iTunes);
    for (const auto& [state, expected] : {std::pair{kPlayerStatePlaying, 0U},
                                          {kPlayerStatePaused, 1U},
                                          {kPlayerStateStopped, 1U},
                                          {0U, 1U}}) {
        player.state = state;
        EXPECT_EQ(iTunesPlayer().getPlayState(), expected) << state;
        EXPECT_EQ(iTunesPlayer().isPlaying(), expected == 0);
    }
}

TEST_F(LocalPlayersTest, CountsInWholeSecondsEachInItsOwnWay) {
    struct Case {
        double position;
        int truncated;
        int rounded;
    };
    for (const QString& name : {iTunes, spotify, rdio})
        desktop.start(name).playing(QStringLiteral("Song"));
    for (const auto& [position, truncated, rounded] :
         {Case{12.4, 12, 12}, Case{12.5, 12, 13}, Case{12.9, 12, 13}, Case{0, 0, 0}}) {
        for (auto& [name, application] : desktop.applications)
            application.player->position = position;
        EXPECT_EQ(iTunesPlayer().playerPosition(), truncated) << position;
        EXPECT_EQ(SpotifyPlayer().playerPosition(), rounded) << position;
        EXPECT_EQ(RdioPlayer().playerPosition(), truncated) << position;
    }
    EXPECT_EQ(iTunesPlayer().trackDuration(), 200);
    EXPECT_EQ(SpotifyPlayer().trackDuration(), 200);
    EXPECT_EQ(SpotifyPlayer().getCurrentTrack()->duration(), 201);
}

TEST_F(LocalPlayersTest, AnIncompleteTrackFallsBackOnTheLastAnnouncement) {
    auto& scripted = desktop.start(iTunes);
    scripted.playing(QStringLiteral("Stream"));
    scripted.track->album.reset();
    iTunesPlayer player;
    EXPECT_EQ(player.getCurrentTrack(), nullptr);
    const QVariantMap full{{QStringLiteral("Name"), QStringLiteral("N")},
                           {QStringLiteral("Artist"), QStringLiteral("A")},
                           {QStringLiteral("Album"), QStringLiteral("B")}};
    player.trackChanged(info(full));
    const auto track = player.getCurrentTrack();
    ASSERT_NE(track, nullptr);
    EXPECT_EQ(track->name(), u"N");
    EXPECT_TRUE(track->isTrackType(ItemSourceType::AppleMusic));
    for (const QString& missing : full.keys()) {
        QVariantMap part = full;
        part.insert(QStringLiteral("Name"), QStringLiteral("other"));
        part.remove(missing);
        player.trackChanged(info(part));
        EXPECT_EQ(player.getCurrentTrack(), track) << qPrintable(missing);
    }
    scripted.track.reset();
    EXPECT_EQ(player.getCurrentTrack(), nullptr);
}

TEST_F(LocalPlayersTest, TheWebServicesNeedEveryText) {
    desktop.start(spotify).playing(QStringLiteral("Song"));
    desktop.start(rdio).playing(QStringLiteral("Song"));
    EXPECT_EQ(SpotifyPlayer().getCurrentTrack()->spotifyPlayKey(), QStringLiteral("id of Song"));
    EXPECT_EQ(RdioPlayer().getCurrentTrack()->rdioPlayKey(), QStringLiteral("id of Song"));
    for (auto* player : {desktop.applications[spotify].player.get(), desktop.applications[rdio].player.get()})
        player->track->artist.reset();
    EXPECT_EQ(SpotifyPlayer().getCurrentTrack(), nullptr);
    EXPECT_EQ(RdioPlayer().getCurrentTrack(), nullptr);
}

TEST_F(LocalPlayersTest, PlaysByKeyOrFromTheLibrary) {
    auto& library = desktop.start(iTunes);
    auto& client = desktop.start(spotify);
    const auto track =
        Track::UnknownTrack({{}, QStringLiteral("T"), QStringLiteral("B"), QStringLiteral("A")});
    SpotifyPlayer().playTrack(*track);
    EXPECT_TRUE(client.commands.isEmpty()) << "there is no key to play";
    track->setSpotifyPlayKey(QStringLiteral("spotify:track:1"));
    SpotifyPlayer().playTrack(*track);
    EXPECT_EQ(client.commands, QStringList(QStringLiteral("key spotify:track:1")));
    iTunesPlayer().playTrack(*track);
    EXPECT_TRUE(alerts.shown.empty());
    library.inLibrary = false;
    iTunesPlayer().playTrack(*track);
    ASSERT_EQ(alerts.shown.size(), 1U);
    EXPECT_EQ(alerts.shown[0].messageText, u"Track not found");
    const auto album =
        Album::make(ItemSourceType::iTunes, {}, QStringLiteral("B"), QStringLiteral("A"), {}, false);
    iTunesPlayer().playAlbum(*album);
    EXPECT_EQ(alerts.shown.size(), 1U) << "an album that is not there is no alert";
    EXPECT_EQ(library.commands, (QStringList{QStringLiteral("Merlode|T|B|A"), QStringLiteral("Merlode|T|B|A"),
                                             QStringLiteral("Merlode||B|A")}));
}

TEST_F(LocalPlayersTest, AnAdapterOfAnApplicationThatHasGoneGivesNothing) {
    iTunesPlayer player;
    EXPECT_FALSE(player.processID.has_value());
    EXPECT_EQ(player.getPlayState(), kPlayStateNotPlaying);
    EXPECT_EQ(player.getCurrentTrack(), nullptr);
    EXPECT_FALSE(player.playerPosition() || player.trackDuration() || player.getAlbumArt());
    EXPECT_EQ(player.getSoundVolume(), 50);
    player.playpause();
    player.setSoundVolume(3);
}

TEST(PlayerTypeTest, RawValuesRoundTripAndUnknownOnesGiveNothing) {
    using enum MusicPlayerType;
    for (const auto type : {iTunes, Spotify, Rdio, Remote, Pandora})
        EXPECT_EQ(musicPlayerType(rawValue(type)), type);
    EXPECT_EQ(musicPlayerType(u"spotify"), std::nullopt);
    EXPECT_EQ(bundleID(Remote), std::nullopt);
}

} // namespace
} // namespace merlode
