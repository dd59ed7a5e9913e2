// What a whole search takes beside the round trips that it cannot do without, and how soon a new one has
// stopped one that waits.

#include "app/demo/demo_services.h"
#include "base/notification_names.h"
#include "base/qt_run_loop.h"
#include "base/session.h"
#include "figures.h"
#include "model/item_link.h"
#include "model/remote_link.h"
#include "model/service_hosts.h"
#include "platform/linux/curl_http_client.h"
#include "platform/null_media_library.h"
#include "search/search_controller.h"
#include "support.h"
#include "support/fake_players.h"
#include "support/fake_ports.h"

#include <QCoreApplication>

#include <benchmark/benchmark.h>

namespace merlode::bench {

namespace {

constexpr double kLatency = 0.05; ///< seconds, of each reply
constexpr int kRounds = 15;

/// A search by the real web client on services of this process.
class SearchBench {
  public:
    SearchBench() {
        session_.installReference<UserDefaults>(userDefaults_);
        for (const auto& key : {defaults::kEnableITunes, defaults::kEnableSpotify, defaults::kEnablePandora})
            userDefaults_.set(key, true);
        ServiceHosts::setAll(userDefaults_, services.address());
        ServiceHosts::sharedController();
        session_.install<HttpClient>(std::make_unique<CurlHttpClient>(session_));
        session_.install<MediaLibrary>(std::make_unique<NullMediaLibrary>());
        session_.install<ItemLink>(std::make_unique<ItemLink>());
        session_.install<RemoteLink>(std::make_unique<RecordingRemoteLink>());
        // What a player controller wants, which is there though nobody plays.
        session_.installReference<Workspace>(desktop_);
        session_.installReference<ScriptedPlayers>(desktop_);
        session_.installReference<SearchLink>(links_);
        session_.installReference<PlayReports>(links_);
        session_.installReference<ApplicationDelegate>(links_);
        session_.installReference<PandoraLink>(pandora_);
        finished_ = session_.notificationCenter().addObserver(notifications::kSearchControllerFinished,
                                                              [this](const auto&) { isFinished_ = true; });
    }

    void begin(const QString& term) {
        isFinished_ = false;
        SearchController::sharedController().searchForTerm(term);
    }
    void waitForEnd() const {
        while (!isFinished_)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    static void pass(double seconds) {
        for (const auto start = Clock::now(); secondsSince(start) < seconds;)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
    }
    double secondsOf(const QString& term) {
        const auto start = Clock::now();
        begin(term);
        waitForEnd();
        return secondsSince(start);
    }

    DemoServices services;

  private:
    MemoryUserDefaults userDefaults_;
    FakeDesktop desktop_;
    RecordingLinks links_;
    FakePandora pandora_;
    Session session_{std::make_unique<QtRunLoop>(), makeThreadPoolExecutor()};
    SessionScope scope_{&session_};
    Observation finished_;
    bool isFinished_ = false;
};

// The catalogue's answer, the albums that it names, side by side, and the stations: three replies one after
// the other.
void wholeSearch(benchmark::State& state) {
    constexpr int roundTrips = 3;
    SearchBench bench;
    const QString term = u"a"_qs; // in most names: as many albums as there ever are
    bench.secondsOf(term);
    bench.pass(1); // items that look for themselves
    bench.services.setFault(u"/"_qs, {.latency = kLatency});
    for (auto _ : state) {
        std::vector<double> ours;
        for (int round = 0; round < kRounds; ++round) {
            ours.push_back(bench.secondsOf(term) * 1e3);
            bench.pass(0.2);
        }
        note({"whole search, services of 50 ms, median", "ms", quantile(ours, 0.5),
              roundTrips * kLatency * 1e3, "its three round trips", ""});
    }
}

void nextSearch(benchmark::State& state) {
    SearchBench bench;
    bench.secondsOf(u"lantern"_qs);
    for (auto _ : state) {
        std::vector<double> alone, behind;
        for (int round = 0; round < kRounds; ++round) {
            bench.services.clearFaults();
            alone.push_back(bench.secondsOf(u"nobody has this"_qs) * 1e3);
            bench.services.setFault(u"/v1/"_qs, {.latency = 5});
            bench.begin(u"lantern"_qs);
            bench.pass(0.1);
            bench.services.clearFaults();
            behind.push_back(bench.secondsOf(u"nobody has this"_qs) * 1e3);
        }
        note({"search behind one that waits, p95", "ms", quantile(behind, 0.95), quantile(alone, 0.95),
              "the same alone", "within 50 ms"});
    }
}

BENCHMARK(wholeSearch)->Name("Search/Whole")->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(nextSearch)->Name("Search/Next")->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace

} // namespace merlode::bench
