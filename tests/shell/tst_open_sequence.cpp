#include "support/test_main.h"

#include <memory>

namespace {

const QString kBasicPass = QStringLiteral("correct horse 1");
const QList<int> kTwoWaits{open_sequence::kPenaltyMs, open_sequence::kPenaltyMs};
const QStringList kThreeWrong{QStringLiteral("wrong passphrase 1"), QStringLiteral("wrong passphrase 2"),
                              QStringLiteral("wrong passphrase 3")};
const QList<Prompter::Reply> kRetryTwice{Prompter::Reply::Retry, Prompter::Reply::Retry};

// Starts an open of `path` as choosing a file does: the attempt counter from zero.
int Open(TestSession& run, const QString& path, const QStringList& passphrases,
         const QList<Prompter::Reply>& replies = {}) {
    run.session.DbPath = path;
    run.session.OpenAttempts = 0;
    run.prompter.passphrases << passphrases;
    run.prompter.replies << replies;
    return open_sequence::OpenDatabaseSequence(run.session);
}

// The oracle's memo rows (keys 10 and 11), read with the open pool.
bool OracleMemosReadable(Store& store) {
    return !ReadRecord(store, 10).isEmpty() && !ReadRecord(store, 11).isEmpty();
}

} // namespace

// Every test has copies of basic.nct and two-users.nct of its own.
class TestOpenSequence : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_basic;
    QString m_twoUsers;

