#pragma once

#include "app/demo/service_answers.h"

#include <deque>
#include <map>

namespace merlode {

/// What a service can do wrong.
struct ServiceFault {
    double latency = 0;      ///< seconds until it answers
    double duration = 0;     ///< seconds that the body takes
    int status = 0;          ///< answered in place of what was asked for; 0 for its own
    QByteArray retryAfter{}; ///< this header, as it stands
    bool brokenOff = false;  ///< the connection is cut in the middle of the body
    bool garbage = false;    ///< a body that is neither text nor a picture
};

/// The web services that the program asks (Spotify, iTunes, Last.fm, Rdio, Pandora, and the pictures), all on
/// one server on this machine, with the demo's library and some more on offer. The demo runs on it, and so do
/// tests, which can have it misbehave:
///
///     GET /control/fault?prefix=/v1/&latency=2&status=429&retryAfter=30&brokenOff=1&garbage=1
///     GET /control/clear                  no faults from now on
///     GET /control/counts?prefix=/v1/     {"requests": 3, "connections": 1}
///
/// A fault holds for the paths with its prefix; of several the longest prefix counts. Any thread.
class DemoServices {
  public:
    /// How many requests are remembered: enough for any test, and not too many for a demo that runs all day.
    static constexpr std::size_t kMostRemembered = 1000;

    /// With the secret that the program shares with Last.fm, signatures are checked.
    explicit DemoServices(QString lastFMSecret = {});

    /// The base address of every service; empty where the server could not be started.
    QString address() const { return server_.address(); }

    void setFault(const QString& prefix, const ServiceFault& fault);
    void clearFaults();

    /// The latest requests with this prefix, in their order, and the connections opened so far. Control
    /// requests do not count.
    std::vector<WebRequest> requests(const QString& prefix = {}) const;
    int connections() const { return server_.connections(); }

    /// The reports of what was played that were accepted as Last.fm.
    std::vector<WebRequest> lastFMReports() const { return lastFM_.reports(); }

  private:
    WebAnswer answer(const WebRequest& request);
    WebAnswer control(const WebRequest& request);
    WebAnswer serve(const WebRequest& request);
    ServiceFault faultOf(const QString& path) const;

    LastFMService lastFM_;
    RdioService rdio_;
    mutable std::mutex mutex_;
    std::map<QString, ServiceFault> faults_;
    std::deque<WebRequest> requests_;
    WebServer server_; // last: its threads use the others
};

} // namespace merlode
