// What it costs to have the program there: the time until it tells what plays, and memory and processor after
// that.

#include "figures.h"
#include "footprint.h"
#include "support.h"
#include "support/mpris_double.h"
#include "support/private_bus.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>

#include <benchmark/benchmark.h>

namespace merlode::bench {

namespace {

constexpr int kStarts = 30;
constexpr int kUsualSeconds = 30; // over which the processor's time is counted
constexpr double kDeadline = 10;

const QString kMinimalName = u"co.vantry.MerlodeBench"_qs;
const QString kOurPlayer = u"org.mpris.MediaPlayer2.merlode"_qs;
const QString kPlayerPath = u"/org/mpris/MediaPlayer2"_qs;
const QString kPlayerInterface = u"org.mpris.MediaPlayer2.Player"_qs;
const QString kProperties = u"org.freedesktop.DBus.Properties"_qs;

QVariantMap playingTrack(const QString& title) {
    return {{u"PlaybackStatus"_qs, u"Playing"_qs},
            {u"Metadata"_qs, MprisDouble::metadata(title)},
            {u"CanControl"_qs, true},
            {u"CanPlay"_qs, true},
            {u"Volume"_qs, 0.5},
            {u"Position"_qs, qint64(0)}};
}

/// Hears when a name is taken and when Merlode's own MPRIS object tells a title, by signal or, should that
/// have come before the name, when asked.
class Watch final : public QObject {
    Q_OBJECT
  public:
    Watch(QDBusConnection bus, const QString& name) : bus_(bus), watcher_(name, bus) {
        connect(&watcher_, &QDBusServiceWatcher::serviceRegistered, this, [this] {
            named = true;
            ask();
        });
        bus_.connect({}, kPlayerPath, kProperties, u"PropertiesChanged"_qs, this,
                     SLOT(changed(QString, QVariantMap, QStringList)));
    }

    bool named = false;
    QString title;

  public Q_SLOTS:
    void changed(const QString&, const QVariantMap& properties, const QStringList&) {
        take(properties.value(u"Metadata"_qs));
    }

  private:
    void ask() {
        auto call = QDBusMessage::createMethodCall(kOurPlayer, kPlayerPath, kProperties, u"Get"_qs);
        call << kPlayerInterface << u"Metadata"_qs;
        auto* pending = new QDBusPendingCallWatcher(bus_.asyncCall(call), this);
        connect(pending, &QDBusPendingCallWatcher::finished, this, [this, pending] {
            const auto arguments = pending->reply().arguments();
            if (!arguments.isEmpty())
                take(arguments.constFirst().value<QDBusVariant>().variant());
        });
    }

    void take(const QVariant& metadata) {
        const auto map = qdbus_cast<QVariantMap>(metadata);
        if (map.contains(u"xesam:title"_qs))
            title = map.value(u"xesam:title"_qs).toString();
    }

