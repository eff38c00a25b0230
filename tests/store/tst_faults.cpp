#include "store/backup.h"
#include "store/check.h"
#include "store/db.h"
#include "store/keys.h"
#include "store/users.h"
#include "store/version.h"
#include "support/test_main.h"

#include <csignal>
#include <memory>
#include <set>

#include <sys/wait.h>
#include <unistd.h>

// A program killed in the middle of its work must leave a file that opens with the passphrase that was valid
// before or after, holding every record committed before. A child process repeats one kind of work until it
// is killed at a moment that varies from run to run; the parent then looks at what is left.

namespace {

constexpr int kRuns = 10;

const QString kPassphrases[2] = {QStringLiteral("first passphrase 1"), QStringLiteral("second passphrase 2")};
const QByteArray kMemo = "a memo written before the crash";

enum Work { RecordWrite, UserSave, PassphraseChange, Compaction, Backup, Restore };

// What the child tells the parent, one line per finished step: 'R' ready, 'M' memo committed (its key),
// 'P' passphrase now in use, 'S' restored.
using Report = std::pair<char, qint64>;

// Opens a file through the store alone, as far as the key pool and the version record. 0 or the error.
int openStore(Store& store, const QString& path, const QString& passphrase) {
    if (const sqlite::Error e = store.database.Open(path)) {
        return e.number;
    }
    QString typed = passphrase;
    keys::SetDigests(store, typed);
    const int e = keys::LoadKeyPool(store);
    return e != 0 ? e : version::LoadVersionRecord(store);
}

void send(int fd, char tag, qint64 value) {
    const QByteArray line = tag + QByteArray::number(value) + '\n';
    if (::write(fd, line.constData(), line.size()) != line.size()) {
        ::_exit(20);
    }
}

// The child's whole life: open, say so, then repeat the work until killed. Any failure is an exit code.
[[noreturn]] void runChild(Work work, const QString& path, int passphrase, const QStringList& extra, int fd) {
    ScriptedPrompter prompter;
    if (work == Restore) {
        // extra: the two backups, the folder to restore into; passphrase: which backup is in place now.
        send(fd, 'R', 0);
        db::FileHold hold;
        for (int next = 1 - passphrase;; next = 1 - next) {
            QString expanded;
            if (ZLib::ExpandInto(extra[next], extra[2], expanded, prompter, hold) <= 0 ||
                backup::RestoreRenames(QDir(extra[2]).filePath(QStringLiteral("data")), hold)) {
                ::_exit(30);
            }
            send(fd, 'S', next);
        }
    }
    auto owned = std::make_unique<Store>(prompter);
    if (openStore(*owned, path, kPassphrases[passphrase]) != 0) {
        ::_exit(3);
    }
    Session session(prompter);
    session.adopt(std::move(owned));
    session.DbPath = path;
    session.DbIsOpen = true;
    Store& store = session.store();
    send(fd, 'R', 0);
    for (qint64 step = 0;; ++step) {
        if (work == UserSave && (users::SaveUser(store, false) != 0 || users::SavePreferences(store) != 0)) {
            ::_exit(11);
        } else if (work == PassphraseChange) {
            passphrase = 1 - passphrase;
            QString typed = kPassphrases[passphrase];
            if (!keys::Rekey(store, [&typed](Store& s) { return keys::SetDigests(s, typed), 0; })) {
                ::_exit(12);
            }
            send(fd, 'P', passphrase);
        } else if (work == Compaction && open_sequence::RepairCompactCommand(session, path) != 0) {
            ::_exit(13);
        } else if (work == Backup) {
            // As the backup command does it: close, compact, compress, reopen with the keys kept.
            store.database.CloseKeepingHold();
            QString target = QDir(extra[0]).filePath(QStringLiteral("run%1-%2.ncz").arg(extra[1]).arg(step));
            if (check::CompactAndReplace(store.database.hold(), path.left(path.size() - 3) + QStringLiteral("tmp")) !=
                    0 ||
                ZLib::ProcessFile(true, path, target, prompter) <= 0 || store.database.Open(path)) {
                ::_exit(14);
            }
        }
        if (const std::int64_t fpk = AddRecord(store, kMemo)) {
            send(fd, 'M', fpk);
        } else {
            ::_exit(10);
        }
    }
}

// Forks a child doing `work`, kills it `delayUs` after it is ready (or has finished a step), and returns what it
// reported; the last report is tagged 'X' when it did not start or ended by itself.
QList<Report> runAndKill(Work work, const QString& path, int passphrase, const QStringList& extra, qint64 delayUs,
                         bool afterFirstStep) {
    int fds[2];
    if (::pipe(fds) != 0) {
        return {{'X', -1}};
    }
    const pid_t child = ::fork();
    if (child == 0) {
        ::close(fds[0]);
        runChild(work, path, passphrase, extra, fds[1]);
    }
    ::close(fds[1]);
    QFile pipe;
    pipe.open(fds[0], QIODevice::ReadOnly, QFileDevice::AutoCloseHandle);
    const bool started = pipe.readLine() == "R0\n";
    const QByteArray first = started && afterFirstStep ? pipe.readLine() : QByteArray();
    if (started) {
        QThread::usleep(static_cast<unsigned long>(delayUs));
    }
    ::kill(child, SIGKILL);
    int status = 0;
    ::waitpid(child, &status, 0);
    QList<Report> reports;
    for (const QByteArray& line : (first + pipe.readAll()).split('\n')) {
        if (!line.isEmpty()) {
            reports << Report{line[0], line.mid(1).toLongLong()};
        }
    }
    if (!started || !WIFSIGNALED(status) || WTERMSIG(status) != SIGKILL) {
        reports << Report{'X', WIFEXITED(status) ? WEXITSTATUS(status) : -1};
    }
    return reports;
}

// Opens `path` with the passphrase and checks that every memo in it deciphers and none of `committed` is
// missing; then `committed` becomes the memos found. Empty when all is well.
QString verify(const QString& path, const QString& passphrase, std::set<std::int64_t>& committed) {
    ScriptedPrompter prompter;
    Store store(prompter);
    if (const int opened = openStore(store, path, passphrase)) {
        return QStringLiteral("does not open (%1)").arg(opened);
    }
    std::set<std::int64_t> found;
    sqlite::Statement select = store.connection().prepare("SELECT fPK FROM tt WHERE fSec=14");
    while (select.step()) {
        found.insert(select.int64(0));
        if (ReadRecord(store, select.int64(0)) != kMemo) {
            return QStringLiteral("memo %1 does not decipher").arg(select.int64(0));
        }
    }
    if (!std::includes(found.begin(), found.end(), committed.begin(), committed.end())) {
        return QStringLiteral("a committed memo is gone");
    }
    committed = found;
    return {};
}

} // namespace

