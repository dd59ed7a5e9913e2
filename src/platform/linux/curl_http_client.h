#pragma once

#include "platform/http_client.h"
#include "platform/linux/curl_multi.h"
#include "platform/linux/host_pauses.h"

#include <functional>
#include <memory>
#include <stop_token>

namespace merlode {

class RunLoop;
class Session;

/// Web requests through libcurl, over connections that all of them share. Certificates are held against the
/// system's store, at most five redirects are followed and none from https to http; no cookies, no cache. A
/// host that answers 429 or 503 with "Retry-After" is left alone for that long: calls to it fail at once.
///
/// With the end of the session everything under way fails at once, so that work on queues does not hold it
/// up. A reply that has not been delivered when this object goes never is. Any thread.
class CurlHttpClient final : public HttpClient {
  public:
    static constexpr std::size_t kSideBySide = 6;

    /// The session must outlive this object.
    explicit CurlHttpClient(Session& session);
    ~CurlHttpClient() override;

    using HttpClient::send;
    Reply send(const HttpRequest& request, const HttpCancellation& cancellation, QString* failure) override;
    /// At most `kSideBySide` at a time: as many as browsers send to one host.
    std::vector<Reply> sendAll(const std::vector<HttpRequest>& requests,
                               const HttpCancellation& cancellation) override;
    void sendAsync(HttpRequest request, std::function<void(Reply)> done) override;

  private:
    struct Batch;

    /// A reply, or why there is none.
    struct Outcome {
        Reply reply;
        QString failure;
    };

    std::shared_ptr<CurlTransfer> prepare(const HttpRequest& request, QString* failure = nullptr);
    Outcome settle(CurlTransfer& transfer, CURLcode code);
    void startNext(const std::shared_ptr<Batch>& batch, const HttpRequest& request);

    RunLoop& loop_;
    HostPauses pauses_;
    std::stop_source gone_;
    CurlMulti multi_; // after what its transfers use when they end
    std::stop_callback<std::function<void()>> onSessionEnd_;
};

} // namespace merlode
