#include <QtTest>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>

#include <sqlite3.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include "store/conversion.h"
#include "store/db.h"
#include "store/random_source.h"
#include "store/row.h"
#include "store/sqlite.h"

namespace {

using Rows = std::map<std::int64_t, Row>;

QByteArray readFile(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool writeFile(const QString& path, const QByteArray& data) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(data) == data.size();
}

QByteArray randomBytes(QRandomGenerator& random, int n) {
    QByteArray bytes(n, '\0');
    for (char& b : bytes) {
        b = static_cast<char>(random.bounded(256));
    }
    return bytes;
}

// 2,000 bytes holding every byte value, zeros and 0xFF runs included, and no valid UTF-8 structure.
QByteArray arbitraryBytes() {
    QByteArray bytes;
    for (int i = 0; i < 2000; ++i) {
        bytes.append(static_cast<char>((i * 37 + i / 256) & 0xFF));
    }
    bytes[0] = '\0';
    bytes[1999] = '\xFF';
    bytes.replace(1000, 4, QByteArray("\x00\x00\xFF\xFF", 4));
    return bytes;
}

QVariant integer(qint64 value) {
    return QVariant(qlonglong(value));
}

// Values for every column but fPK, of the kinds the program writes: blobs that are absent, empty or full of
// arbitrary bytes, integers over the whole 64-bit range and dates as doubles.
RowValues sampleValues(QRandomGenerator& random, int etxBytes) {
    RowValues values;
    values.set(Col::fEtx, randomBytes(random, etxBytes));
    for (Col c : {Col::fSec, Col::fSub, Col::fR1, Col::fR2, Col::fR3, Col::fR4, Col::fR5, Col::fF1, Col::fF2, Col::fF3,
                  Col::fG1}) {
        values.set(c, integer(static_cast<qint64>(random.generate64())));
    }
    for (Col c : {Col::fT1, Col::fT2, Col::fT3, Col::fT4, Col::fT5}) {
        switch (random.bounded(4)) {
        case 0:
            values.set(c, QByteArray());
            break;
        case 1:
            values.set(c, QByteArray(""));
            break;
        default:
            values.set(c, randomBytes(random, random.bounded(1, 40)));
        }
    }
    values.set(Col::fD1, random.generateDouble() * 60000.0);
    values.set(Col::fD2, -random.generateDouble() * 1000.0);
    values.set(Col::AE, integer(random.bounded(2)));
    return values;
}

QString show(const QVariant& v) {
    if (!v.isValid()) {
        return QStringLiteral("NULL");
    }
    if (v.typeId() == QMetaType::QByteArray) {
        return QStringLiteral("x'%1' (%2 bytes)")
            .arg(QString::fromLatin1(v.toByteArray().left(24).toHex()))
            .arg(v.toByteArray().size());
    }
    return QStringLiteral("%1 (%2)").arg(v.toString(), QString::fromLatin1(v.typeName()));
}

// Empty when both rows hold the same values of the same kinds in every column.
QString difference(const Row& a, const Row& b) {
    for (int c = 0; c < kColumnCount; ++c) {
        const QVariant& x = a.value(static_cast<Col>(c));
        const QVariant& y = b.value(static_cast<Col>(c));
        const bool same = x.isValid() == y.isValid() && (!x.isValid() || (x.typeId() == y.typeId() && x == y));
        if (!same) {
            return QStringLiteral("fPK %1, %2: %3 vs %4")
                .arg(a.integer(Col::fPK))
                .arg(QLatin1String(ColumnName(static_cast<Col>(c))), show(x), show(y));
        }
    }
    return {};
}

// Empty when both sets of rows are equal, else the first difference.
QString difference(const Rows& a, const Rows& b) {
    if (a.size() != b.size()) {
        return QStringLiteral("%1 rows vs %2 rows").arg(a.size()).arg(b.size());
    }
    for (auto i = a.begin(), j = b.begin(); i != a.end(); ++i, ++j) {
        if (i->first != j->first) {
            return QStringLiteral("fPK %1 vs fPK %2").arg(i->first).arg(j->first);
        }
        if (QString d = difference(i->second, j->second); !d.isEmpty()) {
            return d;
        }
    }
    return {};
}

std::optional<Rows> allRows(sqlite::Connection& connection) {
    Rows rows;
    sqlite::Statement select = connection.prepare("SELECT * FROM tt ORDER BY fPK");
    while (select.step()) {
        const Row row = Row::FromStatement(select);
        rows.emplace(row.integer(Col::fPK), row);
    }
    if (select.error()) {
        return std::nullopt;
    }
    return rows;
}

std::optional<Rows> allRows(const QString& path) {
    sqlite::Connection connection;
    if (connection.open(path, sqlite::Connection::Mode::ReadOnly)) {
        return std::nullopt;
    }
    return allRows(connection);
}

// The first value of the first row, or an invalid variant.
QVariant scalar(sqlite::Connection& connection, const char* sql) {
    sqlite::Statement select = connection.prepare(sql);
    return select.step() ? select.value(0) : QVariant();
}

QVariant scalar(const QString& path, const char* sql) {
    sqlite::Connection connection;
    if (connection.open(path, sqlite::Connection::Mode::ReadOnly)) {
        return {};
    }
    return scalar(connection, sql);
}

bool inTransaction(sqlite::Connection& connection) {
    return sqlite3_get_autocommit(connection.handle()) == 0;
}

// Adds `count` sample rows in one transaction and returns their keys; empty on failure.
QList<std::int64_t> addSamples(const QString& path, int count, quint32 seed, int minEtx, int maxEtx) {
    QRandomGenerator random(seed);
    sqlite::Connection connection;
    if (connection.open(path, sqlite::Connection::Mode::ReadWrite) || connection.exec("BEGIN")) {
        return {};
    }
    QList<std::int64_t> keys;
    for (int i = 0; i < count; ++i) {
        const RowValues values = sampleValues(random, random.bounded(minEtx, maxEtx + 1));
        const std::int64_t fpk = AddNewRow(connection, [&](std::int64_t, RowValues& row) {
            row = values;
            return true;
        });
        if (fpk == 0) {
            return {};
        }
        keys.append(fpk);
    }
    return connection.exec("COMMIT") ? QList<std::int64_t>() : keys;
}

// Pages and b-trees of an SQLite file, read directly so that damage can be aimed at known pages.
class FileImage {
public:
    explicit FileImage(QByteArray bytes)
        : m_bytes(std::move(bytes)) {
        const int size = be16(16);
        m_pageSize = size == 1 ? 65536 : size;
    }

    const QByteArray& bytes() const { return m_bytes; }
    int pageCount() const { return static_cast<int>(m_bytes.size() / m_pageSize); }

    // Leaf pages of the b-tree rooted at `root`, in key order.
    QList<int> leaves(int root) const {
        QList<int> out;
        collectLeaves(root, out, 0);
        return out;
    }

    // The rowids stored on a table leaf page.
    QList<std::int64_t> rowids(int page) const {
        const qsizetype base = offsetOf(page);
        QList<std::int64_t> out;
        const int cells = be16(base + 3);
        for (int i = 0; i < cells; ++i) {
            qsizetype at = base + be16(base + 8 + 2 * i);
            varint(at); // payload size
            out.append(static_cast<std::int64_t>(varint(at)));
        }
        return out;
    }

    // Overwrites a whole page with noise; the first byte becomes a page type no b-tree page has, so that the
    // engine must notice the damage instead of handing out garbage as data.
    void damage(int page, QRandomGenerator& random) {
        const qsizetype base = offsetOf(page);
        for (int i = 0; i < m_pageSize; ++i) {
            m_bytes[base + i] = static_cast<char>(random.bounded(256));
        }
        m_bytes[base] = '\0';
    }

private:
    qsizetype offsetOf(int page) const { return qsizetype(page - 1) * m_pageSize; }
    int byte(qsizetype at) const { return static_cast<unsigned char>(m_bytes.at(at)); }
    int be16(qsizetype at) const { return byte(at) << 8 | byte(at + 1); }
    int be32(qsizetype at) const { return be16(at) << 16 | be16(at + 2); }

    quint64 varint(qsizetype& at) const {
        quint64 value = 0;
        for (int i = 0; i < 8; ++i) {
            const int b = byte(at++);
            value = value << 7 | (b & 0x7F);
            if (!(b & 0x80)) {
                return value;
            }
        }
        return value << 8 | byte(at++);
    }

