#include "platform/linux/host_pauses.h"

#include "base/run_loop.h"

#include <algorithm>

#include <curl/curl.h>

namespace merlode {

namespace {

constexpr long kTooManyRequests = 429;
constexpr long kServiceUnavailable = 503;

QString hostOf(const QUrl& url) {
    const int port = url.port(url.scheme() == u"https" ? 443 : 80);
    return QStringLiteral("%1://%2:%3").arg(url.scheme(), url.host()).arg(port);
}

} // namespace

double HostPauses::secondsOf(const QByteArray& retryAfter) const {
    const QByteArray text = retryAfter.trimmed();
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    if (!text.isEmpty() && std::ranges::all_of(text, isDigit))
        return text.toDouble(); // digits without end are a long pause too
    const auto date = curl_getdate(text.constData(), nullptr);
    return date < 0 ? 0 : static_cast<double>(date) - clock_.now();
}

void HostPauses::answered(const QUrl& url, long status, const QByteArray& retryAfter) {
    if (status != kTooManyRequests && status != kServiceUnavailable)
        return;
    const double seconds = std::min(secondsOf(retryAfter), kLongest);
    if (!(seconds > 0))
        return;
    const QString host = hostOf(url);
    const double now = clock_.uptime();
    {
        const std::lock_guard lock(mutex_);
        double& end = ends_[host];
        const bool runs = end > now;
        end = std::max(end, now + seconds);
        if (runs)
            return;
    }
    report_(QStringLiteral("%1 answered %2: nothing is asked there for %3 seconds")
                .arg(host)
                .arg(status)
                .arg(seconds, 0, 'f', 0));
}

bool HostPauses::isPaused(const QUrl& url) {
    const std::lock_guard lock(mutex_);
    const auto found = ends_.find(hostOf(url));
    if (found == ends_.end())
        return false;
    if (found->second > clock_.uptime())
        return true;
    ends_.erase(found);
    return false;
}

} // namespace merlode
