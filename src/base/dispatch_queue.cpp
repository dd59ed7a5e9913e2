#include "base/dispatch_queue.h"

#include "base/executor.h"
#include "base/session_scope.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

namespace merlode {

struct DispatchQueue::State : std::enable_shared_from_this<State> {
    State(Executor& poolToUse, Session* sessionToUse) : executor(poolToUse), session(sessionToUse) {}

    Executor& executor;
    Session* session;
    std::mutex mutex;
    std::condition_variable ended;
    std::deque<Work> pending;
    bool scheduled = false; // a turn is asked for or running
    bool running = false;
    bool closed = false;
    std::thread::id runner;

    void schedule() {
        executor.execute([self = shared_from_this()] { self->takeTurn(); });
    }

    // One piece of work a turn: a long queue then shares the pool with the others fairly.
    void takeTurn() {
        Work work;
        {
            const std::lock_guard lock(mutex);
            if (closed || pending.empty()) {
                scheduled = false;
                return;
            }
            work = std::move(pending.front());
            pending.pop_front();
            running = true;
            runner = std::this_thread::get_id();
        }
        {
            const SessionScope scope(session);
            work();
            work = nullptr; // what it captured may belong to the session
        }
        const std::lock_guard lock(mutex);
        running = false;
        runner = {};
        scheduled = !closed && !pending.empty();
        if (scheduled)
            schedule();
        ended.notify_all();
    }
};

DispatchQueue::DispatchQueue(QString label, Executor& executor, Session* session)
    : label_(std::move(label)), state_(std::make_shared<State>(executor, session)) {}

DispatchQueue::~DispatchQueue() {
    std::deque<Work> dropped;
    std::unique_lock lock(state_->mutex);
    state_->closed = true;
    dropped.swap(state_->pending);
    if (state_->runner != std::this_thread::get_id())
        state_->ended.wait(lock, [this] { return !state_->running; });
    lock.unlock();
}

void DispatchQueue::async(Work work) {
    const std::lock_guard lock(state_->mutex);
    if (state_->closed)
        return;
    state_->pending.push_back(std::move(work));
    if (std::exchange(state_->scheduled, true))
        return;
    state_->schedule();
}

} // namespace merlode
