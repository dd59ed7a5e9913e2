#include "platform/linux/curl_transfer.h"

#include <algorithm>

namespace merlode {

namespace {

constexpr long kMostRedirects = 5;
constexpr double kConnectSeconds = 10;
constexpr double kLongestSeconds = 3600;

bool isWeb(const QUrl& url) {
    return url.isValid() && !url.host().isEmpty() && (url.scheme() == u"https" || url.scheme() == u"http");
}

// To libcurl 0 means for ever.
long milliseconds(double seconds) {
    const double sane = seconds > 0 ? std::min(seconds, kLongestSeconds) : 0;
    return std::max(1L, static_cast<long>(sane * 1000));
}

bool isLoopback(const QUrl& url) {
    const QString host = url.host();
    return host == u"localhost" || host == u"127.0.0.1" || host == u"::1";
}

} // namespace

std::unique_ptr<CurlTransfer> CurlTransfer::make(const HttpRequest& request, const QUrl& url) {
    if (!isWeb(url))
        return nullptr;
    std::unique_ptr<CurlTransfer> transfer(new CurlTransfer);
    if (!transfer->handle_)
        return nullptr;
    for (const auto& [name, value] : request.headers) {
        if (!transfer->addHeader(name, value))
            return nullptr;
    }
    transfer->configure(request, url);
    return transfer;
}

// A line break would let whoever supplied the text write headers of his own. The length of the body is
// libcurl's to tell.
bool CurlTransfer::addHeader(const QByteArray& name, const QByteArray& value) {
    const auto breaks = [](char c) { return c == '\r' || c == '\n' || c == '\0'; };
    if (name.isEmpty() || name.contains(':') || std::ranges::any_of(name + value, breaks))
        return false;
    if (name.compare("Content-Length", Qt::CaseInsensitive) == 0)
        return true;
    const QByteArray line = value.isEmpty() ? name + ';' : name + ": " + value;
    curl_slist* longer = curl_slist_append(headers_.get(), line.constData());
    if (!longer)
        return false;
    (void)headers_.release();
    headers_.reset(longer);
    return true;
}

void CurlTransfer::configure(const HttpRequest& request, const QUrl& url) {
    mostBytes_ = request.mostBytes;
    auto* handle = handle_.get();
    // A transfer that began safe stays safe: redirects from https lead to https only.
    const char* redirects = url.scheme() == u"https" ? "https" : "http,https";
    curl_easy_setopt(handle, CURLOPT_URL, url.toEncoded().constData());
    curl_easy_setopt(handle, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(handle, CURLOPT_REDIR_PROTOCOLS_STR, redirects);
    curl_easy_setopt(handle, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(handle, CURLOPT_MAXREDIRS, kMostRedirects);
    curl_easy_setopt(handle, CURLOPT_TIMEOUT_MS, milliseconds(request.timeoutSeconds));
    curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT_MS, milliseconds(kConnectSeconds));
    curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
    // A name that is still being looked up is left behind and not waited for: the thread serves others too.
    curl_easy_setopt(handle, CURLOPT_QUICK_EXIT, 1L);
    curl_easy_setopt(handle, CURLOPT_ACCEPT_ENCODING, "");
    curl_easy_setopt(handle, CURLOPT_USERAGENT, "Merlode/" MERLODE_VERSION);
    curl_easy_setopt(handle, CURLOPT_HTTPHEADER, headers_.get());
    curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, append);
    curl_easy_setopt(handle, CURLOPT_WRITEDATA, this);
    curl_easy_setopt(handle, CURLOPT_PRIVATE, this);
    if (isLoopback(url)) // a proxy out there cannot know this machine's own services
        curl_easy_setopt(handle, CURLOPT_PROXY, "");
    if (request.method == HttpRequest::Method::Post) {
        curl_easy_setopt(handle, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request.body.size()));
        curl_easy_setopt(handle, CURLOPT_COPYPOSTFIELDS, request.body.constData());
    }
}

std::size_t CurlTransfer::append(const char* data, std::size_t size, std::size_t count, void* transfer) {
    auto& self = *static_cast<CurlTransfer*>(transfer);
    const std::size_t total = size * count;
    const auto length = static_cast<qsizetype>(total);
    if (self.body_.size() + length > self.mostBytes_)
        return 0; // a short count ends the transfer
    self.body_.append(data, length);
    return total;
}

long CurlTransfer::status() const {
    long status = 0;
    curl_easy_getinfo(handle_.get(), CURLINFO_RESPONSE_CODE, &status);
    return status;
}

QUrl CurlTransfer::finalUrl() const {
    const char* url = nullptr;
    curl_easy_getinfo(handle_.get(), CURLINFO_EFFECTIVE_URL, &url);
    return QUrl(QString::fromUtf8(url));
}

QByteArray CurlTransfer::header(const char* name) const {
    curl_header* found = nullptr;
    if (curl_easy_header(handle_.get(), name, 0, CURLH_HEADER, -1, &found) != CURLHE_OK)
        return {};
    return found->value;
}

} // namespace merlode
