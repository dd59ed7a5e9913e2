#pragma once

#include "base/notification_center.h"
#include "model/pandora_item.h"
#include "model/remote_link.h"
#include "platform/user_notification_center.h"
#include "players/pandora_player.h"

#include <QString>
#include <QVariantMap>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

/// What player control asks of parts that stand above it; `src/app` installs them. A link whose part is not
/// there yet has a null implementation, which does what a program without it would do. All on the main
/// thread.
namespace merlode {

class Album;
class Track;

/// The application around the controllers. Without one `PlayerController` cannot be made.
class ApplicationDelegate {
  public:
    virtual ~ApplicationDelegate() = default;
    /// The text beside the icon in the bar; empty for none.
    virtual void updateStatusItemText(const QString& text) = 0;
    /// The one door to the desktop's notifications; the user's settings and sleep are looked at behind it.
    virtual void processUserNotification(const UserNotification& notification) = 0;
};

/// The search, as far as the player needs it.
class SearchLink {
  public:
    virtual ~SearchLink() = default;
    /// Looks anew for albums related to the playing artist, if the artist has changed.
    virtual void refreshRelatedArtists() = 0;
    /// Looks for the art of the track with this address and hands it to `PlayerController::replaceAlbumArt`.
    virtual void findSpotifyAlbumArt(const QString& spotifyUrl) = 0;
    virtual void findiTunesAlbumArt(const std::shared_ptr<Track>& track) = 0;
};

/// The usage reporter and, behind it, the scrobbler.
class PlayReports {
  public:
    virtual ~PlayReports() = default;
    /// A track plays; `position` in seconds. Called on every look at a playing track, not only on a new one.
    virtual void reportStartedTrack(const Track& track, int position) = 0;
    /// The user had an item played on the service with this raw value; the client's name when a client asked.
    virtual void reportTrackPlay(const Track& track, const QString& source,
                                 const std::optional<QString>& clientName) = 0;
    virtual void reportAlbumPlay(const Album& album, const QString& source,
                                 const std::optional<QString>& clientName) = 0;
};

class NullPlayReports final : public PlayReports {
  public:
    void reportStartedTrack(const Track&, int) override {}
    void reportTrackPlay(const Track&, const QString&, const std::optional<QString>&) override {}
    void reportAlbumPlay(const Album&, const QString&, const std::optional<QString>&) override {}
};

/// The Pandora page.
class PandoraLink {
  public:
    virtual ~PandoraLink() = default;
    /// Whether the login has succeeded, so that there is something to play.
    virtual bool isLogInReady() const = 0;
    /// A new adapter; called once, when the login is ready for the first time.
    virtual std::shared_ptr<PandoraPlayer> makePlayer() = 0;
    /// Sends the saved stations, if there are any, to one client or to all.
    virtual void broadcastPandoraStations(std::optional<RemoteLink::ClientId> client) = 0;
    /// On a client: the host's stations take the place of those that are known.
    virtual void updateRemoteStations(const std::vector<PandoraItem>& stations) = 0;
};

class NullPandoraLink final : public PandoraLink {
  public:
    bool isLogInReady() const override { return false; }
    std::shared_ptr<PandoraPlayer> makePlayer() override { return nullptr; }
    void broadcastPandoraStations(std::optional<RemoteLink::ClientId>) override {}
    void updateRemoteStations(const std::vector<PandoraItem>&) override {}
};

} // namespace merlode
