#include "store/db.h"

#include "program_version.h"
#include "store/row.h"

#include <QFile>
#include <QFileInfo>

#include <filesystem>
#include <limits>
#include <map>

#include <fcntl.h>
#include <unistd.h>

namespace db {
namespace {

// The record table, its columns in their fixed order. fD1 defaults to the moment of insertion as an OLE date.
constexpr const char* kCreateTable = "CREATE TABLE tt ("
                                     "fPK INTEGER PRIMARY KEY, "
                                     "fEtx BLOB, "
                                     "fSec INTEGER DEFAULT 0, "
                                     "fSub INTEGER DEFAULT 0, "
                                     "fR1 INTEGER DEFAULT 0, "
                                     "fR2 INTEGER DEFAULT 0, "
                                     "fR3 INTEGER DEFAULT 0, "
                                     "fR4 INTEGER DEFAULT 0, "
                                     "fR5 INTEGER DEFAULT 0, "
                                     "fF1 INTEGER DEFAULT 0, "
                                     "fF2 INTEGER DEFAULT 0, "
                                     "fF3 INTEGER DEFAULT 0, "
                                     "fT1 BLOB, "
                                     "fT2 BLOB, "
                                     "fT3 BLOB, "
                                     "fT4 BLOB, "
                                     "fT5 BLOB, "
                                     "fD1 REAL DEFAULT (julianday('now', 'localtime') - 2415018.5), "
                                     "fD2 REAL DEFAULT 0, "
                                     "fG1 INTEGER DEFAULT 0, "
                                     "AE INTEGER DEFAULT 1)";

constexpr const char* kCreateIndexes[] = {
    "CREATE UNIQUE INDEX PrimaryKey ON tt(fPK)",
    "CREATE INDEX fSec ON tt(fSec)",
    "CREATE INDEX fSub ON tt(fSub)",
    "CREATE INDEX fR1 ON tt(fR1)",
    "CREATE INDEX fR2 ON tt(fR2)",
    "CREATE INDEX fR3 ON tt(fR3)",
    "CREATE INDEX fR4 ON tt(fR4)",
    "CREATE INDEX fR5 ON tt(fR5)",
};

constexpr const char* kCreateProperties = "CREATE TABLE nct_properties (name TEXT PRIMARY KEY, value TEXT)";

const QString kVersionProperty = QStringLiteral("NctVersion");

sqlite::Error NotOurs(const QString& why) {
    return sqlite::Error{sqlite::kErrDamaged, why};
}

sqlite::Error NotFound(const QString& path) {
    return sqlite::Error{sqlite::kErrFileNotFound, QStringLiteral("Could not find file '%1'.").arg(path)};
}

// Pushes a finished file to the disk before it takes another file's place.
bool SyncFile(const QString& path) {
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return false;
    }
    const bool ok = ::fsync(fd) == 0;
    ::close(fd);
    return ok;
}

void RemoveWithJournal(const QString& path) {
    QFile::remove(path);
    QFile::remove(path + QStringLiteral("-journal"));
}

// Opens for reading; read-write when allowed, so that the engine can roll back what a crash left half done.
sqlite::Error OpenForReading(sqlite::Connection& connection, const QString& path) {
    if (!QFileInfo::exists(path)) {
        return NotFound(path);
    }
    if (QFileInfo(path).isWritable() && !connection.open(path, sqlite::Connection::Mode::ReadWrite)) {
        return {};
    }
    return connection.open(path, sqlite::Connection::Mode::ReadOnly);
}

// Reads rows from one end of the key range towards the other. Past a damaged place it tries keys further on,
// in growing steps, so that rows behind the damage are still found.
void SalvageRows(sqlite::Connection& connection, bool ascending, std::map<std::int64_t, Row>& rows) {
    constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
    constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
    const char* sql =
        ascending ? "SELECT * FROM tt WHERE fPK>=? ORDER BY fPK" : "SELECT * FROM tt WHERE fPK<=? ORDER BY fPK DESC";
    std::int64_t from = ascending ? kMin : kMax;
    std::int64_t step = 1;
    for (int attempt = 0; attempt < 200; ++attempt) {
        sqlite::Statement select = connection.prepare(sql);
        if (!select.isValid()) {
            return;
        }
        select.bind(1, from);
        std::int64_t last = from;
        bool advanced = false;
        while (select.step()) {
            const Row row = Row::FromStatement(select);
            last = row.integer(Col::fPK);
            rows.emplace(last, row);
            advanced = true;
        }
        if (!select.error()) {
            return;
        }
        step = advanced ? 1 : (step > kMax / 2 ? kMax : step * 2);
        if (ascending ? last > kMax - step : last < kMin + step) {
            return;
        }
        from = ascending ? last + step : last - step;
    }
}

std::map<QString, QString> SalvageProperties(sqlite::Connection& connection) {
    std::map<QString, QString> properties;
    sqlite::Statement select = connection.prepare("SELECT name, value FROM nct_properties");
    while (select.step()) {
        properties[QString::fromUtf8(select.bytes(0))] = QString::fromUtf8(select.bytes(1));
    }
    return properties;
}

sqlite::Error WriteSalvage(const QString& path, const std::map<std::int64_t, Row>& rows,
                           const std::map<QString, QString>& properties) {
    if (sqlite::Error e = CreateDatabaseFile(path)) {
        return e;
    }
    sqlite::Connection target;
    sqlite::Error e = target.open(path, sqlite::Connection::Mode::ReadWrite);
    if (!e) {
        e = target.exec("BEGIN IMMEDIATE");
    }
    if (!e) {
        QString columns;
        QString marks;
        for (int c = 0; c < kColumnCount; ++c) {
            columns += QLatin1String(c ? "," : "") + QLatin1String(ColumnName(static_cast<Col>(c)));
            marks += QLatin1String(c ? ",?" : "?");
        }
        const QByteArray sql = QStringLiteral("INSERT INTO tt (%1) VALUES (%2)").arg(columns, marks).toUtf8();
        sqlite::Statement insert = target.prepare(sql.constData());
        for (const auto& [fpk, row] : rows) {
            insert.reset();
            for (int c = 0; c < kColumnCount; ++c) {
                insert.bindVariant(c + 1, row.value(static_cast<Col>(c)));
            }
            insert.step();
            if ((e = insert.error())) {
                break;
            }
        }
    }
    for (auto it = properties.begin(); !e && it != properties.end(); ++it) {
        e = WriteProperty(target, it->first, it->second);
    }
    if (!e) {
        e = target.exec("COMMIT");
    }
    target.close();
    if (!e && !SyncFile(path)) {
        e = sqlite::Error{sqlite::kErrGeneral, QStringLiteral("The repaired file could not be written to disk.")};
    }
    if (e) {
        RemoveWithJournal(path);
    }
    return e;
}

} // namespace

