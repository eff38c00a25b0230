#include <QtTest>

#include <memory>
#include <optional>

#include "shell/catalogue/messages.h"
#include "shell/open_sequence.h"
#include "shell/session.h"
#include "store/codepage.h"
#include "store/conversion.h"
#include "store/keys.h"
#include "store/row.h"
#include "store/sqlite.h"
#include "store/users.h"
#include "support/scripted_prompter.h"
#include "support/test_databases.h"

namespace {

// Runs a statement on a file that no session holds open, as someone tampering with it would.
bool tamper(const QString& path, const char* sql, const QList<QVariant>& params = {}) {
    sqlite::Connection db;
    if (db.open(path, sqlite::Connection::Mode::ReadWrite)) {
        return false;
    }
    sqlite::Statement statement = db.prepare(sql);
    for (int i = 0; i < params.size(); ++i) {
        statement.bindVariant(i + 1, params[i]);
    }
    while (statement.step()) {
    }
    return !statement.error();
}

std::optional<Row> firstRow(sqlite::Connection& db, int section, std::optional<int> kind = std::nullopt) {
    sqlite::Statement select = db.prepare("SELECT * FROM tt WHERE fSec=? AND (? IS NULL OR fSub=?) ORDER BY fPK");
    select.bind(1, static_cast<std::int64_t>(section));
    if (kind) {
        select.bind(2, static_cast<std::int64_t>(*kind)).bind(3, static_cast<std::int64_t>(*kind));
    } else {
        select.bindNull(2).bindNull(3);
    }
    if (select.step()) {
        return Row::FromStatement(select);
    }
    return std::nullopt;
}

int countRows(sqlite::Connection& db, int section, std::optional<int> kind = std::nullopt) {
    sqlite::Statement select = db.prepare("SELECT count(*) FROM tt WHERE fSec=? AND (? IS NULL OR fSub=?)");
    select.bind(1, static_cast<std::int64_t>(section));
    if (kind) {
        select.bind(2, static_cast<std::int64_t>(*kind)).bind(3, static_cast<std::int64_t>(*kind));
    } else {
        select.bindNull(2).bindNull(3);
    }
    return select.step() ? static_cast<int>(select.int64(0)) : -1;
}

// How many rows of the data sections (beyond the key and user rows) decipher under the open file's pool.
QPair<int, int> decipherable(Store& store) {
    sqlite::Statement select = store.connection().prepare("SELECT fPK, fEtx FROM tt WHERE fSec>2 ORDER BY fPK");
    int total = 0;
    int readable = 0;
    while (select.step()) {
        ++total;
        const QByteArray plain = store.cry.Cipher(static_cast<std::int32_t>(select.int64(0)), 2, select.bytes(1));
        readable += plain.isEmpty() ? 0 : 1;
    }
    return {readable, total};
}

QByteArray digestOf(const QString& passphrase) {
    return CRY::Hash256x80(codepage::ToBytes(passphrase));
}

QByteArray keystringOf(Store& store) {
    return CRY::Unseal(store.user.sealedKeystring, SecureText(store.PassDigest));
}

QByteArray garbage(int n) {
    QByteArray bytes(n, '\0');
    for (int i = 0; i < n; ++i) {
        bytes[i] = static_cast<char>((i * 91 + 17) & 0xFF);
    }
    return bytes;
}

} // namespace

class TestKeysUsers : public QObject {
    Q_OBJECT

    // Opening a file remembers it in the settings store; keep that out of the real one.
    QTemporaryDir m_settings;

private Q_SLOTS:
    void initTestCase();
    void createdFileHoldsKeyMaterial();
    void twoFilesShareNoKeyMaterial();
    void passphraseFindsItsUser_data();
    void passphraseFindsItsUser();
    void wrongPassphraseFindsNoUser();
    void verifierIsHealedByLogin();
    void verifierWithNoiseIsAccepted();
    void movedOrMissingUserRowIsFatal_data();
    void movedOrMissingUserRowIsFatal();
    void defaultPin_data();
    void defaultPin();
    void userOptions();
    void preferencesRoundTrip();
    void unreadablePreferencesAreReplaced_data();
    void unreadablePreferencesAreReplaced();
    void listSettings();
    void poolRowIsHealed_data();
    void poolRowIsHealed();
    void lostPoolIsFatal_data();
    void lostPoolIsFatal();
    void confirmPassphrase();
    void rekeyOpensWithNewPassphraseOnly();
    void wrongOldPassphraseChangesNothing();
    void failedRekeyKeepsOldPassphrase_data();
    void failedRekeyKeepsOldPassphrase();
};

