#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QVariant>

#include <QSet>

#include <cstdint>
#include <memory>
#include <optional>

struct sqlite3;
struct sqlite3_stmt;

// A thin RAII layer over the SQLite C API. Every value reaches SQL through a bound parameter.
namespace sqlite {

// Engine failures as the store's error numbers, with the engine's own description.
struct Error {
    int number = 0;
    QString description;
    explicit operator bool() const { return number != 0; }
};

// The store's numbers for what the engine reports.
constexpr int kErrFileNotFound = 3024;
constexpr int kErrAlreadyExists = 3204;
constexpr int kErrDamaged = 3049;
constexpr int kErrLocked = 3734;
constexpr int kErrGeneral = 3146;

int ErrorNumberOf(int sqliteCode);

class Statement;
struct KeptStatement;
struct WriteLog;

class Connection {
public:
    enum class Mode { ReadOnly, ReadWrite, Create };

    Connection();
    ~Connection();
    Connection(Connection&& other) noexcept;
    Connection& operator=(Connection&& other) noexcept;
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    // Opens `path`. With `exclusive`, the file stays locked against other programs while it is open.
    Error open(const QString& path, Mode mode, bool exclusive = false);
    void close();
    bool isOpen() const { return m_db != nullptr; }
    // Whether a transaction is open, so that what is written now is committed or rolled back with it.
    bool inTransaction() const;
    sqlite3* handle() const { return m_db; }

    // A statement with no parameters and no rows, such as a pragma or DDL.
    Error exec(const char* sql);
    Statement prepare(const char* sql);
    // The statement of `sql` prepared once and kept until the connection closes, for what runs once per row. It
    // comes reset and without bindings and is reset and cleared again when let go, so that it holds no lock and
    // no value meanwhile. While it is out, the same text is prepared afresh for a nested user.
    Statement cached(const char* sql);
    Error lastError() const;
    std::int64_t lastInsertId() const;
    int changes() const;

    // The rowids of `table` written through this connection since the previous call, so that one reader may keep
    // plain columns in memory between reads. Rolled-back writes are among them: the reader reads those rows
    // again. Empty of meaning (nullopt) on the first call after opening, after a change by another connection,
    // after a write the engine does not report row by row, or after more writes than are worth listing: then
    // the reader starts over.
    std::optional<QSet<std::int64_t>> takeWrittenRows(const char* table);

private:
    void dropCache();

    sqlite3* m_db = nullptr;
    QHash<QByteArray, std::shared_ptr<KeptStatement>> m_cache;
    std::unique_ptr<WriteLog> m_writes;
};

class Statement {
public:
    Statement() = default;
    Statement(sqlite3* db, sqlite3_stmt* stmt, int prepareCode, std::shared_ptr<KeptStatement> kept = nullptr);
    ~Statement();
    Statement(Statement&& other) noexcept;
    Statement& operator=(Statement&& other) noexcept;
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    bool isValid() const { return m_stmt != nullptr; }

    // 1-based, as SQLite counts parameters.
    Statement& bind(int i, std::int64_t value);
    Statement& bind(int i, double value);
    Statement& bind(int i, const QByteArray& blob);
    Statement& bind(int i, const QString& text);
    Statement& bindNull(int i);
    // An invalid variant binds NULL; QByteArray binds a blob; integers, bools and doubles their numbers.
    Statement& bindVariant(int i, const QVariant& value);

    // One step: true while there is a row. After false, error() tells whether the statement ended or failed.
    bool step();
    Error error() const;
    void reset();

    int columnCount() const;
    QString columnName(int i) const;
    bool isNull(int i) const;
    std::int64_t int64(int i) const;
    double real(int i) const;
    // Blobs and texts alike, byte for byte.
    QByteArray bytes(int i) const;
    QVariant value(int i) const;

private:
    // Finalizes the statement, or gives it back to the connection that keeps it.
    void letGo();

    sqlite3* m_db = nullptr;
    sqlite3_stmt* m_stmt = nullptr;
    int m_code = 0;
    std::shared_ptr<KeptStatement> m_kept;
};

// A savepoint, which nests inside a transaction or stands for one. What is written between begin() and
// release() is rolled back when the object goes away unreleased, so an early return never half-writes.
class Savepoint {
public:
    explicit Savepoint(Connection& db);
    ~Savepoint(); // rolls back unless released
    Savepoint(const Savepoint&) = delete;
    Savepoint& operator=(const Savepoint&) = delete;
    Error begin();
    Error release();

private:
    Error run(const char* sql);

    Connection& m_db;
    bool m_open = false;
};

} // namespace sqlite
