#include "search/playable_item.h"

#include "model/album.h"
#include "model/track.h"
#include "players/player_controller.h"

namespace merlode {

namespace {

ItemSourceType sources(const std::shared_ptr<Track>& track) {
    return track->sourceType();
}
ItemSourceType sources(const std::shared_ptr<Album>& album) {
    return album->sourceType();
}
ItemSourceType sources(const PandoraItem&) {
    return ItemSourceType::Pandora;
}

void play(const std::shared_ptr<Track>& track, std::optional<MusicItemSourceType> service) {
    auto& controller = PlayerController::sharedController();
    if (service == MusicItemSourceType::iTunes)
        controller.playiTunesTrack(track, std::nullopt, std::nullopt);
    else if (service == MusicItemSourceType::Spotify)
        controller.playSpotifyTrack(track, std::nullopt, std::nullopt);
    else if (service == MusicItemSourceType::Rdio)
        controller.playRdioTrack(track, std::nullopt, std::nullopt);
    else
        controller.findAndPlayTrack(track);
}

void play(const std::shared_ptr<Album>& album, std::optional<MusicItemSourceType> service) {
    auto& controller = PlayerController::sharedController();
    if (service == MusicItemSourceType::iTunes)
        controller.playiTunesAlbum(album, std::nullopt, std::nullopt);
    else if (service == MusicItemSourceType::Spotify)
        controller.playSpotifyAlbum(album, std::nullopt, std::nullopt);
    else if (service == MusicItemSourceType::Rdio)
        controller.playRdioAlbum(album, std::nullopt, std::nullopt);
    else
        controller.findAndPlayAlbum(album);
}

void play(const PandoraItem& item, std::optional<MusicItemSourceType>) {
    PlayerController::sharedController().playPandoraItem(item, std::nullopt, std::nullopt);
}

} // namespace

ItemSourceType sourcesOf(const PlayableItem& item) {
    return std::visit([](const auto& found) { return sources(found); }, item);
}

void playItem(const PlayableItem& item, std::optional<MusicItemSourceType> service) {
    std::visit([service](const auto& found) { play(found, service); }, item);
}

} // namespace merlode
