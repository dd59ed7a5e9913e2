#pragma once

#include <QByteArray>
#include <QProcessEnvironment>
#include <QStringList>
#include <QTemporaryDir>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include <sys/types.h>

namespace merlode::bench {

using Clock = std::chrono::steady_clock;

inline double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/// A program that was started from here, with its standard output in a pipe that is read without an event
/// loop in between. Ends with the object, and with this process should that be killed.
class Child {
  public:
    Child(const QStringList& command, const QProcessEnvironment& environment);
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    pid_t pid() const { return pid_; }
    /// Just before the process was made.
    Clock::time_point startedAt() const { return startedAt_; }

    /// Waits until a line has come that contains `text`; false after `seconds` or at the end of the output.
    bool hear(const QByteArray& text, double seconds);
    /// Forgets what has been written so far.
    void drain();

  private:
    bool readMore(double seconds);

    pid_t pid_ = -1;
    int output_ = -1;
    Clock::time_point startedAt_;
    QByteArray text_;
};

/// The throw-away home of one Merlode. Its local role is held by `localPlayer`: an MPRIS name that nobody has
/// unless a benchmark takes it, or "mpd", or "auto". No private mpd is ever found to start.
class Home {
  public:
    explicit Home(const QString& busAddress, const QString& localPlayer = u"nobody"_qs);

    /// What Merlode, and whatever is compared with it, is started with.
    QProcessEnvironment environment;

  private:
    QTemporaryDir folder_;
};

/// The path of a program of this build.
QString builtProgram(const char* name);

/// One way to hear of changes: programs that are started in this order, the last of which writes a line for
/// each change.
struct Listener {
    std::vector<QStringList> commands;
    QProcessEnvironment environment;
    /// What the line contains that tells of a change; empty for the new title.
    QByteArray line;
    /// Filled by `measureListeners`: seconds from change to line.
    std::vector<double> samples;
    int missed = 0;
};

/// Makes `changes` changes for each listener and takes the time from just before each change to its line.
/// Listeners take turns in short blocks and run alone, so that none has to share the processor with another
/// and all meet the same drift of the machine. `prepare` gives the title that the next change brings,
/// `change` makes it.
void measureListeners(const std::vector<Listener*>& listeners, int changes,
                      const std::function<QByteArray()>& prepare, const std::function<void()>& change);

} // namespace merlode::bench
