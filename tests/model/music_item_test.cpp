#include "model/album.h"
#include "model/artist.h"
#include "model/artwork.h"
#include "model/music_item.h"
#include "model/queues.h"
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
    void getiTunesPlayKey() override { asked->append(u"iTunes"_qs); }
    void getSpotifyPlayKey() override {
        asked->append(u"Spotify"_qs);
        if (onSpotify)
            onSpotify();
    }
    void getRdioPlayKey() override { asked->append(u"Rdio"_qs); }

    std::shared_ptr<QStringList> asked = std::make_shared<QStringList>();
    std::function<void()> onSpotify;
};

class MusicItemTest : public testing::Test {
  protected:
    MusicItemTest() { test.session.installReference<HttpClient>(http); }

    std::shared_ptr<Track> track(const QString& name, ItemSourceType sources = ItemSourceType::None) {
        auto made = Track::make(sources, {.name = name, .albumName = u"al"_qs, .artistName = u"ar"_qs});
        made->setDelegate(watcher);
        return made;
    }
    std::shared_ptr<MusicItem> item(const QString& name = u"item"_qs) {
        auto made = MusicItem::make(ItemSourceType::None, u"1"_qs, name);
        made->setDelegate(watcher);
        return made;
    }
    std::shared_ptr<Album> album(const std::vector<std::shared_ptr<Track>>& tracks = {}) {
        auto made = Album::make(ItemSourceType::None, u"1"_qs, u"al"_qs, u"ar"_qs, {}, false);
        made->setTracks(tracks);
        return made;
    }

    TestSession test;
    FakeHttp http{test.loop};
    std::shared_ptr<Watcher> watcher = std::make_shared<Watcher>();
};

TEST_F(MusicItemTest, WritingSourcesTellsTheDelegateThenTheAlbum) {
    const auto holder = album();
    holder->setAlbumDelegate(watcher);
    const auto song = track(u"song"_qs);
    song->setAlbum(holder);
    song->setSourceType(ItemSourceType::Rdio);
    EXPECT_EQ(song->insertSource(ItemSourceType::Spotify), ItemSourceType(6));
    song->insertSource(ItemSourceType::Spotify);
    EXPECT_EQ(watcher->heard,
              (QStringList{u"song"_qs, u"sources"_qs, u"song"_qs, u"sources"_qs, u"song"_qs, u"sources"_qs}));
    EXPECT_EQ(song->sourceType(), ItemSourceType(6));
}

TEST_F(MusicItemTest, ADelegateMayUseTheItemAndMayBeGone) {
    const auto song = track(u"song"_qs);
    watcher->reaction = [](MusicItem& told) {
        if (!told.sourceType().contains(ItemSourceType::iTunes))
            told.insertSource(ItemSourceType::iTunes);
        told.setDelegate({});
    };
    song->setSourceType(ItemSourceType::Rdio);
    EXPECT_EQ(song->sourceType(), ItemSourceType(5));
    song->setDelegate(watcher);
    watcher.reset();
    song->setSourceType(ItemSourceType::None);
    song->setImage(Image());
    EXPECT_FALSE(song->delegate());
}

TEST_F(MusicItemTest, WritingTracksTellsTheAlbumsDelegate) {
    const auto holder = album();
    holder->setAlbumDelegate(watcher);
    holder->setTracks({track(u"song"_qs)});
    holder->setTracks({});
    EXPECT_EQ(watcher->heard, (QStringList{u"tracks"_qs, u"tracks"_qs}));
}

TEST_F(MusicItemTest, ImagesAreReducedExceptThePlaceholder) {
    const auto shown = item();
    shown->setImage(*Image::decode(png(400, 300)));
    EXPECT_EQ(shown->image().pixels().size(), QSize(176, 176));
    shown->setImage(sSharedAlbumArtworkImage());
    EXPECT_EQ(shown->image(), sSharedAlbumArtworkImage());
    shown->setImage(Image());
    EXPECT_FALSE(shown->image());
    EXPECT_EQ(watcher->heard.size(), 3);
}

