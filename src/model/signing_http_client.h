#pragma once

#include "platform/http_client.h"

#include <memory>
#include <mutex>

namespace merlode {

class Session;
class SpotifyAccount;

/// Sends what it is given through another client, and signs what goes to Spotify's catalogue where the user
/// has an account there: whoever asks something of the catalogue need not know. Any thread.
class SigningHttpClient final : public HttpClient {
  public:
    /// The session must outlive this object, which is one of its ports.
    SigningHttpClient(Session& session, std::unique_ptr<HttpClient> client);

    using HttpClient::send;
    Reply send(const HttpRequest& request, const HttpCancellation& cancellation, QString* failure) override;
    std::vector<Reply> sendAll(const std::vector<HttpRequest>& requests,
                               const HttpCancellation& cancellation) override;
    void sendAsync(HttpRequest request, std::function<void(Reply)> done) override;

    /// The client behind it, for requests that are never signed.
    HttpClient& plain() { return *client_; }

  private:
    bool wantsSignature(const HttpRequest& request);
    SpotifyAccount& account();

    Session& session_;
    std::unique_ptr<HttpClient> client_;
};

} // namespace merlode
