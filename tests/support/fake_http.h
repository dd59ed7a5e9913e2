#pragma once

#include "platform/http_client.h"

#include <map>
#include <mutex>
#include <vector>

namespace merlode {

/// Answers web requests out of a table, at once; an address that is not in it fails. Any thread.
class FakeHttp final : public HttpClient {
  public:
    struct Request {
        QString url;
        double timeoutSeconds;
    };

    void route(const QString& url, const QByteArray& body) {
        const std::lock_guard lock(mutex_);
        routes_[url] = body;
    }

    /// All requests so far, in their order.
    std::vector<Request> requests() const {
        const std::lock_guard lock(mutex_);
        return requests_;
    }

    std::optional<QByteArray> get(const QString& url, double timeoutSeconds, qint64) override {
        const std::lock_guard lock(mutex_);
        requests_.push_back({url, timeoutSeconds});
        const auto found = routes_.find(url);
        return found == routes_.end() ? std::nullopt : std::optional(found->second);
    }

  private:
    mutable std::mutex mutex_;
    std::map<QString, QByteArray> routes_;
    std::vector<Request> requests_;
};

} // namespace merlode
