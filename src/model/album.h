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

    /// What a service tells of an album.
    struct Details {
        QString id = {};
        QString playKey = {};
        QString name = {};
        QString artistName = {};
        std::optional<QString> artworkURL = {};
        bool loadArtwork = false;
    };

    /// An album of the local library, which plays it by its name: the play key is not kept.
    static std::shared_ptr<Album> iTunesAlbum(const Details& details);
    static std::shared_ptr<Album> SpotifyAlbum(const Details& details);
    static std::shared_ptr<Album> RdioAlbum(const Details& details);
    /// An album that no service is known to have.
    static std::shared_ptr<Album> UnknownAlbum(const Details& details);

    /// An album of its own with copies of the tracks, sorted by number. Its art is the given album's, or is
    /// fetched. Delegates and what is being fetched stay behind.
    static std::shared_ptr<Album> copyAlbum(const Album& album);

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

    /// The form in which an album travels to another machine. A missing key or address has no entry. Every
    /// album of the local library carries "iTunes" as its key there.
    QVariantMap albumToDictionary(bool includeTracks) const;

    /// Look for this album, by name and artist, in the local library and at Spotify; see `MusicItem`.
    void getiTunesPlayKey() override;
    void getSpotifyPlayKey() override;

    /// Asks Spotify for the tracks, once in the album's life, and merges them in. Without a Spotify key
    /// nothing happens. Returns at once. Any thread.
    void getSpotifyTracks();
    /// Nothing: Rdio is found by a search only.
    void getRdioTracks() {}

    /// Takes over the tracks that a service tells. One equal to a track of the same number here, or else of
    /// the same number alone, gives that one its keys and services; one that fits nowhere becomes a row. The
    /// list stays sorted by number. Main thread.
    void mergeTracks(const std::vector<std::shared_ptr<Track>>& incoming);

    /// Looks for art in the iTunes store, where it has none then at Spotify, then at Last.fm. Each step is a
    /// start of its own for who knows that the former ones are of no use. Nothing happens while art is being
    /// fetched. Returns at once. Any thread.
    void fetchiTunesAlbumArt();
    void fetchSpotifyAlbumArt();
    void getLastFMAlbumArt();

  private:
    /// Gives the address of a picture, on a background queue.
    using ArtFinder = std::optional<QString> (Album::*)() const;

    void findArt(ArtFinder find, void (Album::*otherwise)());
    void artSearchEnded(const std::optional<QString>& url, void (Album::*otherwise)());
    std::optional<QString> artOfTheStore() const;
    std::optional<QString> artOfSpotify() const;
    std::optional<QString> artOfLastFM() const;
    void foundAtSpotify(const QString& uri, const QString& artURL);
    bool mergeIntoRow(const Track& track) const;

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