    void collectLeaves(int page, QList<int>& out, int depth) const {
        if (page < 2 || page > pageCount() || depth > 10) {
            return;
        }
        const qsizetype base = offsetOf(page);
        const int type = byte(base);
        if (type == 0x0D || type == 0x0A) {
            out.append(page);
            return;
        }
        if (type != 0x05 && type != 0x02) {
            return;
        }
        const int cells = be16(base + 3);
        for (int i = 0; i < cells; ++i) {
            collectLeaves(be32(base + be16(base + 12 + 2 * i)), out, depth + 1);
        }
        collectLeaves(be32(base + 8), out, depth + 1);
    }

    QByteArray m_bytes;
    int m_pageSize = 4096;
};

int rootPage(const QString& path, const char* name) {
    sqlite::Connection connection;
    if (connection.open(path, sqlite::Connection::Mode::ReadOnly)) {
        return 0;
    }
    sqlite::Statement select = connection.prepare("SELECT rootpage FROM sqlite_master WHERE name=?");
    select.bind(1, QString::fromLatin1(name));
    return select.step() ? static_cast<int>(select.int64(0)) : 0;
}

// Sets TZ for the duration of a test; both the engine and Qt take local time from it.
class TimeZoneGuard {
public:
    explicit TimeZoneGuard(const QByteArray& tz)
        : m_had(qEnvironmentVariableIsSet("TZ"))
        , m_old(qgetenv("TZ")) {
        qputenv("TZ", tz);
        ::tzset();
    }
    ~TimeZoneGuard() {
        if (m_had) {
            qputenv("TZ", m_old);
        } else {
            qunsetenv("TZ");
        }
        ::tzset();
    }
    TimeZoneGuard(const TimeZoneGuard&) = delete;
    TimeZoneGuard& operator=(const TimeZoneGuard&) = delete;

private:
    bool m_had;
    QByteArray m_old;
};

enum CrashKind { CrashAdd, CrashAddAfterUncommitted, CrashChange, CrashChangeAfterUncommitted };

enum DamageKind { DamageNone, DamageMiddleLeaves, DamageAdjacentLeaves, DamageFirstLeaf, DamageLastLeaf, DamageIndex };

enum CheckKind {
    CheckFresh,
    CheckMissing,
    CheckRandomBytes,
    CheckEmptyFile,
    CheckForeignDatabase,
    CheckOtherApplicationId,
    CheckNoRecordTable,
    CheckDamagedTable,
    CheckDamagedIndex,
};

} // namespace

class TestDb : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();

    void versionText_data();
    void versionText();

    void createdTableLayout();
    void createdIndexes();
    void createdHeaderAndVersion();
    void createRefusesExistingPath_data();
    void createRefusesExistingPath();
    void createFailureLeavesNothing();

    void defaultRow_data();
    void defaultRow();
    void newKeysAreReadableAndUnique();

    void blobRoundTrip_data();
    void blobRoundTrip();
    void emptyBlobIsNotNull();
    void equalEtxInTwoRows();
    void textValuesReadAsBytes();
    void columnOf_data();
    void columnOf();
    void readerFindsColumnsByName();

    void fillSeesFinalKey();
    void abandonedAddLeavesTableUnchanged();
    void changeRowKeepsUnsetColumns();
    void changeRowRefusesMissingKey_data();
    void changeRowRefusesMissingKey();
    void abandonedChangeLeavesRow();
    void nestedInOuterTransaction();
    void crashMidWrite_data();
    void crashMidWrite();

    void fillNoiseTouchesOnlyFlagged_data();
    void fillNoiseTouchesOnlyFlagged();
    void fillNoiseDraws();

    void checkDatabase_data();
    void checkDatabase();
    void checkDatabaseLocked();
    void openRefusals();

    void compactShrinksAndKeepsRows();
    void compactRefusesExistingDestination();
    void compactFailureLeavesNothing_data();
    void compactFailureLeavesNothing();

    void repairSalvagesReadableRows_data();
    void repairSalvagesReadableRows();
    void repairRefusesUnreadable();

private:
    QString path(const QString& name) const { return m_dir->filePath(name); }
    // A fresh file of ours at `name`.
    QString created(const QString& name = QStringLiteral("organiser.nct"));

    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestDb::init() {
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
}

QString TestDb::created(const QString& name) {
    const QString file = path(name);
    const sqlite::Error e = db::CreateDatabaseFile(file);
    if (e) {
        qWarning("CreateDatabaseFile: %d %s", e.number, qPrintable(e.description));
        return {};
    }
    return file;
}

// ---------------------------------------------------------------------------------------------------- creation

void TestDb::versionText_data() {
    QTest::addColumn<int>("major");
    QTest::addColumn<int>("minor");
    QTest::addColumn<int>("revision");
    QTest::addColumn<QString>("expected");
    QTest::newRow("typical") << 2 << 5 << 17 << QStringLiteral("002.005.0017");
    QTest::newRow("zeros") << 0 << 0 << 0 << QStringLiteral("000.000.0000");
    QTest::newRow("widest") << 999 << 999 << 9999 << QStringLiteral("999.999.9999");
    QTest::newRow("mixed widths") << 12 << 3 << 456 << QStringLiteral("012.003.0456");
}

void TestDb::versionText() {
    QFETCH(int, major);
    QFETCH(int, minor);
    QFETCH(int, revision);
    QFETCH(QString, expected);
    QCOMPARE(db::VersionText(major, minor, revision), expected);
}

void TestDb::createdTableLayout() {
    const QString file = created();
    QVERIFY(!file.isEmpty());

    struct Expected {
        const char* name;
        const char* type;
        const char* fallback; // declared default; nullptr for none
    };
    const Expected expected[] = {
        {"fPK", "INTEGER", nullptr}, {"fEtx", "BLOB", nullptr}, {"fSec", "INTEGER", "0"}, {"fSub", "INTEGER", "0"},
        {"fR1", "INTEGER", "0"},     {"fR2", "INTEGER", "0"},   {"fR3", "INTEGER", "0"},  {"fR4", "INTEGER", "0"},
        {"fR5", "INTEGER", "0"},     {"fF1", "INTEGER", "0"},   {"fF2", "INTEGER", "0"},  {"fF3", "INTEGER", "0"},
        {"fT1", "BLOB", nullptr},    {"fT2", "BLOB", nullptr},  {"fT3", "BLOB", nullptr}, {"fT4", "BLOB", nullptr},
        {"fT5", "BLOB", nullptr},    {"fD1", "REAL", ""},       {"fD2", "REAL", "0"},     {"fG1", "INTEGER", "0"},
        {"AE", "INTEGER", "1"},
    };

    sqlite::Connection connection;
    QVERIFY(!connection.open(file, sqlite::Connection::Mode::ReadOnly));
    sqlite::Statement info = connection.prepare("SELECT cid, name, type, dflt_value, pk FROM pragma_table_info('tt')");
    int n = 0;
    while (info.step()) {
        QVERIFY2(n < kColumnCount, "more columns than expected");
        const Expected& want = expected[n];
        QCOMPARE(info.int64(0), n);
        QCOMPARE(info.bytes(1), QByteArray(want.name));
        QCOMPARE(info.bytes(2), QByteArray(want.type));
        if (want.fallback == nullptr) {
            QVERIFY2(info.isNull(3), want.name);
        } else if (*want.fallback == '\0') {
            // The insertion time; its value is checked by inserting rows.
            QVERIFY2(!info.isNull(3), want.name);
        } else {
            QCOMPARE(info.bytes(3), QByteArray(want.fallback));
        }
        QCOMPARE(info.int64(4), n == 0 ? 1 : 0);
        // The program's column list must address the same columns as the file.
        QCOMPARE(QByteArray(ColumnName(static_cast<Col>(n))), QByteArray(want.name));
        ++n;
    }
    QVERIFY(!info.error());
    QCOMPARE(n, kColumnCount);
}

void TestDb::createdIndexes() {
    const QString file = created();
    QVERIFY(!file.isEmpty());
    sqlite::Connection connection;
    QVERIFY(!connection.open(file, sqlite::Connection::Mode::ReadOnly));

    const QList<QByteArray> names = {"PrimaryKey", "fSec", "fSub", "fR1", "fR2", "fR3", "fR4", "fR5"};
    const QList<QByteArray> columns = {"fPK", "fSec", "fSub", "fR1", "fR2", "fR3", "fR4", "fR5"};
    QList<QByteArray> found;
    sqlite::Statement list =
        connection.prepare("SELECT name FROM sqlite_master WHERE type='index' AND tbl_name='tt' ORDER BY rowid");
    while (list.step()) {
        found.append(list.bytes(0));
    }
    QVERIFY(!list.error());
    QCOMPARE(found, names);

    for (int i = 0; i < names.size(); ++i) {
        sqlite::Statement info = connection.prepare("SELECT name FROM pragma_index_info(?)");
        info.bind(1, QString::fromLatin1(names[i]));
        QVERIFY(info.step());
        QCOMPARE(info.bytes(0), columns[i]);
        QVERIFY2(!info.step(), names[i].constData()); // one column only

        sqlite::Statement unique = connection.prepare("SELECT \"unique\" FROM pragma_index_list('tt') WHERE name=?");
        unique.bind(1, QString::fromLatin1(names[i]));
        QVERIFY(unique.step());
        QCOMPARE(unique.int64(0), i == 0 ? 1 : 0);
    }
}

