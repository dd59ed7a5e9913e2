#include "model/album.h"
#include "model/artwork.h"
#include "model/item_link.h"
#include "model/track.h"
#include "support/fake_http.h"
#include "support/fake_ports.h"
#include "support/test_session.h"

#include <gtest/gtest.h>

namespace merlode {
namespace {

const QString kSpotify = u"https://api.spotify.com/v1/"_qs;
const QString kStore =
    u"https://itunes.apple.com/search?entity=album&attribute=artistTerm&term=Artist&limit=100"_qs;
const QString kLastFM =
    u"https://ws.audioscrobbler.com/2.0/?format=json&method=album.getInfo&artist=Artist&album=Album"
    "&api_key=9be17d03f6a2c84d15ea7c60d3b29f48"_qs;

class FakeItemLink final : public ItemLink {
  public:
    std::vector<LibrarySong> songs;
    bool client = false;
    QStringList asked;

    std::shared_ptr<const LibrarySongs> iTunesSongs() override {
        return std::make_shared<LibrarySongs>(songs);
    }
    QString countryCode() override { return u"AT"_qs; }
    bool hasRemotePlayer() override { return client; }
    void fetchiTunesKeyFromHost(const std::shared_ptr<Track>& track) override { asked << track->name(); }
};

class ServicesTest : public testing::Test {
  protected:
    ServicesTest() {
        test.session.installReference<HttpClient>(http);
        test.session.installReference<ItemLink>(link);
        test.session.installReference<UserDefaults>(settings);
    }

    static std::shared_ptr<Track> song(const QString& name) {
        return Track::UnknownTrack(
            {.id = {}, .name = name, .albumName = u"Album"_qs, .artistName = u"Artist"_qs});
    }
    static std::shared_ptr<Album> album(bool loadArtwork = false) {
        return Album::UnknownAlbum(
            {.name = u"Album"_qs, .artistName = u"Artist"_qs, .loadArtwork = loadArtwork});
    }
    /// One track as Spotify tells it.
    static QByteArray item(const QByteArray& name, int number, int disc = 1,
                           const QByteArray& albumName = "ALBUM") {
        return "{\"id\":\"x\",\"name\":\"" + name + "\",\"album\":{\"name\":\"" + albumName +
               "\"},\"artists\":[{\"name\":\"Artist\"}],\"duration_ms\":1500,\"uri\":\"spotify:track:" +
               name + "\",\"track_number\":" + QByteArray::number(number) +
               ",\"disc_number\":" + QByteArray::number(disc) + "}";
    }
    static QByteArray items(const QByteArrayList& list) {
        return "{\"tracks\":{\"items\":[" + list.join(',') + "]}}";
    }

    std::vector<std::pair<QString, qint64>> rows(const Album& of) {
        std::vector<std::pair<QString, qint64>> result;
        for (const auto& track : of.tracks())
            result.emplace_back(track->name(), track->number());
        return result;
    }

