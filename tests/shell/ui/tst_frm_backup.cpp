#include "shell/ui/frm_backup.h"
#include "shell/ui/frm_restore.h"

#include "shell/open_sequence.h"
#include "shell/session.h"
#include "shell/settings.h"
#include "store/row.h"
#include "support/scripted_prompter.h"
#include "support/test_databases.h"

#include <QApplication>
#include <QFileDialog>
#include <QHeaderView>
#include <QLabel>
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

QStringList rowTexts(QTreeWidget* list, int row) {
    QStringList texts;
    for (int column = 0; column < list->columnCount(); ++column) {
        texts << list->topLevelItem(row)->text(column);
    }
    return texts;
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
    void initTestCase();
    void init();
    void restoreListsBackups();
    void changeBackupFolderRefillsList();
    void deleteThroughForm();
    void restoreThroughForm();
    void restoreCommandOpensRestoredFile();
    void backupFormProposesFolder();
    void backupFormKeepsStoredFolderAndCancels();
    void restoreModeCaptions();
    void backupCommandThroughForm();
};

void TestFrmBackup::initTestCase() {
    QVERIFY(m_settings.isValid());
    RedirectSettings(m_settings.path());
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
}

void TestFrmBackup::init() {
    QSettings(QStringLiteral("Marrowline"), QStringLiteral("Noctaria")).clear();
}

void TestFrmBackup::restoreListsBackups() {
    QTemporaryDir dir;
    const QString backups = dir.filePath(QStringLiteral("backups"));
    const QString data = dir.filePath(QStringLiteral("data"));
    QVERIFY(QDir().mkpath(backups) && QDir().mkpath(data));
    QVERIFY(writeFile(backups + QStringLiteral("/mydata041224170455.ncz"), 3000));
    QVERIFY(writeFile(backups + QStringLiteral("/mydata050101080000.ncz"), 1024));
    QVERIFY(writeFile(backups + QStringLiteral("/junk.ncz"), 10));
    QVERIFY(writeFile(backups + QStringLiteral("/mydata041224170455.txt"), 10));
    RegWriteText(QStringLiteral("BackupPath"), QDir::toNativeSeparators(backups));
    RegWriteText(QStringLiteral("MostRecentFiles\\1"), QDir::toNativeSeparators(data + QStringLiteral("/mydata.nct")));

    TestSession run;
    frmRestore form(run.session);
    form.show();
    QVERIFY(QTest::qWaitForWindowExposed(&form));
    QCOMPARE(form.windowTitle(), QStringLiteral("Restore"));
    QCOMPARE(child<QLineEdit>(&form, "txtBackupFolder")->text(), QDir::toNativeSeparators(backups));
    QCOMPARE(child<QLineEdit>(&form, "txtRestoreTo")->text(), QDir::toNativeSeparators(data));
    QVERIFY(run.prompter.shown.isEmpty());
    QVERIFY(child<QPushButton>(&form, "cmdChangeDir_0") != nullptr);
    QVERIFY(child<QPushButton>(&form, "cmdChangeDir_1") != nullptr);

    auto* list = child<QTreeWidget>(&form, "lvBackups");
    QVERIFY(list != nullptr);
    QTreeWidgetItem* header = list->headerItem();
    QCOMPARE(header->text(0), QStringLiteral("Original Filename"));
    QCOMPARE(header->text(1), QStringLiteral("Backup Date/Time"));
    QCOMPARE(header->text(2), QStringLiteral("Dimensions (kByte)"));
    // Fixed columns, at least as wide as designed and wide enough for their header in the font in use.
    const int designed[] = {116, 136, 108};
    for (int column = 0; column < 3; ++column) {
        QVERIFY(list->columnWidth(column) >= designed[column]);
        QVERIFY(list->columnWidth(column) > list->fontMetrics().horizontalAdvance(header->text(column)));
        QCOMPARE(list->header()->sectionResizeMode(column), QHeaderView::Fixed);
    }

    QCOMPARE(list->topLevelItemCount(), 2);
    QCOMPARE(rowTexts(list, 0),
             (QStringList{QStringLiteral("mydata.nct"), QStringLiteral("12/24/04 17:04:55"), QStringLiteral("3")}));
    QCOMPARE(rowTexts(list, 1),
             (QStringList{QStringLiteral("mydata.nct"), QStringLiteral("1/1/05 08:00:00"), QStringLiteral("1")}));
    QCOMPARE(list->currentItem(), list->topLevelItem(1));
    QVERIFY(list->topLevelItem(1)->isSelected());
}

