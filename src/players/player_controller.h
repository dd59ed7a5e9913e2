#pragma once

#include "base/image.h"
#include "base/notification_center.h"
#include "base/observed.h"
#include "base/run_loop.h"
#include "model/item_source_type.h"
#include "model/remote_link.h"
#include "players/art_courier.h"
#include "players/music_player.h"
#include "players/position_clock.h"

#include <QVariantMap>

#include <atomic>
#include <memory>
#include <optional>
#include <set>
#include <vector>

namespace merlode {

class Alerts;
class Album;
class ApplicationDelegate;
class iTunesPlayer;
class MusicItem;
class PandoraLink;
class PandoraPlayer;
class PlayReports;
class RdioPlayer;
class RemotePlayer;
class SearchLink;
class Session;
class SpotifyPlayer;
class Track;
class UserDefaults;
class Workspace;
struct PandoraItem;

namespace remotestate {
struct Position;
}

/// What to play once a player that is being started is up.
struct PendingMusicItem {
    std::shared_ptr<MusicItem> item;
    MusicItemSourceType source = MusicItemSourceType::iTunes;
    std::optional<QString> remoteAddress; ///< of the client that asked, if one did
    std::optional<QString> clientName;
};

/// Owns the role of the active player: decides who has it, listens to what the players announce, mirrors the
/// active one into its own fields and publishes each change through notifications and, for the clients of
/// this machine, through `RemoteLink`. Every command of the interface is one call here. Main thread.
class PlayerController {
  public:
    /// The controller of the current session, made on first use. Making it picks the first active player and
    /// starts to listen. The session must have an `ApplicationDelegate` by then.
    static PlayerController& sharedController();

    PlayerController();
    ~PlayerController();
    PlayerController(const PlayerController&) = delete;
    PlayerController& operator=(const PlayerController&) = delete;

    // Constants.
    const int kDefaultPlayerVolume = 50;                 ///< volume used when nothing else is known
    const int kHotkeyVolumeIncreaseDecreaseValue = 1;    ///< step of the volume hotkeys
    const int kMinPositionOverlay = 3;                   ///< seconds of disagreement that force a correction
    const double kPandoraPollInterval = 1.0;             ///< seconds
    const double kPlayerPositionBroadcastInterval = 5.0; ///< seconds
    const double kPlayerPositionUpdateInterval = 0.5;    ///< seconds
    const double kForceSyncTime = 1.0;                   ///< seconds from a play/pause to its read-back
    const QString kPlayerNotRunningAlertTitle = QStringLiteral(" is not running");
    const QString kPlayerNotRunningAlertMessage =
        QStringLiteral(" is starting up. This may take a few moments.");
    const QString kPlayerNotInstalledAlertTitle = QStringLiteral(" is not installed");
    const QString kPlayerNotInstalledAlertMessage = QStringLiteral("Please install ");

    // The mirror. Plain reads; the writes are this class's own business but where a setter is offered.
    const std::shared_ptr<MusicPlayer>& activePlayer() const { return activePlayer_.get(); }
    const std::shared_ptr<Track>& currentTrack() const { return currentTrack_.get(); }
    /// 0 playing, 1 anything else.
    std::uint32_t currentPlayState() const { return currentPlayState_.get(); }
    /// Never empty: the placeholder where there is no art.
    const Image& currentAlbumArt() const { return currentAlbumArt_.get(); }
    /// Held while this instance is a client.
    const std::shared_ptr<RemotePlayer>& remotePlayer() const { return remotePlayer_; }
    void setRemotePlayer(std::shared_ptr<RemotePlayer> player);
    /// Another host, by its name, is being connected, or with an empty name none any more: the host's player
    /// is put in charge, or leaves.
    void observeCurrentServerName(const QString& name);
    /// Whether there is one. Any thread.
    bool hasRemotePlayer() const { return hasRemotePlayer_; }

    std::optional<MusicPlayerType> lastActivePlayerType; ///< last player of this machine that was active
    std::optional<PendingMusicItem> pendingMusicItemAndPlayer;
    std::optional<QString> remoteClientName; ///< on whose behalf an item is being played
    std::optional<QString> pandoraStationName;
    int pandoraThumb = 0; ///< last known thumb of the Pandora track: 0 none, 1 down, 2 up
    bool muted = false;
    int oldVolume = 0; ///< volume to return to on unmute
    int currentVolume = kDefaultPlayerVolume;
    std::shared_ptr<Album> currentAlbum;

