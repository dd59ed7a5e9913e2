#include "base/qt_run_loop.h"
#include "support/virtual_run_loop.h"

#include <QCoreApplication>
#include <QDeadlineTimer>

#include <thread>

#include <gtest/gtest.h>

namespace merlode {
namespace {

// Lets a loop run for a while: by moving the clock, or by really waiting a few milliseconds.
class LoopDriver {
  public:
    virtual ~LoopDriver() = default;
    virtual RunLoop& loop() = 0;
    virtual void run(double seconds) = 0;
};

class VirtualDriver final : public LoopDriver {
  public:
    RunLoop& loop() override { return loop_; }
    void run(double seconds) override { loop_.advance(seconds); }

  private:
    VirtualRunLoop loop_;
};

class QtDriver final : public LoopDriver {
  public:
    RunLoop& loop() override { return loop_; }
    void run(double seconds) override {
        const double end = loop_.uptime() + seconds;
        do
            QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
        while (loop_.uptime() < end);
    }

  private:
    QtRunLoop loop_;
};

template<class Driver>
class RunLoopContract : public testing::Test {
  protected:
    RunLoop& loop() { return driver_.loop(); }
    void run(double seconds) { driver_.run(seconds); }
    auto note(int value) {
        return [this, value] { seen.push_back(value); };
    }

    std::vector<int> seen;

  private:
    Driver driver_;
};

using Drivers = testing::Types<VirtualDriver, QtDriver>;
TYPED_TEST_SUITE(RunLoopContract, Drivers);

TYPED_TEST(RunLoopContract, RunsWorkByDeadlineThenByOrderOfScheduling) {
    const auto late = this->loop().after(0.01, this->note(4));
    const auto soon = this->loop().after(0.002, this->note(3));
    this->loop().async(this->note(1));
    this->loop().async(this->note(2));
    EXPECT_TRUE(this->seen.empty()) << "work ran inside the call that queued it";
    this->run(0.03);
    EXPECT_EQ(this->seen, (std::vector{1, 2, 3, 4}));
}

TYPED_TEST(RunLoopContract, AHandleCancelsItsWork) {
    auto kept = this->loop().after(0.002, this->note(1));
    { const auto dropped = this->loop().after(0.001, this->note(2)); }
    auto replaced = this->loop().after(0.001, this->note(3));
    replaced = this->loop().after(0.003, this->note(4));
    auto invalidated = this->loop().after(0.001, this->note(5));
    invalidated.invalidate();
    EXPECT_FALSE(invalidated);
    this->run(0.02);
    EXPECT_EQ(this->seen, (std::vector{1, 4}));
}

TYPED_TEST(RunLoopContract, RepeatsUntilTheHandleGoesAlsoFromInsideTheWork) {
    Timer timer;
    timer = this->loop().every(0.002, [&] {
        this->seen.push_back(1);
        if (this->seen.size() == 3)
            timer.invalidate();
    });
    this->run(0.05);
    EXPECT_EQ(this->seen.size(), 3U);
}

TYPED_TEST(RunLoopContract, DelayedWorkWithoutAHandleRunsOnce) {
    this->loop().asyncAfter(0.002, this->note(1));
    this->run(0.02);
    EXPECT_EQ(this->seen, std::vector{1});
}

TYPED_TEST(RunLoopContract, StandsStillWhileHeldAndCatchesUpOnce) {
    const auto timer = this->loop().every(0.002, this->note(2));
    {
        const RunLoop::Hold outer(this->loop());
        const RunLoop::Hold inner(this->loop());
        this->loop().async(this->note(1));
        this->run(0.01);
        EXPECT_TRUE(this->seen.empty()) << "work ran under a modal alert";
    }
    this->run(0.0005);
    ASSERT_GE(this->seen.size(), 2U);
    EXPECT_EQ(std::count(this->seen.begin(), this->seen.end(), 1), 1);
    EXPECT_LE(std::count(this->seen.begin(), this->seen.end(), 2), 2) << "missed periods were not dropped";
}

TYPED_TEST(RunLoopContract, WorkIsNeverNestedInsideOtherWork) {
    bool inside = false;
    this->loop().async([&] {
        inside = true;
        this->loop().async([&] { EXPECT_FALSE(inside); });
        this->run(0.003); // as a modal alert's nested event loop does
        inside = false;
    });
    this->run(0.02);
    EXPECT_FALSE(inside);
}

TYPED_TEST(RunLoopContract, TimersMayOutliveTheirLoop) {
    Timer timer;
    {
        TypeParam shortLived;
        timer = shortLived.loop().after(1, [] {});
    }
    timer.invalidate();
}

TEST(QtRunLoopThreadTest, TakesWorkFromOtherThreads) {
    QtDriver driver;
    int sum = 0;
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([&] {
            for (int count = 0; count < 250; ++count)
                driver.loop().async([&] { ++sum; });
        });
    const double deadline = driver.loop().uptime() + 20;
    while (sum < 1000 && driver.loop().uptime() < deadline)
        driver.run(0.001);
    EXPECT_EQ(sum, 1000);
}

} // namespace
} // namespace merlode
