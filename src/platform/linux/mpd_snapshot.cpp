#include "platform/linux/mpd_snapshot.h"

#include "platform/linux/untagged_track.h"

#include <QUrl>

#include <cmath>
#include <tuple>

namespace merlode {

namespace {

constexpr double kLongestDuration = 1e7; // four months: beyond is nonsense
constexpr int kHighestNumber = 100'000;

std::optional<double> parseSeconds(const QByteArray& text) {
    bool ok = false;
    const double value = text.toDouble(&ok);
    if (!ok || !std::isfinite(value) || value < 0 || value > kLongestDuration)
        return std::nullopt;
    return value;
}

std::optional<double> parseDuration(const QByteArray& text) {
    const auto value = parseSeconds(text);
    return value && *value > 0 ? value : std::nullopt;
}

// "3" and "3/12" alike; 0 for everything else.
int parseNumber(const QByteArray& text) {
    bool ok = false;
    const int value = text.split('/').first().trimmed().toInt(&ok);
    return ok && value > 0 && value <= kHighestNumber ? value : 0;
}

std::uint32_t parseState(const QByteArray& text) {
    if (text == "play")
        return kPlayerStatePlaying;
    if (text == "pause")
        return kPlayerStatePaused;
    return text == "stop" ? kPlayerStateStopped : 0;
}

void applyStatus(MpdSnapshot& snapshot, const MpdPair& pair) {
    const auto& [name, value] = pair;
    if (name == "state") {
        snapshot.state = parseState(value);
    } else if (name == "volume") {
        bool ok = false;
        const int volume = value.toInt(&ok);
        if (ok && volume >= 0 && volume <= 100) // -1: no mixer
            snapshot.volume = volume;
    } else if (name == "elapsed") {
        snapshot.elapsed = parseSeconds(value).value_or(0);
    } else if (name == "duration") {
        snapshot.duration = parseDuration(value);
    } else if (name == "playlistlength") {
        snapshot.queueLength = std::max(0, value.toInt());
    } else if (name == "updating_db") {
        snapshot.scanning = true;
    }
}

void applyText(QStringList& list, const QByteArray& value) {
    if (const auto text = cleanPlayerText(value))
        list.append(*text);
}

void applyTag(MpdSong& song, const MpdPair& pair) {
    const auto& [name, value] = pair;
    if (name == "Artist")
        applyText(song.artists, value);
    else if (name == "AlbumArtist")
        applyText(song.albumArtists, value);
    else if (name == "Title" && song.title.isEmpty())
        song.title = cleanPlayerText(value).value_or(QString());
    else if (name == "Album" && song.album.isEmpty())
        song.album = cleanPlayerText(value).value_or(QString());
    else if (name == "Track" && song.number == 0)
        song.number = parseNumber(value);
    else if (name == "Disc" && song.disc == 0)
        song.disc = parseNumber(value);
    else if (name == "duration" || (name == "Time" && !song.duration))
        song.duration = parseDuration(value);
}

std::optional<QString> present(const QString& text) {
    return text.isEmpty() || text.size() > kLongestPlayerText ? std::nullopt : std::optional(text);
}

QString addressOf(const MpdSong& song, const QString& musicFolder) {
    const QString uri = QString::fromUtf8(song.uri);
    if (!song.isInLibrary() || musicFolder.isEmpty())
        return uri.startsWith(u'/') ? QUrl::fromLocalFile(uri).toString(QUrl::FullyEncoded) : uri;
    return QUrl::fromLocalFile(musicFolder + u'/' + uri).toString(QUrl::FullyEncoded);
}

// What tells one track from another to those who listen; the identity is the uri.
auto trackFields(const MpdSnapshot& snapshot) {
    const MpdSong song = snapshot.song.value_or(MpdSong());
    return std::tuple(snapshot.song.has_value(), song.uri, song.title, song.album, song.artist(), song.number,
                      snapshot.duration);
}

} // namespace

bool MpdSong::isInLibrary() const {
    return !uri.contains("://") && !uri.startsWith('/');
}

std::optional<double> MpdSnapshot::position(double uptime) const {
    if (!song)
        return std::nullopt;
    double seconds = elapsed;
    if (state == kPlayerStatePlaying)
        seconds += std::max(0.0, uptime - takenAt);
    return duration ? std::min(seconds, *duration) : seconds;
}

PlayerCapabilities MpdSnapshot::capabilities() const {
    const bool loaded = queueLength > 0;
    return {.canPlay = loaded,
            .canPause = loaded,
            .canGoNext = loaded,
            .canGoPrevious = loaded,
            .canSeek = song && duration,
            .canSetVolume = volume.has_value()};
}

std::optional<ScriptedTrack> MpdSnapshot::track(const QString& musicFolder) const {
    if (!song)
        return std::nullopt;
    ScriptedTrack track;
    track.id = present(QString::fromUtf8(song->uri));
    track.url = present(addressOf(*song, musicFolder));
    track.name = present(song->title);
    track.album = present(song->album);
    track.artist = present(song->artist());
    track.duration = duration;
    if (song->number > 0)
        track.number = song->number;
    completeFileTrack(track, QString::fromUtf8(song->uri));
    return track;
}

bool isAnnounceable(const MpdSnapshot& before, const MpdSnapshot& after) {
    if (before.state != after.state || trackFields(before) != trackFields(after) ||
        before.capabilities() != after.capabilities())
        return true;
    const auto expected = before.position(after.takenAt);
    const auto found = after.position(after.takenAt);
    return expected && found && std::abs(*expected - *found) > kPositionJump;
}

MpdSnapshot parseSnapshot(const std::vector<MpdPair>& pairs, double takenAt) {
    MpdSnapshot snapshot;
    snapshot.takenAt = takenAt;
    for (const MpdPair& pair : pairs) {
        if (pair.name == "file" && !snapshot.song)
            snapshot.song.emplace().uri = pair.value;
        else if (snapshot.song)
            applyTag(*snapshot.song, pair);
        else
            applyStatus(snapshot, pair);
    }
    // The decoder knows the length better than the tags once it has begun; before, the tags must do.
    if (snapshot.song && !snapshot.duration)
        snapshot.duration = snapshot.song->duration;
    return snapshot;
}

std::vector<MpdSong> parseSongs(const std::vector<MpdPair>& pairs) {
    std::vector<MpdSong> songs;
    for (const MpdPair& pair : pairs) {
        if (pair.name == "file")
            songs.emplace_back().uri = pair.value;
        else if (!songs.empty())
            applyTag(songs.back(), pair);
    }
    return songs;
}

std::optional<int> parseRatingSticker(const QByteArray& pairValue) {
    if (!pairValue.startsWith("rating="))
        return std::nullopt;
    bool ok = false;
    const int steps = pairValue.mid(7).toInt(&ok);
    return ok && steps >= 0 && steps <= 10 ? std::optional(steps * 10) : std::nullopt;
}

QByteArray ratingStickerValue(int rating) {
    return QByteArray::number((std::clamp(rating, 0, 100) + 5) / 10);
}

std::vector<MpdSong> matchingSongs(std::vector<MpdSong> songs, const LibraryQuery& query) {
    const bool wholeAlbum = query.name.isEmpty();
    std::erase_if(songs, [&](const MpdSong& song) {
        const bool byArtist = song.artist() == query.artist || song.artists.contains(query.artist);
        const bool byAlbumArtist = wholeAlbum && song.albumArtists.contains(query.artist);
        return song.album != query.album || (!wholeAlbum && song.title != query.name) ||
               !(byArtist || byAlbumArtist);
    });
    std::ranges::stable_sort(songs, {},
                             [](const MpdSong& song) { return std::pair(song.disc, song.number); });
    return songs;
}

std::optional<QByteArray> playableUri(const QString& key, const QString& musicFolder, bool isSocket) {
    const auto isControl = [](QChar c) { return c.category() == QChar::Other_Control; };
    if (key.isEmpty() || std::ranges::any_of(key, isControl))
        return std::nullopt;
    if (key.startsWith(u"http://", Qt::CaseInsensitive) || key.startsWith(u"https://", Qt::CaseInsensitive))
        return key.toUtf8();
    if (!key.startsWith(u"file:", Qt::CaseInsensitive))
        return key.contains(u"://") ? std::nullopt : std::optional(key.toUtf8());
    const QUrl url(key);
    const QString path = url.host().isEmpty() ? url.toLocalFile() : QString();
    if (!path.startsWith(u'/') || std::ranges::any_of(path, isControl))
        return std::nullopt;
    if (!musicFolder.isEmpty() && path.startsWith(musicFolder + u'/'))
        return path.mid(musicFolder.size() + 1).toUtf8();
    return isSocket ? std::optional("file://" + path.toUtf8()) : std::nullopt;
}

} // namespace merlode