    FakeHttp http;
    FakeItemLink link;
    MemoryUserDefaults settings;
    TestSession test;
};

TEST_F(ServicesTest, ASongIsFoundAtSpotifyByAllItsNames) {
    http.route(kSpotify + u"search?q=The%20Song&type=track&market=AT"_qs,
               items({item("The Song", 1, 1, "Album (Deluxe)"), item("THE SONG", 1), item("The Song", 2)}));
    const auto track = song(u"The Song"_qs);
    track->getPlayKeys();
    test.loop.runUntilIdle();
    EXPECT_EQ(track->spotifyPlayKey(), u"spotify:track:THE SONG"_qs);
    EXPECT_TRUE(track->isTrackType(ItemSourceType::Spotify));
    track->getSpotifyPlayKey();
    ASSERT_EQ(http.requests().size(), 1U) << "a known key is not asked for again";
    EXPECT_EQ(http.requests()[0].timeoutSeconds, 15.0);
}

TEST_F(ServicesTest, ASongAndItsAlbumAreFoundInTheLibraryUnlessItIsAnothersTurn) {
    link.songs = {{1, u"Song"_qs, u"Artist"_qs, u"Album (live)"_qs, {}},
                  {0xABC, u"SONG"_qs, u"Somebody"_qs, u"album"_qs, u"aRTIST"_qs}};
    const auto track = song(u"Song"_qs);
    const auto stranger = album();
    link.client = true;
    track->getFavoritesiTunesPlayKey();
    stranger->getiTunesPlayKey();
    test.loop.runUntilIdle();
    EXPECT_EQ(link.asked, QStringList(u"Song"_qs));
    EXPECT_EQ(track->iTunesPlayKey(), std::nullopt);
    EXPECT_EQ(stranger->sourceType(), ItemSourceType::None);
    link.client = false;
    track->getFavoritesiTunesPlayKey();
    stranger->getiTunesPlayKey();
    test.loop.runUntilIdle();
    EXPECT_EQ(track->iTunesPlayKey(), u"0000000000000ABC"_qs);
    EXPECT_TRUE(stranger->isAlbumType(ItemSourceType::iTunes));
    EXPECT_EQ(stranger->iTunesPlayKey(), std::nullopt) << "the library plays an album by its name";
}

TEST_F(ServicesTest, AnAlbumIsFoundAtSpotifyByItsArtistToo) {
    http.route(
        kSpotify + u"search?q=Album%20Artist&type=album&market=AT"_qs,
        "{\"albums\":{\"items\":[{\"name\":\"Album\",\"id\":\"a/1\",\"uri\":\"spotify:album:1\"},"
        "{\"name\":\"Album\",\"id\":\"2\"},{\"name\":\"ALBUM\",\"id\":\"3\",\"uri\":\"spotify:album:3\"}]}}");
    http.route(kSpotify + u"albums/a%2F1"_qs, "{\"artists\":[{\"name\":\"Nobody\"}]}");
    http.route(kSpotify + u"albums/3"_qs, "{\"artists\":[{\"name\":\"ARTIST\"}]}");
    const auto found = album();
    found->getSpotifyPlayKey();
    test.loop.runUntilIdle();
    EXPECT_EQ(found->spotifyPlayKey(), u"spotify:album:3"_qs);
    EXPECT_EQ(found->imageURL(), std::nullopt);
}

TEST_F(ServicesTest, TracksOfSeveralDiscsAreNumberedThroughAndJoinTheRowsThatAreThere) {
    http.route(kSpotify + u"albums/7"_qs, items({item("d2t1", 1, 2), item("One (2009)", 1),
                                                 item("d2t3", 3, 2), item("Two", 2), item("d1t3", 3)}));
    const auto shown = Album::SpotifyAlbum(
        {.playKey = u"spotify:album:7"_qs, .name = u"Album"_qs, .artistName = u"Artist"_qs});
    const auto row = [](const QString& name, qint64 number) {
        return Track::iTunesTrack(
            {.name = name, .albumName = u"Album"_qs, .artistName = u"Artist"_qs, .trackNumber = number},
            u"K"_qs);
    };
    shown->setTracks({row(u"One"_qs, 1), row(u"Two"_qs, 2)});
    shown->getSpotifyTracks();
    shown->getSpotifyTracks();
    test.loop.runUntilIdle();
    const std::vector<std::pair<QString, qint64>> expected{
        {u"One"_qs, 1}, {u"Two"_qs, 2}, {u"d1t3"_qs, 3}, {u"d2t1"_qs, 4}, {u"d2t3"_qs, 6}};
    EXPECT_EQ(rows(*shown), expected);
    const auto first = shown->tracks().front();
    EXPECT_EQ(first->spotifyPlayKey(), u"spotify:track:One (2009)"_qs) << "the same number is the same row";
    EXPECT_EQ(first->iTunesPlayKey(), u"K"_qs);
    EXPECT_EQ(shown->tracks().back()->album(), shown);
    EXPECT_EQ(std::ranges::count(http.requests(), kSpotify + u"albums/7"_qs, &HttpRequest::url), 1);
    const auto keyless = album();
    keyless->getSpotifyTracks();
    EXPECT_FALSE(keyless->fetchingSpotifyTracks());
}

TEST_F(ServicesTest, HostileNumbersOfTracksDoNoHarm) {
    http.route(kSpotify + u"albums/7"_qs,
               R"({"tracks":{"items":[{"track_number":9223372036854775807,"disc_number":2},
                  {"track_number":9223372036854775807,"disc_number":1},{"track_number":-1,"disc_number":-1},5,null]}})");
    const auto shown =
        Album::SpotifyAlbum({.playKey = u"7"_qs, .name = u"Album"_qs, .artistName = u"Artist"_qs});
    shown->getSpotifyTracks();
    test.loop.runUntilIdle();
    EXPECT_EQ(shown->tracks().size(), 3U);
}

