#include "players/player_controller.h"

#include "base/notification_names.h"
#include "base/session.h"
#include "model/artwork.h"
#include "model/remote_link.h"
#include "model/track.h"
#include "platform/user_defaults.h"
#include "platform/workspace.h"
#include "players/links.h"
#include "players/local_players.h"
#include "players/remote_player.h"

#include <QLoggingCategory>

namespace merlode {

namespace {

Q_LOGGING_CATEGORY(log, "merlode.players", QtWarningMsg)

std::optional<DefaultsKey<bool>> enabledKeyOf(MusicItemSourceType service) {
    switch (service) {
    case MusicItemSourceType::iTunes:
        return defaults::kEnableITunes;
    case MusicItemSourceType::Spotify:
        return defaults::kEnableSpotify;
    case MusicItemSourceType::Rdio:
        return defaults::kEnableRdio;
    case MusicItemSourceType::Pandora:
        return defaults::kEnablePandora;
    default:
        return std::nullopt;
    }
}

} // namespace

PlayerController& PlayerController::sharedController() {
    return Session::current().shared<PlayerController>();
}

PlayerController::PlayerController()
    : session_(Session::current()),
      appDelegate_(session_.port<ApplicationDelegate>()),
      defaults_(session_.port<UserDefaults>()),
      workspace_(session_.port<Workspace>()),
      remoteLink_(session_.port<RemoteLink>()),
      search_(session_.port<SearchLink>()),
      reports_(session_.port<PlayReports>()),
      pandora_(session_.port<PandoraLink>()),
      currentAlbumArt_(sSharedAlbumArtworkImage()),
      artCourier_(session_) {
    activePlayer_.onSet([this](const auto& oldValue) { activePlayerWasSet(oldValue); });
    currentPlayState_.onSet([this](auto) {
        if (currentPlayState() != kPlayStateNotPlaying)
            return;
        playerPositionTimer_.invalidate();
        playerPositionBroadcastTimer_.invalidate();
    });
    currentAlbumArt_.onSet([this](const auto&) {
        broadcastAlbumArt();
        post(notifications::kNewAlbumArtAvailable);
    });
    setupMusicPlayers();
    registerForNotifications();
}

PlayerController::~PlayerController() = default;

void PlayerController::registerForNotifications() {
    const auto observe = [this](NotificationCenter& center, NotificationName name, auto handler) {
        observations_.push_back(center.addObserver(
            name, [this, handler](const Notification& notification) { (this->*handler)(notification); }));
    };
    observe(session_.notificationCenter(), notifications::kApplicationDidBecomeActive,
            &PlayerController::applicationBecameActive);
    observe(session_.distributedCenter(), notifications::kITunesPlayerInfo,
            &PlayerController::iTunesStateChanged);
    observe(session_.distributedCenter(), notifications::kSpotifyPlaybackStateChanged,
            &PlayerController::spotifyStateChanged);
    observe(session_.workspaceCenter(), notifications::kWorkspaceDidLaunchApplication,
            &PlayerController::launchedApp);
}

// Commands.

void PlayerController::playPause(bool delayed) {
    const auto player = activePlayer();
    if (!player)
        return;
    const auto before = player->getPlayState();
    player->playpause();
    currentPlayState_.set(before == kPlayStatePlaying ? kPlayStateNotPlaying : kPlayStatePlaying);
    if (delayed)
        return after(1, [this] { updatePlayState(true); });
    forceSyncTimer_ = session_.runLoop().after(kForceSyncTime, [this] { forceSyncState(); });
    broadcastPlayState();
    updatePlayState(true);
}

void PlayerController::nextTrack() {
    if (activePlayer())
        activePlayer()->nextTrack();
}

void PlayerController::previousTrack() {
    if (activePlayer())
        activePlayer()->previousTrack();
}

void PlayerController::setPlayerPosition(int seconds) {
    if (!activePlayer())
        return;
    activePlayer()->setPlayerPosition(seconds);
    clock_.moveTo(seconds);
    post(notifications::kTrackPositionUpdated);
}

void PlayerController::playTrack(const Track& track, const std::optional<QString>& clientName) {
    remoteClientName = clientName;
    if (activePlayer())
        activePlayer()->playTrack(track);
}

void PlayerController::playAlbum(const Album& album, const std::optional<QString>& clientName) {
    remoteClientName = clientName;
    if (activePlayer())
        activePlayer()->playAlbum(album);
}

// The intake of announcements.

void PlayerController::iTunesStateChanged(const Notification& notification) {
    stateChanged(Intake::iTunes, notification);
}

void PlayerController::spotifyStateChanged(const Notification& notification) {
    stateChanged(Intake::Spotify, notification);
}

void PlayerController::rdioStateChanged(const Notification& notification) {
    stateChanged(Intake::Rdio, notification);
}

void PlayerController::applicationBecameActive(const Notification&) {
    updateVolume();
}

// A player that was paused because a host took over says so when the connection may be up already: it has not
// taken over again.
bool PlayerController::isEchoOfPause(MusicPlayerType type) {
    const auto player = silenced_.contains(type) ? adapterOf(type) : nullptr;
    return player && !player->isPlaying();
}

void PlayerController::stateChanged(Intake source, const Notification& notification) {
    const auto type = source == Intake::iTunes    ? MusicPlayerType::iTunes
                      : source == Intake::Spotify ? MusicPlayerType::Spotify
                                                  : MusicPlayerType::Rdio;
    const auto rememberTrack = [&] {
        if (source == Intake::iTunes && activeIs(MusicPlayerType::iTunes))
            static_cast<iTunesPlayer&>(*activePlayer()).trackChanged(notification);
    };
    rememberTrack();
    if (activeIs(MusicPlayerType::Remote) && isEchoOfPause(type))
        return;
    if (activeIs(MusicPlayerType::Remote) && !remoteLink_.connecting()) {
        remoteLink_.connectToSelf();
        setRemotePlayer(nullptr);
        setActivePlayer(nullptr);
    }
    const auto player = adapterOf(type);
    if (!player)
        return;
    if (player->isPlaying()) {
        const bool takesOver = !activeIs(type);
        switchToPlayer(player);
        if (takesOver)
            rememberTrack(); // a stream tells its track by this very announcement only
        updateAll();
        search_.refreshRelatedArtists();
    } else if (activeIs(type)) {
        updateAll();
    }
}

// Looking at the active player anew.

void PlayerController::updateAll() {
    updateTrackInfo();
    updateAlbumArt(false);
    updateVolume();
    updatePlayState(false);
}

void PlayerController::updateTrackInfo() {
    const auto player = activePlayer();
    if (!player)
        qCDebug(log) << "active player is nil";
    auto track = player ? player->getCurrentTrack() : nullptr;
    if (!track)
        qCDebug(log) << "current track is nil";
    QVariantMap message;
    if (track) {
        if (activeIs(MusicPlayerType::Spotify) && static_cast<SpotifyPlayer&>(*player).playsAdvertisement())
            return;
        setCurrentTrack(std::move(track));
        message = trackMessage(*currentTrack());
        search_.refreshRelatedArtists();
    } else {
        message = emptyTrackMessage();
    }
    remoteLink_.broadcastMessage(RemoteAction::trackChanged, message);
    post(notifications::kNewTrackInfoAvailable);
    post(notifications::kUpdateStatusItemFrame);
}

void PlayerController::updatePlayState(bool known) {
    if (!known)
        currentPlayState_.set(activePlayer() ? activePlayer()->getPlayState() : kPlayStateNotPlaying);
    if (currentPlayState() == kPlayStatePlaying)
        startPositionTimers();
    if (const auto read = readPosition())
        agreeOnPosition(read->first, read->second);
    post(notifications::kNewPlayStateAvailable);
    broadcastPlayState();
}

void PlayerController::forceSyncState() {
    if (!activePlayer())
        return;
    const auto state = activePlayer()->getPlayState();
    if (state == currentPlayState())
        return;
    currentPlayState_.set(state);
    updatePlayState(true);
}

void PlayerController::killAllTimers() {
    timersKilled_ = true;
    for (auto* timer : {&volumeTimer_, &processIDTimer_, &pandoraTimer_, &playerPositionTimer_,
                        &playerPositionBroadcastTimer_, &forceSyncTimer_})
        timer->invalidate();
}

// Messages to the clients of this machine.

QVariantMap PlayerController::trackMessage(const Track& track) const {
    QVariantMap message{{QStringLiteral("trackDictionary"), track.trackToDictionary()}};
    addPosition(message);
    addAvailability(message);
    const bool appleMusic = track.isTrackType(ItemSourceType::AppleMusic);
    message.insert(QStringLiteral("source"),
                   appleMusic ? QStringLiteral("AppleMusic") : rawValue(activePlayer()->type));
    if (const auto rating = getiTunesRating())
        message.insert(QStringLiteral("iTunesRating"), *rating);
    if (activeIs(MusicPlayerType::Pandora) && pandoraStationName)
        message.insert(QStringLiteral("pandoraStationName"), *pandoraStationName);
    return message;
}

QVariantMap PlayerController::currentTrackMessage() const {
    return currentTrack() && activePlayer() ? trackMessage(*currentTrack()) : emptyTrackMessage();
}

QVariantMap PlayerController::emptyTrackMessage() const {
    QVariantMap message{
        {QStringLiteral("trackDictionary"), QVariantMap{{QStringLiteral("trackName"), QString()},
                                                        {QStringLiteral("albumName"), QString()},
                                                        {QStringLiteral("artistName"), QString()},
                                                        {QStringLiteral("duration"), 0},
                                                        {QStringLiteral("explicit"), false},
                                                        {QStringLiteral("number"), 0}}},
        {QStringLiteral("source"), QString()},
        {QStringLiteral("trackDuration"), 0},
        {QStringLiteral("playerPosition"), 0}};
    addAvailability(message);
    return message;
}

std::optional<std::pair<int, int>> PlayerController::readPosition() const {
    if (!activePlayer())
        return std::nullopt;
    const auto duration = activePlayer()->trackDuration();
    const auto position = activePlayer()->playerPosition();
    if (!duration || !position)
        return std::nullopt;
    return std::pair(*duration, *position);
}

void PlayerController::addPosition(QVariantMap& message) const {
    const auto read = readPosition();
    if (!read)
        return;
    message.insert(QStringLiteral("trackDuration"), read->first);
    message.insert(QStringLiteral("playerPosition"), read->second);
}

void PlayerController::addAvailability(QVariantMap& message) const {
    message.insert(QStringLiteral("iTunesAvailable"), defaults_.boolFor(defaults::kEnableITunes));
    message.insert(QStringLiteral("SpotifyAvailable"), defaults_.boolFor(defaults::kEnableSpotify));
    message.insert(QStringLiteral("RdioAvailable"), defaults_.boolFor(defaults::kEnableRdio));
    message.insert(QStringLiteral("PandoraAvailable"), defaults_.boolFor(defaults::kEnablePandora));
}

void PlayerController::broadcastPlayState(std::optional<RemoteLink::ClientId> client) {
    QVariantMap message{{QStringLiteral("state"), static_cast<int>(currentPlayState())}};
    addPosition(message);
    remoteLink_.broadcastMessage(RemoteAction::playBackStateChanged, message, client);
}

void PlayerController::broadcastAllStates(std::optional<RemoteLink::ClientId> client,
                                          std::function<void()> done) {
    async([this, client, done = std::move(done)] {
        broadcastVolume(client);
        broadcastPlayState(client);
        remoteLink_.broadcastMessage(RemoteAction::trackChanged, currentTrackMessage(), client);
        sendAlbumArt(client, done);
    });
}

void PlayerController::setServiceEnabled(MusicItemSourceType service, bool enabled) {
    const auto key = enabledKeyOf(service);
    if (!key || defaults_.boolFor(*key) == enabled)
        return;
    defaults_.set(*key, enabled);
    post(notifications::kAvailableSourcesChanged);
    QVariantMap message;
    addAvailability(message);
    remoteLink_.broadcastMessage(RemoteAction::remoteSourceChanged, message);
}

bool PlayerController::activeIs(MusicPlayerType type) const {
    return activePlayer() && activePlayer()->type == type;
}

void PlayerController::async(std::function<void()> work) {
    session_.runLoop().async([weak = std::weak_ptr(alive_), work = std::move(work)] {
        if (weak.lock())
            work();
    });
}

void PlayerController::after(double seconds, std::function<void()> work) {
    session_.runLoop().asyncAfter(seconds, [weak = std::weak_ptr(alive_), work = std::move(work)] {
        if (weak.lock())
            work();
    });
}

void PlayerController::post(NotificationName name, const QVariantMap& userInfo) {
    session_.notificationCenter().post(name, nullptr, userInfo);
}

} // namespace merlode
