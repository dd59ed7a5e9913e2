#include "platform/linux/library_cache.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QtEndian>

namespace merlode {

namespace {

using sqlite::Database;
using sqlite::Statement;
using sqlite::Transaction;

Q_LOGGING_CATEGORY(lcCache, "merlode.platform", QtWarningMsg)

// An absent title marks a file without a place in the library. Paths are compared byte by byte. The rows lie
// in the order of their paths, in which all of them are read at each start.
constexpr const char* kTables = R"(
    CREATE TABLE file(id INTEGER UNIQUE, path BLOB PRIMARY KEY, size INTEGER, modified INTEGER,
                      covered INTEGER, title TEXT, artist TEXT, album TEXT, album_artist TEXT, time INTEGER,
                      track INTEGER, disc INTEGER, discs INTEGER, compilation INTEGER, artwork INTEGER,
                      song INTEGER) WITHOUT ROWID;
    CREATE TABLE complete(folder BLOB PRIMARY KEY) WITHOUT ROWID;
    PRAGMA user_version = 2;)";
static_assert(LibraryCache::kVersion == 2, "the number stands in the SQL too");

constexpr const char* kStore = R"(
    INSERT OR REPLACE INTO file VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10, ?11, ?12, ?13, ?14, ?15, ?16))";

constexpr const char* kItems = R"(
    SELECT id, title, artist, album, album_artist, time, track, disc, discs, compilation, artwork, song
    FROM file WHERE path > ?1 AND path < ?2 AND title IS NOT NULL ORDER BY path)";

// All paths below a folder lie between the folder with a slash and the same with what follows the slash.
void bindFolder(Statement& statement, const QByteArray& folder) {
    statement.bind(1, folder + '/').bind(2, folder + char('/' + 1));
}

// Of whatever is written in a file that others can change.
template<class Number>
Number number(const Statement& row, int column) {
    const qint64 value = row.integer(column);
    return value >= 0 && value <= std::numeric_limits<Number>::max() ? static_cast<Number>(value) : Number(0);
}

MediaItem itemOf(const Statement& row) {
    return {.persistentID = static_cast<quint64>(row.integer(0)),
            .title = row.text(1),
            .artistName = row.text(2),
            .albumTitle = row.text(3),
            .albumArtist = row.text(4),
            .totalTime = number<quint32>(row, 5),
            .trackNumber = number<quint16>(row, 6),
            .discNumber = number<quint16>(row, 7),
            .discCount = number<quint16>(row, 8),
            .isCompilation = row.integer(9) != 0,
            .hasArtwork = row.integer(10) != 0,
            .mediaKind = row.integer(11) != 0 ? MediaKind::Song : MediaKind::Other};
}

void bindItem(Statement& statement, const MediaItem& item, bool isCovered) {
    statement.bind(6, item.title)
        .bind(7, item.artistName)
        .bind(8, item.albumTitle)
        .bind(9, item.albumArtist)
        .bind(10, qint64(item.totalTime))
        .bind(11, qint64(item.trackNumber))
        .bind(12, qint64(item.discNumber))
        .bind(13, qint64(item.discCount))
        .bind(14, qint64(item.isCompilation))
        .bind(15, qint64(item.hasArtwork || isCovered))
        .bind(16, qint64(item.mediaKind == MediaKind::Song));
}

enum class Health { Good, New, Bad, Unknown };

Health healthOf(const Database& database) {
    const QString check = database.firstText("PRAGMA quick_check(1)");
    if (check != u"ok")
        return !check.isEmpty() || database.isDamaged() ? Health::Bad : Health::Unknown;
    const int version = database.firstText("PRAGMA user_version").toInt();
    if (version == LibraryCache::kVersion)
        return Health::Good;
    const bool isEmpty = database.firstText("SELECT count(*) FROM sqlite_schema") == u"0";
    return version == 0 && isEmpty ? Health::New : Health::Bad;
}

// Nothing for a database that is busy or out of reach: it is left alone, and missing for this run.
std::optional<Database> openGood(const QByteArray& file, Health& health) {
    auto database = Database::open(file, Database::Mode::ReadWrite);
    health = database ? healthOf(*database) : Health::Unknown;
    const bool isReady = health == Health::Good || health == Health::New;
    if (!isReady || !database->execute("PRAGMA journal_mode = WAL; PRAGMA synchronous = NORMAL"))
        return std::nullopt;
    if (health == Health::Good)
        return database;
    const bool isMade = [&] {
        Transaction transaction(*database);
        return database->execute(kTables) && transaction.commit();
    }();
    return isMade ? std::move(database) : std::nullopt;
}

