#pragma once

#include <QHash>
#include <QString>

#include <memory>
#include <optional>
#include <vector>

namespace merlode {

/// A song of the local library, as far as items look at it. Missing texts are empty.
struct LibrarySong {
    quint64 persistentID = 0;
    QString title;
    QString artistName;
    QString albumTitle;
    QString albumArtist;
};

/// The library's songs at one moment, with an index by album, so that an item finds itself among 100,000
/// songs without a walk over all. Texts are compared whatever their case. Immutable; any thread.
class LibrarySongs {
  public:
    explicit LibrarySongs(std::vector<LibrarySong> songs = {});

    const std::vector<LibrarySong>& songs() const { return songs_; }

    /// The first song of this title on the album of this title, whose artist or album artist is `artist`.
    const LibrarySong* find(const QString& title, const QString& artist, const QString& album) const;

    /// Whether there is a song by `artist`, or of an album by `artist`, on the album of this title.
    bool hasAlbum(const QString& album, const QString& artist) const;

  private:
    template<class Accepts>
    const LibrarySong* findOnAlbum(const QString& album, const QString& artist, Accepts accepts) const;

    std::vector<LibrarySong> songs_;
    QHash<QString, std::vector<std::size_t>> byAlbum_; ///< places in `songs_`, in their order
};

/// How a song of the library is named everywhere: 16 upper-case hexadecimal digits.
QString playKeyOf(const LibrarySong& song);

} // namespace merlode
