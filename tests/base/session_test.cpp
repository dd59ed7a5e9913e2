#include "base/notification_names.h"
#include "base/session.h"
#include "support/virtual_run_loop.h"

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
    Instance instance;
    instance.session->shared<Outer>();
    instance.session->shared<Inner>();
    instance.session.reset();
    EXPECT_EQ(instance.log.lines, (QStringList{QStringLiteral("+inner"), QStringLiteral("+outer"),
                                               QStringLiteral("-outer"), QStringLiteral("-inner")}));
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

} // namespace
} // namespace merlode
