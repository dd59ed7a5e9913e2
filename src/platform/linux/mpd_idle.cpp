#include "platform/linux/mpd_idle.h"

namespace merlode {

MpdIdle::MpdIdle(std::shared_ptr<MpdConnection> connection, RunLoop& loop, QByteArrayList subsystems,
                 Events events)
    : connection_(std::move(connection)),
      loop_(loop),
      subsystems_(std::move(subsystems)),
      events_(std::move(events)),
      notifier_(connection_->descriptor(), QSocketNotifier::Read) {
    QObject::connect(&notifier_, &QSocketNotifier::activated, &notifier_, [this] { read(); });
    listen();
}

// What changed since the connection was made is told at once: the server keeps count for each client.
void MpdIdle::listen() {
    if (!connection_->post({"idle", subsystems_}))
        close();
}

void MpdIdle::read() {
    const auto lines = connection_->takeLines();
    if (!lines)
        return close();
    for (const QByteArray& line : *lines) {
        if (line.startsWith("changed: "))
            changed_ = true;
        else if (line == "OK")
            listen();
        else
            return close();
    }
    if (changed_)
        tell();
}

void MpdIdle::close() {
    if (std::exchange(closed_, true))
        return;
    notifier_.setEnabled(false);
    tell();
}

// Signs that come while the run loop is held, or busy, become one.
void MpdIdle::tell() {
    if (std::exchange(telling_, true))
        return;
    loop_.async([this, life = std::weak_ptr(life_)] {
        if (life.expired())
            return;
        telling_ = false;
        if (closed_) {
            const auto closed = std::move(events_.closed); // it may destroy this object
            closed();
        } else if (std::exchange(changed_, false)) {
            events_.changed();
        }
    });
}

} // namespace merlode
