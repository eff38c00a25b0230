#include "shell/backup_commands.h"
#include "shell/file_choice.h"
#include "support/second_program.h"
#include "support/test_main.h"

#include <functional>

// Brings this program's file into a state; whether it got there.
using State = std::function<bool()>;
Q_DECLARE_METATYPE(State)

namespace {

const QString kPassphrase = QStringLiteral("correct horse battery");
const QString kNewPassphrase = QStringLiteral("another horse battery");

// A command of the other program, reaching for the file in every way it can.
QStringList Command(const QString& words, const QString& path, const QString& folder) {
    QStringList args = words.split(u' ');
    for (QString& arg : args) {
        arg.replace(QLatin1String("FILE"), path).replace(QLatin1String("DIR"), folder);
    }
    return args;
}

} // namespace

// One program at a time holds a file: whatever this program did with it last, a second program is refused and
// changes nothing.
class TestFileHold : public FileTest {
    Q_OBJECT

    QString m_backups;

    TestSession& run() { return *m_run; }
    // Backs the file up, then restores the backup over it with these answers.
    bool restored(const QList<Prompter::Reply>& replies) {
        const QString backup = backup_commands::BackupCommand(run().session, m_backups);
        run().prompter.replies << replies;
        return backup_commands::RestoreBackup(run().session, backup, {}) == backup_commands::RestoreOutcome::Restored;
    }

private Q_SLOTS:
    void init() {
        QVERIFY(newFile(kPassphrase));
        m_backups = m_dir->filePath(QStringLiteral("backups"));
        QVERIFY(AddRecord(store(), "a memo") > 0);
    }

    void cleanup() { m_run.reset(); }

    void refusedInEveryState_data() {
        QTest::addColumn<State>("state");
        // The states run after init(), on the session and file it made.
        QTest::newRow("just made") << State([] { return true; });
        QTest::newRow("opened") << State([this] {
            open_sequence::CloseDatabase(run().session);
            return OpenDatabase(run(), m_path, kPassphrase) == 0;
        });
        QTest::newRow("after a failed opening of the same file") << State([this] {
            run().session.OpenAttempts = 2;
            return OpenDatabase(run(), m_path, QStringLiteral("not the passphrase")) != 0 && run().session.DbIsOpen &&
                   run().store().database.isOpen();
        });
        QTest::newRow("after a backup") << State([this] {
            return !backup_commands::BackupCommand(run().session, m_backups).isEmpty() && run().session.DbIsOpen;
        });
        QTest::newRow("after compaction") << State([this] {
            return open_sequence::RepairCompactCommand(run().session, m_path) == 0 && run().session.DbIsOpen;
        });
        QTest::newRow("after a passphrase change") << State([this] {
            run().prompter.passphrases << kPassphrase << kNewPassphrase;
            return open_sequence::ChangePassphraseCommand(run().session);
        });
        QTest::newRow("restored, before it is opened")
            << State([this] { return restored({Prompter::Reply::Ok}) && !run().session.DbIsOpen; });
        QTest::newRow("restored and opened") << State([this] {
            run().prompter.passphrases << kPassphrase;
            return restored({Prompter::Reply::Ok, Prompter::Reply::Ok, Prompter::Reply::Yes}) &&
                   backup_commands::OfferRestoredFile(run().session) == backup_commands::AfterRestore::Opened;
        });
    }

    void refusedInEveryState() {
        QFETCH(State, state);
        QVERIFY(state());
        QVERIFY(LockedByThisProcess(m_path));
        QCOMPARE(SecondProgramRefused(m_path, {QStringLiteral("info"), m_path}), QString());
        // The file is still this program's to use.
        if (run().session.DbIsOpen) {
            QVERIFY(AddRecord(run().store(), "written after the refusal") > 0);
        }
    }

    void everyCommandRefused_data() {
        QTest::addColumn<QString>("command");
        for (const char* command : {"info FILE", "check FILE", "dump FILE", "passwd FILE", "compact FILE",
                                    "backup FILE DIR", "restore DIR/backup.ncz DIR", "budget list FILE",
                                    "budget totals FILE --budget 0 --from 2026-01-01 --to 2026-12-31",
                                    "budget add FILE --budget 0 --date 2026-11-23 --credit 5 --item Coffee"}) {
            QTest::newRow(command) << QString::fromLatin1(command);
        }
    }

    void everyCommandRefused() {
        QFETCH(QString, command);
        // A backup of the held file lies beside it, so that a restore would replace it.
        const QString backup = backup_commands::BackupCommand(run().session, m_backups);
        QVERIFY(QFile::rename(backup, m_dir->filePath(QStringLiteral("backup.ncz"))));
        QCOMPARE(SecondProgramRefused(m_path, Command(command, m_path, m_dir->path()),
                                      (kPassphrase + u'\n').toUtf8().repeated(3)),
                 QString());
        for (const char* left : {".ncr", ".ncb", ".tmp"}) {
            QVERIFY(!QFileInfo::exists(m_path.chopped(4) + QLatin1String(left)));
        }
    }

    void heldFileIsNeverTakenForDamaged() {
        // The other program, asking through the shell's own check, is told which file is held, not offered a
        // repair, and keeps it as the one to open.
        TestSession other;
        other.session.DbPath = m_path;
        QCOMPARE(file_choice::CheckDatabaseFile(other.session), sqlite::kErrLocked);
        QCOMPARE(other.prompter.numbers(), QList<int>{0});
        QVERIFY(other.prompter.shown.first().text.endsWith(QStringLiteral("\n\n") + m_path));
        QCOMPARE(other.session.DbPath, m_path);
        // This program opening its own file again is no refusal at all.
        run().session.DbPath = m_path;
        QCOMPARE(file_choice::CheckDatabaseFile(run().session), 0);
    }
};

NCT_TEST_MAIN(TestFileHold)
#include "tst_file_hold.moc"
