#include "app/cli/cli_prompter.h"
#include "app/cli/commands.h"
#include "app/cli/records.h"

#include "shell/open_sequence.h"
#include "store/backup.h"
#include "store/check.h"
#include "store/db.h"
#include "store/keys.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>

#include <map>

namespace cli {

int Usage(Streams io, const char* usage) {
    io.err << "usage: noctaria-cli " << usage << "\n";
    return kExitUsage;
}

int Fail(Streams io, const QString& why) {
    io.err << "noctaria-cli: " << why << "\n";
    return kExitFailed;
}

int NotOpened(Streams io, const QString& path, int error) {
    const QString why = ErrorText(error);
    return Fail(
        io,
        QStringLiteral("%1 could not be opened%2").arg(path, why.isEmpty() ? QString() : QStringLiteral(": ") + why));
}

// The file is held for the whole command, and must be one of ours, before anything touches it.
bool Checked(Streams io, const QString& path, db::FileHold& hold) {
    sqlite::Error e = db::FileHold::Acquire(path, hold);
    if (!e) {
        e = db::CheckDatabase(hold);
    }
    if (e) {
        Fail(io, QStringLiteral("%1: %2 (error %3)").arg(path, e.description).arg(e.number));
        return false;
    }
    return true;
}

int OpenChecked(Streams io, const QString& path, Session& session) {
    const QString absolute = QFileInfo(path).absoluteFilePath();
    db::FileHold hold;
    if (!Checked(io, absolute, hold)) {
        return kExitFailed;
    }
    session.store().database.KeepHold(std::move(hold));
    if (const int error = OpenForCommand(session, absolute)) {
        return NotOpened(io, absolute, error);
    }
    return 0;
}

int Create(const QStringList& args, Streams io) {
    if (args.size() != 1) {
        return Usage(io, "create FILE");
    }
    const QString path = QFileInfo(args[0]).absoluteFilePath();
    if (QFileInfo::exists(path)) {
        return Fail(io, QStringLiteral("%1 already exists; it is left as it is").arg(path));
    }
    CliPrompter prompter(io.err);
    Session session(prompter);
    session.rememberFiles = false;
    session.DbPath = path;
    session.CreatingDefault = true;
    session.OpenAttempts = 2; // one try: a script cannot retry
    if (const int error = open_sequence::NewDatabase(session)) {
        const QString why = ErrorText(error);
        return Fail(
            io,
            QStringLiteral("%1 was not created%2").arg(path, why.isEmpty() ? QString() : QStringLiteral(": ") + why));
    }
    open_sequence::CloseDatabase(session);
    io.out << "created " << path << "\n";
    return kExitOk;
}

int Info(const QStringList& args, Streams io) {
    if (args.size() != 1) {
        return Usage(io, "info FILE");
    }
    const QString path = args[0];
    db::FileHold hold;
    if (!Checked(io, path, hold)) {
        return kExitFailed;
    }
    sqlite::Connection connection;
    if (const sqlite::Error e = connection.open(path, sqlite::Connection::Mode::ReadOnly)) {
        return Fail(io, e.description);
    }
    io.out << "file: " << QFileInfo(path).absoluteFilePath() << "\n";
    io.out << "schema: " << db::ReadProperty(connection, QStringLiteral("NctVersion")) << "\n";
    sqlite::Statement counts = connection.prepare("SELECT fSec, count(*) FROM tt GROUP BY fSec ORDER BY fSec");
    std::int64_t total = 0;
    while (counts.step()) {
        io.out << "section " << counts.int64(0) << " (" << SectionName(static_cast<int>(counts.int64(0)))
               << "): " << counts.int64(1) << " rows\n";
        total += counts.int64(1);
    }
    io.out << "rows: " << total << "\n";
    return kExitOk;
}

int Check(const QStringList& args, Streams io) {
    if (args.size() != 1) {
        return Usage(io, "check FILE");
    }
    CliPrompter prompter(io.err);
    Session session(prompter);
    if (const int code = OpenChecked(io, args[0], session)) {
        return code;
    }
    int checked = 0;
    int unreadable = 0;
    ForEachRecord(session.store(), -1, [&](const RecordView& record) {
        ++checked;
        if (!record.readable) {
            ++unreadable;
            io.out << "row " << record.fPK << " (section " << record.fSec << "): does not decipher\n";
        }
    });
    open_sequence::CloseDatabase(session);
    io.out << checked << " records checked, " << unreadable << " unreadable\n";
    return unreadable == 0 ? kExitOk : kExitFailed;
}

int Passwd(const QStringList& args, Streams io) {
    if (args.size() != 1) {
        return Usage(io, "passwd FILE");
    }
    CliPrompter prompter(io.err);
    Session session(prompter);
    if (const int code = OpenChecked(io, args[0], session)) {
        return code;
    }
    const bool changed = keys::Rekey(
        session.store(), [&session](Store& store) { return open_sequence::RequestPassphrase(session, store, true); });
    open_sequence::CloseDatabase(session);
    if (!changed) {
        return kExitFailed;
    }
    io.out << "passphrase changed\n";
    return kExitOk;
}

int Compact(const QStringList& args, Streams io) {
    if (args.size() != 1) {
        return Usage(io, "compact FILE");
    }
    const QString path = args[0];
    db::FileHold hold;
    if (!Checked(io, path, hold)) {
        return kExitFailed;
    }
    const qint64 before = QFileInfo(path).size();
    if (const int error = check::CompactAndReplace(hold, path.left(path.size() - 3) + QStringLiteral("tmp"))) {
        return Fail(io, QStringLiteral("%1 was not compacted (error %2)").arg(path).arg(error));
    }
    io.out << "compacted " << path << ": " << before << " -> " << QFileInfo(path).size() << " bytes\n";
    return kExitOk;
}

int Backup(const QStringList& args, Streams io) {
    if (args.size() != 2) {
        return Usage(io, "backup FILE DIR");
    }
    const QString path = QFileInfo(args[0]).absoluteFilePath();
    const QDir folder(args[1]);
    db::FileHold hold;
    if (!Checked(io, path, hold)) {
        return kExitFailed;
    }
    if (!folder.exists() && !QDir().mkpath(folder.path())) {
        return Fail(io, QStringLiteral("the folder %1 cannot be made").arg(folder.path()));
    }
    if (const int error = check::CompactAndReplace(hold, path.left(path.size() - 3) + QStringLiteral("tmp"))) {
        return Fail(io, QStringLiteral("%1 could not be compacted (error %2)").arg(path).arg(error));
    }
    CliPrompter prompter(io.err);
    QString target = folder.absoluteFilePath(backup::BackupName(path, QDateTime::currentDateTime()));
    if (ZLib::ProcessFile(true, path, target, prompter) <= 0) {
        return Fail(io, QStringLiteral("Backup failed."));
    }
    io.out << "Compressed backup file created:\n" << target << "\n";
    return kExitOk;
}

int Restore(const QStringList& args, Streams io) {
    if (args.size() != 2) {
        return Usage(io, "restore NCZ DIR");
    }
    const QDir folder(args[1]);
    if (!folder.exists()) {
        return Fail(io, QStringLiteral("the folder %1 does not exist").arg(folder.path()));
    }
    CliPrompter prompter(io.err, folder.absolutePath());
    QString expanded;
    db::FileHold hold;
    if (ZLib::ExpandInto(args[0], folder.absolutePath(), expanded, prompter, hold) <= 0) {
        return Fail(io, QStringLiteral("%1 was not restored").arg(args[0]));
    }
    const QString base = expanded.chopped(4);
    if (const sqlite::Error e = backup::RestoreRenames(base, hold)) {
        return Fail(io, QStringLiteral("the restored file %1 could not be put in place: %2 (error %3)")
                            .arg(expanded, e.description)
                            .arg(e.number));
    }
    io.out << "restored " << base << ".nct";
    if (QFileInfo::exists(base + QStringLiteral(".ncb"))) {
        io.out << " (the former file is kept as " << base << ".ncb)";
    }
    io.out << "\n";
    return kExitOk;
}

int Dump(const QStringList& args, Streams io) {
    int section = -1;
    QStringList files;
    for (qsizetype i = 0; i < args.size(); ++i) {
        if (args[i] == QLatin1String("--section") && i + 1 < args.size()) {
            bool ok = false;
            section = args[++i].toInt(&ok);
            if (!ok) {
                return Usage(io, "dump FILE [--section N]");
            }
        } else {
            files << args[i];
        }
    }
    if (files.size() != 1) {
        return Usage(io, "dump FILE [--section N]");
    }
    CliPrompter prompter(io.err);
    Session session(prompter);
    if (const int code = OpenChecked(io, files[0], session)) {
        return code;
    }
    ForEachRecord(session.store(), section, [&](const RecordView& record) {
        if (record.readable) {
            io.out << RecordJson(record) << "\n";
        }
    });
    open_sequence::CloseDatabase(session);
    return kExitOk;
}

} // namespace cli
