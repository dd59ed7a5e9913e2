// A host and its client, each with a session of its own, and between them the text that would travel.

#include "remote/remoteitunes_key_fetcher.h"
#include "support/wired_machines.h"

namespace merlode {
namespace {

using namespace notifications;
using enum RemoteAction;

std::shared_ptr<Track> song(const QString& name, const QString& artist = u"QUEEN"_qs) {
    return Track::UnknownTrack({.id = u"1"_qs, .name = name, .albumName = u"jazz"_qs, .artistName = artist});
}

class TwoMachinesTest : public testing::Test {
  protected:
    TwoMachinesTest() {
        hostEnd.isHost = true;
        hostEnd.peer = &client.test.session;
        clientEnd.peer = &host.test.session;
        host.pandora.link = &hostEnd;
        host.items.songs = {{1, u"One"_qs, u"Queen"_qs, u"Jazz"_qs}, {2, u"Two"_qs, u"Queen"_qs, u"Jazz"_qs}};
        local = &host.desktop.start(host.iTunes);
        local->playing(u"Tune"_qs);
        local->stars = 80;
        host.as([this] { host.controller(); });
        client.as([this] { client.becomeClient(); });
        settle(2);
    }

    /// Both go on for so long, and then until neither has anything to do.
    void settle(double seconds = 0) {
        for (int turn = 0; turn < 8; ++turn) {
            client.as([&] { client.test.loop.advance(turn ? 0 : seconds); });
            host.as([&] { host.test.loop.advance(turn ? 0 : seconds); });
        }
    }
    template<class Work>
    void onClient(Work work) {
        client.as(work);
        settle();
    }
    PlayerController& player() { return client.controller(); }
    QString commands(const QString& name) {
        return host.desktop.applications[name].player->commands.join(u' ');
    }

