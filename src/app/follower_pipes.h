#pragma once

#include <QByteArray>
#include <QDBusUnixFileDescriptor>
#include <QSocketNotifier>

#include <memory>
#include <vector>

namespace merlode {

/// Pipes on which followers read the status, one line a change. A follower that does not read is skipped
/// ahead: it never holds up the program, and gets the latest line when it reads again. Main thread.
class FollowerPipes {
  public:
    /// More followers than this are refused.
    static constexpr std::size_t kMostFollowers = 64;

    FollowerPipes();
    ~FollowerPipes();

    /// Opens a pipe with `line` as its first line and gives its reading end. An invalid descriptor when there
    /// are too many followers or no descriptors left.
    QDBusUnixFileDescriptor add(const QByteArray& line);

    /// Sends a line, without its newline, to all followers and forgets those that have gone.
    void send(const QByteArray& line);

    std::size_t count() const { return followers_.size(); }

  private:
    struct Follower;

    void removeGone();

    std::vector<std::unique_ptr<Follower>> followers_;
};

} // namespace merlode
