#include "ui/now_playing_controls.h"

#include "base/notification_names.h"
#include "base/session.h"
#include "model/item_link.h"
#include "model/track.h"
#include "players/player_controller.h"
#include "ui/links.h"

namespace merlode {

NowPlayingControls::NowPlayingControls(Session& session, std::function<void()> fixFirstResponderStatus)
    : session_(session),
      favorites_(session.port<FavoritesLink>()),
      items_(session.port<ItemLink>()),
      fixFirstResponderStatus_(std::move(fixFirstResponderStatus)) {}

PlayerController& NowPlayingControls::player() const {
    return PlayerController::sharedController();
}

void NowPlayingControls::playPause() {
    player().playPause();
    fixFirstResponderStatus_();
}

void NowPlayingControls::previous() {
    player().previousTrack();
    fixFirstResponderStatus_();
}

void NowPlayingControls::next() {
    player().nextTrack();
    fixFirstResponderStatus_();
}

void NowPlayingControls::toggleMute() {
    player().toggleMute(player().currentVolume);
    fixFirstResponderStatus_();
}

void NowPlayingControls::setVolume(int volume, SliderEvent event) {
    if (event == SliderEvent::MouseDown) {
        volumeSliderStartValue_ = volume;
    } else {
        if (event == SliderEvent::Drag && volume == 0 && volumeSliderStartValue_ > 0)
            player().oldVolume = volumeSliderStartValue_;
        player().setVolume(volume);
    }
    fixFirstResponderStatus_();
}

void NowPlayingControls::toggleFavorite() {
    if (const auto& track = player().currentTrack(); track && favorites_.isAvailable()) {
        favorites_.toggleFavoriteTrack(track);
        session_.notificationCenter().post(notifications::kNewTrackInfoAvailable);
    }
    fixFirstResponderStatus_();
}

void NowPlayingControls::playerPositionButtonSelected() {
    player().togglePlayerPositionType();
    fixFirstResponderStatus_();
}

QString NowPlayingControls::trackName() const {
    const auto& track = player().currentTrack();
    return track ? track->name() : QString();
}

QString NowPlayingControls::artistName() const {
    const auto& track = player().currentTrack();
    return track ? track->artistName() : QString();
}

QString NowPlayingControls::albumName() const {
    const auto& track = player().currentTrack();
    return track ? track->albumName() : QString();
}

QString NowPlayingControls::positionText() const {
    return player().currentTrack() ? player().currentPlayerPositionString() : QString();
}

bool NowPlayingControls::isPlaying() const {
    return player().activePlayer() && player().currentPlayState() == kPlayStatePlaying;
}

int NowPlayingControls::volume() const {
    return player().currentVolume;
}

bool NowPlayingControls::isMuted() const {
    return player().muted || player().currentVolume == 0;
}

bool NowPlayingControls::isFavorite() const {
    const auto& track = player().currentTrack();
    return track && items_.isFavorite(*track);
}

bool NowPlayingControls::canPlay() const {
    return player().activePlayer() != nullptr;
}

bool NowPlayingControls::canGoNext() const {
    return canPlay() && player().activePlayer()->capabilities().canGoNext;
}

bool NowPlayingControls::canGoPrevious() const {
    return canPlay() && player().activePlayer()->capabilities().canGoPrevious;
}

bool NowPlayingControls::canSetVolume() const {
    return canPlay() && player().activePlayer()->capabilities().canSetVolume;
}

bool NowPlayingControls::canFavorite() const {
    return player().currentTrack() && favorites_.isAvailable();
}

} // namespace merlode
