#pragma once

#include "app/demo/web_server.h"

#include <QJsonObject>

#include <mutex>

namespace merlode {

/// An answer in JSON.
WebAnswer jsonAnswer(const QJsonObject& object, int status = 200);

/// The address of an album's cover, at "/covers/cover3.100x100-75.jpg" below the base address. The services
/// write the size into their addresses in just this way, and clients put other sizes there.
QString coverAddress(const QString& base, int album, int size);

/// The services' answers to what the program asks of them, in the public services' own shapes; each gives
/// nothing for a path that is not the service's. `base` is the address of the server, to which links and
/// pictures point. Any thread.
std::optional<WebAnswer> answerAsSpotify(const WebRequest& request, const QString& base);
std::optional<WebAnswer> answerAsiTunes(const WebRequest& request, const QString& base);
std::optional<WebAnswer> answerAsPandora(const WebRequest& request);
/// Covers, in any size up to that of `paintDemoCover`.
std::optional<WebAnswer> answerWithCover(const WebRequest& request);

/// Gives tokens to clients, and search results to holders of a token. Any thread.
class RdioService {
  public:
    std::optional<WebAnswer> answer(const WebRequest& request, const QString& base);

  private:
    WebAnswer newToken(const WebRequest& request);
    bool isAuthorized(const WebRequest& request);

    std::mutex mutex_;
    QStringList tokens_;
};

/// Knows the albums' pictures, lets accounts be connected, and takes reports. Any thread.
class LastFMService {
  public:
    /// With a secret, signatures are checked.
    explicit LastFMService(QString secret) : secret_(std::move(secret)) {}

    std::optional<WebAnswer> answer(const WebRequest& request, const QString& base);

    /// The reports that were accepted: track.updateNowPlaying and track.scrobble.
    std::vector<WebRequest> reports() const;

  private:
    WebAnswer call(const WebRequest& request, const QString& base);
    WebAnswer newToken();
    WebAnswer newSession(const WebRequest& request);
    WebAnswer allow(const WebRequest& request);
    WebAnswer takeReport(const WebRequest& request);
    bool isSigned(const WebRequest& request) const;

    const QString secret_;
    mutable std::mutex mutex_;
    QMap<QString, bool> tokens_; // whether the user has allowed its use
    QStringList sessions_;
    std::vector<WebRequest> reports_;
};

} // namespace merlode
