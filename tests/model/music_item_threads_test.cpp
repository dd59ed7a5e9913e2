#include "base/executor.h"
#include "base/session.h"
#include "model/album.h"
#include "model/item_link.h"
#include "model/service_hosts.h"
#include "model/track.h"
#include "support/fake_http.h"
#include "support/fake_ports.h"
#include "support/virtual_run_loop.h"

#include <atomic>
#include <latch>
#include <thread>

#include <gtest/gtest.h>

namespace merlode {
namespace {

constexpr int kRounds = 300;

class Counter final : public MusicItemDelegate {
  public:
    void musicItemUpdated(const std::shared_ptr<MusicItem>& item) override {
        (void)item->sourceType(); // would hang if the lock were held
        ++calls;
    }

    std::atomic<int> calls = 0;
};

TEST(MusicItemThreadTest, OneItemIsReadWrittenMergedAndFetchedAtOnce) {
    // The loop's clock stands still while other threads add work to it, so no real time and no event loop is
    // needed.
    FakeHttp http;
    ItemLink link;
    MemoryUserDefaults settings;
    Session session(std::make_unique<VirtualRunLoop>(), makeThreadPoolExecutor());
    session.installReference<HttpClient>(http);
    session.installReference<ItemLink>(link);
    session.installReference<UserDefaults>(settings);
    const SessionScope scope(&session);
    ServiceHosts::sharedController();
    const auto counter = std::make_shared<Counter>();
    const auto a = Track::make(ItemSourceType::None, {.name = u"a"_qs});
    const auto b = Track::make(ItemSourceType::None, {.name = u"A"_qs});
    const auto first = Album::make(ItemSourceType::None, {}, u"al"_qs, {}, {}, true);
    const auto second = Album::make(ItemSourceType::None, {}, u"al"_qs, {}, {}, true);
    first->setTracks({a});
    second->setTracks({b});
    b->setDelegate(counter);

    const std::vector<std::function<void(int)>> pieces = {
        [&](int) { MusicItem::mergeMusicItems(*first, *second); },
        [&](int) { MusicItem::mergeMusicItems(*second, *first); },
        [&](int round) {
            a->setSpotifyPlayKey(QString::number(round));
            a->setAlbum(round % 2 ? first : second);
            a->setDelegate(round % 3 ? counter : nullptr);
            EXPECT_LE(b->trackToDictionary().size(), 11);
        },
        [&](int round) {
            first->setImageURL(u"https://art.example/%1.png"_qs.arg(round % 2));
            second->setTracks(round % 5 ? std::vector{b} : std::vector{b, Track::copyTrack(*a)});
            Track::copyTrack(*a)->getPlayKeys(); // gone before its turn comes
        },
        [&](int round) { first->insertSource(ItemSourceType(quint64(0x100) << round % 8)); },
        [&](int round) { first->insertSource(ItemSourceType(quint64(0x10000) << round % 8)); },
    };
    std::latch start(static_cast<std::ptrdiff_t>(pieces.size()));
    std::vector<std::jthread> threads;
    for (const auto& piece : pieces) {
        threads.emplace_back([&] {
            const SessionScope threadScope(&session);
            start.arrive_and_wait();
            for (int round = 0; round < kRounds; ++round)
                piece(round);
        });
    }
    threads.clear(); // waits for them

    EXPECT_EQ(first->sourceType().rawValue() & 0xffff00U, 0xffff00U);
    MusicItem::mergeMusicItems(*first, *second);
    EXPECT_TRUE(a->spotifyPlayKey());
    EXPECT_EQ(a->spotifyPlayKey(), b->spotifyPlayKey());
    EXPECT_GT(counter->calls, 0);
}

} // namespace
} // namespace merlode