class TestFaults : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init() {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(m_dir->isValid());
    }

    void killedDuringWork_data() {
        QTest::addColumn<int>("work");
        QTest::newRow("record write") << int(RecordWrite);
        QTest::newRow("user save") << int(UserSave);
        QTest::newRow("passphrase change") << int(PassphraseChange);
        QTest::newRow("compaction") << int(Compaction);
        QTest::newRow("backup") << int(Backup);
        QTest::newRow("restore") << int(Restore);
    }

    void killedDuringWork() {
        QFETCH(int, work);
        const QString path = m_dir->filePath(QStringLiteral("data.nct"));
        const QString backups = m_dir->filePath(QStringLiteral("backups"));
        QVERIFY(QDir().mkpath(backups));
        QStringList extra{backups, QString()};
        std::set<std::int64_t> committed;
        std::set<std::int64_t> memos[2];
        QByteArrayList databases{QByteArray(), QByteArray()};
        if (work == Restore) {
            // Two backups of files of the same name, told apart by their passphrases and memos, are restored by turns
            // over each other, so that every kill finds a former file and a restored one.
            for (int k = 0; k < 2; ++k) {
                const QString folder = m_dir->filePath(QStringLiteral("source%1").arg(k));
                QVERIFY(QDir().mkpath(folder));
                const QString file = created(QDir(folder).filePath(QStringLiteral("data.nct")), k, memos[k]);
                databases[k] = FileBytes(file);
                extra[k] = m_dir->filePath(QStringLiteral("backup%1.ncz").arg(k));
                ScriptedPrompter prompter;
                QVERIFY(ZLib::ProcessFile(true, file, extra[k], prompter) > 0);
            }
            extra << m_dir->path();
            QVERIFY(QFile::copy(m_dir->filePath(QStringLiteral("source0/data.nct")), path));
        } else {
            QCOMPARE(created(path, 0, committed), path);
        }
        auto which = [&databases](const QString& file) { return int(databases.indexOf(FileBytes(file))); };
        int passphrase = 0;
        int reportsSeen = 0;

        for (int run = 0; run < kRuns; ++run) {
            // Every other run is killed counting from the first finished step rather than from the start.
            const qint64 delay = run / 2 * 4000 + QRandomGenerator::global()->bounded(4000);
            const QString where = QStringLiteral("run %1, killed %2 us later").arg(run).arg(delay);
            if (work != Restore) {
                extra[1] = QString::number(run);
            }
            const QList<Report> reports =
                runAndKill(static_cast<Work>(work), path, passphrase, extra, delay, run % 2 == 1);
            QVERIFY2(reports.isEmpty() || reports.last().first != 'X',
                     qPrintable(where + QStringLiteral(": not killed")));
            reportsSeen += static_cast<int>(reports.size());
            // The passphrase in force is the last one the child reported done, or the one it was changing to.
            for (const Report& report : reports) {
                if (report.first == 'M') {
                    committed.insert(report.second);
                } else if (report.first == 'P') {
                    passphrase = static_cast<int>(report.second);
                }
            }
            QString checked = path;
            if (work == Restore) {
                // Always a whole file under data.nct, the former or the restored one.
                passphrase = which(path);
                QVERIFY2(passphrase >= 0, qPrintable(where + QStringLiteral(": no complete database under data.nct")));
                committed = memos[passphrase];
                // Checked on a copy, so that the next run finds the bytes as they were.
                checked = CopyWritable(path, m_dir->filePath(QStringLiteral("opened.nct")));
            }
            const sqlite::Error check = db::CheckDatabase(checked);
            QVERIFY2(!check, qPrintable(where + QStringLiteral(": ") + check.description));

            QString problem = verify(checked, kPassphrases[passphrase], committed);
            if (work == PassphraseChange && !problem.isEmpty()) {
                // Killed after the new passphrase was sealed but before the child could say so.
                passphrase = 1 - passphrase;
                problem = verify(checked, kPassphrases[passphrase], committed);
            }
            std::set<std::int64_t> none;
            QCOMPARE(verify(checked, kPassphrases[1 - passphrase], none),
                     QStringLiteral("does not open (%1)").arg(StoreError::WrongPassphrase));
            QVERIFY2(problem.isEmpty(), qPrintable(where + QStringLiteral(": ") + problem));
            // Every file under a backup's name is complete; a cut one would only be under a temporary name.
            for (const QString& name : QDir(backups).entryList({QStringLiteral("*.ncz")}, QDir::Files)) {
                QVERIFY2(ZLib::UnpackBackup(FileBytes(QDir(backups).filePath(name))).ok,
                         qPrintable(where + QStringLiteral(": %1 does not expand").arg(name)));
            }
        }
        // Half the kills at least fell among the work, not before it.
        QVERIFY2(reportsSeen >= kRuns / 2, qPrintable(QStringLiteral("only %1 steps were done").arg(reportsSeen)));
        QVERIFY(work != Backup || QDir(backups).entryList({QStringLiteral("*.ncz")}, QDir::Files).size() > 1);
    }

private:
    // A new file under `passphrase` with some memos, closed again.
    QString created(const QString& path, int passphrase, std::set<std::int64_t>& memos);

    std::unique_ptr<QTemporaryDir> m_dir;
};

QString TestFaults::created(const QString& path, int passphrase, std::set<std::int64_t>& memos) {
    return MadeDatabase(path, kPassphrases[passphrase], [&memos](Store& store) {
        for (int i = 0; i < 20; ++i) {
            memos.insert(AddRecord(store, kMemo));
        }
    });
}

NCT_TEST_MAIN(TestFaults)
#include "tst_faults.moc"