void setAside(const QString& file) {
    qCWarning(lcCache) << "the library's database is begun anew:" << file;
    QFile::remove(file + QStringLiteral(".old"));
    QFile::rename(file, file + QStringLiteral(".old"));
    for (const auto& ending : {QStringLiteral("-wal"), QStringLiteral("-shm")})
        QFile::remove(file + ending);
}

} // namespace

LibraryCache::Writer::Writer(Database opened)
    : database(std::move(opened)),
      store(database.prepare(kStore)),
      remove(database.prepare("DELETE FROM file WHERE id = ?1")),
      path(database.prepare("SELECT path FROM file WHERE id = ?1")) {}

quint64 LibraryCache::persistentIDOf(const QByteArray& path) {
    const auto hash = QCryptographicHash::hash(path, QCryptographicHash::Sha256);
    return std::max<quint64>(qFromBigEndian<quint64>(hash.constData()), 1);
}

LibraryCache::Writer* LibraryCache::writer() {
    if (!std::exchange(isOpened_, true))
        open();
    return writer_ ? &*writer_ : nullptr;
}

void LibraryCache::open() {
    const QString file = QFile::decodeName(file_);
    QDir().mkpath(QFileInfo(file).path());
    auto health = Health::Unknown;
    auto database = openGood(file_, health);
    if (health == Health::Bad) {
        setAside(file);
        database = openGood(file_, health);
    }
    if (database)
        writer_.emplace(std::move(*database));
}

void LibraryCache::readItems(const QByteArray& folder, const std::function<bool(const MediaItem&)>& visit) {
    {
        const std::lock_guard lock(mutex_);
        if (!writer())
            return;
    }
    // A connection of its own: a long walk over all items holds up nobody who writes.
    const auto database = Database::open(file_, Database::Mode::ReadOnly);
    if (!database)
        return;
    auto rows = database->prepare(kItems);
    bindFolder(rows, folder);
    while (rows.step() && visit(itemOf(rows))) {
    }
}

std::unordered_map<quint64, MusicFileStamp> LibraryCache::stamps(const QByteArray& folder) {
    const std::lock_guard lock(mutex_);
    std::unordered_map<quint64, MusicFileStamp> found;
    if (!writer())
        return found;
    auto rows = writer_->database.prepare(
        "SELECT id, size, modified, covered FROM file WHERE path > ?1 AND path < ?2");
    bindFolder(rows, folder);
    while (rows.step())
        found[static_cast<quint64>(rows.integer(0))] = {rows.integer(1), rows.integer(2),
                                                        rows.integer(3) != 0};
    return found;
}

std::optional<QByteArray> LibraryCache::path(quint64 persistentID) {
    const std::lock_guard lock(mutex_);
    if (!writer())
        return std::nullopt;
    auto& row = writer_->path.bind(1, static_cast<qint64>(persistentID));
    auto found = row.step() ? std::optional(row.bytes(0)) : std::nullopt;
    row.reset();
    return found;
}

int LibraryCache::store(std::span<const CachedFile> files) {
    const std::lock_guard lock(mutex_);
    if (!writer())
        return 0;
    Transaction transaction(writer_->database);
    int stored = 0;
    for (const auto& [file, item] : files) {
        auto& row = writer_->store.bind(1, static_cast<qint64>(persistentIDOf(file.path)))
                        .bind(2, file.path)
                        .bind(3, file.stamp.size)
                        .bind(4, file.stamp.modified)
                        .bind(5, qint64(file.stamp.isCovered));
        if (item)
            bindItem(row, *item, file.stamp.isCovered);
        stored += row.run() ? 1 : 0;
    }
    return transaction.commit() ? stored : 0;
}

int LibraryCache::remove(std::span<const quint64> persistentIDs) {
    const std::lock_guard lock(mutex_);
    if (!writer())
        return 0;
    Transaction transaction(writer_->database);
    int removed = 0;
    for (const quint64 id : persistentIDs)
        removed += writer_->remove.bind(1, static_cast<qint64>(id)).run() ? 1 : 0;
    return transaction.commit() ? removed : 0;
}

bool LibraryCache::isComplete(const QByteArray& folder) {
    const std::lock_guard lock(mutex_);
    if (!writer())
        return false;
    auto row = writer_->database.prepare("SELECT 1 FROM complete WHERE folder = ?1");
    return row.bind(1, folder).step();
}

void LibraryCache::setComplete(const QByteArray& folder) {
    const std::lock_guard lock(mutex_);
    if (writer())
        writer_->database.prepare("INSERT OR IGNORE INTO complete VALUES(?1)").bind(1, folder).run();
}

} // namespace merlode
