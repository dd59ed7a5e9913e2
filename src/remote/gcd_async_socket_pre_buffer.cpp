#include "remote/gcd_async_socket_pre_buffer.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace merlode {

void GCDAsyncSocketPreBuffer::ensureCapacityForWrite(qsizetype bytes) {
    if (availableSpace() >= bytes)
        return;
    if (read_ > 0) {
        const auto left = availableBytes();
        std::memmove(preBuffer_.data(), readPointer(), static_cast<std::size_t>(left));
        read_ = 0;
        written_ = left;
    }
    if (availableSpace() < bytes)
        preBuffer_.resize(std::max(written_ + bytes, 2 * written_));
}

void GCDAsyncSocketPreBuffer::didRead(qsizetype bytes) {
    read_ += std::min(bytes, availableBytes());
    if (availableBytes() > 0)
        return;
    read_ = written_ = 0;
    if (preBuffer_.size() > kKeptBytes)
        reset();
}

void GCDAsyncSocketPreBuffer::didWrite(qsizetype bytes) {
    written_ += std::min(bytes, availableSpace());
}

QByteArray GCDAsyncSocketPreBuffer::take(qsizetype bytes) {
    bytes = std::min(bytes, availableBytes());
    const auto rest = availableBytes() - bytes;
    if (bytes <= kKeptBytes || rest > bytes) {
        QByteArray taken(readPointer(), bytes);
        didRead(bytes);
        return taken;
    }
    const QByteArray left(readPointer() + bytes, rest);
    QByteArray taken = std::exchange(preBuffer_, {});
    taken.truncate(read_ + bytes);
    taken.remove(0, read_);
    reset();
    ensureCapacityForWrite(rest);
    std::copy(left.begin(), left.end(), writePointer());
    didWrite(rest);
    return taken;
}

void GCDAsyncSocketPreBuffer::reset() {
    preBuffer_ = {};
    read_ = written_ = 0;
}

} // namespace merlode
