#pragma once

#include "platform/http_client.h"

#include <QUrl>

#include <memory>

#include <curl/curl.h>

namespace merlode {

/// One request as libcurl sees it, and what came back. It stays where it is: libcurl keeps its address. Used
/// by one thread at a time.
class CurlTransfer {
  public:
    /// Null for a request that cannot be sent as it stands: an address that is malformed or of another kind,
    /// a header with a line break.
    static std::unique_ptr<CurlTransfer> make(const HttpRequest& request, const QUrl& url);
    CurlTransfer(const CurlTransfer&) = delete;
    CurlTransfer& operator=(const CurlTransfer&) = delete;

    CURL* handle() const { return handle_.get(); }

    /// Of the answer, after redirects; 0 and nothing where there was none.
    long status() const;
    /// Where the answer came from in the end.
    QUrl finalUrl() const;
    QByteArray header(const char* name) const;

    /// The body. Only whole once libcurl says so.
    QByteArray takeBody() { return std::move(body_); }

  private:
    struct HandleDeleter {
        void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
    };
    struct ListDeleter {
        void operator()(curl_slist* list) const { curl_slist_free_all(list); }
    };

    CurlTransfer() : handle_(curl_easy_init()) {}
    void configure(const HttpRequest& request, const QUrl& url);
    bool addHeader(const QByteArray& name, const QByteArray& value);
    static std::size_t append(const char* data, std::size_t size, std::size_t count, void* transfer);

    QByteArray body_;
    qint64 mostBytes_ = 0;
    std::unique_ptr<curl_slist, ListDeleter> headers_;
    std::unique_ptr<CURL, HandleDeleter> handle_; // last: it uses the others
};

} // namespace merlode
