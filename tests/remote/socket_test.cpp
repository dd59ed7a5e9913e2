#include "support/in_memory_network.h"
#include "support/socket_contract.h"
#include "support/virtual_run_loop.h"

namespace merlode {
namespace {

struct MemoryWorld {
    VirtualRunLoop wire;
    InMemoryNetwork network{wire};
    VirtualRunLoop queue;
    QString serverAddress = u"192.168.1.1"_qs;

    StreamNetwork& server() { return network.machine(serverAddress); }
    StreamNetwork& client() { return network.machine(u"192.168.1.2"_qs); }
    RunLoop& loop() { return queue; }
    void advance(double seconds) {
        wire.advance(seconds);
        queue.advance(seconds);
    }
    bool until(const std::function<bool()>& condition) {
        for (int turn = 0; turn < 1000 && !condition(); ++turn)
            advance(0.001);
        return condition();
    }
};

INSTANTIATE_TYPED_TEST_SUITE_P(InMemory, SocketContract, MemoryWorld);

using SocketTest = SocketContract<MemoryWorld>;

// Each piece ends in what may be the beginning of the end: looking from the start again would take hours.
TEST_F(SocketTest, AHugeMessageInSmallPiecesCostsNoMoreThanItsLength) {
    const auto client = connect();
    world.network.mostAtATime = 1024;
    const QByteArray message = QByteArray(10 * 1024 * 1024, '\r') + "\n";
    client->writeData(message, 1);
    ASSERT_TRUE(hasRead(1));
    EXPECT_EQ(recorder->read.front(), message);
}

TEST_F(SocketTest, BytesTrickleInALostLinkIsSilentAndACutOneIsTold) {
    const auto client = connect();
    world.network.latency = 0.5;
    for (const char byte : QByteArray("slow\r\n")) {
        EXPECT_TRUE(recorder->read.empty());
        client->writeData(QByteArray(1, byte), 1);
        world.advance(1);
    }
    EXPECT_EQ(recorder->read, std::vector<QByteArray>{"slow\r\n"});
    world.network.silent = true;
    client->writeData("lost\r\n", 1);
    world.advance(3600);
    EXPECT_TRUE(client->isConnected() && recorder->disconnected.empty() && recorder->read.size() == 1);
    world.network.silent = false;
    recorder->readNext(client);
    world.network.cut();
    EXPECT_TRUE(ended(client) && ended(recorder->accepted.front()));
}

TEST(GCDAsyncSocketPreBufferTest, GrowsWithWhatCameAndGivesAHugeBufferBack) {
    GCDAsyncSocketPreBuffer buffer;
    const auto put = [&buffer](const QByteArray& bytes) {
        buffer.ensureCapacityForWrite(bytes.size());
        std::copy(bytes.begin(), bytes.end(), buffer.writePointer());
        buffer.didWrite(bytes.size());
    };
    put("first");
    const QByteArray piece(1000, 'p');
    for (int count = 0; count < 1000; ++count) {
        put(piece);
        ASSERT_LE(buffer.preBufferSize(), 2 * buffer.availableBytes());
    }
    EXPECT_EQ(buffer.take(5), "first");
    put("rest");
    EXPECT_EQ(buffer.take(1'000'000), piece.repeated(1000));
    EXPECT_LE(buffer.preBufferSize(), GCDAsyncSocketPreBuffer::kKeptBytes);
    buffer.didRead(1);
    EXPECT_EQ(buffer.take(100), "est") << "no more than there is";
    put(QByteArray(GCDAsyncSocketPreBuffer::kKeptBytes + 1, 'x'));
    buffer.didRead(buffer.availableBytes());
    EXPECT_EQ(buffer.preBufferSize(), 0);
}

} // namespace
} // namespace merlode