TEST_F(MusicItemTest, FetchesOnceAfterSuccessAndAgainAfterEachFailure) {
    const auto shown = item();
    const std::vector<std::function<void()>> failures = {
        [this] { http.fail(kURL); },
        [this] { http.route(kURL, "no picture"); },
        [this] { http.setLatency(16); },
    };
    for (const auto& breakIt : failures) {
        http.route(kURL, png(300, 300));
        breakIt();
        shown->setImageURL(kURL);
        EXPECT_TRUE(shown->fetchingImage());
        shown->fetchImage(); // one download at a time
        test.loop.advance(60);
        EXPECT_FALSE(shown->fetchingImage());
        EXPECT_FALSE(shown->image());
    }
    EXPECT_EQ(http.requests().size(), 3U);

    http.route(kURL, png(300, 300));
    http.setLatency(14);
    shown->fetchImage();
    test.loop.advance(60);
    EXPECT_EQ(shown->image().pixels().size(), QSize(176, 176));
    EXPECT_EQ(watcher->heard.size(), 1);

    shown->setImage(Image());
    shown->setImageURL(u"https://art.example/other.png"_qs);
    shown->setShouldFetchImage(true);
    test.loop.advance(60);
    EXPECT_EQ(http.requests().size(), 4U);
    EXPECT_EQ(http.requests().back().timeoutSeconds, 15.0);
}

TEST_F(MusicItemTest, WhatStartsADownload) {
    const Image art = *Image::decode(png(10, 10));
    const auto starts = [this](bool shouldFetch, const Image& image, auto write) {
        const auto shown = item();
        shown->setShouldFetchImage(shouldFetch);
        shown->setImage(image);
        write(*shown);
        return shown->fetchingImage();
    };
    const auto url = [](MusicItem& shown) { shown.setImageURL(kURL); };
    const auto should = [](MusicItem& shown) {
        shown.setShouldFetchImage(false);
        shown.setImageURL(kURL);
        shown.setShouldFetchImage(true);
    };
    EXPECT_TRUE(starts(true, Image(), url));
    EXPECT_TRUE(starts(true, sSharedAlbumArtworkImage(), url));
    EXPECT_FALSE(starts(true, art, url));
    EXPECT_FALSE(starts(false, Image(), url));
    EXPECT_TRUE(starts(true, art, should)); // this one does not look at the picture
    EXPECT_FALSE(starts(true, Image(), [](MusicItem& shown) { shown.setImageURL(std::nullopt); }));
    EXPECT_TRUE(Artist::make(u"1"_qs, u"ar"_qs, kURL, ItemSourceType::None)->fetchingImage());
    EXPECT_TRUE(Album::make(ItemSourceType::None, u"1"_qs, u"al"_qs, u"ar"_qs, kURL, true)->fetchingImage());
    EXPECT_FALSE(
        Album::make(ItemSourceType::None, u"1"_qs, u"al"_qs, u"ar"_qs, kURL, false)->fetchingImage());
}

TEST_F(MusicItemTest, ASmallPictureNeverReplacesALargeOne) {
    http.route(kURL, png(20, 20));
    const QString large = u"https://art.example/large.png"_qs;
    http.route(large, png(900, 600));
    const auto shown = item();
    shown->fetchImageInBackground(large);
    shown->setImageURL(kURL);
    test.loop.runUntilIdle();
    const Image first = shown->image();
    EXPECT_EQ(first.pixels().size(), QSize(176, 176));
    EXPECT_EQ(watcher->heard.size(), 1);
    EXPECT_EQ(http.requests().size(), 2U);

    shown->fetchImageInBackground(u"not an address"_qs);
    test.loop.runUntilIdle();
    EXPECT_EQ(shown->image(), first);
    shown->fetchImageInBackground(large);
    test.loop.runUntilIdle();
    EXPECT_NE(shown->image(), first);
}

