#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>
#include <set>

#include <csignal>
#include <cstring>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include "shell/open_sequence.h"
#include "shell/session.h"
#include "store/backup.h"
#include "store/check.h"
#include "store/db.h"
#include "store/keys.h"
#include "store/record_get.h"
#include "store/record_put.h"
#include "store/row.h"
#include "store/users.h"
#include "store/version.h"
#include "support/scripted_prompter.h"
#include "support/test_databases.h"

// A program killed in the middle of its work must leave a file that opens with the passphrase that was valid
// before or after, holding every record committed before. A child process repeats one kind of work until it
// is killed at a moment that varies from run to run; the parent then looks at what is left.

namespace {

constexpr int kRuns = 20;
constexpr int kSpreadUs = 4000; // each pair of runs waits this much longer than the one before, plus a random part

const QString kPassphrases[2] = {QStringLiteral("first passphrase 1"), QStringLiteral("second passphrase 2")};

enum Work { RecordWrite, UserSave, PassphraseChange, Compaction, Backup, Restore };

// What the child tells the parent, one message per finished step.
struct Report {
    char tag; // 'R' ready, 'M' memo committed, 'P' passphrase now in use, 'B' backup written, 'S' restored
    qint64 value;
};

QByteArray readFile(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QString memoText(std::int64_t fpk) {
    return QStringLiteral("memo of row %1, written before the crash").arg(fpk);
}

std::int64_t addMemo(Store& store) {
    return AddNewRow(store.connection(), [&](std::int64_t fpk, RowValues& row) {
        row.set(Col::fSec, 14);
        const QByteArray sealed = store.cry.Cipher(static_cast<std::int32_t>(fpk), 1,
                                                   Record_Put::PutField(memoText(fpk), FieldType::Text, 5));
        row.set(Col::fEtx, sealed);
        return !sealed.isEmpty();
    });
}

// Opens a file through the store alone, as far as the key pool and the version record. 0 or the error.
int openStore(Store& store, const QString& path, const QString& passphrase) {
    if (const sqlite::Error e = store.database.Open(path)) {
        return e.number;
    }
    QString typed = passphrase;
    keys::SetDigests(store, typed);
    if (const int e = keys::LoadKeyPool(store)) {
        return e;
    }
    return version::LoadVersionRecord(store);
}

void send(int fd, char tag, qint64 value) {
    char message[9];
    message[0] = tag;
    memcpy(message + 1, &value, sizeof value);
    if (::write(fd, message, sizeof message) != sizeof message) {
        ::_exit(20);
    }
}

// The child's whole life: open, say so, then repeat the work until killed. Any failure is an exit code.
[[noreturn]] void runChild(Work work, const QString& path, int passphrase, const QStringList& extra, int fd) {
    ScriptedPrompter prompter;
    if (work == Restore) {
        // extra: the two backups, the folder to restore into; passphrase: which backup is in place now.
        const QString base = QDir(extra[2]).filePath(QStringLiteral("data"));
        send(fd, 'R', 0);
        for (int next = 1 - passphrase;; next = 1 - next) {
            QString expanded;
            if (ZLib::ExpandInto(extra[next], extra[2], expanded, prompter) <= 0) {
                ::_exit(30);
            }
            if (!backup::RestoreRenames(base)) {
                ::_exit(31);
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
        switch (work) {
        case RecordWrite:
            break;
        case UserSave:
            if (users::SaveUser(store, false) != 0 || users::SavePreferences(store) != 0) {
                ::_exit(11);
            }
            break;
        case PassphraseChange: {
            const int next = 1 - passphrase;
            const bool changed = keys::Rekey(store, [next](Store& s) {
                QString typed = kPassphrases[next];
                keys::SetDigests(s, typed);
                return 0;
            });
            if (!changed) {
                ::_exit(12);
            }
            passphrase = next;
            send(fd, 'P', passphrase);
            break;
        }
        case Compaction:
            if (open_sequence::RepairCompactCommand(session, path) != 0) {
                ::_exit(13);
            }
            break;
        case Backup: {
            // As the backup command does it: close, compact, compress, reopen with the keys kept.
            store.database.Close();
            if (check::CompactAndReplace(path, path.left(path.size() - 3) + QStringLiteral("tmp")) != 0) {
                ::_exit(14);
            }
            QString target = QDir(extra[0]).filePath(QStringLiteral("run%1-%2.ncz").arg(extra[1]).arg(step));
            if (ZLib::ProcessFile(true, path, target, prompter) <= 0) {
                ::_exit(15);
            }
            send(fd, 'B', step);
            if (store.database.Open(path)) {
                ::_exit(16);
            }
            break;
        }
        case Restore:
            break;
        }
        const std::int64_t fpk = addMemo(store);
        if (fpk == 0) {
            ::_exit(10);
        }
        send(fd, 'M', fpk);
    }
}

struct Outcome {
    QList<Report> reports;
    bool killed = false;
    int exitCode = -1;
    bool ready = false;
};

// Forks a child doing `work`, kills it `delayUs` after it is ready (or, with afterFirstStep, after it has
// finished one step), and collects what it reported.
Outcome runAndKill(Work work, const QString& path, int passphrase, const QStringList& extra, qint64 delayUs,
                   bool afterFirstStep) {
    Outcome outcome;
    int fds[2];
    if (::pipe(fds) != 0) {
        return outcome;
    }
    const pid_t child = ::fork();
    if (child == 0) {
        ::close(fds[0]);
        runChild(work, path, passphrase, extra, fds[1]);
    }
    ::close(fds[1]);
    if (child < 0) {
        ::close(fds[0]);
        return outcome;
    }
    char message[9];
    outcome.ready = ::read(fds[0], message, sizeof message) == sizeof message && message[0] == 'R';
    QByteArray rest;
    if (outcome.ready && afterFirstStep) {
        outcome.ready = ::read(fds[0], message, sizeof message) == sizeof message;
        rest.append(message, sizeof message);
    }
    if (outcome.ready) {
        const timespec wait{static_cast<time_t>(delayUs / 1000000), static_cast<long>(delayUs % 1000000) * 1000};
        ::nanosleep(&wait, nullptr);
    }
    ::kill(child, SIGKILL);
    int status = 0;
    ::waitpid(child, &status, 0);
    outcome.killed = WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
    outcome.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    for (;;) {
        char buffer[4096];
        const ssize_t n = ::read(fds[0], buffer, sizeof buffer);
        if (n <= 0) {
            break;
        }
        rest.append(buffer, n);
    }
    ::close(fds[0]);
    for (qsizetype at = 0; at + 9 <= rest.size(); at += 9) {
        Report report{rest[at], 0};
        memcpy(&report.value, rest.constData() + at + 1, sizeof report.value);
        outcome.reports << report;
    }
    return outcome;
}

// Opens `path` with the passphrase and checks that every record of `committed` and every memo in the file
// deciphers, and that the user's row and the version record read. Empty when all is well; `memos` gets the
// memos found.
QString verify(const QString& path, const QString& passphrase, const std::set<std::int64_t>& committed,
               std::set<std::int64_t>* memos = nullptr, int* openError = nullptr) {
    ScriptedPrompter prompter;
    Store store(prompter);
    const int opened = openStore(store, path, passphrase);
    if (openError != nullptr) {
        *openError = opened;
    }
    if (opened != 0) {
        return QStringLiteral("does not open (%1)").arg(opened);
    }
    if (store.DbVersion.major != 2 || store.DbVersion.minor != 5) {
        return QStringLiteral("version record reads %1.%2").arg(store.DbVersion.major).arg(store.DbVersion.minor);
    }
    const std::optional<Row> user = ReadRow(store.connection(), store.user.fPK);
    if (!user || store.cry.Cipher(store.user.fPK, 2, user->bytes(Col::fT1)).isEmpty()) {
        return QStringLiteral("the user's preferences do not decipher");
    }
    std::set<std::int64_t> found;
    sqlite::Statement select = store.connection().prepare("SELECT fPK, fEtx FROM tt WHERE fSec=14");
    while (select.step()) {
        const std::int64_t fpk = select.int64(0);
        FieldValues values;
        Record_Get::GetRecord(values, store.cry.Cipher(static_cast<std::int32_t>(fpk), 2, select.bytes(1)));
        if (values.size() <= 5 || values[5].toString() != memoText(fpk)) {
            return QStringLiteral("memo %1 does not decipher").arg(fpk);
        }
        found.insert(fpk);
    }
    if (select.error()) {
        return select.error().description;
    }
    for (const std::int64_t fpk : committed) {
        if (!found.count(fpk)) {
            return QStringLiteral("committed memo %1 is gone").arg(fpk);
        }
    }
    if (memos != nullptr) {
        *memos = found;
    }
    return {};
}

const char* workName(Work work) {
    switch (work) {
    case RecordWrite:
        return "record write";
    case UserSave:
        return "user save";
    case PassphraseChange:
        return "passphrase change";
    case Compaction:
        return "compaction";
    case Backup:
        return "backup";
    case Restore:
        return "restore";
    }
    return "";
}

} // namespace

class TestFaults : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void init();
    void killedDuringWork_data();
    void killedDuringWork();
    void killedDuringRestore();

private:
    // A new file under `passphrase` with some memos, closed again.
    QString created(const QString& path, int passphrase, std::set<std::int64_t>& memos);
    // Runs in pairs: one killed counting from the child's start, one counting from its first finished step.
    qint64 delayOf(int run) const {
        return static_cast<qint64>(run / 2) * kSpreadUs + QRandomGenerator::global()->bounded(kSpreadUs);
    }

    QTemporaryDir m_config;
    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestFaults::initTestCase() {
    // The settings store (last file, last user) must not reach the real one of whoever runs the tests.
    QVERIFY(m_config.isValid());
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(m_config.path()));
}

void TestFaults::init() {
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
}

QString TestFaults::created(const QString& path, int passphrase, std::set<std::int64_t>& memos) {
    ScriptedPrompter prompter;
    Session session(prompter);
    if (CreateDatabase(session, prompter, path, kPassphrases[passphrase]) != 0) {
        return {};
    }
    for (int i = 0; i < 20; ++i) {
        memos.insert(addMemo(session.store()));
    }
    open_sequence::CloseDatabase(session);
    return path;
}

void TestFaults::killedDuringWork_data() {
    QTest::addColumn<int>("work");
    for (const Work work : {RecordWrite, UserSave, PassphraseChange, Compaction, Backup}) {
        QTest::newRow(workName(work)) << int(work);
    }
}

void TestFaults::killedDuringWork() {
    QFETCH(int, work);
    std::set<std::int64_t> committed;
    const QString path = created(m_dir->filePath(QStringLiteral("data.nct")), 0, committed);
    QVERIFY(!path.isEmpty());
    const QString backups = m_dir->filePath(QStringLiteral("backups"));
    QVERIFY(QDir().mkpath(backups));
    int passphrase = 0;
    int reportsSeen = 0;
    std::set<QString> backupsSeen;

    for (int run = 0; run < kRuns; ++run) {
        const qint64 delay = delayOf(run);
        const QString where = QStringLiteral("run %1, killed %2 us after %3")
                                  .arg(run)
                                  .arg(delay)
                                  .arg(QLatin1String(run % 2 ? "the first step" : "the start"));
        const Outcome outcome =
            runAndKill(static_cast<Work>(work), path, passphrase, {backups, QString::number(run)}, delay, run % 2 == 1);
        QVERIFY2(outcome.ready,
                 qPrintable(where + QStringLiteral(": the child did not start, exit %1").arg(outcome.exitCode)));
        QVERIFY2(outcome.killed,
                 qPrintable(where + QStringLiteral(": the child ended by itself, exit %1").arg(outcome.exitCode)));
        reportsSeen += static_cast<int>(outcome.reports.size());

        // The passphrase in force is the last one the child reported done, or the one it was changing to.
        for (const Report& report : outcome.reports) {
            if (report.tag == 'M') {
                committed.insert(report.value);
            } else if (report.tag == 'P') {
                passphrase = static_cast<int>(report.value);
            }
        }
        const sqlite::Error check = db::CheckDatabase(path);
        QVERIFY2(!check, qPrintable(where + QStringLiteral(": ") + check.description));

        std::set<std::int64_t> memos;
        int openError = 0;
        QString problem = verify(path, kPassphrases[passphrase], committed, &memos, &openError);
        if (work == PassphraseChange && openError == StoreError::WrongPassphrase) {
            // Killed after the new passphrase was sealed but before the child could say so.
            passphrase = 1 - passphrase;
            problem = verify(path, kPassphrases[passphrase], committed, &memos);
        } else if (problem.isEmpty()) {
            int otherError = 0;
            verify(path, kPassphrases[1 - passphrase], committed, nullptr, &otherError);
            QVERIFY2(otherError == StoreError::WrongPassphrase,
                     qPrintable(where + QStringLiteral(": the other passphrase gives %1").arg(otherError)));
        }
        QVERIFY2(problem.isEmpty(), qPrintable(where + QStringLiteral(": ") + problem));
        // Memos that made it without being reported are committed from now on.
        committed = memos;

        if (work == Backup) {
            // Every file under a backup's name is complete; a cut one would only be under a temporary name.
            for (const QString& name : QDir(backups).entryList({QStringLiteral("*.ncz")}, QDir::Files)) {
                if (backupsSeen.count(name)) {
                    continue;
                }
                backupsSeen.insert(name);
                const ZLib::Unpacked unpacked = ZLib::UnpackBackup(readFile(QDir(backups).filePath(name)));
                QVERIFY2(unpacked.ok, qPrintable(where + QStringLiteral(": %1 does not expand").arg(name)));
                QCOMPARE(QFileInfo(unpacked.sourcePath), QFileInfo(path));
                const QString copy = m_dir->filePath(QStringLiteral("expanded.nct"));
                QFile::remove(copy);
                QFile out(copy);
                QVERIFY(out.open(QIODevice::WriteOnly));
                QCOMPARE(out.write(unpacked.data), unpacked.data.size());
                out.close();
                QCOMPARE(db::CheckDatabase(copy).number, 0);
                const QString inBackup = verify(copy, kPassphrases[0], {});
                QVERIFY2(inBackup.isEmpty(), qPrintable(where + QStringLiteral(": %1 ").arg(name) + inBackup));
            }
            for (const Report& report : outcome.reports) {
                if (report.tag == 'B') {
                    const QString name = QStringLiteral("run%1-%2.ncz").arg(run).arg(report.value);
                    QVERIFY2(backupsSeen.count(name), qPrintable(where + QStringLiteral(": %1 is gone").arg(name)));
                }
            }
        }
    }
    // Half the kills at least fell among the work, not before it.
    QVERIFY2(reportsSeen >= kRuns / 2, qPrintable(QStringLiteral("only %1 steps were done").arg(reportsSeen)));
    if (work == Backup) {
        QVERIFY(backupsSeen.size() > 1);
    }
}

void TestFaults::killedDuringRestore() {
    // Two backups of files of the same name, told apart by their passphrases and memos, are restored by turns
    // over each other, so that every kill finds a former file and a restored one.
    std::set<std::int64_t> memos[2];
    QByteArray databases[2];
    QString packed[2];
    for (int k = 0; k < 2; ++k) {
        const QString folder = m_dir->filePath(QStringLiteral("source%1").arg(k));
        QVERIFY(QDir().mkpath(folder));
        const QString file = created(QDir(folder).filePath(QStringLiteral("data.nct")), k, memos[k]);
        QVERIFY(!file.isEmpty());
        databases[k] = readFile(file);
        packed[k] = m_dir->filePath(QStringLiteral("backup%1.ncz").arg(k));
        ScriptedPrompter prompter;
        QVERIFY(ZLib::ProcessFile(true, file, packed[k], prompter) > 0);
    }
    QVERIFY(databases[0] != databases[1]);
    const QString target = m_dir->filePath(QStringLiteral("target"));
    QVERIFY(QDir().mkpath(target));
    const QString base = QDir(target).filePath(QStringLiteral("data"));
    QVERIFY(QFile::copy(m_dir->filePath(QStringLiteral("source0/data.nct")), base + QStringLiteral(".nct")));
    auto which = [&databases](const QByteArray& bytes) {
        return bytes == databases[0] ? 0 : bytes == databases[1] ? 1 : -1;
    };

    int restores = 0;
    for (int run = 0; run < kRuns; ++run) {
        const qint64 delay = delayOf(run);
        const QString where = QStringLiteral("run %1, killed %2 us after %3")
                                  .arg(run)
                                  .arg(delay)
                                  .arg(QLatin1String(run % 2 ? "the first step" : "the start"));
        const int inPlace = which(readFile(base + QStringLiteral(".nct")));
        const Outcome outcome =
            runAndKill(Restore, QString(), inPlace, {packed[0], packed[1], target}, delay, run % 2 == 1);
        QVERIFY2(outcome.ready && outcome.killed,
                 qPrintable(where + QStringLiteral(": the child ended by itself, exit %1").arg(outcome.exitCode)));
        restores += static_cast<int>(outcome.reports.size());

        // The file is always there whole, the former or the restored one; what lies beside it is whole too.
        const int now = which(readFile(base + QStringLiteral(".nct")));
        QVERIFY2(now >= 0, qPrintable(where + QStringLiteral(": no complete database under data.nct; files: ") +
                                      QDir(target).entryList(QDir::Files).join(u' ')));
        for (const QString& beside : {QStringLiteral(".ncb"), QStringLiteral(".ncr")}) {
            if (QFileInfo::exists(base + beside)) {
                QVERIFY2(which(readFile(base + beside)) >= 0, qPrintable(where + QStringLiteral(": cut ") + beside));
            }
        }
        for (const QString& name : QDir(target).entryList(QDir::Files)) {
            QVERIFY2(name.startsWith(QLatin1String("data.nc")), qPrintable(where + QStringLiteral(": left ") + name));
        }
        // And it opens with its own passphrase. A copy is opened so that the next run finds the bytes as they were.
        const QString copy = m_dir->filePath(QStringLiteral("opened.nct"));
        QFile::remove(copy);
        QVERIFY(QFile::copy(base + QStringLiteral(".nct"), copy));
        const QString problem = verify(copy, kPassphrases[now], memos[now]);
        QVERIFY2(problem.isEmpty(), qPrintable(where + QStringLiteral(": ") + problem));
    }
    QVERIFY2(restores >= kRuns / 2, qPrintable(QStringLiteral("only %1 restores were done").arg(restores)));
}

QTEST_GUILESS_MAIN(TestFaults)
#include "tst_faults.moc"
