// What a server tells, taken in by its clients.

#include "base/notification_names.h"
#include "base/session.h"
#include "model/artwork.h"
#include "platform/alerts.h"
#include "platform/user_defaults.h"
#include "players/links.h"
#include "players/player_controller.h"
#include "players/remote_state.h"
#include "remote/remote_handlers.h"
#include "remote/remote_items.h"
#include "remote/remoteitunes_key_fetcher.h"
#include "search/search_controller.h"

namespace merlode::remotehandlers {

namespace {

using remotestate::dictionary;
using remotestate::integer;
using remotestate::list;
using remotestate::text;

// An alert is read by a person; a text that is longer than a screen is not one for people.
constexpr qsizetype kLongestAlertText = 2000;

PlayerController& player() {
    return PlayerController::sharedController();
}

void processSearchResults(const QVariantMap& payload) {
    const auto tracks = list(payload, QStringLiteral("tracks"));
    const auto albums = list(payload, QStringLiteral("albums"));
    const auto term = text(payload, QStringLiteral("searchTerm"));
    const auto sources = integer(payload, QStringLiteral("AvailableSources"));
    if (!tracks || !albums || !term || !sources || *sources < 0)
        return;
    auto& search = SearchController::sharedController();
    if (search.awaitsRemoteResults(*term))
        search.processRemoteSearchResults(*term, remoteitems::libraryTracks(*tracks),
                                          remoteitems::libraryAlbums(*albums),
                                          ItemSourceType(static_cast<quint64>(*sources)));
}

void showAlert(const QVariantMap& payload) {
    const auto title = text(payload, QStringLiteral("title"));
    const auto message = text(payload, QStringLiteral("message"));
    if (title && message)
        Session::current().port<Alerts>().runModal(
            {title->left(kLongestAlertText), message->left(kLongestAlertText), {QStringLiteral("OK")}});
}

void notifyAddedToFavorites(const QVariantMap& payload) {
    if (const auto userName = text(payload, QStringLiteral("userName")))
        notifyOfFavorite(*userName);
}

void processAlbumKey(const QVariantMap& payload) {
    if (const auto album = dictionary(payload, QStringLiteral("albumDictionary")))
        RemoteiTunesKeyFetcher::sharedFetcher().processAlbumDictionary(*album);
}

void processTrackKey(const QVariantMap& payload) {
    if (const auto track = dictionary(payload, QStringLiteral("trackDictionary")))
        RemoteiTunesKeyFetcher::sharedFetcher().processTrackDictionary(*track);
}

void pandoraStationsChanged(const QVariantMap& payload) {
    if (const auto stations = list(payload, QStringLiteral("stations")))
        Session::current().port<PandoraLink>().updateRemoteStations(remoteitems::pandoraItems(*stations));
}

// Posts a number that must be within 0 and `most`: views show it as it is.
void postNumber(const QVariantMap& payload, const QString& key, int most, NotificationName name,
                const QString& infoKey) {
    const auto number = integer(payload, key);
    if (number && *number >= 0 && *number <= most)
        Session::current().notificationCenter().post(name, nullptr, {{infoKey, *number}});
}

void pandoraThumbsUpdated(const QVariantMap& payload) {
    postNumber(payload, QStringLiteral("thumb"), 2, notifications::kPandoraThumbsUpdated,
               QStringLiteral("thumbType"));
}

void itunesRatingUpdated(const QVariantMap& payload) {
    postNumber(payload, QStringLiteral("rating"), 100, notifications::kITunesRatingUpdated,
               QStringLiteral("rating"));
}

void pandoraStationNameUpdated(const QVariantMap& payload) {
    if (const auto name = text(payload, QStringLiteral("pandoraStationName")))
        player().setPandoraStationName(name);
}

} // namespace

void notifyOfFavorite(const QString& userName) {
    auto& session = Session::current();
    if (session.port<UserDefaults>().valueFor(defaults::kHostName) == userName)
        return;
    UserNotification notification;
    notification.title = QStringLiteral("Favorite");
    notification.informativeText =
        userName.left(kLongestAlertText) + QStringLiteral(" just added this track as a favorite.");
    notification.contentImage = sSharedNotificationHeart();
    notification.userInfo.insert(QStringLiteral("type"), QStringLiteral("Favorite Notification"));
    session.port<ApplicationDelegate>().processUserNotification(notification);
}

Handler toldByServer(RemoteAction action) {
    using Payload = const QVariantMap&;
    switch (action) {
    case RemoteAction::trackChanged:
        return [](Payload payload) { player().remoteStateChange(payload); };
    case RemoteAction::albumArtChanged:
        return [](Payload payload) { player().remoteAlbumArtChanged(payload); };
    case RemoteAction::playBackStateChanged:
        return [](Payload payload) { player().remotePlayBackStateChanged(payload); };
    case RemoteAction::setVolume: // asked by a client just so
        return [](Payload payload) { player().remoteVolumeChanged(payload); };
    case RemoteAction::playerPosition:
        return [](Payload payload) { player().remotePlayerPositionUpdate(payload); };
    case RemoteAction::remoteSourceChanged:
        return [](Payload payload) { player().remoteSourceChanged(payload); };
    case RemoteAction::processSearchResults:
        return processSearchResults;
    case RemoteAction::showAlert:
        return showAlert;
    case RemoteAction::notifyAddedToFavorites:
        return notifyAddedToFavorites;
    case RemoteAction::processRemoteiTunesSearchAlbum:
        return processAlbumKey;
    case RemoteAction::processRemoteiTunesSearchTrack:
        return processTrackKey;
    case RemoteAction::pandoraStationsChanged:
        return pandoraStationsChanged;
    case RemoteAction::pandoraThumbsUpdated:
        return pandoraThumbsUpdated;
    case RemoteAction::itunesRatingUpdated:
        return itunesRatingUpdated;
    case RemoteAction::pandoraStationNameUpdated:
        return pandoraStationNameUpdated;
    default:
        return nullptr;
    }
}

} // namespace merlode::remotehandlers
