#include "app/demo/service_answers.h"
#include "app/demo/service_catalogue.h"

#include <QJsonArray>
#include <QUuid>

namespace merlode {

namespace {

constexpr int kTokenSeconds = 43'200;
constexpr qsizetype kMostTokens = 1000;

const std::vector<ServiceAlbum>& albums() {
    return serviceCatalogue(CatalogueOf::Rdio);
}

QString keyOf(QChar type, int number) {
    return type + QString::number(number + 1000);
}

/// What albums and tracks have in common.
QJsonObject item(QChar type, int number, const QString& name, const QString& artist, const QString& icon) {
    return {{QStringLiteral("type"), QString(type)}, {QStringLiteral("key"), keyOf(type, number)},
            {QStringLiteral("name"), name},          {QStringLiteral("artist"), artist},
            {QStringLiteral("icon"), icon},          {QStringLiteral("canStream"), true}};
}

QJsonObject albumItem(const ServiceAlbum& album, const QString& base) {
    auto json = item(u'a', album.number, album.title, album.artist, coverAddress(base, album.number, 200));
    QJsonArray keys;
    for (const auto& track : album.tracks)
        keys.append(keyOf(u't', track.number));
    json[QStringLiteral("trackKeys")] = keys;
    json[QStringLiteral("length")] = keys.size();
    json[QStringLiteral("releaseDate")] = album.date;
    return json;
}

QJsonObject trackItem(const ServiceAlbum& album, const ServiceTrack& track, const QString& base) {
    auto json = item(u't', track.number, track.title, track.artist, coverAddress(base, album.number, 200));
    json[QStringLiteral("album")] = album.title;
    json[QStringLiteral("albumArtist")] = album.artist;
    json[QStringLiteral("albumKey")] = keyOf(u'a', album.number);
    json[QStringLiteral("duration")] = track.milliseconds / 1000;
    json[QStringLiteral("isClean")] = !track.isExplicit;
    json[QStringLiteral("trackNum")] = track.position;
    return json;
}

QJsonArray resultsOf(const QString& query, const QStringList& types, const QString& base) {
    QJsonArray results;
    const auto artists = artistsOf(CatalogueOf::Rdio);
    for (int index = 0; types.contains(u"artist") && index < artists.size(); ++index) {
        if (hasAllWords(artists[index], query))
            results.append(item(u'r', index, artists[index], artists[index], {}));
    }
    for (const auto& album : albums()) {
        if (types.contains(u"album") && hasAllWords(album.title + u' ' + album.artist, query))
            results.append(albumItem(album, base));
        for (const auto& track : album.tracks) {
            if (types.contains(u"track") && hasAllWords(track.title + u' ' + track.artist, query))
                results.append(trackItem(album, track, base));
        }
    }
    return results;
}

WebAnswer error(int status, const QString& name, const QString& description) {
    return jsonAnswer({{QStringLiteral("error"), name}, {QStringLiteral("error_description"), description}},
                      status);
}

} // namespace

WebAnswer RdioService::newToken(const WebRequest& request) {
    if (request.method != "POST" || request.fields[QStringLiteral("grant_type")] != u"client_credentials")
        return error(400, QStringLiteral("unsupported_grant_type"), QStringLiteral("no such grant"));
    if (request.fields[QStringLiteral("client_id")].isEmpty() ||
        request.fields[QStringLiteral("client_secret")].isEmpty())
        return error(401, QStringLiteral("invalid_client"), QStringLiteral("no such client"));
    const QString token = QUuid::createUuid().toString(QUuid::Id128);
    const std::lock_guard lock(mutex_);
    if (tokens_.size() >= kMostTokens)
        tokens_.removeFirst();
    tokens_ << token;
    return jsonAnswer({{QStringLiteral("access_token"), token},
                       {QStringLiteral("token_type"), QStringLiteral("bearer")},
                       {QStringLiteral("expires_in"), kTokenSeconds},
                       {QStringLiteral("scope"), QString()}});
}

bool RdioService::isAuthorized(const WebRequest& request) {
    const QByteArray header = request.headers["authorization"];
    const std::lock_guard lock(mutex_);
    return header.startsWith("Bearer ") && tokens_.contains(QString::fromUtf8(header.mid(7)));
}

std::optional<WebAnswer> RdioService::answer(const WebRequest& request, const QString& base) {
    if (request.path == u"/oauth2/token/")
        return newToken(request);
    if (request.path != u"/api/1")
        return std::nullopt;
    if (!isAuthorized(request))
        return error(401, QStringLiteral("invalid_token"), QStringLiteral("The access token is not valid"));
    if (request.method != "POST" || request.fields[QStringLiteral("method")] != u"search")
        return jsonAnswer({{QStringLiteral("status"), QStringLiteral("error")},
                           {QStringLiteral("message"), QStringLiteral("unknown method")}},
                          404);
    const auto results = resultsOf(request.fields[QStringLiteral("query")],
                                   request.fields[QStringLiteral("types")].toLower().split(u','), base);
    return jsonAnswer(
        {{QStringLiteral("status"), QStringLiteral("ok")},
         {QStringLiteral("result"), QJsonObject{{QStringLiteral("number_results"), results.size()},
                                                {QStringLiteral("results"), results}}}});
}

} // namespace merlode
