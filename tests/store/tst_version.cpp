#include <QTemporaryDir>
#include <QtTest>

#include <memory>

#include "shell/open_sequence.h"
#include "shell/session.h"
#include "store/db.h"
#include "store/keys.h"
#include "store/record_get.h"
#include "store/record_put.h"
#include "store/row.h"
#include "store/sqlite.h"
#include "store/version.h"
#include "support/scripted_prompter.h"
#include "support/test_databases.h"

namespace {

const QString kPassphrase = QStringLiteral("a good passphrase 1");

QByteArray readFile(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool writeFile(const QString& path, const QByteArray& data) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(data) == data.size();
}

QString memoText(std::int64_t fpk) {
    return QStringLiteral("memo of row %1").arg(fpk);
}

// A memo-like row whose text names its own key, so that any row can be checked on its own.
std::int64_t addMemo(Store& store) {
    return AddNewRow(store.connection(), [&](std::int64_t fpk, RowValues& row) {
        row.set(Col::fSec, 14);
        const QByteArray sealed = store.cry.Cipher(static_cast<std::int32_t>(fpk), 1,
                                                   Record_Put::PutField(memoText(fpk), FieldType::Text, 5));
        row.set(Col::fEtx, sealed);
        return !sealed.isEmpty();
    });
}

// Empty when every listed row is there and deciphers to its text.
QString unreadableMemos(Store& store, const QList<std::int64_t>& keys) {
    for (const std::int64_t fpk : keys) {
        const std::optional<Row> row = ReadRow(store.connection(), fpk);
        if (!row) {
            return QStringLiteral("row %1 is missing").arg(fpk);
        }
        FieldValues values;
        Record_Get::GetRecord(values, store.cry.Cipher(static_cast<std::int32_t>(fpk), 2, row->bytes(Col::fEtx)));
        if (values.size() <= 5 || values[5].toString() != memoText(fpk)) {
            return QStringLiteral("row %1 does not decipher").arg(fpk);
        }
    }
    return {};
}

// Runs SQL on a closed file, as a former release or a damaged disk would have left it.
bool alter(const QString& path, const char* sql) {
    sqlite::Connection connection;
    if (connection.open(path, sqlite::Connection::Mode::ReadWrite)) {
        return false;
    }
    const sqlite::Error e = connection.exec(sql);
    if (e) {
        qWarning("%s: %s", sql, qPrintable(e.description));
    }
    return !e;
}

int versionRows(sqlite::Connection& connection) {
    sqlite::Statement count = connection.prepare("SELECT count(*) FROM tt WHERE fSec=1 AND fSub=3");
    return count.step() ? static_cast<int>(count.int64(0)) : -1;
}

// The open sequence up to the schema step, through the store alone, so that a test can hand in its own steps.
std::unique_ptr<Store> openStore(Prompter& prompter, const QString& path) {
    auto store = std::make_unique<Store>(prompter);
    if (store->database.Open(path)) {
        return nullptr;
    }
    QString passphrase = kPassphrase;
    keys::SetDigests(*store, passphrase);
    if (keys::LoadKeyPool(*store) != 0 || version::LoadVersionRecord(*store) != 0) {
        return nullptr;
    }
    return store;
}

} // namespace

class TestVersion : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void init();

    void backupAtEveryOpening();
    void newerProgramRefusedBeforeAnyCopy_data();
    void newerProgramRefusedBeforeAnyCopy();
    void schemaTooOldRefused_data();
    void schemaTooOldRefused();
    void stepsRunOnlyBelowTheirVersion();
    void stepsSkippedForCurrentFile();
    void failingStepSetsFileAside();
    void failureDuringOpeningSetsFileAside();
    void versionRecordRewritten_data();
    void versionRecordRewritten();
    void missingColumnsAdded();

private:
    // A new file holding some memos; their keys in m_memos.
    QString created(const QString& name = QStringLiteral("data.nct"));

    QTemporaryDir m_config;
    std::unique_ptr<QTemporaryDir> m_dir;
    QList<std::int64_t> m_memos;
};

void TestVersion::initTestCase() {
    // The settings store (last file, last user) must not reach the real one of whoever runs the tests.
    QVERIFY(m_config.isValid());
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(m_config.path()));
}

