#include "shell/ui/frm_backup.h"
#include "shell/ui/frm_restore.h"

#include "shell/open_sequence.h"
#include "shell/session.h"
#include "shell/settings.h"
#include "support/scripted_prompter.h"
#include "support/test_databases.h"

#include <QApplication>
#include <QFileDialog>
#include <QLineEdit>
#include <QPushButton>
#include <QSettings>
#include <QTimer>
#include <QTreeWidget>
#include <QtTest>

namespace {

const QString kPassphrase = QStringLiteral("correct horse battery");

// The replies the next message boxes get, in order.
void answer(ScriptedPrompter& prompter, std::initializer_list<Prompter::Reply> replies) {
    prompter.replies.clear();
    for (Prompter::Reply reply : replies) {
        prompter.replies.enqueue(reply);
    }
}

bool writeFile(const QString& path, qsizetype size) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(QByteArray(size, 'x')) == size;
}

template <typename T> T* child(QWidget* form, const char* name) {
    return form->findChild<T*>(QLatin1String(name));
}

// Does `act` with the modal dialog that is about to open, once it runs.
template <typename Dialog> void whenModal(std::function<void(Dialog*)> act) {
    QTimer::singleShot(0, qApp, [act] {
        auto* dialog = qobject_cast<Dialog*>(QApplication::activeModalWidget());
        QVERIFY(dialog != nullptr);
        act(dialog);
    });
}

} // namespace

class TestFrmBackup : public QObject {
    Q_OBJECT

