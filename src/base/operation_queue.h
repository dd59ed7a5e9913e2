#pragma once

#include "base/dispatch_queue.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace merlode {

/// One cancellable piece of background work. The body asks `isCancelled()` between its steps and returns
/// early when it is; nobody stops it by force.
class Operation {
  public:
    /// `body` runs on the queue, then `completion` on the same thread. Of an operation that was cancelled
    /// before its turn only the completion runs, which can tell by `isCancelled()`.
    explicit Operation(std::function<void(const Operation&)> body,
                       std::function<void(const Operation&)> completion = {});

    /// Any thread. Cancelling a finished operation has no effect.
    void cancel() { cancelled_ = true; }
    bool isCancelled() const { return cancelled_; }
    /// True once body and completion have returned. Any thread.
    bool isFinished() const { return finished_; }

  private:
    friend class OperationQueue;
    void run();

    std::function<void(const Operation&)> body_;
    std::function<void(const Operation&)> completion_;
    std::atomic<bool> cancelled_ = false;
    std::atomic<bool> finished_ = false;
};

/// Runs operations one at a time in the order of adding. Its destructor cancels all and waits for the one
/// that runs.
class OperationQueue {
  public:
    OperationQueue(QString label, Executor& executor, Session* session);
    ~OperationQueue();

    /// Any thread; returns at once.
    void addOperation(std::shared_ptr<Operation> operation);

    /// Cancels the running operation and all that wait. Any thread; returns at once.
    void cancelAllOperations();

    /// Operations that have not finished yet. Any thread.
    std::size_t operationCount() const;

  private:
    void forget(const Operation* operation);

    mutable std::mutex mutex_;
    std::vector<std::shared_ptr<Operation>> operations_;
    DispatchQueue queue_; // last: its destructor waits for work that uses the members above
};

} // namespace merlode
