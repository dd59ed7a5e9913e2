#pragma once

#include <QString>

#include <functional>
#include <memory>

namespace merlode {

class Executor;
class Session;

/// A serial queue of background work with a label for logs. Work runs one piece at a time, in the order of
/// queueing, on the threads of the executor and under the queue's session. Blocking requests belong here and
/// nowhere else; their results go back by `RunLoop::async`, with what they touch held weakly.
class DispatchQueue {
  public:
    using Work = std::function<void()>;

    /// The executor must outlive the queue.
    DispatchQueue(QString label, Executor& executor, Session* session);

    /// Drops what has not started and waits for what runs, unless called from that very work.
    ~DispatchQueue();
    DispatchQueue(const DispatchQueue&) = delete;
    DispatchQueue& operator=(const DispatchQueue&) = delete;

    const QString& label() const { return label_; }

    /// Queues work and returns at once. Any thread.
    void async(Work work);

  private:
    struct State;

    QString label_;
    std::shared_ptr<State> state_;
};

} // namespace merlode
