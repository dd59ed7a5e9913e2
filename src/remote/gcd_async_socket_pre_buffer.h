#pragma once

#include <QByteArray>

namespace merlode {

/// The bytes that have come and that nobody has asked for yet. They stand in one piece, so that a message can
/// be searched and cut without being put together first. It grows with what really arrives, at most twofold
/// at a time, and gives a huge buffer back once that is empty. One thread at a time.
class GCDAsyncSocketPreBuffer {
  public:
    /// What is kept when the buffer has become empty.
    static constexpr qsizetype kKeptBytes = 64 * 1024;

    /// Makes room for this many more bytes after `writePointer`. Pointers from before are invalid then.
    void ensureCapacityForWrite(qsizetype bytes);

    qsizetype preBufferSize() const { return preBuffer_.size(); }
    const char* preBuffer() const { return preBuffer_.constData(); }

    const char* readPointer() const { return preBuffer_.constData() + read_; }
    qsizetype availableBytes() const { return written_ - read_; }
    /// The first bytes, at most those that there are, have been taken.
    void didRead(qsizetype bytes);

    char* writePointer() { return preBuffer_.data() + written_; }
    qsizetype availableSpace() const { return preBuffer_.size() - written_; }
    /// So many bytes, at most the space that there is, were put down at the write pointer.
    void didWrite(qsizetype bytes);

    /// Takes the first bytes out. All of a big buffer, or nearly all, goes over without being copied.
    QByteArray take(qsizetype bytes);

    /// Drops everything, the memory included.
    void reset();

  private:
    QByteArray preBuffer_; // its size is the capacity
    qsizetype read_ = 0;
    qsizetype written_ = 0;
};

} // namespace merlode
