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
    Reply send(const HttpRequest& request, const HttpCancellation& cancellation) override {
        const auto answer = take(request);
        return cancellation.isCancelled() ? std::nullopt : replyOf(answer, request);
    }

    /// What is answered is settled by the call and delivered through the loop of the current session.
    void sendAsync(HttpRequest request, std::function<void(Reply)> done) override {
        const auto answer = take(request);
        auto& loop = Session::current().runLoop();
        auto deliver = [done = std::move(done), reply = replyOf(answer, request)] { done(reply); };
        if (answer.latency <= 0)
            return loop.async(std::move(deliver));
        loop.async([&loop, latency = answer.latency, deliver] { loop.asyncAfter(latency, deliver); });
    }

  private:
    Answer take(const HttpRequest& request) {
        const std::lock_guard lock(mutex_);
        requests_.push_back(request);
        const auto found = routes_.find(request.url);
        return found == routes_.end() ? Answer{.status = 0} : found->second;
    }

    static Reply replyOf(const Answer& answer, const HttpRequest& request) {
        const bool wanted = answer.status / 100 == 2 && answer.body.size() <= request.mostBytes;
        return wanted ? Reply(answer.body) : std::nullopt;
    }

    mutable std::mutex mutex_;
    std::map<QString, Answer> routes_;
    std::vector<HttpRequest> requests_;
};

} // namespace merlode
