#pragma once

#include "platform/linux/mpd_connection.h"

namespace merlode {

/// The fetching of one song's picture, a piece at a time so that other commands get their turn in between.
/// One thread at a time.
class MpdPicture {
  public:
    explicit MpdPicture(QByteArray uri) : uri_(std::move(uri)) {}

    /// Fetches one piece. Blocks for `kPlayerCallTimeout` at most.
    void advance(MpdConnection& connection);

    bool hasEnded() const { return ended_; }
    /// What came so far; once it has ended the whole picture, or empty where there is none.
    const QByteArray& bytes() const { return bytes_; }

  private:
    QByteArray uri_;
    std::size_t command_ = 0;
    QByteArray bytes_;
    bool ended_ = false;
};

} // namespace merlode
