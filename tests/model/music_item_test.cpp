#include "model/album.h"
#include "model/artwork.h"
#include "model/music_item.h"
#include "model/track.h"
#include "support/fake_http.h"
#include "support/test_session.h"

#include <QBuffer>

#include <gtest/gtest.h>

namespace merlode {
namespace {

const QString kURL = u"https://art.example/a.png"_qs;

QByteArray png(int width, int height) {
    QImage pixels(width, height, QImage::Format_RGB32);
    pixels.fill(Qt::darkGreen);
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    pixels.save(&buffer, "PNG");
    return buffer.data();
}

/// Writes down whom it heard of, and can act while it is being told.
class Watcher final : public MusicItemDelegate, public AlbumDelegate {
  public:
    void musicItemUpdated(const std::shared_ptr<MusicItem>& item) override {
        heard.append(item->name());
        if (reaction)
            reaction(*item);
    }
    void albumTracksUpdated() override { heard.append(u"tracks"_qs); }
    void albumTracksSourcesUpdated() override { heard.append(u"sources"_qs); }

    QStringList heard;
    std::function<void(MusicItem&)> reaction;
};

/// Writes down which keys it was asked to look for.
class Seeker final : public MusicItem {
  public:
    explicit Seeker(ItemSourceType sources) : MusicItem(sources, u"1"_qs, u"seeker"_qs) {}
    void getiTunesPlayKey() override { asked.append(u"iTunes"_qs); }
    void getSpotifyPlayKey() override { asked.append(u"Spotify"_qs); }
    void getRdioPlayKey() override { asked.append(u"Rdio"_qs); }

    QStringList asked;
};

class MusicItemTest : public testing::Test {
  protected:
    MusicItemTest() { test.session.installReference<HttpClient>(http); }

    std::shared_ptr<Track> track(const QString& name, ItemSourceType sources = ItemSourceType::None) {
        auto made = Track::make(sources, {.name = name, .albumName = u"al"_qs, .artistName = u"ar"_qs});
        made->setDelegate(watcher);
        return made;
    }
    std::shared_ptr<Album> album(const std::vector<std::shared_ptr<Track>>& tracks = {}) {
        auto made = Album::make(ItemSourceType::None, u"1"_qs, u"al"_qs, u"ar"_qs, {}, false);
        made->setAlbumDelegate(watcher);
        made->setTracks(tracks);
        return made;
    }

