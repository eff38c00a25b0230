#include "shell/backup_commands.h"

#include "shell/catalogue/messages.h"
#include "shell/open_sequence.h"
#include "shell/session.h"
#include "shell/settings.h"
#include "store/backup.h"
#include "store/row.h"
#include "support/scripted_prompter.h"
#include "support/test_databases.h"

#include <QRegularExpression>
#include <QSettings>
#include <QtTest>

using backup_commands::AfterRestore;
using backup_commands::RestoreOutcome;

namespace {

const QString kPassphrase = QStringLiteral("correct horse battery");

// Answers from the script, but runs busy work on a worker thread as the GUI does, and notes the thread each
// question was asked on.
class WorkerPrompter final : public Prompter {
public:
    explicit WorkerPrompter(ScriptedPrompter& script)
        : m_script(script) {}

    int busyCalls = 0;
    QList<QThread*> askedOn;

    Reply message(int number, const QString& text, Buttons buttons, Icon icon) override {
        return note(m_script.message(number, text, buttons, icon));
    }
    PassphraseReply passphrase(const PassphraseRequest& request) override { return note(m_script.passphrase(request)); }
    QString chooseNewFile(const QString& title, const QString& filter) override {
        return note(m_script.chooseNewFile(title, filter));
    }
    QString chooseExistingFile(const QString& title, const QString& filter) override {
        return note(m_script.chooseExistingFile(title, filter));
    }
    QString chooseFolder(const QString& prompt, const QString& start) override {
        return note(m_script.chooseFolder(prompt, start));
    }
    void status(const QString& text) override { m_script.status(text); }
    void penaltyWait(int milliseconds) override { m_script.penaltyWait(milliseconds); }
    int busy(const QString&, const std::function<int()>& work) override {
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

private:
    template <typename T> T note(T answer) {
        askedOn.append(QThread::currentThread());
        return answer;
    }

    ScriptedPrompter& m_script;
};

// One run of the program, its busy work on the calling thread or, as in the GUI, on a worker.
struct Run {
    explicit Run(bool onWorker = false)
        : session(onWorker ? static_cast<Prompter&>(worker) : prompter) {}

