#include "base/dispatch_queue.h"
#include "base/executor.h"
#include "base/operation_queue.h"
#include "support/virtual_run_loop.h"

#include <future>

#include <gtest/gtest.h>

namespace merlode {
namespace {

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
    };
    add(QStringLiteral("a"));
    add(QStringLiteral("b"));
    queue.cancelAllOperations();
    add(QStringLiteral("c"));
    loop.runUntilIdle();
    EXPECT_EQ(seen, (QStringList{QStringLiteral("a-"), QStringLiteral("b-"), QStringLiteral("c"),
                                 QStringLiteral("c+")}));
    EXPECT_EQ(queue.operationCount(), 0U);
}

} // namespace
} // namespace merlode
