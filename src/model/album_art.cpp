// Where an album's art is looked for: one service after the other, each answer applied on the main thread.

#include "base/session.h"
#include "model/album.h"
#include "model/catalogue_requests.h"
#include "model/queues.h"

#include <array>

namespace merlode {

namespace {

// Last.fm's sizes, in the order in which they suit the views. "small" is worse than one that must be reduced.
constexpr std::array<QStringView, 5> kLastFMSizes{u"medium", u"large", u"extralarge", u"mega", u"small"};

std::optional<QString> notEmpty(const QString& text) {
    return text.isEmpty() ? std::nullopt : std::optional(text);
}

} // namespace

void Album::fetchiTunesAlbumArt() {
    findArt(&Album::artOfTheStore, &Album::fetchSpotifyAlbumArt);
}

void Album::fetchSpotifyAlbumArt() {
    findArt(&Album::artOfSpotify, &Album::getLastFMAlbumArt);
}

void Album::getLastFMAlbumArt() {
    findArt(&Album::artOfLastFM, nullptr);
}

void Album::findArt(ArtFinder find, void (Album::*otherwise)()) {
    if (!beginFetchingImage())
        return;
    kImageDownloadQueue().async([weak = weak_from_this(), find, otherwise] {
        std::optional<QString> url;
        if (const auto item = weak.lock())
            url = (static_cast<const Album&>(*item).*find)();
        Session::current().runLoop().async([weak, url, otherwise] {
            if (const auto item = weak.lock())
                static_cast<Album&>(*item).artSearchEnded(url, otherwise);
        });
    });
}

void Album::artSearchEnded(const std::optional<QString>& url, void (Album::*otherwise)()) {
    setFetchingImage(false);
    if (url) {
        setImageURL(url);
        fetchImage();
    } else if (otherwise) {
        (this->*otherwise)();
    }
}

std::optional<QString> Album::artOfTheStore() const {
    const auto reply = catalogue::fetchJSON(catalogue::iTunesAlbumsOfArtist(artistName_));
    if (!reply)
        return std::nullopt;
    QString url = catalogue::iTunesAlbumIn(*reply, name(), artistName_)[u"artworkUrl60"].stringValue();
    return notEmpty(url.replace(QStringLiteral("60x60"), QStringLiteral("500x500")));
}

std::optional<QString> Album::artOfSpotify() const {
    const auto key = spotifyPlayKey();
    if (!key)
        return std::nullopt;
    const auto reply = catalogue::fetchJSON(catalogue::spotifyAlbum(catalogue::spotifyID(*key)));
    return reply ? notEmpty((*reply)[u"images"][0][u"url"].stringValue()) : std::nullopt;
}

std::optional<QString> Album::artOfLastFM() const {
    const auto reply = catalogue::fetchJSON(catalogue::lastFMAlbumInfo(artistName_, name()));
    if (!reply)
        return std::nullopt;
    std::array<QString, kLastFMSizes.size()> urls;
    for (const auto& [place, image] : (*reply)[u"album"][u"image"]) {
        const auto size = std::ranges::find(kLastFMSizes, image[u"size"].stringValue());
        if (size != kLastFMSizes.end())
            urls[static_cast<std::size_t>(size - kLastFMSizes.begin())] = image[u"#text"].stringValue();
    }
    const auto first = std::ranges::find_if(urls, [](const QString& url) { return !url.isEmpty(); });
    return first == urls.end() ? std::nullopt : std::optional(*first);
}

} // namespace merlode
