#include "remote/remote_items.h"

#include "players/remote_state.h"

#include <QUrl>

#include <array>

namespace merlode::remoteitems {

namespace {

using remotestate::flag;
using remotestate::integer;
using remotestate::text;

const QString kId = QStringLiteral("id");
const QString kTrackName = QStringLiteral("trackName");
const QString kAlbumName = QStringLiteral("albumName");
const QString kArtistName = QStringLiteral("artistName");
const QString kDiscNumber = QStringLiteral("discNumber");

struct Service {
    MusicItemSourceType service;
    std::optional<QString> (*key)(const QVariantMap&);
    void (MusicItem::*set)(std::optional<QString>);
};

constexpr std::array kServices{
    Service{MusicItemSourceType::iTunes, remotestate::iTunesPlayKey, &MusicItem::setiTunesPlayKey},
    Service{MusicItemSourceType::Spotify, remotestate::spotifyPlayKey, &MusicItem::setSpotifyPlayKey},
    Service{MusicItemSourceType::Rdio, remotestate::rdioPlayKey, &MusicItem::setRdioPlayKey}};

// Gives the item its key of the service, if there is one; whether there was.
bool takeKey(MusicItem* item, const Service& service, const QVariantMap& dictionary) {
    const auto key = item ? service.key(dictionary) : std::nullopt;
    if (!key)
        return false;
    (item->*service.set)(key);
    item->insertSource(sourceOf(service.service));
    return true;
}

template<class Item>
std::shared_ptr<Item> on(MusicItemSourceType source, std::shared_ptr<Item> item,
                         const QVariantMap& dictionary) {
    const auto* service = std::ranges::find(kServices, source, &Service::service);
    return service != kServices.end() && takeKey(item.get(), *service, dictionary) ? item : nullptr;
}

template<class Item>
std::shared_ptr<Item> withItsKeys(std::shared_ptr<Item> item, const QVariantMap& dictionary) {
    for (const auto& service : kServices)
        takeKey(item.get(), service, dictionary);
    return item;
}

std::optional<QString> pictureAddress(const QVariantMap& dictionary) {
    auto address = text(dictionary, QStringLiteral("imageURL"));
    if (!address)
        return std::nullopt;
    const QUrl url(*address, QUrl::StrictMode);
    const bool web = url.scheme() == u"https" || url.scheme() == u"http";
    return url.isValid() && web && !url.host().isEmpty() ? address : std::nullopt;
}

// Discs count from 1.
template<class Item>
std::shared_ptr<Item> onDisc(std::shared_ptr<Item> item, const QVariantMap& dictionary) {
    const auto disc = integer(dictionary, kDiscNumber);
    if (!item || !disc)
        return nullptr;
    item->setDiscNumber(static_cast<quint64>(std::max(*disc, 1)));
    return item;
}

// Names and numbers, all of which must be there. For a song of an album the album's own names stand in.
std::shared_ptr<Track> namedTrack(const QVariantMap& dictionary, const Album* album = nullptr) {
    const auto id = text(dictionary, kId);
    const auto name = text(dictionary, kTrackName);
    auto albumName = text(dictionary, kAlbumName);
    auto artistName = text(dictionary, kArtistName);
    const auto duration = integer(dictionary, QStringLiteral("duration"));
    const auto isExplicit = flag(dictionary, QStringLiteral("explicit"));
    const auto number = integer(dictionary, QStringLiteral("number"));
    if (album && !albumName)
        albumName = album->name();
    if (album && !artistName)
        artistName = album->artistName();
    if (!id || !name || !albumName || !artistName || !duration || !isExplicit || !number)
        return nullptr;
    return Track::UnknownTrack({.id = *id,
                                .name = *name,
                                .albumName = *albumName,
                                .artistName = *artistName,
                                .duration = *duration,
                                .isExplicit = *isExplicit,
                                .trackNumber = *number});
}

std::shared_ptr<Album> namedAlbum(const QVariantMap& dictionary, const std::optional<QString>& picture = {}) {
    const auto id = text(dictionary, kId);
    const auto name = text(dictionary, kAlbumName);
    const auto artistName = text(dictionary, kArtistName);
    if (!id || !name || !artistName)
        return nullptr;
    return Album::UnknownAlbum(
        {.id = *id, .name = *name, .artistName = *artistName, .artworkURL = picture, .loadArtwork = false});
}

// What `read` makes of the dictionaries of a list, as far as it makes anything.
template<class Item, class Read>
std::vector<Item> each(const QVariantList& list, Read read) {
    std::vector<Item> items;
    for (const auto& element : list) {
        if (items.size() == kMostItems)
            break;
        if (element.typeId() != QMetaType::QVariantMap)
            continue;
        if (auto item = read(element.toMap()))
            items.push_back(*item);
    }
    return items;
}

template<class Item, class Read>
std::vector<std::shared_ptr<Item>> eachItem(const QVariantList& list, Read read) {
    return each<std::shared_ptr<Item>>(list, [&](const QVariantMap& dictionary) {
        auto item = read(dictionary);
        return item ? std::optional(item) : std::nullopt;
    });
}

// The album with the songs of its dictionary, each of which reads itself by `read`.
template<class Read>
std::shared_ptr<Album> withTracks(std::shared_ptr<Album> album, const QVariantMap& dictionary, Read read) {
    const auto list = remotestate::list(dictionary, QStringLiteral("tracks"));
    if (!album || !list)
        return nullptr;
    auto tracks = eachItem<Track>(*list, read);
    for (const auto& track : tracks)
        track->setAlbum(album);
    album->setTracks(std::move(tracks));
    return album;
}

std::shared_ptr<Track> libraryTrack(const QVariantMap& dictionary) {
    return onDisc(trackOn(MusicItemSourceType::iTunes, dictionary), dictionary);
}

std::shared_ptr<Album> libraryAlbum(const QVariantMap& dictionary) {
    auto album = onDisc(namedAlbum(dictionary, pictureAddress(dictionary)), dictionary);
    if (album)
        album->insertSource(ItemSourceType::iTunes);
    return withTracks(std::move(album), dictionary, libraryTrack);
}

} // namespace

std::shared_ptr<Track> trackOn(MusicItemSourceType source, const QVariantMap& dictionary) {
    return on(source, namedTrack(dictionary), dictionary);
}

std::shared_ptr<Album> albumOn(MusicItemSourceType source, const QVariantMap& dictionary) {
    return on(source, namedAlbum(dictionary), dictionary);
}

std::shared_ptr<Track> trackWithItsKeys(const QVariantMap& dictionary) {
    return withItsKeys(namedTrack(dictionary), dictionary);
}

std::shared_ptr<Album> albumWithItsKeys(const QVariantMap& dictionary) {
    return withItsKeys(namedAlbum(dictionary, pictureAddress(dictionary)), dictionary);
}

std::shared_ptr<Track> askedTrack(const QVariantMap& dictionary) {
    return namedTrack(dictionary);
}

std::shared_ptr<Album> askedAlbum(const QVariantMap& dictionary) {
    return namedAlbum(dictionary);
}

std::vector<std::shared_ptr<Track>> libraryTracks(const QVariantList& dictionaries) {
    return eachItem<Track>(dictionaries, libraryTrack);
}

std::vector<std::shared_ptr<Album>> libraryAlbums(const QVariantList& dictionaries) {
    return eachItem<Album>(dictionaries, libraryAlbum);
}

std::shared_ptr<Album> answeredAlbum(const QVariantMap& dictionary) {
    auto album = albumOn(MusicItemSourceType::iTunes, dictionary);
    return withTracks(album, dictionary, [&album](const QVariantMap& song) {
        return on(MusicItemSourceType::iTunes, namedTrack(song, album.get()), song);
    });
}

std::optional<PandoraItem> pandoraItem(const QVariantMap& dictionary) {
    const auto id = text(dictionary, kId);
    const auto name = text(dictionary, QStringLiteral("name"));
    return id && name ? std::optional(PandoraItem{*id, *name}) : std::nullopt;
}

std::vector<PandoraItem> pandoraItems(const QVariantList& dictionaries) {
    return each<PandoraItem>(dictionaries, pandoraItem);
}

} // namespace merlode::remoteitems
