#include "shell/backup_commands.h"

#include "base/messages.h"
#include "shell/open_sequence.h"
#include "shell/settings.h"
#include "store/backup.h"
#include "store/check.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

namespace backup_commands {
namespace {

const QString kBackupPathKey = QStringLiteral("BackupPath");

QString DocumentsFolder() {
    return QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
}

// Puts the question for the restore folder to the person starting from the folder they set in the form, which
// is the database's folder unless they changed it.
class StartingAt final : public Prompter {
public:
    StartingAt(Prompter& target, const QString& start)
        : m_target(target)
        , m_start(start) {}

    Reply message(int number, const QString& text, Buttons buttons, Icon icon) override {
        return m_target.message(number, text, buttons, icon);
    }
    PassphraseReply passphrase(const PassphraseRequest& request) override { return m_target.passphrase(request); }
    QString chooseNewFile(const QString& title, const QString& filter) override {
        return m_target.chooseNewFile(title, filter);
    }
    QString chooseExistingFile(const QString& title, const QString& filter) override {
        return m_target.chooseExistingFile(title, filter);
    }
    QString chooseFolder(const QString& prompt, const QString& start) override {
        return m_target.chooseFolder(prompt, m_start.isEmpty() ? start : m_start);
    }
    void status(const QString& text) override { m_target.status(text); }
    void penaltyWait(int milliseconds) override { m_target.penaltyWait(milliseconds); }
    int busy(const QString& text, const std::function<int()>& work) override { return m_target.busy(text, work); }

private:
    Prompter& m_target;
    QString m_start;
};

} // namespace

QString DefaultBackupFolder(const QString& stored, const QString& databasePath, const QString& documents) {
    if (!stored.isEmpty() && QFileInfo(QDir::fromNativeSeparators(stored)).isDir()) {
        return QDir::fromNativeSeparators(stored);
    }
    if (!databasePath.isEmpty()) {
        return QFileInfo(QDir::fromNativeSeparators(databasePath)).absolutePath() + QStringLiteral("/Backup");
    }
    return documents;
}

QString PrepareBackupFolder(Session& session, const QString& databasePath) {
    QString folder = DefaultBackupFolder(RegReadValue(kBackupPathKey), databasePath, DocumentsFolder());
    if (folder.isEmpty() || !QDir().mkpath(folder)) {
        folder = session.prompter.chooseFolder(MsgText(132), DocumentsFolder());
        if (folder.isEmpty() || !QDir().mkpath(folder)) {
            return {};
        }
    }
    folder = QDir::toNativeSeparators(QDir(folder).absolutePath());
    RegWriteText(kBackupPathKey, folder);
    return folder;
}

QString BackupCommand(Session& session, const QString& folder, const QString& file) {
    Prompter& prompter = session.prompter;
    const open_sequence::KeptLogin kept = open_sequence::KeepLogin(session);
    session.frame.CloseSections();
    const bool wasOpen = session.DbIsOpen;
    const QString path = wasOpen || file.isEmpty() ? session.DbPath : file;
    if (path.isEmpty() || !QFileInfo::exists(path)) {
        prompter.message(134, MsgText(134), Prompter::Buttons::Ok, Prompter::Icon::Warning);
        return {};
    }
    if (folder.isEmpty()) {
        return {};
    }
    const QString source = QFileInfo(path).absoluteFilePath();
    const QString backupFolder = QDir(QDir::fromNativeSeparators(folder)).absolutePath();
    QDir().mkpath(backupFolder);
    RegWriteText(kBackupPathKey, QDir::toNativeSeparators(backupFolder));
    QString target = QDir(backupFolder).filePath(backup::BackupName(source, QDateTime::currentDateTime()));

    if (open_sequence::HoldForWork(session, source)) {
        if (wasOpen && kept.poolLoaded) {
            open_sequence::ReopenKept(session, path, kept);
        }
        return {};
    }
    db::FileHold& hold = session.store().database.hold();
    qint64 size = 0;
    RunBusy(prompter, QStringLiteral("Compacting and compressing the database..."), [&](Prompter& asker) {
        // A copy of a file that could not be compacted would carry what compaction exists to drop.
        if (check::CompactAndReplace(hold, source.left(source.size() - 3) + QStringLiteral("tmp")) == 0) {
            size = ZLib::ProcessFile(true, source, target, asker);
        }
    });
    if (size > 0) {
        prompter.message(136, MsgText(136) + QLatin1Char('\n') + QDir::toNativeSeparators(target));
    } else {
        prompter.message(137, MsgText(137), Prompter::Buttons::Ok, Prompter::Icon::Warning);
    }
    if (wasOpen && kept.poolLoaded) {
        open_sequence::ReopenKept(session, path, kept);
    } else {
        session.store().database.Close();
    }
    return size > 0 ? target : QString();
}

QList<BackupEntry> ListBackups(const QString& folder) {
    QList<BackupEntry> entries;
    if (folder.isEmpty()) {
        return entries;
    }
    const QDir dir(QDir::fromNativeSeparators(folder));
    const QFileInfoList files =
        dir.entryInfoList({QStringLiteral("*.ncz")}, QDir::Files, QDir::Name | QDir::IgnoreCase);
    for (const QFileInfo& info : files) {
        const backup::BackupNameParts parts = backup::ParseBackupName(info.fileName());
        if (!parts.ok) {
            continue;
        }
        // Rounded up, so that no backup shows as empty.
        entries.append({parts.original, parts.moment, (info.size() + 1023) / 1024, info.absoluteFilePath()});
    }
    return entries;
}

bool DeleteBackup(Session& session, const QString& path) {
    if (path.isEmpty()) {
        session.prompter.message(161, MsgText(161), Prompter::Buttons::Ok, Prompter::Icon::Warning);
        return false;
    }
    if (session.prompter.message(145, MsgText(145), Prompter::Buttons::YesNo, Prompter::Icon::Question) !=
        Prompter::Reply::Yes) {
        return false;
    }
    return QFile::remove(path);
}

RestoreOutcome RestoreBackup(Session& session, const QString& backupFile, const QString& restoreFolder) {
    Prompter& prompter = session.prompter;
    if (backupFile.isEmpty()) {
        prompter.message(161, MsgText(161), Prompter::Buttons::Ok, Prompter::Icon::Warning);
        return RestoreOutcome::NoSelection;
    }
    QString expanded;
    qint64 size = 0;
    const QString start = restoreFolder.isEmpty() ? QString() : QDir::fromNativeSeparators(restoreFolder);
    RunBusy(prompter, QStringLiteral("Expanding the backup..."), [&](Prompter& asker) {
        StartingAt startingAt(asker, start);
        size = ZLib::ProcessFile(false, backupFile, expanded, startingAt);
    });
    // Nothing was written, so nothing may be renamed: an older ".ncr" lying there is not this backup.
    if (size <= 0) {
        return RestoreOutcome::NotExpanded;
    }
    if (prompter.message(138, MsgText(138), Prompter::Buttons::OkCancel, Prompter::Icon::Question) !=
            Prompter::Reply::Ok &&
        prompter.message(139, MsgText(139), Prompter::Buttons::YesNoSafeYes, Prompter::Icon::Question) ==
            Prompter::Reply::Yes) {
        QFile::remove(expanded);
        return RestoreOutcome::Cancelled;
    }
    // The expansion names the file after the database it was made from and may have been sent to another
    // folder, so the restored file is put in place where it really lies.
    const QString suffix = QStringLiteral(".ncr");
    const QString base = expanded.endsWith(suffix, Qt::CaseInsensitive) ? expanded.chopped(suffix.size()) : QString();
    // A file in the restored file's place that another program holds is refused before anything changes here.
    const QString target = base + QStringLiteral(".nct");
    if (!base.isEmpty() && !session.store().database.hold().holds(target) && db::FileHold::HeldElsewhere(target)) {
        const sqlite::Error e = db::FileHold::Refusal(target);
        prompter.message(0, e.description + QStringLiteral("\n\n") + target, Prompter::Buttons::Ok,
                         Prompter::Icon::Warning);
        QFile::remove(expanded);
        return RestoreOutcome::Refused;
    }
    if (session.DbIsOpen) {
        open_sequence::CloseDatabase(session, true);
    }
    db::FileHold hold = session.store().database.TakeHold();
    const sqlite::Error e =
        base.isEmpty() ? sqlite::Error{sqlite::kErrGeneral, QStringLiteral("The backup names no database file.")}
                       : backup::RestoreRenames(base, hold);
    if (e) {
        prompter.message(0, QStringLiteral("The restored file could not be put in place.\n\n") + e.description,
                         Prompter::Buttons::Ok, Prompter::Icon::Warning);
        session.DbPath.clear();
        return RestoreOutcome::Failed;
    }
    prompter.message(140, MsgText(140));
    session.DbPath = target;
    // The restored file stays held until it is opened or another file is.
    session.store().database.KeepHold(std::move(hold));
    return RestoreOutcome::Restored;
}

AfterRestore OfferRestoredFile(Session& session) {
    if (session.DbPath.isEmpty() || session.prompter.message(141, MsgText(141), Prompter::Buttons::YesNo,
                                                             Prompter::Icon::Question) != Prompter::Reply::Yes) {
        return AfterRestore::ShowMenu;
    }
    const int error = open_sequence::OpenDatabaseSequence(session);
    if (error == 0) {
        return AfterRestore::Opened;
    }
    return error == StoreError::Fatal ? AfterRestore::ShutDown : AfterRestore::ShowMenu;
}

} // namespace backup_commands
