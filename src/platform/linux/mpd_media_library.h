#pragma once

#include "platform/linux/library_board.h"
#include "platform/linux/library_cache.h"
#include "platform/linux/mpd_idle.h"
#include "platform/linux/mpd_snapshot.h"

namespace merlode {

/// The library that an MPD has in its database. It is read out in pieces and kept in the cache, so that it is
/// there at once at the next start, whether the server is or not. Where the server tells that its database
/// has changed, it is read anew; one that has gone is asked again at the next `startScan`.
///
/// A server that has no song any more where it had some is taken for one whose disk is not mounted.
class MpdMediaLibrary final : public MediaLibrary {
  public:
    /// Songs that are asked for at a time: what they take to tell is well within the bounds of one reply.
    static constexpr int kSongsAtATime = 10'000;
    /// Seconds for one such reply. A server looks through its whole database for each.
    static constexpr double kListTimeout = 20.0;

    /// `executor` runs the scans, on threads that nobody else waits for. The session must outlive this
    /// object.
    MpdMediaLibrary(Session& session, MpdAddress address, QByteArray cacheFile,
                    std::unique_ptr<Executor> executor);
    ~MpdMediaLibrary() override;

    void readItems(const Visit& visit) override { cache_.readItems(root_, visit); }
    bool isFinal() override { return cache_.isComplete(root_); }
    Image artwork(quint64 persistentID) override;
    std::optional<QByteArray> location(quint64) override { return std::nullopt; }
    void startScan() override;
    void cancelScan() override;
    Progress progress() const override { return board_->progress(); }
    QString place() const override { return address_.text(); }

  private:
    struct Scan;

    void run(const std::shared_ptr<Scan>& scan);
    State list(Scan& scan);
    bool takeSongs(Scan& scan, const std::vector<MpdSong>& songs);
    CachedFile fileOf(const MpdSong& song) const;
    void watch();
    void databaseChanged();
    void ended(const std::shared_ptr<Scan>& scan);

    Session& session_;
    const MpdAddress address_;
    const QByteArray root_; ///< what the songs' names in the cache begin with
    const std::shared_ptr<LibraryBoard> board_;
    std::shared_ptr<Scan> scan_; ///< the one under way, or the last one; main thread
    bool scanAgain_ = false;     ///< the database changed during a scan; main thread
    std::unique_ptr<MpdIdle> idle_;
    LibraryCache cache_;
    MpdConnection connection_; ///< of the scans
    std::mutex artMutex_;      ///< guards the next
    MpdConnection artConnection_;
    std::shared_ptr<char> life_ = std::make_shared<char>();
    std::unique_ptr<Executor> executor_;
    DispatchQueue queue_; ///< last: its destructor waits for work that uses the members above
};

} // namespace merlode
