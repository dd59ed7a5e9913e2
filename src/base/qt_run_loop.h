#pragma once

#include "base/run_loop.h"

#include <QObject>
#include <QTimer>

#include <atomic>
#include <memory>

namespace merlode {

class DeadlineQueue;

/// The run loop of the program: one `DeadlineQueue` served by the Qt event loop of the thread that made it,
/// which must be the main thread and must have a QCoreApplication. User interface events keep being delivered
/// between two pieces of work and while the loop is held.
class QtRunLoop final : public QObject, public RunLoop {
    Q_OBJECT
  public:
    QtRunLoop();
    ~QtRunLoop() override;

    void async(Work work) override;
    Timer after(double seconds, Work work) override;
    Timer every(double seconds, Work work) override;
    double now() const override;
    double uptime() const override;

  protected:
    bool event(QEvent* event) override;
    void resume() override;

  private:
    Timer schedule(double seconds, double period, Work work);
    /// Asks the event loop for one pass, unless one is asked for already. Any thread.
    void wake();
    /// Runs what is due, within the time of one slice, and arranges for the next pass.
    void serve();
    void armTimer();

    std::shared_ptr<DeadlineQueue> queue_;
    QTimer timer_;
    std::atomic<bool> woken_ = false;
    bool serving_ = false;
};

} // namespace merlode
