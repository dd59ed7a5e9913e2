// What only one kind of player has: Pandora's page, which announces nothing and is polled, its stations and
// thumbs, and the stars of the local library.

#include "base/notification_names.h"
#include "base/session.h"
#include "model/remote_link.h"
#include "model/track.h"
#include "players/local_players.h"
#include "players/pandora_player.h"
#include "players/player_controller.h"
#include "players/remote_player.h"

namespace merlode {

void PlayerController::startPandoraPolling() {
    if (!timersKilled_)
        pandoraTimer_ = session_.runLoop().every(kPandoraPollInterval, [this] { checkPandoraState(); });
}

void PlayerController::checkPandoraState() {
    if (activePlayer() && activePlayer()->getPlayState() != currentPlayState())
        updatePlayState(false);
    const auto player = pandoraPlayer();
    if (!player)
        return;
    const auto track = player->getCurrentTrack();
    const auto shown = currentTrack();
    if (track && (!shown || track->name() != shown->name() || track->artistName() != shown->artistName())) {
        updateTrackInfo();
        updateAlbumArt(false);
    }
    if (const int volume = player->getSoundVolume(); volume != currentVolume) {
        currentVolume = volume;
        updateVolume();
    }
    if (const auto station = player->getStationName(); station && station != pandoraStationName) {
        setPandoraStationName(station);
        remoteLink_.broadcastMessage(RemoteAction::pandoraStationNameUpdated,
                                     {{QStringLiteral("pandoraStationName"), *station}});
    }
    updatePandoraThumbs();
}

void PlayerController::setPandoraStationName(const std::optional<QString>& name) {
    pandoraStationName = name;
    post(notifications::kNewPandoraStationAvailable);
}

void PlayerController::updatePandoraThumbs() {
    if (!activeIs(MusicPlayerType::Pandora))
        return;
    const int thumb = static_cast<PandoraPlayer&>(*activePlayer()).thumbType();
    if (thumb == pandoraThumb)
        return;
    pandoraThumb = thumb;
    post(notifications::kPandoraThumbsUpdated, {{QStringLiteral("thumbType"), thumb}});
    remoteLink_.broadcastMessage(RemoteAction::pandoraThumbsUpdated, {{QStringLiteral("thumb"), thumb}});
}

void PlayerController::setPandoraThumbsUp() {
    if (activeIs(MusicPlayerType::Pandora))
        static_cast<PandoraPlayer&>(*activePlayer()).thumbsUp();
    else if (const auto server = activeRemotePlayer())
        server->pandoraThumbsUp();
}

void PlayerController::setPandoraThumbsDown() {
    if (activeIs(MusicPlayerType::Pandora))
        static_cast<PandoraPlayer&>(*activePlayer()).thumbsDown();
    else if (const auto server = activeRemotePlayer())
        server->pandoraThumbsDown();
}

std::optional<int> PlayerController::getiTunesRating() const {
    if (!activeIs(MusicPlayerType::iTunes))
        return std::nullopt;
    return static_cast<const iTunesPlayer&>(*activePlayer()).currentRating();
}

void PlayerController::setiTunesRating(int rating) {
    if (activeIs(MusicPlayerType::iTunes)) {
        static_cast<iTunesPlayer&>(*activePlayer()).updateRating(rating);
        remoteLink_.broadcastMessage(RemoteAction::itunesRatingUpdated, {{QStringLiteral("rating"), rating}});
    } else if (const auto server = activeRemotePlayer()) {
        server->updateiTunesRating(rating);
    }
}

} // namespace merlode