TEST_F(MusicItemTest, ItemsThatAreGoneAreSkippedAtEveryStage) {
    http.route(kURL, png(20, 20));
    auto unasked = item();
    unasked->setImageURL(kURL);
    unasked->fetchImageInBackground(kURL);
    unasked->getPlayKeys();
    unasked.reset();
    test.loop.runUntilIdle();
    EXPECT_TRUE(http.requests().empty());

    auto answered = item();
    answered->setImageURL(kURL);
    test.loop.async([&answered] { answered.reset(); }); // behind the download, ahead of its result
    test.loop.runUntilIdle();
    EXPECT_EQ(http.requests().size(), 1U);
    EXPECT_TRUE(watcher->heard.isEmpty());
}

TEST_F(MusicItemTest, DownloadsOnTheQueueThatItWasGiven) {
    http.route(kURL, png(20, 20));
    const auto slow = item(u"slow"_qs);
    const auto other = item(u"other"_qs);
    other->setImageFetchQueue(kDiscoverImageDownloadQueue());
    EXPECT_EQ(slow->imageFetchQueue().label(), u"co.vantry.Merlode.ImageDownloadQueue"_qs);
    EXPECT_EQ(&other->imageFetchQueue(), &kDiscoverImageDownloadQueue());
    // A queue takes one turn at a time, so the second queue's only work overtakes the first's second.
    kImageDownloadQueue().async([] {});
    slow->setImageURL(kURL);
    other->setImageURL(kURL);
    test.loop.runUntilIdle();
    EXPECT_EQ(watcher->heard, (QStringList{u"other"_qs, u"slow"_qs}));
}

TEST_F(MusicItemTest, LooksForTheKeysOfMissingServices) {
    const std::vector<std::pair<ItemSourceType, QStringList>> rows = {
        {ItemSourceType::None, {u"iTunes"_qs, u"Spotify"_qs, u"Rdio"_qs}},
        {ItemSourceType::iTunes, {u"Spotify"_qs, u"Rdio"_qs}},
        {ItemSourceType(6), {u"iTunes"_qs}},
        {ItemSourceType(7), {}},
    };
    for (const auto& [known, expected] : rows) {
        const auto seeker = std::make_shared<Seeker>(known);
        seeker->getPlayKeys();
        EXPECT_TRUE(seeker->asked->isEmpty());
        test.loop.runUntilIdle();
        EXPECT_EQ(*seeker->asked, expected);
    }
    const auto bare = item();
    bare->getPlayKeys(&kTopAlbumsPlayKeyQueue());
    test.loop.runUntilIdle();
    EXPECT_TRUE(watcher->heard.isEmpty());
}

TEST_F(MusicItemTest, WhatIsMissingIsDecidedOnceAndTheItemMayGoInBetween) {
    auto seeker = std::make_shared<Seeker>(ItemSourceType::iTunes);
    const auto asked = seeker->asked;
    seeker->getPlayKeys();
    seeker->onSpotify = [&seeker] { seeker->setSourceType(ItemSourceType(7)); };
    test.loop.runUntilIdle();
    EXPECT_EQ(*asked, (QStringList{u"Spotify"_qs, u"Rdio"_qs}));

    asked->clear();
    seeker->setSourceType(ItemSourceType::iTunes);
    seeker->onSpotify = [&seeker] { seeker.reset(); };
    seeker->getPlayKeys();
    test.loop.runUntilIdle();
    EXPECT_EQ(*asked, QStringList{u"Spotify"_qs});
}

TEST_F(MusicItemTest, RemoteKeysAreThoseOfTheWantedServicesWithoutITunes) {
    Seeker seeker(ItemSourceType::None);
    seeker.getRemotePlayKeys(ItemSourceType(7));
    EXPECT_EQ(*seeker.asked, (QStringList{u"Rdio"_qs, u"Spotify"_qs}));
    seeker.asked->clear();
    seeker.getRemotePlayKeys(ItemSourceType(3));
    EXPECT_EQ(*seeker.asked, QStringList{u"Spotify"_qs});
}