void TestVersion::init() {
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    m_memos.clear();
}

QString TestVersion::created(const QString& name) {
    const QString path = m_dir->filePath(name);
    TestSession maker;
    if (CreateDatabase(maker, path, kPassphrase) != 0) {
        qWarning("NewDatabase failed");
        return {};
    }
    for (int i = 0; i < 5; ++i) {
        m_memos << addMemo(maker.store());
    }
    open_sequence::CloseDatabase(maker.session);
    return path;
}

void TestVersion::backupAtEveryOpening() {
    const QString path = created();
    QVERIFY(!path.isEmpty());
    const QString bak = path + QStringLiteral(".bak");
    QVERIFY(!QFileInfo::exists(bak));

    const QByteArray first = readFile(path);
    {
        TestSession opening;
        QCOMPARE(OpenDatabase(opening, path, kPassphrase), 0);
        QCOMPARE(readFile(bak), first);
        Store& store = opening.session.store();
        QCOMPARE(unreadableMemos(store, m_memos), QString());
        m_memos << addMemo(store);
        QCOMPARE(db::ReadProperty(store.connection(), QStringLiteral("NctVersion")), QStringLiteral("002.005.0000"));
        open_sequence::CloseDatabase(opening.session);
    }
    const QByteArray second = readFile(path);
    QVERIFY(second != first);
    {
        // The copy of the former opening is replaced, not kept.
        TestSession opening;
        QCOMPARE(OpenDatabase(opening, path, kPassphrase), 0);
        QCOMPARE(readFile(bak), second);
        QCOMPARE(unreadableMemos(opening.session.store(), m_memos), QString());
        open_sequence::CloseDatabase(opening.session);
    }
    // The copy is a file of its own that opens like the original did.
    const QString copy = m_dir->filePath(QStringLiteral("copy.nct"));
    QVERIFY(QFile::copy(bak, copy));
    TestSession opening;
    QCOMPARE(OpenDatabase(opening, copy, kPassphrase), 0);
    QCOMPARE(unreadableMemos(opening.session.store(), m_memos), QString());
}

void TestVersion::newerProgramRefusedBeforeAnyCopy_data() {
    QTest::addColumn<int>("major");
    QTest::addColumn<int>("minor");
    QTest::addColumn<int>("revision");
    QTest::addColumn<bool>("refused");
    QTest::newRow("next minor") << 2 << 6 << 0 << true;
    QTest::newRow("next major") << 3 << 0 << 0 << true;
    QTest::newRow("next major, lower minor") << 3 << 1 << 0 << true;
    QTest::newRow("same minor, later revision") << 2 << 5 << 9 << false;
    QTest::newRow("former minor") << 2 << 4 << 21 << false;
    QTest::newRow("former major, higher minor") << 1 << 9 << 0 << false;
}

void TestVersion::newerProgramRefusedBeforeAnyCopy() {
    QFETCH(int, major);
    QFETCH(int, minor);
    QFETCH(int, revision);
    QFETCH(bool, refused);
    const QString path = created();
    QVERIFY(!path.isEmpty());
    {
        // The version record says who saved the file last; closing saves it.
        TestSession opening;
        QCOMPARE(OpenDatabase(opening, path, kPassphrase), 0);
        opening.session.store().DbVersion = VersionInfo{major, minor, revision};
        open_sequence::CloseDatabase(opening.session);
    }
    const QString bak = path + QStringLiteral(".bak");
    QVERIFY(writeFile(bak, "a copy from long ago"));
    const QByteArray before = readFile(path);

    TestSession opening;
    const int result = OpenDatabase(opening, path, kPassphrase);
    if (refused) {
        QCOMPARE(result, StoreError::Fatal);
        QVERIFY(opening.prompter.numbers().contains(94));
        QVERIFY(!opening.session.DbIsOpen);
        QCOMPARE(readFile(bak), QByteArray("a copy from long ago"));
        QCOMPARE(readFile(path), before);
        return;
    }
    QCOMPARE(result, 0);
    QVERIFY(!opening.prompter.numbers().contains(94));
    QCOMPARE(readFile(bak), before);
    Store& store = opening.session.store();
    QCOMPARE(store.DbVersion.major, 2);
    QCOMPARE(store.DbVersion.minor, 5);
    QCOMPARE(store.DbVersion.revision, 0);
    // The record itself now names this program.
    QCOMPARE(version::LoadVersionRecord(store), 0);
    QCOMPARE(store.DbVersion.minor, 5);
    QCOMPARE(store.DbVersion.revision, 0);
    QCOMPARE(versionRows(store.connection()), 1);
}

