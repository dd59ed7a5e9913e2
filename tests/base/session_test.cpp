#include "base/notification_names.h"
#include "base/session.h"
#include "support/virtual_run_loop.h"

#include <future>

#include <gtest/gtest.h>

namespace merlode {
namespace {

struct Log {
    QStringList lines;
};

struct Inner {
    Inner() : log(Session::current().port<Log>()) { log.lines << QStringLiteral("+inner"); }
    ~Inner() { log.lines << QStringLiteral("-inner"); }
    Log& log;
    int count = 0;
};

struct Outer {
    Outer() : inner(Session::current().shared<Inner>()) { inner.log.lines << QStringLiteral("+outer"); }
    ~Outer() { inner.log.lines << QStringLiteral("-outer"); }
    Inner& inner;
};

struct Instance {
    VirtualRunLoop* loop = nullptr;
    Log log;
    std::unique_ptr<Session> session;

    Instance() {
        auto ownLoop = std::make_unique<VirtualRunLoop>();
        loop = ownLoop.get();
        auto executor = std::make_unique<VirtualExecutor>(*loop);
        session = std::make_unique<Session>(std::move(ownLoop), std::move(executor));
        session->installReference(log);
    }
};

TEST(SessionTest, ControllersAreMadeOnFirstUseAndDestroyedInReverse) {
    for (int round = 0; round < 2; ++round) { // build, destroy, build again
        Instance instance;
        instance.session->shared<Outer>();
        instance.session->shared<Inner>();
        instance.session.reset();
        EXPECT_EQ(instance.log.lines, (QStringList{QStringLiteral("+inner"), QStringLiteral("+outer"),
                                                   QStringLiteral("-outer"), QStringLiteral("-inner")}));
    }
}

TEST(SessionTest, TwoSessionsSideBySideDoNotTouchEachOther) {
    Instance one;
    Instance two;
    int heardByTwo = 0;
    const auto observation = two.session->notificationCenter().addObserver(
        notifications::kNewTrackInfoAvailable, [&](const auto&) { ++heardByTwo; });
    const auto work = [] {
        Session::current().shared<Inner>().count += 1;
        Session::current().notificationCenter().post(notifications::kNewTrackInfoAvailable);
    };
    one.session->runLoop().async(work);
    one.session->queue(QStringLiteral("background")).async(work);
    one.loop->runUntilIdle();
    two.loop->runUntilIdle();
    EXPECT_EQ(one.session->shared<Inner>().count, 2);
    EXPECT_EQ(two.session->shared<Inner>().count, 0);
    EXPECT_EQ(heardByTwo, 0);
    EXPECT_EQ(SessionScope::current(), nullptr);
}

TEST(SessionThreadTest, TheCurrentSessionIsRightOnQueues) {
    auto loop = std::make_unique<VirtualRunLoop>();
    Log log;
    Session session(std::move(loop), makeThreadPoolExecutor());
    session.installReference(log);
    std::vector<std::future<Inner*>> found;
    for (int index = 0; index < 4; ++index) {
        auto promise = std::make_shared<std::promise<Inner*>>();
        found.push_back(promise->get_future());
        session.queue(QStringLiteral("queue %1").arg(index)).async([promise] {
            promise->set_value(&Session::current().shared<Inner>());
        });
    }
    Inner* inner = &session.shared<Inner>();
    for (auto& future : found)
        EXPECT_EQ(future.get(), inner);
}

} // namespace
} // namespace merlode