TEST_F(MusicItemTest, MergingSharesSourcesAndKeysAndTheFirstWins) {
    const auto first = track(u"first"_qs, ItemSourceType::iTunes);
    const auto second = track(u"second"_qs, ItemSourceType::Spotify);
    first->setiTunesPlayKey(u"I1"_qs);
    second->setiTunesPlayKey(u"I2"_qs);
    second->setSpotifyPlayKey(u"S2"_qs);
    first->setPreferredSource(MusicItemSourceType::iTunes);
    first->setDiscNumber(2);
    MusicItem::mergeMusicItems(*first, *second);
    for (const auto& merged : {first, second}) {
        EXPECT_EQ(merged->sourceType(), ItemSourceType(3));
        EXPECT_EQ(merged->iTunesPlayKey(), u"I1"_qs);
        EXPECT_EQ(merged->spotifyPlayKey(), u"S2"_qs);
        EXPECT_EQ(merged->rdioPlayKey(), std::nullopt);
    }
    EXPECT_EQ(second->preferredSource(), std::nullopt);
    EXPECT_EQ(second->discNumber(), 1U);
    EXPECT_EQ(watcher->heard, (QStringList{u"first"_qs, u"second"_qs}));
    MusicItem::mergeMusicItems(*first, *first);
    EXPECT_EQ(first->iTunesPlayKey(), u"I1"_qs);
}

TEST_F(MusicItemTest, MergingTheAddressStartsTheReceiversDownload) {
    const QString other = u"https://art.example/b.png"_qs;
    const auto with = item(u"with"_qs);
    const auto without = item(u"without"_qs);
    with->setImageURL(kURL);
    MusicItem::mergeMusicItems(*without, *with);
    EXPECT_EQ(without->imageURL(), kURL);
    EXPECT_TRUE(without->fetchingImage());

    const auto quiet = item(u"quiet"_qs);
    quiet->setShouldFetchImage(false);
    quiet->setImageURL(other);
    MusicItem::mergeMusicItems(*with, *quiet);
    EXPECT_EQ(quiet->imageURL(), kURL);
    EXPECT_FALSE(quiet->fetchingImage());
}

TEST_F(MusicItemTest, MergingAlbumsMergesEveryEqualPairOfTracksInOrder) {
    const auto a = track(u"A"_qs);
    const auto b = track(u"B"_qs, ItemSourceType::Rdio);
    const auto loner = track(u"C"_qs);
    const auto b1 = track(u"b"_qs, ItemSourceType::Spotify);
    const auto a1 = track(u"a"_qs, ItemSourceType::Spotify);
    const auto a2 = track(u"a"_qs, ItemSourceType::iTunes);
    const auto first = album({a, b, loner});
    const auto second = album({b1, a1, a2});
    MusicItem::mergeMusicItems(*first, *second);
    EXPECT_EQ(a->sourceType(), ItemSourceType(3));
    EXPECT_EQ(a1->sourceType(), ItemSourceType::Spotify); // merged before the other one's source came
    EXPECT_EQ(a2->sourceType(), ItemSourceType(3));
    EXPECT_EQ(b1->sourceType(), ItemSourceType(6));
    EXPECT_EQ(watcher->heard, (QStringList{u"A"_qs, u"a"_qs, u"A"_qs, u"a"_qs, u"B"_qs, u"b"_qs}));
    EXPECT_EQ(first->tracks().size(), 3U);
    EXPECT_EQ(second->tracks().size(), 3U);
}

TEST_F(MusicItemTest, AnAlbumAndATrackOfItsNameShareSourcesOnly) {
    const auto holder = album({track(u"A"_qs)});
    const auto song = track(u"A"_qs, ItemSourceType::Rdio);
    MusicItem::mergeMusicItems(*holder, *song);
    EXPECT_EQ(holder->sourceType(), ItemSourceType::Rdio);
    EXPECT_EQ(holder->tracks().front()->sourceType(), ItemSourceType::None);
}

} // namespace
} // namespace merlode
