#include <QtTest>

#include <memory>
#include <optional>

#include "shell/catalogue/messages.h"
#include "shell/open_sequence.h"
#include "shell/session.h"
#include "shell/settings.h"
#include "store/codepage.h"
#include "store/keys.h"
#include "store/row.h"
#include "store/sqlite.h"
#include "support/scripted_prompter.h"
#include "support/test_databases.h"

namespace {

const QString kBasicPass = QStringLiteral("correct horse 1");
const QString kSecondPass = QStringLiteral("second user pass 2");

QByteArray fileBytes(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Starts an open of `path` as choosing a file does: the attempt counter from zero.
int open(TestSession& run, const QString& path, const QStringList& passphrases,
         const QList<Prompter::Reply>& replies = {}) {
    run.session.DbPath = path;
    run.session.OpenAttempts = 0;
    for (const QString& p : passphrases) {
        run.prompter.passphrases.enqueue(p);
    }
    for (const Prompter::Reply r : replies) {
        run.prompter.replies.enqueue(r);
    }
    return open_sequence::OpenDatabaseSequence(run.session);
}

// The oracle's memo rows (keys 10 and 11), read with the open pool.
bool oracleMemosReadable(Store& store) {
    return !ReadRecord(store, 10).isEmpty() && !ReadRecord(store, 11).isEmpty();
}

QList<Prompter::Buttons> buttonsShown(const ScriptedPrompter& prompter) {
    QList<Prompter::Buttons> result;
    for (const ScriptedPrompter::Shown& s : prompter.shown) {
        result.append(s.buttons);
    }
    return result;
}

const QList<int> kTwoWaits{open_sequence::kPenaltyMs, open_sequence::kPenaltyMs};

} // namespace

class TestOpenSequence : public QObject {
    Q_OBJECT

