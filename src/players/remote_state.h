#pragma once

#include "model/item_source_type.h"

#include <QVariantMap>

#include <array>
#include <optional>

namespace merlode {

/// Messages of a server, read strictly: they come over the network from somebody unknown, so each reader
/// gives nothing unless all that it needs is there and of the right type.
namespace remotestate {

struct Position {
    int duration = 0; ///< seconds
    int position = 0; ///< seconds
};

/// Which services the server can use: iTunes, Spotify, Rdio, Pandora.
using Availability = std::array<bool, 4>;

/// The server's track and what surrounds it.
struct TrackState {
    QString trackName; ///< empty with the other names while nothing plays
    QString albumName;
    QString artistName;
    std::optional<QString> iTunesPlayKey;
    std::optional<QString> rdioPlayKey;
    std::optional<QString> spotifyPlayKey;
    std::optional<MusicItemSourceType> source; ///< nothing while nothing plays
    Availability available{};
    std::optional<QString> pandoraStationName;
    std::optional<QString> clientName;
    std::optional<Position> position;
    std::optional<int> rating;
};

/// The whole number under the key. Peers write numbers in many types; a boolean is none of them.
std::optional<int> integer(const QVariantMap& message, const QString& key);
std::optional<bool> flag(const QVariantMap& message, const QString& key);
std::optional<QString> text(const QVariantMap& message, const QString& key);
/// The key of a service, in the form of that service's keys. A key ends up with a player program, to which
/// anything that looks like an address or a path would be one: so it is "spotify:" and a few plain
/// characters, or for Rdio a letter or two and a number. The library is asked by names, so that its key may
/// be any text.
std::optional<QString> iTunesPlayKey(const QVariantMap& item);
std::optional<QString> spotifyPlayKey(const QVariantMap& item);
std::optional<QString> rdioPlayKey(const QVariantMap& item);
std::optional<QVariantMap> dictionary(const QVariantMap& message, const QString& key);
std::optional<QVariantList> list(const QVariantMap& message, const QString& key);

/// Negative values count as missing.
std::optional<Position> position(const QVariantMap& message);
std::optional<Availability> availability(const QVariantMap& message);
std::optional<TrackState> trackState(const QVariantMap& message);

} // namespace remotestate

} // namespace merlode
