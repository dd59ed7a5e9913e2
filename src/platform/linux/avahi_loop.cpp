#include "platform/linux/avahi_loop.h"

#include "base/run_loop.h"

#include <QSocketNotifier>

#include <cstdlib>
#include <memory>

#include <avahi-common/timeval.h>

// The library declares these two and leaves it to its user what is in them.

struct AvahiWatch {
    AvahiWatch(merlode::RunLoop& loop, int descriptor, AvahiWatchCallback call, void* data)
        : runLoop(loop),
          fd(descriptor),
          callback(call),
          userdata(data),
          reading(descriptor, QSocketNotifier::Read),
          writing(descriptor, QSocketNotifier::Write) {
        QObject::connect(&reading, &QSocketNotifier::activated, &reading, [this] { sign(AVAHI_WATCH_IN); });
        QObject::connect(&writing, &QSocketNotifier::activated, &writing, [this] { sign(AVAHI_WATCH_OUT); });
    }

    void want(int events) {
        wanted = events;
        reading.setEnabled(events & AVAHI_WATCH_IN);
        writing.setEnabled(events & AVAHI_WATCH_OUT);
    }

    // Silent until it was served: a socket that is readable says so again and again.
    void sign(AvahiWatchEvent event) {
        reading.setEnabled(false);
        writing.setEnabled(false);
        runLoop.async([this, weak = std::weak_ptr(life), event] {
            if (weak.expired())
                return;
            happened = event;
            callback(this, fd, event, userdata);
            if (weak.expired())
                return;
            happened = {};
            want(wanted);
        });
    }

    merlode::RunLoop& runLoop;
    int fd;
    AvahiWatchCallback callback;
    void* userdata;
    int wanted = 0;
    AvahiWatchEvent happened{};
    std::shared_ptr<char> life = std::make_shared<char>();
    QSocketNotifier reading;
    QSocketNotifier writing;
};

struct AvahiTimeout {
    void arm(const timeval* when) {
        timer = {};
        if (!when)
            return;
        const double seconds = -static_cast<double>(avahi_age(when)) / 1e6;
        timer = runLoop.after(seconds, [this] { callback(this, userdata); });
    }

    merlode::RunLoop& runLoop;
    AvahiTimeoutCallback callback;
    void* userdata;
    merlode::Timer timer{};
};

namespace merlode {

namespace {

AvahiWatch* newWatch(const AvahiPoll* api, int fd, AvahiWatchEvent events, AvahiWatchCallback callback,
                     void* userdata) {
    auto* watch = new AvahiWatch(*static_cast<RunLoop*>(api->userdata), fd, callback, userdata);
    watch->want(events);
    return watch;
}

AvahiTimeout* newTimeout(const AvahiPoll* api, const timeval* when, AvahiTimeoutCallback callback,
                         void* userdata) {
    auto* timeout = new AvahiTimeout{*static_cast<RunLoop*>(api->userdata), callback, userdata};
    timeout->arm(when);
    return timeout;
}

} // namespace

AvahiLoop::AvahiLoop(RunLoop& loop) {
    api_.userdata = &loop;
    api_.watch_new = newWatch;
    api_.watch_update = [](AvahiWatch* watch, AvahiWatchEvent events) { watch->want(events); };
    api_.watch_get_events = [](AvahiWatch* watch) { return watch->happened; };
    api_.watch_free = [](AvahiWatch* watch) { delete watch; };
    api_.timeout_new = newTimeout;
    api_.timeout_update = [](AvahiTimeout* timeout, const timeval* when) { timeout->arm(when); };
    api_.timeout_free = [](AvahiTimeout* timeout) { delete timeout; };
}

} // namespace merlode
