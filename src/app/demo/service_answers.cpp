#include "app/demo/service_answers.h"

#include "app/demo/demo_cover.h"
#include "app/demo/service_catalogue.h"

#include <QBuffer>
#include <QJsonDocument>
#include <QRegularExpression>

namespace merlode {

namespace {

constexpr int kSmallestCover = 16;
constexpr int kMostCovers = 1000;
constexpr int kJpegQuality = 88;
constexpr int kMostSuggestions = 10;

} // namespace

WebAnswer jsonAnswer(const QJsonObject& object, int status) {
    return {.status = status, .body = QJsonDocument(object).toJson(QJsonDocument::Compact)};
}

QString coverAddress(const QString& base, int album, int size) {
    return QStringLiteral("%1/covers/cover%2.%3x%3-75.jpg").arg(base).arg(album).arg(size);
}

std::optional<WebAnswer> answerWithCover(const WebRequest& request) {
    if (!request.path.startsWith(u"/covers/"))
        return std::nullopt;
    static const QRegularExpression kName(
        QStringLiteral("^/covers/cover(\\d{1,4})\\.(\\d{1,4})x\\d{1,4}-\\d+\\.jpg$"));
    const auto match = kName.match(request.path);
    const int album = match.captured(1).toInt();
    const int size = match.captured(2).toInt();
    if (!match.hasMatch() || album >= kMostCovers || size < kSmallestCover)
        return WebAnswer{.status = 404, .type = "text/plain", .body = "no such picture"};
    QImage cover = paintDemoCover(album);
    if (size < cover.width())
        cover = cover.scaledToWidth(size, Qt::SmoothTransformation);
    QBuffer bytes;
    cover.save(&bytes, "JPEG", kJpegQuality);
    return WebAnswer{.type = "image/jpeg", .body = bytes.data()};
}

// Artists and songs, a line each: an identifier, a tab and the name.
std::optional<WebAnswer> answerAsPandora(const WebRequest& request) {
    if (request.path != u"/autocomplete")
        return std::nullopt;
    const QString query = request.fields[QStringLiteral("q")];
    QStringList lines;
    const auto artists = artistsOf(CatalogueOf::LastFM);
    for (qsizetype index = 0; index < artists.size(); ++index) {
        if (hasAllWords(artists[index], query))
            lines << QStringLiteral("R%1\t%2").arg(1000 + index).arg(artists[index]);
    }
    for (const auto& album : serviceCatalogue(CatalogueOf::LastFM)) {
        for (const auto& track : album.tracks) {
            if (hasAllWords(track.title, query))
                lines << QStringLiteral("S%1\t%2 by %3").arg(track.number).arg(track.title, track.artist);
        }
    }
    return WebAnswer{.type = "text/plain; charset=utf-8",
                     .body = lines.mid(0, kMostSuggestions).join(u'\n').toUtf8()};
}

} // namespace merlode
