#pragma once

#include "shell/background_work.h"
#include "shell/session.h"

#include <QDateTime>
#include <QList>
#include <QString>

// The Backup and Restore commands: a compacted, compressed copy of the database in a folder of backups, and
// the way back from such a copy.
namespace backup_commands {

// The folder the backup form proposes: the stored backup folder while it exists, else "Backup" beside the
// database, else the documents folder.
QString DefaultBackupFolder(const QString& stored, const QString& databasePath, const QString& documents);

// The proposal for a backup of `databasePath`, made on disk and remembered as BackupPath. When it cannot be
// made the person is asked for a folder (message 132); the empty text when none is given.
QString PrepareBackupFolder(Session& session, const QString& databasePath);

// Closes the open file (or takes `file` when none is open, without opening it), compacts it and writes its
// compressed copy into `folder`, remembered as BackupPath. Tells the outcome (136 with the copy's path, or
// 137), then reopens a file that was open under the same login: no passphrase is asked. Returns the copy's
// path, or the empty text when no copy was made.
QString BackupCommand(Session& session, const QString& folder, const QString& file = {});

// One backup file as the restore list shows it.
struct BackupEntry {
    QString original; // the database's name the backup name carries, with ".nct"
    QDateTime moment;
    qint64 sizeKb = 0;
    QString path;
};

// The backups in `folder`, in the order of their names; files whose names carry no moment are left out.
QList<BackupEntry> ListBackups(const QString& folder);

// Deletes a backup file once the person confirms (message 145). Returns true when it went.
bool DeleteBackup(Session& session, const QString& path);

enum class RestoreOutcome {
    NoSelection, // no backup was chosen; the person was told (message 161)
    NotExpanded, // the backup could not be expanded; the person was told why, and nothing else happened
    Cancelled,   // the person withdrew; the database is untouched and still open
    Refused,     // another program holds the file to be replaced; the person was told and nothing changed
    Restored,    // the restored file is in place; DbPath names it
    Failed,      // the database was closed but the restored file could not be put in place; DbPath is empty
};

// Expands `backupFile` (asking for the folder, starting at `restoreFolder`, while the database still lies
// where it was), asks for consent (138, then 139 on withdrawal), closes the database and puts the restored
// file in place of the former one, which is kept as ".ncb".
RestoreOutcome RestoreBackup(Session& session, const QString& backupFile, const QString& restoreFolder);

enum class AfterRestore {
    Opened,   // the restored file is open
    ShowMenu, // no file was opened: the frame offers the database menu, and ends the program if still none opens
    ShutDown, // the open sequence says the program must end
};

// Offers to open the restored file named by DbPath (message 141); it asks for its own passphrase.
AfterRestore OfferRestoredFile(Session& session);

} // namespace backup_commands
