#pragma once

#include "platform/http_client.h"

#include <mutex>
#include <thread>
#include <vector>

namespace merlode {

class RunLoop;

/// Web requests through libcurl: certificates are verified, at most five redirects followed, none from https
/// to another scheme than https. Any thread.
class CurlHttpClient final : public HttpClient {
  public:
    /// The loop of the session, which must outlive this object.
    explicit CurlHttpClient(RunLoop& loop);

    using HttpClient::send;
    Reply send(const HttpRequest& request, const HttpCancellation& cancellation) override;
    void sendAsync(HttpRequest request, std::function<void(Reply)> done) override;

  private:
    RunLoop& loop_;
    std::mutex mutex_;
    std::vector<std::jthread> transfers_; // last: they use the members above
};

} // namespace merlode
