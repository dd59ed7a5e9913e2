#include "remote/gcd_async_socket.h"

#include <QLoggingCategory>

#include <algorithm>
#include <atomic>

#include <unistd.h>

namespace merlode {

namespace {

Q_LOGGING_CATEGORY(log, "merlode.remote", QtWarningMsg)

// What one socket may move before the others have their turn. Sending costs less: nothing looks at the bytes.
constexpr qsizetype kReadSliceBytes = 256 * 1024;
constexpr qsizetype kWriteSliceBytes = 1024 * 1024;
constexpr qsizetype kFirstReadBytes = 16 * 1024;

quint64 nextIdentifier() {
    static std::atomic<quint64> last = 0;
    return ++last;
}

// Where the bytes stand at or after `from`; -1 where they do not.
qsizetype find(QByteArrayView text, QByteArrayView bytes, qsizetype from) {
    // By the first byte: looking for one is many times faster than looking for several.
    for (auto at = text.indexOf(bytes.front(), from); at >= 0; at = text.indexOf(bytes.front(), at + 1)) {
        if (text.sliced(at).startsWith(bytes))
            return at;
    }
    return -1;
}

} // namespace

void GCDAsyncSocketDelegate::socketDidAcceptNewSocket(const SocketPtr&, const SocketPtr&) {}
void GCDAsyncSocketDelegate::socketDidConnectToHost(const SocketPtr&, const QString&, quint16) {}
void GCDAsyncSocketDelegate::socketDidReadData(const SocketPtr&, const QByteArray&, long) {}
void GCDAsyncSocketDelegate::socketDidDisconnect(const SocketPtr&, const QString&) {}

QByteArray GCDAsyncSocket::CRLFData() {
    return QByteArrayLiteral("\r\n");
}

qsizetype GCDAsyncSocket::mostReadBytes() {
    static const auto memory = static_cast<qsizetype>(::sysconf(_SC_PHYS_PAGES)) * ::sysconf(_SC_PAGESIZE);
    return std::max(kLeastReadLimit, memory / kMemoryShare);
}

GCDAsyncSocket::GCDAsyncSocket(std::weak_ptr<GCDAsyncSocketDelegate> delegate, RunLoop& delegateQueue,
                               StreamNetwork& network)
    : identifier_(nextIdentifier()),
      delegate_(std::move(delegate)),
      delegateQueue_(delegateQueue),
      network_(network) {}

GCDAsyncSocket::~GCDAsyncSocket() = default;

template<class Call>
void GCDAsyncSocket::tell(Call call) {
    delegateQueue_.async([self = shared_from_this(), call = std::move(call)] {
        if (const auto delegate = self->delegate_.lock())
            call(*delegate, self);
    });
}

// Opening.

bool GCDAsyncSocket::acceptOnPort(quint16 port, QString* error) {
    const std::lock_guard lock(mutex_);
    if (phase_ != Phase::Unused) {
        *error = QStringLiteral("the socket is in use");
        return false;
    }
    const std::shared_ptr<ListenerHandler> handler(shared_from_this(), this);
    listener_ = network_.listen(port, handler, error);
    if (!listener_)
        return false;
    place_ = std::make_shared<char>();
    phase_ = Phase::Listening;
    return true;
}

bool GCDAsyncSocket::connectToAddress(const SocketAddress& address, QString* error) {
    const std::lock_guard lock(mutex_);
    if (phase_ != Phase::Unused || address.host.isEmpty() || address.port == 0) {
        *error = phase_ != Phase::Unused ? QStringLiteral("the socket is in use")
                                         : QStringLiteral("no address to connect to");
        return false;
    }
    phase_ = Phase::Connecting;
    const std::shared_ptr<StreamHandler> handler(shared_from_this(), this);
    QString failure;
    stream_ = network_.connect(address, handler, &failure);
    if (stream_)
        stream_->watch(Stream::kWritable);
    else
        close(failure);
    return true;
}

void GCDAsyncSocket::finishConnecting() {
    const QString error = stream_->openingError();
    if (!error.isEmpty())
        return close(error);
    opened();
    tell([host = remote_.host, port = remote_.port](auto& delegate, const auto& self) {
        delegate.socketDidConnectToHost(self, host, port);
    });
}

void GCDAsyncSocket::opened() {
    phase_ = Phase::Open;
    local_ = stream_->localAddress();
    remote_ = stream_->remoteAddress();
}

void GCDAsyncSocket::streamAccepted(std::unique_ptr<Stream> stream) {
    const std::lock_guard lock(mutex_);
    if (phase_ != Phase::Listening)
        return;
    if (place_.use_count() > kMostAcceptedSockets) {
        if (!std::exchange(full_, true))
            qCWarning(log) << "more than" << kMostAcceptedSockets << "peers: new ones are turned away";
        return;
    }
    full_ = false;
    const auto accepted = std::make_shared<GCDAsyncSocket>(delegate_, delegateQueue_, network_);
    accepted->adopt(std::move(stream), place_);
    tell([accepted](auto& delegate, const auto& self) { delegate.socketDidAcceptNewSocket(self, accepted); });
}

void GCDAsyncSocket::adopt(std::unique_ptr<Stream> stream, std::shared_ptr<void> place) {
    stream_ = std::move(stream);
    place_ = std::move(place);
    opened();
    stream_->setHandler(std::shared_ptr<StreamHandler>(shared_from_this(), this));
}

// Requests.

void GCDAsyncSocket::readDataToData(const QByteArray& separator, long tag) {
    const std::lock_guard lock(mutex_);
    if (!canTakeRequests() || readingAbandoned_ || separator.isEmpty())
        return;
    reads_.push_back({separator, tag});
    serveReads();
    watch();
}

void GCDAsyncSocket::writeData(const QByteArray& data, long) {
    const std::lock_guard lock(mutex_);
    if (!canTakeRequests() || data.isEmpty())
        return;
    if (queued_ > kMostQueuedBytes) {
        qCWarning(log) << description() << "takes nothing of what is sent to it: it is given up";
        return close(QStringLiteral("the peer has stopped reading"));
    }
    writes_.push_back(data);
    queued_ += data.size();
    watch();
}

void GCDAsyncSocket::disconnect() {
    const std::lock_guard lock(mutex_);
    close({});
}

void GCDAsyncSocket::abandonReading() {
    const std::lock_guard lock(mutex_);
    readingAbandoned_ = true;
    reads_.clear();
    preBuffer_.reset();
    watch();
}

// The work, on the network's thread but for what a request finds done already.

void GCDAsyncSocket::streamReady(unsigned interests) {
    const std::lock_guard lock(mutex_);
    if (phase_ == Phase::Connecting)
        finishConnecting();
    if (phase_ == Phase::Open && (interests & Stream::kWritable))
        send();
    if (phase_ == Phase::Open && (interests & Stream::kReadable) && !reads_.empty())
        receive();
    if (readingAbandoned_ && (interests & Stream::kHungUp))
        close(QStringLiteral("the peer has closed the connection"));
    watch();
}

void GCDAsyncSocket::watch() {
    if (phase_ != Phase::Open)
        return;
    const unsigned interests = (reads_.empty() ? 0 : Stream::kReadable) |
                               (writes_.empty() ? 0 : Stream::kWritable) |
                               (readingAbandoned_ ? Stream::kHungUp : 0);
    if (interests)
        stream_->watch(interests);
}

void GCDAsyncSocket::receive() {
    preBuffer_.ensureCapacityForWrite(
        std::clamp(preBuffer_.availableBytes(), kFirstReadBytes, kReadSliceBytes));
    const auto came =
        stream_->read(preBuffer_.writePointer(), std::min(preBuffer_.availableSpace(), kReadSliceBytes));
    preBuffer_.didWrite(came.bytes);
    serveReads();
    if (came.ended)
        return close(*came.ended);
    if (!reads_.empty() && preBuffer_.availableBytes() > mostReadBytes()) {
        qCWarning(log) << description() << "sends a message without an end: it is given up";
        close(QStringLiteral("a message was longer than any is"));
    }
}

void GCDAsyncSocket::serveReads() {
    while (!reads_.empty() && phase_ == Phase::Open) {
        const auto& request = reads_.front();
        const QByteArrayView bytes(preBuffer_.readPointer(), preBuffer_.availableBytes());
        const auto at = find(bytes, request.separator, searched_);
        if (at < 0) {
            // Its beginning may have come.
            searched_ = std::max<qsizetype>(searched_, bytes.size() - request.separator.size() + 1);
            return;
        }
        const auto data = preBuffer_.take(at + request.separator.size());
        tell([data, tag = request.tag](auto& delegate, const auto& self) {
            delegate.socketDidReadData(self, data, tag);
        });
        searched_ = 0;
        reads_.pop_front();
    }
}

void GCDAsyncSocket::send() {
    qsizetype room = kWriteSliceBytes;
    while (!writes_.empty() && room > 0) {
        const auto& data = writes_.front();
        const auto went =
            stream_->write(data.constData() + sent_, std::min<qsizetype>(data.size() - sent_, room));
        if (went.ended)
            return close(*went.ended);
        if (went.bytes == 0)
            return;
        room -= went.bytes;
        sent_ += went.bytes;
        queued_ -= went.bytes;
        if (sent_ == data.size()) {
            writes_.pop_front();
            sent_ = 0;
        }
    }
}

void GCDAsyncSocket::close(const QString& error) {
    if (phase_ == Phase::Unused || phase_ == Phase::Closed)
        return;
    phase_ = Phase::Closed;
    stream_.reset();
    listener_.reset();
    place_.reset();
    local_ = remote_ = {};
    reads_.clear();
    preBuffer_.reset();
    writes_.clear();
    queued_ = 0;
    tell([error](auto& delegate, const auto& self) { delegate.socketDidDisconnect(self, error); });
}

// What is asked about it.

bool GCDAsyncSocket::isConnected() const {
    const std::lock_guard lock(mutex_);
    return phase_ == Phase::Open;
}

QString GCDAsyncSocket::localHost() const {
    const std::lock_guard lock(mutex_);
    return local_.host;
}

QString GCDAsyncSocket::connectedHost() const {
    const std::lock_guard lock(mutex_);
    return remote_.host;
}

quint16 GCDAsyncSocket::localPort() const {
    const std::lock_guard lock(mutex_);
    return listener_ ? listener_->port() : local_.port;
}

QString GCDAsyncSocket::description() const {
    return QStringLiteral("<GCDAsyncSocket %1>").arg(identifier_);
}

} // namespace merlode