void TestVersion::schemaTooOldRefused_data() {
    QTest::addColumn<QString>("schema");
    QTest::addColumn<bool>("refused");
    QTest::newRow("2.2") << QStringLiteral("002.002.0000") << true;
    QTest::newRow("2.3") << QStringLiteral("002.003.0000") << true;
    QTest::newRow("2.4") << QStringLiteral("002.004.0000") << true;
    QTest::newRow("2.4.20") << QStringLiteral("002.004.0020") << true;
    QTest::newRow("no version at all") << QString() << true;
    QTest::newRow("2.4.21") << QStringLiteral("002.004.0021") << false;
    QTest::newRow("2.5.0") << QStringLiteral("002.005.0000") << false;
}

void TestVersion::schemaTooOldRefused() {
    QFETCH(QString, schema);
    QFETCH(bool, refused);
    const QString path = created();
    QVERIFY(!path.isEmpty());
    if (schema.isNull()) {
        QVERIFY(alter(path, "DELETE FROM nct_properties WHERE name='NctVersion'"));
    } else {
        QVERIFY(alter(path, QStringLiteral("UPDATE nct_properties SET value='%1' WHERE name='NctVersion'")
                                .arg(schema)
                                .toUtf8()
                                .constData()));
    }
    const QByteArray before = readFile(path);

    TestSession opening;
    const int result = OpenDatabase(opening, path, kPassphrase);
    QCOMPARE(readFile(path + QStringLiteral(".bak")), before);
    if (refused) {
        QCOMPARE(result, StoreError::Fatal);
        QVERIFY(!opening.session.DbIsOpen);
        QVERIFY(!opening.prompter.shown.isEmpty());
        QVERIFY2(opening.prompter.shown.last().text.contains(QLatin1String("not compatible")),
                 qPrintable(opening.prompter.shown.last().text));
        // Nothing was converted: the file is as it was, byte for byte.
        QCOMPARE(readFile(path), before);
        QVERIFY(!QFileInfo::exists(path + QStringLiteral(".FFF")));
        return;
    }
    QCOMPARE(result, 0);
    QCOMPARE(db::ReadProperty(opening.session.store().connection(), QStringLiteral("NctVersion")),
             QStringLiteral("002.005.0000"));
    QCOMPARE(unreadableMemos(opening.session.store(), m_memos), QString());
}

void TestVersion::stepsRunOnlyBelowTheirVersion() {
    const QString path = created();
    QVERIFY(!path.isEmpty());
    QVERIFY(alter(path, "UPDATE nct_properties SET value='002.004.0021' WHERE name='NctVersion'"));
    ScriptedPrompter prompter;
    std::unique_ptr<Store> store = openStore(prompter, path);
    QVERIFY(store);

    // Each step notes the schema it found, which is the stamp of the step before it.
    QStringList ran;
    auto noting = [&ran](const char* name) {
        return [&ran, name](Store& s) {
            ran << QStringLiteral("%1 after %2")
                       .arg(QLatin1String(name), db::ReadProperty(s.connection(), QStringLiteral("NctVersion")));
            const QByteArray sql =
                QStringLiteral("INSERT INTO nct_properties (name, value) VALUES ('%1', 'done')").arg(name).toUtf8();
            return s.connection().exec(sql.constData());
        };
    };
    const std::vector<version::SchemaStep> steps = {
        {QStringLiteral("002.004.0010"), noting("older")},
        {QStringLiteral("002.004.0021"), noting("equal")},
        {QStringLiteral("002.004.0030"), noting("next")},
        {QStringLiteral("002.005.0000"), noting("current")},
    };
    QCOMPARE(version::DbVersionUpdate(*store, steps), 0);
    QCOMPARE(ran,
             QStringList({QStringLiteral("next after 002.004.0021"), QStringLiteral("current after 002.004.0030")}));
    sqlite::Connection& connection = store->connection();
    QCOMPARE(db::ReadProperty(connection, QStringLiteral("NctVersion")), QStringLiteral("002.005.0000"));
    QCOMPARE(db::ReadProperty(connection, QStringLiteral("next")), QStringLiteral("done"));
    QCOMPARE(db::ReadProperty(connection, QStringLiteral("older")), QString());
    QCOMPARE(version::LoadVersionRecord(*store), 0);
    QCOMPARE(store->DbVersion.major, 2);
    QCOMPARE(store->DbVersion.minor, 5);
    QCOMPARE(store->DbVersion.revision, 0);
    QCOMPARE(unreadableMemos(*store, m_memos), QString());
    QVERIFY(prompter.shown.isEmpty());
}

