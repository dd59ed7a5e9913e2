// A host and its client, each with a session of its own, and between them the text that would travel.

#include "base/property_list.h"
#include "remote/remoteitunes_key_fetcher.h"
#include "support/remote_machine.h"

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
        connect(host.remote.toClients, client);
        connect(client.remote.toHost, host);
        host.pandora.link = &host.remote;
        host.songs = {{1, u"One"_qs, u"Queen"_qs, u"Jazz"_qs}, {2, u"Two"_qs, u"Queen"_qs, u"Jazz"_qs}};
        local.playing(u"Tune"_qs);
        host.as([this] { host.controller(); });
        client.as([this] { client.becomeClient(); });
        settle(2);
    }

    /// Carries what is sent as the text that travels, with what a client adds, to be handled in its turn.
    static void connect(RecordingRemoteLink::Carrier& end, RemoteMachine& to) {
        end = [&to](RemoteAction action, QVariantMap payload) {
            payload.insert({{u"ClientAddress"_qs, to.kAddress}, {u"ClientName"_qs, u"Kitchen"_qs}});
            const QVariantMap message{{u"action"_qs, rawValue(action)}, {u"payload"_qs, payload}};
            to.test.loop.async([text = property_list::serialize(message)] {
                const auto parsed = property_list::parse(text).value_or(QVariant());
                RemoteActionController::sharedController().handleRemoteMessage(parsed.toMap());
            });
        };
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
    QString commands(const QString& of) { return host.desktop.applications[of].player->commands.join(u' '); }

    RemoteMachine host;
    RemoteMachine client;
    FakeScriptedPlayer& local = host.desktop.start(host.iTunes);
    PlayerController& player = client.as([this]() -> auto& { return client.controller(); });
    const std::optional<QString> nobody;
    const std::shared_ptr<Album> album = Album::UnknownAlbum({.name = u"jazz"_qs, .artistName = u"QUEEN"_qs});
};

TEST_F(TwoMachinesTest, AClientThatAsksIsToldEverythingInOrder) {
    QImage cover(3, 2, QImage::Format_RGB32);
    cover.fill(0xff123456);
    local.art = Image(cover);
    local.playing(u"Song"_qs, u"Band"_qs, u"Record"_qs);
    host.as([this] { host.announce(kITunesPlayerInfo); });
    host.pandora.stations = {{{}, u"Radio"_qs}};
    settle(1.2);
    host.remote.log.clear();
    onClient([this] { client.remote.sendMessageToHost(requestBroadcast, {{u"Iam"_qs, u"quietfern"_qs}}); });
    using Sent = std::vector<RecordingRemoteLink::Sent>;
    EXPECT_EQ(host.remote.log, (Sent{{setVolume, 1},
                                     {playBackStateChanged, 1},
                                     {trackChanged, 1},
                                     {albumArtChanged, 1},
                                     {pandoraStationsChanged, 1}}));
    ASSERT_NE(player.currentTrack(), nullptr);
    EXPECT_EQ(player.currentTrack()->iTunesPlayKey(), u"id of Song"_qs);
    EXPECT_EQ(player.currentPlayState(), kPlayStatePlaying);
    EXPECT_EQ(player.currentAlbumArt().pixels().pixel(2, 1), 0xff123456);
    EXPECT_TRUE(player.remotePlayer()->remoteTrackAlbumArt &&
                client.pandora.stations == host.pandora.stations);
}

TEST_F(TwoMachinesTest, CommandsDriveTheHostsPlayerAndWhatCameOfThemComesBack) {
    const auto rated = client.count(kITunesRatingUpdated);
    const auto thumbs = client.count(kPandoraThumbsUpdated);
    host.userDefaults.set(defaults::kHostName, u"Study"_qs);
    client.userDefaults.set(defaults::kHostName, u"Kitchen"_qs);
    onClient([this] {
        player.playPause();
        player.nextTrack();
        player.previousTrack();
        player.setVolume(33);
        player.setiTunesRating(60);
        for (const QString& name : {u"Kitchen"_qs, u"Study"_qs})
            client.remote.sendMessageToHost(reportAddedToFavorites, {{u"userName"_qs, name}});
    });
    EXPECT_EQ(commands(host.iTunes), u"playpause next previous"_qs);
    EXPECT_TRUE(local.volume == 33 && local.stars == 60 && *rated == 1 && player.currentPlayState() == 1);
    ASSERT_TRUE(host.links.notified.size() == 1 && client.links.notified.size() == 1)
        << "not of one's own doing";
    const auto& told = host.links.notified[0];
    EXPECT_EQ(
        QStringList({told.title, told.informativeText, told.userInfo[u"type"_qs].toString()}).join(u'|'),
        u"Favorite|Kitchen just added this track as a favorite.|Favorite Notification"_qs);
    EXPECT_FALSE(told.contentImage.pixels().isNull());
    host.as([this] { host.controller().setServiceEnabled(MusicItemSourceType::Rdio, true); });
    host.pandora.ready = true;
    host.pandora.player->station = u"Radio"_qs;
    onClient([this] {
        player.playPandoraStation({{}, u"Radio"_qs}, nobody, nobody);
        player.playPandoraItem({u"m1"_qs, u"Song"_qs}, nobody, nobody);
        player.setPandoraThumbsDown();
    });
    settle(1.1);
    EXPECT_EQ(host.pandora.player->played, (QStringList{u"station Radio"_qs, u"item Song"_qs}));
    EXPECT_EQ(player.pandoraStationName, u"Radio"_qs);
    EXPECT_TRUE(*thumbs == 1 && host.pandora.player->thumb == 1 && player.remotePlayer()->rdioAvailable);
}

