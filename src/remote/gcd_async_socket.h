#pragma once

#include "base/run_loop.h"
#include "platform/stream_network.h"
#include "remote/gcd_async_socket_pre_buffer.h"

#include <QByteArray>
#include <QString>

#include <deque>
#include <memory>
#include <mutex>

namespace merlode {

class GCDAsyncSocket;

/// What a socket tells its delegate, on the delegate's queue.
class GCDAsyncSocketDelegate {
  public:
    using SocketPtr = std::shared_ptr<GCDAsyncSocket>;

    virtual ~GCDAsyncSocketDelegate() = default;

    /// A peer has connected to the listening socket. `newSocket` has the same delegate and queue; it is
    /// closed unless somebody keeps it.
    virtual void socketDidAcceptNewSocket(const SocketPtr& socket, const SocketPtr& newSocket);
    virtual void socketDidConnectToHost(const SocketPtr& socket, const QString& host, quint16 port);
    /// A read has been completed; `data` ends with the separator that was asked for.
    virtual void socketDidReadData(const SocketPtr& socket, const QByteArray& data, long tag);
    /// The socket has ended, for the reason `error`, which is for people and empty after a `disconnect`.
    /// Exactly once for each socket that was started.
    virtual void socketDidDisconnect(const SocketPtr& socket, const QString& error);
};

/// An asynchronous TCP socket: listening, connecting or accepted. Reads and writes are requests, which are
/// carried out one at a time in their order and know no time-out. A socket serves for one connection.
///
/// Any thread. What happens is told by the delegate, on the delegate's queue, in the order in which it
/// happened, and never from within a call. Destroying the socket closes it without a word.
class GCDAsyncSocket final : public std::enable_shared_from_this<GCDAsyncSocket>,
                             private StreamHandler,
                             private ListenerHandler {
  public:
    /// When so much waits to be sent and more is to be written, the peer has stopped reading: it is
    /// disconnected. One message of any size always passes.
    static constexpr qsizetype kMostQueuedBytes = 64 * 1024 * 1024;
    /// The most that one read may bring together: a message has no limit of its own, but what takes this
    /// share of the machine's memory could not be handled, and the peer that sends it is disconnected. On a
    /// small machine `kLeastReadLimit`, several times what a picture of the largest size that is decoded
    /// takes on the wire.
    static qsizetype mostReadBytes();
    static constexpr qsizetype kMemoryShare = 16;
    static constexpr qsizetype kLeastReadLimit = 256 * 1024 * 1024;
    /// How many peers of one listening socket can be connected at a time; more are turned away.
    static constexpr int kMostAcceptedSockets = 64;

    /// The two bytes that end a message.
    static QByteArray CRLFData();

    /// The delegate is held weakly; `delegateQueue` and `network` must outlive every call on the socket.
    GCDAsyncSocket(std::weak_ptr<GCDAsyncSocketDelegate> delegate, RunLoop& delegateQueue,
                   StreamNetwork& network);
    ~GCDAsyncSocket() override;
    GCDAsyncSocket(const GCDAsyncSocket&) = delete;
    GCDAsyncSocket& operator=(const GCDAsyncSocket&) = delete;

    /// Listens on the port, or on a free one for 0, for peers of either address family. False, with why,
    /// where that fails or the socket is in use.
    bool acceptOnPort(quint16 port, QString* error);

    /// Begins to connect: either `socketDidConnectToHost` or `socketDidDisconnect` follows. False, with why,
    /// and without either, for an address that is none and for a socket in use.
    bool connectToAddress(const SocketAddress& address, QString* error);

    /// Has everything up to and including the separator delivered. Nothing happens on a socket that was not
    /// started or is closing, or with an empty separator.
    void readDataToData(const QByteArray& separator, long tag);

    /// Queues the bytes, which are shared and not copied. Dropped in silence on a socket that was not started
    /// or is closing, and where there are none.
    void writeData(const QByteArray& data, long tag);

    /// Ends a started socket at once: nothing that waited is sent or delivered any more, and
    /// `socketDidDisconnect` follows. On any other nothing happens.
    void disconnect();

    /// Says that nobody will read again: what comes stays in the kernel, and the socket ends as soon as its
    /// peer hangs up. Without that a peer that left something unread behind would never be missed.
    void abandonReading();

    bool isConnected() const;
    /// Numeric, without zone; empty while the socket is not connected.
    QString localHost() const;
    QString connectedHost() const;
    /// Of a listening socket the port it listens on; 0 for one that neither listens nor is connected.
    quint16 localPort() const;

    /// Tells this socket from all others of the process for ever.
    quint64 identifier() const { return identifier_; }

    /// For the log.
    QString description() const;

  private:
    struct ReadRequest {
        QByteArray separator;
        long tag = 0;
    };
    enum class Phase { Unused, Connecting, Open, Listening, Closed };

    void streamReady(unsigned interests) override;
    void streamAccepted(std::unique_ptr<Stream> stream) override;

    // The following with the lock held, except on a socket that nobody else knows yet.

    bool canTakeRequests() const { return phase_ == Phase::Connecting || phase_ == Phase::Open; }
    void adopt(std::unique_ptr<Stream> stream, std::shared_ptr<void> place);
    void finishConnecting();
    void opened();
    void watch();
    void receive();
    void send();
    void serveReads();
    void close(const QString& error);
    /// Has the delegate told on its queue, if both it and this socket are still there.
    template<class Call>
    void tell(Call call);

    const quint64 identifier_;
    const std::weak_ptr<GCDAsyncSocketDelegate> delegate_;
    RunLoop& delegateQueue_;
    StreamNetwork& network_;

    mutable std::mutex mutex_; // guards all below
    Phase phase_ = Phase::Unused;
    bool readingAbandoned_ = false;
    std::unique_ptr<Stream> stream_;
    SocketAddress local_;
    SocketAddress remote_;

    std::deque<ReadRequest> reads_;
    GCDAsyncSocketPreBuffer preBuffer_;
    qsizetype searched_ = 0; // bytes of the pre-buffer in which the first request found no separator

    std::deque<QByteArray> writes_;
    qsizetype sent_ = 0;   // of the first of them
    qsizetype queued_ = 0; // bytes of all that are left

    std::unique_ptr<StreamListener> listener_;
    // One reference is the listening socket's, each other is that of an accepted one while it is connected.
    std::shared_ptr<void> place_;
    bool full_ = false;
};

} // namespace merlode
