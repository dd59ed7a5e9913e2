#pragma once

#include "platform/http_client.h"

#include <map>
#include <mutex>
#include <vector>

namespace merlode {

class VirtualRunLoop;

/// Answers web requests out of a table: the route with the longest prefix of the address counts, and an
/// address without a route fails. Any thread, but a latency takes a loop and so the loop's thread.
class FakeHttp final : public HttpClient {
  public:
    struct Request {
        QString url;
        double timeoutSeconds;
        qint64 mostBytes;
    };

    FakeHttp() = default;
    /// With a loop a request can take time: see `setLatency`.
    explicit FakeHttp(VirtualRunLoop& loop) : loop_(&loop) {}

    void route(const QString& prefix, const QByteArray& body);
    void fail(const QString& prefix);
    /// From now on a request takes this long on the loop's clock; one that takes longer than its time-out
    /// fails when that has passed.
    void setLatency(double seconds) { latency_ = seconds; }

    /// All requests so far, in their order.
    std::vector<Request> requests() const;

    std::optional<QByteArray> get(const QString& url, double timeoutSeconds, qint64 mostBytes) override;

  private:
    std::optional<QByteArray> answer(const QString& url) const;

    VirtualRunLoop* loop_ = nullptr;
    double latency_ = 0;
    mutable std::mutex mutex_;
    std::map<QString, std::optional<QByteArray>> routes_;
    std::vector<Request> requests_;
};

} // namespace merlode
