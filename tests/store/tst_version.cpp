#include "store/db.h"
#include "store/keys.h"
#include "store/version.h"
#include "support/test_main.h"

#include <memory>

namespace {

const QString kPassphrase = QStringLiteral("a good passphrase 1");

// The open sequence up to the schema step, through the store alone, so that a test can hand in its own steps.
std::unique_ptr<Store> openStore(Prompter& prompter, const QString& path) {
    auto store = std::make_unique<Store>(prompter);
    QString passphrase = kPassphrase;
    if (store->database.Open(path)) {
        return nullptr;
    }
    keys::SetDigests(*store, passphrase);
    const bool loaded = keys::LoadKeyPool(*store) == 0 && version::LoadVersionRecord(*store) == 0;
    return loaded ? std::move(store) : nullptr;
}

} // namespace

class TestVersion : public QObject {
    Q_OBJECT
private Q_SLOTS:
    // Every test starts from a new file holding a record, closed again.
    void init() {
        m_dir = std::make_unique<QTemporaryDir>();
        m_path = MadeDatabase(m_dir->filePath(QStringLiteral("data.nct")), kPassphrase,
                              [this](Store& store) { m_record = AddRecord(store, "a record from before"); });
        QVERIFY(!m_path.isEmpty());
    }

    void backupAtEveryOpening() {
        // Each opening replaces the copy with the file as it found it; every session here changes the file.
        for (int i = 0; i < 2; ++i) {
            const QByteArray before = FileBytes(m_path);
            TestSession opening;
            QCOMPARE(OpenDatabase(opening, m_path, kPassphrase), 0);
            QCOMPARE(FileBytes(m_path + QStringLiteral(".bak")), before);
            AddRecord(opening.store(), "written in this session");
            open_sequence::CloseDatabase(opening.session);
        }
    }

    void newerProgramRefusedBeforeAnyCopy_data() {
        QTest::addColumn<int>("major");
        QTest::addColumn<int>("minor");
        QTest::newRow("next minor") << 2 << 6;
        QTest::newRow("next major, lower minor") << 3 << 1;
    }

    void newerProgramRefusedBeforeAnyCopy() {
        QFETCH(int, major);
        QFETCH(int, minor);
        {
            // The version record says who saved the file last; closing saves it.
            TestSession opening;
            QCOMPARE(OpenDatabase(opening, m_path, kPassphrase), 0);
            opening.store().DbVersion = VersionInfo{major, minor, 0};
            open_sequence::CloseDatabase(opening.session);
        }
        const QString bak = m_path + QStringLiteral(".bak");
        QVERIFY(QFile::remove(bak));
        const QByteArray before = FileBytes(m_path);

        TestSession opening;
        QCOMPARE(OpenDatabase(opening, m_path, kPassphrase), StoreError::Fatal);
        QVERIFY(opening.prompter.numbers().contains(94));
        QVERIFY(!opening.session.DbIsOpen);
        QVERIFY(!QFileInfo::exists(bak));
        QCOMPARE(FileBytes(m_path), before);
    }

    void schemaTooOldRefused_data() {
        QTest::addColumn<QString>("sql");
        QTest::addColumn<bool>("refused");
        const QString set = QStringLiteral("UPDATE nct_properties SET value='%1' WHERE name='NctVersion'");
        QTest::newRow("2.4.20") << set.arg(QStringLiteral("002.004.0020")) << true;
        QTest::newRow("no version at all")
            << QStringLiteral("DELETE FROM nct_properties WHERE name='NctVersion'") << true;
        // Files of the old formats carry key material and records this program cannot read at all.
        QTest::newRow("2.3 with its own key rows")
            << set.arg(QStringLiteral("002.003.0000")) +
                   QStringLiteral(";UPDATE tt SET fEtx=randomblob(300) WHERE fSec=1")
            << true;
        QTest::newRow("2.4.0 with an unreadable version record")
            << set.arg(QStringLiteral("002.004.0000")) +
                   QStringLiteral(";UPDATE tt SET fEtx=randomblob(40) WHERE fSec=1 AND fSub=3")
            << true;
        QTest::newRow("2.4.21") << set.arg(QStringLiteral("002.004.0021")) << false;
    }

    void schemaTooOldRefused() {
        QFETCH(QString, sql);
        QFETCH(bool, refused);
        QVERIFY(ExecOn(m_path, sql));
        const QByteArray before = FileBytes(m_path);

        TestSession opening;
        const int result = OpenDatabase(opening, m_path, kPassphrase);
        QCOMPARE(FileBytes(m_path + QStringLiteral(".bak")), refused ? QByteArray() : before);
        if (refused) {
            QCOMPARE(result, StoreError::Fatal);
            // Told before anything is asked: no passphrase can open such a file.
            QVERIFY(opening.prompter.passphraseRequests.isEmpty());
            QCOMPARE(opening.prompter.shown.size(), 1);
            QVERIFY(opening.prompter.shown.last().text.contains(QLatin1String("not compatible")));
            // Nothing was converted: the file is as it was, byte for byte.
            QCOMPARE(FileBytes(m_path), before);
            QVERIFY(!QFileInfo::exists(m_path + QStringLiteral(".FFF")));
            return;
        }
        QCOMPARE(result, 0);
        QCOMPARE(ReadRecord(opening.store(), m_record), QByteArray("a record from before"));
    }