void TestKeysUsers::initTestCase() {
    QVERIFY(m_settings.isValid());
    RedirectSettings(m_settings.path());
}

void TestKeysUsers::createdFileHoldsKeyMaterial() {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("new.nct"));
    const QString pass = QStringLiteral("a new passphrase 1");
    std::int64_t record = 0;
    CRY::SecureBytes pool;
    {
        TestSession run;
        QCOMPARE(CreateDatabase(run, path, pass), 0);
        Store& store = run.store();
        QVERIFY(run.session.DbIsOpen);
        QVERIFY(run.session.JustCreated);
        QCOMPARE(store.user.name, QStringLiteral("Admin"));
        QCOMPARE(store.user.level, 0);
        QCOMPARE(run.prompter.passphraseRequests.size(), 1);
        QVERIFY(run.prompter.passphraseRequests[0].confirmWanted);

        sqlite::Connection& db = store.connection();
        QCOMPARE(countRows(db, 1, 1), 1);
        QCOMPARE(countRows(db, 1, 2), 1);
        QCOMPARE(countRows(db, 2), 1);
        const Row poolRow = *firstRow(db, 1, 1);
        const Row copyRow = *firstRow(db, 1, 2);
        const Row userRow = *firstRow(db, 2);
        QCOMPARE(poolRow.integer(Col::AE), 1);
        QCOMPARE(copyRow.integer(Col::AE), 1);
        QCOMPARE(userRow.integer(Col::AE), 1);
        QCOMPARE(userRow.integer(Col::fSub), 0);
        QCOMPARE(userRow.integer(Col::fPK), store.user.fPK);

        // The layers: keystring under the digest, pool under the keystring, the second copy under both.
        const QByteArray keystring = keystringOf(store);
        QCOMPARE(keystring.size(), keys::kKeystringBytes);
        QCOMPARE(store.cry.PoolSize(), keys::kPoolBytes);
        const QByteArray poolText = SecureText(store.cry.KeyPool());
        QCOMPARE(CRY::Unseal(poolRow.bytes(Col::fEtx), keystring), poolText);
        QCOMPARE(poolRow.bytes(Col::fT1), CRY::Hash256x80(keystring));
        QCOMPARE(CRY::Unseal(CRY::Unseal(copyRow.bytes(Col::fEtx), CRY::Hash256x80(keystring)), keystring), poolText);
        QVERIFY(!poolRow.bytes(Col::fEtx).contains(poolText));
        const QByteArray userPlain = CRY::Unseal(userRow.bytes(Col::fEtx), digestOf(pass));
        QCOMPARE(userPlain.left(4), CONVERSION::NumToBytes(store.user.fPK, 4));
        QCOMPARE(userRow.bytes(Col::fT3).left(24), users::Verifier(digestOf(pass)));

        record = AddRecord(store, "kept across the reopen");
        pool = store.cry.KeyPool();
        open_sequence::CloseDatabase(run.session);
    }
    TestSession run;
    QCOMPARE(OpenDatabase(run, path, pass), 0);
    QCOMPARE(run.store().user.name, QStringLiteral("Admin"));
    QVERIFY(run.store().cry.KeyPool() == pool);
    QCOMPARE(ReadRecord(run.store(), record), QByteArray("kept across the reopen"));
    QVERIFY(run.prompter.shown.isEmpty());
}

void TestKeysUsers::twoFilesShareNoKeyMaterial() {
    QTemporaryDir dir;
    const QString pass = QStringLiteral("the same passphrase");
    TestSession a;
    TestSession b;
    QCOMPARE(CreateDatabase(a, dir.filePath(QStringLiteral("a.nct")), pass), 0);
    QCOMPARE(CreateDatabase(b, dir.filePath(QStringLiteral("b.nct")), pass), 0);
    QVERIFY(a.store().cry.KeyPool() != b.store().cry.KeyPool());
    const QByteArray keystringA = keystringOf(a.store());
    const QByteArray keystringB = keystringOf(b.store());
    QCOMPARE(keystringA.size(), keys::kKeystringBytes);
    QVERIFY(keystringA != keystringB);
    // Neither keystring opens the other file's pool, and records of one file are noise to the other.
    QVERIFY(CRY::Unseal(firstRow(b.store().connection(), 1, 1)->bytes(Col::fEtx), keystringA).isEmpty());
    const std::int64_t inA = AddRecord(a.store(), "only for a");
    const std::int64_t inB = AddRecord(b.store(), "only for b");
    QCOMPARE(inA, inB);
    const QByteArray cipherA = ReadRow(a.store().connection(), inA)->bytes(Col::fEtx);
    QVERIFY(b.store().cry.Cipher(static_cast<std::int32_t>(inA), 2, cipherA).isEmpty());
    QCOMPARE(a.store().cry.Cipher(static_cast<std::int32_t>(inA), 2, cipherA), QByteArray("only for a"));
}