void TestFrmBackup::changeBackupFolderRefillsList() {
    QTemporaryDir dir;
    const QString first = dir.filePath(QStringLiteral("first"));
    const QString second = dir.filePath(QStringLiteral("second"));
    QVERIFY(QDir().mkpath(first) && QDir().mkpath(second));
    QVERIFY(writeFile(first + QStringLiteral("/a041224170455.ncz"), 10));
    QVERIFY(writeFile(second + QStringLiteral("/b041224170455.ncz"), 10));
    QVERIFY(writeFile(second + QStringLiteral("/c041224170455.ncz"), 10));
    // Neither folder is remembered: both are asked for as the form loads.
    TestSession run;
    run.prompter.folder = first;
    frmRestore form(run.session);
    QCOMPARE(child<QLineEdit>(&form, "txtBackupFolder")->text(), QDir::toNativeSeparators(first));
    QCOMPARE(child<QLineEdit>(&form, "txtRestoreTo")->text(), QDir::toNativeSeparators(first));
    auto* list = child<QTreeWidget>(&form, "lvBackups");
    QCOMPARE(list->topLevelItemCount(), 1);

    form.show();
    whenModal<QFileDialog>([&](QFileDialog* dialog) {
        QCOMPARE(dialog->windowTitle(), QStringLiteral("Select a folder:"));
        dialog->setDirectory(second);
        static_cast<QDialog*>(dialog)->accept(); // public through the base
    });
    QTest::mouseClick(child<QPushButton>(&form, "cmdChangeDir_0"), Qt::LeftButton);
    QCOMPARE(child<QLineEdit>(&form, "txtBackupFolder")->text(), QDir::toNativeSeparators(second));
    QCOMPARE(list->topLevelItemCount(), 2);
    QCOMPARE(list->topLevelItem(1)->text(0), QStringLiteral("c.nct"));
}

void TestFrmBackup::deleteThroughForm() {
    QTemporaryDir dir;
    QVERIFY(writeFile(dir.filePath(QStringLiteral("a041224170455.ncz")), 10));
    QVERIFY(writeFile(dir.filePath(QStringLiteral("b041224170455.ncz")), 10));
    RegWriteText(QStringLiteral("BackupPath"), dir.path());
    RegWriteText(QStringLiteral("MostRecentFiles\\1"), dir.filePath(QStringLiteral("a.nct")));
    TestSession run;
    frmRestore form(run.session);
    form.show();
    auto* list = child<QTreeWidget>(&form, "lvBackups");
    auto* remove = child<QPushButton>(&form, "cmdDelete");
    list->setCurrentItem(list->topLevelItem(0));

    answer(run.prompter, {Prompter::Reply::No});
    QTest::mouseClick(remove, Qt::LeftButton);
    QCOMPARE(list->topLevelItemCount(), 2);
    QVERIFY(QFileInfo::exists(dir.filePath(QStringLiteral("a041224170455.ncz"))));

    answer(run.prompter, {Prompter::Reply::Yes});
    QTest::mouseClick(remove, Qt::LeftButton);
    QCOMPARE(run.prompter.numbers(), (QList<int>{145, 145}));
    QVERIFY(!QFileInfo::exists(dir.filePath(QStringLiteral("a041224170455.ncz"))));
    QCOMPARE(list->topLevelItemCount(), 1);
    QCOMPARE(list->topLevelItem(0)->text(0), QStringLiteral("b.nct"));
    QVERIFY(form.isVisible());
}

