#pragma once

#include "base/run_loop.h"
#include "platform/stream_network.h"

#include <algorithm>
#include <map>
#include <vector>

namespace merlode {

/// Machines joined by a network in memory. Its loop stands for the network's thread and outlives what uses
/// it: give it one of its own.
class InMemoryNetwork {
  public:
    explicit InMemoryNetwork(RunLoop& loop) : loop_(loop) {}
    InMemoryNetwork(const InMemoryNetwork&) = delete;
    InMemoryNetwork& operator=(const InMemoryNetwork&) = delete;

    double latency = 0;             ///< seconds that everything takes on its way
    qsizetype mostAtATime = 65'536; ///< bytes that one read or write moves at most
    qsizetype window = 262'144;     ///< bytes that can be under way in one direction, or come and unread
    /// Nothing arrives any more and nobody is told: both ends of each connection stay half open. What is sent
    /// meanwhile is lost for good.
    bool silent = false;

    /// Breaks all connections, which both ends are told.
    void cut() {
        for (const auto& weak : ends_) {
            if (const auto end = weak.lock())
                finish(end, QStringLiteral("the connection was cut"));
        }
        ends_.clear();
    }

    /// The network as the machine at this address has it. The address is its "localHost".
    StreamNetwork& machine(const QString& address) {
        auto& found = machines_[address];
        if (!found)
            found = std::make_unique<Machine>(*this, address);
        return *found;
    }

  private:
    struct End {
        SocketAddress address;
        SocketAddress peerAddress;
        std::weak_ptr<End> peer{};
        std::weak_ptr<StreamHandler> handler{};
        unsigned watched = 0;
        bool decided = false;
        QString openingError{};
        QByteArray came{};
        qsizetype underWay = 0;
        std::optional<QString> ended{};
    };
    using EndPtr = std::shared_ptr<End>;

    class MemoryStream final : public Stream {
      public:
        MemoryStream(InMemoryNetwork& network, EndPtr end) : network_(network), end_(std::move(end)) {}
        ~MemoryStream() override {
            end_->handler.reset();
            network_.pass([this, peer = end_->peer] {
                if (const auto held = peer.lock())
                    network_.finish(held, QStringLiteral("closed"));
            });
        }
        QString openingError() override { return end_->openingError; }
        void setHandler(std::weak_ptr<StreamHandler> handler) override { end_->handler = std::move(handler); }
        void watch(unsigned interests) override {
            end_->watched = interests;
            network_.check(end_);
        }
        Transfer read(char* buffer, qsizetype size) override {
            size = std::min({size, network_.mostAtATime, end_->came.size()});
            if (size == 0)
                return {0, end_->ended};
            std::copy_n(end_->came.constData(), size, buffer);
            end_->came.remove(0, size);
            if (const auto peer = end_->peer.lock()) {
                peer->underWay -= size;
                network_.check(peer);
            }
            return {size};
        }
        Transfer write(const char* bytes, qsizetype size) override {
            if (end_->ended)
                return {0, end_->ended};
            size = std::min({size, network_.mostAtATime, network_.window - end_->underWay});
            end_->underWay += size;
            network_.pass([this, peer = end_->peer, sent = QByteArray(bytes, size)] {
                if (const auto held = peer.lock()) {
                    held->came += sent;
                    network_.check(held);
                }
            });
            return {size};
        }
        SocketAddress localAddress() const override { return end_->address; }
        SocketAddress remoteAddress() const override { return end_->peerAddress; }

      private:
        InMemoryNetwork& network_;
        const EndPtr end_;
    };

    class Listener final : public StreamListener {
      public:
        Listener(InMemoryNetwork& network, SocketAddress address, std::weak_ptr<ListenerHandler> handler)
            : network_(network), address_(std::move(address)) {
            network_.listeners_[key(address_)] = std::move(handler);
        }
        ~Listener() override { network_.listeners_.erase(key(address_)); }
        quint16 port() const override { return address_.port; }

      private:
        InMemoryNetwork& network_;
        const SocketAddress address_;
    };

    class Machine final : public StreamNetwork {
      public:
        Machine(InMemoryNetwork& network, QString address)
            : network_(network), address_(std::move(address)) {}
        std::unique_ptr<StreamListener> listen(quint16 port, std::weak_ptr<ListenerHandler> handler,
                                               QString* error) override {
            const SocketAddress address{address_, port ? port : ++network_.lastPort_};
            if (network_.listeners_.contains(key(address))) {
                *error = QStringLiteral("in use");
                return nullptr;
            }
            return std::make_unique<Listener>(network_, address, std::move(handler));
        }
        std::unique_ptr<Stream> connect(const SocketAddress& address, std::weak_ptr<StreamHandler> handler,
                                        QString*) override {
            const auto end = std::make_shared<End>(End{{address_, ++network_.lastPort_}, address});
            end->handler = std::move(handler);
            network_.pass([this, weak = std::weak_ptr(end)] {
                if (const auto held = weak.lock())
                    network_.decide(held);
            });
            return std::make_unique<MemoryStream>(network_, end);
        }

      private:
        InMemoryNetwork& network_;
        const QString address_;
    };

    static std::pair<QString, quint16> key(const SocketAddress& address) {
        return {address.host, address.port};
    }

    /// Runs the work when it has come over the network, if it does.
    void pass(RunLoop::Work work) {
        if (!silent)
            loop_.asyncAfter(latency, [this, work = std::move(work)] {
                if (!silent)
                    work();
            });
    }

    void decide(const EndPtr& end) {
        end->decided = true;
        const auto found = listeners_.find(key(end->peerAddress));
        const auto handler = found == listeners_.end() ? nullptr : found->second.lock();
        if (handler) {
            const auto other = std::make_shared<End>(End{end->peerAddress, end->address, end});
            other->decided = true;
            end->peer = other;
            ends_.insert(ends_.end(), {end, other});
            handler->streamAccepted(std::make_unique<MemoryStream>(*this, other));
        } else {
            end->openingError = QStringLiteral("refused");
        }
        check(end);
    }

    void finish(const EndPtr& end, const QString& why) {
        end->ended = why;
        check(end);
    }

    unsigned ready(const End& end) const {
        const bool over = end.ended.has_value();
        return (!end.came.isEmpty() || over ? Stream::kReadable : 0) |
               (end.decided && (end.underWay < window || over) ? Stream::kWritable : 0) |
               (over ? Stream::kHungUp : 0);
    }

    void check(const EndPtr& end) {
        loop_.async([this, weak = std::weak_ptr(end)] {
            const auto held = weak.lock();
            const unsigned interests = held ? ready(*held) & held->watched : 0;
            if (!interests)
                return;
            held->watched = 0;
            if (const auto handler = held->handler.lock())
                handler->streamReady(interests);
        });
    }

    RunLoop& loop_;
    quint16 lastPort_ = 49'151;
    std::map<QString, std::unique_ptr<Machine>> machines_;
    std::map<std::pair<QString, quint16>, std::weak_ptr<ListenerHandler>> listeners_;
    std::vector<std::weak_ptr<End>> ends_;
};

} // namespace merlode