    WireEnd hostEnd;
    WireEnd clientEnd;
    RemoteMachine host{&hostEnd};
    RemoteMachine client{&clientEnd};
    FakeScriptedPlayer* local = nullptr;
    const std::optional<QString> nobody;
    const std::shared_ptr<Album> album = Album::UnknownAlbum({.name = u"jazz"_qs, .artistName = u"QUEEN"_qs});
};

TEST_F(TwoMachinesTest, AClientThatAsksIsToldEverythingInOrder) {
    QImage cover(3, 2, QImage::Format_RGB32);
    cover.fill(0xff123456);
    local->art = Image(cover);
    local->playing(u"Song"_qs, u"Band"_qs, u"Record"_qs);
    host.as([this] { host.announce(kITunesPlayerInfo); });
    host.pandora.stations = {{{}, u"Radio"_qs}};
    settle(1.2);
    hostEnd.sent.clear();
    onClient([this] { clientEnd.sendMessageToHost(requestBroadcast, {{u"Iam"_qs, u"quietfern"_qs}}); });
    EXPECT_EQ(hostEnd.sent, (std::vector{setVolume, playBackStateChanged, trackChanged, albumArtChanged,
                                         pandoraStationsChanged}));
    client.as([&] {
        ASSERT_NE(player().currentTrack(), nullptr);
        EXPECT_EQ(player().currentTrack()->iTunesPlayKey(), u"id of Song"_qs);
        EXPECT_EQ(player().currentPlayState(), kPlayStatePlaying);
        EXPECT_EQ(player().currentTrackDuration(), 200);
        EXPECT_EQ(player().currentAlbumArt().pixels().pixel(2, 1), 0xff123456);
        EXPECT_EQ(player().remotePlayer()->remoteTrackAlbumArt, player().currentAlbumArt());
        EXPECT_TRUE(player().remotePlayer()->pandoraAvailable);
        EXPECT_EQ(client.pandora.stations, host.pandora.stations);
    });
}

TEST_F(TwoMachinesTest, CommandsDriveTheHostsPlayerAndWhatCameOfThemComesBack) {
    const auto rated = client.count(kITunesRatingUpdated);
    const auto sources = client.count(kAvailableSourcesChanged);
    const auto thumbs = client.count(kPandoraThumbsUpdated);
    onClient([this] {
        player().playPause();
        player().nextTrack();
        player().previousTrack();
        player().setVolume(33);
        player().setiTunesRating(60);
    });
    EXPECT_EQ(commands(host.iTunes), u"playpause next previous"_qs);
    EXPECT_EQ(local->volume, 33);
    EXPECT_EQ(local->stars, 60);
    EXPECT_EQ(*rated, 1);
    EXPECT_EQ(player().currentPlayState(), kPlayStateNotPlaying);
    host.as([this] { host.controller().setServiceEnabled(MusicItemSourceType::Rdio, true); });
    host.pandora.ready = true;
    host.pandora.player->station = u"Radio"_qs;
    onClient([this] {
        player().playPandoraStation({{}, u"Radio"_qs}, nobody, nobody);
        player().playPandoraItem({u"m1"_qs, u"Song"_qs}, nobody, nobody);
        player().setPandoraThumbsUp();
    });
    EXPECT_TRUE(player().remotePlayer()->rdioAvailable);
    EXPECT_EQ(*sources, 1);
    settle(1.1);
    EXPECT_EQ(host.pandora.player->played, (QStringList{u"station Radio"_qs, u"item Song"_qs}));
    EXPECT_EQ(*thumbs, 1);
    EXPECT_EQ(player().pandoraStationName, u"Radio"_qs);
    onClient([this] { player().setPandoraThumbsDown(); });
    EXPECT_EQ(host.pandora.player->thumb, 1);
}

TEST_F(TwoMachinesTest, TheHostPlaysWhatItsClientChoosesOrSaysWhyNot) {
    const auto track = song(u"One"_qs);
    for (MusicItem* item : std::initializer_list<MusicItem*>{track.get(), album.get()}) {
        item->setiTunesPlayKey(u"1"_qs);
        item->setSpotifyPlayKey(u"spotify:track:1"_qs);
        item->setRdioPlayKey(u"t1"_qs);
        item->setSourceType(ItemSourceType(7));
    }
    host.desktop.start(host.spotify);
    host.desktop.start(host.rdio);
    onClient([&] {
        player().playiTunesTrack(track, nobody, nobody);
        player().playSpotifyTrack(track, nobody, nobody);
        player().playRdioTrack(track, nobody, nobody);
        player().playiTunesAlbum(album, nobody, nobody);
        player().playSpotifyAlbum(album, nobody, nobody);
        player().playRdioAlbum(album, nobody, nobody);
        player().findAndPlayTrack(track);
        player().findAndPlayAlbum(album);
    });
    EXPECT_EQ(commands(host.iTunes),
              u"Merlode|One|jazz|QUEEN pause pause Merlode||jazz|QUEEN pause pause"_qs);
    EXPECT_EQ(commands(host.spotify).count(u"key spotify:track:1"_qs), 2);
    EXPECT_EQ(commands(host.rdio).count(u"key t1"_qs), 4)
        << "found, and played where the player in charge is";
    EXPECT_TRUE(host.links.log.contains(u"play One on Spotify for Kitchen"_qs));
    host.desktop.applications[host.spotify] = {.installed = false};
    onClient([&] { player().playSpotifyTrack(track, nobody, nobody); });
    ASSERT_EQ(client.alerts.shown.size(), 1U);
    EXPECT_EQ(client.alerts.shown[0].messageText, u"Spotify is not installed"_qs);
    EXPECT_TRUE(host.alerts.shown.empty());
}

TEST_F(TwoMachinesTest, AFavoriteIsToldToEverybodyElse) {
    host.userDefaults.set(defaults::kHostName, u"Study"_qs);
    client.userDefaults.set(defaults::kHostName, u"Kitchen"_qs);
    for (const QString& name : {u"Kitchen"_qs, u"Study"_qs})
        onClient([&] { clientEnd.sendMessageToHost(reportAddedToFavorites, {{u"userName"_qs, name}}); });
    ASSERT_EQ(host.links.notified.size(), 1U);
    const auto& told = host.links.notified[0];
    EXPECT_EQ(told.title + told.informativeText, u"FavoriteKitchen just added this track as a favorite."_qs);
    EXPECT_EQ(told.userInfo.value(u"type"_qs), u"Favorite Notification"_qs);
    EXPECT_FALSE(told.contentImage.pixels().isNull());
    ASSERT_EQ(client.links.notified.size(), 1U) << "not of its own doing";
    EXPECT_TRUE(client.links.notified[0].informativeText.startsWith(u"Study"));
}

TEST_F(TwoMachinesTest, TheHostsLibraryIsSearchedAndTheResultsAreWhole) {
    client.http.route(
        u"https://api.spotify.com/v1/search?q=One&type=track&market=US"_qs,
        R"({"tracks":{"items":[{"name":"ONE","album":{"name":"jazz"},"artists":[{"name":"queen"}],
                      "uri":"s:1"}]}})");
    const auto finished = client.count(kSearchControllerFinished);
    auto& search = client.as([this]() -> SearchController& { return client.search(); });
    onClient([&] { search.searchForTerm(u"Queen"_qs); });
    EXPECT_EQ(*finished, 1);
    ASSERT_EQ(search.searchTracks().size(), 2U);
    EXPECT_EQ(search.searchTracks()[0]->iTunesPlayKey(), u"0000000000000001"_qs);
    EXPECT_EQ(search.searchTracks()[0]->spotifyPlayKey(), u"s:1"_qs);
    EXPECT_EQ(search.topSearchTracks().size(), 2U);
    EXPECT_TRUE(search.topSearchTracks()[0]->isTrackType(ItemSourceType::Spotify));
    ASSERT_EQ(search.searchAlbums().size(), 1U);
    ASSERT_EQ(search.searchAlbums()[0]->tracks().size(), 2U);
    EXPECT_TRUE(search.searchAlbums()[0]->tracks()[0]->isTrackType(ItemSourceType::Spotify));
    EXPECT_TRUE(host.http.requests().empty()) << "the host looks for no keys of what it sends away";
    EXPECT_TRUE(host.library.read.empty()) << "nor for art";
    host.userDefaults.set(defaults::kEnableITunes, false);
    onClient([&] { search.searchForTerm(u"Queen"_qs); });
    EXPECT_EQ(*finished, 2);
    EXPECT_TRUE(search.searchTracks().empty() && search.searchAlbums().empty());
}

