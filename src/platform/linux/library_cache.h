#pragma once

#include "platform/linux/music_files.h"
#include "platform/linux/sqlite_database.h"
#include "platform/media_item.h"

#include <functional>
#include <mutex>
#include <optional>
#include <span>
#include <unordered_map>

namespace merlode {

/// A music file with what its tags told; nothing for one that has no place in the library, which is kept so
/// that it is not read again each time.
struct CachedFile {
    MusicFile file;
    std::optional<MediaItem> item;
};

/// What is known of the music files, in a database that can be lost at any time: a damaged one, and one of
/// another version of the program, is set aside and begun anew.
///
/// An item's persistent id comes from the path of its file alone, so it stays the same when the file's tags
/// are edited and when the database is lost. Any thread; everything blocks: for background queues.
class LibraryCache {
  public:
    /// How the tables are laid out, to be raised with each change of them.
    static constexpr int kVersion = 2;

    /// The file, whose folder is made where it is missing, is opened on first use.
    explicit LibraryCache(QByteArray file) : file_(std::move(file)) {}

    static quint64 persistentIDOf(const QByteArray& path);

    /// Hands over the items below a folder in the order of their paths, until `visit` says false.
    void readItems(const QByteArray& folder, const std::function<bool(const MediaItem&)>& visit);

    /// The files below a folder by their ids.
    std::unordered_map<quint64, MusicFileStamp> stamps(const QByteArray& folder);
    std::optional<QByteArray> path(quint64 persistentID);

    /// Each keeps all or nothing, and gives how many items were added, changed or removed.
    int store(std::span<const CachedFile> files);
    int remove(std::span<const quint64> persistentIDs);

    /// Whether everything below a folder has been read once.
    bool isComplete(const QByteArray& folder);
    void setComplete(const QByteArray& folder);

  private:
    using Database = sqlite::Database;
    using Statement = sqlite::Statement;

    /// The connection that writes, with its statements.
    struct Writer {
        explicit Writer(Database opened);
        Database database; ///< first: statements end before it
        Statement store;
        Statement remove;
        Statement path;
    };

    /// Null where the database cannot be had. With the lock held.
    Writer* writer();
    void open();

    const QByteArray file_;
    std::mutex mutex_; ///< guards what follows
    bool isOpened_ = false;
    std::optional<Writer> writer_;
};

} // namespace merlode
