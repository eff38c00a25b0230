#include "shell/backup_commands.h"
#include "support/test_main.h"

using backup_commands::AfterRestore;
using backup_commands::RestoreOutcome;

namespace {

const QString kPassphrase = QStringLiteral("correct horse battery");

// Answers from the script, and runs busy work on a worker thread as the GUI does when told so.
class WorkerPrompter final : public ScriptedPrompter {
public:
    bool onWorker = false;
    int busyCalls = 0;

    int busy(const QString& text, const std::function<int()>& work) override {
        if (!onWorker) {
            return ScriptedPrompter::busy(text, work);
        }
        ++busyCalls;
        int result = 0;
        const std::unique_ptr<QThread> worker(QThread::create([&] { result = work(); }));
        QEventLoop loop;
        QObject::connect(worker.get(), &QThread::finished, &loop, &QEventLoop::quit, Qt::QueuedConnection);
        worker->start();
        loop.exec();
        worker->wait();
        return result;
    }
};

// One run of the program, its busy work on the calling thread or, as in the GUI, on a worker.
struct Run {
    explicit Run(bool onWorker = false) { prompter.onWorker = onWorker; }
    WorkerPrompter prompter;
    Session session{prompter};
    Store& store() { return session.store(); }
};

} // namespace

class TestBackupCommands : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { test_env::ForgetSettings(); }

    void backupThenRestore_data() {
        QTest::addColumn<bool>("worker");
        QTest::addColumn<bool>("elsewhere");
        QTest::newRow("in place") << false << false;
        QTest::newRow("to another folder, on a worker thread") << true << true;
    }

    void backupThenRestore() {
        QFETCH(bool, worker);
        QFETCH(bool, elsewhere);
        QTemporaryDir dir;
        const QString data = dir.filePath(QStringLiteral("data"));
        const QString backups = dir.filePath(QStringLiteral("backups"));
        QVERIFY(QDir().mkpath(data));
        const QString path = data + QStringLiteral("/mydata.nct");
        Run run(worker);
        QCOMPARE(CreateDatabase(run.session, run.prompter, path, kPassphrase), 0);
        const std::int64_t kept = AddRecord(run.store(), "kept in the backup");
        const qsizetype asked = run.prompter.passphraseRequests.size();

        const QString target = backup_commands::BackupCommand(run.session, backups);
        QVERIFY(QFileInfo::exists(target));
        QVERIFY(
            QRegularExpression(QStringLiteral("^mydata\\d{12}\\.ncz$")).match(QFileInfo(target).fileName()).hasMatch());
        QCOMPARE(run.prompter.shown.last().number, 136);
        // The file is open again under the same login: no passphrase, and the records still decipher.
        QCOMPARE(run.prompter.passphraseRequests.size(), asked);
        QVERIFY(run.session.DbIsOpen);
        QCOMPARE(ReadRecord(run.store(), kept), QByteArray("kept in the backup"));

        const std::int64_t later = AddRecord(run.store(), "written after the backup");
        // The database still lies where it was, so the expansion asks where to go.
        const QString restoreTo = elsewhere ? dir.filePath(QStringLiteral("other")) : data;
        QVERIFY(QDir().mkpath(restoreTo));
        run.prompter.folder = restoreTo;
        run.prompter.replies << Prompter::Reply::Ok;
        run.prompter.shown.clear();
        QCOMPARE(backup_commands::RestoreBackup(run.session, target, data), RestoreOutcome::Restored);
        QCOMPARE(run.prompter.numbers(), (QList<int>{138, 140}));
        QVERIFY(!run.session.DbIsOpen);
        QCOMPARE(QFileInfo(run.session.DbPath), QFileInfo(restoreTo + QStringLiteral("/mydata.nct")));
        if (worker) {
            // Both commands worked behind the busy window, and every question reached the person's thread.
            QCOMPARE(run.prompter.busyCalls, 2);
            QCOMPARE(run.prompter.askedOn, QList<QThread*>(run.prompter.askedOn.size(), QThread::currentThread()));
        }

        // The restored file asks for its own passphrase, and holds what the backup held.
        run.prompter.replies << Prompter::Reply::Yes;
        run.prompter.passphrases.enqueue(kPassphrase);
        QCOMPARE(backup_commands::OfferRestoredFile(run.session), AfterRestore::Opened);
        QCOMPARE(ReadRecord(run.store(), kept), QByteArray("kept in the backup"));
        QVERIFY(!ReadRow(run.store().connection(), later));

        // The former file is kept whole, beside it or where it was.
        TestSession former;
        const QString formerPath = data + (elsewhere ? QStringLiteral("/mydata.nct") : QStringLiteral("/mydata.ncb"));
        QCOMPARE(OpenDatabase(former, formerPath, kPassphrase), 0);
        QCOMPARE(ReadRecord(former.store(), later), QByteArray("written after the backup"));
    }

    void cancelledRestoreTouchesNothing() {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("data.nct"));
        Run run;
        QCOMPARE(CreateDatabase(run.session, run.prompter, path, kPassphrase), 0);
        const QString target = backup_commands::BackupCommand(run.session, dir.filePath(QStringLiteral("b")));
        QVERIFY(!target.isEmpty());
        const std::int64_t record = AddRecord(run.store(), "after the backup");
        const QByteArray before = FileBytes(path);

        // Cancel at the consent, and yes to the withdrawal.
        run.prompter.folder = dir.path();
        run.prompter.replies << Prompter::Reply::Cancel << Prompter::Reply::Yes;
        run.prompter.shown.clear();
        QCOMPARE(backup_commands::RestoreBackup(run.session, target, dir.path()), RestoreOutcome::Cancelled);
        QCOMPARE(run.prompter.numbers(), (QList<int>{138, 139}));
        QVERIFY(run.session.DbIsOpen);
        QCOMPARE(FileBytes(path), before);
        QVERIFY(!QFileInfo::exists(dir.filePath(QStringLiteral("data.ncb"))));
        QVERIFY(!QFileInfo::exists(dir.filePath(QStringLiteral("data.ncr"))));
        QCOMPARE(ReadRecord(run.store(), record), QByteArray("after the backup"));
    }

    void backupWithNoFileOpen() {
        QTemporaryDir dir;
        const QString path = MadeDatabase(dir.filePath(QStringLiteral("closed.nct")), kPassphrase);
        QVERIFY(!path.isEmpty());
        // The named file is copied as it lies, without its passphrase.
        Run run;
        const QString target = backup_commands::BackupCommand(run.session, dir.filePath(QStringLiteral("b")), path);
        QVERIFY(QFileInfo::exists(target));
        QVERIFY(run.prompter.passphraseRequests.isEmpty());
        QVERIFY(!run.session.DbIsOpen);

        // Nothing in hand and nothing named: the command stops with the missing file.
        Run none;
        QVERIFY(backup_commands::BackupCommand(none.session, dir.path()).isEmpty());
        QCOMPARE(none.prompter.numbers(), QList<int>{134});
    }
};

NCT_TEST_MAIN(TestBackupCommands)
#include "tst_backup_commands.moc"