void TestDb::createdHeaderAndVersion() {
    const QString file = created();
    QVERIFY(!file.isEmpty());

    // The application id sits big-endian at offset 68 of the header.
    const QByteArray bytes = readFile(file);
    QVERIFY(bytes.size() >= 100);
    QCOMPARE(bytes.mid(68, 4), QByteArray("NCT1"));
    QCOMPARE(scalar(file, "PRAGMA application_id").toLongLong(), 0x4E435431);

    QCOMPARE(db::ProgramVersionText(), QStringLiteral("002.005.0000"));
    sqlite::Connection connection;
    QVERIFY(!connection.open(file, sqlite::Connection::Mode::ReadOnly));
    QCOMPARE(scalar(connection, "SELECT count(*) FROM nct_properties").toLongLong(), 1);
    QCOMPARE(scalar(connection, "SELECT value FROM nct_properties WHERE name='NctVersion'").toByteArray(),
             QByteArray("002.005.0000"));
    QCOMPARE(db::ReadProperty(connection, QStringLiteral("NctVersion")), QStringLiteral("002.005.0000"));
    QCOMPARE(scalar(connection, "SELECT count(*) FROM tt").toLongLong(), 0);
    connection.close();

    QCOMPARE(db::CheckDatabase(file).number, 0);
    db::Database database;
    QCOMPARE(database.Open(file).number, 0);
    QVERIFY(database.isOpen());
    QCOMPARE(database.DbPath(), file);
    // Nothing half-made is left beside the file.
    QVERIFY(!QFileInfo::exists(file + QStringLiteral("-journal")));
}

void TestDb::createRefusesExistingPath_data() {
    QTest::addColumn<int>("kind");
    QTest::newRow("plain file") << 0;
    QTest::newRow("empty file") << 1;
    QTest::newRow("database of ours") << 2;
    QTest::newRow("directory") << 3;
}

void TestDb::createRefusesExistingPath() {
    QFETCH(int, kind);
    const QString file = path(QStringLiteral("existing"));
    QRandomGenerator random(7);
    switch (kind) {
    case 0:
        QVERIFY(writeFile(file, randomBytes(random, 5000)));
        break;
    case 1:
        QVERIFY(writeFile(file, QByteArray()));
        break;
    case 2:
        QVERIFY(!created(QStringLiteral("existing")).isEmpty());
        QVERIFY(!addSamples(file, 5, 1, 10, 20).isEmpty());
        break;
    default:
        QVERIFY(QDir(m_dir->path()).mkdir(QStringLiteral("existing")));
        QVERIFY(writeFile(file + QStringLiteral("/inside"), "keep"));
    }
    const QByteArray before = kind == 3 ? readFile(file + QStringLiteral("/inside")) : readFile(file);

    const sqlite::Error e = db::CreateDatabaseFile(file);
    QCOMPARE(e.number, 3204);
    QVERIFY(!e.description.isEmpty());
    QCOMPARE(kind == 3 ? readFile(file + QStringLiteral("/inside")) : readFile(file), before);
    QVERIFY(!QFileInfo::exists(file + QStringLiteral("-journal")));
}

void TestDb::createFailureLeavesNothing() {
    const QString file = path(QStringLiteral("missing-folder/organiser.nct"));
    QVERIFY(db::CreateDatabaseFile(file).number != 0);
    QVERIFY(!QFileInfo::exists(file));
    QVERIFY(!QFileInfo::exists(path(QStringLiteral("missing-folder"))));
}

// ---------------------------------------------------------------------------------------------------- new rows

void TestDb::defaultRow_data() {
    QTest::addColumn<QByteArray>("tz");
    QTest::addColumn<bool>("viaAddNewRow");
    // Zones far from UTC on either side, so that a date taken in UTC instead of local time shows.
    for (const char* tz : {"UTC0", "<+14>-14", "<-12>+12"}) {
        QTest::addRow("%s, raw insert", tz) << QByteArray(tz) << false;
        QTest::addRow("%s, AddNewRow", tz) << QByteArray(tz) << true;
    }
}

void TestDb::defaultRow() {
    QFETCH(QByteArray, tz);
    QFETCH(bool, viaAddNewRow);
    const QString file = created();
    QVERIFY(!file.isEmpty());

    const TimeZoneGuard zone(tz);
    sqlite::Connection connection;
    QVERIFY(!connection.open(file, sqlite::Connection::Mode::ReadWrite));

    const double before = CONVERSION::DateToOle(QDateTime::currentDateTime());
    std::int64_t fpk = 0;
    if (viaAddNewRow) {
        sqlite::Error e;
        fpk = AddNewRow(
            connection, [](std::int64_t, RowValues&) { return true; }, &e);
        QCOMPARE(e.number, 0);
    } else {
        QVERIFY(!connection.exec("INSERT INTO tt DEFAULT VALUES"));
        fpk = connection.lastInsertId();
    }
    const double after = CONVERSION::DateToOle(QDateTime::currentDateTime());
    QVERIFY(fpk != 0);
    connection.close();

    QVERIFY(!connection.open(file, sqlite::Connection::Mode::ReadOnly));
    const std::optional<Row> row = ReadRow(connection, fpk);
    QVERIFY(row);
    QCOMPARE(row->integer(Col::fPK), fpk);
    QCOMPARE(row->value(Col::AE), integer(1));
    QCOMPARE(row->value(Col::fG1), integer(0));
    QCOMPARE(row->real(Col::fD2), 0.0);
    for (Col c :
         {Col::fSec, Col::fSub, Col::fR1, Col::fR2, Col::fR3, Col::fR4, Col::fR5, Col::fF1, Col::fF2, Col::fF3}) {
        QCOMPARE(row->value(c), integer(0));
    }
    for (Col c : {Col::fEtx, Col::fT1, Col::fT2, Col::fT3, Col::fT4, Col::fT5}) {
        QVERIFY2(row->isNull(c), ColumnName(c));
    }
    QCOMPARE(row->value(Col::fD1).typeId(), QMetaType::Double);
    const double slack = 5.0 / 86400.0;
    const double stamp = row->real(Col::fD1);
    QVERIFY2(stamp >= before - slack && stamp <= after + slack, qPrintable(QStringLiteral("fD1 %1 not within [%2, %3]")
                                                                               .arg(stamp, 0, 'f', 8)
                                                                               .arg(before, 0, 'f', 8)
                                                                               .arg(after, 0, 'f', 8)));
}

void TestDb::newKeysAreReadableAndUnique() {
    const QString file = created();
    QVERIFY(!file.isEmpty());
    sqlite::Connection connection;
    QVERIFY(!connection.open(file, sqlite::Connection::Mode::ReadWrite));
    QVERIFY(!connection.exec("BEGIN"));
    std::set<std::int64_t> keys;
    for (int i = 0; i < 60; ++i) {
        const std::int64_t fpk = AddNewRow(connection, [&](std::int64_t, RowValues& row) {
            row.set(Col::fSec, integer(i));
            return true;
        });
        QVERIFY(fpk > 0);
        QVERIFY(keys.insert(fpk).second);
        const std::optional<Row> row = ReadRow(connection, fpk);
        QVERIFY(row);
        QCOMPARE(row->integer(Col::fSec), i);
        if (i % 10 == 9) {
            // A key freed by a deletion must not make the next new row collide with a live one.
            QVERIFY(!connection.exec("DELETE FROM tt WHERE fPK=(SELECT max(fPK) FROM tt)"));
            keys.erase(fpk);
        }
    }
    QVERIFY(!connection.exec("COMMIT"));
    const std::optional<Rows> rows = allRows(connection);
    QVERIFY(rows);
    QCOMPARE(rows->size(), keys.size());
    for (std::int64_t fpk : keys) {
        QVERIFY(rows->count(fpk));
    }
}

// ---------------------------------------------------------------------------------------------------- bytes