QString VersionText(int major, int minor, int revision) {
    return QStringLiteral("%1.%2.%3")
        .arg(major, 3, 10, QLatin1Char('0'))
        .arg(minor, 3, 10, QLatin1Char('0'))
        .arg(revision, 4, 10, QLatin1Char('0'));
}

QString ProgramVersionText() {
    return VersionText(nct::kVersionMajor, nct::kVersionMinor, nct::kVersionRevision);
}

sqlite::Error CreateDatabaseFile(const QString& path, FileHold* keep) {
    FileHold hold;
    if (sqlite::Error e = FileHold::Create(path, hold)) {
        return e;
    }
    sqlite::Connection connection;
    sqlite::Error e = connection.open(path, sqlite::Connection::Mode::ReadWrite);
    if (!e) {
        e = connection.exec("BEGIN IMMEDIATE");
    }
    if (!e) {
        e = connection.exec(QStringLiteral("PRAGMA application_id=%1").arg(kApplicationId).toUtf8().constData());
    }
    if (!e) {
        e = connection.exec(kCreateTable);
    }
    for (const char* index : kCreateIndexes) {
        if (!e) {
            e = connection.exec(index);
        }
    }
    if (!e) {
        e = connection.exec(kCreateProperties);
    }
    if (!e) {
        e = WriteProperty(connection, kVersionProperty, ProgramVersionText());
    }
    if (!e) {
        e = connection.exec("COMMIT");
    }
    connection.close();
    if (e) {
        RemoveWithJournal(path);
        return e;
    }
    if (keep != nullptr) {
        *keep = std::move(hold);
    }
    return {};
}

QString ReadProperty(sqlite::Connection& connection, const QString& name) {
    sqlite::Statement select = connection.prepare("SELECT value FROM nct_properties WHERE name=?");
    select.bind(1, name);
    return select.step() ? QString::fromUtf8(select.bytes(0)) : QString();
}

sqlite::Error WriteProperty(sqlite::Connection& connection, const QString& name, const QString& value) {
    sqlite::Statement upsert = connection.prepare(
        "INSERT INTO nct_properties (name, value) VALUES (?, ?) ON CONFLICT(name) DO UPDATE SET value=excluded.value");
    upsert.bind(1, name).bind(2, value);
    upsert.step();
    return upsert.error();
}

sqlite::Error CheckOurs(sqlite::Connection& connection) {
    sqlite::Statement id = connection.prepare("PRAGMA application_id");
    const bool haveId = id.step();
    if (sqlite::Error e = id.error()) {
        return e;
    }
    if (!haveId || id.int64(0) != kApplicationId) {
        return NotOurs(QStringLiteral("The file is not a Noctaria database."));
    }
    sqlite::Statement table = connection.prepare("SELECT 1 FROM sqlite_master WHERE type='table' AND name='tt'");
    const bool haveTable = table.step();
    if (sqlite::Error e = table.error()) {
        return e;
    }
    return haveTable ? sqlite::Error{} : NotOurs(QStringLiteral("The database holds no record table."));
}

