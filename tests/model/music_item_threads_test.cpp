#include "base/executor.h"
#include "base/session.h"
#include "model/album.h"
#include "model/artwork.h"
#include "model/image_tools.h"
#include "model/queues.h"
#include "model/track.h"
#include "support/fake_http.h"
#include "support/virtual_run_loop.h"

#include <QBuffer>

#include <atomic>
#include <future>
#include <latch>
#include <thread>

#include <gtest/gtest.h>

namespace merlode {
namespace {

constexpr int kRounds = 300;

class Counter final : public MusicItemDelegate, public AlbumDelegate {
  public:
    void musicItemUpdated(const std::shared_ptr<MusicItem>& item) override {
        (void)item->sourceType(); // would hang if the lock were held
        ++calls;
    }
    void albumTracksUpdated() override { ++calls; }
    void albumTracksSourcesUpdated() override { ++calls; }

    std::atomic<int> calls = 0;
};

std::shared_ptr<Track> makeTrack(const QString& name) {
    return Track::make(ItemSourceType::None, {.name = name, .albumName = u"al"_qs, .artistName = u"ar"_qs});
}

QByteArray png() {
    QImage pixels(200, 300, QImage::Format_RGB32);
    pixels.fill(Qt::red);
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    pixels.save(&buffer, "PNG");
    return buffer.data();
}

/// Runs every piece of work on a thread of its own, `kRounds` times, all starting together.
void hammer(Session& session, const std::vector<std::function<void(int round)>>& pieces) {
    std::latch start(static_cast<std::ptrdiff_t>(pieces.size()));
    std::vector<std::thread> threads;
    for (const auto& piece : pieces) {
        threads.emplace_back([&session, &start, &piece] {
            const SessionScope scope(&session);
            start.arrive_and_wait();
            for (int round = 0; round < kRounds; ++round)
                piece(round);
        });
    }
    for (auto& thread : threads)
        thread.join();
}

void waitFor(DispatchQueue& queue) {
    std::promise<void> reached;
    queue.async([&reached] { reached.set_value(); });
    reached.get_future().wait();
}

// The loop's clock stands still while other threads add work to it, so no real time and no event loop is
// needed.
class MusicItemThreadTest : public testing::Test {
  protected:
    MusicItemThreadTest() {
        auto owned = std::make_unique<VirtualRunLoop>();
        loop = owned.get();
        session = std::make_unique<Session>(std::move(owned), makeThreadPoolExecutor());
        session->installReference<HttpClient>(http);
        scope = std::make_unique<SessionScope>(session.get());
    }

    FakeHttp http;
    VirtualRunLoop* loop = nullptr;
    std::unique_ptr<Session> session;
    std::unique_ptr<SessionScope> scope;
    std::shared_ptr<Counter> counter = std::make_shared<Counter>();
};

TEST_F(MusicItemThreadTest, NoSourceAndNoNotificationIsLost) {
    const auto track = makeTrack(u"a"_qs);
    const auto holder = Album::make(ItemSourceType::None, {}, u"al"_qs, u"ar"_qs, {}, false);
    track->setAlbum(holder);
    track->setDelegate(counter);
    holder->setAlbumDelegate(counter);
    std::vector<std::function<void(int)>> pieces;
    for (int thread = 0; thread < 4; ++thread) {
        pieces.emplace_back([&track, thread](int round) {
            track->insertSource(ItemSourceType(quint64(1) << (thread * 8 + round % 8)));
        });
    }
    hammer(*session, pieces);
    EXPECT_EQ(track->sourceType().rawValue(), 0xffffffffU);
    EXPECT_EQ(counter->calls, 4 * kRounds * 2);
}

TEST_F(MusicItemThreadTest, OneItemIsReadWrittenMergedAndFetchedAtOnce) {
    http.route(u"https://art.example/"_qs, png());
    const auto a = makeTrack(u"a"_qs);
    const auto b = makeTrack(u"A"_qs);
    const auto first = Album::make(ItemSourceType::None, {}, u"al"_qs, u"ar"_qs, {}, true);
    const auto second = Album::make(ItemSourceType::None, {}, u"al"_qs, u"ar"_qs, {}, true);
    first->setTracks({a});
    second->setTracks({b});
    for (const auto& track : {a, b})
        track->setDelegate(counter);
    const Image art = resize(sSharedAlbumArtworkImage(), {200, 200});
    hammer(*session,
           {
               [&](int) { MusicItem::mergeMusicItems(*first, *second); },
               [&](int) { MusicItem::mergeMusicItems(*second, *first); },
               [&](int round) {
                   a->setSpotifyPlayKey(QString::number(round));
                   b->setRdioPlayKey(round % 2 ? std::optional(QString::number(round)) : std::nullopt);
                   a->setAlbum(round % 2 ? first : second);
                   a->setDelegate(round % 3 ? counter : nullptr);
               },
               [&](int round) {
                   first->setImageURL(u"https://art.example/%1.png"_qs.arg(round % 2));
                   first->setShouldFetchImage(round % 2);
                   second->setTracks(round % 5 ? std::vector{b} : std::vector{b, Track::copyTrack(*a)});
                   first->getPlayKeys();
                   second->fetchImageInBackground(u"https://art.example/x.png"_qs);
               },
               [&](int) {
                   first->setImage(art);
                   EXPECT_LE(a->trackToDictionary().size(), 11);
                   EXPECT_TRUE(first->image());
               },
           });
    for (DispatchQueue* queue : {&kPlayKeyQueue(), &kImageDownloadQueue(), &kHighResImageDownloadQueue()})
        waitFor(*queue);
    loop->runUntilIdle();

    MusicItem::mergeMusicItems(*first, *second);
    EXPECT_EQ(a->spotifyPlayKey(), QString::number(kRounds - 1));
    EXPECT_EQ(b->spotifyPlayKey(), a->spotifyPlayKey());
    EXPECT_EQ(second->image().pixels().size(), QSize(176, 176));
    EXPECT_GT(counter->calls, 0);
}

TEST_F(MusicItemThreadTest, ItemsMayGoWhileTheirDownloadsRun) {
    http.route(u"https://art.example/"_qs, png());
    hammer(*session, std::vector<std::function<void(int)>>(3, [this](int) {
        const auto item = makeTrack(u"a"_qs);
        item->setDelegate(counter);
        item->setImageURL(u"https://art.example/x.png"_qs);
        item->getPlayKeys();
    }));
    waitFor(kImageDownloadQueue());
    loop->runUntilIdle();
    scope.reset();
    session.reset();
    EXPECT_EQ(counter.use_count(), 1);
}

} // namespace
} // namespace merlode
