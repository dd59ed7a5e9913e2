// The client's side: what the server of this machine tells, taken into the remote player and shown.

#include "base/notification_names.h"
#include "base/session.h"
#include "model/artwork.h"
#include "players/player_controller.h"
#include "players/remote_player.h"
#include "players/remote_state.h"

namespace merlode {

namespace {

// Takes the server's services over; true when they were others before.
bool takeAvailability(RemotePlayer& player, const remotestate::Availability& available) {
    const remotestate::Availability before{player.iTunesAvailable, player.spotifyAvailable,
                                           player.rdioAvailable, player.pandoraAvailable};
    player.iTunesAvailable = available[0];
    player.spotifyAvailable = available[1];
    player.rdioAvailable = available[2];
    player.pandoraAvailable = available[3];
    return before != available;
}

void takeTrack(RemotePlayer& player, const remotestate::TrackState& state) {
    player.remoteTrackName = state.trackName;
    player.remoteAlbumName = state.albumName;
    player.remoteArtistName = state.artistName;
    if (state.source) {
        const bool appleMusic = state.source == MusicItemSourceType::AppleMusic;
        player.remoteSource = appleMusic ? MusicItemSourceType::iTunes : *state.source;
    }
    player.remoteTrackiTunesPlayKey = state.iTunesPlayKey;
    player.remoteTrackRdioPlayKey = state.rdioPlayKey;
    player.remoteTrackSpotifyPlayKey = state.spotifyPlayKey;
}

} // namespace

void PlayerController::setRemotePlayer(std::shared_ptr<RemotePlayer> player) {
    remotePlayer_ = std::move(player);
    hasRemotePlayer_ = remotePlayer_ != nullptr;
}

void PlayerController::observeCurrentServerName(const QString& name) {
    if (!name.isEmpty()) {
        if (!remotePlayer_)
            setRemotePlayer(std::make_shared<RemotePlayer>());
        return switchToPlayer(remotePlayer_);
    }
    setRemotePlayer(nullptr);
    if (activeIs(MusicPlayerType::Remote))
        setActivePlayer(nullptr);
}

std::shared_ptr<RemotePlayer> PlayerController::activeRemotePlayer() const {
    if (!activeIs(MusicPlayerType::Remote))
        return nullptr;
    return std::static_pointer_cast<RemotePlayer>(activePlayer());
}

void PlayerController::remoteStateChange(const QVariantMap& message) {
    const auto player = activeRemotePlayer();
    const auto state = remotestate::trackState(message);
    if (!player || !state)
        return;
    takeTrack(*player, *state);
    const bool otherSources = takeAvailability(*player, state->available);
    setPandoraStationName(state->pandoraStationName);
    if (otherSources)
        post(notifications::kAvailableSourcesChanged);
    remoteClientName = state->clientName;
    if (state->position)
        remotePositionRead(*player, *state->position);
    updateTrackInfo();
    updateAlbumArt(false);
    if (state->rating)
        post(notifications::kITunesRatingUpdated, {{QStringLiteral("rating"), *state->rating}});
}

void PlayerController::remotePlayBackStateChanged(const QVariantMap& message) {
    const auto player = activeRemotePlayer();
    const auto state = remotestate::integer(message, QStringLiteral("state"));
    if (!player || !state)
        return;
    player->setRemotePlayBackState(*state == 0 ? kPlayStatePlaying : kPlayStateNotPlaying);
    if (const auto position = remotestate::position(message))
        remotePositionRead(*player, *position);
    updatePlayState(false);
}

void PlayerController::remotePlayerPositionUpdate(const QVariantMap& message) {
    const auto player = activeRemotePlayer();
    const auto position = remotestate::position(message);
    if (player && position)
        remotePositionRead(*player, *position);
}

void PlayerController::remotePositionRead(RemotePlayer& player, const remotestate::Position& read) {
    player.setRemotePosition(read.duration, read.position);
    agreeOnPosition(read.duration, read.position);
}

void PlayerController::remoteVolumeChanged(const QVariantMap& message) {
    const auto volume = remotestate::integer(message, QStringLiteral("volume"));
    if (!volume)
        return;
    const auto player = activeRemotePlayer();
    if (!player)
        return setVolume(*volume);
    player->remoteVolume = std::clamp(*volume, 0, 100);
    currentVolume = player->remoteVolume;
    muted = muted && currentVolume == 0;
    updateVolume();
}

void PlayerController::remoteAlbumArtChanged(const QVariantMap& message) {
    const auto player = activeRemotePlayer();
    const auto useDefault = remotestate::flag(message, QStringLiteral("useDefault"));
    const QVariant data = message.value(QStringLiteral("imageData"));
    if (!player || !useDefault || (!*useDefault && data.typeId() != QMetaType::QByteArray))
        return;
    artCourier_.forgetDecoding();
    if (*useDefault) {
        player->remoteTrackAlbumArt = std::nullopt;
        return showPlaceholderArt();
    }
    artCourier_.decode(data.toByteArray(), [this](const std::optional<Image>& image) {
        const auto host = activeRemotePlayer();
        if (!host)
            return;
        host->remoteTrackAlbumArt = image;
        currentAlbumArt_.set(image.value_or(sSharedAlbumArtworkImage())); // a broken picture counts as none
    });
}

void PlayerController::remoteSourceChanged(const QVariantMap& message) {
    const auto player = activeRemotePlayer();
    const auto available = remotestate::availability(message);
    if (!player || !available)
        return;
    takeAvailability(*player, *available);
    updateAll();
    post(notifications::kAvailableSourcesChanged);
}

} // namespace merlode