    QTemporaryDir m_settings;

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(m_settings.isValid());
        RedirectSettings(m_settings.path());
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    }

    void init() { QSettings(QStringLiteral("Marrowline"), QStringLiteral("Noctaria")).clear(); }

    void restoreListsBackupsAndFollowsTheFolder() {
        QTemporaryDir dir;
        const QString first = dir.filePath(QStringLiteral("first"));
        const QString second = dir.filePath(QStringLiteral("second"));
        QVERIFY(QDir().mkpath(first) && QDir().mkpath(second));
        QVERIFY(writeFile(first + QStringLiteral("/mydata041224170455.ncz"), 3000));
        QVERIFY(writeFile(first + QStringLiteral("/mydata050101080000.ncz"), 1024));
        QVERIFY(writeFile(first + QStringLiteral("/junk.ncz"), 10));
        QVERIFY(writeFile(second + QStringLiteral("/c041224170455.ncz"), 10));
        RegWriteText(QStringLiteral("BackupPath"), QDir::toNativeSeparators(first));

        TestSession run;
        frmRestore form(run.session);
        form.show();
        QVERIFY(QTest::qWaitForWindowExposed(&form));
        auto* list = child<QTreeWidget>(&form, "lvBackups");
        QCOMPARE(list->topLevelItemCount(), 2);
        QCOMPARE(list->topLevelItem(0)->text(0), QStringLiteral("mydata.nct"));
        QCOMPARE(list->topLevelItem(0)->text(1), QStringLiteral("12/24/2004 17:04:55"));
        QCOMPARE(list->topLevelItem(0)->text(2), QStringLiteral("3"));
        // The newest backup is the one offered.
        QCOMPARE(list->currentItem(), list->topLevelItem(1));

        run.prompter.folder = second;
        QTest::mouseClick(child<QPushButton>(&form, "cmdChangeDir_0"), Qt::LeftButton);
        QCOMPARE(child<QLineEdit>(&form, "txtBackupFolder")->text(), QDir::toNativeSeparators(second));
        QCOMPARE(list->topLevelItemCount(), 1);
        QCOMPARE(list->topLevelItem(0)->text(0), QStringLiteral("c.nct"));
    }

    void deleteThroughForm() {
        QTemporaryDir dir;
        QVERIFY(writeFile(dir.filePath(QStringLiteral("a041224170455.ncz")), 10));
        QVERIFY(writeFile(dir.filePath(QStringLiteral("b041224170455.ncz")), 10));
        RegWriteText(QStringLiteral("BackupPath"), dir.path());
        TestSession run;
        frmRestore form(run.session);
        form.show();
        auto* list = child<QTreeWidget>(&form, "lvBackups");
        auto* remove = child<QPushButton>(&form, "cmdDelete");
        list->setCurrentItem(list->topLevelItem(0));

        answer(run.prompter, {Prompter::Reply::No});
        QTest::mouseClick(remove, Qt::LeftButton);
        QCOMPARE(list->topLevelItemCount(), 2);

        answer(run.prompter, {Prompter::Reply::Yes});
        QTest::mouseClick(remove, Qt::LeftButton);
        QCOMPARE(run.prompter.numbers(), (QList<int>{145, 145}));
        QVERIFY(!QFileInfo::exists(dir.filePath(QStringLiteral("a041224170455.ncz"))));
        QCOMPARE(list->topLevelItemCount(), 1);
        QCOMPARE(list->topLevelItem(0)->text(0), QStringLiteral("b.nct"));
    }

    void backupThenRestoreThroughTheForms() {
        QTemporaryDir dir;
        TestSession run;
        QCOMPARE(CreateDatabase(run, dir.filePath(QStringLiteral("mydata.nct")), kPassphrase), 0);
        const std::int64_t kept = AddRecord(run.store(), "in the backup");
        const QString folder = dir.filePath(QStringLiteral("chosen"));
        whenModal<frmBackup>([&](frmBackup* form) {
            child<QLineEdit>(form, "txtBackupTo")->setText(folder);
            QTest::mouseClick(child<QPushButton>(form, "cmdBackup"), Qt::LeftButton);
        });
        const QString target = frmBackup::RunCommand(run.session, nullptr);
        QCOMPARE(QFileInfo(target).absolutePath(), folder);
        // The backup asked no passphrase, and left the file open.
        QCOMPARE(run.prompter.passphraseRequests.size(), 1);
        QVERIFY(run.session.DbIsOpen);
        const std::int64_t later = AddRecord(run.store(), "after the backup");

        // Without a selection the form stays and says so.
        run.prompter.shown.clear();
        whenModal<frmRestore>([&](frmRestore* form) {
            child<QTreeWidget>(form, "lvBackups")->clearSelection();
            QTest::mouseClick(child<QPushButton>(form, "cmdRestore"), Qt::LeftButton);
            QVERIFY(form->isVisible());
            child<QTreeWidget>(form, "lvBackups")->topLevelItem(0)->setSelected(true);
            run.prompter.folder = dir.path();
            // Consent, the notice that the passphrase is asked again, and yes to opening the restored file.
            answer(run.prompter, {Prompter::Reply::Ok, Prompter::Reply::Ok, Prompter::Reply::Yes});
            run.prompter.passphrases.enqueue(kPassphrase);
            QTest::mouseClick(child<QPushButton>(form, "cmdRestore"), Qt::LeftButton);
        });
        QCOMPARE(frmRestore::RunCommand(run.session, nullptr), backup_commands::AfterRestore::Opened);
        QCOMPARE(run.prompter.numbers(), (QList<int>{161, 138, 140, 141}));
        QCOMPARE(ReadRecord(run.store(), kept), QByteArray("in the backup"));
        QVERIFY(ReadRecord(run.store(), later).isEmpty());

        // Leaving by Cancel: nothing else happens.
        run.prompter.shown.clear();
        whenModal<frmRestore>(
            [](frmRestore* form) { QTest::mouseClick(child<QPushButton>(form, "cmdCancel"), Qt::LeftButton); });
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
        QCOMPARE(child<QLineEdit>(&form, "txtBackupTo")->text(), QDir::toNativeSeparators(beside));
        QVERIFY(QFileInfo(beside).isDir());
        QCOMPARE(RegReadValue(QStringLiteral("BackupPath")), QDir::toNativeSeparators(beside));
        QTest::mouseClick(child<QPushButton>(&form, "cmdCancel"), Qt::LeftButton);
        QCOMPARE(form.result(), int(QDialog::Rejected));
        QVERIFY(form.folder().isEmpty());
    }
};

QTEST_MAIN(TestFrmBackup)
#include "tst_frm_backup.moc"