TEST_F(TwoMachinesTest, TheHostPlaysWhatItsClientChoosesOrSaysWhyNot) {
    const auto track = song(u"One"_qs);
    for (MusicItem* item : std::initializer_list<MusicItem*>{track.get(), album.get()}) {
        item->setiTunesPlayKey(u"1"_qs);
        item->setSpotifyPlayKey(u"spotify:track:1"_qs);
        item->setRdioPlayKey(u"t1"_qs);
        item->setSourceType(ItemSourceType(7));
    }
    host.desktop.start(host.rdio);
    host.desktop.applications[host.spotify].installed = false;
    onClient([&] {
        player.playiTunesTrack(track, nobody, nobody);
        player.playiTunesAlbum(album, nobody, nobody);
        player.playRdioTrack(track, nobody, nobody);
        player.playRdioAlbum(album, nobody, nobody);
        player.findAndPlayTrack(track);
        player.findAndPlayAlbum(album);
        player.playSpotifyTrack(track, nobody, nobody);
        player.playSpotifyAlbum(album, nobody, nobody);
    });
    EXPECT_EQ(commands(host.iTunes), u"Merlode|One|jazz|QUEEN Merlode||jazz|QUEEN pause"_qs);
    EXPECT_EQ(commands(host.rdio), u"key t1 key t1 key t1 key t1"_qs)
        << "what is found plays where one plays";
    EXPECT_TRUE(host.links.log.contains(u"play One on Rdio for Kitchen"_qs));
    ASSERT_TRUE(client.alerts.shown.size() == 2 && host.alerts.shown.empty());
    EXPECT_EQ(client.alerts.shown[1].messageText, u"Spotify is not installed"_qs);
}

TEST_F(TwoMachinesTest, TheHostsLibraryIsSearchedAndTheResultsAreWhole) {
    client.http.route(
        u"https://api.spotify.com/v1/search?q=One&type=track&market=US"_qs,
        R"({"tracks":{"items":[{"name":"ONE","album":{"name":"jazz"},"artists":[{"name":"queen"}],
                      "uri":"s:1"}]}})");
    const auto finished = client.count(kSearchControllerFinished);
    auto& search = client.as([]() -> auto& { return SearchController::sharedController(); });
    onClient([&] { search.searchForTerm(u"Queen"_qs); });
    ASSERT_TRUE(*finished == 1 && search.searchTracks().size() == 2 && search.searchAlbums().size() == 1);
    EXPECT_EQ(search.searchTracks()[0]->iTunesPlayKey(), u"0000000000000001"_qs);
    ASSERT_TRUE(search.topSearchTracks().size() == 2 && search.searchAlbums()[0]->tracks().size() == 2);
    for (const auto& track :
         {search.searchTracks()[0], search.topSearchTracks()[0], search.searchAlbums()[0]->tracks()[0]})
        EXPECT_EQ(track->spotifyPlayKey(), u"s:1"_qs);
    EXPECT_TRUE(host.http.requests().empty() && host.library.read.empty())
        << "what goes away needs no keys or art";
    host.userDefaults.set(defaults::kEnableITunes, false);
    onClient([&] { search.searchForTerm(u"Queen"_qs); });
    EXPECT_TRUE(*finished == 2 && search.searchTracks().empty() && search.searchAlbums().empty());
}

TEST_F(TwoMachinesTest, LibraryKeysAreFilledInWhileSomebodyStillWantsThem) {
    auto& fetcher = client.as([]() -> auto& { return RemoteiTunesKeyFetcher::sharedFetcher(); });
    const auto one = song(u"ONE"_qs);
    const auto two = song(u"two"_qs);
    const auto late = song(u"two"_qs);
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
    EXPECT_TRUE(album->isAlbumType(ItemSourceType::iTunes) && !other->isTrackType(ItemSourceType::iTunes));
    EXPECT_EQ(one->iTunesPlayKey(), u"0000000000000001"_qs) << "the album's songs get theirs";
    EXPECT_TRUE(two->isTrackType(ItemSourceType::iTunes));
    onClient([&] {
        fetcher.searchForTrack(late);
        fetcher.removeAllReferences();
    });
    EXPECT_EQ(late->iTunesPlayKey(), std::nullopt) << "the host has been left";
}

} // namespace
} // namespace merlode
