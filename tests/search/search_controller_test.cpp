#include "base/notification_names.h"
#include "model/item_link.h"
#include "players/remote_player.h"
#include "search/rdio_token_request.h"
#include "search/search_controller.h"
#include "support/fake_http.h"
#include "support/player_fixture.h"

namespace merlode {
namespace {

using namespace notifications;

const QString kSpotify = u"https://api.spotify.com/v1/"_qs;
const QString kPandora = u"http://www.pandora.com/autocomplete?adv=yes&sendquery=no&q="_qs;

class SearchControllerTest : public PlayerFixture {
  protected:
    SearchControllerTest() {
        test.session.installReference<HttpClient>(http);
        test.session.installReference<ItemLink>(items);
        controller(); // the player's
    }

    static QString searchOf(const QString& term) {
        return kSpotify + u"search?q="_qs + term + u"&type=album,artist,track&limit=35&market=US"_qs;
    }
    static QByteArray track(const QByteArray& name, const QByteArray& uri) {
        return R"({"name":")" + name + R"(","album":{"name":"Album"},"artists":[{"name":"Artist"}],"uri":")" +
               uri + "\"}";
    }
    QStringList names(const std::vector<std::shared_ptr<Track>>& tracks) {
        QStringList result;
        for (const auto& item : tracks)
            result << item->name();
        return result;
    }
    SearchController& search() { return SearchController::sharedController(); }
    void searchFor(const QString& term) {
        search().searchForTerm(term);
        test.loop.runUntilIdle();
    }

    FakeHttp http;
    ItemLink items;
};

TEST_F(SearchControllerTest, AllServicesAreAskedInOrderAndTheListsComeAtOnce) {
    http.route(searchOf(u"song"_qs), R"({"tracks":{"items":[)" + track("Song", "s:1") + ',' +
                                         track("Other song", "s:2") + ',' + track("SONG", "s:3") +
                                         R"(]},"albums":{"items":[{"name":"Album","id":"a1","uri":"s:a1",
                   "images":[{"url":"http://art.example/1"}]},{"name":"Lost","id":"a2","uri":"s:a2"}]}})");
    http.route(kSpotify + u"albums/a1"_qs, R"({"artists":[{"name":"Artist"}]})");
    http.route(kPandora + u"song"_qs, "m1\tSong\nm2\tm2\tTwice\r\n\nalone\nm5\tFive");
    const auto began = count(kSearchControllerSearchAction);
    const auto finished = count(kSearchControllerFinished);
    search().searchForTerm(u"song"_qs);
    EXPECT_EQ(*began, 1);
    EXPECT_EQ(*finished, 0);
    test.loop.runUntilIdle();
    EXPECT_EQ(*finished, 1);
    EXPECT_EQ(names(search().searchTracks()), (QStringList{u"Song"_qs, u"Other song"_qs}));
    EXPECT_EQ(search().searchTracks()[0]->spotifyPlayKey(), u"s:3"_qs)
        << "the later key lands on the earlier row";
    ASSERT_EQ(search().searchAlbums().size(), 2U);
    EXPECT_EQ(search().searchAlbums()[0]->artistName(), u"Artist");
    EXPECT_EQ(search().searchAlbums()[1]->artistName(), QString()) << "its own request failed";
    EXPECT_EQ(
        search().searchPandora(),
        (std::vector<PandoraItem>{
            {u"m1"_qs, u"Song"_qs}, {u"m2"_qs, u"Twice"_qs}, {u"alone"_qs, {}}, {u"m5"_qs, u"Five"_qs}}));
    EXPECT_EQ(search().topSearchPandora().size(), 3U);
    EXPECT_EQ(names(search().topSearchTracks()), names(search().searchTracks()));
    EXPECT_NE(search().topSearchTracks()[0], search().searchTracks()[0]);
    const auto& steps = search().stepReports();
    ASSERT_EQ(steps.size(), 3U);
    EXPECT_EQ(steps[1].service, MusicItemSourceType::Spotify);
    EXPECT_FALSE(steps[1].failure);
}

TEST_F(SearchControllerTest, ANewSearchStopsTheOldOneAndAFailedServiceIsNamed) {
    http.route(kPandora + u"two"_qs, "m1\tTwo");
    const auto finished = count(kSearchControllerFinished);
    search().searchForTerm(u"one"_qs);
    searchFor(u"two"_qs);
    EXPECT_EQ(*finished, 1);
    EXPECT_EQ(search().currentSearchTerm(), u"two"_qs);
    EXPECT_EQ(search().searchPandora().size(), 1U);
    EXPECT_TRUE(search().stepReports()[1].failure.has_value());
    search().searchForTerm(u"three"_qs);
    search().cancelSearch();
    test.loop.runUntilIdle();
    EXPECT_EQ(*finished, 1);
    const auto cleared = count(kSearchControllerClearResults);
    search().clearSearchResults(false);
    EXPECT_EQ(*cleared, 1);
}

TEST_F(SearchControllerTest, OnlyEnabledServicesAreAskedAndRdioNever) {
    for (const auto key : {defaults::kEnableITunes, defaults::kEnableSpotify, defaults::kEnablePandora})
        userDefaults.set(key, false);
    EXPECT_EQ(search().preferredService(), MusicItemSourceType::iTunes);
    userDefaults.set(defaults::kEnableRdio, true);
    EXPECT_EQ(search().preferredService(), MusicItemSourceType::Rdio);
    const auto finished = count(kSearchControllerFinished);
    searchFor(u"song"_qs);
    EXPECT_EQ(*finished, 1);
    EXPECT_TRUE(http.requests().empty());
}

