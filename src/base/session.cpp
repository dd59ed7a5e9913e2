#include "base/session.h"

#include <QtGlobal>

namespace merlode {

Session::Session(std::unique_ptr<RunLoop> runLoop, std::unique_ptr<Executor> executor)
    : executor_(std::move(executor)), runLoop_(std::move(runLoop)) {
    runLoop_->setSession(this);
}

Session::~Session() {
    const SessionScope scope(this);
    ending_.request_stop();
    // Destroyed without the lock: work that is being waited for may itself ask for a controller.
    auto queues = [this] {
        const std::lock_guard lock(mutex_);
        return std::exchange(queues_, {});
    }();
    queues.clear();
    while (!ownedControllers_.empty())
        ownedControllers_.pop_back();
    while (!ownedPorts_.empty())
        ownedPorts_.pop_back();
}

Session& Session::current() {
    Session* session = SessionScope::current();
    if (!session)
        qFatal("no session is current on this thread");
    return *session;
}

DispatchQueue& Session::queue(const QString& label) {
    const std::lock_guard lock(mutex_);
    auto& queue = queues_[label];
    if (!queue)
        queue = std::make_unique<DispatchQueue>(label, *executor_, this);
    return *queue;
}

void Session::installErased(std::type_index type, std::shared_ptr<void> implementation) {
    const std::lock_guard lock(mutex_);
    if (!ports_.emplace(type, implementation.get()).second)
        qFatal("port %s is installed twice", type.name());
    ownedPorts_.push_back(std::move(implementation));
}

void* Session::lookUp(std::type_index type) const {
    const std::lock_guard lock(mutex_);
    const auto found = ports_.find(type);
    return found == ports_.end() ? nullptr : found->second;
}

void* Session::findErased(std::type_index type) const {
    auto* found = lookUp(type);
    if (!found)
        qFatal("port %s is not installed", type.name());
    return found;
}

void* Session::sharedErased(std::type_index type, Factory factory) {
    const std::lock_guard lock(mutex_);
    if (const auto found = controllers_.find(type); found != controllers_.end())
        return found->second;
    const SessionScope scope(this);
    auto controller = factory();
    void* address = controller.get();
    controllers_.emplace(type, address);
    ownedControllers_.push_back(std::move(controller));
    return address;
}

} // namespace merlode