void TestFrmBackup::restoreThroughForm() {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("mydata.nct"));
    TestSession run;
    QCOMPARE(CreateDatabase(run, path, kPassphrase), 0);
    const std::int64_t kept = AddRecord(run.store(), "in the backup");
    QVERIFY(!backup_commands::BackupCommand(run.session, dir.filePath(QStringLiteral("Backup"))).isEmpty());
    const std::int64_t later = AddRecord(run.store(), "after the backup");

    frmRestore form(run.session);
    form.show();
    QCOMPARE(child<QTreeWidget>(&form, "lvBackups")->topLevelItemCount(), 1);
    run.prompter.folder = dir.path();
    answer(run.prompter, {Prompter::Reply::Ok});
    run.prompter.shown.clear();
    QTest::mouseClick(child<QPushButton>(&form, "cmdRestore"), Qt::LeftButton);
    QCOMPARE(form.result(), int(QDialog::Accepted));
    QVERIFY(form.restored());
    QCOMPARE(run.prompter.numbers(), (QList<int>{138, 140}));
    QVERIFY(!run.session.DbIsOpen);
    QCOMPARE(QFileInfo(run.session.DbPath).absoluteFilePath(), QFileInfo(path).absoluteFilePath());
    QVERIFY(QFileInfo::exists(dir.filePath(QStringLiteral("mydata.ncb"))));

    answer(run.prompter, {Prompter::Reply::Yes});
    run.prompter.passphrases.enqueue(kPassphrase);
    QCOMPARE(backup_commands::OfferRestoredFile(run.session), backup_commands::AfterRestore::Opened);
    QCOMPARE(ReadRecord(run.store(), kept), QByteArray("in the backup"));
    QVERIFY(!ReadRow(run.store().connection(), later));
}

void TestFrmBackup::restoreCommandOpensRestoredFile() {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("mydata.nct"));
    TestSession run;
    QCOMPARE(CreateDatabase(run, path, kPassphrase), 0);
    const std::int64_t kept = AddRecord(run.store(), "in the backup");
    QVERIFY(!backup_commands::BackupCommand(run.session, dir.filePath(QStringLiteral("Backup"))).isEmpty());

    // Without a selection the form stays and says so.
    run.prompter.shown.clear();
    whenModal<frmRestore>([&](frmRestore* form) {
        child<QTreeWidget>(form, "lvBackups")->clearSelection();
        QTest::mouseClick(child<QPushButton>(form, "cmdRestore"), Qt::LeftButton);
        QVERIFY(form->isVisible());
        QCOMPARE(run.prompter.numbers(), QList<int>{161});
        child<QTreeWidget>(form, "lvBackups")->topLevelItem(0)->setSelected(true);
        run.prompter.folder = dir.path();
        // Consent, the notice that the passphrase is asked again, and yes to opening the restored file.
        answer(run.prompter, {Prompter::Reply::Ok, Prompter::Reply::Ok, Prompter::Reply::Yes});
        run.prompter.passphrases.enqueue(kPassphrase);
        QTest::mouseClick(child<QPushButton>(form, "cmdRestore"), Qt::LeftButton);
    });
    QCOMPARE(frmRestore::RunCommand(run.session, nullptr), backup_commands::AfterRestore::Opened);
    QCOMPARE(run.prompter.numbers(), (QList<int>{161, 138, 140, 141}));
    QVERIFY(run.session.DbIsOpen);
    QCOMPARE(ReadRecord(run.store(), kept), QByteArray("in the backup"));

    // Leaving by Cancel: nothing else happens.
    run.prompter.shown.clear();
    whenModal<frmRestore>(
        [](frmRestore* form) { QTest::mouseClick(child<QPushButton>(form, "cmdCancel"), Qt::LeftButton); });
    QVERIFY(!frmRestore::RunCommand(run.session, nullptr).has_value());
    QVERIFY(run.prompter.shown.isEmpty());
    QVERIFY(run.session.DbIsOpen);
}

