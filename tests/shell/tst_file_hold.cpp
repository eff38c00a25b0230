#include "shell/backup_commands.h"
#include "shell/file_choice.h"
#include "support/second_program.h"
#include "support/test_main.h"

#include <functional>

using State = std::function<bool(TestSession&, const QString&, const QString&)>;
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
class TestFileHold : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;
    QString m_path;
    const QString m_backups = m_dir.filePath(QStringLiteral("backups"));
    std::unique_ptr<TestSession> m_run;

    TestSession& run() { return *m_run; }

private Q_SLOTS:
    void init() {
        m_path = m_dir.filePath(QStringLiteral("%1.nct").arg(QTest::currentTestFunction()));
        QFile::remove(m_path);
        m_run = std::make_unique<TestSession>();
        QCOMPARE(CreateDatabase(run(), m_path, kPassphrase), 0);
        QVERIFY(AddRecord(run().store(), "a memo") > 0);
    }

    void cleanup() { m_run.reset(); }

    void refusedInEveryState_data() {
        QTest::addColumn<State>("state");
        QTest::newRow("just made") << State([](TestSession&, const QString&, const QString&) { return true; });
        QTest::newRow("opened") << State([](TestSession& r, const QString& path, const QString&) {
            open_sequence::CloseDatabase(r.session);
            return OpenDatabase(r, path, kPassphrase) == 0;
        });
        QTest::newRow("after a failed opening of the same file")
            << State([](TestSession& r, const QString& path, const QString&) {
                   r.session.OpenAttempts = 2;
                   return OpenDatabase(r, path, QStringLiteral("not the passphrase")) != 0 && r.session.DbIsOpen &&
                          r.store().database.isOpen();
               });
        QTest::newRow("after a backup") << State([](TestSession& r, const QString&, const QString& backups) {
            return !backup_commands::BackupCommand(r.session, backups).isEmpty() && r.session.DbIsOpen;
        });
        QTest::newRow("after compaction") << State([](TestSession& r, const QString& path, const QString&) {
            return open_sequence::RepairCompactCommand(r.session, path) == 0 && r.session.DbIsOpen;
        });
        QTest::newRow("after a passphrase change") << State([](TestSession& r, const QString&, const QString&) {
            r.prompter.passphrases << kPassphrase << kNewPassphrase;
            return open_sequence::ChangePassphraseCommand(r.session);
        });
        QTest::newRow("restored, before it is opened") << State([](TestSession& r, const QString&,
                                                                   const QString& backups) {
            const QString backup = backup_commands::BackupCommand(r.session, backups);
            r.prompter.replies << Prompter::Reply::Ok;
            return backup_commands::RestoreBackup(r.session, backup, {}) == backup_commands::RestoreOutcome::Restored &&
                   !r.session.DbIsOpen;
        });
        QTest::newRow("restored and opened") << State([](TestSession& r, const QString&, const QString& backups) {
            const QString backup = backup_commands::BackupCommand(r.session, backups);
            r.prompter.replies << Prompter::Reply::Ok << Prompter::Reply::Ok << Prompter::Reply::Yes;
            r.prompter.passphrases << kPassphrase;
            return backup_commands::RestoreBackup(r.session, backup, {}) == backup_commands::RestoreOutcome::Restored &&
                   backup_commands::OfferRestoredFile(r.session) == backup_commands::AfterRestore::Opened;
        });
    }

    void refusedInEveryState() {
        QFETCH(State, state);
        QVERIFY(state(run(), m_path, m_backups));
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
        QFile::remove(m_dir.filePath(QStringLiteral("backup.ncz")));
        QVERIFY(QFile::rename(backup, m_dir.filePath(QStringLiteral("backup.ncz"))));
        QCOMPARE(SecondProgramRefused(m_path, Command(command, m_path, m_dir.path()),
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
