#include "base/messages.h"
#include "store/codepage.h"
#include "store/keys.h"
#include "store/users.h"
#include "support/test_main.h"

#include <optional>

namespace {

const QString kHorse = QStringLiteral("correct horse 1"); // basic.nct

// Runs statements on a file that no session holds open, as someone tampering with it would.
bool tamper(const QString& path, const QByteArray& sql, const QVariant& param = {}) {
    sqlite::Connection db;
    if (db.open(path, sqlite::Connection::Mode::ReadWrite)) {
        return false;
    }
    bool ok = true;
    for (const QByteArray& one : sql.split(';')) {
        sqlite::Statement statement = db.prepare(one.trimmed().constData());
        if (param.isValid()) {
            statement.bindVariant(1, param);
        }
        ok = ok && !statement.step() && !statement.error();
    }
    return ok;
}

// The first row of a section (and kind), in key order.
std::optional<Row> firstRow(sqlite::Connection& db, int section, int kind = -1) {
    sqlite::Statement select = db.prepare("SELECT * FROM tt WHERE fSec=? AND (?=-1 OR fSub=?) ORDER BY fPK");
    select.bind(1, static_cast<std::int64_t>(section)).bind(2, std::int64_t{kind}).bind(3, std::int64_t{kind});
    return select.step() ? std::optional<Row>(Row::FromStatement(select)) : std::nullopt;
}

// Whether every row of the data sections deciphers under the open file's pool.
bool allDecipher(Store& store) {
    sqlite::Statement select = store.connection().prepare("SELECT fPK, fEtx FROM tt WHERE fSec>2");
    int rows = 0;
    while (select.step()) {
        ++rows;
        if (store.cry.Cipher(static_cast<std::int32_t>(select.int64(0)), 2, select.bytes(1)).isEmpty()) {
            return false;
        }
    }
    return rows > 0;
}

QByteArray digestOf(const QString& passphrase) {
    return CRY::Hash256x80(codepage::ToBytes(passphrase));
}

QByteArray keystringOf(Store& store) {
    return CRY::Unseal(store.user.sealedKeystring, SecureText(store.PassDigest));
}

} // namespace

class TestKeysUsers : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;

