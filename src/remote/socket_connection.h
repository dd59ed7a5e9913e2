#pragma once

#include "remote/gcd_async_socket.h"

#include <QByteArray>
#include <QString>
#include <QVariantMap>

#include <functional>
#include <memory>

namespace merlode {

class Session;

/// The bytes under which a message travels: an XML property list in UTF-8, then CR LF. Empty for a message
/// with a value that a property list cannot hold. Any thread.
QByteArray serializeMessage(const QVariantMap& message);

/// The message of this action and payload: "action" and "payload", always both.
QVariantMap remoteMessage(const QString& action, const QVariantMap& payload);

/// What both ends of the link share: the one reader of messages. Each message is handled to its end before
/// the next of the same peer is read. A peer that sends what is no message is not read any more; its
/// connection stays until the peer leaves. Main thread. Held by a shared pointer.
class SocketConnection : public GCDAsyncSocketDelegate,
                         public std::enable_shared_from_this<SocketConnection> {
  public:
    /// What handles a message that was read: `RemoteActionController::handleRemoteMessage`.
    using MessageHandler = std::function<void(const QVariantMap& message)>;

    /// "_Merlode._tcp.": the type under which servers announce themselves.
    static QString kServiceType();
    /// Every read and write carries this tag, which nobody looks at.
    static constexpr long kTag = 1;

    void socketDidReadData(const SocketPtr& socket, const QByteArray& data, long tag) final;

  protected:
    /// The session outlives the connection.
    SocketConnection(Session& session, MessageHandler handler);

    /// A new socket with this object as its delegate and the main queue as its delegate's queue.
    SocketPtr makeSocket();
    /// Queues the next read of a message.
    static void readMessage(const SocketPtr& socket);
    static void write(const SocketPtr& socket, const QByteArray& message);

    Session& session() const { return session_; }

  private:
    void handleData(const SocketPtr& socket, const QByteArray& data);

    Session& session_;
    MessageHandler handler_;
};

} // namespace merlode
