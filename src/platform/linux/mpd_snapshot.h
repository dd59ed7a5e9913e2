#pragma once

#include "platform/linux/mpd_connection.h"
#include "platform/linux/player_text.h"
#include "platform/scripted_player.h"

#include <QByteArray>

#include <optional>
#include <vector>

/// What MPD's replies mean. Pure functions: nothing here talks to a server. Replies can hold anything; a
/// value that is malformed or out of range counts as absent.
namespace merlode {

/// A song as MPD lists it. `uri` is as the server wrote it, the key for further commands; the texts are
/// cleaned.
struct MpdSong {
    QByteArray uri;
    QStringList artists;
    QStringList albumArtists;
    QString title;
    QString album;
    int disc = 0; ///< 0 for none
    int number = 0;
    std::optional<double> duration;

    /// Several artists as one text.
    QString artist() const { return artists.join(QStringLiteral(", ")); }
    /// False for streams and files from outside the music folder; only songs of the library have ratings.
    bool isInLibrary() const;
};

/// The state of a player at one moment.
struct MpdSnapshot {
    std::uint32_t state = 0; ///< as `ScriptedPlayer::playerState`
    std::optional<MpdSong> song;
    std::optional<int> volume;
    std::optional<int> rating; ///< 0 to 100
    double elapsed = 0;        ///< seconds at `takenAt`
    std::optional<double> duration;
    int queueLength = 0;
    bool scanning = false; ///< the server is going through its music folder
    double takenAt = 0;    ///< on the run loop's `uptime()`

    /// The position at `uptime`, extrapolated while the song plays. Nothing without a song.
    std::optional<double> position(double uptime) const;
    PlayerCapabilities capabilities() const;
    /// As the port wants it. `musicFolder` turns library uris into addresses of files; empty where unknown.
    std::optional<ScriptedTrack> track(const QString& musicFolder) const;
};

/// A position further off than this from where playing on would have led is a jump, in seconds.
inline constexpr double kPositionJump = 1.0;

/// Whether somebody should hear that `before` has become `after`: another track, state or set of
/// capabilities, or a jump of the position. Volume and rating are read when wanted and make no change.
bool isAnnounceable(const MpdSnapshot& before, const MpdSnapshot& after);

/// The snapshot in the replies of "status" and "currentsong", one behind the other.
MpdSnapshot parseSnapshot(const std::vector<MpdPair>& pairs, double takenAt);

/// The songs of a listing.
std::vector<MpdSong> parseSongs(const std::vector<MpdPair>& pairs);

/// Ratings lie in the sticker "rating" of a song, from 0 to 10, where other clients of MPD keep theirs: two
/// steps for a star.
std::optional<int> parseRatingSticker(const QByteArray& pairValue);
QByteArray ratingStickerValue(int rating);

/// Those of the songs that the query names, albums in the order of their discs and tracks. An album is also
/// found under its album artist.
std::vector<MpdSong> matchingSongs(std::vector<MpdSong> songs, const LibraryQuery& query);

/// What "addid" wants for a key that may be a library uri, a file:// address or a web address. Files inside
/// the music folder become library uris; others are allowed for on unix sockets only. Nothing for anything
/// else.
std::optional<QByteArray> playableUri(const QString& key, const QString& musicFolder, bool isSocket);

} // namespace merlode
