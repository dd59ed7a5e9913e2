#include "support/in_memory_network.h"
#include "support/socket_contract.h"
#include "support/virtual_run_loop.h"

namespace merlode {
namespace {

struct Memory {
    VirtualRunLoop wire;
    InMemoryNetwork network{wire};
    VirtualRunLoop queue;
    QString serverAddress = u"192.168.1.1"_qs;
    StreamNetwork& server = network.machine(serverAddress);
    StreamNetwork& client = network.machine(u"192.168.1.2"_qs);

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

INSTANTIATE_TYPED_TEST_SUITE_P(InMemory, SocketContract, Memory);
using SocketTest = SocketContract<Memory>;

// Each piece ends in what may be the beginning of the end: looking from the start again would take hours.
TEST_F(SocketTest, AHugeMessageInSmallPiecesCostsNoMoreThanItsLength) {
    const auto client = connect();
    world.network.mostAtATime = 1024;
    const QByteArray message = QByteArray(10 * 1024 * 1024, '\r') + "\n";
    client->writeData(message, 1);
    EXPECT_TRUE(hasRead({message}));
}

TEST_F(SocketTest, BytesTrickleInALostLinkIsSilentAndACutOneIsTold) {
    const auto client = connect();
    world.network.latency = 0.5;
    for (const char byte : QByteArray("slow\r\n")) {
        EXPECT_TRUE(recorder->read.empty());
        client->writeData(QByteArray(1, byte), 1);
        world.advance(1);
    }
    world.network.silent = true;
    client->writeData("lost\r\n", 1);
    world.advance(3600);
    EXPECT_TRUE(client->isConnected() && recorder->disconnected.empty() && hasRead({"slow\r\n"}));
    world.network.silent = false;
    recorder->readNext(client);
    world.network.cut();
    EXPECT_TRUE(ended(client) && ended(recorder->accepted.front()));
}

TEST(GCDAsyncSocketPreBufferTest, GrowsWithWhatCameAndGivesAHugeBufferBack) {
    GCDAsyncSocketPreBuffer buffer;
    const auto put = [&buffer](const QByteArray& bytes) {
        buffer.ensureCapacityForWrite(bytes.size());
        std::ranges::copy(bytes, buffer.writePointer());
        buffer.didWrite(bytes.size());
        EXPECT_LE(buffer.preBufferSize(), 2 * buffer.availableBytes());
    };
    put("first");
    const QByteArray piece(1000, 'p');
    for (int count = 0; count < 1000; ++count)
        put(piece);
    EXPECT_EQ(buffer.take(5), "first");
    put("rest");
    EXPECT_EQ(buffer.take(1'000'000), piece.repeated(1000));
    EXPECT_LE(buffer.preBufferSize(), GCDAsyncSocketPreBuffer::kKeptBytes);
    EXPECT_EQ(buffer.take(100), "rest") << "no more than there is";
}

} // namespace
} // namespace merlode
