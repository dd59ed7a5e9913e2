#include "model/music_item.h"

#include "base/session.h"
#include "model/artwork.h"
#include "model/image_tools.h"
#include "model/queues.h"
#include "platform/http_client.h"

#include <QLoggingCategory>
#include <QUrl>

namespace merlode {

namespace {

Q_LOGGING_CATEGORY(modelLog, "merlode.model", QtWarningMsg)

bool isRealArt(const Image& image) {
    return image && image != sSharedAlbumArtworkImage();
}

struct Picture {
    Image full;
    Image atViewSize;
};

// Reads, decodes and reduces a picture, all on a background queue: reducing a large one takes longer than the
// main thread may stand still. Addresses come from web services and other machines, so a malformed one is as
// little a fault of this program as an unreachable one, and counts as a failed read like it.
std::optional<Picture> loadPicture(const QString& url) {
    const auto bytes =
        Session::current().port<HttpClient>().send({.url = url,
                                                    .timeoutSeconds = MusicItem::kImageTimeout,
                                                    .mostBytes = HttpRequest::kMostPictureBytes});
    const auto full = bytes ? Image::decode(*bytes) : std::nullopt;
    if (!full) {
        qCInfo(modelLog) << "no picture could be read from"
                         << QUrl(url).toString(QUrl::RemoveUserInfo | QUrl::RemoveQuery |
                                               QUrl::RemoveFragment);
        return std::nullopt;
    }
    return Picture{*full, resize(*full, kArtworkImageViewSize)};
}

} // namespace

MusicItem::MusicItem(ItemSourceType sourceType, const QString& id, const QString& name)
    : id_(id), name_(name), sourceType_(sourceType) {}

std::shared_ptr<MusicItem> MusicItem::make(ItemSourceType sourceType, const QString& id,
                                           const QString& name) {
    return std::shared_ptr<MusicItem>(new MusicItem(sourceType, id, name));
}

void MusicItem::setSourceType(ItemSourceType sourceType) {
    write(sourceType_, sourceType);
    sourceTypeWasWritten();
}

ItemSourceType MusicItem::insertSource(ItemSourceType sources) {
    ItemSourceType united;
    {
        const std::lock_guard lock(mutex_);
        sourceType_.insert(sources);
        united = sourceType_;
    }
    sourceTypeWasWritten();
    return united;
}

void MusicItem::sourceTypeWasWritten() {
    notifyDelegate();
    sourceTypeDidChange();
}

void MusicItem::notifyDelegate() {
    if (const auto listener = delegate())
        listener->musicItemUpdated(shared_from_this());
}

void MusicItem::setShouldFetchImage(bool should) {
    write(shouldFetchImage_, should);
    if (should)
        fetchImage();
}

void MusicItem::setImageURL(std::optional<QString> url) {
    write(imageURL_, std::move(url));
    if (shouldFetchImage() && !isRealArt(image()))
        fetchImage();
}

void MusicItem::setImage(const Image& image) {
    write(image_, isRealArt(image) ? resize(image, kArtworkImageViewSize) : image);
    notifyDelegate();
}

DispatchQueue& MusicItem::imageFetchQueue() const {
    const QString label = read(imageFetchQueue_);
    return label.isEmpty() ? kImageDownloadQueue() : Session::current().queue(label);
}

void MusicItem::setImageFetchQueue(const DispatchQueue& queue) {
    write(imageFetchQueue_, queue.label());
}

std::optional<QString> MusicItem::beginFetching() {
    const std::lock_guard lock(mutex_);
    if (fetchingImage_ || !imageURL_)
        return std::nullopt;
    fetchingImage_ = true;
    return imageURL_;
}

void MusicItem::fetchImage() {
    const auto url = beginFetching();
    if (!url)
        return;
    imageFetchQueue().async([weak = weak_from_this(), url = *url] {
        if (weak.expired())
            return;
        const auto picture = loadPicture(url);
        if (!picture) {
            if (const auto item = weak.lock())
                item->setFetchingImage(false);
            return;
        }
        Session::current().runLoop().async([weak, image = picture->atViewSize] {
            if (const auto item = weak.lock())
                item->setFetchedImage(image);
        });
    });
}

void MusicItem::setFetchedImage(const Image& image) {
    if (!read(largeImage_))
        setImage(image);
}

void MusicItem::fetchImageInBackground(const QString& url) {
    kHighResImageDownloadQueue().async([weak = weak_from_this(), url] {
        if (weak.expired())
            return;
        if (const auto picture = loadPicture(url)) {
            Session::current().runLoop().async([weak, picture = *picture] {
                if (const auto item = weak.lock())
                    item->setLargeImage(picture.full, picture.atViewSize);
            });
        }
    });
}

void MusicItem::setLargeImage(const Image& large, const Image& atViewSize) {
    setImage(atViewSize);
    write(largeImage_, large);
}

void MusicItem::getPlayKeys(DispatchQueue* queue) {
    DispatchQueue& where = queue ? *queue : kPlayKeyQueue();
    where.async([weak = weak_from_this()] {
        auto item = weak.lock();
        if (!item)
            return;
        const ItemSourceType known = item->sourceType();
        // Each step may block for long, so the item is held only during a step.
        const auto step = [&](ItemSourceType service, void (MusicItem::*getKey)()) {
            if (known.contains(service))
                return;
            if (const auto living = weak.lock())
                (living.get()->*getKey)();
        };
        item.reset();
        step(ItemSourceType::iTunes, &MusicItem::getiTunesPlayKey);
        step(ItemSourceType::Spotify, &MusicItem::getSpotifyPlayKey);
        step(ItemSourceType::Rdio, &MusicItem::getRdioPlayKey);
    });
}

void MusicItem::getRemotePlayKeys(ItemSourceType sources) {
    if (sources.contains(ItemSourceType::Rdio))
        getRdioPlayKey();
    if (sources.contains(ItemSourceType::Spotify))
        getSpotifyPlayKey();
}

} // namespace merlode
