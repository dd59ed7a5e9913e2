#pragma once

#include "base/session.h"
#include "platform/linux/library_board.h"
#include "platform/linux/library_cache.h"
#include "platform/media_library.h"

#include <array>

namespace merlode {

/// The library that lies in the music folder. Tags are read by several threads and kept in a cache, so a scan
/// reads no more than what has changed by size or time of change since the last one.
///
/// What a folder that cannot be read held before stays known, and so does everything when the music folder is
/// gone or holds no music at all: that is a disk which is not mounted.
class MusicFolderLibrary final : public MediaLibrary {
  public:
    struct Options {
        QByteArray cacheFile;
        std::function<QString()> folder; ///< the music folder as the settings say; asked on the main thread
    };

    /// `executor` runs the scans, on threads that nobody else waits for. The session must outlive this
    /// object, which is one of its ports.
    MusicFolderLibrary(Session& session, Options options, std::unique_ptr<Executor> executor);
    ~MusicFolderLibrary() override;

    void readItems(const Visit& visit) override;
    bool isFinal() override;
    Image artwork(quint64 persistentID) override;
    std::optional<QByteArray> location(quint64 persistentID) override;
    void startScan() override;
    void cancelScan() override;
    Progress progress() const override;
    QString place() const override;

  private:
    static constexpr std::size_t kWriter = 0; ///< in `queues_`; the readers follow
    static constexpr std::size_t kReaders = 3;
    static constexpr std::size_t kFilesAtATime = 64;

    struct Scan;
    using Stamps = std::unordered_map<quint64, MusicFileStamp>;

    QByteArray folder() const;
    void queue(std::size_t place, DispatchQueue::Work work);
    void find(const std::shared_ptr<Scan>& scan);
    void read(const std::shared_ptr<Scan>& scan, std::size_t reader);
    void store(const std::shared_ptr<Scan>& scan, const std::vector<CachedFile>& files);
    void readerEnded(const std::shared_ptr<Scan>& scan);
    void finish(Scan& scan);
    bool removeGone(Scan& scan);
    void tell(const Progress& progress, bool isChanged);

    Session& session_;
    const Options options_;
    std::shared_ptr<LibraryBoard> board_; ///< what the main thread knows
    std::shared_ptr<Scan> scan_;          ///< the last one; main thread
    LibraryCache cache_;
    mutable std::mutex mutex_;
    QByteArray folder_;     ///< under the lock
    bool isEnding_ = false; ///< under the lock: nothing is queued any more
    std::unique_ptr<Executor> executor_;
    /// The first finds the files and writes the cache, the others read. Last: their destructors wait for work
    /// that uses the members above.
    std::array<std::unique_ptr<DispatchQueue>, 1 + kReaders> queues_;
};

} // namespace merlode
