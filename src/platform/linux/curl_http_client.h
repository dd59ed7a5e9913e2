#pragma once

#include "platform/http_client.h"

namespace merlode {

/// Web requests through libcurl: certificates are verified, at most five redirects followed, none from https
/// to another scheme than https. Any thread.
class CurlHttpClient final : public HttpClient {
  public:
    CurlHttpClient();
    std::optional<QByteArray> get(const QString& url, double timeoutSeconds, qint64 mostBytes) override;
};

} // namespace merlode
