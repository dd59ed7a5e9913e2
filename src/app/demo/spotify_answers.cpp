#include "app/demo/service_answers.h"
#include "app/demo/service_catalogue.h"

#include <QCryptographicHash>
#include <QJsonArray>
#include <QRegularExpression>

#include <algorithm>

namespace merlode {

namespace {

constexpr int kDefaultLimit = 20;
constexpr int kMostPerPage = 50;
constexpr int kRelatives = 6;

const std::vector<ServiceAlbum>& albums() {
    return serviceCatalogue(CatalogueOf::Spotify);
}

// Twenty-two letters and digits, as the service's own.
QString idOf(const QString& kind, const QString& what) {
    constexpr std::string_view kDigits = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
    constexpr qsizetype kLength = 22;
    const auto hash = QCryptographicHash::hash((kind + what).toUtf8(), QCryptographicHash::Sha256);
    QString id;
    for (const char byte : hash.left(kLength))
        id += QLatin1Char(kDigits[static_cast<unsigned char>(byte) % kDigits.size()]);
    return id;
}

/// What all objects have.
QJsonObject object(const QString& base, const QString& kind, const QString& id, const QString& name) {
    return {{QStringLiteral("external_urls"),
             QJsonObject{{QStringLiteral("spotify"), QStringLiteral("%1/open/%2/%3").arg(base, kind, id)}}},
            {QStringLiteral("href"), QStringLiteral("%1/v1/%2s/%3").arg(base, kind, id)},
            {QStringLiteral("id"), id},
            {QStringLiteral("name"), name},
            {QStringLiteral("type"), kind},
            {QStringLiteral("uri"), QStringLiteral("spotify:%1:%2").arg(kind, id)}};
}

QString artistId(const QString& name) {
    return idOf(QStringLiteral("artist"), name);
}

QString albumId(const ServiceAlbum& album) {
    return idOf(QStringLiteral("album"), QString::number(album.number));
}

QString trackId(const ServiceTrack& track) {
    return idOf(QStringLiteral("track"), QString::number(track.number));
}

QJsonArray markets() {
    return {QStringLiteral("CA"), QStringLiteral("DE"), QStringLiteral("GB"), QStringLiteral("MX"),
            QStringLiteral("US")};
}

QJsonArray images(const QString& base, int album) {
    QJsonArray list;
    for (const int size : {640, 300, 64})
        list.append(QJsonObject{{QStringLiteral("height"), size},
                                {QStringLiteral("url"), coverAddress(base, album, size)},
                                {QStringLiteral("width"), size}});
    return list;
}

QJsonArray artistList(const QString& base, const QString& name) {
    return {object(base, QStringLiteral("artist"), artistId(name), name)};
}

// As it stands in lists, where the service leaves the artists out.
QJsonObject shortAlbum(const QString& base, const ServiceAlbum& album) {
    auto json = object(base, QStringLiteral("album"), albumId(album), album.title);
    json[QStringLiteral("album_type")] =
        album.tracks.size() == 1 ? QStringLiteral("single") : QStringLiteral("album");
    json[QStringLiteral("available_markets")] = markets();
    json[QStringLiteral("images")] = images(base, album.number);
    return json;
}

QJsonObject shortTrack(const QString& base, const ServiceTrack& track) {
    auto json = object(base, QStringLiteral("track"), trackId(track), track.title);
    json[QStringLiteral("artists")] = artistList(base, track.artist);
    json[QStringLiteral("available_markets")] = markets();
    json[QStringLiteral("disc_number")] = track.disc;
    json[QStringLiteral("duration_ms")] = track.milliseconds;
    json[QStringLiteral("explicit")] = track.isExplicit;
    json[QStringLiteral("preview_url")] = QJsonValue::Null;
    json[QStringLiteral("track_number")] = track.position;
    return json;
}

QJsonObject fullTrack(const QString& base, const ServiceAlbum& album, const ServiceTrack& track) {
    auto json = shortTrack(base, track);
    json[QStringLiteral("album")] = shortAlbum(base, album);
    json[QStringLiteral("external_ids")] = QJsonObject{
        {QStringLiteral("isrc"), QStringLiteral("ZZDEM%1").arg(track.number, 7, 10, QLatin1Char('0'))}};
    json[QStringLiteral("popularity")] = 30 + track.number % 50;
    return json;
}

QJsonObject fullArtist(const QString& base, const QString& name) {
    auto json = object(base, QStringLiteral("artist"), artistId(name), name);
    const auto album = std::ranges::find(albums(), name, &ServiceAlbum::artist);
    const bool has = album != albums().end();
    json[QStringLiteral("followers")] =
        QJsonObject{{QStringLiteral("href"), QJsonValue::Null}, {QStringLiteral("total"), 100 * name.size()}};
    json[QStringLiteral("genres")] = has ? QJsonArray{album->genre.toLower()} : QJsonArray();
    json[QStringLiteral("images")] = has ? images(base, album->number) : QJsonArray();
    json[QStringLiteral("popularity")] = 40;
    return json;
}

WebAnswer error(int status, const QString& message) {
    return jsonAnswer({{QStringLiteral("error"), QJsonObject{{QStringLiteral("status"), status},
                                                             {QStringLiteral("message"), message}}}},
                      status);
}

/// The part of a list that was asked for, with what belongs around it.
QJsonObject page(const QString& href, const QJsonArray& all, int limit, int offset) {
    QJsonArray items;
    for (qsizetype index = offset; index < std::min<qsizetype>(all.size(), offset + limit); ++index)
        items.append(all[index]);
    const auto link = [&](int to) {
        return QStringLiteral("%1&offset=%2&limit=%3").arg(href).arg(std::max(to, 0)).arg(limit);
    };
    return {{QStringLiteral("href"), link(offset)},
            {QStringLiteral("items"), items},
            {QStringLiteral("limit"), limit},
            {QStringLiteral("next"),
             offset + limit < all.size() ? QJsonValue(link(offset + limit)) : QJsonValue()},
            {QStringLiteral("offset"), offset},
            {QStringLiteral("previous"), offset > 0 ? QJsonValue(link(offset - limit)) : QJsonValue()},
            {QStringLiteral("total"), all.size()}};
}

QJsonArray foundOf(const QString& type, const QString& query, const QString& base) {
    QJsonArray found;
    if (type == u"artist") {
        for (const auto& name : artistsOf(CatalogueOf::Spotify)) {
            if (hasAllWords(name, query))
                found.append(fullArtist(base, name));
        }
        return found;
    }
    for (const auto& album : albums()) {
        if (type == u"album" && hasAllWords(album.title + u' ' + album.artist, query))
            found.append(shortAlbum(base, album));
        for (const auto& track : album.tracks) {
            const QString text = track.title + u' ' + track.artist + u' ' + album.title;
            if (type == u"track" && hasAllWords(text, query))
                found.append(fullTrack(base, album, track));
        }
    }
    return found;
}

/// A number in the query, or its default; nothing where it is out of range.
std::optional<int> numberIn(const WebRequest& request, const QString& name, int otherwise, int least,
                            int most) {
    if (!request.fields.contains(name))
        return otherwise;
    bool isNumber = false;
    const int number = request.fields[name].toInt(&isNumber);
    return isNumber && number >= least && number <= most ? std::optional(number) : std::nullopt;
}

WebAnswer search(const WebRequest& request, const QString& base) {
    const QString query = request.fields[QStringLiteral("q")];
    const auto limit = numberIn(request, QStringLiteral("limit"), kDefaultLimit, 1, kMostPerPage);
    const auto offset = numberIn(request, QStringLiteral("offset"), 0, 0, 100'000);
    const auto types = request.fields[QStringLiteral("type")].split(u',', Qt::SkipEmptyParts);
    if (query.trimmed().isEmpty())
        return error(400, QStringLiteral("No search query"));
    if (types.isEmpty())
        return error(400, QStringLiteral("Missing parameter type"));
    if (!limit || !offset)
        return error(400, QStringLiteral("Invalid limit"));
    QJsonObject answer;
    for (const auto& type : types) {
        if (type != u"track" && type != u"album" && type != u"artist")
            return error(400, QStringLiteral("Bad search type field"));
        const QString href = QStringLiteral("%1/v1/search?query=%2&type=%3").arg(base, query, type);
        answer[type + u's'] = page(href, foundOf(type, query, base), *limit, *offset);
    }
    return jsonAnswer(answer);
}

WebAnswer albumAnswer(const ServiceAlbum& album, const QString& base) {
    auto json = shortAlbum(base, album);
    QJsonArray tracks;
    for (const auto& track : album.tracks)
        tracks.append(shortTrack(base, track));
    json[QStringLiteral("artists")] = artistList(base, album.artist);
    json[QStringLiteral("copyrights")] = QJsonArray();
    json[QStringLiteral("external_ids")] = QJsonObject{
        {QStringLiteral("upc"), QStringLiteral("%1").arg(album.number, 12, 10, QLatin1Char('0'))}};
    json[QStringLiteral("genres")] = QJsonArray{album.genre.toLower()};
    json[QStringLiteral("popularity")] = 40;
    json[QStringLiteral("release_date")] = album.date;
    json[QStringLiteral("release_date_precision")] =
        album.date.size() == 4 ? QStringLiteral("year") : QStringLiteral("day");
    const QString href = json[QStringLiteral("href")].toString() + QStringLiteral("/tracks?");
    json[QStringLiteral("tracks")] = page(href, tracks, kMostPerPage, 0);
    return jsonAnswer(json);
}

WebAnswer relatedArtists(const QString& name, const QString& base) {
    const auto artists = artistsOf(CatalogueOf::Spotify);
    QJsonArray related;
    const auto self = artists.indexOf(name);
    for (qsizetype step = 1; step <= kRelatives; ++step)
        related.append(fullArtist(base, artists[(self + step) % artists.size()]));
    return jsonAnswer({{QStringLiteral("artists"), related}});
}

WebAnswer artistsAlbums(const QString& name, const QString& base) {
    QJsonArray own;
    for (const auto& album : albums()) {
        if (album.artist == name)
            own.append(shortAlbum(base, album));
    }
    const QString href = QStringLiteral("%1/v1/artists/%2/albums?").arg(base, artistId(name));
    return jsonAnswer(page(href, own, kDefaultLimit, 0));
}

std::optional<WebAnswer> lookUp(const QString& kind, const QString& id, const QString& part,
                                const QString& base) {
    for (const auto& album : albums()) {
        if (kind == u"albums" && part.isEmpty() && albumId(album) == id)
            return albumAnswer(album, base);
        const auto track = std::ranges::find(album.tracks, id, trackId);
        if (kind == u"tracks" && part.isEmpty() && track != album.tracks.end())
            return jsonAnswer(fullTrack(base, album, *track));
    }
    const auto artists = artistsOf(CatalogueOf::Spotify);
    const auto artist = std::ranges::find(artists, id, artistId);
    if (kind != u"artists" || artist == artists.end())
        return std::nullopt;
    if (part == u"/related-artists")
        return relatedArtists(*artist, base);
    if (part == u"/albums")
        return artistsAlbums(*artist, base);
    return part.isEmpty() ? std::optional(jsonAnswer(fullArtist(base, *artist))) : std::nullopt;
}

constexpr char kTokenStart[] = "demo-";

// Every registered id and secret is 32 hexadecimal digits; all such are known here.
WebAnswer tokenAnswer(const WebRequest& request) {
    static const QRegularExpression kPair(QStringLiteral("^[0-9a-f]{32}:[0-9a-f]{32}$"));
    const auto authorization = request.headers["authorization"];
    const auto pair = QByteArray::fromBase64(authorization.mid(qsizetype(strlen("Basic "))));
    if (!authorization.startsWith("Basic ") || !kPair.match(QString::fromLatin1(pair)).hasMatch())
        return jsonAnswer({{QStringLiteral("error"), QStringLiteral("invalid_client")}}, 400);
    if (request.fields[QStringLiteral("grant_type")] != u"client_credentials")
        return jsonAnswer({{QStringLiteral("error"), QStringLiteral("unsupported_grant_type")}}, 400);
    const auto token = kTokenStart + QCryptographicHash::hash(pair, QCryptographicHash::Sha256).toHex();
    return jsonAnswer({{QStringLiteral("access_token"), QString::fromLatin1(token)},
                       {QStringLiteral("token_type"), QStringLiteral("Bearer")},
                       {QStringLiteral("expires_in"), 3600}});
}

} // namespace

std::optional<WebAnswer> answerAsSpotify(const WebRequest& request, const QString& base) {
    if (request.path == u"/api/token")
        return tokenAnswer(request);
    if (!request.path.startsWith(u"/v1/"))
        return std::nullopt;
    // Unlike the public service this one serves strangers as well, so that the demo shows something.
    const auto authorization = request.headers["authorization"];
    if (!authorization.isEmpty() && !authorization.startsWith(QByteArray("Bearer ") + kTokenStart))
        return error(401, QStringLiteral("Invalid access token"));
    if (request.path == u"/v1/search")
        return search(request, base);
    static const QRegularExpression kLookUp(QStringLiteral("^/v1/(albums|tracks|artists)/([^/]+)(/.*)?$"));
    const auto match = kLookUp.match(request.path);
    if (!match.hasMatch())
        return error(404, QStringLiteral("Service not found"));
    const auto found = lookUp(match.captured(1), match.captured(2), match.captured(3), base);
    return found ? *found : error(404, QStringLiteral("non existing id"));
}

} // namespace merlode
