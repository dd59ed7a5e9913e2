#include "platform/linux/curl_http_client.h"

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

struct Body {
    QByteArray bytes;
    qint64 most = 0;
};

std::size_t append(const char* data, std::size_t size, std::size_t count, void* target) {
    auto& body = *static_cast<Body*>(target);
    const std::size_t total = size * count;
    const auto length = static_cast<qsizetype>(total);
    if (body.bytes.size() + length > body.most)
        return 0; // a short count ends the transfer
    body.bytes.append(data, length);
    return total;
}

void configure(CURL* handle, const QUrl& url, double timeoutSeconds, Body& body) {
    // A transfer that began safe stays safe: redirects from https lead to https only.
    const char* redirects = url.scheme() == u"https" ? "https" : "http,https";
    curl_easy_setopt(handle, CURLOPT_URL, url.toEncoded().constData());
    curl_easy_setopt(handle, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(handle, CURLOPT_REDIR_PROTOCOLS_STR, redirects);
    curl_easy_setopt(handle, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(handle, CURLOPT_MAXREDIRS, kMostRedirects);
    curl_easy_setopt(handle, CURLOPT_TIMEOUT_MS, static_cast<long>(timeoutSeconds * 1000));
    curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(handle, CURLOPT_ACCEPT_ENCODING, "");
    curl_easy_setopt(handle, CURLOPT_USERAGENT, "Merlode/" MERLODE_VERSION);
    curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, append);
    curl_easy_setopt(handle, CURLOPT_WRITEDATA, &body);
}

} // namespace

CurlHttpClient::CurlHttpClient() {
    static std::once_flag initialised;
    std::call_once(initialised, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

std::optional<QByteArray> CurlHttpClient::get(const QString& url, double timeoutSeconds, qint64 mostBytes) {
    const QUrl parsed(url, QUrl::StrictMode);
    if (!parsed.isValid() || (parsed.scheme() != u"https" && parsed.scheme() != u"http"))
        return std::nullopt;
    const std::unique_ptr<CURL, EasyDeleter> handle(curl_easy_init());
    if (!handle)
        return std::nullopt;
    Body body{{}, mostBytes};
    configure(handle.get(), parsed, timeoutSeconds, body);
    const CURLcode code = curl_easy_perform(handle.get());
    long status = 0;
    curl_easy_getinfo(handle.get(), CURLINFO_RESPONSE_CODE, &status);
    if (code == CURLE_OK && status == 200)
        return body.bytes;
    qCDebug(log) << "request to" << parsed.host() << "failed:" << curl_easy_strerror(code) << status;
    return std::nullopt;
}

} // namespace merlode
