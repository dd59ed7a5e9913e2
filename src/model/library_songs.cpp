#include "model/library_songs.h"

#include <numeric>

namespace merlode {

namespace {

std::vector<bool> textsContaining(const SearchTerm& term, Qt::CaseSensitivity sensitivity,
                                  const TextColumn& column) {
    std::vector<bool> contain(column.size());
    column.forEachContaining(term, sensitivity, [&](TextColumn::Index index) {
        contain[index] = true;
        return true;
    });
    return contain;
}

} // namespace

LibrarySongs::LibrarySongs(const std::vector<LibrarySong>& songs) {
    Builder builder;
    for (const auto& song : songs)
        builder.add(song);
    *this = builder.finish();
}

LibrarySong LibrarySongs::song(Place place) const {
    const Song& song = songs_[place];
    const AlbumRow& album = albums_[song.row];
    return {.persistentID = song.persistentID,
            .title = titles_.text(place),
            .artistName = artists_.text(album.artist),
            .albumTitle = albumTitles_.text(album.title),
            .albumArtist = artists_.text(album.albumArtist),
            .totalTime = song.totalTime,
            .trackNumber = song.trackNumber,
            .discNumber = song.discNumber,
            .discCount = song.discCount,
            .isCompilation = album.isCompilation,
            .hasArtwork = song.hasArtwork};
}

std::span<const LibrarySongs::Place> LibrarySongs::songsOf(Row row) const {
    const Place start = row == 0 ? 0 : rowEnds_[row - 1];
    return std::span(songsByRow_).subspan(start, rowEnds_[row] - start);
}

std::span<const LibrarySongs::Row> LibrarySongs::rowsOf(const SearchTerm& albumTitle) const {
    const auto titleOf = [this](Row row) { return albumTitles_.folded(albums_[row].title); };
    const auto first =
        std::ranges::lower_bound(rowsByTitle_, albumTitle.folded(), std::ranges::less(), titleOf);
    const auto last = std::ranges::upper_bound(first, rowsByTitle_.end(), albumTitle.folded(),
                                               std::ranges::less(), titleOf);
    return {first, last};
}

bool LibrarySongs::isBy(Row row, const SearchTerm& artist) const {
    const AlbumRow& album = albums_[row];
    return artists_.folded(album.artist) == artist.folded() ||
           artists_.folded(album.albumArtist) == artist.folded();
}

std::optional<LibrarySong> LibrarySongs::find(const QString& title, const QString& artist,
                                              const QString& album) const {
    const SearchTerm wanted(title);
    for (const Place place : songsOfAlbum(album, artist)) {
        if (titles_.folded(place) == wanted.folded())
            return song(place);
    }
    return std::nullopt;
}

bool LibrarySongs::hasAlbum(const QString& album, const QString& artist) const {
    const SearchTerm by(artist);
    return std::ranges::any_of(rowsOf(SearchTerm(album)), [&](Row row) { return isBy(row, by); });
}

std::vector<LibrarySongs::Place> LibrarySongs::songsOfAlbum(const QString& album,
                                                            const std::optional<QString>& artist) const {
    const SearchTerm by(artist.value_or(QString()));
    std::vector<Place> found;
    for (const Row row : rowsOf(SearchTerm(album))) {
        if (artist && !isBy(row, by))
            continue;
        const auto songs = songsOf(row);
        found.insert(found.end(), songs.begin(), songs.end());
    }
    std::ranges::sort(found);
    return found;
}

std::vector<LibrarySongs::Place> LibrarySongs::firstContaining(const SearchTerm& term,
                                                               std::size_t most) const {
    std::vector<Place> found;
    titles_.forEachContaining(term, Qt::CaseInsensitive, [&](Place place) {
        if (found.size() < most)
            found.push_back(place);
        return found.size() < most;
    });
    const auto artists = textsContaining(term, Qt::CaseInsensitive, artists_);
    std::size_t rows = 0;
    // Each row brings a song that comes before all songs of the rows behind it: as many rows as songs will
    // do.
    for (Row row = 0; row < albums_.size() && rows < most; ++row) {
        if (!artists[albums_[row].artist])
            continue;
        const auto songs = songsOf(row);
        found.insert(found.end(), songs.begin(),
                     songs.begin() + static_cast<std::ptrdiff_t>(std::min(songs.size(), most)));
        ++rows;
    }
    std::ranges::sort(found);
    found.erase(std::unique(found.begin(), found.end()), found.end());
    found.resize(std::min(found.size(), most));
    return found;
}

void LibrarySongs::forEachAlbumContaining(const SearchTerm& term,
                                          const std::function<bool(Place)>& visit) const {
    const auto titles = textsContaining(term, Qt::CaseInsensitive, albumTitles_);
    const auto artists = textsContaining(term, Qt::CaseSensitive, artists_);
    for (Row row = 0; row < albums_.size(); ++row) {
        const AlbumRow& album = albums_[row];
        const bool matches = titles[album.title] || artists[album.artist] || artists[album.albumArtist];
        if (matches && !visit(songsOf(row).front()))
            return;
    }
}

void LibrarySongs::groupByAlbum() {
    rowEnds_.assign(albums_.size(), 0);
    for (const Song& song : songs_)
        ++rowEnds_[song.row];
    std::inclusive_scan(rowEnds_.begin(), rowEnds_.end(), rowEnds_.begin());
    songsByRow_.resize(songs_.size());
    // From the end, each row filled towards its start; the starts, which this leaves, are the ends shifted by
    // a row.
    auto free = rowEnds_;
    for (Place place = size(); place-- > 0;)
        songsByRow_[--free[songs_[place].row]] = place;
    rowsByTitle_.resize(albums_.size());
    std::iota(rowsByTitle_.begin(), rowsByTitle_.end(), Row(0));
    std::ranges::stable_sort(rowsByTitle_, {},
                             [this](Row row) { return albumTitles_.folded(albums_[row].title); });
}

TextColumn::Index LibrarySongs::Builder::Names::indexOf(const QString& text, TextColumn& column) {
    const auto found = known.constFind(text);
    if (found != known.constEnd())
        return *found;
    column.append(text);
    return *known.insert(text, column.size() - 1);
}

LibrarySongs::Row LibrarySongs::Builder::rowOf(const MediaItem& item) {
    const AlbumRow row{albumTitles_.indexOf(item.albumTitle, songs_.albumTitles_),
                       artists_.indexOf(item.artistName, songs_.artists_),
                       artists_.indexOf(item.albumArtist, songs_.artists_), item.isCompilation};
    const auto found = rows_.constFind(row);
    if (found != rows_.constEnd())
        return *found;
    songs_.albums_.push_back(row);
    return *rows_.insert(row, static_cast<Row>(songs_.albums_.size() - 1));
}

bool LibrarySongs::Builder::hasRoomFor(const MediaItem& item) const {
    return songs_.titles_.hasRoomFor(item.title) && songs_.albumTitles_.hasRoomFor(item.albumTitle) &&
           songs_.artists_.hasRoomFor(item.artistName + item.albumArtist);
}

void LibrarySongs::Builder::add(const MediaItem& item) {
    if (item.mediaKind != MediaKind::Song || item.isUserDisabled || item.title.isEmpty() ||
        item.artistName.isEmpty() || item.albumTitle.isEmpty() || !hasRoomFor(item))
        return;
    songs_.titles_.append(item.title);
    songs_.songs_.push_back({.persistentID = item.persistentID,
                             .row = rowOf(item),
                             .totalTime = item.totalTime,
                             .trackNumber = item.trackNumber,
                             .discNumber = item.discNumber,
                             .discCount = item.discCount,
                             .hasArtwork = item.hasArtwork});
}

LibrarySongs LibrarySongs::Builder::finish() {
    LibrarySongs finished = std::move(songs_);
    *this = {};
    finished.songs_.shrink_to_fit();
    finished.albums_.shrink_to_fit();
    finished.titles_.squeeze();
    finished.albumTitles_.squeeze();
    finished.artists_.squeeze();
    finished.groupByAlbum();
    return finished;
}

std::shared_ptr<const LibrarySongs> LibrarySongs::Builder::build() {
    return std::make_shared<const LibrarySongs>(finish());
}

QString playKeyOf(const LibrarySong& song) {
    return QStringLiteral("%1").arg(song.persistentID, 16, 16, QLatin1Char('0')).toUpper();
}

} // namespace merlode