    /// Puts a player in charge, or nobody with null; also for the player that is in charge already.
    void setActivePlayer(std::shared_ptr<MusicPlayer> player) { activePlayer_.set(std::move(player)); }

    // Commands. Without an active player they do nothing.

    /// Shows the opposite state at once and reads the true one back a second later. With `delayed` the state
    /// is only published again after a second, for players that take their time.
    void playPause(bool delayed = false);
    void nextTrack();
    void previousTrack();
    /// Whole seconds from the start of the track.
    void setPlayerPosition(int seconds);
    /// Sets the volume, 0 to 100 (other values are brought into that range), and keeps the player's own
    /// read-back away for three seconds.
    void setVolume(int volume);
    void increaseVolume();
    void decreaseVolume();
    /// With a volume other than 0 mutes and remembers it; with 0 returns to the remembered volume.
    void toggleMute(int volume);
    void toggleMuteHotkey();
    /// The last step of playing an item: hands it to the active player and remembers which client asked, if
    /// one did.
    void playTrack(const Track& track, const std::optional<QString>& clientName);
    void playAlbum(const Album& album, const std::optional<QString>& clientName);

    // Playing an item on the service that suits best, or on a chosen one. `remoteAddress` and `clientName`
    // are of the client that asked, if one did: it then gets the messages that the user would see.

    /// Chooses the active player's service if it has the item, else one whose application runs, else one that
    /// the user has enabled. Without any the user is told, or with `remote` nobody. On a client the host does
    /// all this.
    void findAndPlayTrack(const std::shared_ptr<Track>& track, bool remote = false,
                          const std::optional<QString>& clientName = std::nullopt);
    void findAndPlayAlbum(const std::shared_ptr<Album>& album, bool remote = false,
                          const std::optional<QString>& clientName = std::nullopt);
    /// Play the item if the service has it, once the application is up: one that does not run is started. On
    /// a client, as for Pandora's, the host plays it.
    void playiTunesTrack(const std::shared_ptr<Track>& track, const std::optional<QString>& remoteAddress,
                         const std::optional<QString>& clientName);
    void playSpotifyTrack(const std::shared_ptr<Track>& track, const std::optional<QString>& remoteAddress,
                          const std::optional<QString>& clientName);
    void playRdioTrack(const std::shared_ptr<Track>& track, const std::optional<QString>& remoteAddress,
                       const std::optional<QString>& clientName);
    void playiTunesAlbum(const std::shared_ptr<Album>& album, const std::optional<QString>& remoteAddress,
                         const std::optional<QString>& clientName);
    void playSpotifyAlbum(const std::shared_ptr<Album>& album, const std::optional<QString>& remoteAddress,
                          const std::optional<QString>& clientName);
    void playRdioAlbum(const std::shared_ptr<Album>& album, const std::optional<QString>& remoteAddress,
                       const std::optional<QString>& clientName);
    void playPandoraItem(const PandoraItem& item, const std::optional<QString>& remoteAddress,
                         const std::optional<QString>& clientName);
    void playPandoraStation(const PandoraItem& station, const std::optional<QString>& remoteAddress,
                            const std::optional<QString>& clientName);
    /// Switches a service on or off for searching and playing, and tells everybody, clients included.
    void setServiceEnabled(MusicItemSourceType service, bool enabled);
    /// Starts the service's application, keeps the item until it is up and tells of it; an application that
    /// is not installed is only told of. A newer request takes the place of one that waits.
    void openPlayerAndPlayMusicItem(MusicItemSourceType source, const std::shared_ptr<MusicItem>& item,
                                    const std::optional<QString>& remoteAddress,
                                    const std::optional<QString>& clientName);

    // The position, kept by a local clock and corrected by the player now and then.

    double currentPlayerPosition() const { return clock_.position(); } ///< seconds
    double currentTrackDuration() const { return clock_.duration(); }  ///< seconds
    TrackPositionDisplayType trackPositionDisplayType() const { return clock_.displayType(); }
    /// As the interface shows it: "01:05", or with `Remaining` "-01:05".
    QString currentPlayerPositionString() const { return clock_.text(); }
    void togglePlayerPositionType() { clock_.toggleDisplayType(); }

