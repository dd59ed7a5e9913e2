#include "model/artwork.h"
#include "model/item_link.h"
#include "search/art_search.h"
#include "support/fake_http.h"
#include "support/player_fixture.h"

#include <QBuffer>

namespace merlode {
namespace {

class ArtSearchTest : public PlayerFixture {
  protected:
    ArtSearchTest() {
        test.session.installReference<HttpClient>(http);
        test.session.installReference<ItemLink>(items);
        QBuffer buffer(&picture);
        QImage(8, 8, QImage::Format_RGB32).save(&buffer, "PNG");
        http.route(kStore,
                   R"({"results":[{"collectionType":"Album","artistName":"Artist","collectionName":"Album",
                               "artworkUrl100":"https://art.example/a.100x100-75.jpg"}]})");
        http.route(u"https://art.example/a.512x512-75.jpg"_qs, picture);
        desktop.start(iTunes).playing(u"Song"_qs);
        controller();
        test.loop.runUntilIdle();
    }

    const QString kStore =
        u"https://itunes.apple.com/search?entity=album&attribute=artistTerm&term=Artist&limit=100"_qs;
    FakeHttp http;
    ItemLink items;
    QByteArray picture;
    ArtSearch search;
};

TEST_F(ArtSearchTest, TheStoreHasArtOfTheVeryAlbum) {
    search.findiTunesAlbumArt(*controller().currentTrack());
    test.loop.runUntilIdle();
    EXPECT_EQ(controller().currentAlbumArt().pixels().width(), 8);
}

TEST_F(ArtSearchTest, ArtThatComesAfterTheAlbumWasLeftIsDropped) {
    http.route(kStore, {.body = http.send({.url = kStore}).value_or(QByteArray()), .latency = 4});
    search.findiTunesAlbumArt(*controller().currentTrack());
    desktop.start(spotify).playing(u"Other"_qs, u"Artist"_qs, u"Other album"_qs);
    announce(notifications::kSpotifyPlaybackStateChanged);
    test.loop.advance(6);
    EXPECT_EQ(http.requests().back().url, u"https://art.example/a.512x512-75.jpg"_qs);
    EXPECT_EQ(controller().currentAlbumArt(), sSharedAlbumArtworkImage());
}

TEST_F(ArtSearchTest, SpotifysTracksLeadToTheirArtAndNonsenseToNone) {
    const QString track = u"https://api.spotify.com/v1/tracks/7?market=US"_qs;
    for (const QByteArray& reply :
         {QByteArray("<html>"), QByteArray(R"({"album":{"name":"Album","images":[]}})")}) {
        http.route(track, reply);
        search.findSpotifyAlbumArt(u"spotify:track:7"_qs);
        test.loop.runUntilIdle();
        EXPECT_EQ(controller().currentAlbumArt(), sSharedAlbumArtworkImage());
    }
    http.route(track,
               R"({"album":{"name":"Album","images":[{"url":"https://art.example/a.512x512-75.jpg"}]}})");
    search.findSpotifyAlbumArt(u"https://open.spotify.com/track/7?si=1"_qs);
    test.loop.runUntilIdle();
    EXPECT_NE(controller().currentAlbumArt(), sSharedAlbumArtworkImage());
}

} // namespace
} // namespace merlode
