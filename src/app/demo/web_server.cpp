#include "app/demo/web_server.h"

#include <QUrl>

#include <algorithm>
#include <chrono>
#include <cstring>

#include <arpa/inet.h>
#include <microhttpd.h>
#include <netinet/in.h>

namespace merlode {

namespace {

constexpr unsigned kMostConnections = 64;
constexpr unsigned kMostSilentSeconds = 30;
constexpr std::size_t kConnectionMemory = 32 * 1024;
constexpr std::size_t kPieceBytes = 16 * 1024;
constexpr int kPiecesOfSlowBody = 20;

MHD_Result addQueryField(void* request, MHD_ValueKind, const char* key, const char* value) {
    static_cast<WebRequest*>(request)->fields.insert(QString::fromUtf8(key), QString::fromUtf8(value));
    return MHD_YES;
}

MHD_Result addHeader(void* request, MHD_ValueKind, const char* key, const char* value) {
    static_cast<WebRequest*>(request)->headers.insert(QByteArray(key).toLower(), value);
    return MHD_YES;
}

// Clients send their forms with and without percent-encoding.
void addFormFields(WebRequest& request) {
    for (const auto& pair : request.body.split('&')) {
        const auto split = pair.indexOf('=');
        const auto decoded = [](QByteArray text) {
            return QUrl::fromPercentEncoding(text.replace('+', ' '));
        };
        if (split > 0)
            request.fields.insert(decoded(pair.left(split)), decoded(pair.mid(split + 1)));
    }
}

sockaddr_in loopback() {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

} // namespace

/// A body on its way out.
struct WebServer::Outgoing {
    WebServer& server;
    WebAnswer answer;

    ssize_t read(std::size_t position, char* buffer, std::size_t room) {
        const auto size = static_cast<std::size_t>(answer.body.size());
        const auto end =
            std::min(size, static_cast<std::size_t>(answer.breakOff.value_or(answer.body.size())));
        if (position >= end)
            return MHD_CONTENT_READER_END_WITH_ERROR; // only reached when the body is broken off
        const bool slow = answer.duration > 0;
        if (slow && !server.pause(answer.duration / kPiecesOfSlowBody))
            return MHD_CONTENT_READER_END_WITH_ERROR;
        const auto piece = slow ? size / kPiecesOfSlowBody + 1 : kPieceBytes;
        const auto count = std::min({room, end - position, piece});
        std::memcpy(buffer, answer.body.constData() + position, count);
        return static_cast<ssize_t>(count);
    }
};

/// What the library calls.
struct WebServerCallbacks {
    static MHD_Result handle(void* server, MHD_Connection* connection, const char* path, const char* method,
                             const char*, const char* data, std::size_t* size, void** state) {
        auto& self = *static_cast<WebServer*>(server);
        if (!*state) {
            *state = new WebRequest{.method = method, .path = QString::fromUtf8(path)};
            return MHD_YES;
        }
        auto& request = *static_cast<WebRequest*>(*state);
        const auto length = std::exchange(*size, 0);
        if (length == 0)
            return self.answer(request, connection) ? MHD_YES : MHD_NO;
        if (static_cast<std::size_t>(request.body.size()) + length > WebServer::kMostBodyBytes)
            return MHD_NO;
        request.body.append(data, static_cast<qsizetype>(length));
        return MHD_YES;
    }

    static void completed(void*, MHD_Connection*, void** state, MHD_RequestTerminationCode) {
        delete static_cast<WebRequest*>(*state);
        *state = nullptr;
    }

    static void connected(void* server, MHD_Connection*, void**, MHD_ConnectionNotificationCode code) {
        if (code == MHD_CONNECTION_NOTIFY_STARTED)
            ++static_cast<WebServer*>(server)->connections_;
    }

    static ssize_t readBody(void* outgoing, std::uint64_t position, char* buffer, std::size_t room) {
        return static_cast<WebServer::Outgoing*>(outgoing)->read(position, buffer, room);
    }

    static void freeBody(void* outgoing) { delete static_cast<WebServer::Outgoing*>(outgoing); }

    static MHD_Daemon* start(WebServer* server) {
        const auto address = loopback();
        return MHD_start_daemon(
            MHD_USE_INTERNAL_POLLING_THREAD | MHD_USE_THREAD_PER_CONNECTION | MHD_USE_POLL, 0, nullptr,
            nullptr, &handle, server, MHD_OPTION_SOCK_ADDR, &address, MHD_OPTION_CONNECTION_LIMIT,
            kMostConnections, MHD_OPTION_CONNECTION_TIMEOUT, kMostSilentSeconds,
            MHD_OPTION_CONNECTION_MEMORY_LIMIT, kConnectionMemory, MHD_OPTION_NOTIFY_CONNECTION, &connected,
            server, MHD_OPTION_NOTIFY_COMPLETED, &completed, server, MHD_OPTION_END);
    }
};

WebServer::WebServer(Handler handler)
    : handler_(std::move(handler)), daemon_(WebServerCallbacks::start(this)) {
    const auto* info = daemon_ ? MHD_get_daemon_info(daemon_, MHD_DAEMON_INFO_BIND_PORT) : nullptr;
    const std::lock_guard lock(mutex_); // somebody may have found the port already
    if (info)
        address_ = QStringLiteral("http://127.0.0.1:%1").arg(info->port);
}

WebServer::~WebServer() {
    {
        const std::lock_guard lock(mutex_);
        ends_ = true;
    }
    ending_.notify_all();
    if (daemon_)
        MHD_stop_daemon(daemon_);
}

QString WebServer::address() const {
    const std::lock_guard lock(mutex_);
    return address_;
}

bool WebServer::pause(double seconds) {
    std::unique_lock lock(mutex_);
    return !ending_.wait_for(lock, std::chrono::duration<double>(seconds), [this] { return ends_; });
}

bool WebServer::answer(WebRequest& request, MHD_Connection* connection) {
    MHD_get_connection_values(connection, MHD_GET_ARGUMENT_KIND, addQueryField, &request);
    MHD_get_connection_values(connection, MHD_HEADER_KIND, addHeader, &request);
    addFormFields(request);
    std::unique_ptr<Outgoing> outgoing(new Outgoing{*this, handler_(request)});
    const auto& answer = outgoing->answer;
    if (!pause(answer.latency))
        return false;
    auto* response = MHD_create_response_from_callback(static_cast<std::uint64_t>(answer.body.size()),
                                                       kPieceBytes, &WebServerCallbacks::readBody,
                                                       outgoing.get(), &WebServerCallbacks::freeBody);
    if (!response)
        return false;
    (void)outgoing.release(); // lives as long as the response
    MHD_add_response_header(response, MHD_HTTP_HEADER_CONTENT_TYPE, answer.type.constData());
    for (const auto& [name, value] : answer.headers)
        MHD_add_response_header(response, name.constData(), value.constData());
    const auto sent = MHD_queue_response(connection, static_cast<unsigned>(answer.status), response);
    MHD_destroy_response(response);
    return sent == MHD_YES;
}

} // namespace merlode
