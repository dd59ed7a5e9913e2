#include "platform/linux/mpris_mirror.h"

#include "platform/linux/mpris_metadata.h"

#include <cmath>

namespace merlode {

namespace {

constexpr double kHighestRate = 32;

const QString& positionKey() {
    static const QString key = u"Position"_qs;
    return key;
}

} // namespace

template<bool MprisMirror::*flag>
void MprisMirror::takeFlag(MprisMirror& mirror, const QVariant& value) {
    mirror.*flag = mpris::boolFrom(value).value_or(true);
}

const std::map<QString, MprisMirror::Taker>& MprisMirror::takers() {
    static const std::map<QString, Taker> table{
        {u"PlaybackStatus"_qs, &MprisMirror::takePlaybackStatus},
        {u"Metadata"_qs, &MprisMirror::takeMetadata},
        {u"Volume"_qs, &MprisMirror::takeVolume},
        {u"Rate"_qs, &MprisMirror::takeRate},
        {u"LoopStatus"_qs, &MprisMirror::takeLoopStatus},
        {u"CanControl"_qs, &MprisMirror::takeFlag<&MprisMirror::canControl_>},
        {u"CanPlay"_qs, &MprisMirror::takeFlag<&MprisMirror::canPlay_>},
        {u"CanPause"_qs, &MprisMirror::takeFlag<&MprisMirror::canPause_>},
        {u"CanGoNext"_qs, &MprisMirror::takeFlag<&MprisMirror::canGoNext_>},
        {u"CanGoPrevious"_qs, &MprisMirror::takeFlag<&MprisMirror::canGoPrevious_>},
        {u"CanSeek"_qs, &MprisMirror::takeFlag<&MprisMirror::canSeek_>},
    };
    return table;
}

template<class Apply>
MprisChange MprisMirror::change(double uptime, Apply apply) {
    const auto oldTrack = track_;
    const auto oldState = state_;
    const auto oldCapabilities = capabilities();
    const auto oldArt = artKey();
    // The stretch up to now went by under the old state and rate.
    anchor_ = position(uptime);
    anchorTime_ = uptime;
    apply();
    known_ = true;
    MprisChange change;
    change.track = track_ != oldTrack;
    change.state = state_ != oldState;
    change.capabilities = capabilities() != oldCapabilities;
    change.art = artKey() != oldArt;
    if (anchor_ && (change.track || (change.state && state_ == kPlayerStateStopped)))
        anchor_ = 0;
    if (change.track || change.state)
        lastRead_.reset();
    return change;
}

MprisArtSource MprisMirror::artSource() const {
    return {artUrl_, track_ ? track_->url.value_or(QString()) : QString()};
}

// Equal for two tracks that one picture may stand for. Where the player names none it comes from the file:
// songs of one album in one folder share theirs.
QStringList MprisMirror::artKey() const {
    const QString album = track_ ? track_->album.value_or(QString()) : QString();
    const auto source = artSource();
    if (!source.art.isEmpty())
        return {source.art, album};
    return {QString(), album,
            album.isEmpty() ? source.track : source.track.left(source.track.lastIndexOf(u'/'))};
}

MprisChange MprisMirror::replace(const QVariantMap& properties, double uptime) {
    MprisChange result = change(uptime, [&] {
        for (const auto& [key, taker] : takers())
            taker(*this, properties.value(key));
    });
    result.jump = positionRead(mpris::secondsFrom(properties.value(positionKey())), uptime);
    return result;
}

MprisChange MprisMirror::update(const QVariantMap& properties, double uptime) {
    MprisChange result = change(uptime, [&] {
        for (auto property = properties.begin(); property != properties.end(); ++property) {
            const auto taker = takers().find(property.key());
            if (taker != takers().end())
                taker->second(*this, property.value());
        }
    });
    result.moved = properties.contains(u"Metadata"_qs) || properties.contains(u"PlaybackStatus"_qs) ||
                   properties.contains(u"Rate"_qs);
    if (properties.contains(positionKey()))
        result.jump = positionRead(mpris::secondsFrom(properties.value(positionKey())), uptime);
    return result;
}

bool MprisMirror::positionRead(std::optional<double> seconds, double uptime) {
    const bool stoodStill = seconds && lastRead_ == seconds;
    const bool jump = positionAnnounced(seconds, uptime);
    lastRead_ = seconds;
    return jump && !stoodStill;
}

bool MprisMirror::positionAnnounced(std::optional<double> seconds, double uptime) {
    const auto expected = position(uptime);
    anchor_ = seconds;
    anchorTime_ = uptime;
    lastRead_.reset();
    const auto now = position(uptime);
    return expected && now && std::abs(*expected - *now) > kJumpSeconds;
}

std::optional<double> MprisMirror::position(double uptime) const {
    if (!anchor_)
        return std::nullopt;
    const double elapsed = state_ == kPlayerStatePlaying ? rate_ * std::max(0.0, uptime - anchorTime_) : 0;
    const double longest = track_ && track_->duration ? *track_->duration : mpris::kLongestSeconds;
    return std::clamp(*anchor_ + elapsed, 0.0, longest);
}

PlayerCapabilities MprisMirror::capabilities() const {
    if (!known_ || !canControl_)
        return {};
    return {.canPlay = canPlay_,
            .canPause = canPause_,
            .canGoNext = canGoNext_,
            .canGoPrevious = canGoPrevious_,
            .canSeek = canSeek_,
            .canSetVolume = volume_.has_value()};
}

void MprisMirror::takePlaybackStatus(MprisMirror& mirror, const QVariant& value) {
    const QString status = mpris::textFrom(value).value_or(QString());
    if (status == u"Playing")
        mirror.state_ = kPlayerStatePlaying;
    else if (status == u"Paused")
        mirror.state_ = kPlayerStatePaused;
    else
        mirror.state_ = status == u"Stopped" ? kPlayerStateStopped : 0;
}

void MprisMirror::takeMetadata(MprisMirror& mirror, const QVariant& value) {
    const QVariantMap metadata = mpris::mapFrom(value);
    mirror.track_ = mpris::trackFrom(metadata);
    mirror.rating_ = mpris::ratingFrom(metadata);
    mirror.artUrl_ = mpris::artUrlFrom(metadata).value_or(QString());
    mirror.trackPath_ = mpris::trackPathFrom(metadata).value_or(QString());
}

void MprisMirror::takeVolume(MprisMirror& mirror, const QVariant& value) {
    const auto volume = mpris::numberFrom(value);
    if (volume)
        mirror.volume_ = static_cast<int>(std::lround(std::clamp(*volume, 0.0, 1.0) * 100));
    else
        mirror.volume_.reset();
}

void MprisMirror::takeRate(MprisMirror& mirror, const QVariant& value) {
    const double rate = mpris::numberFrom(value).value_or(1);
    mirror.rate_ = rate >= 0 && rate <= kHighestRate ? rate : 1;
}

void MprisMirror::takeLoopStatus(MprisMirror& mirror, const QVariant& value) {
    const auto status = mpris::textFrom(value);
    mirror.repeats_ = status && (*status == u"Track" || *status == u"Playlist");
}

} // namespace merlode
