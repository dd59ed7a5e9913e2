#pragma once

#include "base/image.h"
#include "base/run_loop.h"
#include "platform/linux/music_file_art.h"

#include <QString>

#include <atomic>
#include <memory>
#include <optional>

namespace merlode {

class DispatchQueue;
class HttpClient;

/// Where the art of a track may be found.
struct MprisArtSource {
    QString art;   ///< the address that the player names; may be empty
    QString track; ///< the address of the music; only a file's is of use
};

/// The bytes behind an address of art: a regular file, a data address in base64, or http and https through
/// `http`, which may be null. Nothing for anything else, for what is not there and for what is too big.
/// Blocks: for dispatch queues.
std::optional<QByteArray> fetchArt(const QString& url, HttpClient* http);

/// The picture that the player names, else the one of the file that it plays. Blocks: for dispatch queues.
std::optional<Image> fetchArt(const MprisArtSource& source, HttpClient* http, const PictureReader& embedded);

/// Fetches and decodes the art of one player in the background. Main thread.
class MprisArt {
  public:
    /// Many players announce a track first and its art behind it. Before the file itself is looked into they
    /// are given this many seconds: well within the second after which the art is first shown.
    static constexpr double kArtAnnouncement = 0.3;

    /// Without a queue there is never any art; without `embedded` there is none out of music files. The
    /// others must outlive this object.
    MprisArt(RunLoop& runLoop, HttpClient* http, DispatchQueue* queue, PictureReader embedded = {});
    ~MprisArt();
    MprisArt(const MprisArt&) = delete;
    MprisArt& operator=(const MprisArt&) = delete;

    /// Drops the picture at hand and has the one from here fetched. What was asked for before is no longer
    /// wanted, and not fetched where that has not begun.
    void want(const MprisArtSource& source);

    /// The picture last asked for, once it is there.
    const std::optional<Image>& image() const { return state_->image; }

  private:
    struct State {
        std::atomic<quint64> ticket = 0; // of the newest request
        std::optional<Image> image;      // main thread
    };

    void fetch(const MprisArtSource& source);

    RunLoop& runLoop_;
    HttpClient* http_;
    DispatchQueue* queue_;
    PictureReader embedded_;
    Timer announcement_;
    std::shared_ptr<State> state_ = std::make_shared<State>();
};

} // namespace merlode