    TestSession test;
    FakeHttp http;
    std::shared_ptr<Watcher> watcher = std::make_shared<Watcher>();
};

TEST_F(MusicItemTest, WritingSourcesTellsTheDelegateWhichMayUseTheItemThenTheAlbum) {
    const auto holder = album();
    const auto song = track(u"song"_qs);
    song->setAlbum(holder);
    watcher->reaction = [](MusicItem& told) {
        told.setDelegate({});
        EXPECT_EQ(told.insertSource(ItemSourceType::iTunes), ItemSourceType(5));
    };
    song->setSourceType(ItemSourceType::Rdio);
    EXPECT_EQ(watcher->heard, (QStringList{u"tracks"_qs, u"song"_qs, u"sources"_qs, u"sources"_qs}));
}

TEST_F(MusicItemTest, FetchesAgainAfterEachFailureButOnceAfterSuccess) {
    const auto shown = track(u"song"_qs);
    shown->setImageURL(kURL);
    shown->fetchImage(); // one download at a time
    test.loop.runUntilIdle();
    EXPECT_FALSE(shown->fetchingImage()) << "after an address that does not answer";
    http.route(kURL, "no picture");
    shown->fetchImage();
    test.loop.runUntilIdle();
    EXPECT_FALSE(shown->image());
    EXPECT_EQ(http.requests().size(), 2U);

    http.route(kURL, png(400, 300));
    shown->fetchImage();
    test.loop.runUntilIdle();
    EXPECT_EQ(shown->image().pixels().size(), QSize(176, 176));
    EXPECT_EQ(watcher->heard.size(), 1);
    shown->setImage(Image());
    shown->setImageURL(u"https://art.example/other.png"_qs);
    test.loop.runUntilIdle();
    EXPECT_EQ(http.requests().size(), 3U);
    EXPECT_EQ(http.requests().back().timeoutSeconds, 15.0);
}

TEST_F(MusicItemTest, WhatStartsADownload) {
    EXPECT_EQ(sSharedAlbumArtworkImage().pixels().size(), QSize(528, 528));
    const Image art = *Image::decode(png(10, 10));
    const std::vector<std::tuple<bool, Image, bool>> rows = {
        {true, Image(), true},
        {true, sSharedAlbumArtworkImage(), true}, // must not have been reduced to a picture of its own
        {true, art, false},
        {false, Image(), false},
    };
    for (const auto& [shouldFetch, image, expected] : rows) {
        const auto shown = track(u"song"_qs);
        shown->setShouldFetchImage(shouldFetch);
        shown->setImage(image);
        shown->setImageURL(kURL);
        EXPECT_EQ(shown->fetchingImage(), expected);
        shown->setShouldFetchImage(true); // this one does not look at the picture
        EXPECT_TRUE(shown->fetchingImage());
    }
}

TEST_F(MusicItemTest, AnItemMayGoDuringItsDownload) {
    http.route(kURL, png(20, 20));
    auto shown = track(u"song"_qs);
    shown->setImageURL(kURL);
    test.loop.async([&shown] { shown.reset(); }); // behind the download, ahead of its result
    test.loop.runUntilIdle();
    EXPECT_EQ(http.requests().size(), 1U);
    EXPECT_TRUE(watcher->heard.isEmpty());
}

TEST_F(MusicItemTest, LooksForTheKeysOfMissingServicesAndRemotelyForTheWantedOnes) {
    const auto seeker = std::make_shared<Seeker>(ItemSourceType::Spotify);
    seeker->getPlayKeys();
    test.loop.runUntilIdle();
    EXPECT_EQ(std::exchange(seeker->asked, {}), (QStringList{u"iTunes"_qs, u"Rdio"_qs}));
    seeker->getRemotePlayKeys(ItemSourceType(3));
    EXPECT_EQ(seeker->asked, QStringList{u"Spotify"_qs});
}

TEST_F(MusicItemTest, MergingSharesWhatEitherHasAndTheFirstWins) {
    const auto first = track(u"first"_qs, ItemSourceType::iTunes);
    const auto second = track(u"second"_qs, ItemSourceType::Spotify);
    first->setiTunesPlayKey(u"I1"_qs);
    second->setiTunesPlayKey(u"I2"_qs);
    second->setSpotifyPlayKey(u"S2"_qs);
    second->setImageURL(kURL);
    MusicItem::mergeMusicItems(*first, *second);
    for (const auto& merged : {first, second}) {
        EXPECT_EQ(merged->sourceType(), ItemSourceType(3));
        EXPECT_EQ(merged->iTunesPlayKey(), u"I1"_qs);
        EXPECT_EQ(merged->spotifyPlayKey(), u"S2"_qs);
        EXPECT_TRUE(merged->fetchingImage());
    }
    MusicItem::mergeMusicItems(*first, *first); // which has only one lock to take
}

TEST_F(MusicItemTest, MergingAlbumsMergesEveryEqualPairOfTracksInOrder) {
    const auto a = track(u"A"_qs);
    const auto b = track(u"B"_qs, ItemSourceType::Rdio);
    const auto b1 = track(u"b"_qs, ItemSourceType::Spotify);
    const auto a1 = track(u"a"_qs, ItemSourceType::Spotify);
    const auto a2 = track(u"a"_qs, ItemSourceType::iTunes);
    const auto first = album({a, b, track(u"C"_qs)});
    const auto second = album({b1, a1, a2});
    watcher->heard.clear();
    MusicItem::mergeMusicItems(*first, *second);
    EXPECT_EQ(a1->sourceType(), ItemSourceType::Spotify); // merged before the other one's source came
    EXPECT_EQ(a2->sourceType(), ItemSourceType(3));
    EXPECT_EQ(b1->sourceType(), ItemSourceType(6));
    EXPECT_EQ(watcher->heard, (QStringList{u"A"_qs, u"a"_qs, u"A"_qs, u"a"_qs, u"B"_qs, u"b"_qs}));
}

} // namespace
} // namespace merlode
