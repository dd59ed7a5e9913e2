#include "base/qt_run_loop.h"
#include "platform/linux/epoll_network.h"
#include "platform/linux/epoll_thread.h"
#include "support/socket_contract.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>

#include <fcntl.h>
#include <sys/resource.h>

namespace merlode {
namespace {

constexpr int kPatienceMilliseconds = 30'000;

struct Loopback {
    QtRunLoop queue;
    EpollNetwork network;
    StreamNetwork& server = network;
    StreamNetwork& client = network;
    QString serverAddress = u"127.0.0.1"_qs;

    bool until(const std::function<bool()>& condition) {
        QElapsedTimer patience;
        patience.start();
        while (!condition() && patience.elapsed() < kPatienceMilliseconds)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents, 10);
        return condition();
    }
};

INSTANTIATE_TYPED_TEST_SUITE_P(LoopbackThreadTest, SocketContract, Loopback);
using SocketThreadTest = SocketContract<Loopback>;

auto descriptors() {
    return QDir(u"/proc/self/fd"_qs).entryList(QDir::NoDotAndDotDot | QDir::Files | QDir::System).size();
}

TEST_F(SocketThreadTest, AThousandConnectionsOfEitherFamilyLeaveNothingBehind) {
    recorder->reads = false;
    const bool sixToo = QFile::exists(u"/proc/net/if_inet6"_qs);
    const auto before = descriptors();
    for (std::size_t count = 1; count <= 1000; ++count) {
        world.serverAddress = sixToo && count % 2 ? u"::1"_qs : u"127.0.0.1"_qs;
        const auto client = connect();
        ASSERT_EQ(recorder->accepted.front()->connectedHost(), client->localHost());
        client->writeData("unread\r\n", 1);
        client->disconnect();
        recorder->accepted.clear();
        recorder->disconnected.clear();
    }
    EXPECT_TRUE(until([&] { return descriptors() <= before; })) << descriptors() << " of " << before;
}

TEST_F(SocketThreadTest, WithoutDescriptorsPeersWaitAndAreAcceptedLater) {
    const auto first = connect(); // the sanitizers want descriptors for what they have not seen before
    rlimit usual{};
    getrlimit(RLIMIT_NOFILE, &usual);
    const rlimit tight{static_cast<rlim_t>(descriptors()) + 8, usual.rlim_max};
    setrlimit(RLIMIT_NOFILE, &tight);
    std::vector<OwnedDescriptor> taken;
    while (taken.empty() || taken.back())
        taken.emplace_back(open("/dev/null", O_RDONLY | O_CLOEXEC));
    taken.resize(taken.size() - 2); // one is left, for the client
    const auto client = make(world.network);
    EXPECT_TRUE(begin(client) && until([&] { return client->isConnected(); }));
    EXPECT_EQ(recorder->accepted.size(), 1U);
    setrlimit(RLIMIT_NOFILE, &usual);
    EXPECT_TRUE(until([&] { return recorder->accepted.size() == 2; }));
}

} // namespace
} // namespace merlode
