#pragma once

#include "base/run_loop.h"
#include "platform/stream_network.h"

#include <algorithm>
#include <map>

namespace merlode {

/// Machines joined by a network in memory. Its loop stands for the network's thread: it is one of its own,
/// and outlives what uses the network.
class InMemoryNetwork {
  public:
    explicit InMemoryNetwork(RunLoop& loop) : loop_(loop) {}
    InMemoryNetwork(const InMemoryNetwork&) = delete;
    InMemoryNetwork& operator=(const InMemoryNetwork&) = delete;

    double latency = 0;             ///< seconds that everything takes on its way
    qsizetype mostAtATime = 65'536; ///< bytes that one read or write moves at most
    /// Nothing arrives any more and nobody is told: connections stay half open. What is sent is lost for
    /// good.
    bool silent = false;

    /// Breaks all connections, which both ends are told.
    void cut() {
        for (const auto& [id, stream] : std::map(streams_))
            finish(id);
    }

    /// The network as the machine at this address has it.
    StreamNetwork& machine(const QString& address) {
        return *machines_.try_emplace(address, std::make_unique<Machine>(*this, address)).first->second;
    }

  private:
    static constexpr qsizetype kWindow = 262'144; // bytes that can have been sent and not been read

    struct MemoryStream final : Stream {
        MemoryStream(InMemoryNetwork& net, SocketAddress localToUse, SocketAddress remoteToUse)
            : network(net), local(std::move(localToUse)), remote(std::move(remoteToUse)) {
            network.streams_[id] = this;
        }
        ~MemoryStream() override {
            network.streams_.erase(id);
            network.pass([&net = network, to = peer] { net.finish(to); });
        }
        QString openingError() override { return peer ? QString() : QStringLiteral("refused"); }
        void setHandler(std::weak_ptr<StreamHandler> toTell) override { handler = std::move(toTell); }
        void watch(unsigned interests) override {
            watched = interests;
            network.check(id);
        }
        Transfer read(char* buffer, qsizetype size) override {
            size = std::min({size, network.mostAtATime, came.size()});
            std::copy_n(came.constData(), size, buffer);
            came.remove(0, size);
            if (auto* sender = network.find(peer))
                sender->unread -= size;
            network.check(peer);
            return {size, size ? std::nullopt : ended};
        }
        Transfer write(const char* bytes, qsizetype size) override {
            size = std::min({size, network.mostAtATime, kWindow - unread});
            unread += size;
            network.pass([&net = network, to = peer, sent = QByteArray(bytes, size)] {
                if (auto* receiver = net.find(to))
                    receiver->came += sent;
                net.check(to);
            });
            return {size, ended};
        }
        SocketAddress localAddress() const override { return local; }
        SocketAddress remoteAddress() const override { return remote; }
        unsigned ready() const {
            return (came.isEmpty() && !ended ? 0 : kReadable) | (ended ? kHungUp : 0) |
                   (decided && (unread < kWindow || ended) ? kWritable : 0);
        }

        InMemoryNetwork& network;
        const SocketAddress local;
        const SocketAddress remote;
        const int id = ++network.lastId_;
        int peer = 0;
        bool decided = false; // whether it is open or refused
        std::weak_ptr<StreamHandler> handler;
        unsigned watched = 0;
        QByteArray came;
        qsizetype unread = 0; // sent, and not taken by the peer
        std::optional<QString> ended;
    };

    struct Listener final : StreamListener {
        Listener(InMemoryNetwork& net, SocketAddress at) : network(net), address(std::move(at)) {}
        ~Listener() override { network.listeners_.erase(key(address)); }
        quint16 port() const override { return address.port; }
        InMemoryNetwork& network;
        const SocketAddress address;
    };

    struct Machine final : StreamNetwork {
        Machine(InMemoryNetwork& net, QString at) : network(net), address(std::move(at)) {}
        std::unique_ptr<StreamListener> listen(quint16 port, std::weak_ptr<ListenerHandler> handler,
                                               QString*) override {
            const SocketAddress at{address, port ? port : ++network.lastPort_};
            const bool isFree = network.listeners_.emplace(key(at), std::move(handler)).second;
            return isFree ? std::make_unique<Listener>(network, at) : nullptr;
        }
        std::unique_ptr<Stream> connect(const SocketAddress& to, std::weak_ptr<StreamHandler> handler,
                                        QString*) override {
            const SocketAddress from{address, ++network.lastPort_};
            auto made = std::make_unique<MemoryStream>(network, from, to);
            made->handler = std::move(handler);
            network.pass([&net = network, id = made->id] { net.decide(id); });
            return made;
        }
        InMemoryNetwork& network;
        const QString address;
    };

    static std::pair<QString, quint16> key(const SocketAddress& address) {
        return {address.host, address.port};
    }

    MemoryStream* find(int id) const {
        const auto found = streams_.find(id);
        return found == streams_.end() ? nullptr : found->second;
    }

    /// Does the work when it has come over the network, if it does.
    void pass(RunLoop::Work work) {
        loop_.asyncAfter(latency, [this, lost = silent, work = std::move(work)] {
            if (!lost && !silent)
                work();
        });
    }

    void decide(int id) {
        auto* const stream = find(id);
        if (!stream)
            return;
        stream->decided = true;
        const auto listener = listeners_.find(key(stream->remote));
        if (const auto handler = listener == listeners_.end() ? nullptr : listener->second.lock()) {
            auto accepted = std::make_unique<MemoryStream>(*this, stream->remote, stream->local);
            accepted->decided = true;
            accepted->peer = id;
            stream->peer = accepted->id;
            handler->streamAccepted(std::move(accepted));
        }
        check(id);
    }

    void finish(int id) {
        if (auto* stream = find(id))
            stream->ended = QStringLiteral("the connection has ended");
        check(id);
    }

    /// Tells the stream's handler soon, if there is something to tell then.
    void check(int id) {
        loop_.async([this, id] {
            auto* const stream = find(id);
            const unsigned interests = stream ? stream->ready() & stream->watched : 0;
            if (const auto handler = interests ? stream->handler.lock() : nullptr) {
                stream->watched = 0;
                handler->streamReady(interests);
            }
        });
    }

    RunLoop& loop_;
    int lastId_ = 0;
    quint16 lastPort_ = 49'151;
    std::map<QString, std::unique_ptr<Machine>> machines_;
    std::map<std::pair<QString, quint16>, std::weak_ptr<ListenerHandler>> listeners_;
    std::map<int, MemoryStream*> streams_;
};

} // namespace merlode
