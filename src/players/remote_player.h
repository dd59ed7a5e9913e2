#pragma once

#include "model/item_source_type.h"
#include "players/music_player.h"

#include <QString>

namespace merlode {

struct PandoraItem;

/// The player of another machine, while this instance is its client: the last state that the server told. A
/// command is sent to the server and changes nothing here; the new state comes back as a message.
class RemotePlayer : public MusicPlayer {
  public:
    RemotePlayer() : MusicPlayer(MusicPlayerType::Remote) {}

    /// The art that the server sent last; nothing while it has none.
    std::optional<Image> remoteTrackAlbumArt;
    QString remoteTrackName;
    QString remoteAlbumName;
    QString remoteArtistName;
    int remoteVolume = 50;
    /// The service that plays at the server.
    MusicItemSourceType remoteSource = MusicItemSourceType::iTunes;
    std::optional<QString> remoteTrackiTunesPlayKey;
    std::optional<QString> remoteTrackRdioPlayKey;
    std::optional<QString> remoteTrackSpotifyPlayKey;

    /// What the server told of its services, whatever the settings on this side say.
    bool iTunesAvailable = false;
    bool spotifyAvailable = false;
    bool rdioAvailable = false;
    bool pandoraAvailable = false;

    /// The server's play state, 0 or 1.
    void setRemotePlayBackState(std::uint32_t state);
    /// Where the server's track stands now, in seconds.
    void setRemotePosition(int duration, int position);

    /// A track of the remote source with its key, or where the server told no name or no key a track that no
    /// service is known to have.
    std::shared_ptr<Track> getCurrentTrack() override;
    int getSoundVolume() override { return remoteVolume; }
    std::uint32_t getPlayState() override { return remotePlayBackState_; }
    bool isPlaying() override { return remotePlayBackState_ == kPlayStatePlaying; }
    /// The position that the server told last, run on by the time since then while it plays.
    std::optional<int> playerPosition() override;
    std::optional<int> trackDuration() override;
    PlayerCapabilities capabilities() override;

    void playpause() override;
    void previousTrack() override;
    void nextTrack() override;
    void setSoundVolume(int volume) override;

    // Have the server play an item on one of its services.

    void playiTunesTrack(const Track& track);
    void playSpotifyTrack(const Track& track);
    void playRdioTrack(const Track& track);
    void playiTunesAlbum(const Album& album);
    void playSpotifyAlbum(const Album& album);
    void playRdioAlbum(const Album& album);
    void playPandoraItem(const PandoraItem& item);
    void playPandoraStation(const PandoraItem& station);

    void pandoraThumbsUp();
    void pandoraThumbsDown();
    void updateiTunesRating(int rating);

  private:
    struct Position {
        int duration = 0;
        double position = 0;
        double readAt = 0; ///< uptime
    };
    double runOnPosition() const;

    std::uint32_t remotePlayBackState_ = kPlayStateNotPlaying;
    std::optional<Position> position_;
};

} // namespace merlode
