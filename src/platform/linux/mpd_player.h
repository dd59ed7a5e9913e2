#pragma once

#include "platform/linux/mpd_art.h"
#include "platform/linux/mpd_link.h"
#include "platform/linux/mpd_snapshot.h"
#include "platform/scripted_player.h"

namespace merlode {

/// One run of an MPD. Reads come from a mirror, commands go to a queue: no call here waits for the server but
/// `playFromLibrary`, which waits `kPlayerCallTimeout` at most. Main thread.
class MpdPlayer final : public ScriptedPlayer {
  public:
    /// A mirror older than this is renewed when it is read, in seconds: positions drift, and a server that
    /// has hung shows only when it is asked.
    static constexpr double kStaleAfter = 1.5;

    /// `first` is what the server told last; `changed` is called through the run loop. The session must
    /// outlive the player.
    MpdPlayer(MpdAddress address, Session& session, MpdSnapshot first, QString musicFolder,
              std::function<void()> changed);

    /// The server told that something changed: reads it anew. Also the end of the pause of a hung server.
    void noteServerEvent();

    /// The server is gone for good; from here on the player gives nothing and is silent.
    void leave();

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

  private:
    void send(MpdCommand command);
    void refresh();
    void refreshIfStale();
    void take(const std::optional<MpdSnapshot>& snapshot);
    void refreshRating();
    void show(MpdSnapshot snapshot);
    void blank();

    RunLoop& loop_;
    QString musicFolder_;
    std::function<void()> changed_;
    MpdSnapshot mirror_;
    bool refreshing_ = false;
    bool refreshAgain_ = false;
    bool outdated_ = false; // the mirror was set by a command behind the refresh that is under way
    bool left_ = false;
    MpdLink link_;
    MpdArt art_;
};

} // namespace merlode