sqlite::Error CheckDatabase(const FileHold& hold) {
    sqlite::Connection connection;
    if (sqlite::Error e = OpenForReading(connection, hold.path())) {
        return e;
    }
    if (sqlite::Error e = CheckOurs(connection)) {
        return e;
    }
    sqlite::Statement check = connection.prepare("PRAGMA quick_check");
    if (!check.step()) {
        sqlite::Error e = check.error();
        return e ? e : NotOurs(QStringLiteral("The database could not be checked."));
    }
    const QString verdict = QString::fromUtf8(check.bytes(0));
    return verdict == QLatin1String("ok") ? sqlite::Error{} : NotOurs(verdict);
}

sqlite::Error CheckDatabase(const QString& path) {
    FileHold hold;
    if (sqlite::Error e = FileHold::Acquire(path, hold)) {
        return e;
    }
    return CheckDatabase(hold);
}

sqlite::Error CompactDatabase(const QString& source, const QString& destination) {
    // The copy is made in an empty file that only its owner can read, as every database file of ours.
    {
        FileHold target;
        if (sqlite::Error e = FileHold::Create(destination, target)) {
            return e;
        }
    }
    sqlite::Connection connection;
    if (sqlite::Error e = OpenForReading(connection, source)) {
        RemoveWithJournal(destination);
        return e;
    }
    sqlite::Statement vacuum = connection.prepare("VACUUM INTO ?");
    vacuum.bind(1, destination);
    vacuum.step();
    sqlite::Error e = vacuum.error();
    connection.close();
    if (!e && !SyncFile(destination)) {
        e = sqlite::Error{sqlite::kErrGeneral, QStringLiteral("The copy could not be written to disk.")};
    }
    if (e) {
        RemoveWithJournal(destination);
    }
    return e;
}

sqlite::Error RepairDatabase(const QString& path) {
    // A file held by another program is not damaged; it must not be taken apart.
    FileHold hold;
    if (sqlite::Error e = FileHold::Acquire(path, hold)) {
        return e;
    }
    std::map<std::int64_t, Row> rows;
    std::map<QString, QString> properties;
    {
        sqlite::Connection damaged;
        if (sqlite::Error e = OpenForReading(damaged, path)) {
            return e;
        }
        SalvageRows(damaged, true, rows);
        SalvageRows(damaged, false, rows);
        properties = SalvageProperties(damaged);
    }
    if (rows.empty() && properties.empty()) {
        return NotOurs(QStringLiteral("Nothing could be read from the damaged file."));
    }
    if (!properties.count(kVersionProperty)) {
        properties[kVersionProperty] = ProgramVersionText();
    }
    const QString repaired = path + QStringLiteral(".repair");
    RemoveWithJournal(repaired);
    if (sqlite::Error e = WriteSalvage(repaired, rows, properties)) {
        return e;
    }
    // Keep the damaged original, then put the repaired file in its place in one step.
    namespace fs = std::filesystem;
    const fs::path original(QFile::encodeName(path).toStdString());
    const fs::path kept(QFile::encodeName(path + QStringLiteral(".damaged")).toStdString());
    std::error_code ec;
    fs::remove(kept, ec);
    fs::create_hard_link(original, kept, ec);
    if (ec) {
        fs::copy_file(original, kept, ec);
    }
    const QString journal = path + QStringLiteral("-journal");
    if (QFileInfo::exists(journal)) {
        QFile::remove(path + QStringLiteral(".damaged-journal"));
        QFile::rename(journal, path + QStringLiteral(".damaged-journal"));
    }
    if (sqlite::Error e = hold.ReplaceWith(repaired)) {
        RemoveWithJournal(repaired);
        return e;
    }
    return {};
}

sqlite::Error Database::Open(const QString& path) {
    m_connection.close();
    m_path.clear();
    const bool heldBefore = m_hold.holds(path);
    if (!heldBefore) {
        FileHold hold;
        if (sqlite::Error e = FileHold::Acquire(path, hold)) {
            return e;
        }
        m_hold = std::move(hold);
    }
    // The engine's own lock, taken here and held until the file is closed, keeps out programs that know
    // nothing of the hold, and lets this connection trust its cache.
    sqlite::Error e = m_connection.open(path, sqlite::Connection::Mode::ReadWrite, true);
    if (!e) {
        e = CheckOurs(m_connection);
    }
    if (!e) {
        e = m_connection.exec("BEGIN EXCLUSIVE");
    }
    if (!e) {
        e = m_connection.exec("COMMIT");
    }
    if (e) {
        m_connection.close();
        if (!heldBefore) {
            m_hold.release();
        }
        return e;
    }
    m_path = path;
    return {};
}

void Database::Close() {
    CloseKeepingHold();
    m_hold.release();
}

void Database::CloseKeepingHold() {
    m_connection.close();
    m_path.clear();
}

FileHold Database::TakeHold() {
    CloseKeepingHold();
    return std::move(m_hold);
}

void Database::KeepHold(FileHold hold) {
    CloseKeepingHold();
    m_hold = std::move(hold);
}

} // namespace db
