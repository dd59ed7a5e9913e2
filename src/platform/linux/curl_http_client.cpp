#include "platform/linux/curl_http_client.h"

#include "base/session.h"

#include <QLoggingCategory>

#include <condition_variable>
#include <future>
#include <mutex>

namespace merlode {

namespace {

Q_LOGGING_CATEGORY(log, "merlode.platform", QtWarningMsg)

QString failureText(CURLcode code, long status) {
    switch (code) {
    case CURLE_OK:
        return QStringLiteral("it answered %1").arg(status);
    case CURLE_OPERATION_TIMEDOUT:
        return QStringLiteral("it did not answer in time");
    case CURLE_ABORTED_BY_CALLBACK:
        return QStringLiteral("the request was cancelled");
    case CURLE_WRITE_ERROR:
        return QStringLiteral("its answer is too large");
    default:
        return QString::fromLatin1(curl_easy_strerror(code)).toLower();
    }
}

} // namespace

CurlHttpClient::CurlHttpClient(Session& session)
    : loop_(session.runLoop()),
      pauses_(loop_, [](const QString& line) { qCWarning(log).noquote() << line; }),
      onSessionEnd_(session.ending(), [this] { multi_.close(); }) {}

CurlHttpClient::~CurlHttpClient() {
    gone_.request_stop();
    multi_.close();
}

HttpClient::Reply CurlHttpClient::send(const HttpRequest& request, const HttpCancellation& cancellation,
                                       QString* failure) {
    const auto transfer = prepare(request, failure);
    if (!transfer || cancellation.isCancelled())
        return std::nullopt;
    // Shared: this call may be over before the other thread has quite let go of it.
    const auto promise = std::make_shared<std::promise<Outcome>>();
    auto future = promise->get_future();
    multi_.start(transfer,
                 [this, transfer, promise](CURLcode code) { promise->set_value(settle(*transfer, code)); });
    const std::stop_callback onCancel(cancellation.token(), [&] { multi_.cancel(transfer); });
    auto outcome = future.get();
    if (failure)
        *failure = outcome.failure;
    return std::move(outcome.reply);
}

/// Requests that are under way together.
struct CurlHttpClient::Batch {
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<std::shared_ptr<CurlTransfer>> transfers; ///< null for those that could not be sent
    std::vector<Reply> replies;
    std::size_t ended = 0;
    bool cancelled = false;

    bool isCancelled() {
        const std::lock_guard lock(mutex);
        return cancelled;
    }
};

std::vector<HttpClient::Reply> CurlHttpClient::sendAll(const std::vector<HttpRequest>& requests,
                                                       const HttpCancellation& cancellation) {
    const auto batch = std::make_shared<Batch>();
    batch->replies.resize(requests.size());
    const std::stop_callback onCancel(cancellation.token(), [this, batch] {
        const std::lock_guard lock(batch->mutex);
        batch->cancelled = true;
        for (const auto& transfer : batch->transfers) {
            if (transfer)
                multi_.cancel(transfer);
        }
        batch->changed.notify_all();
    });
    std::unique_lock lock(batch->mutex);
    for (const auto& request : requests) {
        batch->changed.wait(
            lock, [&] { return batch->cancelled || batch->transfers.size() - batch->ended < kSideBySide; });
        if (batch->cancelled)
            break;
        lock.unlock(); // a client that is closing ends a transfer at once, on this thread
        startNext(batch, request);
        lock.lock();
    }
    batch->changed.wait(lock, [&] { return batch->ended == batch->transfers.size(); });
    return batch->replies;
}

void CurlHttpClient::startNext(const std::shared_ptr<Batch>& batch, const HttpRequest& request) {
    const auto transfer = prepare(request);
    std::size_t place = 0;
    {
        const std::lock_guard lock(batch->mutex);
        place = batch->transfers.size();
        batch->transfers.push_back(transfer);
        if (!transfer)
            ++batch->ended;
    }
    if (!transfer)
        return;
    multi_.start(transfer, [this, transfer, batch, place](CURLcode code) {
        auto outcome = settle(*transfer, code);
        const std::lock_guard lock(batch->mutex);
        batch->replies[place] = std::move(outcome.reply);
        batch->transfers[place].reset();
        ++batch->ended;
        batch->changed.notify_all();
    });
    if (batch->isCancelled()) // in between: the order to cancel came before the one to start
        multi_.cancel(transfer);
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
    multi_.start(transfer,
                 [this, transfer, deliver](CURLcode code) { deliver(settle(*transfer, code).reply); });
}

// Null where there is nothing to send, or nobody who wants to hear.
std::shared_ptr<CurlTransfer> CurlHttpClient::prepare(const HttpRequest& request, QString* failure) {
    const QUrl url(request.url, QUrl::StrictMode);
    const bool paused = pauses_.isPaused(url);
    auto transfer = paused ? nullptr : CurlTransfer::make(request, url);
    if (!transfer && failure)
        *failure = paused ? QStringLiteral("it has asked to be left alone for a while")
                          : QStringLiteral("the address makes no sense");
    return transfer;
}

// The log is told of hosts and statuses only: what else is in an address may be nobody's business.
CurlHttpClient::Outcome CurlHttpClient::settle(CurlTransfer& transfer, CURLcode code) {
    const long status = transfer.status();
    const QUrl url = transfer.finalUrl();
    pauses_.answered(url, status, transfer.header("Retry-After"));
    if (code == CURLE_OK && status >= 200 && status <= 299)
        return {transfer.takeBody(), {}};
    qCDebug(log) << "request to" << url.host() << "failed:" << curl_easy_strerror(code) << status;
    return {std::nullopt, failureText(code, status)};
}

} // namespace merlode
