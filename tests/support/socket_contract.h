#pragma once

#include "remote/gcd_async_socket.h"

#include <gtest/gtest.h>

namespace merlode {

/// Writes down what sockets tell, and reads one message at a time of each that is accepted.
struct SocketRecorder final : GCDAsyncSocketDelegate {
    std::vector<SocketPtr> accepted;
    std::vector<SocketPtr> connected;
    std::vector<QByteArray> read;
    std::vector<std::pair<SocketPtr, QString>> disconnected;
    bool reads = true; ///< whether accepted sockets are read, and read again

    void socketDidAcceptNewSocket(const SocketPtr&, const SocketPtr& newSocket) override {
        accepted.push_back(newSocket);
        readNext(newSocket);
    }
    void socketDidConnectToHost(const SocketPtr& socket, const QString&, quint16) override {
        connected.push_back(socket);
    }
    void socketDidReadData(const SocketPtr& socket, const QByteArray& data, long tag) override {
        EXPECT_EQ(tag, 1);
        read.push_back(data);
        readNext(socket);
    }
    void socketDidDisconnect(const SocketPtr& socket, const QString& error) override {
        EXPECT_EQ(endOf(socket), std::nullopt) << "told twice";
        disconnected.emplace_back(socket, error);
    }
    void readNext(const SocketPtr& socket) const {
        if (reads)
            socket->readDataToData(GCDAsyncSocket::CRLFData(), 1);
    }
    /// Why the socket ended; nothing while it has not been told.
    std::optional<QString> endOf(const SocketPtr& socket) const {
        const auto found =
            std::ranges::find(disconnected, socket, [](const auto& entry) { return entry.first; });
        return found == disconnected.end() ? std::nullopt : std::optional(found->second);
    }
};

/// What sockets do on every network. A `World` has the `StreamNetwork&` of `server` and `client`, the
/// `RunLoop` `queue`, `serverAddress`, and `until(condition)`, which lets things happen until the condition
/// holds.
template<class World>
class SocketContract : public testing::Test {
  protected:
    using SocketPtr = std::shared_ptr<GCDAsyncSocket>;

    SocketContract() { EXPECT_TRUE(listening->acceptOnPort(0, &error)) << qPrintable(error); }

    SocketPtr make(StreamNetwork& network) {
        return std::make_shared<GCDAsyncSocket>(recorder, world.queue, network);
    }
    bool begin(const SocketPtr& socket) {
        return socket->connectToAddress({world.serverAddress, listening->localPort()}, &error);
    }
    SocketPtr connect() {
        auto socket = make(world.client);
        const auto before = recorder->accepted.size();
        EXPECT_TRUE(begin(socket) && until([&] {
                        return recorder->accepted.size() > before &&
                               std::ranges::count(recorder->connected, socket) == 1;
                    }));
        return socket;
    }
    bool until(const std::function<bool()>& condition) { return world.until(condition); }
    bool ended(const SocketPtr& socket) {
        return until([&] { return recorder->endOf(socket).has_value(); });
    }
    bool hasRead(const std::vector<QByteArray>& messages) {
        return until([&] { return recorder->read.size() >= messages.size(); }) && recorder->read == messages;
    }

