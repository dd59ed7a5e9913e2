#pragma once

#include "model/album.h"
#include "model/pandora_item.h"
#include "model/track.h"

#include <QVariantMap>

#include <memory>
#include <vector>

/// Items as other machines send them, read strictly: an item that lacks something that its reader needs, or
/// has it in another type or form, is no item, and a null pointer or an entry less comes out. Nothing is
/// fetched for an item that was read, unless somebody asks it to. Any thread.
namespace merlode::remoteitems {

/// Most items of one list that are taken over; what goes beyond is left out. No machine sends so many.
inline constexpr std::size_t kMostItems = 2000;

/// A track with the key of one service (iTunes, Spotify or Rdio), or an album with it.
std::shared_ptr<Track> trackOn(MusicItemSourceType source, const QVariantMap& dictionary);
std::shared_ptr<Album> albumOn(MusicItemSourceType source, const QVariantMap& dictionary);

/// A track with all keys that it came with, which may be none, or an album with them. The album's picture is
/// kept as an address of the web, or not at all.
std::shared_ptr<Track> trackWithItsKeys(const QVariantMap& dictionary);
std::shared_ptr<Album> albumWithItsKeys(const QVariantMap& dictionary);

/// A track or an album that is asked about: names alone count.
std::shared_ptr<Track> askedTrack(const QVariantMap& dictionary);
std::shared_ptr<Album> askedAlbum(const QVariantMap& dictionary);

/// What a host's library has: songs, and albums with their songs, each with its key there.
std::vector<std::shared_ptr<Track>> libraryTracks(const QVariantList& dictionaries);
std::vector<std::shared_ptr<Album>> libraryAlbums(const QVariantList& dictionaries);

/// An album of a host's library as the answer about one: its tracks need to tell only what may be new.
std::shared_ptr<Album> answeredAlbum(const QVariantMap& dictionary);

std::optional<PandoraItem> pandoraItem(const QVariantMap& dictionary);
std::vector<PandoraItem> pandoraItems(const QVariantList& dictionaries);

} // namespace merlode::remoteitems
