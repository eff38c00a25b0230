#include <QtTest>

#include "shell/open_sequence.h"
#include "shell/session.h"
#include "store/row.h"
#include "store/sqlite.h"
#include "support/scripted_prompter.h"
#include "support/test_databases.h"

namespace {

const QString kBasicPass = QStringLiteral("correct horse 1");
const QString kSecondPass = QStringLiteral("second user pass 2");
const QList<int> kTwoWaits{open_sequence::kPenaltyMs, open_sequence::kPenaltyMs};

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

const QStringList kThreeWrong{QStringLiteral("wrong passphrase 1"), QStringLiteral("wrong passphrase 2"),
                              QStringLiteral("wrong passphrase 3")};
const QList<Prompter::Reply> kRetryTwice{Prompter::Reply::Retry, Prompter::Reply::Retry};

} // namespace

class TestOpenSequence : public QObject {
    Q_OBJECT

    QTemporaryDir m_settings;

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(m_settings.isValid());
        RedirectSettings(m_settings.path());
    }

    void threeWrongPassphrasesWithNoFileOpenAreFatal() {
        QTemporaryDir dir;
        TestSession run;
        QCOMPARE(
            open(run, CopyOracle(dir, QStringLiteral("basic.nct")), kThreeWrong + QStringList{kBasicPass}, kRetryTwice),
            StoreError::Fatal);
        QCOMPARE(run.prompter.passphraseRequests.size(), 3);
        QCOMPARE(run.prompter.waits, kTwoWaits);
        QCOMPARE(run.prompter.numbers(), (QList<int>{85, 85, 85}));
        // The last failure is told with a plain Ok before the program ends.
        QCOMPARE(run.prompter.shown.last().buttons, Prompter::Buttons::Ok);
        QVERIFY(!run.session.DbIsOpen);
        QVERIFY(!run.store().cry.hasKeyPool());
    }

    void failuresWithAFileOpenOnlyEndTheCommand() {
        QTemporaryDir dir;
        const QString first = CopyOracle(dir, QStringLiteral("basic.nct"));
        const QString other = CopyOracle(dir, QStringLiteral("two-users.nct"));
        TestSession run;
        QCOMPARE(open(run, first, {kBasicPass}), 0);
        const std::int64_t record = AddRecord(run.store(), "in the first file");

        QCOMPARE(open(run, other, kThreeWrong, kRetryTwice), StoreError::WrongPassphrase);
        QCOMPARE(run.prompter.passphraseRequests.size(), 4);
        QCOMPARE(run.prompter.numbers(), (QList<int>{85, 85, 85}));
        // The first file is still the open one, with its pool.
        QVERIFY(run.session.DbIsOpen);
        QCOMPARE(QFileInfo(run.store().database.DbPath()), QFileInfo(first));
        QCOMPARE(ReadRecord(run.store(), record), QByteArray("in the first file"));
        // The failed attempt holds no lock on the other file.
        QCOMPARE(open(run, other, {kSecondPass}), 0);
        QCOMPARE(run.store().user.name, QStringLiteral("Second"));
    }

    void cancelAtTheDialogLeavesTheOpenFile() {
        QTemporaryDir dir;
        const QString path = CopyOracle(dir, QStringLiteral("basic.nct"));
        TestSession run;
        QCOMPARE(open(run, path, {kBasicPass}), 0);
        QCOMPARE(open(run, CopyOracle(dir, QStringLiteral("two-users.nct")), {QString()}), StoreError::Cancelled);
        QVERIFY(run.prompter.shown.isEmpty());
        QVERIFY(run.prompter.waits.isEmpty());
        QCOMPARE(QFileInfo(run.store().database.DbPath()), QFileInfo(path));
        QVERIFY(oracleMemosReadable(run.store()));
    }

    void tooShortSharesTheAttempts() {
        QTemporaryDir dir;
        const QString path = CopyOracle(dir, QStringLiteral("basic.nct"));
        // One short entry and two wrong ones use up the three attempts; the right one is never asked.
        TestSession run;
        QCOMPARE(open(run, path,
                      {QStringLiteral("short"), QStringLiteral("wrong passphrase 1"),
                       QStringLiteral("wrong passphrase 2"), kBasicPass},
                      kRetryTwice),
                 StoreError::Fatal);
        QCOMPARE(run.prompter.passphraseRequests.size(), 3);
        QCOMPARE(run.prompter.numbers(), (QList<int>{40, 85, 85}));
        QCOMPARE(run.prompter.waits, kTwoWaits);

        TestSession retried;
        QCOMPARE(open(retried, path, {QStringLiteral("7 chars"), kBasicPass}, {Prompter::Reply::Retry}), 0);
        QCOMPARE(retried.prompter.numbers(), QList<int>{40});
        QCOMPARE(retried.session.OpenAttempts, 2);
    }

    void closeWipesKeyMaterial() {
        QTemporaryDir dir;
        const QString path = CopyOracle(dir, QStringLiteral("basic.nct"));
        TestSession run;
        QCOMPARE(open(run, path, {kBasicPass}), 0);
        Store& store = run.store();
        open_sequence::CloseDatabase(run.session);
        QVERIFY(!run.session.DbIsOpen);
        QVERIFY(!store.cry.hasKeyPool());
        QVERIFY(store.PassDigest.empty());
        QVERIFY(store.cry.Cipher(10, 1, "anything").isEmpty());
        // Closed means unlocked: another connection may take the file.
        sqlite::Connection other;
        QVERIFY(!other.open(path, sqlite::Connection::Mode::ReadWrite, true));
        QVERIFY(!other.exec("BEGIN EXCLUSIVE"));
        QVERIFY(!other.exec("COMMIT"));
    }

    void newDatabaseReplacesOnlyAfterPassphrase() {
        QTemporaryDir dir;
        const QString path = CopyOracle(dir, QStringLiteral("basic.nct"));
        const QString newPass = QStringLiteral("fresh passphrase 9");
        const QByteArray before = fileBytes(path);
        TestSession run;
        // No passphrase, no new file: the old one stays as it was.
        run.session.CreatingDefault = true;
        run.session.DbPath = path;
        QCOMPARE(open_sequence::NewDatabase(run.session), StoreError::Cancelled);
        QCOMPARE(fileBytes(path), before);
        QVERIFY(!run.session.DbIsOpen);
        // Also while that very file is open.
        QCOMPARE(open(run, path, {kBasicPass}), 0);
        run.session.CreatingDefault = true;
        run.session.DbPath = path;
        QCOMPARE(open_sequence::NewDatabase(run.session), StoreError::Cancelled);
        QVERIFY(oracleMemosReadable(run.store()));
        // A name typed without its extension: the file that would really go is asked about, and No keeps it.
        run.session.CreatingDefault = false;
        run.prompter.newFile = path.chopped(4);
        QCOMPARE(open_sequence::NewDatabase(run.session), open_sequence::kDialogCancelled);
        QVERIFY(run.prompter.shown.last().text.contains(path));
        QVERIFY(run.session.DbIsOpen && oracleMemosReadable(run.store()));

        QCOMPARE(CreateDatabase(run.session, run.prompter, path, newPass), 0);
        QVERIFY(run.session.DbIsOpen);
        open_sequence::CloseDatabase(run.session);
        TestSession later;
        QCOMPARE(open(later, path, {kBasicPass}), StoreError::Fatal);
        QCOMPARE(open(later, path, {newPass}), 0);
        QVERIFY(!oracleMemosReadable(later.store()));
    }

    void repairCompactKeepsTheFileOpen() {
        QTemporaryDir dir;
        const QString path = CopyOracle(dir, QStringLiteral("basic.nct"));
        TestSession run;
        QCOMPARE(open(run, path, {kBasicPass}), 0);
        const std::int64_t record = AddRecord(run.store(), "compacted with the rest");
        const qsizetype asked = run.prompter.passphraseRequests.size();

        QCOMPARE(open_sequence::RepairCompactCommand(run.session, path), 0);
        QCOMPARE(run.prompter.passphraseRequests.size(), asked);
        QCOMPARE(run.prompter.numbers(), QList<int>{166});
        QVERIFY(run.session.DbIsOpen);
        QCOMPARE(ReadRecord(run.store(), record), QByteArray("compacted with the rest"));
        QVERIFY(oracleMemosReadable(run.store()));

        // What the session saves afterwards lands in the compacted file.
        run.store().preferences.IdleMinutes = 23;
        open_sequence::CloseDatabase(run.session);
        QCOMPARE(open(run, path, {kBasicPass}), 0);
        QCOMPARE(run.store().preferences.IdleMinutes, 23);
    }

    void repairCompactRefusesAnEmptyPath() {
        QTemporaryDir dir;
        TestSession run;
        QCOMPARE(open(run, CopyOracle(dir, QStringLiteral("basic.nct")), {kBasicPass}), 0);
        QCOMPARE(open_sequence::RepairCompactCommand(run.session, QString()), 134);
        QCOMPARE(run.prompter.numbers(), QList<int>{134});
        // Nothing was closed for it.
        QVERIFY(run.session.DbIsOpen);
        QVERIFY(oracleMemosReadable(run.store()));
    }
};

QTEST_GUILESS_MAIN(TestOpenSequence)
#include "tst_open_sequence.moc"
