#include "app/follower_pipes.h"

#include <algorithm>
#include <cerrno>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace merlode {

struct FollowerPipes::Follower {
    explicit Follower(int writingEnd) : fd(writingEnd), notifier(writingEnd, QSocketNotifier::Write) {
        notifier.setEnabled(false);
        QObject::connect(&notifier, &QSocketNotifier::activated, &notifier, [this] { flush(); });
    }
    ~Follower() {
        notifier.setEnabled(false);
        close(fd);
    }

    void send(const QByteArray& line) {
        next = line + '\n';
        flush();
    }

    // Where nothing changes nothing is written, and only the pipe itself tells that its reader has gone.
    bool hasGone() const {
        pollfd watched{fd, 0, 0};
        return gone || (poll(&watched, 1, 0) > 0 && (watched.revents & POLLERR));
    }

    // A line that has begun is ended before the latest one starts; those in between are left out.
    void flush() {
        while (!gone && (!rest.isEmpty() || !next.isEmpty())) {
            if (rest.isEmpty())
                rest = std::exchange(next, {});
            const ssize_t written = write(fd, rest.constData(), static_cast<std::size_t>(rest.size()));
            if (written < 0 && errno == EINTR)
                continue;
            if (written < 0) {
                gone = errno != EAGAIN;
                break;
            }
            rest.remove(0, written);
        }
        notifier.setEnabled(!gone && !rest.isEmpty());
    }

    int fd;
    QSocketNotifier notifier;
    QByteArray rest;
    QByteArray next;
    bool gone = false;
};

FollowerPipes::FollowerPipes() = default;
FollowerPipes::~FollowerPipes() = default;

QDBusUnixFileDescriptor FollowerPipes::add(const QByteArray& line) {
    removeGone();
    int ends[2];
    if (followers_.size() >= kMostFollowers || pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0)
        return {};
    // The reader blocks on its end; only our own must never wait.
    fcntl(ends[0], F_SETFL, fcntl(ends[0], F_GETFL) & ~O_NONBLOCK);
    QDBusUnixFileDescriptor readingEnd;
    readingEnd.giveFileDescriptor(ends[0]);
    followers_.push_back(std::make_unique<Follower>(ends[1]));
    followers_.back()->send(line);
    return readingEnd;
}

void FollowerPipes::send(const QByteArray& line) {
    for (const auto& follower : followers_)
        follower->send(line);
    removeGone();
}

void FollowerPipes::removeGone() {
    std::erase_if(followers_, [](const auto& follower) { return follower->hasGone(); });
}

} // namespace merlode