    World world;
    QString error;
    std::shared_ptr<SocketRecorder> recorder = std::make_shared<SocketRecorder>();
    SocketPtr listening = make(world.server);
};
TYPED_TEST_SUITE_P(SocketContract);

TYPED_TEST_P(SocketContract, MessagesComeWholeAndInOrderHoweverTheyWereCut) {
    const auto client = this->connect();
    const auto& accepted = this->recorder->accepted.front();
    EXPECT_EQ(accepted->connectedHost(), client->localHost());
    EXPECT_EQ(client->connectedHost(), this->world.serverAddress);
    const QByteArray huge = QByteArray(3'000'000, '\r') + "\n";
    for (const QByteArray& part : {QByteArray("a\r\nb"), QByteArray("b\r"), QByteArray("\n\r\n\r\r\n"), huge,
                                   QByteArray("\n\r"), QByteArray(), QByteArray("\nend\r\n")})
        client->writeData(part, 1);
    EXPECT_TRUE(this->hasRead({"a\r\n", "bb\r\n", "\r\n", "\r\r\n", huge, "\n\r\n", "end\r\n"}));
}

TYPED_TEST_P(SocketContract, ADisconnectEndsEverythingAndIsToldOnce) {
    const auto unused = this->make(this->world.client);
    unused->disconnect();
    unused->writeData("dropped\r\n", 1);
    const auto client = this->connect();
    const auto accepted = this->recorder->accepted.front();
    EXPECT_FALSE(client->acceptOnPort(0, &this->error) || this->begin(client)) << "in use";
    this->recorder->readNext(client);
    client->writeData("half a message", 1);
    client->disconnect();
    EXPECT_FALSE(client->isConnected());
    EXPECT_EQ(client->localHost() + client->connectedHost() + QString::number(client->localPort()), u"0"_qs);
    client->writeData("dropped\r\n", 1);
    client->disconnect();
    accepted->writeData("never delivered\r\n", 1);
    EXPECT_TRUE(this->ended(client) && this->ended(accepted));
    EXPECT_EQ(this->recorder->endOf(client), QString());
    EXPECT_NE(this->recorder->endOf(accepted), QString());
    const quint16 port = this->listening->localPort();
    this->listening->disconnect();
    EXPECT_FALSE(unused->connectToAddress({QString(), port}, &this->error)) << "no address";
    EXPECT_TRUE(unused->connectToAddress({this->world.serverAddress, port}, &this->error));
    EXPECT_TRUE(this->ended(unused) && this->ended(this->listening));
    EXPECT_NE(this->recorder->endOf(unused), QString()) << "nobody listens";
    EXPECT_TRUE(this->recorder->read.empty() && this->recorder->connected.size() == 1);
}

TYPED_TEST_P(SocketContract, NeitherAFloodNorADeafPeerHoldsUpTheOthers) {
    const auto flooding = this->connect();
    const auto quiet = this->connect();
    const auto deaf = this->connect();
    const QByteArray flood(GCDAsyncSocket::kMostQueuedBytes / 4, 'x');
    flooding->writeData(flood, 1);
    const auto toDeaf = this->recorder->accepted.back();
    while (toDeaf->isConnected())
        toDeaf->writeData(flood, 1);
    quiet->writeData("quiet\r\n", 1);
    ASSERT_TRUE(this->hasRead({"quiet\r\n"}) && this->ended(toDeaf));
    flooding->writeData("\r\n", 1);
    EXPECT_TRUE(this->hasRead({"quiet\r\n", flood + "\r\n"}));
    EXPECT_EQ(this->recorder->disconnected.size(), 1U);
}

TYPED_TEST_P(SocketContract, WhoIsNotReadAnyMoreIsStillMissedWhenItLeaves) {
    this->recorder->reads = false;
    const auto client = this->connect();
    const auto accepted = this->recorder->accepted.front();
    client->writeData("never read\r\n", 1);
    accepted->abandonReading();
    accepted->writeData("still told\r\n", 1);
    for (const auto& socket : {client, accepted})
        socket->readDataToData(GCDAsyncSocket::CRLFData(), 1);
    EXPECT_TRUE(this->hasRead({"still told\r\n"}));
    client->disconnect();
    EXPECT_TRUE(this->ended(accepted));
}

TYPED_TEST_P(SocketContract, MorePeersThanThereIsRoomForAreTurnedAway) {
    std::vector<std::shared_ptr<GCDAsyncSocket>> clients(GCDAsyncSocket::kMostAcceptedSockets);
    std::ranges::generate(clients, [this] { return this->connect(); });
    const auto late = this->make(this->world.client);
    EXPECT_TRUE(this->begin(late));
    this->recorder->readNext(late);
    EXPECT_TRUE(this->ended(late));
    EXPECT_EQ(this->recorder->accepted.size(), clients.size());
    clients.front()->disconnect();
    EXPECT_TRUE(this->ended(this->recorder->accepted.front()) && this->connect()->isConnected());
}

REGISTER_TYPED_TEST_SUITE_P(SocketContract, MessagesComeWholeAndInOrderHoweverTheyWereCut,
                            ADisconnectEndsEverythingAndIsToldOnce, NeitherAFloodNorADeafPeerHoldsUpTheOthers,
                            WhoIsNotReadAnyMoreIsStillMissedWhenItLeaves,
                            MorePeersThanThereIsRoomForAreTurnedAway);

} // namespace merlode
