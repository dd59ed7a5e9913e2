#include "app/status_publisher.h"

#include "base/control_interface.h"
#include "base/notification_names.h"

#include <cmath>

namespace merlode {

namespace {

QVariantMap withoutPosition(QVariantMap status) {
    status.remove(QString::fromLatin1(control::status::kPosition));
    return status;
}

std::optional<double> positionIn(const QVariantMap& status) {
    const auto found = status.constFind(QString::fromLatin1(control::status::kPosition));
    return found == status.constEnd() ? std::nullopt : std::optional(found->toDouble());
}

bool plays(const QVariantMap& status) {
    return status.value(QString::fromLatin1(control::status::kState)) == QVariant(QStringLiteral("playing"));
}

} // namespace

StatusPublisher::StatusPublisher(Session& session, std::function<QVariantMap()> read)
    : session_(session), read_(std::move(read)) {
    for (const auto name :
         {notifications::kNewTrackInfoAvailable, notifications::kNewPlayStateAvailable,
          notifications::kNewVolumeInfoAvailable, notifications::kTrackPositionUpdated,
          notifications::kServerConnectionChanged, notifications::kRemoteClientHostNameUpdated,
          notifications::kSocketServerStateChanged})
        observations_.push_back(
            session_.notificationCenter().addObserver(name, [this](const auto&) { schedule(); }));
}

void StatusPublisher::schedule() {
    // One intake posts several notifications: all of them are told together, at the end of this very pass.
    if (!scheduled_)
        scheduled_ = session_.runLoop().after(0, [this] { publish(); });
}

void StatusPublisher::publish() {
    scheduled_.reset();
    // Whoever waits for a change to show comes first; what the others send costs a turn of the bus.
    publishStatus();
    for (const auto& listener : batchListeners_)
        listener();
}

QVariantMap StatusPublisher::publishStatus() {
    QVariantMap status = read_();
    if (published_ && withoutPosition(*published_) == withoutPosition(status) && !positionJumped(status))
        return status;
    published_ = status;
    publishedAt_ = session_.runLoop().uptime();
    for (const auto& listener : listeners_)
        listener(status);
    return status;
}

bool StatusPublisher::positionJumped(const QVariantMap& status) const {
    const auto before = positionIn(*published_);
    const auto now = positionIn(status);
    if (!before || !now)
        return before.has_value() != now.has_value();
    const double ran = plays(*published_) ? session_.runLoop().uptime() - publishedAt_ : 0;
    return std::abs(*before + ran - *now) > kPositionJump;
}

} // namespace merlode
