#include "shell/open_sequence.h"

#include "base/messages.h"
#include "shell/settings.h"
#include "store/check.h"
#include "store/keys.h"
#include "store/users.h"
#include "store/version.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cstdlib>

namespace open_sequence {
namespace {

constexpr int kMaxAttempts = 3;
constexpr int kMinPassphrase = 8;

// The end of a failed passphrase round: a cancel, or any failure while a file is open, only ends the command.
int FailedRequest(Session& session, int error) {
    return error == StoreError::Cancelled || session.DbIsOpen ? error : StoreError::Fatal;
}

// A PIN given once counts for the login it was given in, and no longer.
void ForgetPins(Session& session) {
    session.PinPassedMask = 0;
    session.store().budgetPinGiven.reset();
}

// The refusal of a file that another program holds names the file, as every refusal of the kind does.
void TellOpenFailure(Prompter& prompter, const sqlite::Error& e, const QString& path) {
    if (e.number == sqlite::kErrLocked) {
        prompter.message(0, e.description + QStringLiteral("\n\n") + path, Prompter::Buttons::Ok,
                         Prompter::Icon::Warning);
    } else {
        prompter.message(83, MsgText(83) + QStringLiteral("102\n") + e.description, Prompter::Buttons::Ok,
                         Prompter::Icon::Critical);
    }
}

int OpenFile(Session& session, Store& store) {
    if (store.database.isOpen()) {
        return 0;
    }
    if (const sqlite::Error e = store.database.Open(session.DbPath)) {
        TellOpenFailure(session.prompter, e, session.DbPath);
        return e.number;
    }
    return 0;
}

// Hands a freshly opened store to the session, closing the file that was open before.
void Adopt(Session& session, std::unique_ptr<Store> candidate) {
    if (session.DbIsOpen) {
        CloseDatabase(session);
    }
    session.adopt(std::move(candidate));
    AfterOpen(session);
}

} // namespace

int RequestPassphrase(Session& session, Store& target, bool confirmWanted) {
    const QString path = session.DbPath;
    const Prompter::PassphraseRequest request{.confirmWanted = confirmWanted,
                                              .prompt = MsgText(confirmWanted ? 99 : 159),
                                              .fileName = QFileInfo(path).fileName().toUpper(),
                                              .folder = QFileInfo(path).absolutePath()};
    for (;;) {
        Prompter::PassphraseReply reply = session.prompter.passphrase(request);
        int error = 0;
        if (reply.cancelled) {
            error = StoreError::Cancelled;
        } else if (reply.text.size() < kMinPassphrase) {
            error = StoreError::TooShort;
        }
        if (error == 0) {
            keys::SetDigests(target, reply.text);
            return 0;
        }
        CRY::WipeText(reply.text);
        if (session.OpenAttempts >= kMaxAttempts || error == StoreError::Cancelled) {
            return FailedRequest(session, error);
        }
        if (session.prompter.message(-error, MsgText(-error), Prompter::Buttons::RetryCancel,
                                     Prompter::Icon::Warning) != Prompter::Reply::Retry) {
            return FailedRequest(session, error);
        }
        ++session.OpenAttempts;
        session.prompter.penaltyWait(kPenaltyMs);
    }
}

namespace {

// The open sequence proper, on a store made for it; `OpenDatabaseSequence` keeps the open file usable around it.
// The file is held from before the passphrase is asked, and a schema too old to convert is refused before
// anything is asked or written.
int OpenSequence(Session& session, std::unique_ptr<Store>& candidate) {
    Prompter& prompter = session.prompter;
    if (const int error = OpenFile(session, *candidate)) {
        return error;
    }
    if (!version::SchemaSupported(candidate->connection())) {
        version::TellSchemaUnsupported(prompter);
        return session.DbIsOpen ? StoreError::Unsupported : StoreError::Fatal;
    }
    for (;;) {
        ++session.OpenAttempts;
        if (const int error = RequestPassphrase(session, *candidate, false)) {
            return error;
        }
        prompter.status(QStringLiteral("Checking Database..."));
        const int error = keys::LoadKeyPool(*candidate);
        if (error == 0) {
            break;
        }
        CRY::WipeBytes(candidate->PassDigest);
        CRY::WipeBytes(candidate->PassCheck);
        if (error == StoreError::Fatal) {
            return error;
        }
        const int message = std::abs(error);
        // The last failure is told too, so that nobody is left wondering why the program ends.
        const bool last = session.OpenAttempts >= kMaxAttempts;
        if (prompter.message(message, MsgText(message), last ? Prompter::Buttons::Ok : Prompter::Buttons::RetryCancel,
                             Prompter::Icon::Warning) != Prompter::Reply::Retry) {
            return session.DbIsOpen ? error : StoreError::Fatal;
        }
        prompter.penaltyWait(kPenaltyMs);
    }
    if (const int error = version::LoadVersionRecord(*candidate)) {
        return error;
    }
    if (const int error = version::DbVersionUpdate(*candidate)) {
        if (error == StoreError::ConversionFailed) {
            prompter.message(0, QStringLiteral("Database Conversion Error"), Prompter::Buttons::Ok,
                             Prompter::Icon::Critical);
        } else if (error == sqlite::kErrLocked) {
            TellOpenFailure(prompter, db::FileHold::Refusal(session.DbPath), session.DbPath);
        }
        return error;
    }
    // The passphrase check was only needed while the user's options were read.
    CRY::WipeBytes(candidate->PassCheck);
    prompter.status(QStringLiteral("Database Check OK. Opening..."));
    Adopt(session, std::move(candidate));
    prompter.status(QString());
    check::RemoveDuplicates(session.store().connection());
    return 0;
}

} // namespace

int OpenDatabaseSequence(Session& session) {
    // The file this program holds already, open or kept across a restore, moves to the new opening, so that no
    // other program can take it up meanwhile; it moves back, and is opened again, when the opening fails.
    db::Database& current = session.store().database;
    const bool sameFile = current.hold().holds(session.DbPath);
    const bool wasOpen = sameFile && current.isOpen();
    const QString openPath = session.DbIsOpen ? current.DbPath() : QString();
    std::unique_ptr<Store> candidate = session.makeStore();
    if (sameFile) {
        candidate->database.KeepHold(current.TakeHold());
    }
    const int error = OpenSequence(session, candidate);
    if (error != 0) {
        if (candidate != nullptr && sameFile) {
            session.store().database.KeepHold(candidate->database.TakeHold());
            if (wasOpen && session.store().database.Open(openPath)) {
                CloseDatabase(session);
            }
        }
        if (session.DbIsOpen) {
            session.DbPath = openPath;
        }
    }
    return error;
}

int NewDatabase(Session& session) {
    QString path = session.DbPath;
    if (!session.CreatingDefault) {
        path = session.prompter.chooseNewFile(MsgText(89), QStringLiteral("Marrowline NCT-files (*.nct)"));
        if (path.isEmpty()) {
            return kDialogCancelled;
        }
        if (!QFileInfo(path).fileName().contains(u'.')) {
            path += QStringLiteral(".nct");
            // The dialog asked about the name as typed; the file that would really go is asked about here.
            if (QFileInfo::exists(path) &&
                session.prompter.message(0, QStringLiteral("%1 already exists.\nDo you want to replace it?").arg(path),
                                         Prompter::Buttons::YesNo, Prompter::Icon::Warning) != Prompter::Reply::Yes) {
                return kDialogCancelled;
            }
        }
    }
    session.CreatingDefault = false;
    session.DbPath = path;
    std::unique_ptr<Store> candidate = session.makeStore();
    if (const int error = RequestPassphrase(session, *candidate, true)) {
        return error;
    }
    // The person agreed to replace an existing file; it goes only now that the new one can be made, and only
    // when no other program holds it.
    db::FileHold former;
    if (QFileInfo::exists(path)) {
        if (session.store().database.hold().holds(path)) {
            if (session.DbIsOpen) {
                CloseDatabase(session, true);
            }
            former = session.store().database.TakeHold();
        } else if (const sqlite::Error e = db::FileHold::Acquire(path, former)) {
            TellOpenFailure(session.prompter, e, path);
            return e.number;
        }
        if (!QFile::remove(path)) {
            session.prompter.message(0, QStringLiteral("The file %1 cannot be replaced.").arg(path),
                                     Prompter::Buttons::Ok, Prompter::Icon::Warning);
            return sqlite::kErrGeneral;
        }
    }
    db::FileHold hold;
    if (const sqlite::Error e = db::CreateDatabaseFile(path, &hold)) {
        session.prompter.message(0, e.description, Prompter::Buttons::Ok, Prompter::Icon::Warning);
        return e.number;
    }
    former.release();
    candidate->database.KeepHold(std::move(hold));
    int error = OpenFile(session, *candidate);
    if (error == 0) {
        error = keys::CreateKeyMaterial(*candidate);
    }
    if (error == 0) {
        candidate->DbVersion = version::ProgramVersion();
        error = version::SaveVersionRecord(*candidate);
    }
    if (error != 0) {
        // A file without its key material can never be opened; leave nothing half made behind.
        candidate->database.Close();
        QFile::remove(path);
        return error;
    }
    CRY::WipeBytes(candidate->PassCheck);
    Adopt(session, std::move(candidate));
    return 0;
}

void AfterOpen(Session& session) {
    Store& store = session.store();
    ForgetPins(session);
    session.DbIsOpen = true;
    session.DbPath = store.database.DbPath();
    if (session.rememberFiles) {
        RegWriteText(QStringLiteral("MostRecentFiles\\1"), QDir::toNativeSeparators(session.DbPath));
        RegWriteText(QStringLiteral("User\\LastUser"), store.user.name);
    }
    users::LoadPreferences(store);
    session.ShowPrivate = store.preferences.ShowPrivateAtStart;
    store.hidePrivate = !session.ShowPrivate;
    session.frame.ShowDatabase(session.DbPath);
    session.frame.EnableDbCommands(true);
}

void CloseDatabase(Session& session, bool keepHold) {
    Store& store = session.store();
    session.frame.EnableDbCommands(false);
    if (store.database.isOpen() && store.cry.hasKeyPool()) {
        version::SaveVersionRecord(store);
        users::SavePreferences(store);
    }
    store.wipeSecrets();
    ForgetPins(session);
    session.DbIsOpen = false;
    session.frame.CloseSections();
    session.frame.ShowDatabase(QString());
    if (keepHold) {
        store.database.CloseKeepingHold();
    } else {
        store.database.Close();
    }
}

KeptLogin::~KeptLogin() {
    CRY::WipeBytes(user.sealedKeystring);
    CRY::WipeBytes(user.check);
}

KeptLogin KeepLogin(Session& session) {
    Store& store = session.store();
    KeptLogin kept;
    kept.poolLoaded = store.cry.hasKeyPool();
    if (kept.poolLoaded) {
        kept.pool = store.cry.KeyPool();
        // The user's row is needed again after the reopen; keep who is logged in.
        kept.user = store.user;
        kept.preferences = store.preferences;
        kept.digest = store.PassDigest;
    }
    return kept;
}

int ReopenKept(Session& session, const QString& path, const KeptLogin& kept) {
    Store& store = session.store();
    if (const sqlite::Error e = store.database.Open(path)) {
        store.database.Close();
        TellOpenFailure(session.prompter, e, path);
        return e.number;
    }
    store.cry.setKeyPool(kept.pool);
    store.user = kept.user;
    store.preferences = kept.preferences;
    store.PassDigest = kept.digest;
    session.DbIsOpen = true;
    session.frame.ShowDatabase(path);
    session.frame.EnableDbCommands(true);
    return 0;
}

sqlite::Error HoldForWork(Session& session, const QString& path) {
    db::Database& database = session.store().database;
    if (session.DbIsOpen) {
        CloseDatabase(session, true);
    }
    db::FileHold hold = database.TakeHold();
    const sqlite::Error e = db::FileHold::Acquire(path, hold);
    database.KeepHold(std::move(hold));
    if (e) {
        TellOpenFailure(session.prompter, e, path);
    }
    return e;
}

int RepairCompactCommand(Session& session, const QString& path) {
    const KeptLogin kept = KeepLogin(session);
    session.frame.CloseSections();
    if (path.isEmpty() || !QFileInfo::exists(path)) {
        session.prompter.message(134, MsgText(134), Prompter::Buttons::Ok, Prompter::Icon::Warning);
        return 134;
    }
    if (const sqlite::Error e = HoldForWork(session, path)) {
        return e.number;
    }
    db::FileHold& hold = session.store().database.hold();
    const QString tmp = path.left(path.size() - 3) + QStringLiteral("tmp");
    const int result = session.prompter.busy(QStringLiteral("Compacting the database..."),
                                             [&hold, &tmp] { return check::CompactAndReplace(hold, tmp); });
    session.prompter.message(166, MsgText(166));
    if (!kept.poolLoaded) {
        session.store().database.Close();
        return result;
    }
    if (const int error = ReopenKept(session, path, kept)) {
        return error;
    }
    return result;
}

bool ChangePassphraseCommand(Session& session) {
    return keys::ChangePassphrase(session.store(),
                                  [&session](Store& store) { return RequestPassphrase(session, store, true); });
}

} // namespace open_sequence
