#include "remote/socket_connection.h"

#include "base/property_list.h"
#include "base/session.h"

#include <QLoggingCategory>

namespace merlode {

namespace {
Q_LOGGING_CATEGORY(log, "merlode.remote", QtWarningMsg)
}

QByteArray serializeMessage(const QVariantMap& message) {
    if (!property_list::canHold(message))
        return {};
    QByteArray text = property_list::serialize(message);
    if (!text.isEmpty())
        text += GCDAsyncSocket::CRLFData();
    return text;
}

QVariantMap remoteMessage(const QString& action, const QVariantMap& payload) {
    return {{QStringLiteral("action"), action}, {QStringLiteral("payload"), payload}};
}

QString SocketConnection::kServiceType() {
    return QStringLiteral("_Merlode._tcp.");
}

SocketConnection::SocketConnection(Session& session, MessageHandler handler)
    : session_(session), handler_(std::move(handler)) {}

GCDAsyncSocketDelegate::SocketPtr SocketConnection::makeSocket() {
    return std::make_shared<GCDAsyncSocket>(weak_from_this(), session_.runLoop(),
                                            session_.port<StreamNetwork>());
}

void SocketConnection::readMessage(const SocketPtr& socket) {
    socket->readDataToData(GCDAsyncSocket::CRLFData(), kTag);
}

void SocketConnection::write(const SocketPtr& socket, const QByteArray& message) {
    socket->writeData(message, kTag);
}

void SocketConnection::socketDidReadData(const SocketPtr& socket, const QByteArray& data, long) {
    session_.runLoop().async([weak = weak_from_this(), socket, data] {
        if (const auto self = weak.lock())
            self->handleData(socket, data);
    });
}

void SocketConnection::handleData(const SocketPtr& socket, const QByteArray& data) {
    const auto text =
        QByteArray::fromRawData(data.constData(), data.size() - GCDAsyncSocket::CRLFData().size());
    const auto message = property_list::parse(text);
    if (!message)
        qCWarning(log).noquote() << "what" << socket->connectedHost() << "sent is no property list";
    if (!message || message->typeId() != QMetaType::QVariantMap)
        return socket->abandonReading();
    handler_(message->toMap());
    readMessage(socket);
}

} // namespace merlode
