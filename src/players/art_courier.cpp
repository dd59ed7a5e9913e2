#include "players/art_courier.h"

#include "base/session.h"

#include <QBuffer>
#include <QImageWriter>

#include <algorithm>
#include <cmath>
#include <mutex>

namespace merlode {

namespace {

// Not the queue of downloads: what was sent already should not wait for a slow server on the web.
DispatchQueue& codingQueue(Session& session) {
    return session.queue(QStringLiteral("co.vantry.Merlode.AlbumArtQueue"));
}

bool isOpaque(const QImage& pixels) {
    const QImage alpha = pixels.convertToFormat(QImage::Format_Alpha8);
    for (int y = 0; y < alpha.height(); ++y) {
        const uchar* line = alpha.constScanLine(y);
        if (!std::all_of(line, line + alpha.width(), [](uchar value) { return value == 0xff; }))
            return false;
    }
    return true;
}

// Readers multiply colours of 8 bits by their alpha, after which some cannot be told apart; those of 16 bits
// they leave alone. Palettes lose their alpha altogether.
QImage unchangedByTiff(const QImage& pixels) {
    const bool multiplied = pixels.pixelFormat().premultiplied() == QPixelFormat::Premultiplied;
    if (!pixels.hasAlphaChannel() || multiplied || pixels.depth() > 32 || isOpaque(pixels))
        return pixels;
    return pixels.convertToFormat(QImage::Format_RGBA64);
}

QByteArray written(const QImage& pixels) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter(&buffer, "tiff").write(pixels);
    return bytes;
}

QByteArray tiffOf(const Image& art) {
    QImage pixels = unchangedByTiff(art.pixels());
    QByteArray bytes = written(pixels);
    while (bytes.size() > Image::kMostBytes) {
        const double part = std::sqrt(double(Image::kMostBytes) / double(bytes.size())) * 0.99;
        pixels = pixels.scaled(pixels.size() * part, Qt::KeepAspectRatio, Qt::SmoothTransformation);
        bytes = written(pixels);
    }
    return bytes;
}

} // namespace

// What has come and waits for its turn, between the main thread and the queue.
struct ArtCourier::Inbox {
    struct Picture {
        QByteArray bytes;
        quint64 ticket;
    };

    std::optional<Picture> take() { return exchange(std::nullopt); }
    std::optional<Picture> exchange(std::optional<Picture> picture) {
        const std::lock_guard lock(mutex);
        return std::exchange(waiting, std::move(picture));
    }

    std::mutex mutex;
    std::optional<Picture> waiting;
};

ArtCourier::ArtCourier(Session& session) : session_(session), inbox_(std::make_shared<Inbox>()) {}

void ArtCourier::encode(const Image& art, Encoded done) {
    if (encoding_ && encoding_->art == art) {
        if (encoding_->tiff)
            done(*encoding_->tiff);
        else
            encoding_->waiting.push_back(std::move(done));
        return;
    }
    encoding_ = std::make_shared<Encoding>(Encoding{art, std::nullopt, {std::move(done)}});
    codingQueue(session_).async(
        [encoding = encoding_, weak = std::weak_ptr(inbox_), &loop = session_.runLoop()] {
            loop.async([encoding, weak, tiff = tiffOf(encoding->art)] {
                if (weak.expired())
                    return;
                encoding->tiff = tiff;
                for (const auto& waits : std::exchange(encoding->waiting, {}))
                    waits(tiff);
            });
        });
}

void ArtCourier::decode(QByteArray bytes, Decoded done) {
    decoded_ = std::move(done);
    if (inbox_->exchange(Inbox::Picture{std::move(bytes), ++ticket_}))
        return; // the one that waited has queued the work
    codingQueue(session_).async([this, weak = std::weak_ptr(inbox_), &loop = session_.runLoop()] {
        const auto inbox = weak.lock();
        const auto picture = inbox ? inbox->take() : std::nullopt;
        if (!picture)
            return;
        loop.async([this, weak, art = Image::decode(picture->bytes), ticket = picture->ticket] {
            if (!weak.expired() && ticket == ticket_)
                std::exchange(decoded_, nullptr)(art);
        });
    });
}

void ArtCourier::forgetDecoding() {
    ++ticket_;
    decoded_ = nullptr;
    inbox_->take();
}

} // namespace merlode
