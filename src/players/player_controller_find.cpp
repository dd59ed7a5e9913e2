// Which service plays an item that several have, and what happens when its application has to be started.

#include "base/session.h"
#include "model/album.h"
#include "model/pandora_item.h"
#include "model/remote_link.h"
#include "model/track.h"
#include "platform/alerts.h"
#include "platform/user_defaults.h"
#include "platform/workspace.h"
#include "players/links.h"
#include "players/local_players.h"
#include "players/player_controller.h"
#include "players/remote_player.h"

#include <array>

namespace merlode {

namespace {

struct Service {
    MusicPlayerType type{};
    ItemSourceType source;
    MusicItemSourceType preference{};
    DefaultsKey<bool> enabled;
    void (RemotePlayer::*playTrackAtHost)(const Track&) = nullptr;
    void (RemotePlayer::*playAlbumAtHost)(const Album&) = nullptr;
};

// In the order in which they are tried.
constexpr std::array kServices{
    Service{MusicPlayerType::iTunes, ItemSourceType::iTunes, MusicItemSourceType::iTunes,
            defaults::kEnableITunes, &RemotePlayer::playiTunesTrack, &RemotePlayer::playiTunesAlbum},
    Service{MusicPlayerType::Spotify, ItemSourceType::Spotify, MusicItemSourceType::Spotify,
            defaults::kEnableSpotify, &RemotePlayer::playSpotifyTrack, &RemotePlayer::playSpotifyAlbum},
    Service{MusicPlayerType::Rdio, ItemSourceType::Rdio, MusicItemSourceType::Rdio, defaults::kEnableRdio,
            &RemotePlayer::playRdioTrack, &RemotePlayer::playRdioAlbum},
};

void playAtHost(RemotePlayer& host, const Service& service, const MusicItem& item) {
    if (const auto* album = dynamic_cast<const Album*>(&item))
        (host.*service.playAlbumAtHost)(*album);
    else if (const auto* track = dynamic_cast<const Track*>(&item))
        (host.*service.playTrackAtHost)(*track);
}

const Service& serviceOf(MusicPlayerType type) {
    return *std::ranges::find(kServices, type, &Service::type);
}

} // namespace

void PlayerController::findAndPlayTrack(const std::shared_ptr<Track>& track, bool remote,
                                        const std::optional<QString>&) {
    if (activeIs(MusicPlayerType::Remote))
        return remoteLink_.sendMessageToHost(
            RemoteAction::findAndPlayTrack,
            {{QStringLiteral("trackDictionary"), track->trackToDictionary()}});
    if (const auto type = serviceToPlay(*track))
        playOn(*type, track, std::nullopt, std::nullopt);
    else if (!remote)
        showAlert(QStringLiteral("No players available"),
                  QStringLiteral("We couldn't find a music player for this item."), std::nullopt);
}

void PlayerController::findAndPlayAlbum(const std::shared_ptr<Album>& album, bool remote,
                                        const std::optional<QString>&) {
    if (activeIs(MusicPlayerType::Remote))
        return remoteLink_.sendMessageToHost(
            RemoteAction::findAndPlayAlbum,
            {{QStringLiteral("albumDictionary"), album->albumToDictionary(false)}});
    if (const auto type = serviceToPlay(*album))
        playOn(*type, album, std::nullopt, std::nullopt);
    else if (!remote)
        showAlert(QStringLiteral("No players installed"),
                  QStringLiteral("We couldn't find a music player for this item."), std::nullopt);
}

std::optional<MusicPlayerType> PlayerController::serviceToPlay(const MusicItem& item) {
    const auto sources = item.sourceType();
    const auto first = [&](auto accepts) -> std::optional<MusicPlayerType> {
        for (const auto& service : kServices) {
            if (sources.contains(service.source) && accepts(service))
                return service.type;
        }
        return std::nullopt;
    };
    if (const auto active = first([&](const Service& service) { return activeIs(service.type); }))
        return active;
    if (const auto running =
            first([&](const Service& service) { return adapterOf(service.type) != nullptr; }))
        return running;
    return first([&](const Service& service) { return defaults_.boolFor(service.enabled); });
}

void PlayerController::playOn(MusicPlayerType type, const std::shared_ptr<MusicItem>& item,
                              const std::optional<QString>& remoteAddress,
                              const std::optional<QString>& clientName) {
    const auto& service = serviceOf(type);
    if (!item->sourceType().contains(service.source))
        return;
    if (const auto host = activeRemotePlayer())
        playAtHost(*host, service, *item);
    else if (const auto player = adapterOf(type))
        playWith(player, *item, clientName);
    else
        openPlayerAndPlayMusicItem(service.preference, item, remoteAddress, clientName);
}

void PlayerController::playWith(const std::shared_ptr<MusicPlayer>& player, const MusicItem& item,
                                const std::optional<QString>& clientName) {
    switchToPlayer(player);
    const QString source = rawValue(player->type);
    if (const auto* album = dynamic_cast<const Album*>(&item)) {
        reports_.reportAlbumPlay(*album, source, clientName);
        playAlbum(*album, clientName);
    } else if (const auto* track = dynamic_cast<const Track*>(&item)) {
        reports_.reportTrackPlay(*track, source, clientName);
        playTrack(*track, clientName);
    }
}

void PlayerController::playiTunesTrack(const std::shared_ptr<Track>& track,
                                       const std::optional<QString>& remoteAddress,
                                       const std::optional<QString>& clientName) {
    playOn(MusicPlayerType::iTunes, track, remoteAddress, clientName);
}

void PlayerController::playSpotifyTrack(const std::shared_ptr<Track>& track,
                                        const std::optional<QString>& remoteAddress,
                                        const std::optional<QString>& clientName) {
    playOn(MusicPlayerType::Spotify, track, remoteAddress, clientName);
}

void PlayerController::playRdioTrack(const std::shared_ptr<Track>& track,
                                     const std::optional<QString>& remoteAddress,
                                     const std::optional<QString>& clientName) {
    playOn(MusicPlayerType::Rdio, track, remoteAddress, clientName);
}

void PlayerController::playiTunesAlbum(const std::shared_ptr<Album>& album,
                                       const std::optional<QString>& remoteAddress,
                                       const std::optional<QString>& clientName) {
    playOn(MusicPlayerType::iTunes, album, remoteAddress, clientName);
}

void PlayerController::playSpotifyAlbum(const std::shared_ptr<Album>& album,
                                        const std::optional<QString>& remoteAddress,
                                        const std::optional<QString>& clientName) {
    playOn(MusicPlayerType::Spotify, album, remoteAddress, clientName);
}

void PlayerController::playRdioAlbum(const std::shared_ptr<Album>& album,
                                     const std::optional<QString>& remoteAddress,
                                     const std::optional<QString>& clientName) {
    playOn(MusicPlayerType::Rdio, album, remoteAddress, clientName);
}

// The launch is set going before the user is told: a modal alert holds up everything else.
void PlayerController::openPlayerAndPlayMusicItem(MusicItemSourceType source,
                                                  const std::shared_ptr<MusicItem>& item,
                                                  const std::optional<QString>& remoteAddress,
                                                  const std::optional<QString>& clientName) {
    const QString name = rawValue(source);
    if (!workspace_.fullPathForApplication(name))
        return showAlert(name + kPlayerNotInstalledAlertTitle, kPlayerNotInstalledAlertMessage + name,
                         remoteAddress);
    pendingMusicItemAndPlayer = PendingMusicItem{item, source, remoteAddress, clientName};
    workspace_.launchApplication(name);
    showAlert(name + kPlayerNotRunningAlertTitle, name + kPlayerNotRunningAlertMessage, remoteAddress);
}

void PlayerController::playPandoraItem(const PandoraItem& item, const std::optional<QString>& remoteAddress,
                                       const std::optional<QString>& clientName) {
    if (const auto host = activeRemotePlayer())
        host->playPandoraItem(item);
    else if (const auto player = readyPandoraPlayer(remoteAddress, clientName))
        player->playItem(item);
}

void PlayerController::playPandoraStation(const PandoraItem& station,
                                          const std::optional<QString>& remoteAddress,
                                          const std::optional<QString>& clientName) {
    if (const auto host = activeRemotePlayer())
        host->playPandoraStation(station);
    else if (const auto player = readyPandoraPlayer(remoteAddress, clientName))
        player->playStation(station);
}

// Pandora in charge, its polling begun anew; null, and somebody told, while it cannot play.
std::shared_ptr<PandoraPlayer>
PlayerController::readyPandoraPlayer(const std::optional<QString>& remoteAddress,
                                     const std::optional<QString>& clientName) {
    auto player = pandoraPlayer();
    if (!player) {
        const auto where = remoteAddress ? QStringLiteral(" on your remote computer.") : QString();
        showAlert(QStringLiteral("Pandora not ready"),
                  QStringLiteral("Pandora is still loading or you need to log into your account under "
                                 "Merlode Preferences > Pandora") +
                      where,
                  remoteAddress);
        return nullptr;
    }
    remoteClientName = clientName;
    switchToPlayer(player);
    startPandoraPolling();
    return player;
}

void PlayerController::showAlert(const QString& title, const QString& message,
                                 const std::optional<QString>& remoteAddress) {
    if (remoteAddress)
        remoteLink_.broadcastAlertToClient(title, message, *remoteAddress);
    else
        session_.port<Alerts>().runModal({title, message, {QStringLiteral("OK")}});
}

} // namespace merlode
