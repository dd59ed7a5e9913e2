#include "search/rdio_token_request.h"

#include "base/session.h"
#include "model/json.h"
#include "model/service_hosts.h"

#include <algorithm>

namespace merlode {

namespace {

// How Rdio knows this program. A program that people install has no secrets from them.
constexpr char kClientId[] = "qz4hbv0tn8ewk2yd1r7ujcfxpa";
constexpr char kClientSecret[] = "Tb7KpqLm2VzRdF9sYc1HxA";

constexpr double kTokenTimeOut = 15.0;

HttpRequest tokenRequest() {
    return {.url =
                ServiceHosts::sharedController().address(WebService::Rdio) + QStringLiteral("/oauth2/token/"),
            .timeoutSeconds = kTokenTimeOut,
            .method = HttpRequest::Method::Post,
            .body = QByteArray("grant_type=client_credentials&client_id=") + kClientId +
                    "&client_secret=" + kClientSecret,
            .headers = {{"Content-Type", "application/x-www-form-urlencoded"}}};
}

} // namespace

RdioTokenRequest& RdioTokenRequest::sharedController() {
    return Session::current().shared<RdioTokenRequest>();
}

QString RdioTokenRequest::getAuthorizationToken(const HttpCancellation& cancellation) {
    auto& session = Session::current();
    {
        const std::lock_guard lock(mutex_);
        if (session.runLoop().now() < expiration_)
            return accessToken_;
    }
    take(session.port<HttpClient>().send(tokenRequest(), cancellation));
    const std::lock_guard lock(mutex_);
    return accessToken_;
}

void RdioTokenRequest::backgroundAuthorizationToken() {
    Session::current().port<HttpClient>().sendAsync(
        tokenRequest(), [](const HttpClient::Reply& reply) { sharedController().take(reply); });
}

void RdioTokenRequest::take(const HttpClient::Reply& reply) {
    const JSON answer(reply.value_or(QByteArray()));
    const auto token = answer[u"access_token"].string();
    const double seconds = answer[u"expires_in"].doubleValue();
    if (!token || token->isEmpty() || !(seconds > 0))
        return;
    const std::lock_guard lock(mutex_);
    accessToken_ = *token;
    expiration_ = Session::current().runLoop().now() + seconds;
}

} // namespace merlode
