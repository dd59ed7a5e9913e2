#pragma once

#include "platform/linux/mpris_art.h"
#include "platform/scripted_player.h"

#include <QString>
#include <QVariantMap>

#include <cstdint>
#include <optional>

namespace merlode {

/// What news from a player changed in its mirror.
struct MprisChange {
    bool track = false;
    bool state = false;
    bool jump = false; ///< the position is more than `MprisMirror::kJumpSeconds` from where it was expected
    bool capabilities = false;
    bool art = false;   ///< where the art is found, or the album that it belongs to
    bool moved = false; ///< something in the news can have moved the position

    /// True where the player's owner has to hear of it.
    bool matters() const { return track || state || jump || capabilities; }
};

/// The properties of an MPRIS player as it last told them, with its position carried on by the clock: MPRIS
/// never announces the position's steady advance. Missing and malformed properties read as absent. Times are
/// `RunLoop::uptime` in seconds.
class MprisMirror {
  public:
    static constexpr double kJumpSeconds = 1.0;

    /// Takes all properties: what `properties` lacks, the player no longer has.
    MprisChange replace(const QVariantMap& properties, double uptime);

    /// Takes the properties that a player announced as changed.
    MprisChange update(const QVariantMap& properties, double uptime);

    /// Takes a position that the player announced or was told to go to, in seconds. True for a jump.
    bool positionAnnounced(std::optional<double> seconds, double uptime);

    /// Takes a position that was asked for, in seconds; absent where the player would not tell it. True for a
    /// jump. The very value of the last time is none: a player that buffers or keeps no clock stands still.
    bool positionRead(std::optional<double> seconds, double uptime);

    std::uint32_t state() const { return state_; }
    const std::optional<ScriptedTrack>& track() const { return track_; }
    /// Between 0 and the track's duration.
    std::optional<double> position(double uptime) const;
    std::optional<int> volume() const { return volume_; }
    /// Assumes what the player was just told to take on, so that the next read does not give the old volume.
    void assumeVolume(int volume) { volume_ = volume; }
    std::optional<int> rating() const { return rating_; }
    PlayerCapabilities capabilities() const;
    /// True where the player would begin again after the last track, or repeat one.
    bool repeats() const { return repeats_; }
    MprisArtSource artSource() const;
    /// The object path by which the player knows its track; empty where it gave none.
    const QString& trackPath() const { return trackPath_; }

  private:
    using Taker = void (*)(MprisMirror&, const QVariant&);
    static const std::map<QString, Taker>& takers();
    template<bool MprisMirror::*flag>
    static void takeFlag(MprisMirror& mirror, const QVariant& value);
    static void takePlaybackStatus(MprisMirror& mirror, const QVariant& value);
    static void takeMetadata(MprisMirror& mirror, const QVariant& value);
    static void takeVolume(MprisMirror& mirror, const QVariant& value);
    static void takeRate(MprisMirror& mirror, const QVariant& value);
    static void takeLoopStatus(MprisMirror& mirror, const QVariant& value);

    template<class Apply>
    MprisChange change(double uptime, Apply apply);
    QStringList artKey() const;

    bool known_ = false;
    std::uint32_t state_ = 0;
    std::optional<ScriptedTrack> track_;
    std::optional<int> volume_;
    std::optional<int> rating_;
    double rate_ = 1;
    bool repeats_ = false;
    // A player that leaves a capability out is tried; one that denies it is believed.
    bool canControl_ = true;
    bool canPlay_ = true;
    bool canPause_ = true;
    bool canGoNext_ = true;
    bool canGoPrevious_ = true;
    bool canSeek_ = true;
    QString artUrl_;
    QString trackPath_;
    std::optional<double> anchor_; // the position at anchorTime_
    double anchorTime_ = 0;
    std::optional<double> lastRead_;
};

} // namespace merlode
