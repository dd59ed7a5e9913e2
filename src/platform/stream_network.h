#pragma once

#include "platform/socket_address.h"

#include <QString>

#include <memory>
#include <optional>

namespace merlode {

/// What a stream tells its owner: on the network's one thread, and never from within a call on the stream.
class StreamHandler {
  public:
    virtual ~StreamHandler() = default;

    /// Something that `Stream::watch` asked for has come about, or the stream has ended: which of it may be
    /// possible now. The watch is over with this call.
    virtual void streamReady(unsigned interests) = 0;
};

/// One end of a connection. Its owner calls it from any thread, but from one at a time. Nothing here blocks.
/// Destroying it closes the connection at once; what was written goes out still, as far as the peer takes it.
class Stream {
  public:
    /// What can be waited for, to be joined with `|`.
    static constexpr unsigned kReadable = 1;
    static constexpr unsigned kWritable = 2;
    /// The peer has closed its end; there can still be bytes to read.
    static constexpr unsigned kHungUp = 4;

    struct Transfer {
        qsizetype bytes = 0;            ///< none means "not now" unless the stream has ended
        std::optional<QString> ended{}; ///< why nothing will ever come or go any more, for people
    };

    virtual ~Stream() = default;

    /// What came of a `StreamNetwork::connect`, to be asked once, when the stream is writable for the first
    /// time: empty where it is open, else why it is not, for people.
    virtual QString openingError() = 0;

    /// Who is told. The handler of an accepted stream must be set before the first `watch`.
    virtual void setHandler(std::weak_ptr<StreamHandler> handler) = 0;

    /// Has `streamReady` called once, when any of the interests, of which there is one at least, or the end
    /// of the stream has come about. Replaces the watch before.
    virtual void watch(unsigned interests) = 0;

    /// Takes up to `size` bytes, at least 1, of what has come.
    virtual Transfer read(char* buffer, qsizetype size) = 0;
    /// Hands over up to `size` bytes, at least 1, as many as find room.
    virtual Transfer write(const char* bytes, qsizetype size) = 0;

    /// Both ends, without the zone of a link-local address: a zone names an interface of one machine and
    /// means nothing to the other. An IPv4 address is written as one, however it was reached. Empty while
    /// the stream is not open.
    virtual SocketAddress localAddress() const = 0;
    virtual SocketAddress remoteAddress() const = 0;
};

/// Who is told of accepted streams, on the network's thread.
class ListenerHandler {
  public:
    virtual ~ListenerHandler() = default;
    virtual void streamAccepted(std::unique_ptr<Stream> stream) = 0;
};

/// A port that is being listened on; destroying it frees the port. Any thread.
class StreamListener {
  public:
    virtual ~StreamListener() = default;
    virtual quint16 port() const = 0;
};

/// Byte streams between machines. An implementation calls all handlers from one thread of its own, without a
/// lock of its own held. Any thread. Streams and listeners may outlive the network; they are dead then.
class StreamNetwork {
  public:
    virtual ~StreamNetwork() = default;

    /// Listens on the port, or on a free one for 0, at every address of the machine of either family. Null,
    /// with why, where that fails. What cannot be accepted for want of means waits until it can.
    virtual std::unique_ptr<StreamListener> listen(quint16 port, std::weak_ptr<ListenerHandler> handler,
                                                   QString* error) = 0;

    /// Begins to connect; the stream is writable when that is decided. Null, with why, where it fails at
    /// once.
    virtual std::unique_ptr<Stream> connect(const SocketAddress& address,
                                            std::weak_ptr<StreamHandler> handler, QString* error) = 0;
};

} // namespace merlode
