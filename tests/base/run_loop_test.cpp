#include "base/qt_run_loop.h"

#include <QCoreApplication>

#include <thread>

#include <gtest/gtest.h>

namespace merlode {
namespace {

/// Lets the real loop run for a few milliseconds.
class RunLoopTest : public testing::Test {
  protected:
    void run(double seconds) {
        const double end = loop.uptime() + seconds;
        do
            QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
        while (loop.uptime() < end);
    }
    auto note(int value) {
        return [this, value] { seen.push_back(value); };
    }

    QtRunLoop loop;
    std::vector<int> seen;
};

TEST_F(RunLoopTest, RunsWorkByDeadlineThenByOrderOfScheduling) {
    const auto late = loop.after(0.01, note(4));
    loop.asyncAfter(0.002, note(3));
    loop.async(note(1));
    loop.async(note(2));
    EXPECT_TRUE(seen.empty()) << "work ran inside the call that queued it";
    run(0.03);
    EXPECT_EQ(seen, (std::vector{1, 2, 3, 4}));
}

TEST_F(RunLoopTest, AHandleCancelsItsWork) {
    auto kept = loop.after(0.002, note(1));
    { const auto dropped = loop.after(0.001, note(2)); }
    auto replaced = loop.after(0.001, note(3));
    replaced = loop.after(0.003, note(4));
    auto invalidated = loop.after(0.001, note(5));
    invalidated.invalidate();
    EXPECT_FALSE(invalidated);
    run(0.02);
    EXPECT_EQ(seen, (std::vector{1, 4}));
}

TEST_F(RunLoopTest, RepeatsUntilTheHandleGoesAlsoFromInsideTheWork) {
    Timer timer;
    timer = loop.every(0.002, [&] {
        seen.push_back(1);
        if (seen.size() == 3)
            timer.invalidate();
    });
    run(0.05);
    EXPECT_EQ(seen.size(), 3U);
}

TEST_F(RunLoopTest, StandsStillWhileHeldAndCatchesUpOnce) {
    const auto timer = loop.every(0.002, note(2));
    {
        const RunLoop::Hold outer(loop);
        const RunLoop::Hold inner(loop);
        loop.async(note(1));
        run(0.01);
        EXPECT_TRUE(seen.empty()) << "work ran under a modal alert";
    }
    run(0.0005);
    ASSERT_GE(seen.size(), 2U);
    EXPECT_EQ(std::count(seen.begin(), seen.end(), 1), 1);
    EXPECT_LE(std::count(seen.begin(), seen.end(), 2), 2) << "missed periods were not dropped";
}

TEST_F(RunLoopTest, WorkIsNeverNestedInsideOtherWork) {
    bool inside = false;
    loop.async([&] {
        inside = true;
        loop.async([&] { EXPECT_FALSE(inside); });
        run(0.003); // as a modal alert's nested event loop does
        inside = false;
    });
    run(0.02);
    EXPECT_FALSE(inside);
}

TEST_F(RunLoopTest, TimersMayOutliveTheirLoop) {
    Timer timer = QtRunLoop().after(1, [] {});
    timer.invalidate();
}

TEST_F(RunLoopTest, TakesWorkFromOtherThreads) {
    int sum = 0;
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([&] {
            for (int count = 0; count < 250; ++count)
                loop.async([&] { ++sum; });
        });
    const double deadline = loop.uptime() + 20;
    while (sum < 1000 && loop.uptime() < deadline)
        run(0.001);
    EXPECT_EQ(sum, 1000);
}

} // namespace
} // namespace merlode
