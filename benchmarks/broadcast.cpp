// One picture to many clients on this machine: our sockets against a loop that does nothing but send the
// bytes.

#include "base/qt_run_loop.h"
#include "figures.h"
#include "platform/linux/epoll_network.h"
#include "platform/linux/epoll_thread.h"
#include "remote/socket_connection.h"
#include "support.h"

#include <QCoreApplication>
#include <QFile>

#include <atomic>
#include <thread>

#include <benchmark/benchmark.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/socket.h>

namespace merlode::bench {

namespace {

constexpr qsizetype kArtBytes = 5'000'000;
constexpr int kUsualRounds = 30;

sockaddr_in loopback(quint16 port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

/// Clients that take what comes and count it, on a thread of their own.
class Receivers {
  public:
    Receivers(int count, quint16 port) : epoll_(::epoll_create1(0)) {
        for (int index = 0; index < count; ++index) {
            sockets_.emplace_back(::socket(AF_INET, SOCK_STREAM, 0));
            auto address = loopback(port);
            if (::connect(sockets_.back().get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
                qFatal("a client could not connect");
            epoll_event event{};
            event.events = EPOLLIN;
            event.data.fd = sockets_.back().get();
            ::epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, event.data.fd, &event);
        }
        thread_ = std::jthread([this](const std::stop_token& stop) { run(stop); });
    }

    /// When all clients together have received so many bytes since the last call.
    void await(qint64 bytes) {
        for (qint64 seen = received_; seen < bytes; seen = received_)
            received_.wait(seen);
        received_ -= bytes;
    }

  private:
    void run(const std::stop_token& stop) {
        std::vector<char> buffer(1 << 18);
        epoll_event events[64];
        while (!stop.stop_requested()) {
            const int count = ::epoll_wait(epoll_.get(), events, 64, 100);
            for (int index = 0; index < count; ++index) {
                const auto got = ::recv(events[index].data.fd, buffer.data(), buffer.size(), MSG_DONTWAIT);
                if (got <= 0)
                    continue;
                received_ += got;
                received_.notify_one();
            }
        }
    }

    OwnedDescriptor epoll_;
    std::vector<OwnedDescriptor> sockets_;
    std::atomic<qint64> received_ = 0;
    std::jthread thread_;
};

/// The program's sockets.
struct OurServer final : GCDAsyncSocketDelegate, std::enable_shared_from_this<OurServer> {
    QtRunLoop loop;
    EpollNetwork network;
    SocketPtr listening;
    std::vector<SocketPtr> clients;

    quint16 listen() {
        QString error;
        listening = std::make_shared<GCDAsyncSocket>(weak_from_this(), loop, network);
        listening->acceptOnPort(0, &error);
        return listening->localPort();
    }
    void socketDidAcceptNewSocket(const SocketPtr&, const SocketPtr& newSocket) override {
        clients.push_back(newSocket);
    }
    void accept(std::size_t count) {
        while (clients.size() < count)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 100);
    }
    void send(const QByteArray& message) {
        for (const auto& client : clients)
            client->writeData(message, 1);
    }
};

/// The least that can be done.
class BareServer {
  public:
    BareServer() : listening_(::socket(AF_INET, SOCK_STREAM, 0)), epoll_(::epoll_create1(0)) {
        auto address = loopback(0);
        ::bind(listening_.get(), reinterpret_cast<sockaddr*>(&address), sizeof address);
        ::listen(listening_.get(), 128);
    }
    quint16 port() const {
        sockaddr_in address{};
        socklen_t size = sizeof address;
        ::getsockname(listening_.get(), reinterpret_cast<sockaddr*>(&address), &size);
        return ntohs(address.sin_port);
    }
    void accept(std::size_t count) {
        while (clients_.size() < count) {
            clients_.emplace_back(::accept4(listening_.get(), nullptr, nullptr, SOCK_NONBLOCK));
            const int on = 1;
            ::setsockopt(clients_.back().get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        }
    }
    void send(const QByteArray& message) {
        std::vector<qsizetype> sent(clients_.size(), 0);
        for (std::size_t index = 0; index < clients_.size(); ++index) {
            epoll_event event{};
            event.events = EPOLLOUT;
            event.data.u64 = index;
            ::epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, clients_[index].get(), &event);
        }
        std::size_t left = clients_.size();
        epoll_event events[64];
        while (left > 0) {
            const int count = ::epoll_wait(epoll_.get(), events, 64, -1);
            for (int event = 0; event < count; ++event) {
                const auto index = events[event].data.u64;
                const auto went =
                    ::send(clients_[index].get(), message.constData() + sent[index],
                           static_cast<std::size_t>(message.size() - sent[index]), MSG_NOSIGNAL);
                sent[index] += std::max<ssize_t>(went, 0);
                if (sent[index] < message.size())
                    continue;
                ::epoll_ctl(epoll_.get(), EPOLL_CTL_DEL, clients_[index].get(), nullptr);
                --left;
            }
        }
    }

  private:
    OwnedDescriptor listening_;
    OwnedDescriptor epoll_;
    std::vector<OwnedDescriptor> clients_;
};

/// The most memory that the process has held since `forgetPeak`, in bytes; `field` "VmRSS:" for what it
/// holds.
double memory(const char* field) {
    QFile file(u"/proc/self/status"_qs);
    if (!file.open(QFile::ReadOnly))
        return 0;
    for (const auto& line : file.readAll().split('\n')) {
        if (line.startsWith(field))
            return line.mid(static_cast<qsizetype>(std::strlen(field))).chopped(2).trimmed().toDouble() *
                   1024;
    }
    return 0;
}

void forgetPeak() {
    QFile file(u"/proc/self/clear_refs"_qs);
    if (file.open(QFile::WriteOnly))
        file.write("5");
}

void broadcast(benchmark::State& state) {
    const auto clients = static_cast<std::size_t>(state.range(0));
    QByteArray art(kArtBytes, 'a');
    const auto ours = std::make_shared<OurServer>();
    Receivers ourReceivers(static_cast<int>(clients), ours->listen());
    ours->accept(clients);
    BareServer bare;
    Receivers bareReceivers(static_cast<int>(clients), bare.port());
    bare.accept(clients);

    forgetPeak();
    const double before = memory("VmRSS:");
    const QByteArray message = serializeMessage(
        remoteMessage(u"albumArtChanged"_qs, {{u"imageData"_qs, art}, {u"useDefault"_qs, false}}));
    const qint64 total = message.size() * static_cast<qint64>(clients);
    const auto size = static_cast<double>(message.size());
    ours->send(message);
    ourReceivers.await(total);
    const double copies = (memory("VmHWM:") - before) / size;

    std::vector<double> samples;
    std::vector<double> reference;
    for (auto _ : state) {
        auto start = Clock::now();
        ours->send(message);
        ourReceivers.await(total);
        samples.push_back(secondsSince(start));
        state.SetIterationTime(samples.back());
        start = Clock::now();
        bare.send(message);
        bareReceivers.await(total);
        reference.push_back(secondsSince(start));
    }
    const auto name = "5 MB of art to " + std::to_string(clients) + " clients";
    note({name, "ms", quantile(samples, 0.5) * 1e3, quantile(reference, 0.5) * 1e3, "bare epoll",
          "at most 1.5"});
    note({name + ", peak memory", "MB", copies * size / 1e6, size / 1e6, "the message", "under 3"});
    state.counters["bare_ms"] = quantile(reference, 0.5) * 1e3;
    state.counters["median_ms"] = quantile(samples, 0.5) * 1e3;
    state.counters["peak_in_messages"] = copies;
}

BENCHMARK(broadcast)
    ->Name("Remote/Broadcast")
    ->Arg(1)
    ->Arg(10)
    ->Arg(50)
    ->UseManualTime()
    ->Iterations(kUsualRounds)
    ->Unit(benchmark::kMillisecond);

} // namespace

} // namespace merlode::bench
