#pragma once

#include "shell/backup_commands.h"

#include <QDialog>

#include <optional>

class QLabel;
class QLineEdit;
class QPushButton;
class QTreeWidget;
class Session;

// The backups of a folder, to restore one in place of the database or to delete one.
class frmRestore : public QDialog {
    Q_OBJECT
public:
    explicit frmRestore(Session& session, QWidget* parent = nullptr);

    // True when the form was left with a file restored; DbPath then names it.
    bool restored() const { return m_restored; }

    // Fills the list from the backup folder; the newest name is selected.
    void ReloadList();

    // The Restore command: the form, then the offer to open the restored file. Nothing follows when the form
    // was cancelled.
    static std::optional<backup_commands::AfterRestore> RunCommand(Session& session, QWidget* parent);

private:
    void changeDir(int index);
    void deleteClicked();
    void restoreClicked();
    QString selectedTag() const;

    Session& m_session;
    bool m_restored = false;
    QTreeWidget* lvBackups = nullptr;
    QLabel* lblBackupFolder = nullptr;
    QLineEdit* txtBackupFolder = nullptr;
    QLabel* lblRestoreTo = nullptr;
    QLineEdit* txtRestoreTo = nullptr;
    QPushButton* cmdChangeDir[2] = {};
    QPushButton* cmdDelete = nullptr;
    QPushButton* cmdRestore = nullptr;
    QPushButton* cmdCancel = nullptr;
};
