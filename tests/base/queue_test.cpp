#include "base/dispatch_queue.h"
#include "base/executor.h"
#include "base/operation_queue.h"
#include "support/virtual_run_loop.h"

#include <future>

#include <gtest/gtest.h>

namespace merlode {
namespace {

TEST(DispatchQueueTest, RunsWorkInOrderAndDropsWhatHasNotStarted) {
    VirtualRunLoop loop;
    VirtualExecutor executor(loop);
    std::vector<int> seen;
    auto queue = std::make_unique<DispatchQueue>(QStringLiteral("test"), executor, nullptr);
    queue->async([&] { seen.push_back(1); });
    queue->async([&] {
        seen.push_back(2);
        queue->async([&] { seen.push_back(3); });
    });
    loop.runUntilIdle();
    EXPECT_EQ(seen, (std::vector{1, 2, 3}));
    queue->async([&] { seen.push_back(4); });
    queue.reset();
    loop.runUntilIdle();
    EXPECT_EQ(seen.size(), 3U);
}

TEST(DispatchQueueTest, WorkMayDestroyItsOwnQueue) {
    VirtualRunLoop loop;
    VirtualExecutor executor(loop);
    auto queue = std::make_unique<DispatchQueue>(QStringLiteral("test"), executor, nullptr);
    queue->async([&] { queue.reset(); });
    queue->async([] { ADD_FAILURE() << "ran after its queue had gone"; });
    loop.runUntilIdle();
    EXPECT_EQ(queue, nullptr);
}

TEST(DispatchQueueThreadTest, SerialOnSeveralThreadsAndWaitedForAtTheEnd) {
    const auto executor = makeThreadPoolExecutor();
    int unguarded = 0; // the queue itself must order these
    bool busy = false;
    {
        DispatchQueue queue(QStringLiteral("test"), *executor, nullptr);
        std::promise<void> all;
        for (int count = 1; count <= 2000; ++count)
            queue.async([&, count] {
                EXPECT_FALSE(std::exchange(busy, true));
                unguarded += 1;
                busy = false;
                if (count == 2000)
                    all.set_value();
            });
        all.get_future().wait();
        std::promise<void> started;
        queue.async([&] {
            started.set_value();
            std::this_thread::yield();
            unguarded += 1;
        });
        started.get_future().wait();
    }
    EXPECT_EQ(unguarded, 2001) << "the destructor did not wait for the running work";
}

TEST(OperationQueueTest, ACancelledOperationRunsOnlyItsCompletion) {
    VirtualRunLoop loop;
    VirtualExecutor executor(loop);
    OperationQueue queue(QStringLiteral("test"), executor, nullptr);
    QStringList seen;
    const auto add = [&](const QString& name) {
        auto operation = std::make_shared<Operation>(
            [&seen, name](const Operation&) { seen << name; },
            [&seen, name](const Operation& self) { seen << name + QChar(self.isCancelled() ? u'-' : u'+'); });
        queue.addOperation(operation);
        return operation;
    };
    const auto first = add(QStringLiteral("a"));
    const auto second = add(QStringLiteral("b"));
    queue.cancelAllOperations();
    const auto third = add(QStringLiteral("c"));
    EXPECT_EQ(queue.operationCount(), 3U);
    loop.runUntilIdle();
    EXPECT_EQ(seen, (QStringList{QStringLiteral("a-"), QStringLiteral("b-"), QStringLiteral("c"),
                                 QStringLiteral("c+")}));
    EXPECT_TRUE(first->isFinished() && second->isFinished() && third->isFinished());
    EXPECT_EQ(queue.operationCount(), 0U);
}

TEST(OperationQueueThreadTest, TheRunningOperationSeesItsCancel) {
    const auto executor = makeThreadPoolExecutor();
    std::promise<void> started;
    bool stopped = false;
    {
        OperationQueue queue(QStringLiteral("test"), *executor, nullptr);
        queue.addOperation(std::make_shared<Operation>([&](const Operation& self) {
            started.set_value();
            while (!self.isCancelled())
                std::this_thread::yield();
            stopped = true;
        }));
        started.get_future().wait();
    }
    EXPECT_TRUE(stopped);
}

} // namespace
} // namespace merlode