void TestKeysUsers::passphraseFindsItsUser_data() {
    QTest::addColumn<QString>("passphrase");
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("key");
    QTest::addColumn<int>("level");
    QTest::newRow("first") << QStringLiteral("first user pass 1") << QStringLiteral("Admin") << 3 << 0;
    QTest::newRow("second") << QStringLiteral("second user pass 2") << QStringLiteral("Second") << 12 << 1;
}

void TestKeysUsers::passphraseFindsItsUser() {
    QFETCH(QString, passphrase);
    QFETCH(QString, name);
    QFETCH(int, key);
    QFETCH(int, level);
    QTemporaryDir dir;
    const QString path = CopyOracle(dir, QStringLiteral("two-users.nct"));
    TestSession run;
    QCOMPARE(OpenDatabase(run, path, passphrase), 0);
    const UserRecord& user = run.store().user;
    QCOMPARE(user.name, name);
    QCOMPARE(user.fPK, key);
    QCOMPARE(user.level, level);
    QCOMPARE(user.check, CRY::Hash1x47(digestOf(passphrase)));
    const QPair<int, int> rows = decipherable(run.store());
    QCOMPARE(rows.first, rows.second);
    QVERIFY(run.prompter.shown.isEmpty());
}

void TestKeysUsers::wrongPassphraseFindsNoUser() {
    QTemporaryDir dir;
    const QString path = CopyOracle(dir, QStringLiteral("two-users.nct"));
    ScriptedPrompter prompter;
    Store store(prompter);
    QVERIFY(!store.database.Open(path));
    QString wrong = QStringLiteral("first user pass 2");
    keys::SetDigests(store, wrong);
    QVERIFY(wrong != QStringLiteral("first user pass 2"));
    QCOMPARE(users::LoginUser(store, true, true), StoreError::WrongPassphrase);
    QCOMPARE(keys::LoadKeyPool(store), StoreError::WrongPassphrase);
    QVERIFY(!store.cry.hasKeyPool());
    QCOMPARE(store.user.fPK, 0);
    // Telling the person is the open sequence's part.
    QVERIFY(prompter.shown.isEmpty());

    store.database.Close();
    TestSession run;
    run.prompter.passphrases.enqueue(QStringLiteral("first user pass 2"));
    run.session.DbPath = path;
    QCOMPARE(open_sequence::OpenDatabaseSequence(run.session), StoreError::Fatal);
    QCOMPARE(run.prompter.numbers(), QList<int>{85});
    QCOMPARE(run.prompter.shown[0].text, MsgText(85));
    QVERIFY(!run.session.DbIsOpen);
}

void TestKeysUsers::verifierIsHealedByLogin() {
    QTemporaryDir dir;
    const QString path = CopyOracle(dir, QStringLiteral("basic.nct"));
    const QString pass = QStringLiteral("correct horse 1");
    QVERIFY(tamper(path, "UPDATE tt SET fT3=?, AE=1 WHERE fSec=2", {garbage(29)}));
    TestSession run;
    QCOMPARE(OpenDatabase(run, path, pass), 0);
    const Row user = *firstRow(run.store().connection(), 2);
    const QByteArray verifier = user.bytes(Col::fT3);
    QCOMPARE(verifier.left(24), users::Verifier(digestOf(pass)));
    QVERIFY(verifier.size() >= 24 && verifier.size() <= 29);
    QVERIFY(user.integer(Col::AE) & 2);
    // The healed verifier is what the next check of the passphrase reads.
    run.prompter.passphrases.enqueue(pass);
    QVERIFY(keys::ConfirmPassphrase(run.store(), false));
}

