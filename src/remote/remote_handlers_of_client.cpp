// What a client asks for, carried out by its server.

#include "base/session.h"
#include "model/remote_link.h"
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
using remotestate::text;

const QString kAlbumDictionary = QStringLiteral("albumDictionary");
const QString kTrackDictionary = QStringLiteral("trackDictionary");

PlayerController& player() {
    return PlayerController::sharedController();
}

std::optional<QString> clientAddress(const QVariantMap& payload) {
    return text(payload, QStringLiteral("ClientAddress"));
}

std::optional<QString> clientName(const QVariantMap& payload) {
    return text(payload, QStringLiteral("ClientName"));
}

std::optional<MusicItemSourceType> sourceOf(const QVariantMap& payload) {
    const auto source = text(payload, QStringLiteral("source"));
    return source ? musicItemSourceTypeFromRawValue(*source) : std::nullopt;
}

// What it takes to play an item on one service; nothing unless all of it has come.
struct PlayRequest {
    QVariantMap item;
    MusicItemSourceType source{};
    QString address;
};

std::optional<PlayRequest> playRequest(const QVariantMap& payload, const QString& itemKey) {
    auto item = dictionary(payload, itemKey);
    const auto source = sourceOf(payload);
    auto address = clientAddress(payload);
    if (!item || !source || !address)
        return std::nullopt;
    return PlayRequest{std::move(*item), *source, std::move(*address)};
}

void playTrack(const QVariantMap& payload) {
    const auto request = playRequest(payload, kTrackDictionary);
    const auto track = request ? remoteitems::trackOn(request->source, request->item) : nullptr;
    if (!track)
        return;
    const auto name = clientName(payload);
    if (request->source == MusicItemSourceType::iTunes)
        player().playiTunesTrack(track, request->address, name);
    else if (request->source == MusicItemSourceType::Spotify)
        player().playSpotifyTrack(track, request->address, name);
    else
        player().playRdioTrack(track, request->address, name);
}

void playAlbum(const QVariantMap& payload) {
    const auto request = playRequest(payload, kAlbumDictionary);
    const auto album = request ? remoteitems::albumOn(request->source, request->item) : nullptr;
    if (!album)
        return;
    const auto name = clientName(payload);
    if (request->source == MusicItemSourceType::iTunes)
        player().playiTunesAlbum(album, request->address, name);
    else if (request->source == MusicItemSourceType::Spotify)
        player().playSpotifyAlbum(album, request->address, name);
    else
        player().playRdioAlbum(album, request->address, name);
}

void findAndPlayTrack(const QVariantMap& payload) {
    const auto item = dictionary(payload, kTrackDictionary);
    if (const auto track = item ? remoteitems::trackWithItsKeys(*item) : nullptr)
        player().findAndPlayTrack(track, true, clientName(payload));
}

void findAndPlayAlbum(const QVariantMap& payload) {
    const auto item = dictionary(payload, kAlbumDictionary);
    if (const auto album = item ? remoteitems::albumWithItsKeys(*item) : nullptr)
        player().findAndPlayAlbum(album, true, clientName(payload));
}

using PlayPandora = void (PlayerController::*)(const PandoraItem&, const std::optional<QString>&,
                                               const std::optional<QString>&);

template<PlayPandora play>
void playPandora(const QVariantMap& payload) {
    const auto request = playRequest(payload, QStringLiteral("pandoraDictionary"));
    const auto item = request ? remoteitems::pandoraItem(request->item) : std::nullopt;
    if (item)
        (player().*play)(*item, request->address, clientName(payload));
}

// The stations go out behind all the rest, as a client expects it.
void requestBroadcast(const QVariantMap& payload) {
    const auto address = clientAddress(payload);
    if (!address)
        return;
    auto& session = Session::current();
    if (const auto client = session.port<RemoteLink>().getClientSocketFromAddress(*address))
        player().broadcastAllStates(*client, [&pandora = session.port<PandoraLink>(), client] {
            pandora.broadcastPandoraStations(client);
        });
}

void remoteThumbsPandora(const QVariantMap& payload) {
    const auto thumb = integer(payload, QStringLiteral("thumb"));
    if (thumb == 2)
        player().setPandoraThumbsUp();
    else if (thumb == 1)
        player().setPandoraThumbsDown();
}

void remoteiTunesRating(const QVariantMap& payload) {
    const auto rating = integer(payload, QStringLiteral("rating"));
    if (rating && *rating >= 0 && *rating <= 100)
        player().setiTunesRating(*rating);
}

void remoteSearch(const QVariantMap& payload) {
    const auto term = text(payload, QStringLiteral("searchTerm"));
    const auto address = clientAddress(payload);
    if (term && address)
        SearchController::sharedController().remoteSearchForTerm(*term, *address);
}

void remoteSearchiTunesForAlbum(const QVariantMap& payload) {
    const auto item = dictionary(payload, kAlbumDictionary);
    const auto album = item ? remoteitems::askedAlbum(*item) : nullptr;
    const auto address = clientAddress(payload);
    if (album && address)
        RemoteiTunesKeyFetcher::sharedFetcher().handleRemoteSearchForAlbum(album, *address);
}

void remoteSearchiTunesForTrack(const QVariantMap& payload) {
    const auto item = dictionary(payload, kTrackDictionary);
    const auto track = item ? remoteitems::askedTrack(*item) : nullptr;
    const auto address = clientAddress(payload);
    if (track && address)
        RemoteiTunesKeyFetcher::sharedFetcher().handleRemoteSearchForTrack(track, *address);
}

// Sent on to all with the name alone, whatever else has come with it.
void reportAddedToFavorites(const QVariantMap& payload) {
    const auto userName = text(payload, QStringLiteral("userName"));
    if (!userName)
        return;
    notifyOfFavorite(*userName);
    Session::current().port<RemoteLink>().broadcastMessage(RemoteAction::notifyAddedToFavorites,
                                                           {{QStringLiteral("userName"), *userName}});
}

} // namespace

Handler askedByClient(RemoteAction action) {
    switch (action) {
    case RemoteAction::requestBroadcast:
        return requestBroadcast;
    case RemoteAction::playPause:
        return [](const QVariantMap&) { player().playPause(); };
    case RemoteAction::previousTrack:
        return [](const QVariantMap&) { player().previousTrack(); };
    case RemoteAction::nextTrack:
        return [](const QVariantMap&) { player().nextTrack(); };
    case RemoteAction::playTrack:
        return playTrack;
    case RemoteAction::playAlbum:
        return playAlbum;
    case RemoteAction::findAndPlayTrack:
        return findAndPlayTrack;
    case RemoteAction::findAndPlayAlbum:
        return findAndPlayAlbum;
    case RemoteAction::playPandoraItem:
        return playPandora<&PlayerController::playPandoraItem>;
    case RemoteAction::playPandoraStation:
        return playPandora<&PlayerController::playPandoraStation>;
    case RemoteAction::remoteThumbsPandora:
        return remoteThumbsPandora;
    case RemoteAction::remoteiTunesRating:
        return remoteiTunesRating;
    case RemoteAction::remoteSearch:
        return remoteSearch;
    case RemoteAction::remoteSearchiTunesForAlbum:
        return remoteSearchiTunesForAlbum;
    case RemoteAction::remoteSearchiTunesForTrack:
        return remoteSearchiTunesForTrack;
    case RemoteAction::reportAddedToFavorites:
        return reportAddedToFavorites;
    default:
        return nullptr;
    }
}

} // namespace merlode::remotehandlers