    ScriptedPrompter prompter;
    WorkerPrompter worker{prompter};
    Session session;
    Store& store() { return session.store(); }
};

// The replies the next message boxes get, in order.
void answer(ScriptedPrompter& prompter, std::initializer_list<Prompter::Reply> replies) {
    prompter.replies.clear();
    for (Prompter::Reply reply : replies) {
        prompter.replies.enqueue(reply);
    }
}

QByteArray fileBytes(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool writeFile(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

} // namespace

class TestBackupCommands : public QObject {
    Q_OBJECT

    QTemporaryDir m_settings;

private Q_SLOTS:
    void initTestCase();
    void init();
    void backupThenRestore_data();
    void backupThenRestore();
    void backupWithNoFileOpen();
    void failedBackupStillReopens();
    void withdrawnRestore_data();
    void withdrawnRestore();
    void failedExpansionTouchesNothing();
    void restoreNeedsSelection();
    void listParsesNamesAndSkipsBadOnes();
    void deleteAsksFirst();
    void defaultBackupFolder();
    void prepareBackupFolder();
    void offerRestoredFile();
    void workerExceptionReachesCaller();
    void workerQuestionsAreAskedOnCallingThread();
};

void TestBackupCommands::initTestCase() {
    QVERIFY(m_settings.isValid());
    RedirectSettings(m_settings.path());
}

void TestBackupCommands::init() {
    QSettings(QStringLiteral("Marrowline"), QStringLiteral("Noctaria")).clear();
}

void TestBackupCommands::backupThenRestore_data() {
    QTest::addColumn<bool>("worker");
    QTest::addColumn<bool>("elsewhere");
    QTest::newRow("in place") << false << false;
    QTest::newRow("in place, on a worker thread") << true << false;
    QTest::newRow("to another folder, on a worker thread") << true << true;
}

void TestBackupCommands::backupThenRestore() {
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
    QVERIFY(QRegularExpression(QStringLiteral("^mydata\\d{12}\\.ncz$")).match(QFileInfo(target).fileName()).hasMatch());
    QCOMPARE(QFileInfo(target).absolutePath(), QFileInfo(backups).absoluteFilePath());
    QCOMPARE(run.prompter.shown.last().number, 136);
    QCOMPARE(run.prompter.shown.last().text, MsgText(136) + QLatin1Char('\n') + QDir::toNativeSeparators(target));
    QCOMPARE(RegReadValue(QStringLiteral("BackupPath")),
             QDir::toNativeSeparators(QFileInfo(backups).absoluteFilePath()));
    // The file is open again under the same login: no passphrase, and the records still decipher.
    QCOMPARE(run.prompter.passphraseRequests.size(), asked);
    QVERIFY(run.session.DbIsOpen);
    QCOMPARE(ReadRecord(run.store(), kept), QByteArray("kept in the backup"));

    const QList<backup_commands::BackupEntry> listed = backup_commands::ListBackups(backups);
    QCOMPARE(listed.size(), 1);
    QCOMPARE(listed[0].original, QStringLiteral("mydata.nct"));
    QCOMPARE(listed[0].path, QFileInfo(target).absoluteFilePath());

    const std::int64_t later = AddRecord(run.store(), "written after the backup");
    // The database still lies where it was, so the expansion asks where to go.
    const QString restoreTo = elsewhere ? dir.filePath(QStringLiteral("other")) : data;
    QVERIFY(QDir().mkpath(restoreTo));
    const QString restored = restoreTo + QStringLiteral("/mydata.nct");
    run.prompter.folder = restoreTo;
    answer(run.prompter, {Prompter::Reply::Ok});
    run.prompter.shown.clear();
    QCOMPARE(backup_commands::RestoreBackup(run.session, target, data), RestoreOutcome::Restored);
    QCOMPARE(run.prompter.numbers(), (QList<int>{138, 140}));
    QVERIFY(!run.session.DbIsOpen);
    QCOMPARE(QFileInfo(run.session.DbPath).absoluteFilePath(), QFileInfo(restored).absoluteFilePath());
    QVERIFY(!QFileInfo::exists(restoreTo + QStringLiteral("/mydata.ncr")));
    QCOMPARE(QFileInfo::exists(data + QStringLiteral("/mydata.ncb")), !elsewhere);
    if (worker) {
        // Both commands worked behind the busy window, and every question reached the person's thread.
        QCOMPARE(run.worker.busyCalls, 2);
        QCOMPARE(run.worker.askedOn, QList<QThread*>(run.worker.askedOn.size(), QThread::currentThread()));
        QVERIFY(run.worker.askedOn.size() >= 4);
    }

    // The restored file asks for its own passphrase, and holds what the backup held.
    answer(run.prompter, {Prompter::Reply::Yes});
    run.prompter.passphrases.enqueue(kPassphrase);
    QCOMPARE(backup_commands::OfferRestoredFile(run.session), AfterRestore::Opened);
    QCOMPARE(run.prompter.passphraseRequests.size(), asked + 1);
    QCOMPARE(ReadRecord(run.store(), kept), QByteArray("kept in the backup"));
    QVERIFY(!ReadRow(run.store().connection(), later));

    // The former file is kept whole, beside it or where it was.
    TestSession former;
    QCOMPARE(OpenDatabase(former, data + (elsewhere ? QStringLiteral("/mydata.nct") : QStringLiteral("/mydata.ncb")),
                          kPassphrase),
             0);
    QCOMPARE(ReadRecord(former.store(), later), QByteArray("written after the backup"));
}

void TestBackupCommands::backupWithNoFileOpen() {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("closed.nct"));
    {
        TestSession maker;
        QCOMPARE(CreateDatabase(maker, path, kPassphrase), 0);
        AddRecord(maker.store(), "a record");
        open_sequence::CloseDatabase(maker.session);
    }
    Run run;
    const QString target = backup_commands::BackupCommand(run.session, dir.filePath(QStringLiteral("b")), path);
    QVERIFY(!target.isEmpty());
    QVERIFY(run.prompter.passphraseRequests.isEmpty());
    QVERIFY(!run.session.DbIsOpen);
    QCOMPARE(run.prompter.numbers(), QList<int>{136});
    const ZLib::Unpacked unpacked = ZLib::UnpackBackup(fileBytes(target));
    QVERIFY(unpacked.ok);
    QCOMPARE(unpacked.data, fileBytes(path));
    QCOMPARE(unpacked.sourcePath, QDir::toNativeSeparators(QFileInfo(path).absoluteFilePath()));

    // Nothing in hand and nothing named: the command stops with the missing file.
    Run none;
    QVERIFY(backup_commands::BackupCommand(none.session, dir.path()).isEmpty());
    QCOMPARE(none.prompter.numbers(), QList<int>{134});
}

void TestBackupCommands::failedBackupStillReopens() {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("data.nct"));
    Run run;
    QCOMPARE(CreateDatabase(run.session, run.prompter, path, kPassphrase), 0);
    const std::int64_t record = AddRecord(run.store(), "still here");
    // A folder below a plain file can never be made, so the copy cannot be written.
    QVERIFY(writeFile(dir.filePath(QStringLiteral("plain")), "x"));
    QVERIFY(backup_commands::BackupCommand(run.session, dir.filePath(QStringLiteral("plain/sub"))).isEmpty());
    QCOMPARE(run.prompter.shown.last().number, 137);
    QVERIFY(run.session.DbIsOpen);
    QCOMPARE(run.prompter.passphraseRequests.size(), 1);
    QCOMPARE(ReadRecord(run.store(), record), QByteArray("still here"));
}

void TestBackupCommands::withdrawnRestore_data() {
    QTest::addColumn<Prompter::Reply>("confirmCancel");
    QTest::addColumn<RestoreOutcome>("outcome");
    QTest::newRow("withdrawal confirmed") << Prompter::Reply::Yes << RestoreOutcome::Cancelled;
    QTest::newRow("withdrawal taken back") << Prompter::Reply::No << RestoreOutcome::Restored;
}

void TestBackupCommands::withdrawnRestore() {
    QFETCH(Prompter::Reply, confirmCancel);
    QFETCH(RestoreOutcome, outcome);
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("data.nct"));
    Run run;
    QCOMPARE(CreateDatabase(run.session, run.prompter, path, kPassphrase), 0);
    const QString target = backup_commands::BackupCommand(run.session, dir.filePath(QStringLiteral("b")));
    QVERIFY(!target.isEmpty());
    const std::int64_t record = AddRecord(run.store(), "after the backup");
    const QByteArray before = fileBytes(path);

