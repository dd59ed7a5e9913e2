#include "model/album.h"
#include "players/remote_player.h"
#include "support/player_fixture.h"

namespace merlode {
namespace {

class FindAndPlayTest : public PlayerFixture {
  protected:
    static std::shared_ptr<Track> song(std::initializer_list<ItemSourceType> sources) {
        auto track =
            Track::UnknownTrack({.name = u"Song"_qs, .albumName = u"Album"_qs, .artistName = u"Artist"_qs});
        for (const auto source : sources)
            track->insertSource(source);
        track->setSpotifyPlayKey(u"spotify:track:1"_qs);
        track->setRdioPlayKey(u"r1"_qs);
        return track;
    }
    QStringList commands(const QString& name) { return desktop.applications[name].player->commands; }
    const QString kLibrarySong = u"Merlode|Song|Album|Artist"_qs;
};

TEST_F(FindAndPlayTest, TheActivePlayerComesFirstThenTheRunningOnes) {
    const auto everywhere = song({ItemSourceType::iTunes, ItemSourceType::Spotify, ItemSourceType::Rdio});
    desktop.start(spotify).playing(u"x"_qs);
    desktop.start(iTunes);
    controller().findAndPlayTrack(everywhere);
    EXPECT_EQ(commands(spotify), QStringList(u"key spotify:track:1"_qs));
    EXPECT_TRUE(links.log.contains(u"play Song on Spotify for -"_qs));
    controller().findAndPlayTrack(song({ItemSourceType::iTunes}));
    EXPECT_EQ(activeType(), MusicPlayerType::iTunes);
    EXPECT_EQ(commands(iTunes).size(), 1);
    EXPECT_TRUE(commands(spotify).contains(u"pause"_qs));
    EXPECT_TRUE(desktop.launched.isEmpty());
}

TEST_F(FindAndPlayTest, AnEnabledServiceIsStartedAndPlaysWhenItIsUp) {
    userDefaults.set(defaults::kEnableSpotify, false);
    userDefaults.set(defaults::kEnableRdio, true);
    controller().findAndPlayTrack(song({ItemSourceType::Spotify, ItemSourceType::Rdio}));
    EXPECT_EQ(desktop.launched, QStringList(rdio));
    ASSERT_EQ(alerts.shown.size(), 1U);
    EXPECT_EQ(alerts.shown[0].messageText, u"Rdio is not running"_qs);
    EXPECT_EQ(alerts.shown[0].informativeText, u"Rdio is starting up. This may take a few moments."_qs);
    desktop.start(rdio);
    test.session.workspaceCenter().post(notifications::kWorkspaceDidLaunchApplication, nullptr,
                                        {{u"NSApplicationName"_qs, rdio}});
    test.loop.advance(3.1);
    EXPECT_EQ(commands(rdio), QStringList(u"key r1"_qs));
}

TEST_F(FindAndPlayTest, WhatCannotBePlayedIsToldToWhoAsked) {
    desktop.applications[spotify].installed = false;
    const auto nowhere = song({});
    const auto album = Album::UnknownAlbum({.name = u"Album"_qs});
    controller().findAndPlayTrack(nowhere, true);
    EXPECT_TRUE(alerts.shown.empty()) << "a client hears nothing";
    controller().findAndPlayTrack(nowhere);
    controller().findAndPlayAlbum(album);
    controller().playSpotifyTrack(nowhere, u"10.0.0.7"_qs, u"Kitchen"_qs); // it is not on Spotify at all
    controller().findAndPlayTrack(song({ItemSourceType::Spotify}));
    controller().playPandoraStation({{}, u"Radio"_qs}, std::nullopt, std::nullopt);
    QStringList shown;
    for (const auto& alert : alerts.shown)
        shown << alert.messageText + u'|' + alert.informativeText;
    EXPECT_EQ(
        shown,
        (QStringList{
            u"No players available|We couldn't find a music player for this item."_qs,
            u"No players installed|We couldn't find a music player for this item."_qs,
            u"Spotify is not installed|Please install Spotify"_qs,
            u"Pandora not ready|Pandora is still loading or you need to log into your account under Merlode "
            "Preferences > Pandora"_qs}));
    controller().playSpotifyTrack(song({ItemSourceType::Spotify}), u"10.0.0.7"_qs, u"Kitchen"_qs);
    controller().playPandoraItem({u"m1"_qs, u"Radio"_qs}, u"10.0.0.7"_qs, std::nullopt);
    ASSERT_EQ(remote.alerts.size(), 2);
    EXPECT_EQ(remote.alerts[0],
              (QStringList{u"Spotify is not installed"_qs, u"Please install Spotify"_qs, u"10.0.0.7"_qs}));
    EXPECT_TRUE(remote.alerts[1][1].endsWith(u"Preferences > Pandora on your remote computer."));
    EXPECT_EQ(alerts.shown.size(), 4U);
}

TEST_F(FindAndPlayTest, PandoraPlaysStationsInTheNameOfWhoAsked) {
    pandora.ready = true;
    controller().playPandoraItem({u"m1"_qs, u"Radio"_qs}, std::nullopt, u"Kitchen"_qs);
    EXPECT_EQ(pandora.player->played, QStringList(u"item Radio"_qs));
    EXPECT_EQ(activeType(), MusicPlayerType::Pandora);
    EXPECT_EQ(controller().remoteClientName, u"Kitchen"_qs);
    controller().playPandoraItem({u"m1"_qs, u"Radio"_qs}, u"10.0.0.7"_qs, std::nullopt);
    EXPECT_EQ(controller().remoteClientName, std::nullopt) << "who says no name is not the one before";
}

} // namespace
} // namespace merlode
