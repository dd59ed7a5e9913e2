#pragma once

#include <QByteArray>
#include <QString>

#include <memory>
#include <optional>

struct sqlite3;
struct sqlite3_stmt;

/// The little of SQLite that the program needs, with owners for its handles. A connection and its statements
/// are used by one thread at a time. Failures leave a line in the log.
namespace merlode::sqlite {

/// A prepared statement. Places of bound values count from 1, those of columns from 0, as in SQL.
class Statement {
  public:
    Statement& bind(int place, qint64 value);
    Statement& bind(int place, const QString& text);
    /// As a blob.
    Statement& bind(int place, const QByteArray& bytes);

    /// Goes to the next row; false at the end and on failure.
    bool step();
    /// Runs a statement that gives no rows, and makes it ready to be bound again. False on failure.
    bool run();
    /// Makes the statement ready to run again.
    void reset();

    qint64 integer(int column) const;
    QString text(int column) const;
    QByteArray bytes(int column) const;

  private:
    friend class Database;
    struct Finalize {
        void operator()(sqlite3_stmt* statement) const;
    };

    explicit Statement(sqlite3_stmt* statement) : statement_(statement) {}

    std::unique_ptr<sqlite3_stmt, Finalize> statement_; ///< null for SQL that the database does not take
};

class Database {
  public:
    enum class Mode { ReadOnly, ReadWrite };

    /// Opens the file; for writing it is made where it is missing. Nothing where that is not possible. Waits
    /// five seconds for another process at most, here and later.
    static std::optional<Database> open(const QByteArray& path, Mode mode);

    Statement prepare(const char* sql) const;
    /// Runs statements that give nothing. False on the first failure.
    bool execute(const char* sql) const;
    /// The first column of the first row; empty where there is none.
    QString firstText(const char* sql) const;
    /// Whether the last failure says that the file is no database or a damaged one.
    bool isDamaged() const;

  private:
    struct Close {
        void operator()(sqlite3* database) const;
    };

    explicit Database(sqlite3* database) : database_(database) {}

    std::unique_ptr<sqlite3, Close> database_;
};

/// Everything written while this lives is kept by `commit`, or else as if it had not been written.
class Transaction {
  public:
    explicit Transaction(const Database& database);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    bool commit();

  private:
    const Database& database_;
    bool open_;
};

} // namespace merlode::sqlite
