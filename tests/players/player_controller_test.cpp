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
        {{u"iTunes"_qs, u"Spotify"_qs}, {u"iTunes"_qs, u"Spotify"_qs}, iTunes},
        {{u"iTunes"_qs, u"Rdio"_qs}, {u"Rdio"_qs}, Rdio},
        {{u"iTunes"_qs, u"Rdio"_qs}, {}, iTunes},
        {{u"iTunes"_qs, u"Spotify"_qs}, {}, Spotify},
        {{}, {}, std::nullopt},
    };
    for (const auto& [running, playing, expected] : cases) {
        for (auto& [name, application] : desktop.applications) {
            application = {};
            if (running.contains(name))
                desktop.start(name);
            if (playing.contains(name))
                application.player->playing(u"Song"_qs);
        }
        PlayerController fresh;
        EXPECT_EQ(fresh.activePlayer() ? std::optional(fresh.activePlayer()->type) : std::nullopt, expected)
            << qPrintable(running.join(u','));
        for (const auto& [name, application] : desktop.applications)
            EXPECT_FALSE(application.player->commands.contains(u"pause"_qs));
    }
    desktop.start(u"iTunes"_qs);
    desktop.applications[u"iTunes"_qs].installed = false;
    EXPECT_EQ(activeType(), std::nullopt) << "what is not installed has no adapter";
}

TEST_F(PlayerControllerTest, TheLastActiveKindComesBeforeAnyOtherThatRuns) {
    desktop.start(iTunes);
    controller().setActivePlayer(nullptr);
    desktop.start(spotify);
    ASSERT_EQ(controller().lastActivePlayerType, MusicPlayerType::iTunes);
    controller().setupMusicPlayers();
    EXPECT_EQ(activeType(), MusicPlayerType::iTunes);
}

// The intake.

TEST_F(PlayerControllerTest, APlayerThatStartsTakesTheRoleAndSilencesTheOthers) {
    auto& library = desktop.start(iTunes);
    desktop.start(rdio);
    library.playing(u"First"_qs);
    controller();
    test.loop.runUntilIdle();
    EXPECT_EQ(controller().currentTrack()->name(), u"First");
    EXPECT_EQ(links.statusText, u"Artist - First");

    auto& client = desktop.start(spotify);
    client.playing(u"Second"_qs);
    const auto posted = count(kNewTrackInfoAvailable);
    announce(kSpotifyPlaybackStateChanged);
    EXPECT_EQ(activeType(), MusicPlayerType::Spotify);
    EXPECT_EQ(controller().currentTrack()->name(), u"Second");
    EXPECT_EQ(controller().currentPlayState(), kPlayStatePlaying);
    EXPECT_EQ(library.commands, QStringList(u"pause"_qs));
    EXPECT_EQ(desktop.applications[rdio].player->commands, QStringList(u"pause"_qs));
    EXPECT_EQ(*posted, 1);
    EXPECT_TRUE(links.log.contains(u"started Second at 10"_qs));
    EXPECT_EQ(remote.last[RemoteAction::trackChanged].value(u"source"_qs), spotify);

    client.playing(u"Buy this"_qs);
    client.track->id = u"spotify:ad:1"_qs;
    announce(kSpotifyPlaybackStateChanged);
    EXPECT_EQ(*posted, 1) << "an advertisement changes nothing";
    EXPECT_EQ(controller().currentTrack()->name(), u"Second");
}

TEST_F(PlayerControllerTest, APlayerThatStopsDisturbsNobodyElse) {
    auto& library = desktop.start(iTunes);
    library.playing(u"Song"_qs);
    auto& client = desktop.start(spotify);
    controller();
    test.loop.runUntilIdle();
    const auto posted = count(kNewTrackInfoAvailable);
    client.state = kPlayerStatePaused;
    announce(kSpotifyPlaybackStateChanged);
    EXPECT_EQ(*posted, 0);
    library.state = kPlayerStatePaused;
    announce(kITunesPlayerInfo);
    EXPECT_EQ(*posted, 1);
    EXPECT_EQ(controller().currentPlayState(), kPlayStateNotPlaying);
}

