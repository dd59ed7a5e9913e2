// The client's side: what the server of this machine tells, taken into the remote player and shown.

#include "base/notification_names.h"
#include "base/session.h"
#include "model/artwork.h"
#include "model/queues.h"
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
    if (!activeRemotePlayer())
        return;
    const auto useDefault = remotestate::flag(message, QStringLiteral("useDefault"));
    const QVariant data = message.value(QStringLiteral("imageData"));
    if (!useDefault || (!*useDefault && data.typeId() != QMetaType::QByteArray))
        return;
    const auto ticket = ++remoteArtTicket_;
    if (*useDefault)
        return showPlaceholderArt();
    kImageDownloadQueue().async(
        [this, weak = std::weak_ptr(alive_), &loop = session_.runLoop(), bytes = data.toByteArray(), ticket] {
            // A broken picture counts as none.
            const auto image = Image::decode(bytes).value_or(sSharedAlbumArtworkImage());
            loop.async([this, weak, image, ticket] {
                if (weak.lock() && ticket == remoteArtTicket_ && activeRemotePlayer())
                    currentAlbumArt_.set(image);
            });
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
