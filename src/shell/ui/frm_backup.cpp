#include "shell/ui/frm_backup.h"

#include "shell/ui/modal.h"

#include "base/messages.h"
#include "shell/backup_commands.h"
#include "shell/session.h"
#include "shell/ui/apply_captions.h"

#include <QDir>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

template <typename Widget> Widget* Named(Widget* widget, const char* name) {
    widget->setObjectName(QLatin1String(name));
    return widget;
}

} // namespace

frmBackup::frmBackup(Session& session, Mode mode, const QString& path, QWidget* parent)
    : QDialog(parent)
    , m_session(session) {
    setObjectName(QStringLiteral("frmBackup"));
    lblBackupTo = Named(new QLabel(this), "lblBackupTo");
    txtBackupTo = Named(new QLineEdit(this), "txtBackupTo");
    cmdChangeDir = Named(new QPushButton(this), "cmdChangeDir");
    cmdBackup = Named(new QPushButton(this), "cmdBackup");
    cmdCancel = Named(new QPushButton(this), "cmdCancel");
    lblBackupTo->setBuddy(txtBackupTo);
    txtBackupTo->setMinimumWidth(320);
    cmdBackup->setDefault(true);

    auto* folderRow = new QHBoxLayout;
    folderRow->addWidget(txtBackupTo, 1);
    folderRow->addWidget(cmdChangeDir);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(cmdBackup);
    buttons->addWidget(cmdCancel);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(lblBackupTo);
    layout->addLayout(folderRow);
    layout->addLayout(buttons);

    ApplyCaptions(this);
    if (mode == Mode::Restore) {
        setWindowTitle(MsgText(274));
        lblBackupTo->setText(MsgText(275));
        cmdBackup->setText(MsgText(276));
        txtBackupTo->setText(QDir::toNativeSeparators(path));
    } else {
        setWindowTitle(MsgText(277));
        lblBackupTo->setText(MsgText(278));
        txtBackupTo->setText(backup_commands::PrepareBackupFolder(session, path));
    }

    connect(cmdChangeDir, &QPushButton::clicked, this, &frmBackup::changeDir);
    connect(cmdBackup, &QPushButton::clicked, this, [this] {
        m_folder = txtBackupTo->text().trimmed();
        accept();
    });
    connect(cmdCancel, &QPushButton::clicked, this, [this] {
        m_folder.clear();
        reject();
    });
}

void frmBackup::changeDir() {
    const QString chosen = m_session.prompter.chooseFolder(MsgText(144), txtBackupTo->text());
    if (!chosen.isEmpty()) {
        txtBackupTo->setText(QDir::toNativeSeparators(chosen));
    }
}

QString frmBackup::RunCommand(Session& session, QWidget* parent) {
    QString file;
    if (session.DbPath.isEmpty()) {
        // With no file in hand, a chosen file is backed up without being opened.
        file = session.prompter.chooseExistingFile(MsgText(277), QStringLiteral("nct-Files (*.nct)"));
        if (file.isEmpty()) {
            return {};
        }
    }
    const modal::Scoped<frmBackup> form(session, Mode::Backup, file.isEmpty() ? session.DbPath : file, parent);
    if (form.exec() != QDialog::Accepted || form->folder().isEmpty()) {
        return {};
    }
    return backup_commands::BackupCommand(session, form->folder(), file);
}

QString frmBackup::ChooseRestoreFolder(Session& session, const QString& start, QWidget* parent) {
    const modal::Scoped<frmBackup> form(session, Mode::Restore, start, parent);
    return form.exec() == QDialog::Accepted ? form->folder() : QString();
}
