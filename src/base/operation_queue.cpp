#include "base/operation_queue.h"

#include <algorithm>

namespace merlode {

Operation::Operation(std::function<void(const Operation&)> body,
                     std::function<void(const Operation&)> completion)
    : body_(std::move(body)), completion_(std::move(completion)) {}

void Operation::run() {
    if (!isCancelled() && body_)
        body_(*this);
    if (completion_)
        completion_(*this);
    finished_ = true;
}

OperationQueue::OperationQueue(QString label, Executor& executor, Session* session)
    : queue_(std::move(label), executor, session) {}

OperationQueue::~OperationQueue() {
    cancelAllOperations();
}

void OperationQueue::addOperation(std::shared_ptr<Operation> operation) {
    {
        const std::lock_guard lock(mutex_);
        operations_.push_back(operation);
    }
    queue_.async([this, operation = std::move(operation)] {
        operation->run();
        forget(operation.get());
    });
}

void OperationQueue::cancelAllOperations() {
    const std::lock_guard lock(mutex_);
    for (const auto& operation : operations_)
        operation->cancel();
}

std::size_t OperationQueue::operationCount() const {
    const std::lock_guard lock(mutex_);
    return operations_.size();
}

void OperationQueue::forget(const Operation* operation) {
    const std::lock_guard lock(mutex_);
    std::erase_if(operations_, [operation](const auto& other) { return other.get() == operation; });
}

} // namespace merlode
