#include "model/artwork.h"
#include "model/track.h"
#include "players/player_controller.h"
#include "players/remote_player.h"
#include "support/player_fixture.h"

namespace merlode {
namespace {

using namespace notifications;

class PlayerControllerTest : public PlayerFixture {};

// The first player.

TEST_F(PlayerControllerTest, TheFirstPlayerIsTheOneThatPlaysElseByAnotherOrder) {
    struct Case {
        QStringList running;
        QStringList playing;
        std::optional<MusicPlayerType> expected;
    };
    using enum MusicPlayerType;
    const Case cases[] = {
        {{QStringLiteral("iTunes"), QStringLiteral("Spotify")},
         {QStringLiteral("iTunes"), QStringLiteral("Spotify")},
         iTunes},
        {{QStringLiteral("iTunes"), QStringLiteral("Rdio")}, {QStringLiteral("Rdio")}, Rdio},
        {{QStringLiteral("iTunes"), QStringLiteral("Rdio")}, {}, iTunes},
        {{QStringLiteral("iTunes"), QStringLiteral("Spotify")}, {}, Spotify},
        {{}, {}, std::nullopt},
    };
    for (const auto& [running, playing, expected] : cases) {
        for (auto& [name, application] : desktop.applications) {
            application = {};
            if (running.contains(name))
                desktop.start(name);
            if (playing.contains(name))
                application.player->playing(QStringLiteral("Song"));
        }
        PlayerController fresh;
        EXPECT_EQ(fresh.activePlayer() ? std::optional(fresh.activePlayer()->type) : std::nullopt, expected)
            << qPrintable(running.join(u','));
        for (const auto& [name, application] : desktop.applications)
            EXPECT_FALSE(application.player->commands.contains(QStringLiteral("pause")));
    }
}

TEST_F(PlayerControllerTest, TheLastActiveKindComesBeforeAnyOtherThatRuns) {
    desktop.start(iTunes);
    controller().setActivePlayer(nullptr);
    desktop.start(spotify);
    ASSERT_EQ(controller().lastActivePlayerType, MusicPlayerType::iTunes);
    controller().setupMusicPlayers();
    EXPECT_EQ(activeType(), MusicPlayerType::iTunes);
}

TEST_F(PlayerControllerTest, AnApplicationThatIsNotInstalledHasNoAdapter) {
    desktop.start(iTunes);
    desktop.applications[iTunes].installed = false;
    EXPECT_EQ(activeType(), std::nullopt);
}

// The intake.

TEST_F(PlayerControllerTest, APlayerThatStartsTakesTheRoleAndSilencesTheOthers) {
    auto& library = desktop.start(iTunes);
    desktop.start(rdio);
    library.playing(QStringLiteral("First"));
    controller();
    test.loop.runUntilIdle();
    EXPECT_EQ(controller().currentTrack()->name(), u"First");
    EXPECT_EQ(links.statusText, u"Artist - First");

    desktop.start(spotify).playing(QStringLiteral("Second"));
    const auto posted = count(kNewTrackInfoAvailable);
    announce(kSpotifyPlaybackStateChanged);
    EXPECT_EQ(activeType(), MusicPlayerType::Spotify);
    EXPECT_EQ(controller().currentTrack()->name(), u"Second");
    EXPECT_EQ(controller().currentPlayState(), kPlayStatePlaying);
    EXPECT_EQ(library.commands, QStringList(QStringLiteral("pause")));
    EXPECT_EQ(desktop.applications[rdio].player->commands, QStringList(QStringLiteral("pause")));
    EXPECT_EQ(*posted, 1);
    EXPECT_TRUE(links.log.contains(QStringLiteral("started Second at 10")));
    EXPECT_EQ(remote.last(RemoteAction::trackChanged).value(QStringLiteral("source")), spotify);
}

TEST_F(PlayerControllerTest, APlayerThatStopsDisturbsNobodyElse) {
    auto& library = desktop.start(iTunes);
    library.playing(QStringLiteral("Song"));
    auto& client = desktop.start(spotify);
    controller();
    test.loop.runUntilIdle();
    const auto posted = count(kNewTrackInfoAvailable);
    client.state = kPlayerStatePaused;
    announce(kSpotifyPlaybackStateChanged);
    EXPECT_EQ(*posted, 0);
    library.state = kPlayerStatePaused;
    links.log.clear();
    announce(kITunesPlayerInfo);
    EXPECT_EQ(*posted, 1);
    EXPECT_EQ(controller().currentPlayState(), kPlayStateNotPlaying);
}

TEST_F(PlayerControllerTest, AnAdvertisementChangesNothing) {
    auto& client = desktop.start(spotify);
    client.playing(QStringLiteral("Song"));
    controller();
    test.loop.runUntilIdle();
    const auto posted = count(kNewTrackInfoAvailable);
    client.playing(QStringLiteral("Buy this"));
    client.track->id = QStringLiteral("spotify:ad:1");
    announce(kSpotifyPlaybackStateChanged);
    EXPECT_EQ(*posted, 0);
    EXPECT_EQ(controller().currentTrack()->name(), u"Song");
}

TEST_F(PlayerControllerTest, AStreamIsKnownByTheAnnouncementThatBringsItIn) {
    desktop.start(spotify).playing(QStringLiteral("Song"));
    controller();
    auto& library = desktop.start(iTunes);
    library.playing(QStringLiteral("Stream"));
    library.track->artist.reset();
    announce(kITunesPlayerInfo, {{QStringLiteral("Name"), QStringLiteral("Stream")},
                                 {QStringLiteral("Artist"), QString()},
                                 {QStringLiteral("Album"), QStringLiteral("Station")}});
    ASSERT_NE(controller().currentTrack(), nullptr);
    EXPECT_EQ(controller().currentTrack()->name(), u"Stream");
    EXPECT_EQ(remote.last(RemoteAction::trackChanged).value(QStringLiteral("source")),
              QStringLiteral("AppleMusic"));
}

TEST_F(PlayerControllerTest, TheLocalMachineTakesOverFromARemoteServerUnlessItIsConnecting) {
    for (const bool connecting : {true, false}) {
        controller().remotePlayer = std::make_shared<RemotePlayer>();
        controller().setActivePlayer(controller().remotePlayer);
        remote.isConnecting = connecting;
        desktop.quit(iTunes);
        announce(kITunesPlayerInfo);
        EXPECT_EQ(remote.connectedToSelf, connecting ? 0 : 1);
        EXPECT_EQ(controller().activePlayer() != nullptr, connecting);
    }
    EXPECT_EQ(controller().remotePlayer, nullptr);
}

TEST_F(PlayerControllerTest, ATrackThatIsMissingTellsTheEmptyStateAndKeepsTheOldOne) {
    auto& library = desktop.start(iTunes);
    library.playing(QStringLiteral("Song"));
    controller();
    test.loop.runUntilIdle();
    library.track.reset();
    controller().updateTrackInfo();
    const auto message = remote.last(RemoteAction::trackChanged);
    EXPECT_EQ(message.value(QStringLiteral("source")), QString());
    EXPECT_EQ(message.value(QStringLiteral("trackDictionary")).toMap().value(QStringLiteral("trackName")),
              QString());
    EXPECT_EQ(message.value(QStringLiteral("RdioAvailable")), false);
    EXPECT_EQ(message.value(QStringLiteral("SpotifyAvailable")), true);
    EXPECT_EQ(controller().currentTrack()->name(), u"Song");
}

// Changing hands.

TEST_F(PlayerControllerTest, SwitchingToNobodyOrToTheSameKindChangesNothing) {
    desktop.start(spotify);
    controller();
    const auto before = controller().activePlayer();
    controller().switchToPlayer(nullptr);
    controller().switchToPlayer(std::make_shared<MusicPlayer>(MusicPlayerType::Spotify));
    EXPECT_EQ(controller().activePlayer(), before);
}

TEST_F(PlayerControllerTest, SwitchingReadsTheRoleAnewAndEndsEmptyWhenItCannotBeHad) {
    desktop.start(spotify);
    controller();
    const auto argument = std::make_shared<MusicPlayer>(MusicPlayerType::Rdio);
    controller().switchToPlayer(argument);
    EXPECT_EQ(activeType(), std::nullopt);
    desktop.start(rdio);
    controller().setupMusicPlayers();
    pandora.ready = true;
    controller().switchToPlayer(std::make_shared<MusicPlayer>(MusicPlayerType::Pandora));
    EXPECT_EQ(controller().activePlayer(), controller().pandoraPlayer());
    EXPECT_EQ(pandora.made, 1);
    EXPECT_EQ(desktop.applications[rdio].player->commands, QStringList(QStringLiteral("pause")));
}

TEST_F(PlayerControllerTest, LeavingARemoteServerChangesWhatIsAvailable) {
    const auto server = std::make_shared<RemotePlayer>();
    server->rdioAvailable = true;
    const auto changed = count(kAvailableSourcesChanged);
    controller().setActivePlayer(server);
    EXPECT_EQ(controller().availableSources(), ItemSourceType::Rdio);
    EXPECT_EQ(controller().lastActivePlayerType, std::nullopt);
    EXPECT_EQ(*changed, 0);
    controller().setActivePlayer(nullptr);
    EXPECT_EQ(*changed, 1);
    EXPECT_EQ(controller().availableSources(), ItemSourceType::iTunes.unionWith(ItemSourceType::Spotify));
}

TEST_F(PlayerControllerTest, APlayerThatQuitIsNoticedWithinHalfASecond) {
    desktop.start(iTunes).playing(QStringLiteral("Song"));
    controller();
    test.loop.advance(0.4);
    EXPECT_EQ(activeType(), MusicPlayerType::iTunes);
    desktop.quit(iTunes);
    desktop.start(spotify); // no other player is picked instead
    test.loop.advance(0.2);
    EXPECT_EQ(activeType(), std::nullopt);
    EXPECT_EQ(controller().currentTrack(), nullptr);
    EXPECT_EQ(controller().currentAlbumArt(), sSharedAlbumArtworkImage());
    EXPECT_EQ(links.statusText, QString());
}

TEST_F(PlayerControllerTest, AnotherProcessOfTheSamePlayerIsAnotherPlayer) {
    desktop.start(iTunes);
    controller();
    desktop.start(iTunes);
    test.loop.advance(0.5);
    EXPECT_EQ(activeType(), std::nullopt);
}

// Play and pause.

TEST_F(PlayerControllerTest, PlayPauseShowsTheAssumedStateAndReadsTheTrueOneBack) {
    auto& library = desktop.start(iTunes);
    controller();
    test.loop.runUntilIdle();
    controller().playPause();
    controller().playPause();
    EXPECT_EQ(controller().currentPlayState(), kPlayStatePlaying) << "the player has not moved yet";
    EXPECT_EQ(remote.last(RemoteAction::playBackStateChanged).value(QStringLiteral("state")), 0);
    const auto posted = count(kNewPlayStateAvailable);
    test.loop.advance(0.9);
    EXPECT_EQ(*posted, 0);
    test.loop.advance(0.2);
    EXPECT_EQ(*posted, 1) << "only the last read-back fires, and it found a difference";
    EXPECT_EQ(controller().currentPlayState(), kPlayStateNotPlaying);
    EXPECT_EQ(library.commands.count(QStringLiteral("playpause")), 2);
}

TEST_F(PlayerControllerTest, CommandsWithoutAPlayerDoNothing) {
    const auto posted = count(kNewPlayStateAvailable);
    controller().playPause();
    controller().nextTrack();
    controller().setPlayerPosition(5);
    EXPECT_EQ(*posted, 0);
}

// Launched applications.

TEST_F(PlayerControllerTest, APendingItemPlaysOnceItsOwnPlayerIsUp) {
    const auto track =
        Track::SpotifyTrack({{}, QStringLiteral("T"), {}, {}}, QStringLiteral("spotify:track:1"));
    controller().pendingMusicItemAndPlayer =
        PendingMusicItem{track, MusicItemSourceType::Spotify, std::nullopt, QStringLiteral("Kitchen")};
    desktop.start(rdio);
    launchFinished(rdio);
    auto& client = desktop.start(spotify);
    launchFinished(spotify);
    test.loop.advance(2.9);
    EXPECT_TRUE(controller().pendingMusicItemAndPlayer.has_value());
    test.loop.advance(0.2);
    EXPECT_FALSE(controller().pendingMusicItemAndPlayer.has_value());
    EXPECT_TRUE(client.commands.contains(QStringLiteral("key spotify:track:1")));
    EXPECT_TRUE(links.log.contains(QStringLiteral("play T on Spotify for Kitchen")));
    EXPECT_EQ(controller().remoteClientName, QStringLiteral("Kitchen"));
}

// Volume.

TEST_F(PlayerControllerTest, TheVolumeIsPolledButNotRightAfterItWasSet) {
    auto& library = desktop.start(iTunes);
    controller();
    library.volume = 70;
    test.loop.advance(2.0);
    EXPECT_EQ(controller().currentVolume, 70);
    controller().setVolume(30);
    library.volume = 80; // the player's own read-back, late
    test.loop.advance(2.9);
    EXPECT_EQ(controller().currentVolume, 30);
    test.loop.advance(2.2);
    EXPECT_EQ(controller().currentVolume, 80);
}

TEST_F(PlayerControllerTest, SpotifysRoundingIsNoDifferenceAndAPlayerWithoutVolumeIsLeftAlone) {
    auto& client = desktop.start(spotify);
    controller().setVolume(40);
    client.volume = 41;
    controller().checkActivePlayerVolume();
    EXPECT_EQ(controller().currentVolume, 40);
    client.volume = 42;
    controller().checkActivePlayerVolume();
    EXPECT_EQ(controller().currentVolume, 42);
    client.volume.reset();
    controller().checkActivePlayerVolume();
    EXPECT_EQ(controller().currentVolume, 42);
}

TEST_F(PlayerControllerTest, MuteRemembersTheVolume) {
    auto& library = desktop.start(iTunes);
    controller().setVolume(60);
    controller().toggleMuteHotkey();
    EXPECT_TRUE(controller().muted);
    EXPECT_EQ(library.volume, 0);
    controller().toggleMuteHotkey();
    EXPECT_FALSE(controller().muted);
    EXPECT_EQ(library.volume, 60);
}

// Art.

TEST_F(PlayerControllerTest, ArtIsFetchedOncePerAlbumAfterThePlayersDelay) {
    const Image cover(QImage(4, 4, QImage::Format_RGB32));
    auto& library = desktop.start(iTunes);
    library.playing(QStringLiteral("One"));
    library.art = cover;
    controller();
    test.loop.advance(0.9);
    EXPECT_EQ(controller().currentAlbumArt(), sSharedAlbumArtworkImage());
    test.loop.advance(0.2);
    EXPECT_EQ(controller().currentAlbumArt(), cover);
    EXPECT_FALSE(remote.last(RemoteAction::albumArtChanged).value(QStringLiteral("useDefault")).toBool());
    const auto posted = count(kNewAlbumArtAvailable);
    library.playing(QStringLiteral("Two"));
    announce(kITunesPlayerInfo);
    test.loop.advance(2);
    EXPECT_EQ(*posted, 0) << "the same album keeps its art";
    library.playing(QStringLiteral("Three"), QStringLiteral("Somebody else"));
    library.art.reset();
    announce(kITunesPlayerInfo);
    EXPECT_EQ(controller().currentAlbumArt(), sSharedAlbumArtworkImage());
    test.loop.advance(2);
    EXPECT_TRUE(links.log.contains(QStringLiteral("iTunes art Three")));
}

TEST_F(PlayerControllerTest, LateArtOfAnotherAlbumIsDropped) {
    desktop.start(iTunes).playing(QStringLiteral("One"));
    controller();
    test.loop.advance(0.1);
    const Image found(QImage(4, 4, QImage::Format_RGB32));
    controller().replaceAlbumArt(found, {}, {}, QStringLiteral("Album that was left"));
    EXPECT_EQ(controller().currentAlbumArt(), sSharedAlbumArtworkImage());
    controller().replaceAlbumArt(found, {}, {}, QStringLiteral("Album"));
    EXPECT_EQ(controller().currentAlbumArt(), found);
}

} // namespace
} // namespace merlode
