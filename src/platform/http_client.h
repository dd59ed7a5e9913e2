#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace merlode {

/// Web requests. Blocking calls belong on a dispatch queue and never on the main thread.
class HttpClient {
  public:
    virtual ~HttpClient() = default;

    /// Most bytes of a picture that are accepted.
    static constexpr qint64 kMostPictureBytes = 32 * 1024 * 1024;

    /// Fetches an http or https address. Nothing when the address is of another kind or malformed, when it
    /// fails, takes longer than `timeoutSeconds`, answers other than 200, or sends more than `mostBytes`.
    /// Any thread.
    virtual std::optional<QByteArray> get(const QString& url, double timeoutSeconds, qint64 mostBytes) = 0;
};

} // namespace merlode
