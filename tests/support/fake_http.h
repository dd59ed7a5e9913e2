#pragma once

#include "base/session.h"
#include "platform/http_client.h"

#include <map>
#include <mutex>
#include <vector>

namespace merlode {

/// Answers web requests, gets and posts alike, out of a table by their whole address; one that is not in it
/// fails. Any thread.
class FakeHttp final : public HttpClient {
  public:
    struct Answer {
        QByteArray body{};
        int status = 200;   ///< 0 for a server that is not there
        double latency = 0; ///< seconds of the session's clock until an asynchronous reply
    };

    void route(const QString& url, Answer answer) {
        const std::lock_guard lock(mutex_);
        routes_[url] = std::move(answer);
    }
    void route(const QString& url, const QByteArray& body) { route(url, Answer{body}); }

    /// All requests so far, in their order.
    std::vector<HttpRequest> requests() const {
        const std::lock_guard lock(mutex_);
        return requests_;
    }

    using HttpClient::send;
    /// Answers at once.
    Reply send(const HttpRequest& request, const HttpCancellation& cancellation, QString* failure) override {
        if (failure)
            *failure = u"it did not answer"_qs;
        return cancellation.isCancelled() ? std::nullopt : take(request).first;
    }

    /// What is answered is settled by the call and delivered through the loop of the current session.
    void sendAsync(HttpRequest request, std::function<void(Reply)> done) override {
        auto& loop = Session::current().runLoop();
        loop.async([&loop, done, taken = take(request)] {
            loop.asyncAfter(taken.second, [done, reply = taken.first] { done(reply); });
        });
    }

  private:
    /// The reply, and seconds until it.
    std::pair<Reply, double> take(const HttpRequest& request) {
        const std::lock_guard lock(mutex_);
        requests_.push_back(request);
        const auto& answer = routes_.try_emplace(request.url, Answer{.status = 0}).first->second;
        const bool wanted = answer.status / 100 == 2 && answer.body.size() <= request.mostBytes;
        return {wanted ? Reply(answer.body) : std::nullopt, answer.latency};
    }

    mutable std::mutex mutex_;
    std::map<QString, Answer> routes_;
    std::vector<HttpRequest> requests_;
};

} // namespace merlode
