#pragma once

#include "platform/http_client.h"

#include <QString>

#include <mutex>

namespace merlode {

/// Holds the token by which Rdio knows this program, and renews it when its time is over. Any thread.
class RdioTokenRequest {
  public:
    static RdioTokenRequest& sharedController();

    /// The token, fetched first if there is none that is still good. Blocks. What was there before, or an
    /// empty text, where that fails; the next call tries again.
    QString getAuthorizationToken(const HttpCancellation& cancellation = {});

    /// Renews the token and returns at once.
    void backgroundAuthorizationToken();

  private:
    void take(const HttpClient::Reply& reply);

    std::mutex mutex_;
    QString accessToken_;
    double expiration_ = 0; ///< wall clock, seconds
};

} // namespace merlode
