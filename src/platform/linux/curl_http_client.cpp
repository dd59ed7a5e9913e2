#include "platform/linux/curl_http_client.h"

#include "base/run_loop.h"

#include <QLoggingCategory>
#include <QUrl>

#include <memory>
#include <mutex>

#include <curl/curl.h>

namespace merlode {

namespace {

Q_LOGGING_CATEGORY(log, "merlode.platform", QtWarningMsg)

constexpr long kMostRedirects = 5;

struct EasyDeleter {
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
};

struct ListDeleter {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
using HeaderList = std::unique_ptr<curl_slist, ListDeleter>;

struct Body {
    QByteArray bytes;
    qint64 most = 0;
};

// Called many times a second; any other value than 0 ends the transfer.
int isStopped(void* token, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
    return static_cast<const std::stop_token*>(token)->stop_requested();
}

HeaderList headersOf(const HttpRequest& request) {
    HeaderList list;
    for (const auto& [name, value] : request.headers) {
        auto* longer = curl_slist_append(list.get(), (name + ": " + value).constData());
        (void)list.release();
        list.reset(longer);
    }
    return list;
}

std::size_t append(const char* data, std::size_t size, std::size_t count, void* target) {
    auto& body = *static_cast<Body*>(target);
    const std::size_t total = size * count;
    const auto length = static_cast<qsizetype>(total);
    if (body.bytes.size() + length > body.most)
        return 0; // a short count ends the transfer
    body.bytes.append(data, length);
    return total;
}

void configure(CURL* handle, const QUrl& url, const HttpRequest& request, Body& body) {
    // A transfer that began safe stays safe: redirects from https lead to https only.
    const char* redirects = url.scheme() == u"https" ? "https" : "http,https";
    curl_easy_setopt(handle, CURLOPT_URL, url.toEncoded().constData());
    curl_easy_setopt(handle, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(handle, CURLOPT_REDIR_PROTOCOLS_STR, redirects);
    curl_easy_setopt(handle, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(handle, CURLOPT_MAXREDIRS, kMostRedirects);
    curl_easy_setopt(handle, CURLOPT_TIMEOUT_MS, static_cast<long>(request.timeoutSeconds * 1000));
    curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(handle, CURLOPT_ACCEPT_ENCODING, "");
    curl_easy_setopt(handle, CURLOPT_USERAGENT, "Merlode/" MERLODE_VERSION);
    curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, append);
    curl_easy_setopt(handle, CURLOPT_WRITEDATA, &body);
    if (request.method == HttpRequest::Method::Post) {
        curl_easy_setopt(handle, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request.body.size()));
        curl_easy_setopt(handle, CURLOPT_COPYPOSTFIELDS, request.body.constData());
    }
}

HttpClient::Reply transfer(const HttpRequest& request, std::stop_token stop) {
    const QUrl url(request.url, QUrl::StrictMode);
    const std::unique_ptr<CURL, EasyDeleter> handle(curl_easy_init());
    if (!url.isValid() || (url.scheme() != u"https" && url.scheme() != u"http") || !handle)
        return std::nullopt;
    Body body{{}, request.mostBytes};
    configure(handle.get(), url, request, body);
    const auto headers = headersOf(request);
    curl_easy_setopt(handle.get(), CURLOPT_HTTPHEADER, headers.get());
    curl_easy_setopt(handle.get(), CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(handle.get(), CURLOPT_XFERINFOFUNCTION, isStopped);
    curl_easy_setopt(handle.get(), CURLOPT_XFERINFODATA, &stop);
    const CURLcode code = curl_easy_perform(handle.get());
    long status = 0;
    curl_easy_getinfo(handle.get(), CURLINFO_RESPONSE_CODE, &status);
    if (code == CURLE_OK && status >= 200 && status <= 299)
        return body.bytes;
    qCDebug(log) << "request to" << url.host() << "failed:" << curl_easy_strerror(code) << status;
    return std::nullopt;
}

} // namespace

CurlHttpClient::CurlHttpClient(RunLoop& loop) : loop_(loop) {
    static std::once_flag initialised;
    std::call_once(initialised, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

HttpClient::Reply CurlHttpClient::send(const HttpRequest& request, const HttpCancellation& cancellation) {
    return transfer(request, cancellation.token());
}

void CurlHttpClient::sendAsync(HttpRequest request, std::function<void(Reply)> done) {
    const std::lock_guard lock(mutex_);
    transfers_.emplace_back(
        [this, request = std::move(request), done = std::move(done)](std::stop_token stop) {
            auto reply = transfer(request, stop);
            if (!stop.stop_requested())
                loop_.async([done, reply = std::move(reply)] { done(reply); });
        });
}

} // namespace merlode
