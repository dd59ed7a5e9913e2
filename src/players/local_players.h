#pragma once

#include "base/notification_center.h"
#include "players/music_player.h"
#include "players/scripted_apps.h"

namespace merlode {

/// What the adapters of the three applications share: everything goes to the wrapper `App`.
template<class App>
class ScriptedMusicPlayer : public MusicPlayer {
  public:
    explicit ScriptedMusicPlayer(MusicPlayerType playerType) : MusicPlayer(playerType) {
        processID = app.processID;
    }

    void playpause() override { app.playpause(); }
    void previousTrack() override { app.previousTrack(); }
    void nextTrack() override { app.nextTrack(); }
    void pause() override { app.pause(); }
    int getSoundVolume() override { return app.soundVolume().value_or(MusicPlayer::getSoundVolume()); }
    void setSoundVolume(int volume) override { app.setSoundVolume(volume); }
    std::uint32_t getPlayState() override {
        return app.playerState() == kPlayerStatePlaying ? kPlayStatePlaying : kPlayStateNotPlaying;
    }
    bool isPlaying() override { return getPlayState() == kPlayStatePlaying; }
    std::optional<Image> getAlbumArt() override { return app.albumArt(); }
    PlayerCapabilities capabilities() override { return app.capabilities(); }

  protected:
    App app;
};

/// The local-library player.
class iTunesPlayer final : public ScriptedMusicPlayer<iTunesApp> {
  public:
    iTunesPlayer() : ScriptedMusicPlayer(MusicPlayerType::iTunes) {}

    /// The player's track if the player tells all of id, name, album and artist; else the last track that an
    /// announcement told in full, which serves streams.
    std::shared_ptr<Track> getCurrentTrack() override;
    std::optional<int> playerPosition() override;
    std::optional<int> trackDuration() override;
    void setPlayerPosition(int seconds) override { app.setPlayerPosition(seconds); }
    /// With no such track in the library an alert says so.
    void playTrack(const Track& track) override;
    void playAlbum(const Album& album) override;

    /// Remembers the track of an announcement that tells name, artist and album; others change nothing.
    void trackChanged(const Notification& notification);

    std::optional<int> currentRating() const { return app.rating(); }
    void updateRating(int rating) const { app.setRating(rating); }

  private:
    std::shared_ptr<Track> currentTrack_;
};

/// The Spotify client.
class SpotifyPlayer final : public ScriptedMusicPlayer<SpotifyApp> {
  public:
    SpotifyPlayer() : ScriptedMusicPlayer(MusicPlayerType::Spotify) {}

    void play() override { app.play(); }
    std::shared_ptr<Track> getCurrentTrack() override;
    /// The client's milliseconds, rounded to the nearest second, a half going up.
    std::optional<int> playerPosition() override;
    std::optional<int> trackDuration() override;
    void setPlayerPosition(int seconds) override { app.setPlayerPosition(seconds); }
    void toggleRepeating(bool repeating) override { app.setRepeating(repeating); }
    void toggleShuffling(bool shuffling) override { app.setShuffling(shuffling); }
    /// None while an advertisement plays: the track before it stays on show, and the picture is not its.
    std::optional<Image> getAlbumArt() override;
    /// Without a Spotify key nothing happens.
    void playTrack(const Track& track) override;
    void playAlbum(const Album& album) override;

    std::optional<QString> spotifyUrl() const { return app.spotifyUrl(); }
    /// True while the client plays an advertisement, which is no track.
    bool playsAdvertisement() const;
};

/// The third desktop player.
class RdioPlayer final : public ScriptedMusicPlayer<RdioApp> {
  public:
    RdioPlayer() : ScriptedMusicPlayer(MusicPlayerType::Rdio) {}

    std::shared_ptr<Track> getCurrentTrack() override;
    std::optional<int> playerPosition() override;
    std::optional<int> trackDuration() override;
    void setPlayerPosition(int seconds) override { app.setPlayerPosition(seconds); }
    /// Without an Rdio key nothing happens.
    void playTrack(const Track& track) override;
    void playAlbum(const Album& album) override;

    std::optional<QString> rdioURL() const { return app.rdioURL(); }
    std::optional<QString> rdioKey() const { return app.key(); }
};

} // namespace merlode
