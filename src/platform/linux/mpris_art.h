#pragma once

#include "base/image.h"
#include "base/run_loop.h"

#include <QString>

#include <atomic>
#include <memory>
#include <optional>

namespace merlode {

class DispatchQueue;
class HttpClient;

/// The bytes behind an address of art: a regular file, a data address in base64, or http and https through
/// `http`, which may be null. Nothing for anything else, for what is not there and for what is too big.
/// Blocks: for dispatch queues.
std::optional<QByteArray> fetchArt(const QString& url, HttpClient* http);

/// Fetches and decodes the art of one player in the background. Main thread.
class MprisArt {
  public:
    /// Without a queue there is never any art. All three must outlive this object.
    MprisArt(RunLoop& runLoop, HttpClient* http, DispatchQueue* queue);
    ~MprisArt();
    MprisArt(const MprisArt&) = delete;
    MprisArt& operator=(const MprisArt&) = delete;

    /// Drops the picture at hand and has the one of this address fetched; an empty address has none. What was
    /// asked for before is no longer wanted, and not fetched where that has not begun.
    void want(const QString& url);

    /// The picture last asked for, once it is there.
    const std::optional<Image>& image() const { return state_->image; }

  private:
    struct State {
        std::atomic<quint64> ticket = 0; // of the newest request
        std::optional<Image> image;      // main thread
    };

    RunLoop& runLoop_;
    HttpClient* http_;
    DispatchQueue* queue_;
    std::shared_ptr<State> state_ = std::make_shared<State>();
};

} // namespace merlode
