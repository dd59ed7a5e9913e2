#pragma once

#include "players/player_type.h"

#include <QString>

namespace merlode {

/// Where the playing track stands. Asking a player costs time, so the clock runs by itself and is corrected
/// now and then. A plain value; somebody else has the timer.
class PositionClock {
  public:
    double position() const { return position_; } ///< seconds
    double duration() const { return duration_; } ///< seconds
    TrackPositionDisplayType displayType() const { return displayType_; }
    void toggleDisplayType();

    /// Lets time pass. The position stays at the duration until something else is read.
    void advance(double seconds);

    /// Nothing plays any more; the way of showing stays.
    void reset() { position_ = duration_ = 0; }

    /// The user has moved the position.
    void moveTo(double position) { position_ = position; }

    /// Compares the clock with what a player tells. Another duration means another track, and both values are
    /// taken over. Otherwise the position is taken over only when it is more than `tolerance` whole seconds
    /// off, so that the display does not jitter. True when something was taken over.
    bool correct(int duration, int position, int tolerance);

    /// Minutes and seconds, two digits each at least: "01:05". What remains carries a minus sign.
    QString text() const;

  private:
    double position_ = 0;
    double duration_ = 0;
    TrackPositionDisplayType displayType_ = TrackPositionDisplayType::Ellapsed;
};

} // namespace merlode