TEST_F(ServicesTest, ArtIsLookedForAtOneServiceAfterTheOther) {
    const QByteArray store =
        R"({"results":[{"collectionType":"Album","artistName":"artist","collectionName":"Album"},
        {"collectionType":"Album","artistName":"Artist","collectionName":"Album","artworkUrl60":"http://s/60x60.jpg"}]})";
    const QByteArray spotify = R"({"images":[{"url":"http://p/1"}]})";
    const QByteArray lastFM = R"({"album":{"image":[{"size":"small","#text":"http://l/s"},
        {"size":"medium","#text":""},{"size":"mega","#text":"http://l/m"},{"size":"huge","#text":"x"}]}})";
    const struct {
        QByteArray store, spotify, lastFM;
        std::optional<QString> url;
    } cases[] = {{store, spotify, lastFM, u"http://s/500x500.jpg"_qs},
                 {"{}", spotify, lastFM, u"http://p/1"_qs},
                 {"[not", "{}", lastFM, u"http://l/m"_qs},
                 {"{}", "{}", "{}", std::nullopt}};
    for (const auto& c : cases) {
        http.route(kStore, c.store);
        http.route(kSpotify + u"albums/9"_qs, c.spotify);
        http.route(kLastFM, c.lastFM);
        const auto wanting = album(true);
        wanting->setSpotifyPlayKey(u"spotify:album:9"_qs);
        wanting->fetchiTunesAlbumArt();
        wanting->fetchiTunesAlbumArt();
        test.loop.runUntilIdle();
        EXPECT_EQ(wanting->imageURL(), c.url);
        EXPECT_EQ(wanting->image(), sSharedAlbumArtworkImage());
        EXPECT_FALSE(wanting->fetchingImage()) << "the picture itself could not be had";
    }
}

TEST_F(ServicesTest, CopiesAndDictionariesOfAlbumsHaveWhatTheAlbumHas) {
    const auto original =
        Album::iTunesAlbum({.id = u"iTunes"_qs, .name = u"Album"_qs, .artistName = u"Artist"_qs});
    original->setRdioPlayKey(u"r"_qs);
    original->setDiscNumber(2);
    original->setTracks({Track::UnknownTrack({.name = u"B"_qs, .trackNumber = 2}),
                         Track::UnknownTrack({.name = u"A"_qs, .trackNumber = 1})});
    const auto copy = Album::copyAlbum(*original);
    EXPECT_EQ(*copy, *original);
    EXPECT_EQ(copy->tracks().front()->name(), u"A");
    EXPECT_NE(copy->tracks().front(), original->tracks().back());
    const QVariantMap expected{
        {u"id"_qs, u"iTunes"_qs}, {u"albumName"_qs, u"Album"_qs},      {u"artistName"_qs, u"Artist"_qs},
        {u"discNumber"_qs, 2LL},  {u"iTunesPlayKey"_qs, u"iTunes"_qs}, {u"rdioPlayKey"_qs, u"r"_qs}};
    EXPECT_EQ(copy->albumToDictionary(false), expected);
    EXPECT_EQ(copy->albumToDictionary(true).value(u"tracks"_qs).toList().size(), 2);
}

TEST(ItemLink, CountriesComeFromTheLocale) {
    EXPECT_EQ(ItemLink::countryCodeOf(u"de_AT"_qs), u"AT"_qs);
    EXPECT_EQ(ItemLink::countryCodeOf(u"C"_qs), u"US"_qs);
}

} // namespace
} // namespace merlode