void TestDb::blobRoundTrip_data() {
    QTest::addColumn<int>("column");
    QTest::addColumn<QByteArray>("value");
    QByteArray invalidUtf8("\xC3\x28\xA0\xA1\xE2\x28\xA1\xF0\x28\x8C\xBC\xED\xA0\x80", 14);
    const std::pair<const char*, QByteArray> values[] = {
        {"2000 arbitrary bytes", arbitraryBytes()},
        {"single zero byte", QByteArray(1, '\0')},
        {"zeros", QByteArray(300, '\0')},
        {"0xFF", QByteArray(300, '\xFF')},
        {"zero at both ends", QByteArray("\x00middle\x00", 8)},
        {"invalid UTF-8", invalidUtf8},
        {"empty", QByteArray("")},
    };
    for (Col c : {Col::fEtx, Col::fT1, Col::fT2, Col::fT3, Col::fT4, Col::fT5}) {
        for (const auto& [name, value] : values) {
            QTest::addRow("%s, %s", ColumnName(c), name) << static_cast<int>(c) << value;
        }
    }
}

void TestDb::blobRoundTrip() {
    QFETCH(int, column);
    QFETCH(QByteArray, value);
    const Col col = static_cast<Col>(column);
    const QString file = created();
    QVERIFY(!file.isEmpty());

    std::int64_t fpk = 0;
    {
        sqlite::Connection connection;
        QVERIFY(!connection.open(file, sqlite::Connection::Mode::ReadWrite));
        fpk = AddNewRow(connection, [&](std::int64_t, RowValues& row) {
            row.set(col, value);
            return true;
        });
        QVERIFY(fpk != 0);
    }
    sqlite::Connection connection;
    QVERIFY(!connection.open(file, sqlite::Connection::Mode::ReadOnly));
    const std::optional<Row> row = ReadRow(connection, fpk);
    QVERIFY(row);
    QVERIFY(!row->isNull(col));
    QCOMPARE(row->bytes(col), value);
    // Stored as a blob of exactly that length, not as text that could be re-encoded.
    sqlite::Statement probe = connection.prepare(QStringLiteral("SELECT typeof(%1), length(%1) FROM tt WHERE fPK=?")
                                                     .arg(QLatin1String(ColumnName(col)))
                                                     .toUtf8()
                                                     .constData());
    probe.bind(1, fpk);
    QVERIFY(probe.step());
    QCOMPARE(probe.bytes(0), QByteArray("blob"));
    QCOMPARE(probe.int64(1), value.size());
}

void TestDb::emptyBlobIsNotNull() {
    const QString file = created();
    QVERIFY(!file.isEmpty());
    std::int64_t fpk = 0;
    {
        sqlite::Connection connection;
        QVERIFY(!connection.open(file, sqlite::Connection::Mode::ReadWrite));
        fpk = AddNewRow(connection, [](std::int64_t, RowValues& row) {
            row.set(Col::fT2, QByteArray(""));
            row.set(Col::fT3, QByteArray());
            row.set(Col::fT4, QByteArray("x"));
            return true;
        });
        QVERIFY(fpk != 0);
    }
    {
        sqlite::Connection connection;
        QVERIFY(!connection.open(file, sqlite::Connection::Mode::ReadOnly));
        const std::optional<Row> row = ReadRow(connection, fpk);
        QVERIFY(row);
        QVERIFY(!row->isNull(Col::fT2));
        QVERIFY(row->bytes(Col::fT2).isEmpty());
        QVERIFY(row->isNull(Col::fT3));
        QCOMPARE(
            scalar(connection, "SELECT typeof(fT2) || ',' || length(fT2) || ',' || typeof(fT3) FROM tt").toByteArray(),
            QByteArray("blob,0,null"));
    }
    // Changing swaps them both ways: a null array writes NULL, an empty one an empty blob.
    {
        sqlite::Connection connection;
        QVERIFY(!connection.open(file, sqlite::Connection::Mode::ReadWrite));
        QCOMPARE(ChangeRow(connection, fpk,
                           [](RowValues& row) {
                               row.set(Col::fT2, QByteArray());
                               row.set(Col::fT3, QByteArray(""));
                               row.set(Col::fT4, QByteArray(""));
                               return true;
                           })
                     .number,
                 0);
    }
    sqlite::Connection connection;
    QVERIFY(!connection.open(file, sqlite::Connection::Mode::ReadOnly));
    const std::optional<Row> row = ReadRow(connection, fpk);
    QVERIFY(row);
    QVERIFY(row->isNull(Col::fT2));
    QVERIFY(!row->isNull(Col::fT3));
    QVERIFY(row->bytes(Col::fT3).isEmpty());
    QVERIFY(!row->isNull(Col::fT4));
    QVERIFY(row->bytes(Col::fT4).isEmpty());
}

void TestDb::equalEtxInTwoRows() {
    const QString file = created();
    QVERIFY(!file.isEmpty());
    sqlite::Connection connection;
    QVERIFY(!connection.open(file, sqlite::Connection::Mode::ReadWrite));
    const QByteArray etx = arbitraryBytes();
    QList<std::int64_t> keys;
    for (int i = 0; i < 2; ++i) {
        sqlite::Error e;
        keys.append(AddNewRow(
            connection,
            [&](std::int64_t, RowValues& row) {
                row.set(Col::fEtx, etx);
                return true;
            },
            &e));
        QCOMPARE(e.number, 0);
    }
    QVERIFY(keys[0] != keys[1]);
    for (std::int64_t fpk : keys) {
        const std::optional<Row> row = ReadRow(connection, fpk);
        QVERIFY(row);
        QCOMPARE(row->bytes(Col::fEtx), etx);
    }
}

void TestDb::textValuesReadAsBytes() {
    const QString file = created();
    QVERIFY(!file.isEmpty());
    sqlite::Connection connection;
    QVERIFY(!connection.open(file, sqlite::Connection::Mode::ReadWrite));
    // Other writers may have stored text; readers must hand out its bytes just the same.
    const QString text = QStringLiteral("Gr\u00FC\u00DFe \u2713 ") + QChar(0) + QStringLiteral("after zero");
    sqlite::Statement insert = connection.prepare("INSERT INTO tt (fEtx, fT1, fT5) VALUES (?, ?, '')");
    insert.bind(1, text).bind(2, QStringLiteral("plain"));
    insert.step();
    QVERIFY(!insert.error());
    const std::int64_t fpk = connection.lastInsertId();
    QCOMPARE(scalar(connection, "SELECT typeof(fEtx) || typeof(fT1) || typeof(fT5) FROM tt").toByteArray(),
             QByteArray("texttexttext"));

    const std::optional<Row> row = ReadRow(connection, fpk);
    QVERIFY(row);
    QCOMPARE(row->bytes(Col::fEtx), text.toUtf8());
    QCOMPARE(row->bytes(Col::fEtx).size(), 23); // the zero and what follows it are kept
    QCOMPARE(row->bytes(Col::fT1), QByteArray("plain"));
    QVERIFY(!row->isNull(Col::fT5));
    QVERIFY(row->bytes(Col::fT5).isEmpty());
}

void TestDb::columnOf_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("expected"); // -1: no column
    QTest::newRow("FPK") << QStringLiteral("FPK") << static_cast<int>(Col::fPK);
    QTest::newRow("ae") << QStringLiteral("ae") << static_cast<int>(Col::AE);
    QTest::newRow("FETX") << QStringLiteral("FETX") << static_cast<int>(Col::fEtx);
    QTest::newRow("ft5") << QStringLiteral("ft5") << static_cast<int>(Col::fT5);
    QTest::newRow("Fd1") << QStringLiteral("Fd1") << static_cast<int>(Col::fD1);
    QTest::newRow("fG1") << QStringLiteral("fG1") << static_cast<int>(Col::fG1);
    QTest::newRow("empty") << QString() << -1;
    QTest::newRow("trailing space") << QStringLiteral("fPK ") << -1;
    QTest::newRow("prefix") << QStringLiteral("fT") << -1;
    QTest::newRow("longer") << QStringLiteral("fPK1") << -1;
    QTest::newRow("fT6") << QStringLiteral("fT6") << -1;
    QTest::newRow("rowid") << QStringLiteral("rowid") << -1;
}

void TestDb::columnOf() {
    QFETCH(QString, name);
    QFETCH(int, expected);
    const std::optional<Col> column = ColumnOf(name);
    QCOMPARE(column ? static_cast<int>(*column) : -1, expected);
}

