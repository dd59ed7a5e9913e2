// The mirror of what plays: the track, its art and the volume.

#include "base/notification_names.h"
#include "base/session.h"
#include "model/album.h"
#include "model/artwork.h"
#include "model/remote_link.h"
#include "model/track.h"
#include "platform/user_defaults.h"
#include "players/links.h"
#include "players/local_players.h"
#include "players/player_controller.h"

namespace merlode {

namespace {

// Seconds that each player needs until it has the art of a new track ready; nothing for the remote player,
// whose server sends the art.
std::optional<double> artDelay(MusicPlayerType type) {
    switch (type) {
    case MusicPlayerType::iTunes:
    case MusicPlayerType::Spotify:
        return 1.0;
    case MusicPlayerType::Rdio:
        return 3.5;
    case MusicPlayerType::Pandora:
        return 5.0;
    case MusicPlayerType::Remote:
        break;
    }
    return std::nullopt;
}

// Art is fetched for ten seconds at most; by then it is there or never comes.
constexpr int kLateArtLooks = 10;
constexpr double kLateArtInterval = 1.0;

// A player's own read-back must not fight a slider that is being dragged.
constexpr double kVolumePollPause = 3.0;

// Spotify rounds what it is given: smaller differences are its rounding.
constexpr int kSpotifyVolumeRounding = 2;

} // namespace

// The track.

void PlayerController::setCurrentTrack(std::shared_ptr<Track> track) {
    if (track)
        currentTrackWillBeSet(track);
    const bool cleared = !track;
    currentTrack_.set(std::move(track));
    if (cleared) {
        currentAlbumArtDetails_ = {};
        currentAlbum = nullptr;
    }
}

void PlayerController::currentTrackWillBeSet(const std::shared_ptr<Track>& track) {
    const auto player = activePlayer();
    if (player && player->type != MusicPlayerType::Remote) {
        const auto position = player->playerPosition();
        if (position && player->isPlaying())
            reports_.reportStartedTrack(*track, *position);
    }
    if (currentTrack() && *currentTrack() == *track)
        return;
    updateStatusItemString(*track);
    postPlayingNotification(*track);
}

void PlayerController::updateStatusItemString(const Track& track) {
    const bool complete = !track.artistName().isEmpty() && !track.name().isEmpty();
    appDelegate_.updateStatusItemText(complete ? track.artistName() + QStringLiteral(" - ") + track.name()
                                               : QString());
}

void PlayerController::postPlayingNotification(const Track& track) {
    if (!defaults_.optionalBoolFor(defaults::kPlayingNotifications).value_or(false))
        return;
    if (activeIs(MusicPlayerType::Spotify) &&
        static_cast<SpotifyPlayer&>(*activePlayer()).playsAdvertisement())
        return;
    UserNotification notification;
    notification.userInfo.insert(QStringLiteral("type"), QStringLiteral("Playing Notification"));
    QStringList lines{track.name(), track.artistName(), track.albumName()};
    lines.removeAll(QString());
    if (lines.isEmpty())
        return; // a stream between two songs tells nothing that is worth an interruption
    notification.title = lines.takeFirst();
    notification.informativeText = lines.join(u'\n');
    if (remoteClientName) {
        const bool own = defaults_.valueFor(defaults::kHostName) == remoteClientName;
        notification.informativeText +=
            QStringLiteral("\nPlayed by ") + (own ? QStringLiteral("you") : *remoteClientName);
    }
    // The art on show may still be that of the album before.
    if (currentAlbumArt() != sSharedAlbumArtworkImage() && currentAlbumArtDetails_ == artDetailsOf(track))
        notification.contentImage = currentAlbumArt();
    appDelegate_.processUserNotification(notification);
}

void PlayerController::clearCurrentTrackData() {
    setCurrentTrack(nullptr);
    currentPlayState_.set(kPlayStateNotPlaying);
    currentVolume = kDefaultPlayerVolume;
    muted = false;
    clock_.reset();
    updateAll();
    appDelegate_.updateStatusItemText(QString());
    post(notifications::kUpdateStatusItemFrame);
}

// The art.

PlayerController::AlbumArtDetails PlayerController::artDetailsOf(const Track& track) {
    return {track.albumName(), track.artistName()};
}

void PlayerController::updateAlbumArt(bool secondAttempt) {
    const auto track = currentTrack();
    if (!track || currentAlbumArtDetails_ == artDetailsOf(*track))
        return;
    showPlaceholderArt();
    currentAlbumArtDetails_ = artDetailsOf(*track);
    const auto player = activePlayer();
    const auto delay = player ? artDelay(player->type) : std::nullopt;
    if (delay)
        after(*delay, [this, type = player->type, secondAttempt] { fetchAlbumArt(type, secondAttempt); });
}

void PlayerController::fetchAlbumArt(MusicPlayerType chosenPlayer, bool secondAttempt) {
    // Whatever plays by now is what the art is wanted of.
    if (const auto image = activePlayer() ? activePlayer()->getAlbumArt() : std::nullopt)
        return currentAlbumArt_.set(*image);
    lookForLateArt(currentAlbumArtDetails_, kLateArtLooks);
    if (chosenPlayer == MusicPlayerType::Spotify) {
        const auto player = spotifyPlayer();
        const bool playsTrack = player && !player->playsAdvertisement();
        if (const auto url = playsTrack ? player->spotifyUrl() : std::nullopt)
            return search_.findSpotifyAlbumArt(*url);
    }
    if (chosenPlayer == MusicPlayerType::Pandora && !secondAttempt)
        return updateAlbumArt(true);
    if (currentTrack())
        search_.findiTunesAlbumArt(currentTrack());
}

// A player whose art lies on the web has it when the web has delivered it. What a search finds sooner stays.
void PlayerController::lookForLateArt(const AlbumArtDetails& details, int looks) {
    after(kLateArtInterval, [this, details, looks] {
        if (!(details == currentAlbumArtDetails_) || currentAlbumArt() != sSharedAlbumArtworkImage())
            return;
        if (const auto image = activePlayer() ? activePlayer()->getAlbumArt() : std::nullopt)
            currentAlbumArt_.set(*image);
        else if (looks > 1)
            lookForLateArt(details, looks - 1);
    });
}

void PlayerController::replaceAlbumArt(const Image& image, const QString&, const QString&,
                                       const QString& albumName) {
    if (!currentTrack() || currentTrack()->albumName() != albumName ||
        currentAlbumArt() != sSharedAlbumArtworkImage())
        return;
    currentAlbumArt_.set(image);
}

void PlayerController::broadcastAlbumArt() {
    sendAlbumArt(std::nullopt, {});
}

void PlayerController::sendAlbumArt(std::optional<RemoteLink::ClientId> client, std::function<void()> done) {
    const auto send = [this, client](const QVariantMap& message) {
        remoteLink_.broadcastMessage(RemoteAction::albumArtChanged, message, client);
    };
    if (!remoteLink_.hasClients()) // a picture takes milliseconds to write, for nobody
        return done ? done() : void();
    const Image art = currentAlbumArt();
    if (art == sSharedAlbumArtworkImage()) {
        artCourier_.forgetEncoded();
        send({{QStringLiteral("useDefault"), true}});
        return done ? done() : void();
    }
    artCourier_.encode(art, [this, send, client, done = std::move(done), art](const QByteArray& tiff) {
        if (art == currentAlbumArt())
            send({{QStringLiteral("imageData"), tiff}, {QStringLiteral("useDefault"), false}});
        else if (client) // all others have been sent what came since, or are about to be
            return sendAlbumArt(client, done);
        if (done)
            done();
    });
}

// The volume.

void PlayerController::setVolume(int volume) {
    stopVolumePolling();
    currentVolume = std::clamp(volume, 0, 100);
    if (currentVolume > 0)
        muted = false;
    else if (oldVolume == 0)
        oldVolume = kDefaultPlayerVolume;
    if (activePlayer())
        activePlayer()->setSoundVolume(currentVolume);
    updateVolume();
    if (!activeIs(MusicPlayerType::Remote))
        broadcastVolume();
    after(kVolumePollPause, [this] {
        if (!activeIs(MusicPlayerType::Remote))
            startVolumePolling();
    });
}

void PlayerController::updateVolume() {
    post(notifications::kNewVolumeInfoAvailable, {{QStringLiteral("Volume"), currentVolume}});
}

void PlayerController::broadcastVolume(std::optional<RemoteLink::ClientId> client) {
    remoteLink_.broadcastMessage(RemoteAction::setVolume, {{QStringLiteral("volume"), currentVolume}},
                                 client);
}

void PlayerController::increaseVolume() {
    setVolume(std::min(currentVolume + kHotkeyVolumeIncreaseDecreaseValue, 100));
}

void PlayerController::decreaseVolume() {
    setVolume(std::max(currentVolume - kHotkeyVolumeIncreaseDecreaseValue, 0));
}

void PlayerController::toggleMute(int volume) {
    if (volume != 0) {
        oldVolume = volume;
        currentVolume = 0;
        muted = true;
    } else {
        currentVolume = oldVolume;
        muted = currentVolume == 0;
        oldVolume = 0;
    }
    setVolume(currentVolume);
}

void PlayerController::toggleMuteHotkey() {
    toggleMute(currentVolume);
    updateVolume();
}

void PlayerController::checkActivePlayerVolume() {
    const auto player = activePlayer();
    if (!player || player->type == MusicPlayerType::Remote)
        return stopVolumePolling();
    if (!player->capabilities().canSetVolume)
        return; // hung, or a player without a volume: there is nothing to agree with
    const int volume = player->getSoundVolume();
    const int difference = std::abs(volume - currentVolume);
    if (difference == 0 || (player->type == MusicPlayerType::Spotify && difference < kSpotifyVolumeRounding))
        return;
    setVolume(volume);
}

} // namespace merlode
