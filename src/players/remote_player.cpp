#include "players/remote_player.h"

#include "base/session.h"
#include "model/album.h"
#include "model/pandora_item.h"
#include "model/remote_link.h"
#include "model/track.h"

#include <algorithm>

namespace merlode {

namespace {

// Thumbs, as they travel.
constexpr int kThumbDown = 1;
constexpr int kThumbUp = 2;

void sendToHost(RemoteAction action, const QVariantMap& payload = {}) {
    Session::current().port<RemoteLink>().sendMessageToHost(action, payload);
}

void sendTrack(const Track& track, MusicItemSourceType source) {
    sendToHost(RemoteAction::playTrack, {{QStringLiteral("trackDictionary"), track.trackToDictionary()},
                                         {QStringLiteral("source"), rawValue(source)}});
}

void sendAlbum(const Album& album, MusicItemSourceType source) {
    sendToHost(RemoteAction::playAlbum, {{QStringLiteral("albumDictionary"), album.albumToDictionary(false)},
                                         {QStringLiteral("source"), rawValue(source)}});
}

void sendPandora(RemoteAction action, const PandoraItem& item) {
    sendToHost(action, {{QStringLiteral("pandoraDictionary"), item.itemToDictionary()},
                        {QStringLiteral("source"), rawValue(MusicItemSourceType::Pandora)}});
}

double uptime() {
    return Session::current().runLoop().uptime();
}

} // namespace

void RemotePlayer::setRemotePlayBackState(std::uint32_t state) {
    if (position_)
        *position_ = {position_->duration, runOnPosition(), uptime()};
    remotePlayBackState_ = state;
}

void RemotePlayer::setRemotePosition(int duration, int position) {
    position_ = Position{duration, static_cast<double>(position), uptime()};
}

double RemotePlayer::runOnPosition() const {
    const double ran = remotePlayBackState_ == kPlayStatePlaying ? uptime() - position_->readAt : 0;
    return std::min(position_->position + ran, static_cast<double>(position_->duration));
}

std::optional<int> RemotePlayer::playerPosition() {
    return position_ ? std::optional(static_cast<int>(runOnPosition())) : std::nullopt;
}

std::optional<int> RemotePlayer::trackDuration() {
    return position_ ? std::optional(position_->duration) : std::nullopt;
}

std::shared_ptr<Track> RemotePlayer::getCurrentTrack() {
    Track::Details details{
        {}, remoteTrackName, remoteAlbumName, remoteArtistName, trackDuration().value_or(0), false, 0};
    const auto track = [&](ItemSourceType source, const std::optional<QString>& key, auto setKey) {
        if (!key || remoteTrackName.isEmpty())
            return Track::UnknownTrack(details);
        details.id = *key;
        auto known = Track::make(source, details);
        ((*known).*setKey)(key);
        return known;
    };
    switch (remoteSource) {
    case MusicItemSourceType::iTunes:
    case MusicItemSourceType::AppleMusic:
        return track(ItemSourceType::iTunes, remoteTrackiTunesPlayKey, &Track::setiTunesPlayKey);
    case MusicItemSourceType::Spotify:
        return track(ItemSourceType::Spotify, remoteTrackSpotifyPlayKey, &Track::setSpotifyPlayKey);
    case MusicItemSourceType::Rdio:
        return track(ItemSourceType::Rdio, remoteTrackRdioPlayKey, &Track::setRdioPlayKey);
    case MusicItemSourceType::Pandora:
        break;
    }
    return Track::UnknownTrack(details);
}

// There is no message that moves the position.
PlayerCapabilities RemotePlayer::capabilities() {
    return {.canPlay = true,
            .canPause = true,
            .canGoNext = true,
            .canGoPrevious = true,
            .canSeek = false,
            .canSetVolume = true};
}

void RemotePlayer::playpause() {
    sendToHost(RemoteAction::playPause);
}

void RemotePlayer::previousTrack() {
    sendToHost(RemoteAction::previousTrack);
}

void RemotePlayer::nextTrack() {
    sendToHost(RemoteAction::nextTrack);
}

void RemotePlayer::setSoundVolume(int volume) {
    sendToHost(RemoteAction::setVolume, {{QStringLiteral("volume"), volume}});
}

void RemotePlayer::playiTunesTrack(const Track& track) {
    sendTrack(track, MusicItemSourceType::iTunes);
}

void RemotePlayer::playSpotifyTrack(const Track& track) {
    sendTrack(track, MusicItemSourceType::Spotify);
}

void RemotePlayer::playRdioTrack(const Track& track) {
    sendTrack(track, MusicItemSourceType::Rdio);
}

void RemotePlayer::playiTunesAlbum(const Album& album) {
    sendAlbum(album, MusicItemSourceType::iTunes);
}

void RemotePlayer::playSpotifyAlbum(const Album& album) {
    sendAlbum(album, MusicItemSourceType::Spotify);
}

void RemotePlayer::playRdioAlbum(const Album& album) {
    sendAlbum(album, MusicItemSourceType::Rdio);
}

void RemotePlayer::playPandoraItem(const PandoraItem& item) {
    sendPandora(RemoteAction::playPandoraItem, item);
}

void RemotePlayer::playPandoraStation(const PandoraItem& station) {
    sendPandora(RemoteAction::playPandoraStation, station);
}

void RemotePlayer::pandoraThumbsUp() {
    sendToHost(RemoteAction::remoteThumbsPandora, {{QStringLiteral("thumb"), kThumbUp}});
}

void RemotePlayer::pandoraThumbsDown() {
    sendToHost(RemoteAction::remoteThumbsPandora, {{QStringLiteral("thumb"), kThumbDown}});
}

void RemotePlayer::updateiTunesRating(int rating) {
    sendToHost(RemoteAction::remoteiTunesRating, {{QStringLiteral("rating"), rating}});
}

} // namespace merlode
