#include "platform/linux/curl_http_client.h"

#include "base/session.h"

#include <QLoggingCategory>

#include <future>

namespace merlode {

namespace {

Q_LOGGING_CATEGORY(log, "merlode.platform", QtWarningMsg)

} // namespace

CurlHttpClient::CurlHttpClient(Session& session)
    : loop_(session.runLoop()),
      pauses_(loop_, [](const QString& line) { qCWarning(log).noquote() << line; }),
      onSessionEnd_(session.ending(), [this] { multi_.close(); }) {}

CurlHttpClient::~CurlHttpClient() {
    gone_.request_stop();
    multi_.close();
}

HttpClient::Reply CurlHttpClient::send(const HttpRequest& request, const HttpCancellation& cancellation) {
    const auto transfer = prepare(request);
    if (!transfer || cancellation.isCancelled())
        return std::nullopt;
    // Shared: this call may be over before the other thread has quite let go of it.
    const auto promise = std::make_shared<std::promise<Reply>>();
    auto reply = promise->get_future();
    multi_.start(transfer,
                 [this, transfer, promise](CURLcode code) { promise->set_value(settle(*transfer, code)); });
    const std::stop_callback onCancel(cancellation.token(), [&] { multi_.cancel(transfer); });
    return reply.get();
}

void CurlHttpClient::sendAsync(HttpRequest request, std::function<void(Reply)> done) {
    const auto deliver = [this, done = std::move(done)](Reply reply) {
        loop_.async([done, gone = gone_.get_token(), reply = std::move(reply)] {
            if (!gone.stop_requested())
                done(reply);
        });
    };
    const auto transfer = prepare(request);
    if (!transfer)
        return deliver(std::nullopt);
    multi_.start(transfer, [this, transfer, deliver](CURLcode code) { deliver(settle(*transfer, code)); });
}

// Null where there is nothing to send, or nobody who wants to hear.
std::shared_ptr<CurlTransfer> CurlHttpClient::prepare(const HttpRequest& request) {
    const QUrl url(request.url, QUrl::StrictMode);
    if (pauses_.isPaused(url))
        return nullptr;
    return CurlTransfer::make(request, url);
}

// The log is told of hosts and statuses only: what else is in an address may be nobody's business.
HttpClient::Reply CurlHttpClient::settle(CurlTransfer& transfer, CURLcode code) {
    const long status = transfer.status();
    const QUrl url = transfer.finalUrl();
    pauses_.answered(url, status, transfer.header("Retry-After"));
    if (code == CURLE_OK && status >= 200 && status <= 299)
        return transfer.takeBody();
    qCDebug(log) << "request to" << url.host() << "failed:" << curl_easy_strerror(code) << status;
    return std::nullopt;
}

} // namespace merlode
