#include "model/signing_http_client.h"

#include "base/session.h"
#include "model/service_hosts.h"
#include "model/spotify_account.h"

#include <algorithm>

namespace merlode {

namespace {

const QString kSigningQueue = QStringLiteral("co.vantry.Merlode.Signing");

HttpRequest withToken(HttpRequest request, const QByteArray& token) {
    request.headers.emplace_back("Authorization", "Bearer " + token);
    return request;
}

} // namespace

SigningHttpClient::SigningHttpClient(Session& session, std::unique_ptr<HttpClient> client)
    : session_(session), client_(std::move(client)) {}

SpotifyAccount& SigningHttpClient::account() {
    return session_.shared<SpotifyAccount>();
}

// Compared with what follows a host, lest "https://api.example.evil" passes for "https://api.example".
bool SigningHttpClient::wantsSignature(const HttpRequest& request) {
    return request.url.startsWith(session_.shared<ServiceHosts>().address(WebService::SpotifyAPI) +
                                  QStringLiteral("/v1/")) &&
           account().hasCredentials();
}

HttpClient::Reply SigningHttpClient::send(const HttpRequest& request, const HttpCancellation& cancellation,
                                          QString* failure) {
    if (!wantsSignature(request))
        return client_->send(request, cancellation, failure);
    const auto token = account().token(*client_, cancellation, failure);
    if (!token)
        return std::nullopt;
    auto reply = client_->send(withToken(request, *token), cancellation, failure);
    if (!reply)
        account().distrust(*token);
    return reply;
}

std::vector<HttpClient::Reply> SigningHttpClient::sendAll(const std::vector<HttpRequest>& requests,
                                                          const HttpCancellation& cancellation) {
    if (std::ranges::none_of(requests, [this](const auto& request) { return wantsSignature(request); }))
        return client_->sendAll(requests, cancellation);
    const auto token = account().token(*client_, cancellation, nullptr);
    if (!token)
        return std::vector<Reply>(requests.size());
    std::vector<HttpRequest> signedRequests;
    signedRequests.reserve(requests.size());
    for (const auto& request : requests)
        signedRequests.push_back(wantsSignature(request) ? withToken(request, *token) : request);
    return client_->sendAll(signedRequests, cancellation);
}

void SigningHttpClient::sendAsync(HttpRequest request, std::function<void(Reply)> done) {
    if (!wantsSignature(request))
        return client_->sendAsync(std::move(request), std::move(done));
    if (const auto token = account().heldToken())
        return client_->sendAsync(withToken(std::move(request), *token), std::move(done));
    session_.queue(kSigningQueue)
        .async([this, request = std::move(request), done = std::move(done)]() mutable {
            if (const auto token = account().token(*client_, {}, nullptr))
                return client_->sendAsync(withToken(std::move(request), *token), std::move(done));
            session_.runLoop().async([done = std::move(done)] { done(std::nullopt); });
        });
}

} // namespace merlode