    run.prompter.folder = dir.path();
    answer(run.prompter, {Prompter::Reply::Cancel, confirmCancel});
    run.prompter.shown.clear();
    QCOMPARE(backup_commands::RestoreBackup(run.session, target, dir.path()), outcome);
    if (outcome == RestoreOutcome::Cancelled) {
        QCOMPARE(run.prompter.numbers(), (QList<int>{138, 139}));
        QVERIFY(run.session.DbIsOpen);
        QCOMPARE(QFileInfo(run.session.DbPath).absoluteFilePath(), QFileInfo(path).absoluteFilePath());
        QCOMPARE(fileBytes(path), before);
        QVERIFY(!QFileInfo::exists(dir.filePath(QStringLiteral("data.ncb"))));
        QVERIFY(!QFileInfo::exists(dir.filePath(QStringLiteral("data.ncr"))));
        QCOMPARE(ReadRecord(run.store(), record), QByteArray("after the backup"));
    } else {
        QCOMPARE(run.prompter.numbers(), (QList<int>{138, 139, 140}));
        TestSession former;
        QCOMPARE(OpenDatabase(former, dir.filePath(QStringLiteral("data.ncb")), kPassphrase), 0);
        QCOMPARE(ReadRecord(former.store(), record), QByteArray("after the backup"));
    }
}

void TestBackupCommands::failedExpansionTouchesNothing() {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("data.nct"));
    Run run;
    QCOMPARE(CreateDatabase(run.session, run.prompter, path, kPassphrase), 0);
    // A stale expansion from an earlier run must not be taken for this one.
    QVERIFY(writeFile(dir.filePath(QStringLiteral("data.ncr")), "stale"));
    const QString damaged = dir.filePath(QStringLiteral("data041224170455.ncz"));
    QVERIFY(writeFile(damaged, QByteArray(64, 'z')));
    const QByteArray before = fileBytes(path);

    QCOMPARE(backup_commands::RestoreBackup(run.session, damaged, dir.path()), RestoreOutcome::NotExpanded);
    QCOMPARE(run.prompter.shown.last().number, 131);
    QVERIFY(run.session.DbIsOpen);
    QCOMPARE(fileBytes(path), before);
    QVERIFY(!QFileInfo::exists(dir.filePath(QStringLiteral("data.ncb"))));
    QCOMPARE(fileBytes(dir.filePath(QStringLiteral("data.ncr"))), QByteArray("stale"));
}

