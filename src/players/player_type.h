#pragma once

#include <QString>

#include <array>
#include <optional>
#include <string_view>

namespace merlode {

/// Which kind of player an adapter drives. The order is part of the interface.
enum class MusicPlayerType { iTunes, Spotify, Rdio, Remote, Pandora };

/// The text under which a type travels in messages. For the first three it is also the application's name.
QString rawValue(MusicPlayerType type);

/// Nothing for an unknown text; the comparison is exact.
std::optional<MusicPlayerType> musicPlayerType(QStringView rawValue);

/// The identifiers of the three players that are applications.
namespace MusicPlayerBundleID {
inline constexpr std::string_view iTunes = "com.apple.iTunes";
inline constexpr std::string_view Spotify = "com.spotify.client";
inline constexpr std::string_view Rdio = "com.rdio.desktop";
} // namespace MusicPlayerBundleID

/// The identifier of an application's type; nothing for `Pandora` and `Remote`, which are no applications.
std::optional<QString> bundleID(MusicPlayerType type);

/// How the interface shows the position; the second is spelled so in stored settings.
enum class TrackPositionDisplayType { Remaining, Ellapsed };

} // namespace merlode
