#include "players/position_clock.h"

#include <algorithm>
#include <cstdlib>

namespace merlode {

void PositionClock::toggleDisplayType() {
    using enum TrackPositionDisplayType;
    displayType_ = displayType_ == Ellapsed ? Remaining : Ellapsed;
}

void PositionClock::advance(double seconds) {
    position_ = std::min(position_ + seconds, duration_);
}

bool PositionClock::correct(int duration, int position, int tolerance) {
    const bool otherTrack = duration_ != duration;
    if (!otherTrack && std::abs(static_cast<int>(position_) - position) <= tolerance)
        return false;
    duration_ = duration;
    position_ = position;
    return true;
}

QString PositionClock::text() const {
    const bool remaining = displayType_ == TrackPositionDisplayType::Remaining;
    const int seconds = std::max(0, static_cast<int>(remaining ? duration_ - position_ : position_));
    return QStringLiteral("%1%2:%3")
        .arg(remaining ? QStringLiteral("-") : QString())
        .arg(seconds / 60, 2, 10, QLatin1Char('0'))
        .arg(seconds % 60, 2, 10, QLatin1Char('0'));
}

} // namespace merlode