private Q_SLOTS:
    void init() {
        m_dir = std::make_unique<QTemporaryDir>();
        m_basic = CopyOracle(*m_dir, QStringLiteral("basic.nct"));
        m_twoUsers = CopyOracle(*m_dir, QStringLiteral("two-users.nct"));
        QVERIFY(!m_basic.isEmpty() && !m_twoUsers.isEmpty());
    }

    void threeWrongPassphrasesWithNoFileOpenAreFatal() {
        TestSession run;
        QCOMPARE(Open(run, m_basic, kThreeWrong + QStringList{kBasicPass}, kRetryTwice), StoreError::Fatal);
        QCOMPARE(run.prompter.passphraseRequests.size(), 3);
        QCOMPARE(run.prompter.waits, kTwoWaits);
        QCOMPARE(run.prompter.numbers(), (QList<int>{85, 85, 85}));
        // The last failure is told with a plain Ok before the program ends.
        QCOMPARE(run.prompter.shown.last().buttons, Prompter::Buttons::Ok);
        QVERIFY(!run.session.DbIsOpen);
        QVERIFY(!run.store().cry.hasKeyPool());
    }

    void failuresWithAFileOpenOnlyEndTheCommand() {
        TestSession run;
        QCOMPARE(Open(run, m_basic, {kBasicPass}), 0);
        const std::int64_t record = AddRecord(run.store(), "in the first file");
        // A cancelled dialog says nothing and costs no wait.
        QCOMPARE(Open(run, m_twoUsers, {QString()}), StoreError::Cancelled);
        QVERIFY(run.prompter.shown.isEmpty() && run.prompter.waits.isEmpty());

        QCOMPARE(Open(run, m_twoUsers, kThreeWrong, kRetryTwice), StoreError::WrongPassphrase);
        QCOMPARE(run.prompter.passphraseRequests.size(), 5);
        QCOMPARE(run.prompter.numbers(), (QList<int>{85, 85, 85}));
        // The first file is still the open one, with its pool.
        QVERIFY(run.session.DbIsOpen);
        QCOMPARE(QFileInfo(run.store().database.DbPath()), QFileInfo(m_basic));
        QCOMPARE(ReadRecord(run.store(), record), QByteArray("in the first file"));
        QVERIFY(OracleMemosReadable(run.store()));
        // The failed attempt holds no lock on the other file.
        QCOMPARE(Open(run, m_twoUsers, {QStringLiteral("second user pass 2")}), 0);
        QCOMPARE(run.store().user.name, QStringLiteral("Second"));
    }

    void tooShortSharesTheAttempts() {
        // One short entry and two wrong ones use up the three attempts; the right one is never asked.
        TestSession run;
        QCOMPARE(Open(run, m_basic,
                      QStringList{QStringLiteral("short")} + kThreeWrong.mid(0, 2) + QStringList{kBasicPass},
                      kRetryTwice),
                 StoreError::Fatal);
        QCOMPARE(run.prompter.passphraseRequests.size(), 3);
        QCOMPARE(run.prompter.numbers(), (QList<int>{40, 85, 85}));
        QCOMPARE(run.prompter.waits, kTwoWaits);

        TestSession retried;
        QCOMPARE(Open(retried, m_basic, {QStringLiteral("7 chars"), kBasicPass}, {Prompter::Reply::Retry}), 0);
        QCOMPARE(retried.prompter.numbers(), QList<int>{40});
        QCOMPARE(retried.session.OpenAttempts, 2);
    }

    void closeWipesKeyMaterial() {
        TestSession run;
        QCOMPARE(Open(run, m_basic, {kBasicPass}), 0);
        Store& store = run.store();
        open_sequence::CloseDatabase(run.session);
        QVERIFY(!run.session.DbIsOpen);
        QVERIFY(!store.cry.hasKeyPool());
        QVERIFY(store.PassDigest.empty());
        QVERIFY(store.cry.Cipher(10, 1, "anything").isEmpty());
        // Closed means unlocked: another connection may take the file.
        sqlite::Connection other;
        QVERIFY(!other.open(m_basic, sqlite::Connection::Mode::ReadWrite, true));
        QVERIFY(!other.exec("BEGIN EXCLUSIVE"));
        QVERIFY(!other.exec("COMMIT"));
    }

    void newDatabaseReplacesOnlyAfterPassphrase() {
        const QString newPass = QStringLiteral("fresh passphrase 9");
        const QByteArray before = FileBytes(m_basic);
        TestSession run;
        // No passphrase, no new file: the old one stays as it was.
        run.session.CreatingDefault = true;
        run.session.DbPath = m_basic;
        QCOMPARE(open_sequence::NewDatabase(run.session), StoreError::Cancelled);
        QCOMPARE(FileBytes(m_basic), before);
        QVERIFY(!run.session.DbIsOpen);
        // Also while that very file is open.
        QCOMPARE(Open(run, m_basic, {kBasicPass}), 0);
        run.session.CreatingDefault = true;
        run.session.DbPath = m_basic;
        QCOMPARE(open_sequence::NewDatabase(run.session), StoreError::Cancelled);
        QVERIFY(OracleMemosReadable(run.store()));
        // A name typed without its extension: the file that would really go is asked about, and No keeps it.
        run.session.CreatingDefault = false;
        run.prompter.newFile = m_basic.chopped(4);
        QCOMPARE(open_sequence::NewDatabase(run.session), open_sequence::kDialogCancelled);
        QVERIFY(run.prompter.shown.last().text.contains(m_basic));
        QVERIFY(run.session.DbIsOpen && OracleMemosReadable(run.store()));

        QCOMPARE(CreateDatabase(run, m_basic, newPass), 0);
        QVERIFY(run.session.DbIsOpen);
        open_sequence::CloseDatabase(run.session);
        TestSession later;
        QCOMPARE(Open(later, m_basic, {kBasicPass}), StoreError::Fatal);
        QCOMPARE(Open(later, m_basic, {newPass}), 0);
        QVERIFY(!OracleMemosReadable(later.store()));
    }

    void repairCompactKeepsTheFileOpen() {
        TestSession run;
        QCOMPARE(Open(run, m_basic, {kBasicPass}), 0);
        const std::int64_t record = AddRecord(run.store(), "compacted with the rest");
        const qsizetype asked = run.prompter.passphraseRequests.size();

        QCOMPARE(open_sequence::RepairCompactCommand(run.session, m_basic), 0);
        QCOMPARE(run.prompter.passphraseRequests.size(), asked);
        QCOMPARE(run.prompter.numbers(), QList<int>{166});
        QVERIFY(run.session.DbIsOpen);
        QCOMPARE(ReadRecord(run.store(), record), QByteArray("compacted with the rest"));
        QVERIFY(OracleMemosReadable(run.store()));

        // What the session saves afterwards lands in the compacted file.
        run.store().preferences.IdleMinutes = 23;
        open_sequence::CloseDatabase(run.session);
        QCOMPARE(Open(run, m_basic, {kBasicPass}), 0);
        QCOMPARE(run.store().preferences.IdleMinutes, 23);

        // An empty path is refused, and nothing was closed for it.
        run.prompter.forget();
        QCOMPARE(open_sequence::RepairCompactCommand(run.session, QString()), 134);
        QCOMPARE(run.prompter.numbers(), QList<int>{134});
        QVERIFY(run.session.DbIsOpen);
        QVERIFY(OracleMemosReadable(run.store()));
    }
};

NCT_TEST_MAIN(TestOpenSequence)
#include "tst_open_sequence.moc"