TEST_F(PlayerControllerTest, AStreamIsKnownByTheAnnouncementThatBringsItIn) {
    desktop.start(spotify).playing(u"Song"_qs);
    controller();
    auto& library = desktop.start(iTunes);
    library.playing(u"Stream"_qs);
    library.track->artist.reset();
    announce(kITunesPlayerInfo,
             {{u"Name"_qs, u"Stream"_qs}, {u"Artist"_qs, QString()}, {u"Album"_qs, u"Station"_qs}});
    ASSERT_NE(controller().currentTrack(), nullptr);
    EXPECT_EQ(controller().currentTrack()->name(), u"Stream");
    EXPECT_EQ(remote.last[RemoteAction::trackChanged].value(u"source"_qs), u"AppleMusic"_qs);
}

TEST_F(PlayerControllerTest, TheLocalMachineTakesOverFromARemoteServerUnlessItIsConnecting) {
    for (const bool connecting : {true, false}) {
        controller().setRemotePlayer(std::make_shared<RemotePlayer>());
        controller().setActivePlayer(controller().remotePlayer());
        remote.isConnecting = connecting;
        desktop.quit(iTunes);
        announce(kITunesPlayerInfo);
        EXPECT_EQ(remote.connectedToSelf, connecting ? 0 : 1);
        EXPECT_EQ(controller().activePlayer() != nullptr, connecting);
    }
    EXPECT_EQ(controller().remotePlayer(), nullptr);
}

TEST_F(PlayerControllerTest, ATrackThatIsMissingTellsTheEmptyStateAndKeepsTheOldOne) {
    auto& library = desktop.start(iTunes);
    library.playing(u"Song"_qs);
    controller();
    test.loop.runUntilIdle();
    library.track.reset();
    controller().updateTrackInfo();
    const auto message = remote.last[RemoteAction::trackChanged];
    EXPECT_EQ(message.value(u"source"_qs), QString());
    EXPECT_EQ(message.value(u"RdioAvailable"_qs), false);
    EXPECT_EQ(message.value(u"SpotifyAvailable"_qs), true);
    EXPECT_EQ(controller().currentTrack()->name(), u"Song");
}

// Changing hands.

