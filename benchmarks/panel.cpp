// What the item in the bar and the panel cost: from the click until the panel is painted, memory with the
// panel shown, and the processor while a title scrolls in the bar and while nothing happens.

#include "figures.h"
#include "footprint.h"
#include "support.h"
#include "support/mpris_double.h"
#include "support/private_bus.h"

#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QProcess>

#include <memory>

#include <benchmark/benchmark.h>
#include <xcb/xcb.h>

namespace merlode::bench {

namespace {

constexpr int kClicks = 40;
constexpr int kUsualSeconds = 30;
constexpr double kDeadline = 20;
constexpr double kScroll = 6; ///< seconds that the title below takes to go by
constexpr int kX = 640, kY = 15;

const QString kMinimalName = u"co.vantry.MerlodeBenchPanel"_qs;
const QString kItemPath = u"/StatusNotifierItem"_qs;
const QString kItem = u"org.kde.StatusNotifierItem"_qs;
const QString kWatcher = u"org.kde.StatusNotifierWatcher"_qs;

/// A display of its own, of which single pixels are looked at.
class Display {
  public:
    Display() {
        server_.setProcessChannelMode(QProcess::SeparateChannels);
        server_.start(u"Xvfb"_qs, {u"-displayfd"_qs, u"1"_qs, u"-screen"_qs, u"0"_qs, u"1280x800x24"_qs,
                                   u"-nolisten"_qs, u"tcp"_qs});
        if (!server_.waitForStarted() || !server_.waitForReadyRead(10'000))
            return;
        name_ = u':' + QString::fromLatin1(server_.readLine()).trimmed();
        connection_.reset(xcb_connect(name_.toLatin1().constData(), nullptr));
        root_ = xcb_setup_roots_iterator(xcb_get_setup(connection_.get())).data->root;
    }
    ~Display() {
        connection_.reset();
        server_.terminate();
        server_.waitForFinished();
    }

    const QString& name() const { return name_; }

    /// Whether something has been painted there; the display is black at first.
    bool isPainted(int x, int y) const {
        const auto asked = xcb_get_image(connection_.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, root_, std::int16_t(x),
                                         std::int16_t(y), 1, 1, 0xffffff);
        const std::unique_ptr<xcb_get_image_reply_t, decltype(&std::free)> reply(
            xcb_get_image_reply(connection_.get(), asked, nullptr), &std::free);
        const auto* bytes = reply ? xcb_get_image_data(reply.get()) : nullptr;
        return bytes && (bytes[0] || bytes[1] || bytes[2]);
    }

  private:
    QProcess server_;
    QString name_;
    std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection_{nullptr, &xcb_disconnect};
    xcb_window_t root_ = 0;
};

/// A bar that shows every item, as far as items can tell.
class Bar final : public QDBusVirtualObject {
  public:
    explicit Bar(PrivateBus& bus) : connection_(bus.connect()) {
        connection_.registerVirtualObject(u"/StatusNotifierWatcher"_qs, this);
        connection_.registerService(kWatcher);
    }

    QString item; ///< the service of the item that was registered last

    /// A click on the item of this service; does not wait for what comes of it.
    void click(const QString& service) {
        auto call = QDBusMessage::createMethodCall(service, kItemPath, kItem, u"Activate"_qs);
        connection_.asyncCall(call << kX << kY);
    }

    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        if (message.member() == u"RegisterStatusNotifierItem") {
            item = message.arguments().value(0).toString();
            return connection.send(message.createReply());
        }
        return connection.send(message.createReply(QVariant::fromValue(QDBusVariant(true))));
    }

  private:
    QDBusConnection connection_;
};

/// The program with its face, on a display and a bus of its own, while a player plays.
class Stage {
  public:
    explicit Stage(bool withPlayer = true) {
        environment = home.environment;
        environment.insert(u"DISPLAY"_qs, display.name());
        environment.remove(u"QT_QPA_PLATFORM"_qs);
        if (withPlayer)
            player = std::make_unique<MprisDouble>(
                bus.connect(), u"spotify"_qs,
                QVariantMap{{u"PlaybackStatus"_qs, u"Playing"_qs},
                            {u"Metadata"_qs, MprisDouble::metadata(u"First"_qs)},
                            {u"CanControl"_qs, true}});
        const QString module = builtProgram("../lib/merlode/merlode-widgets.so");
        libraries = std::make_unique<OwnLibraries>(QStringList{builtProgram("merlode"), module});
        program = std::make_unique<Child>(QStringList{builtProgram("merlode")}, libraries->in(environment));
        up = waitUntil([this] { return !bar.item.isEmpty(); }, kDeadline);
        waitFor(2);
    }

