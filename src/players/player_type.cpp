#include "players/player_type.h"

namespace merlode {

namespace {

struct TypeEntry {
    MusicPlayerType type;
    QLatin1StringView rawValue;
    std::string_view bundleID;
};

constexpr std::array kTypes{
    TypeEntry{MusicPlayerType::iTunes, QLatin1StringView("iTunes"), MusicPlayerBundleID::iTunes},
    TypeEntry{MusicPlayerType::Spotify, QLatin1StringView("Spotify"), MusicPlayerBundleID::Spotify},
    TypeEntry{MusicPlayerType::Rdio, QLatin1StringView("Rdio"), MusicPlayerBundleID::Rdio},
    TypeEntry{MusicPlayerType::Remote, QLatin1StringView("Remote"), {}},
    TypeEntry{MusicPlayerType::Pandora, QLatin1StringView("Pandora"), {}},
};

const TypeEntry& entry(MusicPlayerType type) {
    return kTypes.at(static_cast<std::size_t>(type));
}

} // namespace

QString rawValue(MusicPlayerType type) {
    return entry(type).rawValue;
}

std::optional<MusicPlayerType> musicPlayerType(QStringView rawValue) {
    for (const auto& candidate : kTypes) {
        if (candidate.rawValue == rawValue)
            return candidate.type;
    }
    return std::nullopt;
}

std::optional<QString> bundleID(MusicPlayerType type) {
    const auto id = entry(type).bundleID;
    if (id.empty())
        return std::nullopt;
    return QString::fromLatin1(id.data(), static_cast<qsizetype>(id.size()));
}

} // namespace merlode
