#include "store/sqlite.h"

#include <sqlite3.h>

namespace sqlite {

// A statement a connection keeps. `out` while a Statement uses it; `dropped` once its connection has closed, so
// that the Statement still using it finalizes it.
struct KeptStatement {
    sqlite3_stmt* stmt = nullptr;
    bool out = false;
    bool dropped = false;
};

// Rows written through a connection, as the engine reports them, since a reader last took them. `reported`
// counts every report, so that a change the engine made without one shows as a difference to its own count.
struct WriteLog {
    QHash<QByteArray, QSet<std::int64_t>> rows;
    qsizetype listed = 0;
    std::int64_t reported = 0;
    std::int64_t changesAtTake = 0;
    std::int64_t dataVersionAtTake = 0;
    bool known = false;
};

int ErrorNumberOf(int sqliteCode) {
    switch (sqliteCode & 0xFF) {
    case SQLITE_OK:
    case SQLITE_ROW:
    case SQLITE_DONE:
        return 0;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        return kErrLocked;
    case SQLITE_NOTADB:
    case SQLITE_CORRUPT:
    case SQLITE_FORMAT:
        return kErrDamaged;
    case SQLITE_CANTOPEN:
        return kErrFileNotFound;
    default:
        return kErrGeneral;
    }
}

namespace {

// Far more than the store's per-row texts; beyond it a text is prepared for each use.
constexpr qsizetype kMaxCached = 64;
// Beyond this many rows written between two reads a reader rebuilds faster than it could read them one by one.
constexpr qsizetype kMaxListedWrites = 20000;

void OnRowWritten(void* context, int /*operation*/, const char* /*database*/, const char* table, sqlite3_int64 rowid) {
    auto* log = static_cast<WriteLog*>(context);
    ++log->reported;
    if (!log->known) {
        return;
    }
    if (log->listed >= kMaxListedWrites) {
        log->known = false;
        log->rows.clear();
        return;
    }
    QSet<std::int64_t>& rows = log->rows[QByteArray::fromRawData(table, static_cast<qsizetype>(qstrlen(table)))];
    const qsizetype before = rows.size();
    rows.insert(rowid);
    log->listed += rows.size() - before;
}

std::int64_t DataVersion(sqlite3* db) {
    sqlite3_stmt* stmt = nullptr;
    std::int64_t version = -1;
    if (sqlite3_prepare_v2(db, "PRAGMA data_version", -1, &stmt, nullptr) == SQLITE_OK &&
        sqlite3_step(stmt) == SQLITE_ROW) {
        version = sqlite3_column_int64(stmt, 0);
    }
    sqlite3_finalize(stmt);
    return version;
}

Error MakeError(sqlite3* db, int code) {
    if (code == SQLITE_OK || code == SQLITE_ROW || code == SQLITE_DONE) {
        return {};
    }
    const char* text = db != nullptr ? sqlite3_errmsg(db) : sqlite3_errstr(code);
    return Error{ErrorNumberOf(code), QString::fromUtf8(text)};
}

} // namespace

Connection::Connection() = default;

Connection::~Connection() {
    close();
}

Connection::Connection(Connection&& other) noexcept
    : m_db(other.m_db)
    , m_cache(std::move(other.m_cache))
    , m_writes(std::move(other.m_writes)) {
    other.m_db = nullptr;
    other.m_cache.clear();
}

Connection& Connection::operator=(Connection&& other) noexcept {
    if (this != &other) {
        close();
        m_db = other.m_db;
        m_cache = std::move(other.m_cache);
        m_writes = std::move(other.m_writes);
        other.m_db = nullptr;
        other.m_cache.clear();
    }
    return *this;
}

Error Connection::open(const QString& path, Mode mode, bool exclusive) {
    close();
    int flags = SQLITE_OPEN_NOMUTEX;
    switch (mode) {
    case Mode::ReadOnly:
        flags |= SQLITE_OPEN_READONLY;
        break;
    case Mode::ReadWrite:
        flags |= SQLITE_OPEN_READWRITE;
        break;
    case Mode::Create:
        flags |= SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
        break;
    }
    const QByteArray name = path.toUtf8();
    const int rc = sqlite3_open_v2(name.constData(), &m_db, flags, nullptr);
    if (rc != SQLITE_OK) {
        Error e = MakeError(m_db, rc);
        close();
        return e;
    }
    sqlite3_extended_result_codes(m_db, 0);
    m_writes = std::make_unique<WriteLog>();
    sqlite3_update_hook(m_db, &OnRowWritten, m_writes.get());
    // Nothing ever lands in a temporary file, and deleted content does not linger in free pages.
    for (const char* pragma : {"PRAGMA temp_store=MEMORY", "PRAGMA secure_delete=ON", "PRAGMA synchronous=FULL"}) {
        if (Error e = exec(pragma)) {
            close();
            return e;
        }
    }
    if (exclusive) {
        // Lists walk thousands of rows for a few columns; reading pages in place from a mapping of the file,
        // rather than copying each into the page cache, halves that. The exclusive lock keeps other programs
        // from shrinking the file under the mapping.
        for (const char* pragma : {"PRAGMA locking_mode=EXCLUSIVE", "PRAGMA mmap_size=1073741824"}) {
            if (Error e = exec(pragma)) {
                close();
                return e;
            }
        }
    }
    return {};
}

void Connection::close() {
    // A statement left unfinalized would keep the file open, and locked, after the close.
    dropCache();
    if (m_db != nullptr) {
        sqlite3_close_v2(m_db);
        m_db = nullptr;
    }
    m_writes.reset();
}

bool Connection::inTransaction() const {
    return m_db != nullptr && sqlite3_get_autocommit(m_db) == 0;
}

Error Connection::exec(const char* sql) {
    if (m_db == nullptr) {
        return Error{kErrGeneral, QStringLiteral("No database is open.")};
    }
    return MakeError(m_db, sqlite3_exec(m_db, sql, nullptr, nullptr, nullptr));
}

Statement Connection::prepare(const char* sql) {
    sqlite3_stmt* stmt = nullptr;
    const int rc = m_db != nullptr ? sqlite3_prepare_v2(m_db, sql, -1, &stmt, nullptr) : SQLITE_MISUSE;
    return Statement(m_db, stmt, rc);
}

Statement Connection::cached(const char* sql) {
    if (m_db == nullptr) {
        return prepare(sql);
    }
    const auto it = m_cache.constFind(QByteArray::fromRawData(sql, static_cast<qsizetype>(qstrlen(sql))));
    if (it != m_cache.constEnd()) {
        if ((*it)->out) {
            return prepare(sql);
        }
        (*it)->out = true;
        return Statement(m_db, (*it)->stmt, SQLITE_OK, *it);
    }
    if (m_cache.size() >= kMaxCached) {
        return prepare(sql);
    }
    sqlite3_stmt* stmt = nullptr;
    const int rc = sqlite3_prepare_v3(m_db, sql, -1, SQLITE_PREPARE_PERSISTENT, &stmt, nullptr);
    if (rc != SQLITE_OK || stmt == nullptr) {
        return Statement(m_db, stmt, rc);
    }
    auto kept = std::make_shared<KeptStatement>();
    kept->stmt = stmt;
    kept->out = true;
    m_cache.insert(QByteArray(sql), kept);
    return Statement(m_db, stmt, rc, std::move(kept));
}

void Connection::dropCache() {
    for (const std::shared_ptr<KeptStatement>& kept : std::as_const(m_cache)) {
        if (kept->out) {
            kept->dropped = true;
        } else {
            sqlite3_finalize(kept->stmt);
        }
    }
    m_cache.clear();
}

Error Connection::lastError() const {
    if (m_db == nullptr) {
        return Error{kErrGeneral, QStringLiteral("No database is open.")};
    }
    return MakeError(m_db, sqlite3_errcode(m_db));
}

std::int64_t Connection::lastInsertId() const {
    return m_db != nullptr ? sqlite3_last_insert_rowid(m_db) : 0;
}

int Connection::changes() const {
    return m_db != nullptr ? sqlite3_changes(m_db) : 0;
}

std::optional<QSet<std::int64_t>> Connection::takeWrittenRows(const char* table) {
    if (m_db == nullptr || !m_writes) {
        return std::nullopt;
    }
    WriteLog& log = *m_writes;
    const std::int64_t changes = sqlite3_total_changes64(m_db);
    const std::int64_t dataVersion = DataVersion(m_db);
    const bool known = log.known && changes - log.changesAtTake == log.reported &&
                       dataVersion == log.dataVersionAtTake && dataVersion >= 0;
    std::optional<QSet<std::int64_t>> rows;
    if (known) {
        rows = log.rows.value(QByteArray::fromRawData(table, static_cast<qsizetype>(qstrlen(table))));
    }
    log.rows.clear();
    log.listed = 0;
    log.reported = 0;
    log.changesAtTake = changes;
    log.dataVersionAtTake = dataVersion;
    log.known = true;
    return rows;
}

Statement::Statement(sqlite3* db, sqlite3_stmt* stmt, int prepareCode, std::shared_ptr<KeptStatement> kept)
    : m_db(db)
    , m_stmt(stmt)
    , m_code(prepareCode)
    , m_kept(std::move(kept)) {}

Statement::~Statement() {
    letGo();
}

Statement::Statement(Statement&& other) noexcept
    : m_db(other.m_db)
    , m_stmt(other.m_stmt)
    , m_code(other.m_code)
    , m_kept(std::move(other.m_kept)) {
    other.m_stmt = nullptr;
}

Statement& Statement::operator=(Statement&& other) noexcept {
    if (this != &other) {
        letGo();
        m_db = other.m_db;
        m_stmt = other.m_stmt;
        m_code = other.m_code;
        m_kept = std::move(other.m_kept);
        other.m_stmt = nullptr;
    }
    return *this;
}

void Statement::letGo() {
    if (m_kept && !m_kept->dropped) {
        sqlite3_reset(m_stmt);
        sqlite3_clear_bindings(m_stmt);
        m_kept->out = false;
    } else {
        sqlite3_finalize(m_stmt);
    }
    m_kept.reset();
    m_stmt = nullptr;
}

Statement& Statement::bind(int i, std::int64_t value) {
    sqlite3_bind_int64(m_stmt, i, value);
    return *this;
}

Statement& Statement::bind(int i, double value) {
    sqlite3_bind_double(m_stmt, i, value);
    return *this;
}

Statement& Statement::bind(int i, const QByteArray& blob) {
    // A null QByteArray is an absent value; an empty one is a blob of length zero.
    if (blob.isNull()) {
        sqlite3_bind_null(m_stmt, i);
    } else {
        sqlite3_bind_blob64(m_stmt, i, blob.constData(), static_cast<sqlite3_uint64>(blob.size()), SQLITE_TRANSIENT);
    }
    return *this;
}

Statement& Statement::bind(int i, const QString& text) {
    const QByteArray utf8 = text.toUtf8();
    sqlite3_bind_text64(m_stmt, i, utf8.constData(), static_cast<sqlite3_uint64>(utf8.size()), SQLITE_TRANSIENT,
                        SQLITE_UTF8);
    return *this;
}

Statement& Statement::bindNull(int i) {
    sqlite3_bind_null(m_stmt, i);
    return *this;
}

Statement& Statement::bindVariant(int i, const QVariant& value) {
    if (!value.isValid() || value.isNull()) {
        return bindNull(i);
    }
    switch (value.typeId()) {
    case QMetaType::QByteArray:
        return bind(i, value.toByteArray());
    case QMetaType::QString:
        return bind(i, value.toString());
    case QMetaType::Double:
    case QMetaType::Float:
        return bind(i, value.toDouble());
    default:
        return bind(i, static_cast<std::int64_t>(value.toLongLong()));
    }
}

bool Statement::step() {
    if (m_stmt == nullptr) {
        return false;
    }
    m_code = sqlite3_step(m_stmt);
    return m_code == SQLITE_ROW;
}

Error Statement::error() const {
    if (m_stmt == nullptr && m_code == SQLITE_OK) {
        return Error{kErrGeneral, QStringLiteral("Statement could not be prepared.")};
    }
    return MakeError(m_db, m_code);
}

void Statement::reset() {
    sqlite3_reset(m_stmt);
    sqlite3_clear_bindings(m_stmt);
    m_code = SQLITE_OK;
}

int Statement::columnCount() const {
    return sqlite3_column_count(m_stmt);
}

QString Statement::columnName(int i) const {
    return QString::fromUtf8(sqlite3_column_name(m_stmt, i));
}

bool Statement::isNull(int i) const {
    return sqlite3_column_type(m_stmt, i) == SQLITE_NULL;
}

std::int64_t Statement::int64(int i) const {
    return sqlite3_column_int64(m_stmt, i);
}

double Statement::real(int i) const {
    return sqlite3_column_double(m_stmt, i);
}

QByteArray Statement::bytes(int i) const {
    if (isNull(i)) {
        return {};
    }
    const void* data = sqlite3_column_blob(m_stmt, i);
    const int n = sqlite3_column_bytes(m_stmt, i);
    if (data == nullptr || n == 0) {
        return QByteArray("");
    }
    return QByteArray(static_cast<const char*>(data), n);
}

QVariant Statement::value(int i) const {
    switch (sqlite3_column_type(m_stmt, i)) {
    case SQLITE_INTEGER:
        return QVariant::fromValue<qint64>(int64(i));
    case SQLITE_FLOAT:
        return real(i);
    case SQLITE_NULL:
        return {};
    default:
        return bytes(i);
    }
}

Savepoint::Savepoint(Connection& db)
    : m_db(db) {}

Savepoint::~Savepoint() {
    if (m_open) {
        run("ROLLBACK TO nct_write");
        run("RELEASE nct_write");
    }
}

Error Savepoint::begin() {
    Error e = run("SAVEPOINT nct_write");
    m_open = !e;
    return e;
}

Error Savepoint::release() {
    Error e = run("RELEASE nct_write");
    if (!e) {
        m_open = false;
    }
    return e;
}

// Every row write opens and closes a savepoint, so its statements are kept rather than parsed each time.
Error Savepoint::run(const char* sql) {
    Statement statement = m_db.cached(sql);
    statement.step();
    return statement.error();
}

} // namespace sqlite