void TestDb::readerFindsColumnsByName() {
    const QString file = created();
    QVERIFY(!file.isEmpty());
    sqlite::Connection connection;
    QVERIFY(!connection.open(file, sqlite::Connection::Mode::ReadWrite));
    const std::int64_t fpk = AddNewRow(connection, [](std::int64_t, RowValues& row) {
        row.set(Col::fEtx, QByteArray("etx"));
        row.set(Col::fR3, integer(33));
        row.set(Col::AE, integer(0));
        return true;
    });
    QVERIFY(fpk != 0);

    sqlite::Statement select = connection.prepare("SELECT AE AS ae, 'noise' AS other, fR3 AS FR3, fEtx, fPK AS Fpk "
                                                  "FROM tt");
    QVERIFY(select.step());
    const Row row = Row::FromStatement(select);
    QCOMPARE(row.integer(Col::fPK), fpk);
    QCOMPARE(row.bytes(Col::fEtx), QByteArray("etx"));
    QCOMPARE(row.value(Col::fR3), integer(33));
    QCOMPARE(row.value(Col::AE), integer(0));
    // Columns not selected stay absent rather than picking up a neighbour's value.
    QVERIFY(row.isNull(Col::fR1));
    QVERIFY(row.isNull(Col::fSec));
}

// ---------------------------------------------------------------------------------------------------- writer

void TestDb::fillSeesFinalKey() {
    const QString file = created();
    QVERIFY(!file.isEmpty());
    QVERIFY(!addSamples(file, 10, 3, 5, 10).isEmpty());
    sqlite::Connection connection;
    QVERIFY(!connection.open(file, sqlite::Connection::Mode::ReadWrite));
    // Delete the highest keys so that the next key is one that was in use before.
    QVERIFY(!connection.exec("DELETE FROM tt WHERE fPK>7"));
    for (int i = 0; i < 5; ++i) {
        std::int64_t seen = 0;
        const std::int64_t fpk = AddNewRow(connection, [&](std::int64_t key, RowValues& row) {
            seen = key;
            // What the program enciphers with the key must land in the row of that key.
            row.set(Col::fEtx, QByteArray::number(key));
            return true;
        });
        QVERIFY(fpk != 0);
        QCOMPARE(fpk, seen);
    }
    const std::optional<Rows> rows = allRows(connection);
    QVERIFY(rows);
    QCOMPARE(rows->size(), size_t(12));
    for (const auto& [fpk, row] : *rows) {
        if (fpk > 7) {
            QCOMPARE(row.bytes(Col::fEtx), QByteArray::number(fpk));
        }
    }
}

void TestDb::abandonedAddLeavesTableUnchanged() {
    const QString file = created();
    QVERIFY(!file.isEmpty());
    QVERIFY(!addSamples(file, 20, 4, 5, 50).isEmpty());
    const std::optional<Rows> before = allRows(file);
    QVERIFY(before);

    sqlite::Connection connection;
    QVERIFY(!connection.open(file, sqlite::Connection::Mode::ReadWrite));
    sqlite::Error e;
    bool called = false;
    const std::int64_t fpk = AddNewRow(
        connection,
        [&](std::int64_t, RowValues& row) {
            called = true;
            row.set(Col::fEtx, QByteArray("never stored"));
            return false;
        },
        &e);
    QVERIFY(called);
    QCOMPARE(fpk, 0);
    QVERIFY(e.number != 0);
    QVERIFY(!inTransaction(connection)); // nothing left open that a later commit would carry along
    connection.close();

    const std::optional<Rows> after = allRows(file);
    QVERIFY(after);
    QCOMPARE(difference(*before, *after), QString());

    // The connection stays usable for the next row.
    QVERIFY(!connection.open(file, sqlite::Connection::Mode::ReadWrite));
    QVERIFY(AddNewRow(connection, [](std::int64_t, RowValues&) { return true; }) != 0);
    QCOMPARE(scalar(connection, "SELECT count(*) FROM tt").toLongLong(), 21);
}

void TestDb::changeRowKeepsUnsetColumns() {
    const QString file = created();
    QVERIFY(!file.isEmpty());
    const QList<std::int64_t> keys = addSamples(file, 5, 5, 10, 40);
    QCOMPARE(keys.size(), 5);
    const std::optional<Rows> before = allRows(file);
    QVERIFY(before);

    const QByteArray etx = arbitraryBytes();
    {
        sqlite::Connection connection;
        QVERIFY(!connection.open(file, sqlite::Connection::Mode::ReadWrite));
        QCOMPARE(ChangeRow(connection, keys[2],
                           [&](RowValues& row) {
                               row.set(Col::fEtx, etx);
                               row.set(Col::fR2, integer(-5));
                               row.set(Col::fD2, 45000.25);
                               row.set(Col::fT1, QByteArray());
                               return true;
                           })
                     .number,
                 0);
        QVERIFY(!inTransaction(connection));
    }
    Rows expected = *before;
    Row& changed = expected[keys[2]];
    changed.setValue(Col::fEtx, etx);
    changed.setValue(Col::fR2, integer(-5));
    changed.setValue(Col::fD2, 45000.25);
    changed.setValue(Col::fT1, QVariant());
    const std::optional<Rows> after = allRows(file);
    QVERIFY(after);
    QCOMPARE(difference(*after, expected), QString());
}

void TestDb::changeRowRefusesMissingKey_data() {
    QTest::addColumn<bool>("setsColumns");
    QTest::newRow("fill sets columns") << true;
    QTest::newRow("fill sets nothing") << false;
}

void TestDb::changeRowRefusesMissingKey() {
    QFETCH(bool, setsColumns);
    const QString file = created();
    QVERIFY(!file.isEmpty());
    const QList<std::int64_t> keys = addSamples(file, 3, 6, 10, 20);
    QCOMPARE(keys.size(), 3);
    const QByteArray before = readFile(file);

    sqlite::Connection connection;
    QVERIFY(!connection.open(file, sqlite::Connection::Mode::ReadWrite));
    const std::int64_t missing = keys.last() + 1;
    const sqlite::Error e = ChangeRow(connection, missing, [&](RowValues& row) {
        if (setsColumns) {
            row.set(Col::fEtx, QByteArray("nowhere"));
        }
        return true;
    });
    QVERIFY2(e.number != 0, "a change of a row that does not exist reported success");
    QVERIFY(!e.description.isEmpty());
    QVERIFY(!inTransaction(connection));
    connection.close();
    QCOMPARE(readFile(file), before);
}

void TestDb::abandonedChangeLeavesRow() {
    const QString file = created();
    QVERIFY(!file.isEmpty());
    const QList<std::int64_t> keys = addSamples(file, 3, 8, 10, 20);
    QCOMPARE(keys.size(), 3);
    const std::optional<Rows> before = allRows(file);
    QVERIFY(before);

    sqlite::Connection connection;
    QVERIFY(!connection.open(file, sqlite::Connection::Mode::ReadWrite));
    const sqlite::Error e = ChangeRow(connection, keys[1], [](RowValues& row) {
        row.set(Col::fEtx, QByteArray("half done"));
        return false;
    });
    QVERIFY(e.number != 0);
    QVERIFY(!inTransaction(connection));
    const std::optional<Rows> after = allRows(connection);
    QVERIFY(after);
    QCOMPARE(difference(*before, *after), QString());
}

void TestDb::nestedInOuterTransaction() {
    const QString file = created();
    QVERIFY(!file.isEmpty());
    const QList<std::int64_t> keys = addSamples(file, 4, 9, 10, 20);
    QCOMPARE(keys.size(), 4);
    const std::optional<Rows> before = allRows(file);
    QVERIFY(before);

    sqlite::Connection connection;
    QVERIFY(!connection.open(file, sqlite::Connection::Mode::ReadWrite));

    // Everything done inside an outer transaction goes away with it.
    QVERIFY(!connection.exec("BEGIN"));
    const std::int64_t added = AddNewRow(connection, [](std::int64_t, RowValues& row) {
        row.set(Col::fEtx, QByteArray("inner"));
        return true;
    });
    QVERIFY(added != 0);
    QCOMPARE(ChangeRow(connection, keys[0],
                       [](RowValues& row) {
                           row.set(Col::fEtx, QByteArray("changed inside"));
                           return true;
                       })
                 .number,
             0);
    QVERIFY(inTransaction(connection)); // the inner writes must not end the outer transaction
    QCOMPARE(ReadRow(connection, added)->bytes(Col::fEtx), QByteArray("inner"));
    QVERIFY(!connection.exec("ROLLBACK"));
    std::optional<Rows> after = allRows(connection);
    QVERIFY(after);
    QCOMPARE(difference(*before, *after), QString());

    // An abandoned inner row undoes only itself; the outer transaction keeps what it did before.
    QVERIFY(!connection.exec("BEGIN"));
    const std::int64_t kept = AddNewRow(connection, [](std::int64_t, RowValues& row) {
        row.set(Col::fEtx, QByteArray("kept"));
        return true;
    });
    QVERIFY(kept != 0);
    QCOMPARE(AddNewRow(connection, [](std::int64_t, RowValues&) { return false; }), 0);
    QVERIFY(ChangeRow(connection, keys[1], [](RowValues&) { return false; }).number != 0);
    QVERIFY(inTransaction(connection));
    QVERIFY(!connection.exec("COMMIT"));
    connection.close();

    after = allRows(file);
    QVERIFY(after);
    QCOMPARE(after->size(), before->size() + 1);
    QCOMPARE(after->at(kept).bytes(Col::fEtx), QByteArray("kept"));
    after->erase(kept);
    QCOMPARE(difference(*before, *after), QString());
}

