#pragma once

#include "base/run_loop.h"
#include "platform/linux/mpris_art.h"
#include "platform/linux/mpris_calls.h"
#include "platform/linux/mpris_mirror.h"
#include "platform/scripted_player.h"

#include <QByteArrayList>
#include <QDBusConnection>
#include <QObject>

#include <functional>

namespace merlode {

/// What an MPRIS player is driven with besides the bus.
struct MprisPlayerOptions {
    /// For art on the web; null leaves that out.
    HttpClient* http = nullptr;
    /// Where art is fetched and decoded; null means no art at all.
    DispatchQueue* artQueue = nullptr;
    /// For art in the files that are played; empty leaves that out.
    PictureReader embeddedPicture;
    /// Where playlists are written for the player to open; made when missing.
    QString playlistFolder;
    /// The files of a library that match, in playing order, as absolute paths in the file system's own bytes.
    /// May be empty: MPRIS players have no library that can be asked.
    std::function<QByteArrayList(const LibraryQuery&)> filesFor;
};

/// One run of an MPRIS player. Reads come from a mirror of its properties, which its signals keep up to date;
/// what a player forgets to signal is found by reading everything anew whenever the volume or the position is
/// asked for and the mirror is older than `kStaleSeconds`. Commands are sent and not waited for. Main thread,
/// which never waits for the player.
class MprisPlayer final : public QObject, public ScriptedPlayer {
    Q_OBJECT
  public:
    static constexpr double kStaleSeconds = 1.5;
    /// How long a player may take to begin with an opened address by itself before it is told to play.
    static constexpr double kOpeningSeconds = 0.4;

    struct Events {
        /// Track, state, capabilities or, by a jump, position changed.
        std::function<void()> changed;
        /// The player has answered for the first time, be it with an error.
        std::function<void()> answered;
    };

    /// `owner` is the player's unique bus name. Events come from within bus callbacks, never from within a
    /// call of the interface. Connection, run loop and what the options point at must outlive this object.
    MprisPlayer(const QDBusConnection& connection, const QString& owner, RunLoop& runLoop,
                MprisPlayerOptions options, Events events);

    /// Subscribes to the player and asks for everything.
    void begin();
    /// Waits, `seconds` at most, for the first reading. Tells no events.
    void settle(double seconds);
    /// The player has gone: from now on everything gives nothing.
    void retire();
    /// The id of the player's desktop entry, where it told one.
    const QString& desktopEntry() const { return desktopEntry_; }

    std::uint32_t playerState() override;
    std::optional<ScriptedTrack> currentTrack() override;
    void play() override;
    void playpause() override;
    void pause() override;
    void nextTrack() override;
    void previousTrack() override;
    std::optional<int> soundVolume() override;
    void setSoundVolume(int volume) override;
    std::optional<double> playerPosition() override;
    void setPlayerPosition(double seconds) override;
    std::optional<Image> albumArt() override;
    void setRepeating(bool repeating) override;
    void setShuffling(bool shuffling) override;
    std::optional<int> rating() override;
    void setRating(int rating) override;
    void playKey(const QString& key) override;
    bool playFromLibrary(const LibraryQuery& query, const QString& playlistName) override;
    PlayerCapabilities capabilities() override;

  private Q_SLOTS:
    void propertiesChanged(const QDBusMessage& signal);
    void seeked(const QDBusMessage& signal);

  private:
    void subscribe();
    void command(const QString& method, const QVariantList& arguments = {});
    void setProperty(const QString& name, const QVariant& value);
    void open(const QString& uri);
    void forgetOpening();
    void opened(const QDBusMessage& answer);
    void ensurePlaying();
    void insistOnPlaying();
    void refresh();
    void refreshIfStale();
    void refreshed(const QDBusMessage& answer);
    void askPosition();
    void takeIn(const MprisChange& change);
    void askDesktopEntry();
    void afterNews(Timer& slot, void (MprisPlayer::*question)());

    QDBusConnection connection_;
    QString owner_;
    RunLoop& runLoop_;
    MprisPlayerOptions options_;
    Events events_;
    MprisCalls calls_;
    MprisMirror mirror_;
    MprisArt art_;
    QString desktopEntry_;
    Timer positionWanted_;
    Timer refreshWanted_;
    quint64 wish_ = 0; // counts what the user asked for; a late reply to an earlier wish starts nothing
    Timer lateState_;  // runs while the state of a new track may be on its way
    Timer opening_;    // runs while an opened address has time to begin
    bool playWhenRead_ = false; // the next full reading decides whether the player has to be told to play
    bool answered_ = false;
    bool refreshing_ = false;
    bool refreshAgain_ = false;
    bool askingPosition_ = false;
    bool askPositionAgain_ = false;
    double refreshedAt_ = 0;
};

} // namespace merlode
