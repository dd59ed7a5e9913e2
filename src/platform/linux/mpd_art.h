#pragma once

#include "base/image.h"
#include "platform/linux/mpd_link.h"
#include "platform/linux/mpd_snapshot.h"

#include <memory>
#include <optional>

namespace merlode {

/// The picture of the current song of a player, fetched piece by piece so that commands get their turn in
/// between. A picture is never shown for a song of another album. Main thread.
class MpdArt {
  public:
    /// The link must outlive this.
    explicit MpdArt(MpdLink& link) : link_(link) {}

    /// The current song is now this one, or none. Begins to fetch its picture; the one at hand stays
    /// meanwhile if it is of the same album.
    void setSong(const std::optional<MpdSong>& song);

    /// The picture, once it is there.
    std::optional<Image> image() const { return image_; }

    /// The link dropped work: what was under way is to be fetched again when the song is next set.
    void abandon();

  private:
    struct Load;

    void step(const std::shared_ptr<Load>& load);
    void finish(const std::shared_ptr<Load>& load);

    MpdLink& link_;
    QByteArray uri_;
    QByteArray albumKey_;
    QByteArray bytes_; ///< what `image_` was decoded from: the next song of the album mostly carries the same
    std::optional<Image> image_;
    std::shared_ptr<Load> load_;
};

/// Equal for two songs that one picture may stand for: the same album in the same folder.
QByteArray albumArtKey(const MpdSong& song);

} // namespace merlode