void TestDb::crashMidWrite_data() {
    QTest::addColumn<int>("kind");
    QTest::newRow("new row") << int(CrashAdd);
    QTest::newRow("new row after uncommitted new rows") << int(CrashAddAfterUncommitted);
    QTest::newRow("change") << int(CrashChange);
    QTest::newRow("change after uncommitted changes") << int(CrashChangeAfterUncommitted);
}

void TestDb::crashMidWrite() {
    QFETCH(int, kind);
    const QString file = created();
    QVERIFY(!file.isEmpty());
    const QList<std::int64_t> keys = addSamples(file, 200, 10, 50, 300);
    QCOMPARE(keys.size(), 200);
    const std::optional<Rows> before = allRows(file);
    QVERIFY(before);
    const QByteArray bytesBefore = readFile(file);

    const pid_t child = ::fork();
    QVERIFY(child >= 0);
    if (child == 0) {
        // The child only uses the store and then dies inside the write, as a killed program would.
        sqlite::Connection connection;
        if (connection.open(file, sqlite::Connection::Mode::ReadWrite)) {
            ::_exit(3);
        }
        // A tiny page cache makes the engine write pages into the file before the commit, so that the
        // crash leaves the file itself half written and only the journal can restore it.
        connection.exec("PRAGMA cache_size=1");
        const QByteArray big(3000, '\x5A');
        if (kind == CrashAddAfterUncommitted || kind == CrashChangeAfterUncommitted) {
            connection.exec("BEGIN");
            for (int i = 0; i < 100; ++i) {
                if (kind == CrashAddAfterUncommitted) {
                    AddNewRow(connection, [&](std::int64_t, RowValues& row) {
                        row.set(Col::fEtx, big);
                        row.set(Col::fR1, integer(i));
                        return true;
                    });
                } else {
                    ChangeRow(connection, keys[i], [&](RowValues& row) {
                        row.set(Col::fEtx, big);
                        row.set(Col::fR1, integer(i));
                        return true;
                    });
                }
            }
        }
        if (kind == CrashAdd || kind == CrashAddAfterUncommitted) {
            AddNewRow(connection, [&](std::int64_t, RowValues& row) {
                row.set(Col::fEtx, big);
                row.set(Col::fSec, integer(77));
                ::_exit(0);
                return true;
            });
        } else {
            ChangeRow(connection, keys[150], [&](RowValues& row) {
                row.set(Col::fEtx, big);
                row.set(Col::fSec, integer(77));
                ::_exit(0);
                return true;
            });
        }
        ::_exit(4); // the write never reached the callback
    }
    int status = 0;
    QCOMPARE(::waitpid(child, &status, 0), child);
    QVERIFY(WIFEXITED(status));
    QCOMPARE(WEXITSTATUS(status), 0);

    // Whether the crash came after the engine had begun writing; looked at before recovery removes the journal.
    const bool journalLeft = QFileInfo::exists(file + QStringLiteral("-journal"));
    const bool fileTouched = readFile(file) != bytesBefore;

    const sqlite::Error check = db::CheckDatabase(file);
    QCOMPARE(check.number, 0);
    db::Database database;
    QCOMPARE(database.Open(file).number, 0);
    const std::optional<Rows> after = allRows(database.connection());
    QVERIFY(after);
    QCOMPARE(difference(*before, *after), QString());
    if (kind != CrashChange) {
        QVERIFY(journalLeft);
    }
    if (kind == CrashAddAfterUncommitted || kind == CrashChangeAfterUncommitted) {
        QVERIFY2(fileTouched, "the crashed write never reached the file, so recovery went untested");
    }
    // And the file takes new rows again.
    QVERIFY(AddNewRow(database.connection(), [](std::int64_t, RowValues&) { return true; }) != 0);
}

// ---------------------------------------------------------------------------------------------------- noise

void TestDb::fillNoiseTouchesOnlyFlagged_data() {
    QTest::addColumn<int>("flags"); // bits 0..2: fT1..fT3, bits 3..6: fR1..fR4
    QTest::newRow("none") << 0;
    QTest::newRow("fT1") << 0x01;
    QTest::newRow("fT2") << 0x02;
    QTest::newRow("fT3") << 0x04;
    QTest::newRow("fR1") << 0x08;
    QTest::newRow("fR2") << 0x10;
    QTest::newRow("fR3") << 0x20;
    QTest::newRow("fR4") << 0x40;
    QTest::newRow("fT2 and fR3") << 0x22;
    QTest::newRow("all") << 0x7F;
}

void TestDb::fillNoiseTouchesOnlyFlagged() {
    QFETCH(int, flags);
    NoiseColumns on;
    on.onT1 = flags & 0x01;
    on.onT2 = flags & 0x02;
    on.onT3 = flags & 0x04;
    on.onR1 = flags & 0x08;
    on.onR2 = flags & 0x10;
    on.onR3 = flags & 0x20;
    on.onR4 = flags & 0x40;
    const std::map<Col, int> flagOf = {{Col::fT1, 0x01}, {Col::fT2, 0x02}, {Col::fT3, 0x04}, {Col::fR1, 0x08},
                                       {Col::fR2, 0x10}, {Col::fR3, 0x20}, {Col::fR4, 0x40}};

    for (bool strong : {false, true}) {
        // Every column already holds a marker value that noise must replace or leave alone.
        RowValues row;
        for (int c = 1; c < kColumnCount; ++c) {
            row.set(static_cast<Col>(c), QByteArray("marker ") + QByteArray::number(c));
        }
        ScriptedRandom scripted;
        FillNoise(row, strong ? StrongRandom() : scripted, on);
        QVERIFY(!row.get(Col::fPK));
        for (int c = 1; c < kColumnCount; ++c) {
            const Col col = static_cast<Col>(c);
            const QVariant& v = *row.get(col);
            const auto flag = flagOf.find(col);
            if (flag == flagOf.end() || !(flags & flag->second)) {
                QCOMPARE(v, QVariant(QByteArray("marker ") + QByteArray::number(c)));
            } else if (c >= static_cast<int>(Col::fT1)) {
                QCOMPARE(v.typeId(), QMetaType::QByteArray);
                const qsizetype n = v.toByteArray().size();
                QVERIFY2(n == 8 || n == 16 || n == 24, qPrintable(QString::number(n)));
            } else {
                bool ok = false;
                const qlonglong n = v.toLongLong(&ok);
                QVERIFY(ok);
                QVERIFY2(n >= 0 && n <= 2147483647, qPrintable(QString::number(n)));
            }
        }
    }
}

void TestDb::fillNoiseDraws() {
    const QString file = created();
    QVERIFY(!file.isEmpty());
    sqlite::Connection connection;
    QVERIFY(!connection.open(file, sqlite::Connection::Mode::ReadWrite));
    QVERIFY(!connection.exec("BEGIN"));

    NoiseColumns all;
    all.onT1 = all.onT2 = all.onT3 = true;
    all.onR1 = all.onR2 = all.onR3 = all.onR4 = true;
    std::map<std::int64_t, RowValues> written;
    for (int i = 0; i < 300; ++i) {
        RowValues noise;
        FillNoise(noise, StrongRandom(), all);
        const std::int64_t fpk = AddNewRow(connection, [&](std::int64_t, RowValues& row) {
            row = noise;
            return true;
        });
        QVERIFY(fpk != 0);
        written.emplace(fpk, noise);
    }
    QVERIFY(!connection.exec("COMMIT"));

    std::set<qsizetype> lengths;
    std::set<QByteArray> texts;
    std::set<qlonglong> numbers;
    qlonglong highest = 0;
    for (const auto& [fpk, noise] : written) {
        const std::optional<Row> row = ReadRow(connection, fpk);
        QVERIFY(row);
        for (Col c : {Col::fT1, Col::fT2, Col::fT3}) {
            const QByteArray stored = row->bytes(c);
            QCOMPARE(stored, noise.get(c)->toByteArray());
            lengths.insert(stored.size());
            texts.insert(stored);
        }
        for (Col c : {Col::fR1, Col::fR2, Col::fR3, Col::fR4}) {
            const qlonglong n = row->integer(c);
            QCOMPARE(n, noise.get(c)->toLongLong());
            QVERIFY(n >= 0 && n <= 2147483647);
            numbers.insert(n);
            highest = std::max(highest, n);
        }
        // Noise covers only its own columns.
        QVERIFY(row->isNull(Col::fT4));
        QCOMPARE(row->integer(Col::fR5), 0);
    }
    QCOMPARE(lengths, (std::set<qsizetype>{8, 16, 24}));
    // Random, not a constant pattern: 900 texts and 1,200 numbers drawn from the strong generator are all but
    // certain to be distinct, and to reach the upper half of the range.
    QVERIFY(texts.size() > 880);
    QVERIFY(numbers.size() > 1180);
    QVERIFY(highest > 1073741823);
}

