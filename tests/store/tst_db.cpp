#include "store/category_directory.h"
#include "store/conversion.h"
#include "store/db.h"
#include "store/random_source.h"
#include "store/row.h"
#include "store/sqlite.h"
#include "support/test_main.h"
#include "support/time_zone.h"

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>

#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Rows = std::map<std::int64_t, Row>;

QByteArray randomBytes(QRandomGenerator& random, qsizetype n) {
    QByteArray bytes(n, '\0');
    for (char& b : bytes) {
        b = static_cast<char>(random.bounded(256));
    }
    return bytes;
}

// Values for every column but fPK, of the kinds the program writes: blobs that are absent, empty or arbitrary,
// integers over the whole 64-bit range and dates as doubles.
RowValues sampleValues(QRandomGenerator& random, int etxBytes) {
    RowValues values;
    values.set(Col::fEtx, randomBytes(random, etxBytes));
    for (Col c : {Col::fSec, Col::fSub, Col::fR1, Col::fR2, Col::fR3, Col::fR4, Col::fR5, Col::fF1, Col::fF2, Col::fF3,
                  Col::fG1}) {
        values.set(c, qlonglong(random.generate64()));
    }
    for (Col c : {Col::fT1, Col::fT2, Col::fT3, Col::fT4, Col::fT5}) {
        const int kind = random.bounded(4);
        values.set(c, kind == 0 ? QByteArray() : randomBytes(random, kind == 1 ? 0 : random.bounded(1, 40)));
    }
    values.set(Col::fD1, random.generateDouble() * 60000.0);
    values.set(Col::fD2, -random.generateDouble() * 1000.0);
    values.set(Col::AE, qlonglong(random.bounded(2)));
    return values;
}