    // Thumbs and stars. They do nothing while another kind of player is in charge.

    /// Reads the thumb of the Pandora track and tells everybody of a change.
    void updatePandoraThumbs();
    void setPandoraThumbsUp();
    void setPandoraThumbsDown();
    /// The rating of the local library's track, on its own scale of 0 to 100; nothing with another player.
    std::optional<int> getiTunesRating() const;
    void setiTunesRating(int rating);

    // Who is in charge.

    /// Adapters of the three applications: present only while the application is installed and runs. Each
    /// read makes a new one.
    std::shared_ptr<iTunesPlayer> itunesPlayer() const;
    std::shared_ptr<SpotifyPlayer> spotifyPlayer() const;
    std::shared_ptr<RdioPlayer> rdioPlayer() const;
    /// Present while the login is ready; always the same one.
    std::shared_ptr<PandoraPlayer> pandoraPlayer();
    /// The services that can be used: by the settings or, on a client, as the server told. Never Pandora.
    ItemSourceType availableSources() const;
    /// Picks the first active player: one that plays, else the last active kind, else any that runs.
    void setupMusicPlayers();
    /// Gives a player the role and pauses the others. Null, and a player of the kind that has the role
    /// already, change nothing.
    void switchToPlayer(const std::shared_ptr<MusicPlayer>& player);

    // Looking at the active player anew, and telling everybody.

    void updateAll();
    void updateTrackInfo();
    /// With `known` the stored play state is right already and only published.
    void updatePlayState(bool known);
    void updateVolume();
    /// Fetches the art of the track after the time its player needs, unless that album's art is shown
    /// already. `secondAttempt` marks the one repetition for Pandora.
    void updateAlbumArt(bool secondAttempt);
    /// Art that a search has found; dropped when the track has been left or has art by now.
    void replaceAlbumArt(const Image& image, const QString& trackName, const QString& artistName,
                         const QString& albumName);
    /// The complete picture, queued, for one client or for all: volume, play state, track, art. `done` is
    /// called once all of it has been sent.
    void broadcastAllStates(std::optional<RemoteLink::ClientId> client = std::nullopt,
                            std::function<void()> done = {});
    /// Reads the volume of the active player and takes a difference over.
    void checkActivePlayerVolume();
    /// Forgets the track and all that was read of the player.
    void clearCurrentTrackData();
    /// Notices that the active player's process has gone.
    void checkProcessID();
    /// Sets the name and tells of it; nothing where no station plays.
    void setPandoraStationName(const std::optional<QString>& name);
    /// Stops every timer, for good; called when the program ends.
    void killAllTimers();

    // What a server tells its client. A message in which something is missing or of the wrong type changes
    // nothing. Only `remoteVolumeChanged` acts without a `RemotePlayer` in charge.

    /// The track, where it comes from and stands, and the services that the server has.
    void remoteStateChange(const QVariantMap& message);
    void remotePlayBackStateChanged(const QVariantMap& message);
    void remotePlayerPositionUpdate(const QVariantMap& message);
    /// On a server a client's wish; on a client what the server's volume is now.
    void remoteVolumeChanged(const QVariantMap& message);
    /// The picture is decoded in the background; one that a newer message has overtaken is dropped.
    void remoteAlbumArtChanged(const QVariantMap& message);
    void remoteSourceChanged(const QVariantMap& message);

    // The intake of announcements.

    void iTunesStateChanged(const Notification& notification);
    void spotifyStateChanged(const Notification& notification);
    /// Subscribed to nothing: that player announces nothing.
    void rdioStateChanged(const Notification& notification);
    void applicationBecameActive(const Notification& notification);
    void launchedApp(const Notification& notification);

  private:
    enum class Intake { iTunes, Spotify, Rdio };

    /// What `currentAlbumArt` belongs to.
    struct AlbumArtDetails {
        QString albumName;
        QString artistName;
        bool operator==(const AlbumArtDetails&) const = default;
    };

