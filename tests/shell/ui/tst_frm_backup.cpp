#include "shell/ui/frm_backup.h"
#include "shell/ui/frm_restore.h"

#include "shell/settings.h"
#include "support/gui.h"

namespace {

const QString kPassphrase = QStringLiteral("correct horse battery");

// The backups in the restore list, as name, date and size in KB.
QStringList Listed(QWidget& form) {
    auto* list = Find<QTreeWidget>(form, QStringLiteral("lvBackups"));
    QStringList rows;
    for (int i = 0; i < list->topLevelItemCount(); ++i) {
        rows << QStringList{list->topLevelItem(i)->text(0), list->topLevelItem(i)->text(1),
                            list->topLevelItem(i)->text(2)}
                    .join(u'|');
    }
    return rows;
}

} // namespace

class TestFrmBackup : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init() { test_env::ForgetSettings(); }

    void restoreListsBackupsAndFollowsTheFolder() {
        QTemporaryDir dir;
        const QString first = dir.filePath(QStringLiteral("first"));
        const QString second = dir.filePath(QStringLiteral("second"));
        QVERIFY(QDir().mkpath(first) && QDir().mkpath(second));
        QVERIFY(WriteFile(first + QStringLiteral("/mydata041224170455.ncz"), QByteArray(3000, 'x')));
        QVERIFY(WriteFile(first + QStringLiteral("/mydata050101080000.ncz"), QByteArray(1024, 'x')));
        QVERIFY(WriteFile(first + QStringLiteral("/Anna000229000000.NCZ"), QByteArray(1025, 'x')));
        // What is no backup's name is passed over: too short, a month 13, another extension, a folder.
        for (const char* name : {"/junk.ncz", "/month041324170455.ncz", "/other041224170455.txt"}) {
            QVERIFY(WriteFile(first + QLatin1String(name), "x"));
        }
        QVERIFY(QDir().mkpath(first + QStringLiteral("/folder041224170455.ncz")));
        QVERIFY(WriteFile(second + QStringLiteral("/c041224170455.ncz"), "x"));
        QVERIFY(WriteFile(second + QStringLiteral("/d041224170455.ncz"), "x"));
        RegWriteText(QStringLiteral("BackupPath"), QDir::toNativeSeparators(first));

        TestSession run;
        frmRestore form(run.session);
        form.show();
        QVERIFY(QTest::qWaitForWindowExposed(&form));
        QCOMPARE(Listed(form), QStringList({"Anna.nct|2/29/2000 00:00:00|2", "mydata.nct|12/24/2004 17:04:55|3",
                                            "mydata.nct|1/1/2005 08:00:00|1"}));
        // The newest backup is the one offered.
        auto* list = Find<QTreeWidget>(form, QStringLiteral("lvBackups"));
        QCOMPARE(list->currentItem(), list->topLevelItem(2));

        run.prompter.folder = second;
        Click(form, QStringLiteral("cmdChangeDir_0"));
        QCOMPARE(Find<QLineEdit>(form, QStringLiteral("txtBackupFolder"))->text(), QDir::toNativeSeparators(second));
        QCOMPARE(Listed(form), QStringList({"c.nct|12/24/2004 17:04:55|1", "d.nct|12/24/2004 17:04:55|1"}));

        // Deleting asks first; No keeps the backup.
        list->setCurrentItem(list->topLevelItem(0));
        run.prompter.replies << Prompter::Reply::No;
        Click(form, QStringLiteral("cmdDelete"));
        QCOMPARE(list->topLevelItemCount(), 2);
        run.prompter.replies << Prompter::Reply::Yes;
        Click(form, QStringLiteral("cmdDelete"));
        QCOMPARE(run.prompter.numbers(), (QList<int>{145, 145}));
        QCOMPARE(FilesIn(second), QStringList{QStringLiteral("d041224170455.ncz")});
        QCOMPARE(Listed(form), QStringList({"d.nct|12/24/2004 17:04:55|1"}));
    }

    void backupThenRestoreThroughTheForms() {
        QTemporaryDir dir;
        TestSession run;
        QCOMPARE(CreateDatabase(run, dir.filePath(QStringLiteral("mydata.nct")), kPassphrase), 0);
        const std::int64_t kept = AddRecord(run.store(), "in the backup");
        const QString folder = dir.filePath(QStringLiteral("chosen"));
        WhenModal<frmBackup>([&](frmBackup* form) {
            Find<QLineEdit>(*form, QStringLiteral("txtBackupTo"))->setText(folder);
            Click(*form, QStringLiteral("cmdBackup"));
        });
        const QString target = frmBackup::RunCommand(run.session, nullptr);
        QCOMPARE(QFileInfo(target).absolutePath(), folder);
        // The backup asked no passphrase, and left the file open.
        QCOMPARE(run.prompter.passphraseRequests.size(), 1);
        QVERIFY(run.session.DbIsOpen);
        const std::int64_t later = AddRecord(run.store(), "after the backup");

        // Without a selection the form stays and says so.
        run.prompter.forget();
        WhenModal<frmRestore>([&](frmRestore* form) {
            auto* list = Find<QTreeWidget>(*form, QStringLiteral("lvBackups"));
            list->clearSelection();
            Click(*form, QStringLiteral("cmdRestore"));
            QVERIFY(form->isVisible());
            list->topLevelItem(0)->setSelected(true);
            run.prompter.folder = dir.path();
            // Consent, the notice that the passphrase is asked again, and yes to opening the restored file.
            run.prompter.replies << Prompter::Reply::Ok << Prompter::Reply::Ok << Prompter::Reply::Yes;
            run.prompter.passphrases << kPassphrase;
            Click(*form, QStringLiteral("cmdRestore"));
        });
        QCOMPARE(frmRestore::RunCommand(run.session, nullptr), backup_commands::AfterRestore::Opened);
        QCOMPARE(run.prompter.numbers(), (QList<int>{161, 138, 140, 141}));
        QCOMPARE(ReadRecord(run.store(), kept), QByteArray("in the backup"));
        QVERIFY(ReadRecord(run.store(), later).isEmpty());

        // Leaving by Cancel: nothing else happens.
        run.prompter.forget();
        WhenModal<frmRestore>([](frmRestore* form) { Click(*form, QStringLiteral("cmdCancel")); });
        QVERIFY(!frmRestore::RunCommand(run.session, nullptr).has_value());
        QVERIFY(run.prompter.shown.isEmpty());
        QVERIFY(run.session.DbIsOpen);
    }

    void backupFormProposesAFolderBesideTheFile() {
        QTemporaryDir dir;
        const QString beside = dir.filePath(QStringLiteral("Backup"));
        TestSession run;
        frmBackup form(run.session, frmBackup::Mode::Backup, dir.filePath(QStringLiteral("mydata.nct")));
        form.show();
        QCOMPARE(Find<QLineEdit>(form, QStringLiteral("txtBackupTo"))->text(), QDir::toNativeSeparators(beside));
        QVERIFY(QFileInfo(beside).isDir());
        QCOMPARE(RegReadValue(QStringLiteral("BackupPath")), QDir::toNativeSeparators(beside));
        Click(form, QStringLiteral("cmdCancel"));
        QCOMPARE(form.result(), int(QDialog::Rejected));
        QVERIFY(form.folder().isEmpty());
    }
};

NCT_GUI_TEST_MAIN(TestFrmBackup)
#include "tst_frm_backup.moc"