    void stepsRunOnlyBelowTheirVersion() {
        QVERIFY(
            ExecOn(m_path, QStringLiteral("UPDATE nct_properties SET value='002.004.0021' WHERE name='NctVersion'")));
        ScriptedPrompter prompter;
        std::unique_ptr<Store> store = openStore(prompter, m_path);
        QVERIFY(store);

        // Each step notes the schema it found, which is the stamp of the step before it.
        QStringList ran;
        auto noting = [&ran](const char* name) {
            return [&ran, name](Store& s) {
                ran << QStringLiteral("%1 after %2")
                           .arg(QLatin1String(name), db::ReadProperty(s.connection(), QStringLiteral("NctVersion")));
                return sqlite::Error{};
            };
        };
        const std::vector<version::SchemaStep> steps = {
            {QStringLiteral("002.004.0010"), noting("older")},
            {QStringLiteral("002.004.0021"), noting("equal")},
            {QStringLiteral("002.004.0030"), noting("next")},
            {QStringLiteral("002.005.0000"), noting("current")},
        };
        QCOMPARE(version::DbVersionUpdate(*store, steps), 0);
        QCOMPARE(ran, QStringList(
                          {QStringLiteral("next after 002.004.0021"), QStringLiteral("current after 002.004.0030")}));
        QCOMPARE(db::ReadProperty(store->connection(), QStringLiteral("NctVersion")), QStringLiteral("002.005.0000"));
    }

    void failingStepSetsFileAside() {
        const QByteArray before = FileBytes(m_path);
        ScriptedPrompter prompter;
        std::unique_ptr<Store> store = openStore(prompter, m_path);
        QVERIFY(store);
        // Half of the step is done when it fails; the half must not stay.
        auto failing = [](Store& s) {
            s.connection().exec("INSERT INTO tt (fSec) VALUES (99)");
            return sqlite::Error{sqlite::kErrGeneral, QStringLiteral("step failed")};
        };
        QCOMPARE(version::DbVersionUpdate(*store, {{QStringLiteral("002.006.0000"), failing}}),
                 StoreError::ConversionFailed);
        QVERIFY(!store->database.isOpen());
        QVERIFY(!QFileInfo::exists(m_path));
        QCOMPARE(FileBytes(m_path + QStringLiteral(".bak")), before);
        {
            // The working file is set aside as .FFF, without the failed step's half.
            sqlite::Connection set;
            QCOMPARE(set.open(m_path + QStringLiteral(".FFF"), sqlite::Connection::Mode::ReadOnly).number, 0);
            sqlite::Statement count = set.prepare("SELECT count(*) FROM tt WHERE fSec=99");
            QVERIFY(count.step());
            QCOMPARE(count.int64(0), 0);
        }
        // The copy is the intact former file: put back, it opens as before.
        QVERIFY(QFile::copy(m_path + QStringLiteral(".bak"), m_path));
        TestSession opening;
        QCOMPARE(OpenDatabase(opening, m_path, kPassphrase), 0);
        QCOMPARE(ReadRecord(opening.store(), m_record), QByteArray("a record from before"));
        open_sequence::CloseDatabase(opening.session);

        // A step kept from writing by a lock met no damage: the file stays in its place.
        QVERIFY(QFile::remove(m_path + QStringLiteral(".FFF")));
        store = openStore(prompter, m_path);
        QVERIFY(store);
        auto locked = [](Store&) { return sqlite::Error{sqlite::kErrLocked, QStringLiteral("database is locked")}; };
        QCOMPARE(version::DbVersionUpdate(*store, {{QStringLiteral("002.006.0000"), locked}}), sqlite::kErrLocked);
        store.reset();
        QVERIFY(!QFileInfo::exists(m_path + QStringLiteral(".FFF")));
        QCOMPARE(OpenDatabase(opening, m_path, kPassphrase), 0);
    }

    void versionRecordRewritten_data() {
        QTest::addColumn<QString>("damage");
        QTest::newRow("row gone") << QStringLiteral("DELETE FROM tt WHERE fSec=1 AND fSub=3");
        QTest::newRow("garbage") << QStringLiteral(
            "UPDATE tt SET fEtx=x'00112233445566778899aabbccddeeff0011223344556677' WHERE fSec=1 AND fSub=3");
        // A record's text is bound to its key and must not be taken for the version record's.
        QTest::newRow("moved from another row")
            << QStringLiteral("UPDATE tt SET fEtx=(SELECT fEtx FROM tt WHERE fSec=14) WHERE fSec=1 AND fSub=3");
    }

    void versionRecordRewritten() {
        QFETCH(QString, damage);
        QVERIFY(ExecOn(m_path, damage));

        TestSession opening;
        QCOMPARE(OpenDatabase(opening, m_path, kPassphrase), 0);
        // The rewritten record names this program.
        Store& store = opening.store();
        store.DbVersion = VersionInfo{};
        QCOMPARE(version::LoadVersionRecord(store), 0);
        QCOMPARE(QList<int>({store.DbVersion.major, store.DbVersion.minor, store.DbVersion.revision}),
                 QList<int>({2, 5, 0}));
        QCOMPARE(ReadRecord(store, m_record), QByteArray("a record from before"));
    }

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_path;
    std::int64_t m_record = 0;
};

NCT_TEST_MAIN(TestVersion)
#include "tst_version.moc"