void TestBackupCommands::restoreNeedsSelection() {
    Run run;
    QCOMPARE(backup_commands::RestoreBackup(run.session, QString(), QDir::tempPath()), RestoreOutcome::NoSelection);
    QCOMPARE(run.prompter.numbers(), QList<int>{161});
}

void TestBackupCommands::listParsesNamesAndSkipsBadOnes() {
    QTemporaryDir dir;
    const QList<QPair<QString, qsizetype>> files = {
        {QStringLiteral("mydata041224170455.ncz"), 2048}, {QStringLiteral("b991231235959.ncz"), 1},
        {QStringLiteral("Anna000229000000.NCZ"), 1025},   {QStringLiteral("short.ncz"), 10},
        {QStringLiteral("month041324170455.ncz"), 10},    {QStringLiteral("letters04122417045x.ncz"), 10},
        {QStringLiteral("empty041224170455.ncz"), 0},     {QStringLiteral("other041224170455.txt"), 10},
    };
    for (const auto& [name, size] : files) {
        QVERIFY(writeFile(dir.filePath(name), QByteArray(size, 'x')));
    }
    QVERIFY(QDir(dir.path()).mkdir(QStringLiteral("folder041224170455.ncz")));

    const QList<backup_commands::BackupEntry> entries = backup_commands::ListBackups(dir.path());
    QStringList names;
    for (const backup_commands::BackupEntry& entry : entries) {
        names << entry.original;
    }
    QCOMPARE(names, (QStringList{QStringLiteral("Anna.nct"), QStringLiteral("b.nct"), QStringLiteral("empty.nct"),
                                 QStringLiteral("mydata.nct")}));
    QCOMPARE(entries[0].moment, QDateTime(QDate(2000, 2, 29), QTime(0, 0)));
    QCOMPARE(entries[0].sizeKb, 2);
    QCOMPARE(entries[1].moment, QDateTime(QDate(2099, 12, 31), QTime(23, 59, 59)));
    QCOMPARE(entries[1].sizeKb, 1);
    QCOMPARE(entries[2].sizeKb, 0);
    QCOMPARE(entries[3].moment, QDateTime(QDate(2004, 12, 24), QTime(17, 4, 55)));
    QCOMPARE(entries[3].sizeKb, 2);
    QCOMPARE(entries[3].path, QFileInfo(dir.filePath(QStringLiteral("mydata041224170455.ncz"))).absoluteFilePath());

    QVERIFY(backup_commands::ListBackups(dir.filePath(QStringLiteral("missing"))).isEmpty());
    QVERIFY(backup_commands::ListBackups(QString()).isEmpty());
}

void TestBackupCommands::deleteAsksFirst() {
    QTemporaryDir dir;
    const QString file = dir.filePath(QStringLiteral("a041224170455.ncz"));
    QVERIFY(writeFile(file, "x"));
    Run run;
    answer(run.prompter, {Prompter::Reply::No});
    QVERIFY(!backup_commands::DeleteBackup(run.session, file));
    QVERIFY(QFileInfo::exists(file));
    answer(run.prompter, {Prompter::Reply::Yes});
    QVERIFY(backup_commands::DeleteBackup(run.session, file));
    QVERIFY(!QFileInfo::exists(file));
    QCOMPARE(run.prompter.numbers(), (QList<int>{145, 145}));
    QCOMPARE(run.prompter.shown[0].buttons, Prompter::Buttons::YesNo);

    QVERIFY(!backup_commands::DeleteBackup(run.session, QString()));
    QCOMPARE(run.prompter.numbers().last(), 161);
}

void TestBackupCommands::defaultBackupFolder() {
    QTemporaryDir dir;
    const QString stored = dir.filePath(QStringLiteral("stored"));
    const QString documents = dir.filePath(QStringLiteral("documents"));
    const QString database = dir.filePath(QStringLiteral("db/my.nct"));
    const QString beside = QFileInfo(database).absolutePath() + QStringLiteral("/Backup");
    QCOMPARE(backup_commands::DefaultBackupFolder(stored, database, documents), beside);
    QVERIFY(QDir().mkpath(stored));
    QCOMPARE(backup_commands::DefaultBackupFolder(stored, database, documents), stored);
    QCOMPARE(backup_commands::DefaultBackupFolder(QString(), database, documents), beside);
    QCOMPARE(backup_commands::DefaultBackupFolder(QString(), QString(), documents), documents);
    QCOMPARE(backup_commands::DefaultBackupFolder(dir.filePath(QStringLiteral("gone")), QString(), documents),
             documents);
}

