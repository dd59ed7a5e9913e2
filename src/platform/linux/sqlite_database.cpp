#include "platform/linux/sqlite_database.h"

#include <QLoggingCategory>

#include <sqlite3.h>

namespace merlode::sqlite {

namespace {

Q_LOGGING_CATEGORY(lcSqlite, "merlode.platform", QtWarningMsg)

constexpr int kBusyTimeout = 5000; // milliseconds

void warn(sqlite3* database) {
    qCWarning(lcSqlite) << "database:" << sqlite3_errmsg(database);
}

} // namespace

void Statement::Finalize::operator()(sqlite3_stmt* statement) const {
    sqlite3_finalize(statement);
}

Statement& Statement::bind(int place, qint64 value) {
    sqlite3_bind_int64(statement_.get(), place, value);
    return *this;
}

Statement& Statement::bind(int place, const QString& text) {
    const QByteArray utf8 = text.toUtf8();
    sqlite3_bind_text64(statement_.get(), place, utf8.constData(), static_cast<sqlite3_uint64>(utf8.size()),
                        SQLITE_TRANSIENT, SQLITE_UTF8);
    return *this;
}

Statement& Statement::bind(int place, const QByteArray& bytes) {
    sqlite3_bind_blob64(statement_.get(), place, bytes.constData(), static_cast<sqlite3_uint64>(bytes.size()),
                        SQLITE_TRANSIENT);
    return *this;
}

bool Statement::step() {
    const int result = statement_ ? sqlite3_step(statement_.get()) : SQLITE_MISUSE;
    if (result != SQLITE_ROW && result != SQLITE_DONE && statement_)
        warn(sqlite3_db_handle(statement_.get()));
    return result == SQLITE_ROW;
}

bool Statement::run() {
    if (!statement_)
        return false;
    step();
    const bool done = sqlite3_reset(statement_.get()) == SQLITE_OK;
    sqlite3_clear_bindings(statement_.get());
    return done;
}

void Statement::reset() {
    sqlite3_reset(statement_.get());
}

qint64 Statement::integer(int column) const {
    return sqlite3_column_int64(statement_.get(), column);
}

QString Statement::text(int column) const {
    return QString::fromUtf8(bytes(column));
}

QByteArray Statement::bytes(int column) const {
    const void* data = sqlite3_column_blob(statement_.get(), column);
    return {static_cast<const char*>(data), sqlite3_column_bytes(statement_.get(), column)};
}

void Database::Close::operator()(sqlite3* database) const {
    sqlite3_close_v2(database);
}

std::optional<Database> Database::open(const QByteArray& path, Mode mode) {
    const int flags =
        mode == Mode::ReadOnly ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
    sqlite3* handle = nullptr;
    const int result = sqlite3_open_v2(path.constData(), &handle, flags | SQLITE_OPEN_NOMUTEX, nullptr);
    Database database(handle); // there is one to close after a failure too
    if (result != SQLITE_OK) {
        warn(handle);
        return std::nullopt;
    }
    sqlite3_busy_timeout(handle, kBusyTimeout);
    return database;
}

Statement Database::prepare(const char* sql) const {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(database_.get(), sql, -1, &statement, nullptr) != SQLITE_OK)
        warn(database_.get());
    return Statement(statement);
}

bool Database::execute(const char* sql) const {
    if (sqlite3_exec(database_.get(), sql, nullptr, nullptr, nullptr) == SQLITE_OK)
        return true;
    warn(database_.get());
    return false;
}

QString Database::firstText(const char* sql) const {
    auto statement = prepare(sql);
    return statement.step() ? statement.text(0) : QString();
}

bool Database::isDamaged() const {
    const int error = sqlite3_errcode(database_.get());
    return error == SQLITE_NOTADB || error == SQLITE_CORRUPT;
}

Transaction::Transaction(const Database& database)
    : database_(database), open_(database.execute("BEGIN IMMEDIATE")) {}

Transaction::~Transaction() {
    if (open_)
        database_.execute("ROLLBACK");
}

bool Transaction::commit() {
    if (!open_ || !database_.execute("COMMIT"))
        return false;
    open_ = false;
    return true;
}

} // namespace merlode::sqlite