void TestVersion::stepsSkippedForCurrentFile() {
    const QString path = created();
    QVERIFY(!path.isEmpty());
    ScriptedPrompter prompter;
    std::unique_ptr<Store> store = openStore(prompter, path);
    QVERIFY(store);
    int runs = 0;
    auto counting = [&runs](Store&) {
        ++runs;
        return sqlite::Error{};
    };
    const std::vector<version::SchemaStep> steps = {
        {QStringLiteral("002.004.0021"), counting},
        {QStringLiteral("002.005.0000"), counting},
    };
    QCOMPARE(version::DbVersionUpdate(*store, steps), 0);
    QCOMPARE(runs, 0);
    QCOMPARE(db::ReadProperty(store->connection(), QStringLiteral("NctVersion")), QStringLiteral("002.005.0000"));
}

void TestVersion::failingStepSetsFileAside() {
    const QString path = created();
    QVERIFY(!path.isEmpty());
    const QString aside = path + QStringLiteral(".FFF");
    QVERIFY(writeFile(aside, "left by an earlier failure"));
    const QByteArray before = readFile(path);
    ScriptedPrompter prompter;
    std::unique_ptr<Store> store = openStore(prompter, path);
    QVERIFY(store);

    bool laterRan = false;
    const std::vector<version::SchemaStep> steps = {
        {QStringLiteral("002.006.0000"),
         [](Store& s) { return s.connection().exec("INSERT INTO tt (fSec) VALUES (98)"); }},
        {QStringLiteral("002.006.0001"),
         [](Store& s) {
             // Half of the step is done when it fails; the half must not stay.
             s.connection().exec("INSERT INTO tt (fSec) VALUES (99)");
             return sqlite::Error{sqlite::kErrGeneral, QStringLiteral("step failed")};
         }},
        {QStringLiteral("002.006.0002"),
         [&laterRan](Store&) {
             laterRan = true;
             return sqlite::Error{};
         }},
    };
    QCOMPARE(version::DbVersionUpdate(*store, steps), StoreError::ConversionFailed);
    QVERIFY(!laterRan);
    QVERIFY(!store->database.isOpen());
    QVERIFY(!QFileInfo::exists(path));
    QCOMPARE(readFile(path + QStringLiteral(".bak")), before);

    // The working file set aside holds the step that went through and nothing of the one that failed.
    sqlite::Connection set;
    QCOMPARE(set.open(aside, sqlite::Connection::Mode::ReadOnly).number, 0);
    sqlite::Statement count = set.prepare("SELECT sum(fSec=98), sum(fSec=99) FROM tt");
    QVERIFY(count.step());
    QCOMPARE(count.int64(0), 1);
    QCOMPARE(count.int64(1), 0);
    set.close();

    // The copy is the intact former file: put back, it opens as before.
    QVERIFY(QFile::copy(path + QStringLiteral(".bak"), path));
    TestSession opening;
    QCOMPARE(OpenDatabase(opening, path, kPassphrase), 0);
    QCOMPARE(unreadableMemos(opening.session.store(), m_memos), QString());
}