    void registerForNotifications();
    void stateChanged(Intake source, const Notification& notification);
    std::shared_ptr<MusicPlayer> adapterOf(MusicPlayerType type);
    bool isEchoOfPause(MusicPlayerType type);
    void applyPendingItem(const std::shared_ptr<MusicPlayer>& player);
    /// The service on which `findAndPlay...` plays; nothing where none can.
    std::optional<MusicPlayerType> serviceToPlay(const MusicItem& item);
    void playOn(MusicPlayerType type, const std::shared_ptr<MusicItem>& item,
                const std::optional<QString>& remoteAddress, const std::optional<QString>& clientName);
    void playWith(const std::shared_ptr<MusicPlayer>& player, const MusicItem& item,
                  const std::optional<QString>& clientName);
    std::shared_ptr<PandoraPlayer> readyPandoraPlayer(const std::optional<QString>& remoteAddress,
                                                      const std::optional<QString>& clientName);
    void startPandoraPolling();
    void showAlert(const QString& title, const QString& message, const std::optional<QString>& remoteAddress);
    bool activeIs(MusicPlayerType type) const;

    bool adoptPlayingPlayer();
    bool adoptLastActivePlayer();
    bool adoptRunningPlayer();
    void activePlayerWasSet(const std::shared_ptr<MusicPlayer>& oldValue);
    void becameActive(MusicPlayer& player);
    void nobodyIsActive();
    void showPlaceholderArt();
    void clearPandora();
    void startVolumePolling();
    void stopVolumePolling();
    void startProcessIDPolling();
    void stopProcessIDPolling();
    void checkPandoraState();

    void startPositionTimers();
    void localUpdatePlayerPosition();
    void checkPlayerPosition();
    void agreeOnPosition(int duration, int position);
    std::shared_ptr<RemotePlayer> activeRemotePlayer() const;
    void remotePositionRead(RemotePlayer& player, const remotestate::Position& read);

    void currentTrackWillBeSet(const std::shared_ptr<Track>& track);
    void setCurrentTrack(std::shared_ptr<Track> track);
    void updateStatusItemString(const Track& track);
    void postPlayingNotification(const Track& track);
    static AlbumArtDetails artDetailsOf(const Track& track);
    void fetchAlbumArt(MusicPlayerType chosenPlayer, bool secondAttempt);
    void lookForLateArt(const AlbumArtDetails& details, int looks);
    void broadcastAlbumArt();
    void sendAlbumArt(std::optional<RemoteLink::ClientId> client, std::function<void()> done);
    void broadcastVolume(std::optional<RemoteLink::ClientId> client = std::nullopt);
    void broadcastPlayState(std::optional<RemoteLink::ClientId> client = std::nullopt);
    void forceSyncState();
    QVariantMap trackMessage(const Track& track) const;
    QVariantMap currentTrackMessage() const;
    QVariantMap emptyTrackMessage() const;
    /// Duration and position of the active player, when it tells both.
    std::optional<std::pair<int, int>> readPosition() const;
    void addPosition(QVariantMap& message) const;
    void addAvailability(QVariantMap& message) const;

    /// Work for later that ends quietly when the controller has gone.
    void async(std::function<void()> work);
    void after(double seconds, std::function<void()> work);
    void post(NotificationName name, const QVariantMap& userInfo = {});

    Session& session_;
    ApplicationDelegate& appDelegate_;
    UserDefaults& defaults_;
    Workspace& workspace_;
    RemoteLink& remoteLink_;
    SearchLink& search_;
    PlayReports& reports_;
    PandoraLink& pandora_;

    Observed<std::shared_ptr<MusicPlayer>> activePlayer_;
    Observed<std::shared_ptr<Track>> currentTrack_;
    Observed<std::uint32_t> currentPlayState_{kPlayStateNotPlaying};
    Observed<Image> currentAlbumArt_;
    std::shared_ptr<PandoraPlayer> pandoraPlayer_;
    std::shared_ptr<RemotePlayer> remotePlayer_;
    std::atomic<bool> hasRemotePlayer_ = false;
    AlbumArtDetails currentAlbumArtDetails_;
    PositionClock clock_;
    ArtCourier artCourier_;

    Timer volumeTimer_;
    Timer processIDTimer_;
    Timer pandoraTimer_;
    Timer playerPositionTimer_;
    Timer playerPositionBroadcastTimer_;
    Timer forceSyncTimer_;
    bool timersKilled_ = false;
    std::set<MusicPlayerType> silenced_; ///< players that were paused when the active one took over

    std::vector<Observation> observations_;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true); ///< deferred work holds it weakly
};

} // namespace merlode
