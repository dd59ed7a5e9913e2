// What it takes from a command on a client until the client shows what came of it, over loopback; beside two
// bare sockets that exchange as much.

#include "base/notification_names.h"
#include "base/qt_run_loop.h"
#include "base/session.h"
#include "figures.h"
#include "model/item_link.h"
#include "platform/linux/epoll_network.h"
#include "platform/null_media_library.h"
#include "players/player_controller.h"
#include "remote/socket_controller.h"
#include "support.h"
#include "support/fake_http.h"
#include "support/fake_players.h"
#include "support/fake_ports.h"
#include "support/memory_services.h"

#include <QCoreApplication>

#include <thread>

#include <benchmark/benchmark.h>
#include <sys/socket.h>
#include <unistd.h>

namespace merlode::bench {

namespace {

constexpr int kRounds = 500;

/// One machine with the real link, on the loop that all of them share.
class Machine {
  public:
    template<class Work>
    decltype(auto) as(Work work) {
        const SessionScope scope(&session);
        return work();
    }

    Machine(MemoryServices& services, const QString& name) {
        session.installReference<Workspace>(desktop);
        session.installReference<ScriptedPlayers>(desktop);
        session.installReference<UserDefaults>(userDefaults_);
        session.installReference<Alerts>(alerts_);
        session.installReference<SearchLink>(links_);
        session.installReference<PlayReports>(links_);
        session.installReference<ApplicationDelegate>(links_);
        session.installReference<PandoraLink>(pandora_);
        session.install<HttpClient>(std::make_unique<FakeHttp>());
        session.install<MediaLibrary>(std::make_unique<NullMediaLibrary>());
        session.install<ItemLink>(std::make_unique<ItemLink>());
        session.install<ServiceDiscovery>(
            std::make_unique<MemoryDiscovery>(services, session.runLoop(), u"127.0.0.1"_qs));
        session.install<StreamNetwork>(std::make_unique<EpollNetwork>());
        userDefaults_.set(defaults::kHostName, name);
        userDefaults_.set(defaults::kEnableITunes, true);
        as([this] { session.installReference<RemoteLink>(SocketController::sharedController()); });
    }

    FakeDesktop desktop;

  private:
    MemoryUserDefaults userDefaults_;
    FakeAlerts alerts_;
    RecordingLinks links_;
    FakePandora pandora_;

  public:
    Session session{std::make_unique<QtRunLoop>(), makeThreadPoolExecutor()}; // its controllers use all above
};

bool waitFor(const std::function<bool()>& condition) {
    const auto start = Clock::now();
    while (!condition()) {
        if (secondsSince(start) > 20)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 20);
    }
    return true;
}

/// Milliseconds of one exchange of small messages between two threads.
std::vector<double> bareExchanges(qsizetype there, qsizetype back) {
    int ends[2] = {-1, -1};
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0)
        return {};
    const auto readAll = [](int end, qsizetype bytes) {
        std::vector<char> buffer(static_cast<std::size_t>(bytes));
        return ::recv(end, buffer.data(), buffer.size(), MSG_WAITALL) == bytes;
    };
    const std::string reply(static_cast<std::size_t>(back), 'x'),
        command(static_cast<std::size_t>(there), 'x');
    std::thread peer([&] {
        while (readAll(ends[1], there))
            std::ignore = ::send(ends[1], reply.data(), reply.size(), MSG_NOSIGNAL);
    });
    std::vector<double> samples;
    for (int round = 0; round < kRounds; ++round) {
        const auto start = Clock::now();
        std::ignore = ::send(ends[0], command.data(), command.size(), MSG_NOSIGNAL);
        readAll(ends[0], back);
        samples.push_back(secondsSince(start) * 1e3);
    }
    ::shutdown(ends[0], SHUT_RDWR);
    peer.join();
    ::close(ends[0]);
    ::close(ends[1]);
    return samples;
}

void command(benchmark::State& state) {
    MemoryServices services;
    Machine server(services, u"Den"_qs), client(services, u"Kitchen"_qs);
    auto& player = server.desktop.start(u"iTunes"_qs);
    player.playing(u"Song"_qs);
    server.as([] {
        PlayerController::sharedController().setupMusicPlayers();
        SocketController::sharedController().startServer();
    });
    auto& host = server.as([]() -> SocketController& { return SocketController::sharedController(); });
    auto& link = client.as([]() -> SocketController& { return SocketController::sharedController(); });
    waitFor([&] { return host.serverPort() != 0; });
    client.as([&] { link.connectToHostName(u"127.0.0.1:%1"_qs.arg(host.serverPort())); });
    auto& controller = client.as([]() -> PlayerController& { return PlayerController::sharedController(); });
    if (!waitFor([&] { return link.connectedToHost() && controller.hasRemotePlayer(); }))
        return state.SkipWithError("no connection");
    for (auto _ : state) {
        std::vector<double> samples;
        for (int round = 0; round < kRounds; ++round) {
            const int volume = 20 + round % 50;
            const auto start = Clock::now();
            client.as([&] { controller.setVolume(volume); });
            waitFor([&] { return controller.activePlayer()->getSoundVolume() == volume; });
            samples.push_back(secondsSince(start) * 1e3);
        }
        constexpr qsizetype kMessageBytes = 400; // of either message
        const auto bare = bareExchanges(kMessageBytes, kMessageBytes);
        note({"command of a client until it shows, median", "ms", quantile(samples, 0.5), quantile(bare, 0.5),
              "bare exchange", "below 5 ms"});
        note({"command of a client until it shows, p95", "ms", quantile(samples, 0.95), quantile(bare, 0.95),
              "bare exchange", "below 5 ms"});
    }
}

BENCHMARK(command)->Name("Remote/Command")->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace

} // namespace merlode::bench