void TestKeysUsers::verifierWithNoiseIsAccepted() {
    QTemporaryDir dir;
    const QString path = CopyOracle(dir, QStringLiteral("basic.nct"));
    const QString pass = QStringLiteral("correct horse 1");
    const QByteArray stored = users::Verifier(digestOf(pass)) + garbage(5);
    QVERIFY(tamper(path, "UPDATE tt SET fT3=?, AE=1 WHERE fSec=2", {stored}));
    TestSession run;
    QCOMPARE(OpenDatabase(run, path, pass), 0);
    const Row user = *firstRow(run.store().connection(), 2);
    QCOMPARE(user.bytes(Col::fT3), stored);
    QCOMPARE(user.integer(Col::AE), 1);
    run.prompter.passphrases.enqueue(pass);
    QVERIFY(keys::ConfirmPassphrase(run.store(), false));
}

void TestKeysUsers::movedOrMissingUserRowIsFatal_data() {
    QTest::addColumn<QByteArray>("sql");
    QTest::newRow("moved") << QByteArray("INSERT INTO tt (fSec, fSub, fEtx, fT1, fT3) SELECT 2, fSub, fEtx, fT1, fT3 "
                                         "FROM tt WHERE fSec=2; DELETE FROM tt WHERE fPK=3");
    QTest::newRow("missing") << QByteArray("DELETE FROM tt WHERE fSec=2");
}

void TestKeysUsers::movedOrMissingUserRowIsFatal() {
    QFETCH(QByteArray, sql);
    QTemporaryDir dir;
    const QString path = CopyOracle(dir, QStringLiteral("basic.nct"));
    {
        sqlite::Connection db;
        QVERIFY(!db.open(path, sqlite::Connection::Mode::ReadWrite));
        for (const QByteArray& statement : sql.split(';')) {
            QVERIFY(!db.exec(statement.trimmed().constData()));
        }
    }
    TestSession run;
    QCOMPARE(OpenDatabase(run, path, QStringLiteral("correct horse 1")), StoreError::Fatal);
    QCOMPARE(run.prompter.numbers(), QList<int>{96});
    QCOMPARE(run.prompter.shown[0].text, MsgText(96));
    QVERIFY(!run.session.DbIsOpen);
    QVERIFY(!run.store().cry.hasKeyPool());
}

void TestKeysUsers::defaultPin_data() {
    QTest::addColumn<QString>("passphrase");
    QTest::addColumn<QString>("pin");
    QTest::newRow("abc") << QStringLiteral("abc") << QStringLiteral("1392365");
    QTest::newRow("correct horse") << QStringLiteral("correct horse 1") << QStringLiteral("1875946");
    QTest::newRow("code page") << QStringLiteral("Pässwörd€1") << QStringLiteral("100030787");
}

void TestKeysUsers::defaultPin() {
    QFETCH(QString, passphrase);
    QFETCH(QString, pin);
    const QByteArray check = CRY::Hash1x47(codepage::ToBytes(passphrase));
    QCOMPARE(users::DefaultPin(check), pin);

    // With the digests at hand the PIN comes from them; once they are gone, from the passphrase asked again.
    ScriptedPrompter prompter;
    Store store(prompter);
    QString typed = passphrase;
    keys::SetDigests(store, typed);
    QCOMPARE(users::LoadUserOptions(store, {}).PinCode, pin);
    QVERIFY(prompter.passphraseRequests.isEmpty());
    CRY::WipeBytes(store.PassCheck);
    prompter.passphrases.enqueue(passphrase);
    const UserOptions asked = users::LoadUserOptions(store, {});
    QCOMPARE(asked.PinCode, pin);
    QCOMPARE(asked.PinMask, 0);
    QVERIFY(!asked.PinEveryAccess);
    QCOMPARE(prompter.passphraseRequests.size(), 1);
}

