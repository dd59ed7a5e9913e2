#include "model/spotify_account.h"

#include "base/session.h"
#include "model/json.h"
#include "model/service_hosts.h"

namespace merlode {

namespace {

constexpr double kTokenTimeOut = 15.0;

HttpRequest tokenRequest(const SpotifyCredentials& credentials) {
    const QByteArray pair = credentials.clientID.toUtf8() + ':' + credentials.clientSecret.toUtf8();
    return {.url = ServiceHosts::sharedController().address(WebService::SpotifyAccounts) +
                   QStringLiteral("/api/token"),
            .timeoutSeconds = kTokenTimeOut,
            .method = HttpRequest::Method::Post,
            .body = "grant_type=client_credentials",
            .headers = {{"Authorization", "Basic " + pair.toBase64()},
                        {"Content-Type", "application/x-www-form-urlencoded"}}};
}

double uptime() {
    return Session::current().runLoop().uptime();
}

} // namespace

SpotifyAccount& SpotifyAccount::sharedController() {
    return Session::current().shared<SpotifyAccount>();
}

void SpotifyAccount::setCredentials(std::optional<SpotifyCredentials> credentials) {
    const std::lock_guard lock(mutex_);
    credentials_ = std::move(credentials);
    ++generation_;
    token_.clear();
    expiration_ = 0;
    refusedUntil_ = 0;
}

bool SpotifyAccount::hasCredentials() const {
    const std::lock_guard lock(mutex_);
    return credentials_.has_value();
}

std::optional<QByteArray> SpotifyAccount::heldToken() const {
    const std::lock_guard lock(mutex_);
    return uptime() < expiration_ ? std::optional(token_) : std::nullopt;
}

std::optional<SpotifyToken> SpotifyAccount::fetch(HttpClient& client, const SpotifyCredentials& credentials,
                                                  const HttpCancellation& cancellation, QString* failure) {
    const auto reply = client.send(tokenRequest(credentials), cancellation, failure);
    if (!reply)
        return std::nullopt;
    const JSON answer(*reply);
    // It goes into a header: only what a token is made of.
    const auto value = answer[u"access_token"].stringValue().toLatin1();
    const bool isToken = !value.isEmpty() &&
                         std::ranges::all_of(value, [](char letter) { return letter > ' ' && letter < 127; });
    const double seconds = answer[u"expires_in"].doubleValue();
    if (isToken && seconds > 0)
        return SpotifyToken{value, seconds};
    if (failure)
        *failure = QStringLiteral("its answer holds no token");
    return std::nullopt;
}

std::optional<QByteArray> SpotifyAccount::token(HttpClient& client, const HttpCancellation& cancellation,
                                                QString* failure) {
    std::unique_lock lock(mutex_);
    if (!fetched_.wait(lock, cancellation.token(), [this] { return !fetching_; }))
        return std::nullopt;
    if (uptime() < expiration_)
        return token_;
    if (!credentials_ || uptime() < refusedUntil_) {
        if (failure)
            *failure = refusal_;
        return std::nullopt;
    }
    const auto credentials = *credentials_;
    const unsigned generation = generation_;
    fetching_ = true;
    lock.unlock();
    QString reason;
    const auto token = fetch(client, credentials, cancellation, &reason);
    lock.lock();
    fetching_ = false;
    if (generation == generation_)
        take(token, reason, cancellation.isCancelled());
    if (!token && failure)
        *failure = QStringLiteral("signing in failed: %1").arg(reason);
    lock.unlock();
    fetched_.notify_all();
    return token ? std::optional(token->value) : std::nullopt;
}

void SpotifyAccount::take(const std::optional<SpotifyToken>& token, const QString& failure, bool cancelled) {
    const double time = uptime();
    if (token) {
        token_ = token->value;
        fetchedAt_ = time;
        // One that is over sooner than the margin serves the request that it was fetched for.
        expiration_ = time + std::max(token->seconds - kRenewalMargin, 1.0);
    } else if (!cancelled) {
        refusal_ = QStringLiteral("signing in failed: %1").arg(failure);
        refusedUntil_ = time + kRefusalStands;
    }
}

void SpotifyAccount::distrust(const QByteArray& token) {
    const std::lock_guard lock(mutex_);
    if (token == token_ && uptime() - fetchedAt_ > kRefusalStands)
        expiration_ = 0;
}

} // namespace merlode
