// Renders the main windows and dialogs of the shell into PNG files, so that a person can look at them without
// clicking through the program: noctaria-screens OUTPUT_FOLDER. Runs on a throw-away database and settings.

#include "shell/backup_commands.h"
#include "shell/open_sequence.h"
#include "shell/section_list.h"
#include "shell/session.h"
#include "shell/ui/frm_mdi.h"
#include "shell/ui/frm_options.h"
#include "shell/ui/frm_pw.h"
#include "shell/ui/frm_restore.h"

#include <QApplication>
#include <QDir>
#include <QSettings>
#include <QStandardPaths>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTextStream>
#include <QTimer>

namespace {

const QString kDemoPassphrase = QStringLiteral("Demo passphrase 1");

// Answers every question with the demo passphrase or the first choice.
class DemoPrompter final : public Prompter {
public:
    QString folder;
    Reply message(int, const QString&, Buttons buttons, Icon) override {
        return buttons == Buttons::YesNo ? Reply::Yes : Reply::Ok;
    }
    PassphraseReply passphrase(const PassphraseRequest&) override { return {false, kDemoPassphrase}; }
    QString chooseNewFile(const QString&, const QString&) override { return {}; }
    QString chooseExistingFile(const QString&, const QString&) override { return {}; }
    QString chooseFolder(const QString&, const QString&) override { return folder; }
    void status(const QString&) override {}
    void penaltyWait(int) override {}
};

bool Save(QWidget* widget, const QString& folder, const QString& name) {
    widget->show();
    widget->raise();
    QApplication::processEvents();
    QTimer::singleShot(150, [] {});
    for (int i = 0; i < 10; ++i) {
        QApplication::processEvents();
    }
    const QString path = QDir(folder).filePath(name + QStringLiteral(".png"));
    const bool ok = widget->grab().save(path);
    QTextStream(stdout) << (ok ? "wrote " : "failed ") << path << "\n";
    return ok;
}

} // namespace

int main(int argc, char* argv[]) {
    QApplication app(argc, argv);
    QApplication::setApplicationVersion(QStringLiteral("2.5.0"));
    const QStringList args = QApplication::arguments();
    if (args.size() != 2) {
        QTextStream(stderr) << "usage: noctaria-screens OUTPUT_FOLDER\n";
        return 2;
    }
    const QString out = args[1];
    QDir().mkpath(out);
    QTemporaryDir scratch;
    QSettings::setDefaultFormat(QSettings::IniFormat);
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, scratch.filePath(QStringLiteral("settings")));
    QSettings(QStringLiteral("Marrowline"), QStringLiteral("Noctaria"))
        .setValue(QStringLiteral("Startup/ShowTipsAtStartup"), 0);

    DemoPrompter prompter;
    const QString database = scratch.filePath(QStringLiteral("mydata.nct"));
    {
        Session maker(prompter);
        maker.DbPath = database;
        maker.CreatingDefault = true;
        if (open_sequence::NewDatabase(maker) != 0) {
            QTextStream(stderr) << "noctaria-screens: the demo database could not be made\n";
            return 1;
        }
        open_sequence::CloseDatabase(maker);
    }
    QSettings(QStringLiteral("Marrowline"), QStringLiteral("Noctaria"))
        .setValue(QStringLiteral("MostRecentFiles/1"), database);

    bool ok = true;
    Session session(prompter);
    frmMDI::Options options;
    options.sectionList = QStringLiteral("0");
    options.instanceLockPath = scratch.filePath(QStringLiteral("lock"));
    frmMDI frame(session, prompter, options);
    session.setFrame(&frame);
    frame.Load();
    frame.resize(1000, 680);
    ok = Save(&frame, out, QStringLiteral("start-screen")) && ok;
    frame.GotoSection(17);
    ok = Save(&frame, out, QStringLiteral("main-frame")) && ok;
    frame.GotoSection(0);

    frmPW pw(prompter, {.confirmWanted = true,
                        .prompt = QStringLiteral("New Passphrase (minimum 8 characters):"),
                        .fileName = QStringLiteral("MYDATA.NCT"),
                        .folder = scratch.path()});
    ok = Save(&pw, out, QStringLiteral("passphrase")) && ok;
    pw.hide();

    frmOptions preferences(session, &frame, SectionList(QStringLiteral("0")).sections());
    auto* tabs = preferences.findChild<QTabWidget*>(QStringLiteral("tbsOptions"));
    for (int i = 0; tabs != nullptr && i < tabs->count(); ++i) {
        tabs->setCurrentIndex(i);
        ok = Save(&preferences, out, QStringLiteral("preferences-%1").arg(i + 1)) && ok;
    }
    preferences.hide();

    const QString backups = scratch.filePath(QStringLiteral("backups"));
    QDir().mkpath(backups);
    prompter.folder = backups;
    backup_commands::BackupCommand(session, backups);
    QSettings(QStringLiteral("Marrowline"), QStringLiteral("Noctaria")).setValue(QStringLiteral("BackupPath"), backups);
    frmRestore restore(session, &frame);
    ok = Save(&restore, out, QStringLiteral("restore")) && ok;
    restore.hide();
    frame.ShutDown();
    return ok ? 0 : 1;
}
