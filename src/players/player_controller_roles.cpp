// Who is in charge: the first player, changing hands, and noticing that a player has gone.

#include "base/notification_names.h"
#include "base/session.h"
#include "model/album.h"
#include "model/artwork.h"
#include "model/track.h"
#include "platform/user_defaults.h"
#include "platform/workspace.h"
#include "players/links.h"
#include "players/local_players.h"
#include "players/player_controller.h"
#include "players/remote_player.h"

#include <algorithm>
#include <vector>

namespace merlode {

namespace {

// Seconds between two looks at the volume and at the process of the active player.
constexpr double kVolumePollInterval = 2.0;
constexpr double kProcessIDPollInterval = 0.5;

// Seconds that Spotify and Rdio need after their launch before they accept commands.
constexpr double kLaunchSettleTime = 3.0;

template<class Adapter>
std::shared_ptr<Adapter> adapterIfRunning(Workspace& workspace, MusicPlayerType type) {
    if (!workspace.fullPathForApplication(rawValue(type)) ||
        workspace.runningApplicationsWithBundleIdentifier(*bundleID(type)).empty())
        return nullptr;
    return std::make_shared<Adapter>();
}

MusicItemSourceType sourceOf(MusicPlayerType type) {
    switch (type) {
    case MusicPlayerType::Spotify:
        return MusicItemSourceType::Spotify;
    case MusicPlayerType::Rdio:
        return MusicItemSourceType::Rdio;
    case MusicPlayerType::Pandora:
        return MusicItemSourceType::Pandora;
    default:
        return MusicItemSourceType::iTunes;
    }
}

// Whom a new active player silences, in this order.
std::vector<MusicPlayerType> pausedFor(MusicPlayerType target) {
    using enum MusicPlayerType;
    switch (target) {
    case iTunes:
        return {Rdio, Spotify, Pandora};
    case Spotify:
        return {Rdio, iTunes, Pandora};
    case Rdio:
        return {iTunes, Spotify, Pandora};
    case Pandora:
        return {iTunes, Spotify, Rdio};
    case Remote:
        break;
    }
    return {iTunes, Spotify, Pandora, Rdio};
}

} // namespace

std::shared_ptr<iTunesPlayer> PlayerController::itunesPlayer() const {
    return adapterIfRunning<iTunesPlayer>(workspace_, MusicPlayerType::iTunes);
}

std::shared_ptr<SpotifyPlayer> PlayerController::spotifyPlayer() const {
    return adapterIfRunning<SpotifyPlayer>(workspace_, MusicPlayerType::Spotify);
}

std::shared_ptr<RdioPlayer> PlayerController::rdioPlayer() const {
    return adapterIfRunning<RdioPlayer>(workspace_, MusicPlayerType::Rdio);
}

std::shared_ptr<PandoraPlayer> PlayerController::pandoraPlayer() {
    if (!pandora_.isLogInReady())
        return nullptr;
    if (!pandoraPlayer_)
        pandoraPlayer_ = pandora_.makePlayer();
    return pandoraPlayer_;
}

std::shared_ptr<MusicPlayer> PlayerController::adapterOf(MusicPlayerType type) {
    switch (type) {
    case MusicPlayerType::iTunes:
        return itunesPlayer();
    case MusicPlayerType::Spotify:
        return spotifyPlayer();
    case MusicPlayerType::Rdio:
        return rdioPlayer();
    case MusicPlayerType::Pandora:
        return pandoraPlayer();
    case MusicPlayerType::Remote:
        break;
    }
    return remotePlayer_;
}

ItemSourceType PlayerController::availableSources() const {
    ItemSourceType sources = ItemSourceType::None;
    const auto add = [&sources](bool available, ItemSourceType source) {
        if (available)
            sources.insert(source);
    };
    if (activeIs(MusicPlayerType::Remote)) {
        const auto& remote = static_cast<const RemotePlayer&>(*activePlayer());
        add(remote.iTunesAvailable, ItemSourceType::iTunes);
        add(remote.spotifyAvailable, ItemSourceType::Spotify);
        add(remote.rdioAvailable, ItemSourceType::Rdio);
        return sources;
    }
    add(defaults_.boolFor(defaults::kEnableITunes), ItemSourceType::iTunes);
    add(defaults_.boolFor(defaults::kEnableSpotify), ItemSourceType::Spotify);
    add(defaults_.boolFor(defaults::kEnableRdio), ItemSourceType::Rdio);
    return sources;
}

// The first player.

void PlayerController::setupMusicPlayers() {
    const bool found = adoptPlayingPlayer() || adoptLastActivePlayer() || adoptRunningPlayer();
    if (found)
        async([this] { updateAll(); });
}

bool PlayerController::adoptPlayingPlayer() {
    for (const auto type : {MusicPlayerType::iTunes, MusicPlayerType::Spotify, MusicPlayerType::Rdio}) {
        const auto player = adapterOf(type);
        if (player && player->isPlaying()) {
            setActivePlayer(adapterOf(type));
            return true;
        }
    }
    return false;
}

bool PlayerController::adoptLastActivePlayer() {
    if (!lastActivePlayerType || !bundleID(*lastActivePlayerType))
        return false;
    auto player = adapterOf(*lastActivePlayerType);
    if (!player)
        return false;
    setActivePlayer(std::move(player));
    return true;
}

bool PlayerController::adoptRunningPlayer() {
    if (activePlayer())
        return false;
    // Not the order of the first pass: of players that stand still, Spotify is the likelier one to be meant.
    for (const auto type : {MusicPlayerType::Spotify, MusicPlayerType::iTunes, MusicPlayerType::Rdio}) {
        if (auto player = adapterOf(type)) {
            setActivePlayer(std::move(player));
            return true;
        }
    }
    return false;
}

// The role changes hands.

void PlayerController::switchToPlayer(const std::shared_ptr<MusicPlayer>& player) {
    if (!activePlayer())
        return setActivePlayer(player);
    if (!player || player->type == activePlayer()->type)
        return;
    const auto target = player->type;
    showPlaceholderArt();
    pandoraTimer_.invalidate();
    silenced_.clear();
    for (const auto type : pausedFor(target)) {
        if (const auto other = adapterOf(type)) {
            other->pause();
            silenced_.insert(type);
        }
    }
    setActivePlayer(adapterOf(target));
}

void PlayerController::activePlayerWasSet(const std::shared_ptr<MusicPlayer>& oldValue) {
    if (const auto player = activePlayer())
        becameActive(*player);
    else
        nobodyIsActive();
    const bool wasRemote = oldValue && oldValue->type == MusicPlayerType::Remote;
    if (wasRemote && !activeIs(MusicPlayerType::Remote))
        post(notifications::kAvailableSourcesChanged);
}

void PlayerController::becameActive(MusicPlayer& player) {
    if (player.type == MusicPlayerType::Remote) {
        stopVolumePolling();
        stopProcessIDPolling();
    } else {
        startVolumePolling();
        startProcessIDPolling();
    }
    broadcastAllStates();
    if (player.type != MusicPlayerType::Remote)
        lastActivePlayerType = player.type;
    if (player.type == MusicPlayerType::Pandora)
        startPandoraPolling();
    else
        clearPandora();
}

void PlayerController::nobodyIsActive() {
    showPlaceholderArt();
    stopVolumePolling();
    stopProcessIDPolling();
    clearCurrentTrackData();
    clearPandora();
}

void PlayerController::showPlaceholderArt() {
    currentAlbumArt_.set(sSharedAlbumArtworkImage());
}

void PlayerController::clearPandora() {
    pandoraTimer_.invalidate();
    setPandoraStationName(std::nullopt);
}

// Polling.

void PlayerController::startVolumePolling() {
    if (volumeTimer_ || !activePlayer() || timersKilled_)
        return;
    volumeTimer_ = session_.runLoop().every(kVolumePollInterval, [this] { checkActivePlayerVolume(); });
}

void PlayerController::stopVolumePolling() {
    volumeTimer_.invalidate();
}

void PlayerController::startProcessIDPolling() {
    if (processIDTimer_ || !activePlayer() || timersKilled_)
        return;
    processIDTimer_ = session_.runLoop().every(kProcessIDPollInterval, [this] { checkProcessID(); });
}

void PlayerController::stopProcessIDPolling() {
    processIDTimer_.invalidate();
}

void PlayerController::checkProcessID() {
    const auto player = activePlayer();
    if (!player)
        return setActivePlayer(nullptr);
    const auto identifier = bundleID(player->type);
    if (!identifier)
        return stopProcessIDPolling();
    const auto running = workspace_.runningApplicationsWithBundleIdentifier(*identifier);
    const bool lives = player->processID && std::ranges::any_of(running, [&](const auto& application) {
                           return application.processIdentifier == *player->processID;
                       });
    if (!lives)
        setActivePlayer(nullptr);
}

// Applications that were launched to play something.

void PlayerController::launchedApp(const Notification& notification) {
    if (!pendingMusicItemAndPlayer)
        return;
    const QVariant name = notification.userInfo.value(QStringLiteral("NSApplicationName"));
    const auto type = musicPlayerType(name.toString());
    if (!type || !bundleID(*type) || sourceOf(*type) != pendingMusicItemAndPlayer->source)
        return;
    if (*type == MusicPlayerType::iTunes)
        return applyPendingItem(std::make_shared<iTunesPlayer>());
    after(kLaunchSettleTime, [this, type = *type] {
        // A newer request may have come in between, for another player even.
        if (!pendingMusicItemAndPlayer || sourceOf(type) != pendingMusicItemAndPlayer->source)
            return;
        if (type == MusicPlayerType::Spotify)
            applyPendingItem(std::make_shared<SpotifyPlayer>());
        else
            applyPendingItem(std::make_shared<RdioPlayer>());
    });
}

void PlayerController::applyPendingItem(const std::shared_ptr<MusicPlayer>& player) {
    const auto pending = *std::exchange(pendingMusicItemAndPlayer, std::nullopt);
    playWith(player, *pending.item, pending.clientName);
}

} // namespace merlode
