#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

struct MHD_Connection;
struct MHD_Daemon;
struct MHD_Response;

namespace merlode {

/// A request as it came in.
struct WebRequest {
    QByteArray method;
    QString path;                           ///< decoded, without the query
    QMap<QString, QString> fields{};        ///< of the query and of the body, read as a form
    QMap<QByteArray, QByteArray> headers{}; ///< names in lower case
    QByteArray body{};
};

/// What is answered, and how badly.
struct WebAnswer {
    int status = 200;
    QByteArray type = "application/json; charset=utf-8";
    QByteArray body{};
    std::vector<std::pair<QByteArray, QByteArray>> headers{};

    double latency = 0;                  ///< seconds until anything is sent
    double duration = 0;                 ///< seconds that the body takes on its way
    std::optional<qsizetype> breakOff{}; ///< bytes of the body after which the connection is cut
};

/// A web server for this machine alone: HTTP/1.1 on 127.0.0.1, at a port that the system chooses. Every
/// connection has a thread, so that answers may take their time. Out of its bounds (headers of 32 KB, bodies
/// of 16 KB, 64 connections, half a minute of silence) it closes the connection.
class WebServer {
  public:
    static constexpr std::size_t kMostBodyBytes = 16 * 1024;

    /// Called from many threads at once; must not throw.
    using Handler = std::function<WebAnswer(const WebRequest&)>;

    explicit WebServer(Handler handler);
    /// Cuts what is under way; waits for calls of the handler.
    ~WebServer();
    WebServer(const WebServer&) = delete;
    WebServer& operator=(const WebServer&) = delete;

    /// "http://127.0.0.1:PORT"; empty where no server could be started.
    QString address() const;

    /// Connections that were opened so far. Any thread.
    int connections() const { return connections_; }

  private:
    friend struct WebServerCallbacks;
    struct Outgoing;

    /// False when the server ends meanwhile.
    bool pause(double seconds);
    bool answer(WebRequest& request, MHD_Connection* connection);

    Handler handler_;
    std::atomic<int> connections_ = 0;
    mutable std::mutex mutex_;
    std::condition_variable ending_;
    bool ends_ = false;
    QString address_;
    MHD_Daemon* daemon_ = nullptr; // last: its threads use the others
};

} // namespace merlode