    /// Seconds from a click on the item of this service until the panel is there, or has gone.
    double toggle(const QString& service, bool shown) {
        constexpr int kInPanelX = kX + 20, kInPanelY = kY + 170; // between the cover and the controls
        const auto before = Clock::now();
        bar.click(service);
        waitUntil([] { return true; }, 0); // sends it
        while (display.isPainted(kInPanelX, kInPanelY) != shown && secondsSince(before) < kDeadline) {
        }
        return secondsSince(before);
    }

    Display display;
    PrivateBus bus;
    Bar bar{bus};
    const Home home{bus.address()};
    QProcessEnvironment environment;
    std::unique_ptr<MprisDouble> player;
    std::unique_ptr<OwnLibraries> libraries;
    std::unique_ptr<Child> program;
    bool up = false;
};

void click(benchmark::State& state) {
    Stage stage;
    const Child minimal({builtProgram("merlode_bench_minimal_panel"), kMinimalName}, stage.environment);
    waitFor(2);
    if (!stage.up)
        return state.SkipWithError("the program did not come up");
    std::vector<double> ours, reference;
    double first = 0;
    for (auto _ : state) {
        for (auto& [service, samples] : {std::pair(kMinimalName, &reference), {stage.bar.item, &ours}}) {
            samples->push_back(stage.toggle(service, true));
            waitFor(0.05);
            stage.toggle(service, false);
            waitFor(0.35); // longer than one click
        }
        first = first > 0 ? first : ours.back();
        state.SetIterationTime(ours.back());
    }
    const double median = quantile(ours, 0.5) * 1e3, least = quantile(reference, 0.5) * 1e3;
    state.counters["median_ms"] = median;
    state.counters["p95_ms"] = quantile(ours, 0.95) * 1e3;
    state.counters["first_ms"] = first * 1e3;
    state.counters["minimal_median_ms"] = least;
    note({"click to panel painted, median", "ms", median, least, "minimal panel", "under 50 ms"});
    note({"the first click", "ms", first * 1e3, least, "minimal panel", ""});
}

void memory(benchmark::State& state) {
    Stage stage;
    const OwnLibraries libraries({builtProgram("merlode_bench_minimal_panel")});
    const Child minimal({builtProgram("merlode_bench_minimal_panel"), kMinimalName},
                        libraries.in(stage.environment));
    waitFor(2);
    double ours = 0, reference = 0;
    for (auto _ : state) {
        stage.toggle(kMinimalName, true);
        reference = megabytes(minimal.pid());
        stage.toggle(kMinimalName, false);
        stage.toggle(stage.bar.item, true);
        waitFor(2);
        ours = megabytes(stage.program->pid());
        state.SetIterationTime(1);
    }
    state.counters["panel_MB"] = ours;
    state.counters["minimal_MB"] = reference;
    note({"PSS, panel shown", "MB", ours, reference, "minimal panel", "under 45 MB"});
}

double percentOver(pid_t process, double seconds, const std::function<void()>& each) {
    const Usage before = Usage::of(process);
    for (double passed = 0; passed < seconds; passed += kScroll) {
        each();
        waitFor(kScroll);
    }
    return (Usage::of(process).seconds - before.seconds) / (std::ceil(seconds / kScroll) * kScroll) * 100;
}

void processor(benchmark::State& state) {
    const double seconds = setting("MERLODE_BENCH_SECONDS", kUsualSeconds);
    const Stage idle(false);
    Stage stage;
    const Child minimal({builtProgram("merlode_bench_minimal_panel"), kMinimalName}, stage.environment);
    waitFor(4); // the scan of the library, which finds nothing
    double scrolling = 0, nothing = 0, reference = 0;
    int number = 0;
    for (auto _ : state) {
        nothing = percentOver(idle.program->pid(), seconds, [] {});
        reference = percentOver(minimal.pid(), seconds, [] {});
        scrolling = percentOver(stage.program->pid(), seconds, [&] {
            const QString title = u"A Title of %1 Words That Is Too Long for Its Slot"_qs.arg(++number);
            stage.player->announce({{u"Metadata"_qs, MprisDouble::metadata(title)}});
        });
        state.SetIterationTime(seconds);
    }
    state.counters["scrolling_percent"] = scrolling;
    state.counters["idle_percent"] = nothing;
    note({"processor while titles scroll", "%", scrolling, reference, "idle minimal", "under 1 %"});
    note({"processor while nothing happens", "%", nothing, reference, "idle minimal", "none"});
}

void registerAll() {
    const auto add = [](const char* name, void (*run)(benchmark::State&), int iterations) {
        benchmark::RegisterBenchmark(name, run)
            ->UseManualTime()
            ->Iterations(iterations)
            ->Unit(benchmark::kMillisecond);
    };
    add("Panel/Click", click, kClicks);
    add("Panel/Memory", memory, 1);
    add("Panel/Processor", processor, 1);
}

[[maybe_unused]] const bool registered = (registerAll(), true);

} // namespace

} // namespace merlode::bench
