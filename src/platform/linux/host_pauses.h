#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <functional>
#include <map>
#include <mutex>

namespace merlode {

class RunLoop;

/// Remembers which hosts asked to be left alone, and until when. A host is a scheme, a name and a port. Any
/// thread.
class HostPauses {
  public:
    /// Seconds that a pause lasts at most, whatever the host asked for: a slip of a server's must not take a
    /// service away for a day.
    static constexpr double kLongest = 3600;

    /// Measures with the loop's clock. `report` is called with one line each time that a pause begins, and
    /// not when one that runs is prolonged.
    HostPauses(const RunLoop& clock, std::function<void(const QString&)> report)
        : clock_(clock), report_(std::move(report)) {}

    /// Takes note of an answer: one with the status 429 or 503 starts a pause if its "Retry-After" holds
    /// seconds or a date to come. Anything else there is ignored.
    void answered(const QUrl& url, long status, const QByteArray& retryAfter);

    /// True while requests to the host of this address are to be left out.
    bool isPaused(const QUrl& url);

  private:
    double secondsOf(const QByteArray& retryAfter) const;

    const RunLoop& clock_;
    std::function<void(const QString&)> report_;
    std::mutex mutex_;
    std::map<QString, double> ends_; // on the loop's uptime()
};

} // namespace merlode
