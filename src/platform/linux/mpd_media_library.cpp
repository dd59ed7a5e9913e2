#include "platform/linux/mpd_media_library.h"

#include "platform/linux/mpd_picture.h"

#include <QHash>

#include <atomic>

namespace merlode {

/// One reading of the database. What is not marked belongs to the queue.
struct MpdMediaLibrary::Scan {
    std::atomic<bool> isCancelled = false; ///< any thread
    std::unordered_map<quint64, MusicFileStamp> unseen;
    Progress progress{State::Scanning, 0, 0};
    bool isChanged = false;
};

namespace {

const QString kVariousArtists = QStringLiteral("Various Artists");

// Of the tags and of the server's own time of change: some servers do not tell that.
MusicFileStamp stampOf(const MediaItem& item) {
    const auto hash = qHashMulti(0, item.title, item.artistName, item.albumTitle, item.albumArtist,
                                 item.totalTime, item.trackNumber, item.discNumber);
    return {.size = static_cast<qint64>(hash >> 1)};
}

// The name of the file without its folder and ending.
QString titleOfFile(const QByteArray& uri) {
    const QString name = QString::fromUtf8(uri.mid(uri.lastIndexOf('/') + 1));
    const auto dot = name.lastIndexOf(u'.');
    return dot > 0 ? name.left(dot) : name;
}

quint16 smallNumber(int number) {
    return number <= std::numeric_limits<quint16>::max() ? static_cast<quint16>(number) : quint16(0);
}

} // namespace

MpdMediaLibrary::MpdMediaLibrary(Session& session, MpdAddress address, QByteArray cacheFile,
                                 std::unique_ptr<Executor> executor)
    : session_(session),
      address_(std::move(address)),
      root_("mpd://" + address_.text().toUtf8()),
      board_(std::make_shared<LibraryBoard>(session)),
      cache_(std::move(cacheFile)),
      connection_(address_),
      artConnection_(address_),
      executor_(std::move(executor)),
      queue_(QStringLiteral("co.vantry.Merlode.MpdLibrary"), *executor_, &session) {}

MpdMediaLibrary::~MpdMediaLibrary() {
    cancelScan();
    connection_.interrupt();
    artConnection_.interrupt();
}

Image MpdMediaLibrary::artwork(quint64 persistentID) {
    const auto path = cache_.path(persistentID);
    if (!path || !path->startsWith(root_ + '/'))
        return {};
    const std::lock_guard lock(artMutex_);
    if (!artConnection_.ensureOpen(kPlayerCallTimeout))
        return {};
    MpdPicture picture(path->mid(root_.size() + 1));
    while (!picture.hasEnded())
        picture.advance(artConnection_);
    return Image::decode(picture.bytes()).value_or(Image());
}

void MpdMediaLibrary::startScan() {
    if (board_->progress().state == State::Scanning)
        return;
    scanAgain_ = false;
    scan_ = std::make_shared<Scan>();
    board_->take(scan_->progress, false);
    queue_.async([this, scan = scan_] { run(scan); });
}

void MpdMediaLibrary::cancelScan() {
    scanAgain_ = false;
    if (scan_)
        scan_->isCancelled = true;
}

void MpdMediaLibrary::run(const std::shared_ptr<Scan>& scan) {
    scan->progress.state = list(*scan);
    LibraryBoard::tell(board_, session_.runLoop(), scan->progress, scan->isChanged);
    if (scan->progress.state == State::Finished)
        watch();
    session_.runLoop().async([this, life = std::weak_ptr(life_), scan] {
        if (!life.expired())
            ended(scan);
    });
}

MediaLibrary::State MpdMediaLibrary::list(Scan& scan) {
    if (!connection_.ensureOpen(kPlayerCallTimeout))
        return State::Unreachable;
    const auto stats = connection_.run({"stats", {}}, kPlayerCallTimeout);
    scan.progress.filesTotal = std::max(0, stats.value("songs").toInt());
    scan.unseen = cache_.stamps(root_);
    for (int first = 0;; first += kSongsAtATime) {
        if (scan.isCancelled)
            return State::Cancelled;
        const auto window = QByteArray::number(first) + ':' + QByteArray::number(first + kSongsAtATime);
        // Every name contains the empty text.
        const auto reply = connection_.run({"search", {"file", "", "window", window}}, kListTimeout);
        if (!reply)
            return scan.isCancelled ? State::Cancelled : State::Unreachable;
        const auto songs = parseSongs(reply.pairs);
        if (takeSongs(scan, songs))
            LibraryBoard::tell(board_, session_.runLoop(), scan.progress,
                               std::exchange(scan.isChanged, false));
        if (songs.size() < kSongsAtATime)
            break;
    }
    if (scan.progress.filesSeen == 0 && !scan.unseen.empty())
        return State::Unreachable;
    std::vector<quint64> gone;
    for (const auto& [id, stamp] : scan.unseen)
        gone.push_back(id);
    scan.isChanged = (!gone.empty() && cache_.remove(gone) > 0) || !cache_.isComplete(root_);
    cache_.setComplete(root_);
    return State::Finished;
}

// True where there was any.
bool MpdMediaLibrary::takeSongs(Scan& scan, const std::vector<MpdSong>& songs) {
    std::vector<CachedFile> changed;
    for (const auto& song : songs) {
        auto file = fileOf(song);
        const auto known = scan.unseen.extract(LibraryCache::persistentIDOf(file.file.path));
        if (!known || known.mapped() != file.file.stamp)
            changed.push_back(std::move(file));
    }
    scan.isChanged |= !changed.empty() && cache_.store(changed) > 0;
    scan.progress.filesSeen += static_cast<qint64>(songs.size());
    return !songs.empty();
}

// Pictures over the network would hold up a search for each of its albums: there the web services are asked.
CachedFile MpdMediaLibrary::fileOf(const MpdSong& song) const {
    const QString albumArtist = song.albumArtists.join(QStringLiteral(", "));
    MediaItem item{.title = song.title.isEmpty() ? titleOfFile(song.uri) : song.title,
                   .artistName = song.artist(),
                   .albumTitle = song.album,
                   .albumArtist = albumArtist,
                   .totalTime = static_cast<quint32>(song.duration.value_or(0) * 1000),
                   .trackNumber = smallNumber(song.number),
                   .discNumber = smallNumber(song.disc),
                   .isCompilation = albumArtist.compare(kVariousArtists, Qt::CaseInsensitive) == 0,
                   .hasArtwork = address_.isSocket()};
    const auto stamp = stampOf(item);
    return {{root_ + '/' + song.uri, stamp}, std::move(item)};
}

// The connection is made here, where it may take its time, and listened to on the main thread.
void MpdMediaLibrary::watch() {
    const auto connection = std::make_shared<MpdConnection>(address_);
    if (!connection->open(kPlayerCallTimeout))
        return;
    session_.runLoop().async([this, life = std::weak_ptr(life_), connection] {
        if (life.expired() || idle_)
            return;
        idle_ = std::make_unique<MpdIdle>(
            connection, session_.runLoop(), QByteArrayList{"database"},
            MpdIdle::Events{[this] { databaseChanged(); }, [this] { idle_.reset(); }});
    });
}

void MpdMediaLibrary::databaseChanged() {
    if (board_->progress().state == State::Scanning)
        scanAgain_ = true;
    else
        startScan();
}

void MpdMediaLibrary::ended(const std::shared_ptr<Scan>& scan) {
    if (scan == scan_ && scanAgain_)
        startScan();
}

} // namespace merlode
