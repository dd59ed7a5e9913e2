#include "app/demo/service_answers.h"
#include "app/demo/service_catalogue.h"

#include <QCryptographicHash>
#include <QJsonArray>
#include <QUuid>

#include <algorithm>

namespace merlode {

namespace {

constexpr std::size_t kMostReports = 1000;
constexpr qsizetype kMostTokens = 1000;

QString field(const WebRequest& request, const char* name) {
    return request.fields[QString::fromLatin1(name)];
}

// The service's own numbers and texts.
WebAnswer error(int status, int number, const QString& message) {
    return jsonAnswer({{QStringLiteral("error"), number}, {QStringLiteral("message"), message}}, status);
}

QString randomKey() {
    return QUuid::createUuid().toString(QUuid::Id128);
}

QJsonArray images(const ServiceAlbum& album, const QString& base) {
    QJsonArray list;
    for (const auto& [name, size] : {std::pair{"small", 34}, std::pair{"medium", 64}, std::pair{"large", 174},
                                     std::pair{"extralarge", 300}, std::pair{"mega", 600}})
        list.append(QJsonObject{{QStringLiteral("#text"), coverAddress(base, album.number, size)},
                                {QStringLiteral("size"), QString::fromLatin1(name)}});
    return list;
}

WebAnswer albumInfo(const WebRequest& request, const QString& base) {
    const auto& albums = serviceCatalogue(CatalogueOf::LastFM);
    const auto album = std::ranges::find_if(albums, [&request](const auto& each) {
        return each.title.compare(field(request, "album"), Qt::CaseInsensitive) == 0 &&
               each.artist.compare(field(request, "artist"), Qt::CaseInsensitive) == 0;
    });
    if (album == albums.end())
        return error(404, 6, QStringLiteral("Album not found"));
    QJsonArray tracks;
    for (const auto& track : album->tracks)
        tracks.append(
            QJsonObject{{QStringLiteral("name"), track.title},
                        {QStringLiteral("duration"), QString::number(track.milliseconds / 1000)},
                        {QStringLiteral("@attr"), QJsonObject{{QStringLiteral("rank"), tracks.size() + 1}}}});
    return jsonAnswer(
        {{QStringLiteral("album"),
          QJsonObject{{QStringLiteral("name"), album->title},
                      {QStringLiteral("artist"), album->artist},
                      {QStringLiteral("image"), images(*album, base)},
                      {QStringLiteral("listeners"), QString::number(1200 - album->number)},
                      {QStringLiteral("tracks"), QJsonObject{{QStringLiteral("track"), tracks}}}}}});
}

/// A text of a report, as the service gives it back.
QJsonObject echo(const WebRequest& request, const char* name) {
    return {{QStringLiteral("corrected"), QStringLiteral("0")},
            {QStringLiteral("#text"), field(request, name)}};
}

} // namespace

std::optional<WebAnswer> LastFMService::answer(const WebRequest& request, const QString& base) {
    if (request.path == u"/api/auth/")
        return allow(request);
    if (request.path != u"/2.0/")
        return std::nullopt;
    if (field(request, "api_key").isEmpty())
        return error(403, 10, QStringLiteral("Invalid API key - You must be granted a valid key by last.fm"));
    return call(request, base);
}

WebAnswer LastFMService::call(const WebRequest& request, const QString& base) {
    const QString method = field(request, "method");
    if (method == u"album.getInfo")
        return albumInfo(request, base);
    if (method == u"auth.getToken")
        return newToken();
    const bool isReport = method == u"track.updateNowPlaying" || method == u"track.scrobble";
    if (method != u"auth.getSession" && !isReport)
        return error(400, 3, QStringLiteral("Invalid Method - No method with that name in this package"));
    if (!isSigned(request))
        return error(403, 13, QStringLiteral("Invalid method signature supplied"));
    return isReport ? takeReport(request) : newSession(request);
}

// All parameters but the format, by name, then the secret.
bool LastFMService::isSigned(const WebRequest& request) const {
    QString text;
    for (const auto& name : request.fields.keys()) {
        if (name != u"format" && name != u"callback" && name != u"api_sig")
            text += name + request.fields[name];
    }
    const auto signature =
        QCryptographicHash::hash((text + secret_).toUtf8(), QCryptographicHash::Md5).toHex();
    return secret_.isEmpty() || signature == field(request, "api_sig").toLatin1();
}

WebAnswer LastFMService::newToken() {
    const QString token = randomKey();
    const std::lock_guard lock(mutex_);
    if (tokens_.size() >= kMostTokens)
        tokens_.clear();
    tokens_.insert(token, false);
    return jsonAnswer({{QStringLiteral("token"), token}});
}

// The page on which the user allows it: whoever looks at it has.
WebAnswer LastFMService::allow(const WebRequest& request) {
    const std::lock_guard lock(mutex_);
    const auto token = tokens_.find(field(request, "token"));
    const bool known = token != tokens_.end();
    if (known)
        *token = true;
    return {.status = known ? 200 : 403,
            .type = "text/html; charset=utf-8",
            .body = known ? "<!DOCTYPE html><title>Last.fm</title><p>Merlode may use the demo's account now."
                          : "<!DOCTYPE html><title>Last.fm</title><p>This token is not valid."};
}

WebAnswer LastFMService::newSession(const WebRequest& request) {
    const std::lock_guard lock(mutex_);
    const auto token = tokens_.find(field(request, "token"));
    if (token == tokens_.end())
        return error(403, 4, QStringLiteral("Invalid authentication token supplied"));
    if (!*token)
        return error(403, 14, QStringLiteral("Unauthorized Token - This token has not been issued"));
    tokens_.erase(token); // good for one session
    const QString key = randomKey();
    if (sessions_.size() >= kMostTokens)
        sessions_.removeFirst();
    sessions_ << key;
    return jsonAnswer(
        {{QStringLiteral("session"), QJsonObject{{QStringLiteral("name"), QStringLiteral("demo-listener")},
                                                 {QStringLiteral("key"), key},
                                                 {QStringLiteral("subscriber"), 0}}}});
}

WebAnswer LastFMService::takeReport(const WebRequest& request) {
    const std::lock_guard lock(mutex_);
    if (request.method != "POST")
        return error(405, 4, QStringLiteral("Method Not Allowed"));
    if (!sessions_.contains(field(request, "sk")))
        return error(403, 9, QStringLiteral("Invalid session key - Please re-authenticate"));
    if (field(request, "artist").isEmpty() || field(request, "track").isEmpty())
        return error(400, 6, QStringLiteral("Invalid parameters"));
    if (reports_.size() < kMostReports)
        reports_.push_back(request);
    QJsonObject report{
        {QStringLiteral("artist"), echo(request, "artist")},
        {QStringLiteral("album"), echo(request, "album")},
        {QStringLiteral("track"), echo(request, "track")},
        {QStringLiteral("ignoredMessage"), QJsonObject{{QStringLiteral("code"), QStringLiteral("0")}}}};
    if (field(request, "method") == u"track.updateNowPlaying")
        return jsonAnswer({{QStringLiteral("nowplaying"), report}});
    report[QStringLiteral("timestamp")] = field(request, "timestamp");
    const QJsonObject count{{QStringLiteral("accepted"), 1}, {QStringLiteral("ignored"), 0}};
    return jsonAnswer({{QStringLiteral("scrobbles"), QJsonObject{{QStringLiteral("@attr"), count},
                                                                 {QStringLiteral("scrobble"), report}}}});
}

std::vector<WebRequest> LastFMService::reports() const {
    const std::lock_guard lock(mutex_);
    return reports_;
}

} // namespace merlode
