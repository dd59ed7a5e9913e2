#pragma once

#include "platform/scripted_player.h"

#include <QLatin1StringView>

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

namespace merlode {

/// A thin wrapper over one scripted application: it is bound to the process that ran when it was made, and
/// its reads give nothing once that process has gone. Main thread.
class ScriptedApp {
  public:
    std::optional<std::int32_t> processID;

    std::uint32_t playerState() const;
    std::optional<ScriptedTrack> currentTrack() const;
    void playpause() const;
    void previousTrack() const;
    void nextTrack() const;
    void pause() const;
    std::optional<int> soundVolume() const;
    void setSoundVolume(int volume) const;
    std::optional<Image> albumArt() const;
    PlayerCapabilities capabilities() const;

  protected:
    /// Connects to the first running application with this identifier, if there is one.
    explicit ScriptedApp(std::string_view bundleIdentifier);
    ~ScriptedApp() = default;

    /// Null when no application runs.
    const std::shared_ptr<ScriptedPlayer>& application() const { return application_; }

  private:
    std::shared_ptr<ScriptedPlayer> application_;
};

/// The local-library player.
class iTunesApp final : public ScriptedApp {
  public:
    iTunesApp();
    /// Seconds.
    std::optional<double> playerPosition() const;
    /// Seconds.
    std::optional<double> trackDuration() const;
    void setPlayerPosition(double seconds) const;
    /// 0 to 100 in steps of 20.
    std::optional<int> rating() const;
    void setRating(int rating) const;
    /// Plays the library's tracks with exactly these names as the playlist `kPlaylistName`. False, with all
    /// playlists as they were, when the library has none.
    bool createPlaylistForTrack(const QString& trackName, const QString& albumName,
                                const QString& artistName) const;
    bool createPlaylistForAlbum(const QString& albumName, const QString& artistName) const;

    /// There is at most one playlist of this name; the user's own are left alone.
    static constexpr QLatin1StringView kPlaylistName{"Merlode"};
};

/// The Spotify client. It counts in milliseconds, as its service does.
class SpotifyApp final : public ScriptedApp {
  public:
    SpotifyApp();
    void play() const;
    /// Milliseconds.
    std::optional<int> playerPosition() const;
    /// Milliseconds.
    std::optional<int> trackDuration() const;
    /// Takes seconds.
    void setPlayerPosition(double seconds) const;
    /// "spotify:track:..." or, for an advertisement, "spotify:ad:...".
    std::optional<QString> spotifyUrl() const;
    void playURI(const QString& uri) const;
    void setRepeating(bool repeating) const;
    void setShuffling(bool shuffling) const;
};

/// The third desktop player.
class RdioApp final : public ScriptedApp {
  public:
    RdioApp();
    /// Seconds.
    std::optional<double> playerPosition() const;
    /// Seconds.
    std::optional<double> trackDuration() const;
    /// Takes whole seconds.
    void setPlayerPosition(int seconds) const;
    std::optional<QString> rdioURL() const;
    std::optional<QString> key() const;
    void playKey(const QString& key) const;
};

} // namespace merlode
