#include "support/fake_http.h"

#include "support/virtual_run_loop.h"

#include <algorithm>

namespace merlode {

void FakeHttp::route(const QString& prefix, const QByteArray& body) {
    const std::lock_guard lock(mutex_);
    routes_[prefix] = body;
}

void FakeHttp::fail(const QString& prefix) {
    const std::lock_guard lock(mutex_);
    routes_[prefix] = std::nullopt;
}

std::vector<FakeHttp::Request> FakeHttp::requests() const {
    const std::lock_guard lock(mutex_);
    return requests_;
}

std::optional<QByteArray> FakeHttp::get(const QString& url, double timeoutSeconds, qint64 mostBytes) {
    {
        const std::lock_guard lock(mutex_);
        requests_.push_back({url, timeoutSeconds, mostBytes});
    }
    if (loop_)
        loop_->advance(std::min(latency_, timeoutSeconds));
    if (latency_ > timeoutSeconds)
        return std::nullopt;
    auto body = answer(url);
    if (body && body->size() > mostBytes)
        return std::nullopt;
    return body;
}

std::optional<QByteArray> FakeHttp::answer(const QString& url) const {
    const std::lock_guard lock(mutex_);
    const std::optional<QByteArray>* found = nullptr;
    // Prefixes of one address sort by length, so the last that fits is the longest.
    for (const auto& [prefix, body] : routes_) {
        if (url.startsWith(prefix))
            found = &body;
    }
    return found ? *found : std::nullopt;
}

} // namespace merlode