// ---------------------------------------------------------------------------------------------------- checking

void TestDb::checkDatabase_data() {
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("expected");
    QTest::newRow("fresh file") << int(CheckFresh) << 0;
    QTest::newRow("missing file") << int(CheckMissing) << 3024;
    QTest::newRow("random bytes") << int(CheckRandomBytes) << 3049;
    QTest::newRow("empty file") << int(CheckEmptyFile) << 3049;
    QTest::newRow("foreign database with tt") << int(CheckForeignDatabase) << 3049;
    QTest::newRow("other application id") << int(CheckOtherApplicationId) << 3049;
    QTest::newRow("our id without tt") << int(CheckNoRecordTable) << 3049;
    QTest::newRow("damaged record page") << int(CheckDamagedTable) << 3049;
    QTest::newRow("damaged index page") << int(CheckDamagedIndex) << 3049;
}

void TestDb::checkDatabase() {
    QFETCH(int, kind);
    QFETCH(int, expected);
    const QString file = path(QStringLiteral("checked.nct"));
    QRandomGenerator random(11);

    const auto foreign = [&](const char* sql) {
        sqlite::Connection connection;
        QVERIFY(!connection.open(file, sqlite::Connection::Mode::Create));
        QVERIFY(!connection.exec(sql));
    };
    switch (kind) {
    case CheckFresh:
        QVERIFY(!created(QStringLiteral("checked.nct")).isEmpty());
        QVERIFY(!addSamples(file, 10, 12, 10, 20).isEmpty());
        break;
    case CheckMissing:
        break;
    case CheckRandomBytes:
        QVERIFY(writeFile(file, randomBytes(random, 8192)));
        break;
    case CheckEmptyFile:
        QVERIFY(writeFile(file, QByteArray()));
        break;
    case CheckForeignDatabase:
        foreign("CREATE TABLE tt (fPK INTEGER PRIMARY KEY, fEtx BLOB); INSERT INTO tt (fEtx) VALUES (x'00')");
        break;
    case CheckOtherApplicationId:
        foreign("PRAGMA application_id=1313035314; CREATE TABLE tt (fPK INTEGER PRIMARY KEY, fEtx BLOB)");
        break;
    case CheckNoRecordTable:
        foreign("PRAGMA application_id=1313035313; CREATE TABLE other (fPK INTEGER PRIMARY KEY)");
        break;
    default: {
        QVERIFY(!created(QStringLiteral("checked.nct")).isEmpty());
        QVERIFY(!addSamples(file, 1500, 13, 100, 250).isEmpty());
        FileImage image(readFile(file));
        const QList<int> leaves = image.leaves(rootPage(file, kind == CheckDamagedTable ? "tt" : "fR1"));
        QVERIFY(leaves.size() > 4);
        image.damage(leaves[leaves.size() / 2], random);
        QVERIFY(writeFile(file, image.bytes()));
    }
    }
    if (QTest::currentTestFailed()) {
        return;
    }
    const QByteArray before = readFile(file);

    const sqlite::Error e = db::CheckDatabase(file);
    QCOMPARE(e.number, expected);
    QCOMPARE(e.description.isEmpty(), expected == 0);
    // A check only reads.
    QCOMPARE(readFile(file), before);
    QCOMPARE(QFileInfo::exists(file), kind != CheckMissing);
}

void TestDb::checkDatabaseLocked() {
    const QString file = created();
    QVERIFY(!file.isEmpty());
    QVERIFY(!addSamples(file, 3, 14, 10, 20).isEmpty());
    {
        db::Database holder;
        QCOMPARE(holder.Open(file).number, 0);
        const sqlite::Error e = db::CheckDatabase(file);
        QCOMPARE(e.number, 3734);
        QVERIFY(!e.description.isEmpty());
    }
    // The lock goes with the holder.
    QCOMPARE(db::CheckDatabase(file).number, 0);
}

void TestDb::openRefusals() {
    QRandomGenerator random(15);
    const QString missing = path(QStringLiteral("missing.nct"));
    const QString noise = path(QStringLiteral("noise.nct"));
    const QString foreign = path(QStringLiteral("foreign.db"));
    QVERIFY(writeFile(noise, randomBytes(random, 8192)));
    {
        sqlite::Connection connection;
        QVERIFY(!connection.open(foreign, sqlite::Connection::Mode::Create));
        QVERIFY(!connection.exec("CREATE TABLE tt (fPK INTEGER PRIMARY KEY); INSERT INTO tt DEFAULT VALUES"));
    }
    const QByteArray foreignBefore = readFile(foreign);

    db::Database database;
    QCOMPARE(database.Open(missing).number, 3024);
    QVERIFY(!database.isOpen());
    QVERIFY(!QFileInfo::exists(missing));
    QCOMPARE(database.Open(noise).number, 3049);
    QVERIFY(!database.isOpen());
    QCOMPARE(database.Open(foreign).number, 3049);
    QVERIFY(!database.isOpen());
    QCOMPARE(readFile(foreign), foreignBefore);

    const QString file = created();
    QVERIFY(!file.isEmpty());
    QCOMPARE(database.Open(file).number, 0);
    db::Database second;
    const sqlite::Error e = second.Open(file);
    QCOMPARE(e.number, 3734);
    QVERIFY(!e.description.isEmpty());
    QVERIFY(!second.isOpen());
    // The holder keeps working while the other is refused.
    QVERIFY(AddNewRow(database.connection(), [](std::int64_t, RowValues&) { return true; }) != 0);
    database.Close();
    QVERIFY(!database.isOpen());
    QCOMPARE(second.Open(file).number, 0);
    QCOMPARE(scalar(second.connection(), "SELECT count(*) FROM tt").toLongLong(), 1);
}

// ---------------------------------------------------------------------------------------------------- compaction

void TestDb::compactShrinksAndKeepsRows() {
    const QString source = created();
    QVERIFY(!source.isEmpty());
    QVERIFY(addSamples(source, 600, 16, 500, 2500).size() == 600);
    {
        sqlite::Connection connection;
        QVERIFY(!connection.open(source, sqlite::Connection::Mode::ReadWrite));
        QVERIFY(!connection.exec("DELETE FROM tt WHERE fPK % 10 <> 3"));
        QVERIFY(!connection.exec("UPDATE tt SET fT2=x'' WHERE fPK % 20 = 3")); // empty blobs must survive too
    }
    const std::optional<Rows> rows = allRows(source);
    QVERIFY(rows);
    QCOMPARE(rows->size(), size_t(60));
    const QByteArray sourceBefore = readFile(source);

    // A name with spaces and non-ASCII letters, as users choose them.
    const QString destination = path(QStringLiteral("copy of organiser \u00E9t\u00E9.nct"));
    const sqlite::Error e = db::CompactDatabase(source, destination);
    QCOMPARE(e.number, 0);
    QVERIFY(QFileInfo::exists(destination));
    QVERIFY2(QFileInfo(destination).size() < sourceBefore.size() / 2,
             qPrintable(QStringLiteral("%1 vs %2").arg(QFileInfo(destination).size()).arg(sourceBefore.size())));
    QCOMPARE(readFile(source), sourceBefore);

    const std::optional<Rows> copied = allRows(destination);
    QVERIFY(copied);
    QCOMPARE(difference(*rows, *copied), QString());
    QCOMPARE(scalar(destination, "PRAGMA application_id").toLongLong(), db::kApplicationId);
    QCOMPARE(scalar(destination, "SELECT value FROM nct_properties WHERE name='NctVersion'").toByteArray(),
             QByteArray("002.005.0000"));
    QCOMPARE(db::CheckDatabase(destination).number, 0);
    db::Database database;
    QCOMPARE(database.Open(destination).number, 0);
    // The indexes come along.
    QCOMPARE(scalar(database.connection(), "SELECT count(*) FROM sqlite_master WHERE type='index' AND tbl_name='tt'")
                 .toLongLong(),
             8);
}