TEST_F(TwoMachinesTest, LibraryKeysAreFilledInWhileSomebodyStillWantsThem) {
    auto& fetcher = client.as([]() -> auto& { return RemoteiTunesKeyFetcher::sharedFetcher(); });
    const auto one = song(u"ONE"_qs);
    const auto two = song(u"two"_qs);
    const auto other = song(u"One"_qs, u"Abba"_qs);
    auto gone = song(u"Two"_qs);
    album->setTracks({one});
    onClient([&] {
        fetcher.searchForTrack(gone);
        fetcher.searchForTrack(other);
        fetcher.searchForTrack(two);
        fetcher.searchForAlbum(album);
        gone.reset();
    });
    EXPECT_TRUE(album->isAlbumType(ItemSourceType::iTunes));
    EXPECT_EQ(one->iTunesPlayKey(), u"0000000000000001"_qs) << "the album's songs get theirs";
    EXPECT_EQ(two->iTunesPlayKey(), u"0000000000000002"_qs);
    EXPECT_EQ(other->sourceType(), ItemSourceType::None);
    const auto late = song(u"Two"_qs);
    onClient([&] {
        fetcher.searchForTrack(late);
        fetcher.removeAllReferences();
    });
    EXPECT_EQ(late->iTunesPlayKey(), std::nullopt) << "the host has been left";
}

} // namespace
} // namespace merlode
