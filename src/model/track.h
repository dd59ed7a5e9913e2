#pragma once

#include "model/item_identity.h"
#include "model/music_item.h"

#include <QVariantMap>

namespace merlode {

class Favorite;

/// One song. Two are equal when title, artist and album are, whatever the case; lengths and numbers take no
/// part.
class Track final : public MusicItem {
  public:
    /// What a service tells of a song.
    struct Details {
        QString id = {};
        QString name = {};
        QString albumName = {};
        QString artistName = {};
        qint64 duration = 0; ///< in the unit of the service, see the factories
        bool isExplicit = false;
        qint64 trackNumber = 0;
    };

    static std::shared_ptr<Track> make(ItemSourceType sourceType, const Details& details);

    /// A song of the local library; its duration stays in the library's own unit.
    static std::shared_ptr<Track> iTunesTrack(const Details& details, const QString& playKey);
    /// A song of Spotify; its duration is given in milliseconds and kept in seconds, rounded to nearest.
    static std::shared_ptr<Track> SpotifyTrack(const Details& details, const QString& playKey);
    /// A song of Rdio; its duration is in seconds.
    static std::shared_ptr<Track> RdioTrack(const Details& details, const QString& playKey);
    /// A song that no service is known to have.
    static std::shared_ptr<Track> UnknownTrack(const Details& details);

    /// A track of its own with the same names, numbers, sources, keys, album and preferred source. Delegate,
    /// favorite and pictures stay behind.
    static std::shared_ptr<Track> copyTrack(const Track& track);

    const ItemIdentity& identity() const { return identity_; }
    bool operator==(const Track& other) const { return identity_ == other.identity_; }

    /// The text of the album, kept whether or not there is an album object.
    const QString& albumName() const { return albumName_; }
    const QString& artistName() const { return artistName_; }
    qint64 duration() const { return read(duration_); }
    void setDuration(qint64 duration) { write(duration_, duration); }
    bool isExplicit() const { return isExplicit_; }

    /// Position on the album. On an album of several discs it runs on from disc to disc.
    qint64 number() const { return read(number_); }
    void setNumber(qint64 number) { write(number_, number); }

    /// The album that holds this track, if any; it hears of changes of the sources.
    std::shared_ptr<Album> album() const { return read(album_).lock(); }
    void setAlbum(std::weak_ptr<Album> album) { write(album_, std::move(album)); }

    /// The service on which the user last chose this track.
    std::optional<MusicItemSourceType> preferredSource() const { return read(preferredSource_); }
    void setPreferredSource(std::optional<MusicItemSourceType> source) { write(preferredSource_, source); }

    /// The stored record of a liked track.
    std::shared_ptr<Favorite> favorite() const { return read(favorite_); }
    void setFavorite(std::shared_ptr<Favorite> favorite) { write(favorite_, std::move(favorite)); }

    bool isTrackType(ItemSourceType type) const { return sourceType().contains(type); }
    QString description() const;

    /// Look for this very song, by title, artist and album, in the local library and at Spotify; see
    /// `MusicItem`. Rdio is found by a search only.
    void getiTunesPlayKey() override;
    void getSpotifyPlayKey() override;

    /// The library key of a liked track: from this machine's library, or on a client from the host's. Main
    /// thread for a client, where it returns at once; else any thread.
    void getFavoritesiTunesPlayKey();

    /// Whether the track is among the likes. Main thread.
    bool isFavoriteTrack() const;

    /// The form in which a track travels to another machine. A missing play key has no entry at all. Sources
    /// do not travel: the keys tell them.
    QVariantMap trackToDictionary() const;

  protected:
    void sourceTypeDidChange() override;

  private:
    Track(ItemSourceType sourceType, const Details& details);
    std::shared_ptr<Track> self() { return std::static_pointer_cast<Track>(shared_from_this()); }
    void foundAtSpotify(Track& found);

    const ItemIdentity identity_;
    const QString albumName_;
    const QString artistName_;
    const bool isExplicit_;
    qint64 duration_;
    qint64 number_;
    std::weak_ptr<Album> album_;
    std::optional<MusicItemSourceType> preferredSource_;
    std::shared_ptr<Favorite> favorite_;
};

} // namespace merlode