// Empty when both hold the same rows with the same values of the same kinds; a kind change (blob to text, integer
// to real) is a fault even when the values compare equal.
QString difference(const std::optional<Rows>& a, const std::optional<Rows>& b) {
    if (!a || !b) {
        return QStringLiteral("rows unreadable");
    }
    if (a->size() != b->size()) {
        return QStringLiteral("%1 rows vs %2 rows").arg(a->size()).arg(b->size());
    }
    for (auto i = a->begin(), j = b->begin(); i != a->end(); ++i, ++j) {
        for (int c = 0; c < kColumnCount; ++c) {
            const QVariant& x = i->second.value(static_cast<Col>(c));
            const QVariant& y = j->second.value(static_cast<Col>(c));
            if (i->first != j->first || x.isValid() != y.isValid() ||
                (x.isValid() && (x.typeId() != y.typeId() || x != y))) {
                return QStringLiteral("fPK %1 vs %2, column %3").arg(i->first).arg(j->first).arg(c);
            }
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
    return select.error() ? std::nullopt : std::optional<Rows>(rows);
}

std::optional<Rows> allRows(const QString& path) {
    sqlite::Connection connection;
    return connection.open(path, sqlite::Connection::Mode::ReadOnly) ? std::nullopt : allRows(connection);
}

bool inTransaction(sqlite::Connection& connection) {
    return sqlite3_get_autocommit(connection.handle()) == 0;
}

// Adds `count` sample rows, keyed 1..count, in one transaction.
bool addSamples(const QString& path, int count, quint32 seed, int maxEtx) {
    QRandomGenerator random(seed);
    sqlite::Connection connection;
    if (connection.open(path, sqlite::Connection::Mode::ReadWrite) || connection.exec("BEGIN")) {
        return false;
    }
    for (int i = 0; i < count; ++i) {
        const RowValues values = sampleValues(random, random.bounded(maxEtx / 2, maxEtx + 1));
        const auto fill = [&](std::int64_t, RowValues& row) { return row = values, true; };
        if (AddNewRow(connection, fill) != i + 1) {
            return false;
        }
    }
    return !connection.exec("COMMIT");
}

// Overwrites the middle leaf page of the b-tree `tree` with noise and returns where the entries it held stand in
// key order (first, count); count is 0 on failure. A first byte no b-tree page has makes the engine notice the
// damage instead of handing out garbage as data.
std::pair<qsizetype, qsizetype> damageMiddleLeaf(const QString& path, const char* tree, QRandomGenerator& random) {
    QList<std::array<qsizetype, 3>> leaves; // page, cells, cells on the leaves before
    qsizetype pageSize = 0;
    {
        sqlite::Connection connection;
        connection.open(path, sqlite::Connection::Mode::ReadOnly);
        pageSize = Scalar(connection, "PRAGMA page_size").toLongLong();
        sqlite::Statement select = connection.prepare("SELECT pageno, ncell, sum(ncell) OVER (ORDER BY path) - ncell "
                                                      "FROM dbstat WHERE name=? AND pagetype='leaf' ORDER BY path");
        select.bind(1, QString::fromLatin1(tree));
        while (select.step()) {
            leaves.append({select.int64(0), select.int64(1), select.int64(2)});
        }
    }
    if (leaves.size() < 5) {
        return {0, 0};
    }
    const auto [page, cells, first] = leaves[leaves.size() / 2];
    QByteArray bytes = FileBytes(path);
    bytes.replace((page - 1) * pageSize, pageSize, randomBytes(random, pageSize));
    bytes[(page - 1) * pageSize] = '\0';
    return {first, WriteFile(path, bytes) ? cells : 0};
}

} // namespace

class TestDb : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(m_dir->isValid());
        m_file = path(QStringLiteral("organiser.nct"));
    }

    // Other programs read these files, so the layout is pinned as a known answer: name, type, default, primary key.
    void createdFile() {
        QVERIFY(create());
        sqlite::Connection connection;
        QVERIFY(!connection.open(m_file, sqlite::Connection::Mode::ReadOnly));

        // fD1's default is the insertion time, whose value defaultRow checks.
        const QString layout =
            QStringLiteral("fPK INTEGER - 1 fEtx BLOB - 0 fSec INTEGER 0 0 fSub INTEGER 0 0 fR1 INTEGER 0 0 "
                           "fR2 INTEGER 0 0 fR3 INTEGER 0 0 fR4 INTEGER 0 0 fR5 INTEGER 0 0 fF1 INTEGER 0 0 "
                           "fF2 INTEGER 0 0 fF3 INTEGER 0 0 fT1 BLOB - 0 fT2 BLOB - 0 fT3 BLOB - 0 "
                           "fT4 BLOB - 0 fT5 BLOB - 0 fD1 REAL now 0 fD2 REAL 0 0 fG1 INTEGER 0 0 "
                           "AE INTEGER 1 0");
        QCOMPARE(Scalar(connection, "SELECT group_concat(name || ' ' || type || ' ' || iif(name = 'fD1' AND dflt_value "
                                    "NOT NULL, 'now', ifnull(dflt_value, '-')) || ' ' || pk, ' ') "
                                    "FROM (SELECT * FROM pragma_table_info('tt') ORDER BY cid)")
                     .toString(),
                 layout);
        // The program addresses columns by position, so its list must match the file's order.
        for (int c = 0; c < kColumnCount; ++c) {
            QCOMPARE(QString::fromLatin1(ColumnName(static_cast<Col>(c))),
                     layout.section(QLatin1Char(' '), 4 * c, 4 * c));
        }

        // Eight one-column indexes in creation order; only the primary key's is unique.
        QCOMPARE(Scalar(connection,
                        "SELECT group_concat(m.name || '(' || i.name || ')' || iif(l.\"unique\", '!', ''), "
                        "' ') FROM (SELECT name FROM sqlite_master WHERE type = 'index' AND tbl_name = 'tt' "
                        "ORDER BY rowid) m, pragma_index_info(m.name) i, pragma_index_list('tt') l "
                        "WHERE l.name = m.name")
                     .toString(),
                 QStringLiteral("PrimaryKey(fPK)! fSec(fSec) fSub(fSub) fR1(fR1) fR2(fR2) fR3(fR3) fR4(fR4) fR5(fR5)"));

        // The application id sits big-endian at offset 68 of the header.
        QCOMPARE(FileBytes(m_file).mid(68, 4), QByteArray("NCT1"));
        QCOMPARE(Scalar(connection, "SELECT group_concat(name || '=' || value) FROM nct_properties").toString(),
                 QStringLiteral("NctVersion=002.005.0000"));
        QCOMPARE(db::VersionText(12, 3, 456), QStringLiteral("012.003.0456"));

        // Nothing is made where a file lies already, not even over a user's own file.
        const QString file = path(QStringLiteral("existing"));
        QVERIFY(WriteFile(file, "a user's own file, not a database"));
        const sqlite::Error e = db::CreateDatabaseFile(file);
        QCOMPARE(e.number, 3204);
        QVERIFY(!e.description.isEmpty());
        QCOMPARE(FileBytes(file), QByteArray("a user's own file, not a database"));
    }

    void defaultRow() {
        QVERIFY(create());
        // A zone far from UTC, so that a date taken in UTC instead of local time shows; the engine and Qt both read TZ.
        const ScopedTimeZone farEast("<+14>-14");

        sqlite::Connection connection;
        QVERIFY(!connection.open(m_file, sqlite::Connection::Mode::ReadWrite));
        const double before = CONVERSION::DateToOle(QDateTime::currentDateTime());
        const std::int64_t fpk = AddNewRow(connection, [](std::int64_t, RowValues&) { return true; });
        const double after = CONVERSION::DateToOle(QDateTime::currentDateTime());

        const std::optional<Row> row = ReadRow(connection, fpk);
        QVERIFY(row);
        QCOMPARE(row->value(Col::AE), QVariant(qlonglong(1)));
        QCOMPARE(row->value(Col::fD2), QVariant(0.0));
        QVERIFY(row->isNull(Col::fEtx));
        QCOMPARE(row->value(Col::fD1).typeId(), QMetaType::Double);
        const double stamp = row->real(Col::fD1), slack = 5.0 / 86400.0;
        QVERIFY(stamp >= before - slack && stamp <= after + slack);
    }

    // Cipher texts are arbitrary bytes, which any text conversion or truncation at a zero would corrupt; and readers
    // tell "no value" from "empty value", so NULL and an empty blob must each survive adding and changing.
    void bytesRoundTrip() {
        // 37 is odd, so every run of 256 holds each byte value once, 0 and 255 included.
        QByteArray value;
        for (int i = 0; i < 2000; ++i) {
            value.append(static_cast<char>(i * 37 % 256));
        }

        QVERIFY(create());
        sqlite::Connection connection;
        QVERIFY(!connection.open(m_file, sqlite::Connection::Mode::ReadWrite));
        const auto add = [&](std::int64_t, RowValues& row) {
            row.set(Col::fEtx, value);
            row.set(Col::fT2, QByteArray(""));
            row.set(Col::fT3, QByteArray());
            row.set(Col::fT4, QByteArray("x"));
            return true;
        };
        QCOMPARE(AddNewRow(connection, add), 1);
        std::optional<Row> row = ReadRow(connection, 1);
        QVERIFY(row);
        QCOMPARE(row->bytes(Col::fEtx), value);
        const char* kinds =
            "SELECT typeof(fEtx) || length(fEtx) || typeof(fT2) || typeof(fT3) || length(ifnull(fT2, fT3)) FROM tt";
        QCOMPARE(Scalar(connection, kinds).toString(), QStringLiteral("blob2000blobnull0"));

        const auto swap = [](RowValues& values) {
            values.set(Col::fT2, QByteArray());
            values.set(Col::fT3, QByteArray(""));
            return true;
        };
        QCOMPARE(ChangeRow(connection, 1, swap).number, 0);
        QCOMPARE(Scalar(connection, kinds).toString(), QStringLiteral("blob2000nullblob0"));
        connection.close();
        // Columns the change did not set keep their values.
        row->setValue(Col::fT2, QVariant());
        row->setValue(Col::fT3, QByteArray(""));
        QCOMPARE(difference(allRows(m_file), Rows{{1, *row}}), QString()); // read back from the file
    }

    void fillSeesFinalKey() {
        QVERIFY(create(10));
        sqlite::Connection connection;
        QVERIFY(!connection.open(m_file, sqlite::Connection::Mode::ReadWrite));
        // With the highest keys deleted the next key is one that was in use before, where a guessed key goes wrong.
        QVERIFY(!connection.exec("DELETE FROM tt WHERE fPK>7"));
        std::int64_t seen = 0;
        const auto fill = [&seen](std::int64_t key, RowValues& row) {
            seen = key;
            // The program enciphers with the key, so what it writes must land in the row of that key.
            row.set(Col::fEtx, QByteArray::number(key));
            return true;
        };
        const auto addsWhereItFilled = [&] {
            const std::int64_t fpk = AddNewRow(connection, fill);
            return fpk != 0 && fpk == seen && ReadRow(connection, fpk)->bytes(Col::fEtx) == QByteArray::number(fpk);
        };
        for (int i = 0; i < 5; ++i) {
            QVERIFY(addsWhereItFilled());
        }
        QCOMPARE(Scalar(connection, "SELECT count(*) FROM tt").toLongLong(), 12);
        // Past the largest possible key the engine picks a free one at random, which no one can foretell.
        QVERIFY(!connection.exec("INSERT INTO tt(fPK) VALUES(9223372036854775807)"));
        QVERIFY(addsWhereItFilled());
    }

    // An abandoned fill and a change of a missing row fail without leaving a trace or an open transaction that a later
    // commit would carry along.
    void refusedWritesLeaveRowsUnchanged() {
        QVERIFY(create(20));
        const std::optional<Rows> before = allRows(m_file);
        sqlite::Connection connection;
        QVERIFY(!connection.open(m_file, sqlite::Connection::Mode::ReadWrite));
        const auto write = [](RowValues& row, bool keep) {
            row.set(Col::fEtx, QByteArray("never stored"));
            return keep;
        };

        QCOMPARE(AddNewRow(connection, [&](std::int64_t, RowValues& row) { return write(row, false); }), 0);
        QVERIFY(!inTransaction(connection));
        QVERIFY(ChangeRow(connection, 2, [&](RowValues& row) { return write(row, false); }).number != 0);
        QVERIFY(!inTransaction(connection));
        const sqlite::Error e = ChangeRow(connection, 21, [&](RowValues& row) { return write(row, true); });
        QVERIFY2(e.number != 0, "a change of a row that does not exist reported success");
        QVERIFY(!e.description.isEmpty());
        QVERIFY(!inTransaction(connection));
        connection.close();
        QCOMPARE(difference(before, allRows(m_file)), QString());
    }

    void nestedInOuterTransaction() {
        QVERIFY(create(4));
        const std::optional<Rows> before = allRows(m_file);
        sqlite::Connection connection;
        QVERIFY(!connection.open(m_file, sqlite::Connection::Mode::ReadWrite));
        const auto mark = [](RowValues& row) {
            row.set(Col::fEtx, QByteArray("inner"));
            return true;
        };

        // Everything done inside an outer transaction goes away with it.
        QVERIFY(!connection.exec("BEGIN"));
        QVERIFY(AddNewRow(connection, [&](std::int64_t, RowValues& row) { return mark(row); }) != 0);
        QCOMPARE(ChangeRow(connection, 1, mark).number, 0);
        QVERIFY(inTransaction(connection)); // the inner writes must not end the outer transaction
        QVERIFY(!connection.exec("ROLLBACK"));
        QCOMPARE(difference(before, allRows(connection)), QString());

        // An abandoned inner write undoes only itself; the outer transaction keeps what it did before.
        QVERIFY(!connection.exec("BEGIN"));
        const std::int64_t kept = AddNewRow(connection, [&](std::int64_t, RowValues& row) { return mark(row); });
        QVERIFY(kept != 0);
        QCOMPARE(AddNewRow(connection, [](std::int64_t, RowValues&) { return false; }), 0);
        QVERIFY(ChangeRow(connection, 2, [](RowValues&) { return false; }).number != 0);
        QVERIFY(inTransaction(connection));
        QVERIFY(!connection.exec("COMMIT"));
        connection.close();

        std::optional<Rows> after = allRows(m_file);
        QVERIFY(after);
        QCOMPARE(after->at(kept).bytes(Col::fEtx), QByteArray("inner"));
        after->erase(kept);
        QCOMPARE(difference(before, after), QString());
    }

    void crashMidWrite_data() {
        QTest::addColumn<bool>("change");
        QTest::newRow("new row") << false;
        QTest::newRow("change") << true;
    }

    // A program killed inside a write must leave the file as it was at the last commit.
    void crashMidWrite() {
        QFETCH(bool, change);
        QVERIFY(create(200, 10, 300));
        const std::optional<Rows> before = allRows(m_file);
        const QByteArray bytesBefore = FileBytes(m_file);

        const pid_t child = ::fork();
        QVERIFY(child >= 0);
        if (child == 0) {
            sqlite::Connection connection;
            connection.open(m_file, sqlite::Connection::Mode::ReadWrite);
            // A tiny page cache and many uncommitted writes make the engine spill pages into the file before the
            // crash, so that only the journal can restore it.
            connection.exec("PRAGMA cache_size=1");
            connection.exec("BEGIN");
            const auto write = [&](int key, bool die) {
                const auto fill = [&](RowValues& row) {
                    row.set(Col::fEtx, QByteArray(3000, '\x5A'));
                    return die ? ::_exit(0), false : true;
                };
                change ? void(ChangeRow(connection, key, fill))
                       : void(AddNewRow(connection, [&](std::int64_t, RowValues& row) { return fill(row); }));
            };
            for (int key = 1; key <= 100; ++key) {
                write(key, false);
            }
            write(150, true);
            ::_exit(4); // the write never reached the callback, e.g. the file did not open
        }
        int status = 0;
        QCOMPARE(::waitpid(child, &status, 0), child);
        QVERIFY(WIFEXITED(status) && WEXITSTATUS(status) == 0);
        // Looked at before recovery removes the journal.
        QVERIFY(QFileInfo::exists(m_file + QStringLiteral("-journal")));
        QVERIFY2(FileBytes(m_file) != bytesBefore,
                 "the crashed write never reached the file, so recovery went untested");

        QCOMPARE(db::CheckDatabase(m_file).number, 0);
        db::Database database;
        QCOMPARE(database.Open(m_file).number, 0);
        QCOMPARE(difference(before, allRows(database.connection())), QString());
    }

    // Texts are 8, 16 or 24 bytes and numbers lie in 0..2^31-1; 300 draws reach every length and the upper half of the
    // range, and are all but certainly distinct unless the generator is a constant pattern. Unflagged columns keep
    // the markers they held.
    void fillNoise() {
        NoiseColumns on;
        on.onT1 = on.onT2 = on.onR1 = on.onR2 = on.onR3 = true;
        std::set<qsizetype> lengths;
        std::set<QByteArray> drawnTexts;
        std::set<qlonglong> drawnNumbers;
        for (int i = 0; i < 300; ++i) {
            RowValues row;
            for (int c = 1; c < kColumnCount; ++c) {
                row.set(static_cast<Col>(c), QStringLiteral("marker"));
            }
            FillNoise(row, StrongRandom(), on);
            QVERIFY(!row.get(Col::fPK));
            for (int c = 1; c < kColumnCount; ++c) {
                const Col col = static_cast<Col>(c);
                const QVariant& v = *row.get(col);
                if (col == Col::fT1 || col == Col::fT2) {
                    QCOMPARE(v.typeId(), QMetaType::QByteArray);
                    lengths.insert(v.toByteArray().size());
                    drawnTexts.insert(v.toByteArray());
                } else if (col >= Col::fR1 && col <= Col::fR3) {
                    QVERIFY2(v.toLongLong() >= 0 && v.toLongLong() <= 2147483647, qPrintable(v.toString()));
                    drawnNumbers.insert(v.toLongLong());
                } else {
                    QCOMPARE(v, QVariant(QStringLiteral("marker")));
                }
            }
        }
        QCOMPARE(lengths, (std::set<qsizetype>{8, 16, 24}));
        QVERIFY(drawnTexts.size() > 590);
        QVERIFY(drawnNumbers.size() > 890);
        QVERIFY(*drawnNumbers.rbegin() > 1073741823);
    }

    void checkAndOpen_data() {
        QTest::addColumn<int>("kind");
        QTest::addColumn<int>("expected");
        QTest::newRow("fresh file") << 0 << 0;
        QTest::newRow("missing file") << 1 << 3024;
        QTest::newRow("random bytes") << 2 << 3049;
        // A valid database with a table of the same name but without our application id is not ours to touch.
        QTest::newRow("foreign database") << 3 << 3049;
        QTest::newRow("held by another") << 4 << 3734;
    }

    // Checking and opening tell the same faults apart, and neither changes the file.
    void checkAndOpen() {
        QFETCH(int, kind);
        QFETCH(int, expected);
        QRandomGenerator random(11);
        db::Database holder;
        if (kind == 2) {
            QVERIFY(WriteFile(m_file, randomBytes(random, 8192)));
        } else if (kind == 3) {
            sqlite::Connection connection;
            QVERIFY(!connection.open(m_file, sqlite::Connection::Mode::Create));
            QVERIFY(!connection.exec("CREATE TABLE tt (fPK INTEGER PRIMARY KEY); INSERT INTO tt DEFAULT VALUES"));
        } else if (kind != 1) {
            QVERIFY(create(10));
            QVERIFY(kind != 4 || holder.Open(m_file).number == 0);
        }
        const QByteArray before = FileBytes(m_file);

        db::Database database;
        for (const sqlite::Error& e : {db::CheckDatabase(m_file), database.Open(m_file)}) {
            QCOMPARE(e.number, expected);
            QCOMPARE(e.description.isEmpty(), expected == 0);
        }
        QCOMPARE(database.isOpen(), expected == 0);
        QCOMPARE(FileBytes(m_file), before);
        QCOMPARE(QFileInfo::exists(m_file), kind != 1);
        if (kind == 4) {
            // The holder keeps working while others are refused, and the lock goes with it.
            QVERIFY(AddNewRow(holder.connection(), [](std::int64_t, RowValues&) { return true; }) == 11);
            holder.Close();
            QCOMPARE(database.Open(m_file).number, 0);
        }
    }

    // The connection keeps the statements of row writes and reads. A statement still in use is not handed out a
    // second time; closing lets go of them all, so that the file is free for others and the same database opened
    // again works through statements of its own.
    void keptStatementsEndWithTheConnection() {
        QVERIFY(create(3));
        db::Database database;
        for (std::int64_t fpk = 4; fpk <= 5; ++fpk) {
            QCOMPARE(database.Open(m_file).number, 0);
            sqlite::Connection& connection = database.connection();
            const auto write = [](std::int64_t key, RowValues& row) {
                row.set(Col::fEtx, QByteArray::number(key));
                return true;
            };
            QCOMPARE(AddNewRow(connection, write), fpk);
            QCOMPARE(ChangeRow(connection, fpk, [](RowValues& row) { return row.orAE(2), true; }).number, 0);
            {
                sqlite::Statement pending = connection.cached("SELECT * FROM tt WHERE fPK=?");
                pending.bind(1, fpk);
                QVERIFY(pending.step());
                QCOMPARE(ReadRow(connection, 1)->integer(Col::fPK), 1);
                const Row row = Row::FromStatement(pending);
                QCOMPARE(row.bytes(Col::fEtx), QByteArray::number(fpk));
                QCOMPARE(row.integer(Col::AE), 3);
                database.Close();
            }
            db::Database other;
            QCOMPARE(other.Open(m_file).number, 0);
        }
    }

    // Files of former releases lack columns that the upgrade adds on the open connection: a write naming a missing
    // column fails, and once the column is there the same write and the same read see it.
    void columnAddedWhileOpen() {
        QVERIFY(create(1));
        sqlite::Connection connection;
        QVERIFY(!connection.open(m_file, sqlite::Connection::Mode::ReadWrite));
        QVERIFY(!connection.exec("ALTER TABLE tt DROP COLUMN fT5"));
        const auto setT5 = [](RowValues& row) {
            row.set(Col::fT5, QByteArray("five"));
            return true;
        };
        QVERIFY(ReadRow(connection, 1)->isNull(Col::fT5));
        QVERIFY(ChangeRow(connection, 1, setT5).number != 0);
        QVERIFY(!connection.exec("ALTER TABLE tt ADD COLUMN fT5 BLOB"));
        QCOMPARE(ChangeRow(connection, 1, setT5).number, 0);
        QCOMPARE(ReadRow(connection, 1)->bytes(Col::fT5), QByteArray("five"));
    }

    void compactShrinksAndKeepsRows() {
        QVERIFY(create(600, 16, 2500));
        const QString source = m_file;
        {
            sqlite::Connection connection;
            QVERIFY(!connection.open(source, sqlite::Connection::Mode::ReadWrite));
            QVERIFY(!connection.exec("DELETE FROM tt WHERE fPK % 10 <> 3"));
        }
        const std::optional<Rows> rows = allRows(source);
        QVERIFY(rows);
        QCOMPARE(rows->size(), size_t(60));
        const QByteArray sourceBefore = FileBytes(source);

        // A name with spaces and non-ASCII letters, as users choose them.
        const QString destination = path(QStringLiteral("copy of organiser \u00E9t\u00E9.nct"));
        QCOMPARE(db::CompactDatabase(source, destination).number, 0);
        QVERIFY(QFileInfo(destination).size() < sourceBefore.size() / 2);
        QCOMPARE(FileBytes(source), sourceBefore);
        QCOMPARE(db::CheckDatabase(destination).number, 0);
        sqlite::Connection copy;
        QVERIFY(!copy.open(destination, sqlite::Connection::Mode::ReadOnly));
        QCOMPARE(difference(rows, allRows(copy)), QString());
        QCOMPARE(Scalar(copy, "SELECT count(*) FROM sqlite_master WHERE tbl_name='tt' AND type='index'").toLongLong(),
                 8);
        copy.close();

        // A second compaction onto the copy must not overwrite it.
        const QByteArray destinationBefore = FileBytes(destination);
        const sqlite::Error e = db::CompactDatabase(source, destination);
        QCOMPARE(e.number, 3204);
        QVERIFY(!e.description.isEmpty());
        QCOMPARE(FileBytes(destination), destinationBefore);
        QCOMPARE(FileBytes(source), sourceBefore);
    }

    // A file with a damaged page: checking finds it, compaction fails without leaving a half-made copy although the
    // engine had begun copying, and repair salvages every row that can still be read.
    void damagedFile() {
        QVERIFY(create(3000, 22, 300));
        std::optional<Rows> expected = allRows(m_file);
        QVERIFY(expected);
        QRandomGenerator random(23);
        const auto [first, count] = damageMiddleLeaf(m_file, "tt", random);
        QVERIFY(count > 0);
        const QByteArray damaged = FileBytes(m_file);
        QVERIFY2(!allRows(m_file), "the damage does not make reads fail");

        sqlite::Error e = db::CheckDatabase(m_file);
        QCOMPARE(e.number, 3049);
        QVERIFY(!e.description.isEmpty());
        const QString copy = path(QStringLiteral("copy.nct"));
        e = db::CompactDatabase(m_file, copy);
        QCOMPARE(e.number, 3049);
        QVERIFY(!e.description.isEmpty());
        QVERIFY(!QFileInfo::exists(copy));
        QVERIFY(!QFileInfo::exists(copy + QStringLiteral("-journal")));
        QCOMPARE(FileBytes(m_file), damaged);

        QCOMPARE(db::RepairDatabase(m_file).number, 0);
        QCOMPARE(FileBytes(m_file + QStringLiteral(".damaged")), damaged);
        QVERIFY(!QFileInfo::exists(m_file + QStringLiteral(".repair")));
        QCOMPARE(db::CheckDatabase(m_file).number, 0);
        db::Database database;
        QCOMPARE(database.Open(m_file).number, 0);
        // Rows on the damaged page are lost; those on either side of it must come back unchanged.
        const auto lost = std::next(expected->begin(), first);
        expected->erase(lost, std::next(lost, count));
        QCOMPARE(difference(allRows(database.connection()), expected), QString());
        QCOMPARE(db::ReadProperty(database.connection(), QStringLiteral("NctVersion")), QStringLiteral("002.005.0000"));
        // New keys continue after the salvaged ones.
        QVERIFY(AddNewRow(database.connection(), [](std::int64_t, RowValues&) { return true; }) > 3000);
    }

    void repairRefusesUnreadable() {
        QRandomGenerator random(24);
        const QString file = path(QStringLiteral("noise.nct"));
        const QByteArray noise = randomBytes(random, 32768);
        QVERIFY(WriteFile(file, noise));

        const sqlite::Error e = db::RepairDatabase(file);
        QVERIFY(e.number != 0);
        QVERIFY(!e.description.isEmpty());
        QCOMPARE(FileBytes(file), noise);
        QCOMPARE(QDir(m_dir->path()).entryList(QDir::Files), QStringList{QStringLiteral("noise.nct")});
    }

    // A category's list is answered from memory after the first; whatever way a row changes, the next answer must
    // be what the file holds: writes of this connection (rolled back ones too), writes the engine does not report
    // row by row, and writes of another connection.
    void categoryDirectoryFollowsEveryWrite() {
        QVERIFY(create());
        sqlite::Connection mine;
        sqlite::Connection other;
        QVERIFY(!mine.open(m_file, sqlite::Connection::Mode::ReadWrite));
        QVERIFY(!other.open(m_file, sqlite::Connection::Mode::ReadWrite));
        const auto run = [](sqlite::Connection& c, const char* sql, std::initializer_list<std::int64_t> values = {}) {
            sqlite::Statement statement = c.prepare(sql);
            int i = 1;
            for (const std::int64_t v : values) {
                statement.bind(i++, v);
            }
            statement.step();
            return !statement.error();
        };
        for (int i = 0; i < 30; ++i) {
            QVERIFY(run(mine, "INSERT INTO tt(fSec, fG1) VALUES(?, ?)", {2 + i % 2, i % 3}));
        }
        CategoryDirectory directory;
        int walks = 0;
        const auto listed = [&](int section, int category) {
            sqlite::Error e;
            std::optional<std::vector<std::int64_t>> keys = directory.keys(mine, section, category, &e);
            if (!keys) {
                ++walks;
                std::vector<CategoryDirectory::Entry> rows;
                sqlite::Statement all = mine.prepare("SELECT fPK, fG1 FROM tt WHERE fSec=? ORDER BY fPK");
                all.bind(1, static_cast<std::int64_t>(section));
                while (all.step()) {
                    rows.push_back({all.int64(0), static_cast<int>(all.int64(1))});
                }
                directory.adopt(section, std::move(rows));
                keys = directory.keys(mine, section, category, &e);
            }
            return keys.value_or(std::vector<std::int64_t>{});
        };
        const auto agrees = [&] {
            for (const int section : {2, 3}) {
                for (int category = 0; category < 4; ++category) {
                    std::vector<std::int64_t> truth;
                    sqlite::Statement select = mine.prepare("SELECT fPK FROM tt WHERE fSec=? AND fG1=? ORDER BY fPK");
                    select.bind(1, static_cast<std::int64_t>(section)).bind(2, static_cast<std::int64_t>(category));
                    while (select.step()) {
                        truth.push_back(select.int64(0));
                    }
                    if (listed(section, category) != truth) {
                        return false;
                    }
                }
            }
            return true;
        };
        QVERIFY(agrees());
        QCOMPARE(walks, 2);

        QVERIFY(run(mine, "INSERT INTO tt(fSec, fG1) VALUES(2, 1)"));
        QVERIFY(run(mine, "UPDATE tt SET fG1=3 WHERE fPK=3"));
        QVERIFY(run(mine, "UPDATE tt SET fSec=3 WHERE fPK=5"));
        QVERIFY(run(mine, "DELETE FROM tt WHERE fPK=7"));
        {
            sqlite::Savepoint undone(mine);
            QVERIFY(!undone.begin());
            QVERIFY(run(mine, "UPDATE tt SET fG1=2 WHERE fG1=0"));
            QVERIFY(run(mine, "INSERT INTO tt(fSec, fG1) VALUES(2, 0)"));
        }
        QVERIFY(agrees());
        QCOMPARE(walks, 2);

        QVERIFY(run(other, "UPDATE tt SET fG1=1 WHERE fPK=9"));
        QVERIFY(agrees());
        QCOMPARE(walks, 4);

        // Deleting a whole table takes a shortcut that reports no row.
        QVERIFY(run(mine, "DELETE FROM tt"));
        QVERIFY(run(mine, "INSERT INTO tt(fSec, fG1) VALUES(3, 2)"));
        QVERIFY(agrees());
        QCOMPARE(walks, 6);
    }

private:
    QString path(const QString& name) const { return m_dir->filePath(name); }
    // Makes m_file a fresh file of ours holding `count` sample rows keyed 1..count.
    bool create(int count = 0, quint32 seed = 1, int maxEtx = 100) {
        return !db::CreateDatabaseFile(m_file) && addSamples(m_file, count, seed, maxEtx);
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_file;
};

NCT_TEST_MAIN(TestDb)
#include "tst_db.moc"
