#pragma once

#include "model/item_link.h"
#include "players/links.h"
#include "search/search_controller.h"

#include <atomic>

namespace merlode {

class PlayerController;

/// Answers what items ask of the program.
class ItemServices final : public ItemLink {
  public:
    /// `localeIdentifier` is the user's: "de_AT".
    explicit ItemServices(const QString& localeIdentifier) : countryCode_(countryCodeOf(localeIdentifier)) {}

    /// The controller must outlive all background work. Until it is set there is no remote player.
    void setController(const PlayerController& controller) { controller_ = &controller; }

    QString countryCode() override { return countryCode_; }
    bool hasRemotePlayer() override;

  private:
    const QString countryCode_;
    std::atomic<const PlayerController*> controller_ = nullptr;
};

/// The search, as far as the player controller needs it.
class PlayerSearch final : public SearchLink {
  public:
    void refreshRelatedArtists() override {}
    void findSpotifyAlbumArt(const QString& spotifyUrl) override {
        SearchController::sharedController().findSpotifyAlbumArt(spotifyUrl);
    }
    void findiTunesAlbumArt(const std::shared_ptr<Track>& track) override {
        SearchController::sharedController().findiTunesAlbumArt(*track);
    }
};

} // namespace merlode
