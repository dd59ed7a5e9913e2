#include "base/qt_run_loop.h"

#include "base/deadline_queue.h"

#include <QCoreApplication>
#include <QEvent>

#include <chrono>
#include <cmath>

namespace merlode {

namespace {

// A burst of work must not starve the user interface: after this long the event loop has its turn.
constexpr double kSliceSeconds = 0.008;
constexpr double kShortestPeriodSeconds = 0.001;
constexpr double kLongestTimerSeconds = 3600; // QTimer counts milliseconds in an int

QEvent::Type wakeEventType() {
    static const auto type = static_cast<QEvent::Type>(QEvent::registerEventType());
    return type;
}

double cleanDelay(double seconds) {
    return seconds > 0 ? seconds : 0;
}

} // namespace

QtRunLoop::QtRunLoop() : queue_(std::make_shared<DeadlineQueue>()) {
    timer_.setSingleShot(true);
    timer_.setTimerType(Qt::PreciseTimer);
    connect(&timer_, &QTimer::timeout, this, [this] { serve(); });
}

QtRunLoop::~QtRunLoop() {
    queue_->clear();
}

void QtRunLoop::async(Work work) {
    queue_->add(uptime(), 0, std::move(work));
    wake();
}

Timer QtRunLoop::after(double seconds, Work work) {
    return schedule(cleanDelay(seconds), 0, std::move(work));
}

Timer QtRunLoop::every(double seconds, Work work) {
    const double period = std::max(cleanDelay(seconds), kShortestPeriodSeconds);
    return schedule(period, period, std::move(work));
}

double QtRunLoop::now() const {
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

double QtRunLoop::uptime() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

Timer QtRunLoop::schedule(double seconds, double period, Work work) {
    const auto id = queue_->add(uptime() + seconds, period, std::move(work));
    if (!serving_)
        armTimer();
    return Timer([weak = std::weak_ptr(queue_), id] {
        if (auto queue = weak.lock())
            queue->cancel(id);
    });
}

void QtRunLoop::wake() {
    if (!woken_.exchange(true))
        QCoreApplication::postEvent(this, new QEvent(wakeEventType()));
}

bool QtRunLoop::event(QEvent* event) {
    if (event->type() != wakeEventType())
        return QObject::event(event);
    woken_ = false;
    serve();
    return true;
}

void QtRunLoop::serve() {
    // A nested event loop (a modal alert's) reaches this too; work must never run inside other work.
    if (serving_ || held())
        return;
    serving_ = true;
    const double end = uptime() + kSliceSeconds;
    while (!held()) {
        const double time = uptime();
        auto work = queue_->takeDue(time);
        if (!work)
            break;
        perform(*work);
        if (time > end)
            break;
    }
    serving_ = false;
    armTimer();
}

void QtRunLoop::armTimer() {
    const auto deadline = queue_->nextDeadline();
    if (!deadline || held())
        return timer_.stop();
    const double seconds = *deadline - uptime();
    if (seconds <= 0)
        return wake();
    timer_.start(static_cast<int>(std::ceil(std::min(seconds, kLongestTimerSeconds) * 1000)));
}

void QtRunLoop::resume() {
    armTimer();
}

} // namespace merlode