void TestVersion::failureDuringOpeningSetsFileAside() {
    // With the program's own step list the stamp is the last write; a file that refuses it fails the conversion.
    const QString path = created();
    QVERIFY(!path.isEmpty());
    QVERIFY(alter(path, "CREATE TRIGGER refuse BEFORE UPDATE ON nct_properties BEGIN SELECT RAISE(ABORT, 'no'); END"));
    const QByteArray before = readFile(path);

    TestSession opening;
    QCOMPARE(OpenDatabase(opening, path, kPassphrase), StoreError::ConversionFailed);
    QVERIFY(!opening.session.DbIsOpen);
    QVERIFY(!opening.prompter.shown.isEmpty());
    QCOMPARE(opening.prompter.shown.last().text, QStringLiteral("Database Conversion Error"));
    QVERIFY(!QFileInfo::exists(path));
    QVERIFY(QFileInfo::exists(path + QStringLiteral(".FFF")));
    QCOMPARE(readFile(path + QStringLiteral(".bak")), before);
}

void TestVersion::versionRecordRewritten_data() {
    QTest::addColumn<QString>("damage");
    QTest::newRow("row gone") << QStringLiteral("DELETE FROM tt WHERE fSec=1 AND fSub=3");
    QTest::newRow("garbage") << QStringLiteral("UPDATE tt SET fEtx=x'00112233445566778899aabbccddeeff0011223344556677' "
                                               "WHERE fSec=1 AND fSub=3");
    QTest::newRow("empty") << QStringLiteral("UPDATE tt SET fEtx=NULL WHERE fSec=1 AND fSub=3");
    // A memo's text is bound to the memo's key and must not be taken for the version record's.
    QTest::newRow("moved from another row") << QStringLiteral(
        "UPDATE tt SET fEtx=(SELECT fEtx FROM tt WHERE fSec=14 ORDER BY fPK LIMIT 1) WHERE fSec=1 AND fSub=3");
}

void TestVersion::versionRecordRewritten() {
    QFETCH(QString, damage);
    const QString path = created();
    QVERIFY(!path.isEmpty());
    {
        // Left by a newer program, so that a record read wrongly as the former one would refuse the file.
        TestSession opening;
        QCOMPARE(OpenDatabase(opening, path, kPassphrase), 0);
        opening.session.store().DbVersion = VersionInfo{2, 9, 0};
        open_sequence::CloseDatabase(opening.session);
    }
    QVERIFY(alter(path, damage.toUtf8().constData()));

    TestSession opening;
    QCOMPARE(OpenDatabase(opening, path, kPassphrase), 0);
    Store& store = opening.session.store();
    QCOMPARE(versionRows(store.connection()), 1);
    store.DbVersion = VersionInfo{};
    QCOMPARE(version::LoadVersionRecord(store), 0);
    QCOMPARE(store.DbVersion.major, 2);
    QCOMPARE(store.DbVersion.minor, 5);
    QCOMPARE(store.DbVersion.revision, 0);
    QCOMPARE(unreadableMemos(store, m_memos), QString());
}

void TestVersion::missingColumnsAdded() {
    // A file of a former release lacks the columns added since; the opening adds them and the rows stay readable.
    const QString path = created();
    QVERIFY(!path.isEmpty());
    QVERIFY(alter(path, "ALTER TABLE tt DROP COLUMN fT5"));
    QVERIFY(alter(path, "ALTER TABLE tt DROP COLUMN fT4"));

    TestSession opening;
    QCOMPARE(OpenDatabase(opening, path, kPassphrase), 0);
    Store& store = opening.session.store();
    QStringList columns;
    sqlite::Statement info = store.connection().prepare("PRAGMA table_info(tt)");
    while (info.step()) {
        columns << QString::fromUtf8(info.bytes(1));
    }
    QVERIFY2(columns.contains(QLatin1String("fT4")) && columns.contains(QLatin1String("fT5")),
             qPrintable(columns.join(u',')));
    QCOMPARE(columns.size(), kColumnCount);
    QCOMPARE(unreadableMemos(store, m_memos), QString());
    m_memos << addMemo(store);
    QCOMPARE(unreadableMemos(store, m_memos), QString());
}

QTEST_GUILESS_MAIN(TestVersion)
#include "tst_version.moc"
