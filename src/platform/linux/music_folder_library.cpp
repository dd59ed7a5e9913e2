#include "platform/linux/music_folder_library.h"

#include "platform/linux/music_file_art.h"
#include "platform/linux/taglib_pictures.h"
#include "platform/linux/taglib_tags.h"

#include <QFile>

#include <atomic>

namespace merlode {

/// One run through the folder. What is not marked belongs to the queue that writes.
struct MusicFolderLibrary::Scan {
    QByteArray folder;
    std::atomic<bool> isCancelled = false; ///< any thread
    Stamps unseen;                         ///< of the files that were known before and have not shown up
    MusicFolderGaps gaps;
    std::vector<MusicFile> files;      ///< to be read; not changed once readers run
    std::atomic<std::size_t> next = 0; ///< in `files`; any thread
    std::size_t readers = 0;           ///< that have not ended
    Progress progress{State::Scanning, 0, 0};
};

namespace {

// Without the slashes at its end; nothing for what is no path from the root of the file system.
std::optional<QByteArray> folderPath(const QString& setting) {
    QByteArray path = QFile::encodeName(setting);
    if (!path.startsWith('/') || path.contains('\0'))
        return std::nullopt;
    while (path.endsWith('/'))
        path.chop(1);
    return path;
}

} // namespace

MusicFolderLibrary::MusicFolderLibrary(Session& session, Options options, std::unique_ptr<Executor> executor)
    : session_(session),
      options_(std::move(options)),
      board_(std::make_shared<LibraryBoard>(session)),
      cache_(options_.cacheFile),
      folder_(folderPath(options_.folder()).value_or(QByteArray())),
      executor_(std::move(executor)) {
    for (auto& queue : queues_)
        queue = std::make_unique<DispatchQueue>(QStringLiteral("co.vantry.Merlode.LibraryScan"), *executor_,
                                                &session);
}

MusicFolderLibrary::~MusicFolderLibrary() {
    cancelScan();
    const std::lock_guard lock(mutex_);
    isEnding_ = true;
}

// The queues hand work to each other, so that none of them could go first.
void MusicFolderLibrary::queue(std::size_t place, DispatchQueue::Work work) {
    const std::lock_guard lock(mutex_);
    if (!isEnding_)
        queues_[place]->async(std::move(work));
}

QByteArray MusicFolderLibrary::folder() const {
    const std::lock_guard lock(mutex_);
    return folder_;
}

void MusicFolderLibrary::readItems(const Visit& visit) {
    cache_.readItems(folder(), visit);
}

bool MusicFolderLibrary::isFinal() {
    return cache_.isComplete(folder());
}

Image MusicFolderLibrary::artwork(quint64 persistentID) {
    const auto path = cache_.path(persistentID);
    return path ? artOfMusicFile(*path, embeddedPicture).value_or(Image()) : Image();
}

std::optional<QByteArray> MusicFolderLibrary::location(quint64 persistentID) {
    return cache_.path(persistentID);
}

MediaLibrary::Progress MusicFolderLibrary::progress() const {
    return board_->progress();
}

QString MusicFolderLibrary::place() const {
    return QFile::decodeName(folder());
}

void MusicFolderLibrary::startScan() {
    if (board_->progress().state == State::Scanning)
        return;
    const auto found = folderPath(options_.folder());
    if (!found)
        return board_->take({State::Unreachable, 0, 0}, false);
    scan_ = std::make_shared<Scan>();
    scan_->folder = *found;
    const bool isOther = [&] {
        const std::lock_guard lock(mutex_);
        return std::exchange(folder_, *found) != *found;
    }();
    board_->take(scan_->progress, isOther);
    queue(kWriter, [this, scan = scan_] { find(scan); });
}

void MusicFolderLibrary::cancelScan() {
    if (scan_)
        scan_->isCancelled = true;
}

void MusicFolderLibrary::find(const std::shared_ptr<Scan>& scan) {
    scan->unseen = cache_.stamps(scan->folder);
    auto& progress = scan->progress;
    scan->gaps = findMusicFiles(
        scan->folder, [&] { return scan->isCancelled.load(); },
        [&](MusicFile file) {
            ++progress.filesTotal;
            const auto known = scan->unseen.extract(LibraryCache::persistentIDOf(file.path));
            if (known && known.mapped() == file.stamp)
                ++progress.filesSeen;
            else
                scan->files.push_back(std::move(file));
        });
    tell(progress, false);
    scan->readers = std::min(kReaders, (scan->files.size() + kFilesAtATime - 1) / kFilesAtATime);
    if (scan->readers == 0)
        return finish(*scan);
    for (std::size_t left = scan->readers; left > 0; --left)
        queue(kWriter + left, [this, scan, left] { read(scan, kWriter + left); });
}

// A piece of the work at a time, so that the cache fills steadily and a scan that is cancelled keeps most of
// what it did.
void MusicFolderLibrary::read(const std::shared_ptr<Scan>& scan, std::size_t reader) {
    const std::size_t first = scan->next.fetch_add(kFilesAtATime);
    const std::size_t last = std::min(first + kFilesAtATime, scan->files.size());
    std::vector<CachedFile> files;
    for (std::size_t place = first; place < last && !scan->isCancelled; ++place)
        files.push_back({scan->files[place], readMusicTags(scan->files[place].path)});
    if (!files.empty())
        queue(kWriter, [this, scan, files = std::move(files)] { store(scan, files); });
    if (last < scan->files.size() && !scan->isCancelled)
        queue(reader, [this, scan, reader] { read(scan, reader); });
    else
        queue(kWriter, [this, scan] { readerEnded(scan); });
}

void MusicFolderLibrary::store(const std::shared_ptr<Scan>& scan, const std::vector<CachedFile>& files) {
    const bool isChanged = cache_.store(files) > 0;
    scan->progress.filesSeen += static_cast<qint64>(files.size());
    tell(scan->progress, isChanged);
}

void MusicFolderLibrary::readerEnded(const std::shared_ptr<Scan>& scan) {
    if (--scan->readers == 0)
        finish(*scan);
}

void MusicFolderLibrary::finish(Scan& scan) {
    auto& progress = scan.progress;
    // A folder without any music is what a disk leaves behind that is not mounted.
    const bool isGone = !scan.gaps.isComplete || (progress.filesTotal == 0 && !scan.unseen.empty());
    bool isChanged = false;
    if (scan.isCancelled) {
        progress.state = State::Cancelled;
    } else if (isGone) {
        progress.state = State::Unreachable;
    } else {
        progress.state = State::Finished;
        isChanged = removeGone(scan) || !cache_.isComplete(scan.folder);
        cache_.setComplete(scan.folder);
    }
    tell(progress, isChanged);
}

bool MusicFolderLibrary::removeGone(Scan& scan) {
    std::vector<quint64> gone;
    for (const auto& [id, stamp] : scan.unseen) {
        const auto path = cache_.path(id).value_or(QByteArray());
        const auto holds = [&path](const QByteArray& folder) { return path.startsWith(folder + '/'); };
        if (std::ranges::none_of(scan.gaps.folders, holds))
            gone.push_back(id);
    }
    return !gone.empty() && cache_.remove(gone) > 0;
}

void MusicFolderLibrary::tell(const Progress& progress, bool isChanged) {
    LibraryBoard::tell(board_, session_.runLoop(), progress, isChanged);
}

} // namespace merlode
