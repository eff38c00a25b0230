#pragma once

// Set-up shared by the tests that make, open and fill database files: the settings store kept out of the real
// one, a session answered by a script, and the few steps most tests take before they check anything.

#include "shell/open_sequence.h"
#include "shell/session.h"
#include "store/row.h"
#include "support/scripted_prompter.h"

#include <QByteArray>
#include <QFile>
#include <QSettings>
#include <QString>
#include <QTemporaryDir>

#include <cstdint>
#include <functional>
#include <optional>

// Sends every settings store of the process (the default format and the native one) to `dir`, so that what the
// program remembers (last file, last user) never reaches the real store of whoever runs the tests.
inline void RedirectSettings(const QString& dir) {
    QSettings::setDefaultFormat(QSettings::IniFormat);
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, dir);
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, dir);
}

// One run of the program: a prompter answering from a script and the session using it, told of the frame's part
// through `frame` when there is one.
struct TestSession {
    explicit TestSession(FrameLink* frame = nullptr)
        : session(prompter, StrongRandom(), frame) {}
    ScriptedPrompter prompter;
    Session session;
    Store& store() { return session.store(); }
};

// Makes a new file at `path` as the person would, `passphrase` typed at the dialog; 0 or the error.
inline int CreateDatabase(Session& session, ScriptedPrompter& prompter, const QString& path,
                          const QString& passphrase) {
    session.CreatingDefault = true;
    session.DbPath = path;
    prompter.passphrases.enqueue(passphrase);
    return open_sequence::NewDatabase(session);
}

inline int CreateDatabase(TestSession& run, const QString& path, const QString& passphrase) {
    return CreateDatabase(run.session, run.prompter, path, passphrase);
}

// Opens `path` as the person would, with a fresh attempt counter as choosing the file gives; 0 or the error.
inline int OpenDatabase(Session& session, ScriptedPrompter& prompter, const QString& path, const QString& passphrase) {
    session.DbPath = path;
    session.OpenAttempts = 0;
    prompter.passphrases.enqueue(passphrase);
    return open_sequence::OpenDatabaseSequence(session);
}

inline int OpenDatabase(TestSession& run, const QString& path, const QString& passphrase) {
    return OpenDatabase(run.session, run.prompter, path, passphrase);
}

// Leaves the open file as a crash would: nothing is written on the way out, so a later opening sees only what
// reached the file before.
inline void DropDatabase(Session& session) {
    session.store().wipeSecrets();
    session.store().database.Close();
    session.DbIsOpen = false;
}

// A record whose text is `text`, enciphered under the open file's pool; its key, or 0.
inline std::int64_t AddRecord(Store& store, const QByteArray& text, int section = 14) {
    return AddNewRow(store.connection(), [&](std::int64_t fpk, RowValues& row) {
        row.set(Col::fSec, section);
        row.set(Col::fEtx, store.cry.Cipher(static_cast<std::int32_t>(fpk), 1, text));
        return true;
    });
}

// The record's text, or nothing when the row is gone or does not decipher.
inline QByteArray ReadRecord(Store& store, std::int64_t fpk) {
    const std::optional<Row> row = ReadRow(store.connection(), fpk);
    return row ? store.cry.Cipher(static_cast<std::int32_t>(fpk), 2, row->bytes(Col::fEtx)) : QByteArray();
}

// Runs `sql` on a file no session holds open, as a former release, a damaged disk or someone tampering with it
// would have left it; whether it ran.
inline bool ExecOn(const QString& path, const QString& sql) {
    sqlite::Connection connection;
    return !connection.open(path, sqlite::Connection::Mode::ReadWrite) && !connection.exec(sql.toUtf8().constData());
}

// The first value `sql` gives, or an invalid variant.
inline QVariant Scalar(sqlite::Connection& connection, const QString& sql) {
    sqlite::Statement select = connection.prepare(sql.toUtf8().constData());
    return select.step() ? select.value(0) : QVariant();
}

// A writable copy of `source` at `target`, replacing any file there; `target`, or empty when it failed.
inline QString CopyWritable(const QString& source, const QString& target) {
    QFile::remove(target);
    if (!QFile::copy(source, target) || !QFile::setPermissions(target, QFile::ReadOwner | QFile::WriteOwner)) {
        return {};
    }
    return target;
}

// A writable copy of the oracle file `name` in `dir`, replacing any copy made before; empty when it failed.
inline QString CopyOracle(const QTemporaryDir& dir, const QString& name) {
    return CopyWritable(QStringLiteral(NCT_TEST_DATA_DIR "/oracle/") + name, dir.filePath(name));
}

// A closed file at `path` made with `passphrase`, after `fill` had it open; `path`, or empty when it failed.
inline QString MadeDatabase(const QString& path, const QString& passphrase,
                            const std::function<void(Store&)>& fill = {}) {
    TestSession maker;
    if (CreateDatabase(maker, path, passphrase) != 0) {
        return {};
    }
    if (fill) {
        fill(maker.store());
    }
    open_sequence::CloseDatabase(maker.session);
    return path;
}