private Q_SLOTS:
    void createdFileHoldsKeyMaterial() {
        const QString path = m_dir.filePath(QStringLiteral("new.nct"));
        const QString pass = QStringLiteral("a new passphrase 1");
        std::int64_t record = 0;
        CRY::SecureBytes pool;
        {
            TestSession run;
            QCOMPARE(CreateDatabase(run, path, pass), 0);
            Store& store = run.store();
            QCOMPARE(store.user.name, QStringLiteral("Admin"));
            QCOMPARE(store.user.level, 0);
            QVERIFY(run.prompter.passphraseRequests.value(0).confirmWanted);

            // The layers: keystring under the digest, pool under the keystring, the second copy under both.
            sqlite::Connection& db = store.connection();
            const Row poolRow = *firstRow(db, 1, 1);
            const Row copyRow = *firstRow(db, 1, 2);
            const Row userRow = *firstRow(db, 2);
            QCOMPARE(poolRow.integer(Col::AE) + copyRow.integer(Col::AE) + userRow.integer(Col::AE), 3);
            const QByteArray keystring = keystringOf(store);
            QCOMPARE(keystring.size(), keys::kKeystringBytes);
            const QByteArray poolText = SecureText(store.cry.KeyPool());
            QCOMPARE(CRY::Unseal(poolRow.bytes(Col::fEtx), keystring), poolText);
            QCOMPARE(poolRow.bytes(Col::fT1), CRY::Hash256x80(keystring));
            QCOMPARE(CRY::Unseal(CRY::Unseal(copyRow.bytes(Col::fEtx), CRY::Hash256x80(keystring)), keystring),
                     poolText);
            QCOMPARE(userRow.bytes(Col::fT3).left(24), users::Verifier(digestOf(pass)));

            record = AddRecord(store, "kept across the reopen");
            pool = store.cry.KeyPool();
            open_sequence::CloseDatabase(run.session);
        }
        TestSession run;
        QCOMPARE(OpenDatabase(run, path, pass), 0);
        QVERIFY(run.store().cry.KeyPool() == pool);
        QCOMPARE(ReadRecord(run.store(), record), QByteArray("kept across the reopen"));
    }

    void twoFilesShareNoKeyMaterial() {
        const QString pass = QStringLiteral("the same passphrase");
        TestSession a;
        TestSession b;
        QCOMPARE(CreateDatabase(a, m_dir.filePath(QStringLiteral("a.nct")), pass), 0);
        QCOMPARE(CreateDatabase(b, m_dir.filePath(QStringLiteral("b.nct")), pass), 0);
        QVERIFY(a.store().cry.KeyPool() != b.store().cry.KeyPool());
        QVERIFY(keystringOf(a.store()) != keystringOf(b.store()));
        // Neither keystring opens the other file's pool, and records of one file are noise to the other.
        QVERIFY(
            CRY::Unseal(firstRow(b.store().connection(), 1, 1)->bytes(Col::fEtx), keystringOf(a.store())).isEmpty());
        const std::int64_t inA = AddRecord(a.store(), "only for a");
        QCOMPARE(AddRecord(b.store(), "only for b"), inA);
        const QByteArray cipherA = ReadRow(a.store().connection(), inA)->bytes(Col::fEtx);
        QVERIFY(b.store().cry.Cipher(static_cast<std::int32_t>(inA), 2, cipherA).isEmpty());
    }

    void passphraseFindsItsUser() {
        const QString path = oracle(QStringLiteral("two-users.nct"));
        for (const auto& [passphrase, name, key] :
             {std::tuple{"first user pass 1", "Admin", 3}, {"second user pass 2", "Second", 12}}) {
            TestSession run;
            QCOMPARE(OpenDatabase(run, path, QString::fromLatin1(passphrase)), 0);
            QCOMPARE(run.store().user.name, QString::fromLatin1(name));
            QCOMPARE(run.store().user.fPK, key);
            QVERIFY(allDecipher(run.store()));
            QVERIFY(run.prompter.shown.isEmpty());
        }
        // One close to both finds neither.
        ScriptedPrompter prompter;
        Store store(prompter);
        QVERIFY(!store.database.Open(path));
        QString wrong = QStringLiteral("first user pass 2");
        keys::SetDigests(store, wrong);
        QCOMPARE(keys::LoadKeyPool(store), StoreError::WrongPassphrase);
        QVERIFY(!store.cry.hasKeyPool());
    }

    void verifierHealedOrAccepted_data() {
        QTest::addColumn<QByteArray>("stored");
        QTest::addColumn<bool>("healed");
        QTest::newRow("damaged") << QByteArray(29, '\x5a') << true;
        QTest::newRow("5 bytes of noise after it") << users::Verifier(digestOf(kHorse)) + QByteArray("noise") << false;
    }

    void verifierHealedOrAccepted() {
        QFETCH(QByteArray, stored);
        QFETCH(bool, healed);
        const QString path = oracle(QStringLiteral("basic.nct"));
        QVERIFY(tamper(path, "UPDATE tt SET fT3=?, AE=1 WHERE fSec=2", stored));
        TestSession run;
        QCOMPARE(OpenDatabase(run, path, kHorse), 0);
        const Row user = *firstRow(run.store().connection(), 2);
        QCOMPARE(user.bytes(Col::fT3).left(24), users::Verifier(digestOf(kHorse)));
        QCOMPARE(user.bytes(Col::fT3) == stored, !healed);
        QCOMPARE(user.integer(Col::AE), healed ? 1 | 2 : 1);
        // What is stored now is what the next check of the passphrase reads; a wrong one is told and costs a wait.
        run.prompter.passphrases << kHorse << QStringLiteral("correct horse 2");
        QVERIFY(keys::ConfirmPassphrase(run.store(), false));
        QVERIFY(run.prompter.shown.isEmpty() && run.prompter.waits.isEmpty());
        QVERIFY(!keys::ConfirmPassphrase(run.store(), false));
        QCOMPARE(run.prompter.numbers(), QList<int>{85});
        QCOMPARE(run.prompter.waits, QList<int>{1200});
    }

    void defaultPin() {
        // The PIN of a passphrase is a known answer of the self-test; without the digests at hand it comes from the
        // passphrase asked again.
        ScriptedPrompter prompter;
        Store store(prompter);
        prompter.passphrases.enqueue(QStringLiteral("abc"));
        QCOMPARE(users::LoadUserOptions(store, {}).PinCode, QStringLiteral("1392365"));
        QCOMPARE(prompter.passphraseRequests.size(), 1);
    }

    void preferencesRoundTrip() {
        const QString path = m_dir.filePath(QStringLiteral("prefs.nct"));
        const QString pass = QStringLiteral("preferences pass");
        TestSession run;
        QCOMPARE(CreateDatabase(run, path, pass), 0);
        Preferences& prefs = run.store().preferences;
        QCOMPARE(prefs.toBlob(), Preferences::Defaults().toBlob());
        prefs.IdleMinutes = 17;
        prefs.LastCategory = {1, 2, 3, 4, 5};
        prefs.ShowPrivateAtStart = true;
        const QByteArray saved = prefs.toBlob();
        QCOMPARE(users::SavePreferences(run.store()), 0);
        // Dropped without the closing save: only what SavePreferences wrote can come back.
        run.store().database.Close();
        QCOMPARE(OpenDatabase(run, path, pass), 0);
        QCOMPARE(run.store().preferences.toBlob(), saved);
        QVERIFY(run.session.ShowPrivate);
    }

    void unreadablePreferencesAreReplaced() {
        const QString path = oracle(QStringLiteral("basic.nct"));
        QVERIFY(tamper(path, "UPDATE tt SET fT1=(SELECT fT1 FROM tt WHERE fPK=10) WHERE fSec=2"));
        TestSession run;
        QCOMPARE(OpenDatabase(run, path, kHorse), 0);
        Store& store = run.store();
        const QByteArray defaults = Preferences::Defaults().toBlob();
        QCOMPARE(store.preferences.toBlob(), defaults);
        // Written at once, not at closing.
        const Row user = *ReadRow(store.connection(), store.user.fPK);
        QCOMPARE(store.cry.Cipher(store.user.fPK, 2, user.bytes(Col::fT1)).mid(4), defaults);
        QVERIFY(run.prompter.shown.isEmpty());
    }

    void listSettings() {
        const QString path = oracle(QStringLiteral("two-users.nct"));
        const QString admin = QStringLiteral("first user pass 1");
        const QByteArray mine = QByteArray(1, 9) + QByteArray("Phone\x11Room\x11\x11\x11\x11\x11\x11Last");
        TestSession run;
        QCOMPARE(OpenDatabase(run, path, admin), 0);
        QCOMPARE(users::LoadListSettings(run.store()), users::DefaultListSettings());
        QCOMPARE(users::SaveListSettings(run.store(), mine), 0);
        open_sequence::CloseDatabase(run.session);

        QCOMPARE(OpenDatabase(run, path, admin), 0);
        QCOMPARE(users::LoadListSettings(run.store()), mine);
        open_sequence::CloseDatabase(run.session);
        // They are the user's own: the other user still has the defaults.
        QCOMPARE(OpenDatabase(run, path, QStringLiteral("second user pass 2")), 0);
        QCOMPARE(users::LoadListSettings(run.store()), users::DefaultListSettings());
    }

    void poolRowIsHealed_data() {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("passphrase");
        QTest::addColumn<bool>("rowWasGone");
        QTest::newRow("damaged") << QStringLiteral("pool-damaged.nct") << QStringLiteral("Pässwörd€1 long") << false;
        QTest::newRow("gone") << QStringLiteral("pool-row-gone.nct") << kHorse << true;
    }

    void poolRowIsHealed() {
        QFETCH(QString, file);
        QFETCH(QString, passphrase);
        QFETCH(bool, rowWasGone);
        const QString path = oracle(file);
        QByteArray healed;
        {
            TestSession run;
            QCOMPARE(OpenDatabase(run, path, passphrase), 0);
            QVERIFY(run.prompter.shown.isEmpty());
            Store& store = run.store();
            const Row row = *firstRow(store.connection(), 1, 1);
            // A damaged row is rewritten in place and marked; a lost one comes back as a new row.
            QCOMPARE(row.integer(Col::AE), rowWasGone ? 1 : 1 | 2);
            QVERIFY(rowWasGone ? row.integer(Col::fPK) > 11 : row.integer(Col::fPK) == 1);
            QCOMPARE(CRY::Unseal(row.bytes(Col::fEtx), keystringOf(store)), SecureText(store.cry.KeyPool()));
            QVERIFY(allDecipher(store));
            healed = row.bytes(Col::fEtx);
            open_sequence::CloseDatabase(run.session);
        }
        // The next opening finds the row sound and leaves it as it is.
        TestSession run;
        QCOMPARE(OpenDatabase(run, path, passphrase), 0);
        QCOMPARE(firstRow(run.store().connection(), 1, 1)->bytes(Col::fEtx), healed);
    }

    void tamperedKeyMaterialIsFatal_data() {
        QTest::addColumn<QByteArray>("sql");
        QTest::addColumn<QString>("told");
        QTest::newRow("both pool rows gone")
            << QByteArray("DELETE FROM tt WHERE fSec=1 AND fSub IN (1, 2)") << MsgText(83) + QStringLiteral("105");
        QTest::newRow("pool row gone, copy unreadable")
            << QByteArray("DELETE FROM tt WHERE fSec=1 AND fSub=1; UPDATE tt SET fEtx=randomblob(336) WHERE fSec=1 AND "
                          "fSub=2")
            << MsgText(83) + QStringLiteral("106");
        // A user row is bound to its key: copied under another key, it is refused.
        QTest::newRow("user row moved") << QByteArray(
                                               "INSERT INTO tt (fSec, fSub, fEtx, fT1, fT3) SELECT 2, fSub, fEtx, "
                                               "fT1, fT3 FROM tt WHERE fSec=2; DELETE FROM tt WHERE fPK=3")
                                        << MsgText(96);
    }

    void tamperedKeyMaterialIsFatal() {
        QFETCH(QByteArray, sql);
        const QString path = oracle(QStringLiteral("basic.nct"));
        QVERIFY(tamper(path, sql));
        TestSession run;
        QCOMPARE(OpenDatabase(run, path, kHorse), StoreError::Fatal);
        QCOMPARE(run.prompter.shown.size(), 1);
        QTEST(run.prompter.shown[0].text, "told");
    }

    void rekey() {
        const QString path = m_dir.filePath(QStringLiteral("rekey.nct"));
        const QString oldPass = QStringLiteral("old passphrase 1");
        const QString newPass = QStringLiteral("new passphrase 2");
        std::int64_t record = 0;
        {
            TestSession run;
            QCOMPARE(CreateDatabase(run, path, oldPass), 0);
            Store& store = run.store();
            record = AddRecord(store, "survives the change");
            // The user row cannot be written: the change fails half way and the old passphrase stays.
            QVERIFY(!store.connection().exec("CREATE TEMP TRIGGER refuse_user BEFORE UPDATE ON tt WHEN OLD.fSec=2 "
                                             "BEGIN SELECT RAISE(ABORT, 'refused'); END"));
            run.prompter.passphrases.enqueue(oldPass);
            QVERIFY(!keys::ChangePassphrase(store, [&](Store& target) {
                QString typed = newPass;
                keys::SetDigests(target, typed);
                return 0;
            }));
            QCOMPARE(run.prompter.numbers(), QList<int>{124});
            QCOMPARE(SecureText(store.PassDigest), digestOf(oldPass));
            open_sequence::CloseDatabase(run.session);
        }
        {
            TestSession run;
            QCOMPARE(OpenDatabase(run, path, oldPass), 0);
            run.prompter.passphrases << oldPass << newPass;
            QVERIFY(open_sequence::ChangePassphraseCommand(run.session));
            QVERIFY(run.prompter.shown.isEmpty());
            open_sequence::CloseDatabase(run.session);
        }
        TestSession refused;
        QCOMPARE(OpenDatabase(refused, path, oldPass), StoreError::Fatal);
        QCOMPARE(refused.prompter.numbers(), QList<int>{85});
        TestSession run;
        QCOMPARE(OpenDatabase(run, path, newPass), 0);
        QCOMPARE(ReadRecord(run.store(), record), QByteArray("survives the change"));
    }

private:
    QString oracle(const QString& name) { return CopyOracle(m_dir, name); }
};

NCT_TEST_MAIN(TestKeysUsers)
#include "tst_keys_users.moc"
