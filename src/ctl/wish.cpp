#include "ctl/wish.h"

#include <QJsonArray>

namespace merlode::ctl {

namespace {

QString value(const QJsonObject& row, const char* key) {
    return row.value(QLatin1String(key)).toString();
}

bool matches(const QString& wanted, const QString& name) {
    return wanted.isEmpty() || wanted.compare(name, Qt::CaseInsensitive) == 0;
}

bool isMeant(const Wish& wish, const QJsonObject& row, const QString& service) {
    const bool isTrack = !wish.track.isEmpty();
    return value(row, "kind") == (isTrack ? u"track" : u"album") &&
           value(row, "title").contains(wish.term(), Qt::CaseInsensitive) &&
           matches(wish.artist, value(row, "artist")) &&
           (!isTrack || matches(wish.album, value(row, "album"))) &&
           (service.isEmpty() || row.value(QStringLiteral("services")).toArray().contains(service));
}

} // namespace

QString Wish::text() const {
    QString result =
        track.isEmpty() ? QStringLiteral("album '%1'").arg(album) : QStringLiteral("track '%1'").arg(track);
    if (!artist.isEmpty())
        result += QStringLiteral(" by '%1'").arg(artist);
    if (!track.isEmpty() && !album.isEmpty())
        result += QStringLiteral(" on '%1'").arg(album);
    return result;
}

std::optional<uint> rowOf(const Wish& wish, const QJsonObject& found, const QString& service) {
    std::optional<uint> first;
    const auto rows = found.value(QStringLiteral("rows")).toArray();
    for (const auto& entry : rows) {
        const auto row = entry.toObject();
        if (!isMeant(wish, row, service))
            continue;
        const auto number = static_cast<uint>(row.value(QStringLiteral("row")).toInt());
        if (matches(wish.term(), value(row, "title")))
            return number;
        if (!first)
            first = number;
    }
    return first;
}

} // namespace merlode::ctl
