#include "base/qt_run_loop.h"
#include "platform/linux/epoll_network.h"
#include "support/socket_contract.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>

#include <sys/resource.h>

namespace merlode {
namespace {

constexpr int kPatienceMilliseconds = 30'000;

struct LoopbackWorld {
    QtRunLoop queue;
    EpollNetwork network;
    QString serverAddress = u"127.0.0.1"_qs;

    StreamNetwork& server() { return network; }
    StreamNetwork& client() { return network; }
    RunLoop& loop() { return queue; }
    bool until(const std::function<bool()>& condition) {
        QElapsedTimer patience;
        patience.start();
        while (!condition() && patience.elapsed() < kPatienceMilliseconds)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents, 10);
        return condition();
    }
};

INSTANTIATE_TYPED_TEST_SUITE_P(LoopbackThreadTest, SocketContract, LoopbackWorld);

struct SocketThreadTest : SocketContract<LoopbackWorld> {
    static auto descriptors() {
        return QDir(u"/proc/self/fd"_qs).entryList(QDir::NoDotAndDotDot | QDir::Files | QDir::System).size();
    }
};

TEST_F(SocketThreadTest, AThousandConnectionsLeaveNothingBehind) {
    recorder->reads = false;
    const auto before = descriptors();
    for (std::size_t count = 1; count <= 1000; ++count) {
        const auto client = connect();
        client->writeData("unread\r\n", 1);
        client->disconnect();
        recorder->accepted.clear();
        recorder->disconnected.clear();
    }
    EXPECT_TRUE(world.until([&] { return descriptors() <= before; })) << descriptors() << " of " << before;
}

TEST_F(SocketThreadTest, WithoutDescriptorsPeersWaitAndAreAcceptedLater) {
    rlimit usual{};
    getrlimit(RLIMIT_NOFILE, &usual);
    const auto client = make(world.network);
    EXPECT_TRUE(client->connectToAddress({world.serverAddress, listening->localPort()}, &error));
    ASSERT_TRUE(world.until([&] { return !recorder->accepted.empty(); }));
    const auto second = make(world.network);
    rlimit tight = usual;
    tight.rlim_cur = static_cast<rlim_t>(descriptors()); // counts its own: one is left, for the client
    setrlimit(RLIMIT_NOFILE, &tight);
    EXPECT_TRUE(second->connectToAddress({world.serverAddress, listening->localPort()}, &error));
    EXPECT_TRUE(world.until([&] { return second->isConnected(); }));
    EXPECT_EQ(recorder->accepted.size(), 1U);
    setrlimit(RLIMIT_NOFILE, &usual);
    EXPECT_TRUE(world.until([&] { return recorder->accepted.size() == 2; }));
}

} // namespace
} // namespace merlode
