#pragma once

#include <QByteArray>
#include <QString>

#include <functional>
#include <optional>
#include <stop_token>
#include <utility>
#include <vector>

namespace merlode {

/// One web request. An http or https address; anything else fails at once.
struct HttpRequest {
    enum class Method { Get, Post };

    /// Most bytes that are accepted of each kind of reply. Forty times what the services send at most, so
    /// that only a reply gone wrong is cut off.
    static constexpr qint64 kMostTextBytes = 16 * 1024 * 1024;
    static constexpr qint64 kMostPictureBytes = 32 * 1024 * 1024;

    /// Seconds that a request without a time-out of its own may take.
    static constexpr double kDefaultTimeout = 60.0;

    QString url;
    double timeoutSeconds = kDefaultTimeout; ///< for the whole of it, redirects included
    qint64 mostBytes = kMostTextBytes;       ///< of the body, decompressed
    Method method = Method::Get;
    QByteArray body{}; ///< sent with Post, as a form unless a Content-Type header says otherwise
    /// Name and value, beyond the client's own. A "Content-Length" is left to the client; a request with a
    /// line break in a header fails at once.
    std::vector<std::pair<QByteArray, QByteArray>> headers{};
};

/// Stops a blocking request from another thread. A copy is a handle on the same switch, which is thrown once
/// and for good. Any thread.
class HttpCancellation {
  public:
    void cancel() { source_.request_stop(); }
    bool isCancelled() const { return source_.stop_requested(); }

    /// For a client that wants to be woken: a std::stop_callback on it is called by `cancel`.
    std::stop_token token() const { return source_.get_token(); }

  private:
    std::stop_source source_;
};

/// Web requests. A reply is the body of an answer with a status from 200 to 299. Everything else is nothing:
/// another status, a malformed address, a failed or late transfer, a body larger than wanted, a host that
/// asked to be left alone for a while.
class HttpClient {
  public:
    using Reply = std::optional<QByteArray>;

    virtual ~HttpClient() = default;

    /// Sends the request and waits for the reply; nothing soon after it was cancelled or the session began to
    /// end. `failure`, where given, is set to the reason in words for people when there is no reply. Belongs
    /// on a dispatch queue and never on the main thread.
    virtual Reply send(const HttpRequest& request, const HttpCancellation& cancellation,
                       QString* failure) = 0;
    Reply send(const HttpRequest& request, const HttpCancellation& cancellation) {
        return send(request, cancellation, nullptr);
    }
    Reply send(const HttpRequest& request) { return send(request, {}, nullptr); }

    /// Sends all requests and waits for all replies, which are given in the order of the requests. A client
    /// that can has several under way at a time. After a cancellation the missing replies are nothing. Where
    /// to call it: as `send`.
    virtual std::vector<Reply> sendAll(const std::vector<HttpRequest>& requests,
                                       const HttpCancellation& cancellation) {
        std::vector<Reply> replies;
        replies.reserve(requests.size());
        for (const auto& request : requests)
            replies.push_back(cancellation.isCancelled() ? std::nullopt : send(request, cancellation));
        return replies;
    }

    /// Sends the request and returns at once; `done` is called on the main queue of the session, exactly once
    /// unless the session ends before. Any thread.
    virtual void sendAsync(HttpRequest request, std::function<void(Reply)> done) = 0;
};

} // namespace merlode