void TestKeysUsers::userOptions() {
    ScriptedPrompter prompter;
    Store store(prompter);
    const UserOptions stored{0, QStringLiteral("4711"), 0b101, true};
    const UserOptions read = users::LoadUserOptions(store, users::UserOptionsBlob(stored));
    QCOMPARE(read.PinCode, stored.PinCode);
    QCOMPARE(read.PinMask, stored.PinMask);
    QCOMPARE(read.PinEveryAccess, stored.PinEveryAccess);
    QVERIFY(prompter.passphraseRequests.isEmpty());

    // A blob without its PIN is incomplete: defaults, and a cancelled question leaves the PIN empty.
    UserOptions noPin = stored;
    noPin.PinCode.clear();
    const UserOptions fallback = users::LoadUserOptions(store, users::UserOptionsBlob(noPin));
    QCOMPARE(fallback.PinMask, 0);
    QVERIFY(fallback.PinCode.isEmpty());
    QCOMPARE(prompter.passphraseRequests.size(), 1);

    // A new file's user carries the PIN of its passphrase, and keeps it without the digests.
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("pin.nct"));
    const QString pass = QStringLiteral("pin passphrase 7");
    const QString pin = users::DefaultPin(CRY::Hash1x47(codepage::ToBytes(pass)));
    {
        TestSession run;
        QCOMPARE(CreateDatabase(run, path, pass), 0);
        QCOMPARE(run.store().user.options.PinCode, pin);
        run.store().user.options.PinMask = 0b11;
        QCOMPARE(users::SaveUser(run.store(), true), 0);
        open_sequence::CloseDatabase(run.session);
    }
    TestSession run;
    QCOMPARE(OpenDatabase(run, path, pass), 0);
    QCOMPARE(run.store().user.options.PinCode, pin);
    QCOMPARE(run.store().user.options.PinMask, 0b11);
    QCOMPARE(run.prompter.passphraseRequests.size(), 1);
}

void TestKeysUsers::preferencesRoundTrip() {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("prefs.nct"));
    const QString pass = QStringLiteral("preferences pass");
    TestSession run;
    QCOMPARE(CreateDatabase(run, path, pass), 0);
    Preferences& prefs = run.store().preferences;
    QCOMPARE(prefs.toBlob(), Preferences::Defaults().toBlob());
    prefs.IdleMinutes = 17;
    prefs.StartSection = 14;
    prefs.WorkdayStart = 9 * 60 + 15;
    prefs.LastCategory = {1, 2, 3, 4, 5};
    prefs.ShowPrivateAtStart = true;
    prefs.Birthday2Calendar = false;
    const QByteArray saved = prefs.toBlob();
    QCOMPARE(users::SavePreferences(run.store()), 0);
    // Dropped without the closing save: only what SavePreferences wrote can come back.
    run.store().database.Close();
    QCOMPARE(OpenDatabase(run, path, pass), 0);
    QCOMPARE(run.store().preferences.toBlob(), saved);
    QVERIFY(run.session.ShowPrivate);
    QVERIFY(!run.store().hidePrivate);

    // Closing saves what is current.
    run.store().preferences.IdleMinutes = 42;
    run.store().preferences.ShowPrivateAtStart = false;
    const QByteArray atClose = run.store().preferences.toBlob();
    open_sequence::CloseDatabase(run.session);
    QCOMPARE(OpenDatabase(run, path, pass), 0);
    QCOMPARE(run.store().preferences.toBlob(), atClose);
    QVERIFY(!run.session.ShowPrivate);
    QVERIFY(run.store().hidePrivate);
}

void TestKeysUsers::unreadablePreferencesAreReplaced_data() {
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("passphrase");
    QTest::addColumn<QByteArray>("sql");
    const QString basic = QStringLiteral("basic.nct");
    const QString horse = QStringLiteral("correct horse 1");
    QTest::newRow("garbage") << basic << horse << QByteArray("UPDATE tt SET fT1=randomblob(40) WHERE fSec=2");
    QTest::newRow("another row's") << basic << horse
                                   << QByteArray("UPDATE tt SET fT1=(SELECT fT1 FROM tt WHERE fPK=10) WHERE fSec=2");
    QTest::newRow("never written") << QStringLiteral("two-users.nct") << QStringLiteral("second user pass 2")
                                   << QByteArray();
}

void TestKeysUsers::unreadablePreferencesAreReplaced() {
    QFETCH(QString, file);
    QFETCH(QString, passphrase);
    QFETCH(QByteArray, sql);
    QTemporaryDir dir;
    const QString path = CopyOracle(dir, file);
    if (!sql.isEmpty()) {
        QVERIFY(tamper(path, sql.constData()));
    }
    TestSession run;
    QCOMPARE(OpenDatabase(run, path, passphrase), 0);
    Store& store = run.store();
    const QByteArray defaults = Preferences::Defaults().toBlob();
    QCOMPARE(store.preferences.toBlob(), defaults);
    // Written at once, not at closing.
    const Row user = *ReadRow(store.connection(), store.user.fPK);
    QVERIFY(!user.isNull(Col::fT1));
    const QByteArray plain = store.cry.Cipher(store.user.fPK, 2, user.bytes(Col::fT1));
    QCOMPARE(plain.left(4), CONVERSION::NumToBytes(store.user.fPK, 4));
    QCOMPARE(plain.mid(4), defaults);
    QVERIFY(run.prompter.shown.isEmpty());
}

