#pragma once

#include "platform/linux/mpd_address.h"

#include <QByteArray>
#include <QByteArrayList>

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

struct mpd_async;
struct mpd_parser;

namespace merlode {

/// A command with its arguments, unquoted. At most `kMostArguments`.
struct MpdCommand {
    static constexpr int kMostArguments = 8;

    QByteArray name;
    QByteArrayList arguments;
};

struct MpdPair {
    QByteArray name;
    QByteArray value;
};

enum class MpdOutcome {
    Done,
    Refused,  ///< the server answered with an error; the connection is good
    Broken,   ///< no connection: refused, closed, or what came was no MPD protocol
    TimedOut, ///< the server kept silent or dawdled
};

struct MpdReply {
    MpdOutcome outcome = MpdOutcome::Broken;
    std::vector<MpdPair> pairs;
    QByteArray binary;

    explicit operator bool() const { return outcome == MpdOutcome::Done; }
    /// The first value of this name, or a null array.
    QByteArray value(const char* name) const;
};

/// One connection to an MPD with blocking calls. A deadline bounds each call as a whole, so that a server
/// that sends a byte now and then cannot stretch it; sizes are bounded as well. After `Broken` or `TimedOut`
/// the connection is closed and `ensureOpen` makes a new one.
///
/// Used by one thread at a time, and never by the main thread but for `post` and `takeLines`, which do not
/// block; `interrupt` may be called from any thread.
class MpdConnection {
  public:
    /// Bytes of one reply that are accepted, pictures apart. A search that finds 30,000 songs stays below.
    static constexpr qsizetype kMostReplyBytes = 16 * 1024 * 1024;
    /// What is asked for as one piece of a picture: one piece must cross a slow wireless link within the time
    /// of one call, and a local one in one go.
    static constexpr qsizetype kSocketPictureChunk = 1024 * 1024;
    static constexpr qsizetype kNetworkPictureChunk = 128 * 1024;

    explicit MpdConnection(MpdAddress address);
    ~MpdConnection();
    MpdConnection(const MpdConnection&) = delete;
    MpdConnection& operator=(const MpdConnection&) = delete;

    const MpdAddress& address() const { return address_; }

    /// Connects, reads the greeting and introduces itself. False when that failed; `lastOutcome` tells how.
    bool open(double seconds);

    /// Connects unless the connection is open and the server has not closed it, which it does to a client
    /// that has been silent for a minute.
    bool ensureOpen(double seconds);

    /// Sends one command and reads its reply.
    MpdReply run(const MpdCommand& command, double seconds);

    /// Sends the commands as one list, which the server carries out without other clients in between and ends
    /// at the first error. The pairs of all replies follow each other.
    MpdReply runList(const std::vector<MpdCommand>& commands, double seconds);

    /// How the last call ended.
    MpdOutcome lastOutcome() const { return lastOutcome_; }

    /// Makes the running call and all later ones end at once as `Broken`.
    void interrupt();

    /// Sends a short command without waiting for anything. False when the connection is broken.
    bool post(const MpdCommand& command);

    /// Reads once without waiting and gives the complete lines. Nothing once the server has closed or sent
    /// what is no line of the protocol.
    std::optional<QByteArrayList> takeLines();

    /// -1 while closed.
    int descriptor() const;

    /// The process behind a unix socket, as the kernel knows it; 0 for others.
    std::int32_t peerProcess() const;

  private:
    using Deadline = std::chrono::steady_clock::time_point;

    bool connectTo(Deadline deadline);
    bool connectSocket(int domain, const void* place, unsigned length, Deadline deadline);
    bool greet(Deadline deadline);
    void introduce(Deadline deadline);
    void close();
    bool fail(MpdOutcome outcome);

    MpdReply exchange(const std::vector<MpdCommand>& commands, bool list, Deadline deadline);
    bool send(const MpdCommand& command, Deadline deadline);
    MpdReply receive(Deadline deadline);
    bool receiveBinary(qint64 length, QByteArray& into, Deadline deadline);
    char* receiveLine(Deadline deadline);
    bool transfer(short events, Deadline deadline);

    MpdAddress address_;
    MpdOutcome lastOutcome_ = MpdOutcome::Broken;
    std::unique_ptr<mpd_async, void (*)(mpd_async*)> async_;
    std::unique_ptr<mpd_parser, void (*)(mpd_parser*)> parser_;

    mutable std::mutex mutex_; // guards what `interrupt` touches
    int descriptor_ = -1;
    bool interrupted_ = false;
};

} // namespace merlode