void TestFrmBackup::backupFormProposesFolder() {
    QTemporaryDir dir;
    const QString database = dir.filePath(QStringLiteral("mydata.nct"));
    const QString beside = dir.filePath(QStringLiteral("Backup"));
    TestSession run;
    frmBackup form(run.session, frmBackup::Mode::Backup, database);
    form.show();
    QCOMPARE(form.objectName(), QStringLiteral("frmBackup"));
    QCOMPARE(form.windowTitle(), QStringLiteral("Backup"));
    QCOMPARE(child<QLabel>(&form, "lblBackupTo")->text(), QStringLiteral("Backup To Folder"));
    QCOMPARE(child<QLineEdit>(&form, "txtBackupTo")->text(), QDir::toNativeSeparators(beside));
    QVERIFY(QFileInfo(beside).isDir());
    QCOMPARE(RegReadValue(QStringLiteral("BackupPath")), QDir::toNativeSeparators(beside));

    const QString other = dir.filePath(QStringLiteral("other"));
    child<QLineEdit>(&form, "txtBackupTo")->setText(other);
    QTest::mouseClick(child<QPushButton>(&form, "cmdBackup"), Qt::LeftButton);
    QCOMPARE(form.result(), int(QDialog::Accepted));
    QCOMPARE(form.folder(), other);
}

void TestFrmBackup::backupFormKeepsStoredFolderAndCancels() {
    QTemporaryDir dir;
    RegWriteText(QStringLiteral("BackupPath"), dir.path());
    TestSession run;
    frmBackup form(run.session, frmBackup::Mode::Backup, QStringLiteral("/elsewhere/mydata.nct"));
    form.show();
    QCOMPARE(child<QLineEdit>(&form, "txtBackupTo")->text(), QDir::toNativeSeparators(dir.path()));
    QTest::mouseClick(child<QPushButton>(&form, "cmdCancel"), Qt::LeftButton);
    QCOMPARE(form.result(), int(QDialog::Rejected));
    QVERIFY(form.folder().isEmpty());
}

void TestFrmBackup::restoreModeCaptions() {
    QTemporaryDir dir;
    TestSession run;
    frmBackup form(run.session, frmBackup::Mode::Restore, dir.path());
    QCOMPARE(form.windowTitle(), QStringLiteral("Restore"));
    QCOMPARE(child<QLabel>(&form, "lblBackupTo")->text(), QStringLiteral("Restore To Folder"));
    QCOMPARE(child<QPushButton>(&form, "cmdBackup")->text(), QStringLiteral("OK"));
    QCOMPARE(child<QLineEdit>(&form, "txtBackupTo")->text(), QDir::toNativeSeparators(dir.path()));
    // Asking where to restore to remembers nothing as the backup folder.
    QVERIFY(RegReadValue(QStringLiteral("BackupPath")).isEmpty());
}

void TestFrmBackup::backupCommandThroughForm() {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("mydata.nct"));
    TestSession run;
    QCOMPARE(CreateDatabase(run, path, kPassphrase), 0);
    const std::int64_t kept = AddRecord(run.store(), "kept");
    const QString folder = dir.filePath(QStringLiteral("chosen"));
    whenModal<frmBackup>([&](frmBackup* form) {
        child<QLineEdit>(form, "txtBackupTo")->setText(folder);
        QTest::mouseClick(child<QPushButton>(form, "cmdBackup"), Qt::LeftButton);
    });
    const QString target = frmBackup::RunCommand(run.session, nullptr);
    QCOMPARE(QFileInfo(target).absolutePath(), folder);
    QVERIFY(QFileInfo::exists(target));
    QCOMPARE(run.prompter.passphraseRequests.size(), 1);
    QVERIFY(run.session.DbIsOpen);
    QCOMPARE(ReadRecord(run.store(), kept), QByteArray("kept"));
}

QTEST_MAIN(TestFrmBackup)
#include "tst_frm_backup.moc"