void TestDb::compactRefusesExistingDestination() {
    const QString source = created();
    QVERIFY(!source.isEmpty());
    QVERIFY(!addSamples(source, 20, 17, 10, 100).isEmpty());
    const QString destination = created(QStringLiteral("other.nct"));
    QVERIFY(!destination.isEmpty());
    QVERIFY(!addSamples(destination, 3, 18, 10, 100).isEmpty());
    const QByteArray sourceBefore = readFile(source);
    const QByteArray destinationBefore = readFile(destination);

    const sqlite::Error e = db::CompactDatabase(source, destination);
    QCOMPARE(e.number, 3204);
    QVERIFY(!e.description.isEmpty());
    QCOMPARE(readFile(destination), destinationBefore);
    QCOMPARE(readFile(source), sourceBefore);
}

void TestDb::compactFailureLeavesNothing_data() {
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("expected"); // 0: any error
    QTest::newRow("source is random bytes") << 0 << 3049;
    QTest::newRow("source missing") << 1 << 3024;
    QTest::newRow("source held by another") << 2 << 3734;
    QTest::newRow("destination folder missing") << 3 << 0;
    // The engine has begun the copy by the time it meets the damage.
    QTest::newRow("source with a damaged page") << 4 << 3049;
}

void TestDb::compactFailureLeavesNothing() {
    QFETCH(int, kind);
    QFETCH(int, expected);
    QRandomGenerator random(19);
    QString source = path(QStringLiteral("source.nct"));
    QString destination = path(QStringLiteral("copy.nct"));
    db::Database holder;
    switch (kind) {
    case 0:
        QVERIFY(writeFile(source, randomBytes(random, 16384)));
        break;
    case 1:
        break;
    case 2:
        QVERIFY(!created(QStringLiteral("source.nct")).isEmpty());
        QVERIFY(!addSamples(source, 20, 20, 10, 100).isEmpty());
        QCOMPARE(holder.Open(source).number, 0);
        break;
    case 3:
        QVERIFY(!created(QStringLiteral("source.nct")).isEmpty());
        QVERIFY(!addSamples(source, 20, 21, 10, 100).isEmpty());
        destination = path(QStringLiteral("no such folder/copy.nct"));
        break;
    default: {
        QVERIFY(!created(QStringLiteral("source.nct")).isEmpty());
        QVERIFY(!addSamples(source, 1000, 25, 100, 300).isEmpty());
        FileImage image(readFile(source));
        const QList<int> leaves = image.leaves(rootPage(source, "tt"));
        QVERIFY(leaves.size() > 4);
        image.damage(leaves[leaves.size() / 2], random);
        QVERIFY(writeFile(source, image.bytes()));
    }
    }
    if (QTest::currentTestFailed()) {
        return;
    }
    const QByteArray before = readFile(source);

    const sqlite::Error e = db::CompactDatabase(source, destination);
    if (expected != 0) {
        QCOMPARE(e.number, expected);
    } else {
        QVERIFY(e.number != 0);
    }
    QVERIFY(!e.description.isEmpty());
    QVERIFY(!QFileInfo::exists(destination));
    QVERIFY(!QFileInfo::exists(destination + QStringLiteral("-journal")));
    QCOMPARE(readFile(source), before);
    QCOMPARE(QFileInfo::exists(source), kind != 1);
}

// ---------------------------------------------------------------------------------------------------- repair

void TestDb::repairSalvagesReadableRows_data() {
    QTest::addColumn<int>("damage");
    QTest::newRow("undamaged") << int(DamageNone);
    QTest::newRow("three leaves in the middle") << int(DamageMiddleLeaves);
    QTest::newRow("two neighbouring leaves") << int(DamageAdjacentLeaves);
    QTest::newRow("first leaf") << int(DamageFirstLeaf);
    QTest::newRow("last leaf") << int(DamageLastLeaf);
    QTest::newRow("index leaves") << int(DamageIndex);
}

void TestDb::repairSalvagesReadableRows() {
    QFETCH(int, damage);
    const QString file = created();
    QVERIFY(!file.isEmpty());
    QCOMPARE(addSamples(file, 3000, 22, 100, 300).size(), 3000);
    const std::optional<Rows> original = allRows(file);
    QVERIFY(original);
    const int tableRoot = rootPage(file, "tt");
    const int indexRoot = rootPage(file, "fR2");

    FileImage image(readFile(file));
    const QList<int> leaves = image.leaves(tableRoot);
    QVERIFY(leaves.size() > 20);
    int listed = 0;
    for (int leaf : leaves) {
        listed += image.rowids(leaf).size();
    }
    QCOMPARE(listed, 3000); // the page walk sees every row, so the expectations below are sound

    QList<int> damaged;
    switch (damage) {
    case DamageMiddleLeaves:
        damaged = {leaves[leaves.size() / 4], leaves[leaves.size() / 2], leaves[3 * leaves.size() / 4]};
        break;
    case DamageAdjacentLeaves:
        damaged = {leaves[leaves.size() / 2], leaves[leaves.size() / 2 + 1]};
        break;
    case DamageFirstLeaf:
        damaged = {leaves.first()};
        break;
    case DamageLastLeaf:
        damaged = {leaves.last()};
        break;
    case DamageIndex: {
        const QList<int> indexLeaves = image.leaves(indexRoot);
        QVERIFY(indexLeaves.size() > 4);
        damaged = {indexLeaves[indexLeaves.size() / 3], indexLeaves[2 * indexLeaves.size() / 3]};
        break;
    }
    default:
        break;
    }
    // Rows on a damaged page are lost; every other row can still be read and must come back.
    Rows expected = *original;
    QRandomGenerator random(23);
    for (int page : damaged) {
        QVERIFY(page > 1);
        if (damage != DamageIndex) {
            for (std::int64_t fpk : image.rowids(page)) {
                expected.erase(fpk);
            }
        }
        image.damage(page, random);
    }
    QVERIFY(writeFile(file, image.bytes()));
    if (damage != DamageNone) {
        QCOMPARE(db::CheckDatabase(file).number, 3049);
    }
    if (damage != DamageNone && damage != DamageIndex) {
        QVERIFY2(!allRows(file), "the damage does not make reads fail");
    }

    const sqlite::Error e = db::RepairDatabase(file);
    QCOMPARE(e.number, 0);

    QCOMPARE(readFile(file + QStringLiteral(".damaged")), image.bytes());
    QVERIFY(!QFileInfo::exists(file + QStringLiteral(".repair")));
    QCOMPARE(db::CheckDatabase(file).number, 0);
    db::Database database;
    QCOMPARE(database.Open(file).number, 0);
    const std::optional<Rows> repaired = allRows(database.connection());
    QVERIFY(repaired);
    for (const auto& [fpk, row] : *repaired) {
        const auto at = original->find(fpk);
        QVERIFY2(at != original->end(), qPrintable(QStringLiteral("fPK %1 was never written").arg(fpk)));
        QCOMPARE(difference(row, at->second), QString());
    }
    QVERIFY(repaired->size() > original->size() / 2);
    QCOMPARE(difference(*repaired, expected), QString());
    QCOMPARE(db::ReadProperty(database.connection(), QStringLiteral("NctVersion")), QStringLiteral("002.005.0000"));
    QCOMPARE(scalar(database.connection(), "PRAGMA application_id").toLongLong(), db::kApplicationId);
    QCOMPARE(scalar(database.connection(), "SELECT count(*) FROM sqlite_master WHERE type='index' AND tbl_name='tt'")
                 .toLongLong(),
             8);
    // New keys continue after the salvaged ones.
    const std::int64_t fpk = AddNewRow(database.connection(), [](std::int64_t, RowValues&) { return true; });
    QVERIFY(fpk > repaired->rbegin()->first);
}

void TestDb::repairRefusesUnreadable() {
    QRandomGenerator random(24);
    const QString file = path(QStringLiteral("noise.nct"));
    const QByteArray noise = randomBytes(random, 32768);
    QVERIFY(writeFile(file, noise));

    const sqlite::Error e = db::RepairDatabase(file);
    QVERIFY(e.number != 0);
    QVERIFY(!e.description.isEmpty());
    QCOMPARE(readFile(file), noise);
    QVERIFY(!QFileInfo::exists(file + QStringLiteral(".damaged")));
    QVERIFY(!QFileInfo::exists(file + QStringLiteral(".repair")));
    QCOMPARE(QDir(m_dir->path()).entryList(QDir::Files | QDir::NoDotAndDotDot),
             QStringList{QStringLiteral("noise.nct")});

    QCOMPARE(db::RepairDatabase(path(QStringLiteral("missing.nct"))).number, 3024);
}

QTEST_APPLESS_MAIN(TestDb)
#include "tst_db.moc"
