#pragma once

#include "model/item_identity.h"
#include "model/music_item.h"

#include <QStringList>

#include <vector>

namespace merlode {

class Artist;
class Track;

/// Hears of changes to an album's tracks. Called on the thread that made the change, like
/// `MusicItemDelegate`.
class AlbumDelegate {
  public:
    virtual ~AlbumDelegate() = default;
    /// The list itself has changed.
    virtual void albumTracksUpdated() = 0;
    /// The services of one of its tracks have changed.
    virtual void albumTracksSourcesUpdated() = 0;
};

/// An album. It owns its tracks, which know it weakly. Two are equal when name and artist are, whatever the
/// case.
class Album final : public MusicItem {
  public:
    /// Every album shows the placeholder until it has art. With an address and `loadArtwork` the art starts
    /// to load at once; without `loadArtwork` it waits for `setShouldFetchImage`.
    static std::shared_ptr<Album> make(ItemSourceType sourceType, const QString& id, const QString& name,
                                       const QString& artistName, const std::optional<QString>& artworkURL,
                                       bool loadArtwork);

    const ItemIdentity& identity() const { return identity_; }
    bool operator==(const Album& other) const { return identity_ == other.identity_; }

    /// A write tells the album's delegate.
    std::vector<std::shared_ptr<Track>> tracks() const { return read(tracks_); }
    void setTracks(std::vector<std::shared_ptr<Track>> tracks);

    /// A track calls this when its sources have changed; the album's delegate is told.
    void trackItemUpdated();

    /// Set once the tracks were asked for at Spotify, and never taken back.
    bool fetchingSpotifyTracks() const { return read(fetchingSpotifyTracks_); }
    void setFetchingSpotifyTracks(bool fetching) { write(fetchingSpotifyTracks_, fetching); }
    bool fetchingRdioTracks() const { return read(fetchingRdioTracks_); }
    void setFetchingRdioTracks(bool fetching) { write(fetchingRdioTracks_, fetching); }

    const QString& artistName() const { return artistName_; }
    std::shared_ptr<Artist> artist() const { return read(artist_).lock(); }
    void setArtist(std::weak_ptr<Artist> artist) { write(artist_, std::move(artist)); }

    std::shared_ptr<AlbumDelegate> albumDelegate() const { return read(albumDelegate_).lock(); }
    void setAlbumDelegate(std::weak_ptr<AlbumDelegate> delegate) {
        write(albumDelegate_, std::move(delegate));
    }

    /// The album's tracks as Rdio names them.
    QStringList rdioTrackKeys() const { return read(rdioTrackKeys_); }
    void setRdioTrackKeys(QStringList keys) { write(rdioTrackKeys_, std::move(keys)); }

    /// The service on which the user last chose this album.
    std::optional<MusicItemSourceType> preferredSource() const { return read(preferredSource_); }
    void setPreferredSource(std::optional<MusicItemSourceType> source) { write(preferredSource_, source); }

    bool isAlbumType(ItemSourceType type) const { return sourceType().contains(type); }
    QString description() const;

  private:
    Album(ItemSourceType sourceType, const QString& id, const QString& name, const QString& artistName);

    const ItemIdentity identity_;
    const QString artistName_;
    std::vector<std::shared_ptr<Track>> tracks_;
    bool fetchingSpotifyTracks_ = false;
    bool fetchingRdioTracks_ = false;
    std::weak_ptr<Artist> artist_;
    std::weak_ptr<AlbumDelegate> albumDelegate_;
    QStringList rdioTrackKeys_;
    std::optional<MusicItemSourceType> preferredSource_;
};

} // namespace merlode
