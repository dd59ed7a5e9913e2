#pragma once

#include "base/image.h"

#include <QByteArray>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace merlode {

class Session;

/// Album art on its way to clients and from a host: as TIFF, which keeps every pixel. Coding takes
/// milliseconds, so that it is done in the background, and no more than is needed: the art that was encoded
/// last is kept for clients that come later, and of pictures that come faster than they are decoded only the
/// last one is. Results come back through the run loop, unless they are at hand, and not at all once the
/// courier has gone. Main thread.
class ArtCourier {
  public:
    using Encoded = std::function<void(const QByteArray& tiff)>;
    using Decoded = std::function<void(const std::optional<Image>& art)>;

    explicit ArtCourier(Session& session);

    /// Encodes the art. One whose TIFF would be beyond `Image::kMostBytes`, which no client takes, is reduced
    /// until it is not.
    void encode(const Image& art, Encoded done);

    /// Drops what is kept; who waits for it is served all the same.
    void forgetEncoded() { encoding_ = nullptr; }

    /// Decodes what a host sent, under the limits of `Image`; nothing comes of a broken picture. Nobody hears
    /// of an earlier one any more.
    void decode(QByteArray bytes, Decoded done);

    /// Nobody hears any more of what is being decoded.
    void forgetDecoding();

  private:
    struct Encoding {
        Image art;
        std::optional<QByteArray> tiff; ///< once it is there
        std::vector<Encoded> waiting;
    };
    struct Inbox;

    Session& session_;
    std::shared_ptr<Encoding> encoding_;
    std::shared_ptr<Inbox>
        inbox_; ///< held here alone for long: work under way looks whether it is still there
    Decoded decoded_;
    quint64 ticket_ = 0; ///< counts the pictures from the host; the last one is the valid one
};

} // namespace merlode