void TestKeysUsers::listSettings() {
    QTemporaryDir dir;
    const QString path = CopyOracle(dir, QStringLiteral("two-users.nct"));
    const QString admin = QStringLiteral("first user pass 1");
    const QByteArray defaults = QByteArray(1, 9) + QByteArray(8, 17);
    const QByteArray mine = QByteArray(1, 9) + QByteArray("Phone\x11Room\x11\x11\x11\x11\x11\x11Last");
    TestSession run;
    QCOMPARE(OpenDatabase(run, path, admin), 0);
    QCOMPARE(users::DefaultListSettings(), defaults);
    QCOMPARE(users::LoadListSettings(run.store()), defaults);
    QCOMPARE(users::SaveListSettings(run.store(), defaults), 0);
    QCOMPARE(users::SaveListSettings(run.store(), mine), 0);
    QCOMPARE(countRows(run.store().connection(), 9, 11), 1);
    open_sequence::CloseDatabase(run.session);

    QCOMPARE(OpenDatabase(run, path, admin), 0);
    QCOMPARE(users::LoadListSettings(run.store()), mine);
    open_sequence::CloseDatabase(run.session);

    // They are the user's own: the other user still has the defaults.
    QCOMPARE(OpenDatabase(run, path, QStringLiteral("second user pass 2")), 0);
    QCOMPARE(users::LoadListSettings(run.store()), defaults);
}

void TestKeysUsers::poolRowIsHealed_data() {
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("passphrase");
    QTest::addColumn<bool>("rowWasGone");
    QTest::newRow("damaged") << QStringLiteral("pool-damaged.nct") << QStringLiteral("Pässwörd€1 long") << false;
    QTest::newRow("gone") << QStringLiteral("pool-row-gone.nct") << QStringLiteral("correct horse 1") << true;
}

void TestKeysUsers::poolRowIsHealed() {
    QFETCH(QString, file);
    QFETCH(QString, passphrase);
    QFETCH(bool, rowWasGone);
    QTemporaryDir dir;
    const QString path = CopyOracle(dir, file);
    QByteArray healed;
    CRY::SecureBytes pool;
    {
        TestSession run;
        QCOMPARE(OpenDatabase(run, path, passphrase), 0);
        QVERIFY(run.prompter.shown.isEmpty());
        Store& store = run.store();
        QCOMPARE(countRows(store.connection(), 1, 1), 1);
        const Row row = *firstRow(store.connection(), 1, 1);
        if (rowWasGone) {
            QCOMPARE(row.integer(Col::AE), 1);
            QVERIFY(row.integer(Col::fPK) > 11);
        } else {
            QVERIFY(row.integer(Col::AE) & 2);
            QCOMPARE(row.integer(Col::fPK), 1);
        }
        QCOMPARE(CRY::Unseal(row.bytes(Col::fEtx), keystringOf(store)), SecureText(store.cry.KeyPool()));
        const QPair<int, int> rows = decipherable(store);
        QVERIFY(rows.second >= 7);
        QCOMPARE(rows.first, rows.second);
        healed = row.bytes(Col::fEtx);
        pool = store.cry.KeyPool();
        open_sequence::CloseDatabase(run.session);
    }
    // The second opening finds the row sound and leaves it as it is.
    TestSession run;
    QCOMPARE(OpenDatabase(run, path, passphrase), 0);
    QVERIFY(run.prompter.shown.isEmpty());
    QCOMPARE(countRows(run.store().connection(), 1, 1), 1);
    QCOMPARE(firstRow(run.store().connection(), 1, 1)->bytes(Col::fEtx), healed);
    QVERIFY(run.store().cry.KeyPool() == pool);
}

void TestKeysUsers::lostPoolIsFatal_data() {
    QTest::addColumn<QByteArray>("sql");
    QTest::addColumn<QString>("code");
    QTest::newRow("both rows gone") << QByteArray("DELETE FROM tt WHERE fSec=1 AND fSub IN (1, 2)")
                                    << QStringLiteral("105");
    QTest::newRow("row gone, copy damaged")
        << QByteArray("DELETE FROM tt WHERE fSec=1 AND fSub=1; UPDATE tt SET fEtx=randomblob(336) WHERE fSec=1 AND "
                      "fSub=2")
        << QStringLiteral("106");
    QTest::newRow("both damaged") << QByteArray("UPDATE tt SET fEtx=randomblob(length(fEtx)) WHERE fSec=1 AND fSub<3")
                                  << QStringLiteral("106");
}