TEST_F(PlayerControllerTest, SwitchingReadsTheRoleAnewAndEndsEmptyWhenItCannotBeHad) {
    desktop.start(spotify);
    const auto before = controller().activePlayer();
    controller().switchToPlayer(nullptr);
    controller().switchToPlayer(std::make_shared<MusicPlayer>(MusicPlayerType::Spotify));
    EXPECT_EQ(controller().activePlayer(), before);
    controller().switchToPlayer(std::make_shared<MusicPlayer>(MusicPlayerType::Rdio));
    EXPECT_EQ(activeType(), std::nullopt);
    desktop.start(rdio);
    controller().setupMusicPlayers();
    pandora.ready = true;
    controller().switchToPlayer(std::make_shared<MusicPlayer>(MusicPlayerType::Pandora));
    EXPECT_EQ(controller().activePlayer(), controller().pandoraPlayer());
    EXPECT_EQ(pandora.made, 1);
    EXPECT_EQ(desktop.applications[rdio].player->commands, QStringList(u"pause"_qs));
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
    desktop.start(iTunes);
    controller();
    desktop.start(iTunes); // another process of it is another player
    test.loop.advance(0.5);
    EXPECT_EQ(activeType(), std::nullopt);
    desktop.applications[iTunes].player->playing(u"Song"_qs);
    controller().setupMusicPlayers();
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

// Play and pause.

TEST_F(PlayerControllerTest, PlayPauseShowsTheAssumedStateAndReadsTheTrueOneBack) {
    auto& library = desktop.start(iTunes);
    controller();
    test.loop.runUntilIdle();
    controller().playPause();
    controller().playPause();
    EXPECT_EQ(controller().currentPlayState(), kPlayStatePlaying) << "the player has not moved yet";
    EXPECT_EQ(remote.last[RemoteAction::playBackStateChanged].value(u"state"_qs), 0);
    const auto posted = count(kNewPlayStateAvailable);
    test.loop.advance(0.9);
    EXPECT_EQ(*posted, 0);
    test.loop.advance(0.2);
    EXPECT_EQ(*posted, 1) << "only the last read-back fires, and it found a difference";
    EXPECT_EQ(controller().currentPlayState(), kPlayStateNotPlaying);
    EXPECT_EQ(library.commands.count(u"playpause"_qs), 2);
}

// Launched applications.

TEST_F(PlayerControllerTest, APendingItemPlaysOnceItsOwnPlayerIsUp) {
    const auto track = Track::SpotifyTrack({{}, u"T"_qs, {}, {}}, u"spotify:track:1"_qs);
    controller().pendingMusicItemAndPlayer =
        PendingMusicItem{track, MusicItemSourceType::Spotify, std::nullopt, u"Kitchen"_qs};
    desktop.start(rdio);
    auto& client = desktop.start(spotify);
    for (const QString& name : {rdio, spotify})
        test.session.workspaceCenter().post(kWorkspaceDidLaunchApplication, nullptr,
                                            {{u"NSApplicationName"_qs, name}});
    test.loop.advance(2.9);
    EXPECT_TRUE(controller().pendingMusicItemAndPlayer.has_value());
    test.loop.advance(0.2);
    EXPECT_FALSE(controller().pendingMusicItemAndPlayer.has_value());
    EXPECT_TRUE(client.commands.contains(u"key spotify:track:1"_qs));
    EXPECT_TRUE(links.log.contains(u"play T on Spotify for Kitchen"_qs));
    EXPECT_EQ(controller().remoteClientName, u"Kitchen"_qs);
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

TEST_F(PlayerControllerTest, MutingRemembersTheVolumeAndSpotifysRoundingIsNoDifference) {
    auto& client = desktop.start(spotify);
    controller().setVolume(40);
    controller().toggleMuteHotkey();
    EXPECT_EQ(client.volume, 0);
    controller().toggleMuteHotkey();
    EXPECT_EQ(client.volume, 40);
    client.volume = 41;
    controller().checkActivePlayerVolume();
    EXPECT_EQ(controller().currentVolume, 40);
    client.volume = 42;
    controller().checkActivePlayerVolume();
    client.volume.reset();
    controller().checkActivePlayerVolume();
    EXPECT_EQ(controller().currentVolume, 42);
}

// Art.

TEST_F(PlayerControllerTest, ArtIsFetchedOncePerAlbumAfterThePlayersDelay) {
    const Image cover(QImage(4, 4, QImage::Format_RGB32));
    auto& library = desktop.start(iTunes);
    library.playing(u"One"_qs);
    library.art = cover;
    controller();
    test.loop.advance(0.9);
    EXPECT_EQ(controller().currentAlbumArt(), sSharedAlbumArtworkImage());
    test.loop.advance(0.2);
    EXPECT_EQ(controller().currentAlbumArt(), cover);
    EXPECT_FALSE(remote.last[RemoteAction::albumArtChanged].value(u"useDefault"_qs).toBool());
    const auto posted = count(kNewAlbumArtAvailable);
    library.playing(u"Two"_qs);
    announce(kITunesPlayerInfo);
    test.loop.advance(2);
    EXPECT_EQ(*posted, 0) << "the same album keeps its art";
    library.playing(u"Three"_qs, u"Somebody else"_qs);
    library.art.reset();
    announce(kITunesPlayerInfo);
    EXPECT_EQ(controller().currentAlbumArt(), sSharedAlbumArtworkImage());
    test.loop.advance(2);
    EXPECT_TRUE(links.log.contains(u"iTunes art Three"_qs));
    controller().replaceAlbumArt(cover, {}, {}, u"Album that was left"_qs);
    EXPECT_EQ(controller().currentAlbumArt(), sSharedAlbumArtworkImage());
    controller().replaceAlbumArt(cover, {}, {}, u"Album"_qs);
    EXPECT_EQ(controller().currentAlbumArt(), cover);
    library.playing(u"Four"_qs, u"Slow web"_qs);
    announce(kITunesPlayerInfo);
    test.loop.advance(4);
    library.art = cover;
    test.loop.advance(1);
    EXPECT_EQ(controller().currentAlbumArt(), cover) << "late art is better than none";
}

} // namespace
} // namespace merlode