void TestBackupCommands::prepareBackupFolder() {
    QTemporaryDir dir;
    Run run;
    const QString beside = dir.filePath(QStringLiteral("Backup"));
    const QString made = backup_commands::PrepareBackupFolder(run.session, dir.filePath(QStringLiteral("my.nct")));
    QCOMPARE(made, QDir::toNativeSeparators(beside));
    QVERIFY(QFileInfo(beside).isDir());
    QCOMPARE(RegReadValue(QStringLiteral("BackupPath")), made);
    QVERIFY(run.prompter.shown.isEmpty());

    // The remembered folder stays while it exists, wherever the database lies.
    QCOMPARE(backup_commands::PrepareBackupFolder(run.session, QStringLiteral("/elsewhere/x.nct")), made);

    // A folder that cannot be made: the person is asked for one.
    QVERIFY(QDir(beside).removeRecursively());
    QVERIFY(writeFile(dir.filePath(QStringLiteral("plain")), "x"));
    const QString blocked = dir.filePath(QStringLiteral("plain/my.nct"));
    run.prompter.folder = dir.filePath(QStringLiteral("chosen"));
    QCOMPARE(backup_commands::PrepareBackupFolder(run.session, blocked), QDir::toNativeSeparators(run.prompter.folder));
    QVERIFY(QFileInfo(run.prompter.folder).isDir());
    QVERIFY(QDir(run.prompter.folder).removeRecursively());
    run.prompter.folder.clear();
    QVERIFY(backup_commands::PrepareBackupFolder(run.session, blocked).isEmpty());
}

void TestBackupCommands::offerRestoredFile() {
    Run run;
    QCOMPARE(backup_commands::OfferRestoredFile(run.session), AfterRestore::ShowMenu);
    QVERIFY(run.prompter.shown.isEmpty());
    run.session.DbPath = QStringLiteral("/nowhere/restored.nct");
    answer(run.prompter, {Prompter::Reply::No});
    QCOMPARE(backup_commands::OfferRestoredFile(run.session), AfterRestore::ShowMenu);
    QCOMPARE(run.prompter.numbers(), QList<int>{141});
    QVERIFY(run.prompter.passphraseRequests.isEmpty());
}

void TestBackupCommands::workerExceptionReachesCaller() {
    Run run(true);
    bool caught = false;
    try {
        RunBusy(run.session.prompter, QStringLiteral("working"), [](Prompter& asker) {
            asker.message(1, QStringLiteral("from the worker"));
            throw std::runtime_error("disk gone");
        });
    } catch (const std::runtime_error&) {
        caught = true;
    }
    QVERIFY(caught);
    QCOMPARE(run.prompter.numbers(), QList<int>{1});
}

void TestBackupCommands::workerQuestionsAreAskedOnCallingThread() {
    Run run(true);
    answer(run.prompter, {Prompter::Reply::Retry});
    run.prompter.passphrases.enqueue(QStringLiteral("p"));
    run.prompter.newFile = QStringLiteral("new");
    run.prompter.openFile = QStringLiteral("existing");
    run.prompter.folder = QStringLiteral("folder");
    QStringList answers;
    QThread* worker = nullptr;
    RunBusy(run.session.prompter, QStringLiteral("working"), [&](Prompter& asker) {
        worker = QThread::currentThread();
        const Prompter::Reply reply =
            asker.message(1, QString(), Prompter::Buttons::RetryCancel, Prompter::Icon::Question);
        answers << (reply == Prompter::Reply::Retry ? QStringLiteral("retry") : QString());
        answers << asker.passphrase({}).text << asker.chooseNewFile({}, {}) << asker.chooseExistingFile({}, {})
                << asker.chooseFolder({}, {});
    });
    QCOMPARE(run.worker.busyCalls, 1);
    QVERIFY(worker != nullptr && worker != QThread::currentThread());
    QCOMPARE(answers, (QStringList{QStringLiteral("retry"), QStringLiteral("p"), QStringLiteral("new"),
                                   QStringLiteral("existing"), QStringLiteral("folder")}));
    QCOMPARE(run.worker.askedOn, QList<QThread*>(5, QThread::currentThread()));
}

QTEST_GUILESS_MAIN(TestBackupCommands)
#include "tst_backup_commands.moc"
