#pragma once

#include "platform/linux/mpd_snapshot.h"

#include <condition_variable>
#include <mutex>

/// What takes several commands in a row. Everything here blocks and runs on the queue of a link.
namespace merlode {

/// An order to find and play that somebody waits for with a limit. The side that waits may give up until the
/// first change is made, and not after: so its answer and what the player does agree. Any thread.
class LibraryOrder {
  public:
    LibraryOrder(LibraryQuery query, QString playlistName)
        : query_(std::move(query)), playlistName_(std::move(playlistName)) {}

    /// Finds and plays, on the queue.
    void carryOut(MpdConnection& connection);

    /// Waits `seconds` at most. True once something matched and is played, or about to be.
    bool wait(double seconds);

  private:
    enum class Stage { Searching, Playing, Played, Failed };

    bool enter(Stage stage);

    LibraryQuery query_;
    QString playlistName_;
    std::mutex mutex_;
    std::condition_variable changed_;
    Stage stage_ = Stage::Searching;
};

/// Replaces the queue by the one item behind the key; an item that the server does not take leaves the queue
/// as it was.
void playKeyOn(MpdConnection& connection, const QString& key, const QString& musicFolder);

/// Starts a stopped player, pauses a playing one, resumes a paused one: by its state at this moment, since
/// two quick presses come before the first one shows.
void togglePlayback(MpdConnection& connection);

/// The rating sticker of a song; nothing where there is none or the server keeps none.
std::optional<int> readRating(MpdConnection& connection, const MpdSong& song);

/// State, song and, where wanted, rating. Nothing when the server did not answer properly.
std::optional<MpdSnapshot> readSnapshot(MpdConnection& connection, const RunLoop& clock);

/// The music folder as the server tells its local clients; empty for others.
QString readMusicFolder(MpdConnection& connection);

} // namespace merlode
