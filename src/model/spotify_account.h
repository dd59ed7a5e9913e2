#pragma once

#include "platform/http_client.h"

#include <QByteArray>
#include <QString>

#include <condition_variable>
#include <mutex>
#include <optional>

namespace merlode {

/// What the user has registered with Spotify for programs of their own.
struct SpotifyCredentials {
    QString clientID;
    QString clientSecret;
};

/// A token and how long it is good for.
struct SpotifyToken {
    QByteArray value;
    double seconds = 0;
};

/// The user's own access to Spotify's catalogue: requests carry a token that is fetched with the credentials
/// and renewed when its time is over. Without credentials they carry none. Any thread.
class SpotifyAccount {
  public:
    /// Seconds before its end at which a token counts as over: a request is on its way for a while.
    static constexpr double kRenewalMargin = 30.0;
    /// Seconds for which a refusal stands, so that one search asks with a wrong secret once.
    static constexpr double kRefusalStands = 60.0;

    static SpotifyAccount& sharedController();

    /// Forgets the token and any refusal. Nothing to sign out.
    void setCredentials(std::optional<SpotifyCredentials> credentials);
    bool hasCredentials() const;

    /// The token, where one is held that is still good; nothing is asked for.
    std::optional<QByteArray> heldToken() const;

    /// The token, fetched through `client` first if there is none that is still good. Blocks; callers that
    /// come meanwhile wait for the same answer, each until its own cancellation. Nothing where there is none
    /// to be had; `failure` then tells why.
    std::optional<QByteArray> token(HttpClient& client, const HttpCancellation& cancellation,
                                    QString* failure);

    /// Has the next request fetch a new token, unless this one was only just fetched: whoever was refused
    /// with it may have met a token that Spotify has taken back.
    void distrust(const QByteArray& token);

    /// Asks Spotify for a token; nothing where it refuses or does not answer. Blocks.
    static std::optional<SpotifyToken> fetch(HttpClient& client, const SpotifyCredentials& credentials,
                                             const HttpCancellation& cancellation, QString* failure);

  private:
    void take(const std::optional<SpotifyToken>& token, const QString& failure, bool cancelled);

    mutable std::mutex mutex_;
    std::condition_variable_any fetched_;
    bool fetching_ = false;
    unsigned generation_ = 0; ///< of the credentials: an answer to earlier ones is dropped
    std::optional<SpotifyCredentials> credentials_;
    QByteArray token_;
    double fetchedAt_ = 0; ///< uptime
    double expiration_ = 0;
    QString refusal_;
    double refusedUntil_ = 0;
};

} // namespace merlode
