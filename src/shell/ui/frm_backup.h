#pragma once

#include <QDialog>

class QLabel;
class QLineEdit;
class QPushButton;
class Session;

// The folder a backup goes to, or, in its restore form, the folder a restored file goes to.
class frmBackup : public QDialog {
    Q_OBJECT
public:
    enum class Mode { Backup, Restore };

    // Backup: proposes the backup folder for a backup of the database `path`, made on disk and remembered.
    // Restore: starts at the folder `path`.
    frmBackup(Session& session, Mode mode, const QString& path, QWidget* parent = nullptr);

    // The chosen folder; the empty text after Cancel.
    QString folder() const { return m_folder; }

    // The Backup command: the open file, or a file chosen when none is open; the folder; then the copy. Returns
    // the copy's path, or the empty text when none was made.
    static QString RunCommand(Session& session, QWidget* parent);

    // Asks where a restored file shall go, starting at `start`; the empty text on cancel.
    static QString ChooseRestoreFolder(Session& session, const QString& start, QWidget* parent);

private:
    void changeDir();

    Session& m_session;
    QString m_folder;
    QLabel* lblBackupTo = nullptr;
    QLineEdit* txtBackupTo = nullptr;
    QPushButton* cmdChangeDir = nullptr;
    QPushButton* cmdBackup = nullptr;
    QPushButton* cmdCancel = nullptr;
};
