#pragma once

#include "shell/session.h"

// From a chosen file to a usable database, the making of a new one, and closing.
namespace open_sequence {

// The error of a cancelled file dialog.
constexpr int kDialogCancelled = 32755;
constexpr int kPenaltyMs = 1200;

// Asks for the passphrase until one of at least 8 characters is given, sharing the session's attempt counter;
// sets the digests of `target` from it. Returns 0, Cancelled, TooShort, or Fatal when the attempts ran out with
// no file open (the program must end).
int RequestPassphrase(Session& session, Store& target, bool confirmWanted);

// Opens session.DbPath: passphrase, key pool, version record, schema upgrade, then hands over. Up to three
// attempts at the passphrase in all. A file already open stays open until the new one has opened.
// Returns 0, an error number, or Fatal when the program must end.
int OpenDatabaseSequence(Session& session);

// Makes a new file (asking for its name unless CreatingDefault) with a new passphrase, and opens it.
int NewDatabase(Session& session);

// Marks the file open, remembers it as the last file, and loads the user's preferences.
void AfterOpen(Session& session);

// Saves the version record and the preferences, wipes the key material and closes the file; with `keepHold`
// the file stays held against other programs, for work on the file itself.
void CloseDatabase(Session& session, bool keepHold = false);

// What a close and reopen of the same file carries across so that no passphrase is asked again: the key pool,
// the logged-in user, the preferences and the passphrase digest. The kept secrets are wiped when it goes.
struct KeptLogin {
    bool poolLoaded = false;
    CRY::SecureBytes pool;
    UserRecord user;
    Preferences preferences;
    CRY::SecureBytes digest;

    KeptLogin() = default;
    KeptLogin(KeptLogin&&) = default;
    KeptLogin& operator=(KeptLogin&&) = default;
    KeptLogin(const KeptLogin&) = delete;
    KeptLogin& operator=(const KeptLogin&) = delete;
    ~KeptLogin();
};

// Takes what the session's login needs to survive a close; poolLoaded is false when no pool is loaded.
KeptLogin KeepLogin(Session& session);

// Closes the open file, if any, and holds `path` for work on the file itself; the hold stays with the session's
// database. Tells the person when another program holds it.
sqlite::Error HoldForWork(Session& session, const QString& path);

// Opens `path` again under a kept login. Returns 0, or the engine's error number after telling the person.
int ReopenKept(Session& session, const QString& path, const KeptLogin& kept);

// Closes, compacts and replaces the file, then reopens it with the key pool kept in memory: no passphrase is
// asked. Message 166 comes whatever the outcome. Returns 0 or an error number (134 for a missing file).
int RepairCompactCommand(Session& session, const QString& path);

// The passphrase change of the preferences: confirm the old one, ask the new one twice, re-seal.
bool ChangePassphraseCommand(Session& session);

} // namespace open_sequence
