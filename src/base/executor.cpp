#include "base/executor.h"

#include <QThread>
#include <QThreadPool>

namespace merlode {

namespace {

constexpr int kFewestThreads = 4;

class ThreadPoolExecutor final : public Executor {
  public:
    ThreadPoolExecutor() { pool_.setMaxThreadCount(std::max(kFewestThreads, QThread::idealThreadCount())); }

    void execute(std::function<void()> work) override { pool_.start(std::move(work)); }

  private:
    QThreadPool pool_; // its destructor waits
};

} // namespace

std::unique_ptr<Executor> makeThreadPoolExecutor() { return std::make_unique<ThreadPoolExecutor>(); }

} // namespace merlode
