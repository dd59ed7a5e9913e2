// From a player's change to the line that tells of it: a status bar's view of the program.

#include "figures.h"
#include "support.h"
#include "support/mpd_server.h"
#include "support/mpris_double.h"
#include "support/music_files.h"
#include "support/private_bus.h"

#include <cstring>

#include <benchmark/benchmark.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace merlode::bench {

namespace {

constexpr int kUsualChanges = 200;
constexpr double kMilliseconds = 1e3;

int changes() {
    return setting("MERLODE_BENCH_CHANGES", kUsualChanges);
}

Listener followMerlode(const QProcessEnvironment& environment) {
    return {{{builtProgram("merlode"), u"--headless"_qs},
             {builtProgram("merlodectl"), u"status"_qs, u"--follow"_qs, u"--wait"_qs, u"--format"_qs,
              u"{artist} - {title}"_qs}},
            environment,
            {},
            {},
            0};
}

double median(const Listener& listener) {
    return quantile(listener.samples, 0.5) * kMilliseconds;
}
double p95(const Listener& listener) {
    return quantile(listener.samples, 0.95) * kMilliseconds;
}

void compare(benchmark::State& state, const std::string& name, const Listener& ours,
             const Listener& reference, const std::string& referenceName, const std::string& goal) {
    note({name + ", median", "ms", median(ours), median(reference), referenceName, goal});
    note({name + ", 95 of 100", "ms", p95(ours), p95(reference), referenceName, goal});
    state.counters[referenceName + "_median_ms"] = median(reference);
    state.counters[referenceName + "_p95_ms"] = p95(reference);
    state.counters["ratio_" + referenceName] = median(reference) > 0 ? median(ours) / median(reference) : 0;
}

/// Hands the times that were taken to the framework, one iteration a change.
void tell(benchmark::State& state, const Listener& ours) {
    std::size_t next = 0;
    for (auto _ : state)
        state.SetIterationTime(next < ours.samples.size() ? ours.samples[next++] : 0);
    state.counters["median_ms"] = median(ours);
    state.counters["p95_ms"] = p95(ours);
    state.counters["missed"] = ours.missed;
}

// What players send when the track changes.

using Announce = void (*)(MprisDouble& player, const QVariantMap& metadata);

void announceOnce(MprisDouble& player, const QVariantMap& metadata) {
    player.announce({{u"Metadata"_qs, metadata}});
}

void announceFlags(MprisDouble& player, const QStringList& names) {
    for (const auto& name : names)
        player.announce({{name, true}});
}

// The number and order of signals of a player that announces each property by itself, and some of them twice.
void announceBurst(MprisDouble& player, const QVariantMap& metadata) {
    announceOnce(player, metadata);
    announceFlags(player,
                  {u"CanPlay"_qs, u"CanPause"_qs, u"CanGoNext"_qs, u"CanGoPrevious"_qs, u"CanSeek"_qs});
    announceOnce(player, metadata);
    announceFlags(player, {u"CanPlay"_qs, u"CanPause"_qs});
    player.announce({{u"PlaybackStatus"_qs, u"Playing"_qs}});
    announceFlags(player, {u"CanSeek"_qs});
}

// Players that load a track stop for a moment: the track is not in the first signal that matters.
void announceStopFirst(MprisDouble& player, const QVariantMap& metadata) {
    player.announce({{u"PlaybackStatus"_qs, u"Stopped"_qs}});
    announceOnce(player, metadata);
    player.announce({{u"PlaybackStatus"_qs, u"Playing"_qs}});
}

void mprisChange(benchmark::State& state, const char* name, Announce announce) {
    PrivateBus bus;
    MprisDouble player(bus.connect(), u"spotify"_qs,
                       {{u"PlaybackStatus"_qs, u"Playing"_qs},
                        {u"Metadata"_qs, MprisDouble::metadata(u"Start"_qs)},
                        {u"CanPlay"_qs, true},
                        {u"CanControl"_qs, true},
                        {u"Volume"_qs, 0.5},
                        {u"Position"_qs, qint64(0)}});
    const Home home(bus.address());
    auto merlode = followMerlode(home.environment);
    Listener playerctl{{{u"playerctl"_qs, u"--player=spotify"_qs, u"--follow"_qs, u"metadata"_qs,
                         u"--format={{artist}} - {{title}}"_qs}},
                       home.environment,
                       {},
                       {},
                       0};
    Listener bare{{{builtProgram("merlode_bench_minimal"), u"co.vantry.MerlodeBench"_qs, u"--titles"_qs}},
                  home.environment,
                  {},
                  {},
                  0};
    int count = 0;
    const auto title = [&count] { return u"Song %1"_qs.arg(count, 5, 10, QChar(u'0')); };
    measureListeners(
        {&merlode, &playerctl, &bare}, changes(),
        [&] {
            ++count;
            return title().toUtf8();
        },
        [&] { announce(player, MprisDouble::metadata(title())); });
    tell(state, merlode);
    compare(state, name, merlode, playerctl, "playerctl", "ratio 1");
    compare(state, name, merlode, bare, "bare_receiver", "");
}

/// A second client of an mpd, which changes its song.
class MpdRemote {
  public:
    explicit MpdRemote(const QString& socketPath) : fd_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const QByteArray path = socketPath.toLocal8Bit();
        if (path.size() >= static_cast<qsizetype>(sizeof address.sun_path))
            qFatal("the path of mpd's socket is too long");
        std::memcpy(address.sun_path, path.constData(), static_cast<std::size_t>(path.size()));
        if (connect(fd_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
            qFatal("mpd cannot be reached");
    }
    ~MpdRemote() { close(fd_); }
    MpdRemote(const MpdRemote&) = delete;
    MpdRemote& operator=(const MpdRemote&) = delete;

    /// Does not wait for the answer.
    void send(const QByteArray& command) const {
        if (write(fd_, command.constData(), static_cast<std::size_t>(command.size())) != command.size())
            qFatal("mpd has gone");
    }
    /// What the server has answered since.
    void skipAnswers() const {
        char chunk[4096];
        while (recv(fd_, chunk, sizeof chunk, MSG_DONTWAIT) > 0) {
        }
    }

  private:
    int fd_;
};

bool fill(testing_support::MpdServer& server) {
    for (const auto& title : {u"One"_qs, u"Two"_qs}) {
        const testing_support::MusicFile file{.path = server.musicFolder() + u'/' + title + u".flac"_qs,
                                              .title = title,
                                              .album = u"Album"_qs,
                                              .artists = {u"Artist"_qs},
                                              .albumArtist = {},
                                              .track = {},
                                              .picture = {}};
        if (!writeMusicFile(file))
            return false;
    }
    return server.start() &&
           server.ask("command_list_begin\nadd /\nrepeat 1\nplay 0\ncommand_list_end").endsWith("OK\n");
}

void mpdChange(benchmark::State& state) {
    testing_support::MpdServer server;
    if (!fill(server))
        return state.SkipWithError("no mpd");
    PrivateBus bus;
    Home home(bus.address(), u"mpd"_qs);
    home.environment.insert(u"MPD_HOST"_qs, server.socketPath());
    const MpdRemote remote(server.socketPath());
    auto merlode = followMerlode(home.environment);
    Listener mpc{{{u"mpc"_qs, u"idleloop"_qs, u"player"_qs}}, home.environment, "player", {}, 0};
    measureListeners(
        {&merlode, &mpc}, changes(),
        [&] {
            remote.skipAnswers();
            return QByteArray(server.value("Title", "currentsong") == "One" ? "Two" : "One");
        },
        [&] { remote.send("next\n"); });
    tell(state, merlode);
    compare(state, "mpd, next", merlode, mpc, "mpc_idleloop", "");
}

void registerAll() {
    const auto add = [](const char* name, auto function) {
        benchmark::RegisterBenchmark(name, function)
            ->UseManualTime()
            ->Iterations(changes())
            ->Unit(benchmark::kMillisecond);
    };
    add("Follow/MprisSignal", [](auto& state) { mprisChange(state, "MPRIS, one signal", announceOnce); });
    add("Follow/MprisBurst", [](auto& state) { mprisChange(state, "MPRIS, burst of 11", announceBurst); });
    add("Follow/MprisStopFirst",
        [](auto& state) { mprisChange(state, "MPRIS, stop first", announceStopFirst); });
    add("Follow/MpdNext", mpdChange);
}

[[maybe_unused]] const bool registered = (registerAll(), true);

} // namespace

} // namespace merlode::bench