void TestKeysUsers::lostPoolIsFatal() {
    QFETCH(QByteArray, sql);
    QFETCH(QString, code);
    QTemporaryDir dir;
    const QString path = CopyOracle(dir, QStringLiteral("basic.nct"));
    for (const QByteArray& statement : sql.split(';')) {
        QVERIFY(tamper(path, statement.trimmed().constData()));
    }
    TestSession run;
    QCOMPARE(OpenDatabase(run, path, QStringLiteral("correct horse 1")), StoreError::Fatal);
    QCOMPARE(run.prompter.numbers(), QList<int>{83});
    QCOMPARE(run.prompter.shown[0].text, MsgText(83) + code);
    QVERIFY(!run.session.DbIsOpen);
    QVERIFY(!run.store().cry.hasKeyPool());
}

void TestKeysUsers::confirmPassphrase() {
    QTemporaryDir dir;
    const QString path = CopyOracle(dir, QStringLiteral("basic.nct"));
    const QString right = QStringLiteral("correct horse 1");
    TestSession run;
    QCOMPARE(OpenDatabase(run, path, right), 0);
    Store& store = run.store();
    ScriptedPrompter& prompter = run.prompter;

    prompter.passphrases.enqueue(right);
    QVERIFY(keys::ConfirmPassphrase(store, false));
    QVERIFY(prompter.shown.isEmpty());
    QVERIFY(prompter.waits.isEmpty());

    prompter.passphrases.enqueue(QStringLiteral("correct horse 2"));
    QVERIFY(!keys::ConfirmPassphrase(store, false));
    QCOMPARE(prompter.numbers(), QList<int>{85});
    QCOMPARE(prompter.waits, QList<int>{1200});

    // A cancel and an empty entry are no attempt: no message, no wait.
    prompter.passphrases.enqueue(QString());
    QVERIFY(!keys::ConfirmPassphrase(store, false));
    prompter.passphrases.enqueue(QStringLiteral(""));
    QVERIFY(!keys::ConfirmPassphrase(store, true));
    QCOMPARE(prompter.shown.size(), 1);
    QCOMPARE(prompter.waits.size(), 1);

    // The digest is replaced only by a right passphrase, and only when asked to.
    const CRY::SecureBytes marker = SecureCopy(garbage(32));
    store.PassDigest = marker;
    prompter.passphrases.enqueue(right);
    QVERIFY(keys::ConfirmPassphrase(store, false));
    QVERIFY(store.PassDigest == marker);
    prompter.passphrases.enqueue(QStringLiteral("wrong passphrase"));
    QVERIFY(!keys::ConfirmPassphrase(store, true));
    QVERIFY(store.PassDigest == marker);
    prompter.passphrases.enqueue(right);
    QVERIFY(keys::ConfirmPassphrase(store, true));
    QCOMPARE(SecureText(store.PassDigest), digestOf(right));
}

void TestKeysUsers::rekeyOpensWithNewPassphraseOnly() {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("rekey.nct"));
    const QString oldPass = QStringLiteral("old passphrase 1");
    const QString newPass = QStringLiteral("new passphrase 2");
    std::int64_t record = 0;
    CRY::SecureBytes pool;
    {
        TestSession run;
        QCOMPARE(CreateDatabase(run, path, oldPass), 0);
        record = AddRecord(run.store(), "survives the change");
        pool = run.store().cry.KeyPool();
        run.prompter.passphrases << oldPass << newPass;
        QVERIFY(open_sequence::ChangePassphraseCommand(run.session));
        QVERIFY(run.prompter.shown.isEmpty());
        QCOMPARE(run.prompter.passphraseRequests.size(), 3);
        QVERIFY(run.prompter.passphraseRequests[2].confirmWanted);
        QCOMPARE(run.prompter.passphraseRequests[2].prompt, MsgText(99));
        QCOMPARE(SecureText(run.store().PassDigest), digestOf(newPass));
        // The running session checks against the new verifier at once.
        run.prompter.passphrases.enqueue(newPass);
        QVERIFY(keys::ConfirmPassphrase(run.store(), false));
        open_sequence::CloseDatabase(run.session);
    }
    {
        TestSession run;
        QCOMPARE(OpenDatabase(run, path, oldPass), StoreError::Fatal);
        QCOMPARE(run.prompter.numbers(), QList<int>{85});
        QVERIFY(!run.session.DbIsOpen);
    }
    TestSession run;
    QCOMPARE(OpenDatabase(run, path, newPass), 0);
    QVERIFY(run.prompter.shown.isEmpty());
    QCOMPARE(run.store().user.name, QStringLiteral("Admin"));
    QVERIFY(run.store().cry.KeyPool() == pool);
    QCOMPARE(ReadRecord(run.store(), record), QByteArray("survives the change"));
    QCOMPARE(countRows(run.store().connection(), 2), 1);
}

