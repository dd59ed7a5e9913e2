#pragma once

#include "model/item_link.h"
#include "players/links.h"
#include "search/search_controller.h"

#include <atomic>
#include <memory>
#include <mutex>

namespace merlode {

class PlayerController;

/// Answers what items ask of the program.
class ItemServices final : public ItemLink {
  public:
    /// `localeIdentifier` is the user's: "de_AT".
    ItemServices(Session& session, const QString& localeIdentifier);

    /// The controller must outlive all background work. Until it is set there is no remote player.
    void setController(const PlayerController& controller) { controller_ = &controller; }

    /// Reads the session's media library on first use and whenever it has changed since.
    std::shared_ptr<const LibrarySongs> iTunesSongs() override;
    QString countryCode() override { return countryCode_; }
    bool hasRemotePlayer() override;
    void fetchiTunesKeyFromHost(const std::shared_ptr<Track>& track) override;

  private:
    Session& session_;
    const QString countryCode_;
    std::mutex reading_; ///< held while the library is read: who comes then waits for it
    std::shared_ptr<const LibrarySongs> songs_;
    std::atomic<bool> stale_ = true;
    Observation changes_;
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
