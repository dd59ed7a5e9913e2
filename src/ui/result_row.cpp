#include "ui/result_row.h"

#include "model/album.h"
#include "model/track.h"

#include <QStringList>

namespace merlode {

namespace {

constexpr MusicItemSourceType kServices[] = {MusicItemSourceType::iTunes, MusicItemSourceType::Spotify,
                                             MusicItemSourceType::Rdio, MusicItemSourceType::Pandora};

// Names come from tags and from the web: a line break or a page of text must not tear a row apart.
constexpr qsizetype kMostLetters = 300;

QString onOneLine(const QString& text) {
    return text.left(kMostLetters).simplified();
}

QString joined(const QString& one, const QString& other) {
    return one.isEmpty() || other.isEmpty() ? one + other : one + QStringLiteral(" – ") + other;
}

ResultRow texts(const std::shared_ptr<Track>& track) {
    return {track, onOneLine(track->name()),
            joined(onOneLine(track->artistName()), onOneLine(track->albumName()))};
}

ResultRow texts(const std::shared_ptr<Album>& album) {
    return {album, onOneLine(album->name()), onOneLine(album->artistName())};
}

ResultRow texts(const PandoraItem& station) {
    return {station, onOneLine(station.name), {}};
}

} // namespace

QString serviceName(MusicItemSourceType service) {
    switch (service) {
    case MusicItemSourceType::iTunes:
        return QStringLiteral("Library");
    case MusicItemSourceType::Spotify:
        return QStringLiteral("Spotify");
    case MusicItemSourceType::Rdio:
        return QStringLiteral("Rdio");
    case MusicItemSourceType::Pandora:
        return QStringLiteral("Pandora");
    case MusicItemSourceType::AppleMusic:
        break;
    }
    return QStringLiteral("Apple Music");
}

QString ResultRow::spokenText() const {
    QStringList parts{title, detail};
    for (const auto service : services())
        parts << serviceName(service);
    parts.removeAll(QString());
    return parts.join(QStringLiteral(", "));
}

std::vector<MusicItemSourceType> ResultRow::services() const {
    std::vector<MusicItemSourceType> known;
    const auto sources = sourcesOf(item);
    for (const auto service : kServices) {
        if (sources.contains(sourceOf(service)))
            known.push_back(service);
    }
    return known;
}

ResultRow resultRowOf(const PlayableItem& item) {
    return std::visit([](const auto& found) { return texts(found); }, item);
}

} // namespace merlode
