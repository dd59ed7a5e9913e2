#pragma once

#include "model/text_column.h"
#include "platform/media_item.h"

#include <QHash>
#include <QString>

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace merlode {

using LibrarySong = MediaItem;

/// How a song of the library is named everywhere: 16 upper-case hexadecimal digits.
QString playKeyOf(const LibrarySong& song);

/// The library's songs at one moment, for searching and for items that find themselves, some 80 bytes a song.
/// Names that many songs share are kept once, and songs are grouped by album, so that nothing but a search
/// for titles takes time in proportion to the songs. Texts are compared whatever their case unless it says
/// otherwise. Immutable and usually shared; any thread.
class LibrarySongs {
  public:
    class Builder;
    using Place = quint32; ///< of a song in the library's order, from 0

    LibrarySongs() = default;
    explicit LibrarySongs(const std::vector<LibrarySong>& songs);

    Place size() const { return static_cast<Place>(songs_.size()); }
    LibrarySong song(Place place) const;

    /// The first song of this title on the album of this title, whose artist or album artist is `artist`.
    std::optional<LibrarySong> find(const QString& title, const QString& artist, const QString& album) const;

    /// Whether there is a song by `artist`, or of an album by `artist`, on the album of this title.
    bool hasAlbum(const QString& album, const QString& artist) const;

    /// The first `most` songs whose title or artist contains the term.
    std::vector<Place> firstContaining(const SearchTerm& term, std::size_t most) const;

    /// Hands `visit`, in order and until it says false, songs whose album's title contains the term, or whose
    /// artist or album artist contains it in its very case. Of the songs that agree in album, artist, album
    /// artist and compilation only the first is handed over: the others stand for the same album.
    void forEachAlbumContaining(const SearchTerm& term, const std::function<bool(Place)>& visit) const;

    /// All songs of the album of this title, in order; with an artist those alone whose artist or album
    /// artist it is.
    std::vector<Place> songsOfAlbum(const QString& album, const std::optional<QString>& artist) const;

    /// The lowered titles, for who wants to measure against a plain search.
    std::string_view foldedTitles() const { return titles_.foldedBlock().bytes(); }

  private:
    using Row = quint32; ///< place in `albums_`

    /// What songs of one album have in common.
    struct AlbumRow {
        TextColumn::Index title;       ///< in `albumTitles_`
        TextColumn::Index artist;      ///< in `artists_`, as the next
        TextColumn::Index albumArtist; ///< an empty text for none
        bool isCompilation;
        bool operator==(const AlbumRow&) const = default;
        friend size_t qHash(const AlbumRow& row, size_t seed = 0) {
            return qHashMulti(seed, row.title, row.artist, row.albumArtist, row.isCompilation);
        }
    };
    struct Song {
        quint64 persistentID;
        Row row;
        quint32 totalTime;
        quint16 trackNumber;
        quint16 discNumber;
        quint16 discCount;
        bool hasArtwork;
    };

    std::span<const Place> songsOf(Row row) const;
    std::span<const Row> rowsOf(const SearchTerm& albumTitle) const;
    bool isBy(Row row, const SearchTerm& artist) const;
    void groupByAlbum();

    std::vector<Song> songs_;
    TextColumn titles_; ///< by place
    TextColumn albumTitles_;
    TextColumn artists_;            ///< artists and album artists
    std::vector<AlbumRow> albums_;  ///< in the order of their first songs
    std::vector<Place> rowEnds_;    ///< where in `songsByRow_` the songs of each row end
    std::vector<Place> songsByRow_; ///< in order within each row
    std::vector<Row> rowsByTitle_;  ///< sorted by the folded title, those of one title in order
};

/// Collects the songs of a snapshot one by one. One thread at a time.
class LibrarySongs::Builder {
  public:
    /// Takes a song that is enabled and has title, artist and album, and passes over any other item. Numbers
    /// are always there: 0 says that nothing is known.
    void add(const MediaItem& item);

    /// The songs added so far, the builder being as new afterwards.
    std::shared_ptr<const LibrarySongs> build();

  private:
    friend class LibrarySongs;

    /// The places of the texts in a column that holds each text once.
    struct Names {
        TextColumn::Index indexOf(const QString& text, TextColumn& column);
        QHash<QString, TextColumn::Index> known;
    };

    bool hasRoomFor(const MediaItem& item) const;
    Row rowOf(const MediaItem& item);
    LibrarySongs finish();

    LibrarySongs songs_;
    Names albumTitles_;
    Names artists_;
    QHash<AlbumRow, Row> rows_;
};

} // namespace merlode