    QTemporaryDir m_settings;

private Q_SLOTS:
    void initTestCase();
    void threeWrongPassphrasesWithNoFileOpenAreFatal();
    void failuresWithAFileOpenOnlyEndTheCommand_data();
    void failuresWithAFileOpenOnlyEndTheCommand();
    void cancelAtTheDialog();
    void tooShortSharesTheAttempts();
    void retryAfterWrongPassphrase();
    void successfulOpen();
    void closeWipesKeyMaterial();
    void newDatabaseReplacesOnlyAfterPassphrase();
    void newDatabaseAsksForAName();
    void repairCompactKeepsTheFileOpen();
    void repairCompactRefusesMissingFile_data();
    void repairCompactRefusesMissingFile();
};

void TestOpenSequence::initTestCase() {
    QVERIFY(m_settings.isValid());
    RedirectSettings(m_settings.path());
}

void TestOpenSequence::threeWrongPassphrasesWithNoFileOpenAreFatal() {
    QTemporaryDir dir;
    const QString path = CopyOracle(dir, QStringLiteral("basic.nct"));
    TestSession run;
    const int result = open(run, path,
                            {QStringLiteral("wrong passphrase 1"), QStringLiteral("wrong passphrase 2"),
                             QStringLiteral("wrong passphrase 3"), kBasicPass},
                            {Prompter::Reply::Retry, Prompter::Reply::Retry});
    QCOMPARE(result, StoreError::Fatal);
    QCOMPARE(run.prompter.passphraseRequests.size(), 3);
    QCOMPARE(run.prompter.passphrases.size(), 1);
    QCOMPARE(run.prompter.waits, kTwoWaits);
    QCOMPARE(run.prompter.numbers(), (QList<int>{85, 85, 85}));
    // The last failure is told with a plain Ok before the program ends.
    QCOMPARE(buttonsShown(run.prompter),
             (QList<Prompter::Buttons>{Prompter::Buttons::RetryCancel, Prompter::Buttons::RetryCancel,
                                       Prompter::Buttons::Ok}));
    QVERIFY(!run.session.DbIsOpen);
    QVERIFY(!run.store().cry.hasKeyPool());
    QVERIFY(!run.store().database.isOpen());
}

void TestOpenSequence::failuresWithAFileOpenOnlyEndTheCommand_data() {
    QTest::addColumn<QList<Prompter::Reply>>("replies");
    QTest::addColumn<int>("dialogs");
    QTest::newRow("three attempts") << QList<Prompter::Reply>{Prompter::Reply::Retry, Prompter::Reply::Retry} << 3;
    QTest::newRow("cancelled at the message") << QList<Prompter::Reply>{} << 1;
}

void TestOpenSequence::failuresWithAFileOpenOnlyEndTheCommand() {
    QFETCH(QList<Prompter::Reply>, replies);
    QFETCH(int, dialogs);
    QTemporaryDir dir;
    const QString first = CopyOracle(dir, QStringLiteral("basic.nct"));
    const QString other = CopyOracle(dir, QStringLiteral("two-users.nct"));
    TestSession run;
    QCOMPARE(open(run, first, {kBasicPass}), 0);
    const std::int64_t record = AddRecord(run.store(), "in the first file");
    run.prompter.shown.clear();
    run.prompter.passphraseRequests.clear();

    const QStringList wrong{QStringLiteral("wrong passphrase 1"), QStringLiteral("wrong passphrase 2"),
                            QStringLiteral("wrong passphrase 3")};
    QCOMPARE(open(run, other, wrong, replies), StoreError::WrongPassphrase);
    QCOMPARE(run.prompter.passphraseRequests.size(), dialogs);
    QCOMPARE(run.prompter.waits.size(), dialogs - 1);
    QCOMPARE(run.prompter.shown.size(), dialogs);
    QVERIFY(run.prompter.numbers().count(85) == dialogs);

    // The first file is still the open one, with its pool.
    QVERIFY(run.session.DbIsOpen);
    QCOMPARE(QFileInfo(run.store().database.DbPath()), QFileInfo(first));
    QCOMPARE(run.store().user.name, QStringLiteral("Admin"));
    QCOMPARE(ReadRecord(run.store(), record), QByteArray("in the first file"));
    QVERIFY(oracleMemosReadable(run.store()));
    // The failed attempt holds no lock on the other file.
    run.prompter.passphrases.clear();
    QCOMPARE(open(run, other, {kSecondPass}), 0);
    QCOMPARE(QFileInfo(run.store().database.DbPath()), QFileInfo(other));
    QCOMPARE(run.store().user.name, QStringLiteral("Second"));
    open_sequence::CloseDatabase(run.session);
    QCOMPARE(open(run, first, {kBasicPass}), 0);
    QCOMPARE(ReadRecord(run.store(), record), QByteArray("in the first file"));
}

void TestOpenSequence::cancelAtTheDialog() {
    QTemporaryDir dir;
    const QString path = CopyOracle(dir, QStringLiteral("basic.nct"));
    TestSession run;
    QCOMPARE(open(run, path, {QString()}), StoreError::Cancelled);
    QVERIFY(!run.session.DbIsOpen);
    QVERIFY(run.prompter.shown.isEmpty());
    QVERIFY(run.prompter.waits.isEmpty());
    QVERIFY(!run.prompter.statuses.contains(QStringLiteral("Checking Database...")));

    // With a file open, a cancelled open of another file leaves the first one open.
    QCOMPARE(open(run, path, {kBasicPass}), 0);
    QCOMPARE(open(run, CopyOracle(dir, QStringLiteral("two-users.nct")), {QString()}), StoreError::Cancelled);
    QVERIFY(run.prompter.shown.isEmpty());
    QVERIFY(run.session.DbIsOpen);
    QCOMPARE(QFileInfo(run.store().database.DbPath()), QFileInfo(path));
    QVERIFY(oracleMemosReadable(run.store()));
}

void TestOpenSequence::tooShortSharesTheAttempts() {
    QTemporaryDir dir;
    const QString path = CopyOracle(dir, QStringLiteral("basic.nct"));
    {
        // One short entry and two wrong ones use up the three attempts; the right one is never asked.
        TestSession run;
        const int result = open(run, path,
                                {QStringLiteral("short"), QStringLiteral("wrong passphrase 1"),
                                 QStringLiteral("wrong passphrase 2"), kBasicPass},
                                {Prompter::Reply::Retry, Prompter::Reply::Retry});
        QCOMPARE(result, StoreError::Fatal);
        QCOMPARE(run.prompter.passphraseRequests.size(), 3);
        QCOMPARE(run.prompter.numbers(), (QList<int>{40, 85, 85}));
        QCOMPARE(run.prompter.shown[0].text, MsgText(40));
        QCOMPARE(run.prompter.shown[0].buttons, Prompter::Buttons::RetryCancel);
        QCOMPARE(run.prompter.waits, kTwoWaits);
        QVERIFY(!run.session.DbIsOpen);
    }
    {
        TestSession run;
        QCOMPARE(open(run, path, {QStringLiteral("7 chars"), kBasicPass}, {Prompter::Reply::Retry}), 0);
        QCOMPARE(run.prompter.numbers(), QList<int>{40});
        QCOMPARE(run.prompter.waits, QList<int>{open_sequence::kPenaltyMs});
        QCOMPARE(run.session.OpenAttempts, 2);
        QVERIFY(run.session.DbIsOpen);

        // With a file open, giving up at the message only ends the command.
        QCOMPARE(open(run, CopyOracle(dir, QStringLiteral("two-users.nct")), {QStringLiteral("short")}),
                 StoreError::TooShort);
        QCOMPARE(run.prompter.numbers(), (QList<int>{40, 40}));
        QVERIFY(run.session.DbIsOpen);
        QVERIFY(oracleMemosReadable(run.store()));
    }
}

void TestOpenSequence::retryAfterWrongPassphrase() {
    QTemporaryDir dir;
    const QString path = CopyOracle(dir, QStringLiteral("basic.nct"));
    TestSession run;
    QCOMPARE(open(run, path, {QStringLiteral("correct horse 2"), kBasicPass}, {Prompter::Reply::Retry}), 0);
    QCOMPARE(run.prompter.numbers(), QList<int>{85});
    QCOMPARE(run.prompter.shown[0].text, MsgText(85));
    QCOMPARE(run.prompter.shown[0].buttons, Prompter::Buttons::RetryCancel);
    QCOMPARE(run.prompter.waits, QList<int>{open_sequence::kPenaltyMs});
    QCOMPARE(run.session.OpenAttempts, 2);
    QVERIFY(run.session.DbIsOpen);
    QVERIFY(oracleMemosReadable(run.store()));
}

void TestOpenSequence::successfulOpen() {
    QTemporaryDir dir;
    const QString path = CopyOracle(dir, QStringLiteral("two-users.nct"));
    TestSession run;
    QCOMPARE(open(run, path, {kSecondPass}), 0);
    QVERIFY(run.session.DbIsOpen);
    QVERIFY(run.prompter.shown.isEmpty());
    QVERIFY(run.prompter.waits.isEmpty());

    const Prompter::PassphraseRequest& request = run.prompter.passphraseRequests.value(0);
    QVERIFY(!request.confirmWanted);
    QCOMPARE(request.prompt, MsgText(159));
    QCOMPARE(request.fileName, QStringLiteral("TWO-USERS.NCT"));
    QCOMPARE(request.folder, QFileInfo(path).absolutePath());

    const QStringList& statuses = run.prompter.statuses;
    const qsizetype checking = statuses.indexOf(QStringLiteral("Checking Database..."));
    const qsizetype opening = statuses.indexOf(QStringLiteral("Database Check OK. Opening..."));
    QVERIFY(checking >= 0);
    QVERIFY(opening > checking);
    QCOMPARE(statuses.last(), QString());

    // The file and the user are remembered for the next start, in the test's own settings store.
    QCOMPARE(RegReadValue(QStringLiteral("MostRecentFiles\\1")), QDir::toNativeSeparators(path));
    QCOMPARE(RegReadValue(QStringLiteral("User\\LastUser")), QStringLiteral("Second"));
    QVERIFY(QDir(m_settings.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size() > 0);

    // The passphrase check is gone once the sequence ends; the digest stays while the file is open.
    QVERIFY(run.store().PassCheck.empty());
    QCOMPARE(SecureText(run.store().PassDigest), CRY::Hash256x80(codepage::ToBytes(kSecondPass)));
}

void TestOpenSequence::closeWipesKeyMaterial() {
    QTemporaryDir dir;
    const QString path = CopyOracle(dir, QStringLiteral("basic.nct"));
    TestSession run;
    QCOMPARE(open(run, path, {kBasicPass}), 0);
    Store& store = run.store();
    QVERIFY(store.cry.hasKeyPool());
    QVERIFY(!store.PassDigest.empty());
    open_sequence::CloseDatabase(run.session);
    QVERIFY(!run.session.DbIsOpen);
    QVERIFY(!store.cry.hasKeyPool());
    QVERIFY(store.cry.RecordKey().empty());
    QVERIFY(store.PassDigest.empty());
    QVERIFY(store.PassCheck.empty());
    QVERIFY(store.user.sealedKeystring.isEmpty());
    QVERIFY(!store.database.isOpen());
    QVERIFY(store.cry.Cipher(10, 1, "anything").isEmpty());
    // Closed means unlocked: another connection may take the file.
    sqlite::Connection other;
    QVERIFY(!other.open(path, sqlite::Connection::Mode::ReadWrite, true));
    QVERIFY(!other.exec("BEGIN EXCLUSIVE"));
    QVERIFY(!other.exec("COMMIT"));
}

void TestOpenSequence::newDatabaseReplacesOnlyAfterPassphrase() {
    QTemporaryDir dir;
    const QString path = CopyOracle(dir, QStringLiteral("basic.nct"));
    const QString newPass = QStringLiteral("fresh passphrase 9");
    TestSession run;
    QCOMPARE(open(run, path, {kBasicPass}), 0);
    open_sequence::CloseDatabase(run.session);
    const QByteArray before = fileBytes(path);

    // No passphrase, no new file: the old one stays as it was.
    run.session.CreatingDefault = true;
    run.session.DbPath = path;
    run.session.OpenAttempts = 0;
    QCOMPARE(open_sequence::NewDatabase(run.session), StoreError::Cancelled);
    QCOMPARE(fileBytes(path), before);
    QVERIFY(!run.session.DbIsOpen);

    // Also while that very file is open.
    QCOMPARE(open(run, path, {kBasicPass}), 0);
    run.session.CreatingDefault = true;
    run.session.DbPath = path;
    QCOMPARE(open_sequence::NewDatabase(run.session), StoreError::Cancelled);
    QVERIFY(run.session.DbIsOpen);
    QVERIFY(oracleMemosReadable(run.store()));

    run.session.CreatingDefault = true;
    run.session.DbPath = path;
    run.prompter.passphrases.enqueue(newPass);
    QCOMPARE(open_sequence::NewDatabase(run.session), 0);
    QVERIFY(run.session.DbIsOpen);
    QVERIFY(run.session.JustCreated);
    QVERIFY(!run.session.CreatingDefault);
    QCOMPARE(QFileInfo(run.store().database.DbPath()), QFileInfo(path));
    open_sequence::CloseDatabase(run.session);

    TestSession later;
    QCOMPARE(open(later, path, {kBasicPass}), StoreError::Fatal);
    QCOMPARE(open(later, path, {newPass}), 0);
    sqlite::Statement memos = later.store().connection().prepare("SELECT count(*) FROM tt WHERE fSec=14");
    QVERIFY(memos.step());
    QCOMPARE(memos.int64(0), 0);
}

void TestOpenSequence::newDatabaseAsksForAName() {
    QTemporaryDir dir;
    TestSession run;
    run.prompter.newFile.clear();
    QCOMPARE(open_sequence::NewDatabase(run.session), open_sequence::kDialogCancelled);
    QVERIFY(run.prompter.passphraseRequests.isEmpty());

    run.prompter.newFile = dir.filePath(QStringLiteral("plain"));
    run.prompter.passphrases.enqueue(QStringLiteral("named passphrase"));
    QCOMPARE(open_sequence::NewDatabase(run.session), 0);
    const QString made = dir.filePath(QStringLiteral("plain.nct"));
    QVERIFY(QFileInfo::exists(made));
    QCOMPARE(QFileInfo(run.session.DbPath), QFileInfo(made));
    const Prompter::PassphraseRequest& request = run.prompter.passphraseRequests.value(0);
    QVERIFY(request.confirmWanted);
    QCOMPARE(request.prompt, MsgText(99));
    QCOMPARE(request.fileName, QStringLiteral("PLAIN.NCT"));
    QCOMPARE(RegReadValue(QStringLiteral("MostRecentFiles\\1")), QDir::toNativeSeparators(made));
    QCOMPARE(RegReadValue(QStringLiteral("User\\LastUser")), QStringLiteral("Admin"));
}

void TestOpenSequence::repairCompactKeepsTheFileOpen() {
    QTemporaryDir dir;
    const QString path = CopyOracle(dir, QStringLiteral("basic.nct"));
    TestSession run;
    QCOMPARE(open(run, path, {kBasicPass}), 0);
    const std::int64_t record = AddRecord(run.store(), "compacted with the rest");
    const CRY::SecureBytes pool = run.store().cry.KeyPool();
    const std::int32_t user = run.store().user.fPK;
    const qsizetype asked = run.prompter.passphraseRequests.size();

    QCOMPARE(open_sequence::RepairCompactCommand(run.session, path), 0);
    QCOMPARE(run.prompter.passphraseRequests.size(), asked);
    QCOMPARE(run.prompter.numbers(), QList<int>{166});
    QVERIFY(run.session.DbIsOpen);
    QVERIFY(run.store().database.isOpen());
    QVERIFY(run.store().cry.KeyPool() == pool);
    QCOMPARE(run.store().user.fPK, user);
    QCOMPARE(ReadRecord(run.store(), record), QByteArray("compacted with the rest"));
    QVERIFY(oracleMemosReadable(run.store()));
    QVERIFY(!QFileInfo::exists(path.left(path.size() - 3) + QStringLiteral("tmp")));

    // The session goes on as before: what it saves lands, and the file opens again with its passphrase.
    run.store().preferences.IdleMinutes = 23;
    open_sequence::CloseDatabase(run.session);
    QCOMPARE(open(run, path, {kBasicPass}), 0);
    QCOMPARE(run.store().preferences.IdleMinutes, 23);
    QCOMPARE(ReadRecord(run.store(), record), QByteArray("compacted with the rest"));
}

void TestOpenSequence::repairCompactRefusesMissingFile_data() {
    QTest::addColumn<QString>("name");
    QTest::newRow("empty") << QString();
    QTest::newRow("missing") << QStringLiteral("none.nct");
}

void TestOpenSequence::repairCompactRefusesMissingFile() {
    QFETCH(QString, name);
    QTemporaryDir dir;
    const QString path = CopyOracle(dir, QStringLiteral("basic.nct"));
    TestSession run;
    QCOMPARE(open(run, path, {kBasicPass}), 0);
    const QString target = name.isEmpty() ? QString() : dir.filePath(name);
    QCOMPARE(open_sequence::RepairCompactCommand(run.session, target), 134);
    QCOMPARE(run.prompter.numbers(), QList<int>{134});
    QCOMPARE(run.prompter.shown[0].text, MsgText(134));
    // Nothing was closed for it.
    QVERIFY(run.session.DbIsOpen);
    QVERIFY(oracleMemosReadable(run.store()));
    QVERIFY(!QFileInfo::exists(dir.filePath(QStringLiteral("none.nct"))));
}

QTEST_GUILESS_MAIN(TestOpenSequence)
#include "tst_open_sequence.moc"