    QDBusConnection bus_;
    QDBusServiceWatcher watcher_;
};

/// Seconds from the start of the program until `come` holds.
template<class Come>
double startTime(PrivateBus& bus, const QString& name, const QStringList& command,
                 const QProcessEnvironment& environment, Come come) {
    Watch watch(bus.connect(), name);
    const Child child(command, environment);
    const bool good = waitUntil([&] { return come(watch); }, kDeadline);
    return good ? secondsSince(child.startedAt()) : kDeadline;
}

void start(benchmark::State& state) {
    PrivateBus bus;
    const MprisDouble player(bus.connect(), u"spotify"_qs, playingTrack(u"Start"_qs));
    const Home home(bus.address());
    std::vector<double> ours;
    std::vector<double> reference;
    for (auto _ : state) {
        reference.push_back(startTime(bus, kMinimalName,
                                      {builtProgram("merlode_bench_minimal"), kMinimalName}, home.environment,
                                      [](const Watch& watch) { return watch.named; }));
        ours.push_back(startTime(bus, kOurPlayer, {builtProgram("merlode"), u"--headless"_qs},
                                 home.environment,
                                 [](const Watch& watch) { return watch.title == u"Start"; }));
        state.SetIterationTime(ours.back());
    }
    const double median = quantile(ours, 0.5) * 1e3;
    const double minimal = quantile(reference, 0.5) * 1e3;
    state.counters["median_ms"] = median;
    state.counters["p95_ms"] = quantile(ours, 0.95) * 1e3;
    state.counters["minimal_median_ms"] = minimal;
    state.counters["ratio_minimal"] = median / minimal;
    note({"start to now-playing, median", "ms", median, minimal, "minimal, to its name", "under 150 ms"});
}

struct Footprint {
    double idle = 0;
    double playing = 0;
    double percent = 0;
    double wakeUps = 0;
};

void report(benchmark::State& state, const Footprint& ours, const Footprint& minimal) {
    note({"PSS, no player", "MB", ours.idle, minimal.idle, "minimal", "under 15 MB"});
    note({"PSS, playing", "MB", ours.playing, minimal.playing, "minimal", "under 15 MB"});
    note({"processor while playing", "%", ours.percent, minimal.percent, "minimal", "under 0.5 % of a core"});
    note({"wake-ups a second while playing", "", ours.wakeUps, minimal.wakeUps, "minimal", ""});
    state.counters["idle_MB"] = ours.idle;
    state.counters["playing_MB"] = ours.playing;
    state.counters["minimal_MB"] = minimal.playing;
    state.counters["ratio_minimal"] = ours.playing / minimal.playing;
    state.counters["cpu_percent"] = ours.percent;
    state.counters["wakeups_per_s"] = ours.wakeUps;
}

void footprint(benchmark::State& state) {
    const double seconds = setting("MERLODE_BENCH_SECONDS", kUsualSeconds);
    PrivateBus bus;
    const Home home(bus.address());
    const QString merlode = builtProgram("merlode");
    const QString least = builtProgram("merlode_bench_minimal");
    const OwnLibraries merlodeLibraries({merlode});
    const OwnLibraries minimalLibraries({least});
    Watch merlodeWatch(bus.connect(), kOurPlayer);
    Watch minimalWatch(bus.connect(), kMinimalName);
    const Child program({merlode, u"--headless"_qs}, merlodeLibraries.in(home.environment));
    const Child reference({least, kMinimalName, u"--titles"_qs}, minimalLibraries.in(home.environment));
    if (!waitUntil([&] { return merlodeWatch.named && minimalWatch.named; }, kDeadline))
        return state.SkipWithError("the programs did not come up");
    waitFor(2);
    Footprint ours{.idle = megabytes(program.pid())};
    Footprint minimal{.idle = megabytes(reference.pid())};
    MprisDouble player(bus.connect(), u"spotify"_qs, playingTrack(u"First"_qs));
    for (const auto& title : {u"Second"_qs, u"Third"_qs}) {
        waitFor(0.5);
        player.announce({{u"Metadata"_qs, MprisDouble::metadata(title)}});
    }
    if (!waitUntil([&] { return merlodeWatch.title == u"Third"; }, kDeadline))
        return state.SkipWithError("the track was not told");
    waitFor(2);
    for (auto _ : state) {
        const Usage ourStart = Usage::of(program.pid());
        const Usage minimalStart = Usage::of(reference.pid());
        waitFor(seconds);
        const auto count = [seconds](Footprint& into, const Usage& from, pid_t process) {
            const Usage to = Usage::of(process);
            into.percent = (to.seconds - from.seconds) / seconds * 100;
            into.wakeUps = (to.wakeUps - from.wakeUps) / seconds;
            into.playing = megabytes(process);
        };
        count(ours, ourStart, program.pid());
        count(minimal, minimalStart, reference.pid());
        state.SetIterationTime(seconds);
    }
    report(state, ours, minimal);
}

void registerAll() {
    benchmark::RegisterBenchmark("Start", start)
        ->UseManualTime()
        ->Iterations(kStarts)
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("Footprint", footprint)
        ->UseManualTime()
        ->Iterations(1)
        ->Unit(benchmark::kSecond);
}

[[maybe_unused]] const bool registered = (registerAll(), true);

} // namespace

} // namespace merlode::bench

#include "start_and_memory.moc"