TEST_F(SearchControllerTest, SortingTurnsOverAndStartsAnewWithEachSearch) {
    http.route(searchOf(u"x"_qs), R"({"tracks":{"items":[)" + track("b", "1") + ',' + track("C", "2") + ',' +
                                      track("a", "3") + "]}}");
    searchFor(u"x"_qs);
    search().sortSearchTracks(SortType::Name);
    EXPECT_EQ(names(search().searchTracks()), (QStringList{u"C"_qs, u"a"_qs, u"b"_qs}));
    search().sortSearchTracks(SortType::Name);
    EXPECT_EQ(names(search().searchTracks()), (QStringList{u"b"_qs, u"a"_qs, u"C"_qs}));
    search().sortSearchTracks(SortType::Artist);
    EXPECT_EQ(search().trackSortDirection(), SortDirection::AZ);
    searchFor(u"x"_qs);
    EXPECT_EQ(search().trackSortType(), std::nullopt);
}

TEST_F(SearchControllerTest, AClientAsksItsHostAndDoesNotWaitForEver) {
    controller().setRemotePlayer(std::make_shared<RemotePlayer>());
    const auto finished = count(kSearchControllerFinished);
    searchFor(u"song"_qs);
    EXPECT_EQ(remote.last[RemoteAction::remoteSearch].value(u"searchTerm"_qs), u"song"_qs);
    EXPECT_TRUE(http.requests().empty());
    test.loop.advance(20.1);
    EXPECT_EQ(*finished, 1);
    EXPECT_EQ(search().currentSearchTerm(), QString());
    EXPECT_TRUE(search().stepReports().at(0).failure.has_value());
}

TEST_F(SearchControllerTest, OnlyTheAnswerThatIsWaitedForIsTaken) {
    const auto answer = [&](const QString& term, const QString& name) {
        const auto found = Track::iTunesTrack({.name = name}, u"K"_qs);
        search().processRemoteSearchResults(term, {found, found}, {}, ItemSourceType::iTunes);
        test.loop.advance(30);
        return names(search().searchTracks()).join(u',');
    };
    const auto finished = count(kSearchControllerFinished);
    search().searchForTerm(u"own"_qs);
    controller().setRemotePlayer(std::make_shared<RemotePlayer>());
    search().searchForTerm(u"two"_qs);
    EXPECT_EQ(answer(u"two"_qs, u"Two"_qs), u"Two"_qs);
    EXPECT_EQ(*finished, 1) << "neither the search of its own nor the time-out told anything";
    EXPECT_TRUE(http.requests().empty()) << "Spotify is not on offer";
    search().searchForTerm(u"three"_qs);
    EXPECT_EQ(answer(u"two"_qs, u"stale"_qs), QString());
    EXPECT_EQ(answer(u"three"_qs, u"late"_qs) + answer(QString(), u"late"_qs), QString());
    search().searchForTerm(u"four"_qs);
    controller().setRemotePlayer(nullptr);
    searchFor(u"own"_qs);
    test.loop.advance(30);
    EXPECT_EQ(*finished, 3) << "a search of its own does not end by the host's time";
}

TEST_F(SearchControllerTest, RdioIsAskedWithATokenThatIsRenewedInTime) {
    const QString token = u"https://services.rdio.com/oauth2/token/"_qs;
    http.route(token, R"({"access_token":"T","expires_in":60})");
    http.route(u"https://services.rdio.com/api/1"_qs,
               R"({"result":{"results":[{"type":"r","name":"Artist"},
               {"type":"a","key":"a1","name":"Album","artist":"Artist","trackKeys":["t1","t2"]},
               {"type":"t","key":"t1","name":"Song","album":"Album","artist":"Artist","isClean":true,"trackNum":4}]}})");
    SearchFindings findings;
    const QString term = u"a & b"_qs;
    const std::function<bool()> never = [] { return false; };
    const HttpCancellation cancellation;
    const SearchStep step{term, never, cancellation, findings};
    EXPECT_EQ(searchRdio(step), std::nullopt);
    ASSERT_EQ(findings.tracks.size(), 1U);
    EXPECT_EQ(findings.tracks.items()[0]->rdioPlayKey(), u"t1"_qs);
    EXPECT_FALSE(findings.tracks.items()[0]->isExplicit());
    EXPECT_EQ(findings.albums.items()[0]->rdioTrackKeys(), (QStringList{u"t1"_qs, u"t2"_qs}));
    const auto asked = http.requests().at(1);
    EXPECT_EQ(asked.body, "access_token=T&method=search&query=a  b&types=album,artist,track");
    EXPECT_EQ(asked.headers[0].second, "Bearer T");
    RdioTokenRequest::sharedController().getAuthorizationToken();
    EXPECT_EQ(std::ranges::count(http.requests(), token, &HttpRequest::url), 1);
    test.loop.advance(61);
    http.route(token, FakeHttp::Answer{.status = 500});
    EXPECT_EQ(RdioTokenRequest::sharedController().getAuthorizationToken(), u"T"_qs);
    EXPECT_EQ(std::ranges::count(http.requests(), token, &HttpRequest::url), 2);
}

} // namespace
} // namespace merlode