void TestKeysUsers::wrongOldPassphraseChangesNothing() {
    QTemporaryDir dir;
    const QString path = CopyOracle(dir, QStringLiteral("basic.nct"));
    const QString pass = QStringLiteral("correct horse 1");
    const QByteArray before = [&] {
        TestSession run;
        return OpenDatabase(run, path, pass) == 0 ? firstRow(run.store().connection(), 2)->bytes(Col::fEtx)
                                                  : QByteArray();
    }();
    QVERIFY(!before.isEmpty());
    TestSession run;
    QCOMPARE(OpenDatabase(run, path, pass), 0);
    run.prompter.passphrases << QStringLiteral("correct horse 2") << QStringLiteral("never asked for");
    QVERIFY(!open_sequence::ChangePassphraseCommand(run.session));
    QCOMPARE(run.prompter.numbers(), QList<int>{85});
    QCOMPARE(run.prompter.passphrases.size(), 1);
    QCOMPARE(firstRow(run.store().connection(), 2)->bytes(Col::fEtx), before);
    open_sequence::CloseDatabase(run.session);
    run.prompter.passphrases.clear();
    QCOMPARE(OpenDatabase(run, path, pass), 0);
}

void TestKeysUsers::failedRekeyKeepsOldPassphrase_data() {
    QTest::addColumn<bool>("saveFails");
    QTest::newRow("new passphrase cancelled") << false;
    QTest::newRow("user row not written") << true;
}

void TestKeysUsers::failedRekeyKeepsOldPassphrase() {
    QFETCH(bool, saveFails);
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("kept.nct"));
    const QString oldPass = QStringLiteral("old passphrase 1");
    const QString newPass = QStringLiteral("new passphrase 2");
    std::int64_t record = 0;
    {
        TestSession run;
        QCOMPARE(CreateDatabase(run, path, oldPass), 0);
        Store& store = run.store();
        record = AddRecord(store, "still here");
        const UserRecord before = store.user;
        bool changed = true;
        run.prompter.passphrases.enqueue(oldPass);
        if (saveFails) {
            QVERIFY(!store.connection().exec("CREATE TEMP TRIGGER refuse_user BEFORE UPDATE ON tt WHEN OLD.fSec=2 "
                                             "BEGIN SELECT RAISE(ABORT, 'refused'); END"));
            changed = keys::ChangePassphrase(store, [&](Store& target) {
                QString typed = newPass;
                keys::SetDigests(target, typed);
                return 0;
            });
            QVERIFY(!store.connection().exec("DROP TRIGGER temp.refuse_user"));
        } else {
            run.prompter.passphrases.enqueue(QString());
            changed = open_sequence::ChangePassphraseCommand(run.session);
        }
        QVERIFY(!changed);
        QCOMPARE(run.prompter.numbers(), QList<int>{124});
        QCOMPARE(run.prompter.shown[0].text, MsgText(124));
        // The session goes on under the old passphrase.
        QCOMPARE(SecureText(store.PassDigest), digestOf(oldPass));
        QCOMPARE(store.user.sealedKeystring, before.sealedKeystring);
        QCOMPARE(store.user.check, before.check);
        QCOMPARE(ReadRecord(store, record), QByteArray("still here"));
        open_sequence::CloseDatabase(run.session);
    }
    {
        TestSession run;
        QCOMPARE(OpenDatabase(run, path, newPass), StoreError::Fatal);
    }
    TestSession run;
    QCOMPARE(OpenDatabase(run, path, oldPass), 0);
    QCOMPARE(ReadRecord(run.store(), record), QByteArray("still here"));
    run.prompter.passphrases.enqueue(oldPass);
    QVERIFY(keys::ConfirmPassphrase(run.store(), false));
}

QTEST_GUILESS_MAIN(TestKeysUsers)
#include "tst_keys_users.moc"
