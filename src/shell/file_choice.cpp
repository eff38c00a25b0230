#include "shell/file_choice.h"

#include "base/messages.h"
#include "shell/open_sequence.h"
#include "store/check.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

namespace file_choice {

int CheckDatabaseFile(Session& session) {
    if (session.DbPath.isEmpty()) {
        return -1;
    }
    // The file this program holds is one of ours and in order: it was checked when it was taken.
    if (session.store().database.hold().holds(session.DbPath)) {
        return 0;
    }
    sqlite::Error e = db::CheckDatabase(session.DbPath);
    if (e.number == sqlite::kErrLocked) {
        session.prompter.message(0, e.description + QStringLiteral("\n\n") + session.DbPath, Prompter::Buttons::Ok,
                                 Prompter::Icon::Warning);
        return e.number;
    }
    if (e.number == sqlite::kErrDamaged) {
        if (session.prompter.message(46, MsgText(46) + QStringLiteral("\n\n") + e.description, Prompter::Buttons::YesNo,
                                     Prompter::Icon::Warning) == Prompter::Reply::Yes) {
            session.prompter.status(QStringLiteral("Repairing..."));
            e.number = check::RepairDatabaseFile(session.DbPath);
            session.prompter.status(QString());
        }
    }
    if (e.number != 0) {
        session.DbPath.clear();
    }
    return e.number;
}

int SelectDatabase(Session& session) {
    session.DbPath.clear();
    const QString filter = QStringLiteral("Noctaria NCT (*.nct);;") + MsgText(87) + QStringLiteral(" (*)");
    const QString chosen = session.prompter.chooseExistingFile(MsgText(88) + QStringLiteral(" NCT Marrowline"), filter);
    if (chosen.isEmpty()) {
        return open_sequence::kDialogCancelled;
    }
    session.DbPath = QFileInfo(chosen).absoluteFilePath();
    if (const int error = CheckDatabaseFile(session)) {
        session.prompter.message(51, MsgText(51), Prompter::Buttons::Ok, Prompter::Icon::Warning);
        return error;
    }
    session.OpenAttempts = 0;
    return 0;
}

QString DefaultFolder() {
    return QDir(QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation))
        .filePath(QStringLiteral("Noctaria"));
}

bool IsFirstRun(const Session& session) {
    return session.DbPath.isEmpty() && !QFileInfo::exists(DefaultFolder());
}

int FirstRunOffer(Session& session) {
    if (session.prompter.message(160, MsgText(160), Prompter::Buttons::YesNo, Prompter::Icon::Question) !=
        Prompter::Reply::Yes) {
        return open_sequence::kDialogCancelled;
    }
    if (!QDir().mkpath(DefaultFolder())) {
        session.prompter.message(0, QStringLiteral("The folder %1 cannot be made.").arg(DefaultFolder()),
                                 Prompter::Buttons::Ok, Prompter::Icon::Warning);
        return sqlite::kErrGeneral;
    }
    session.DbPath = QDir(DefaultFolder()).filePath(QStringLiteral("mydata.nct"));
    session.CreatingDefault = true;
    return open_sequence::NewDatabase(session);
}

} // namespace file_choice
