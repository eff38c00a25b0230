#pragma once

// What another program finds when it reaches for a file this test's program holds.

#include "support/cli_runner.h"
#include "support/files.h"

#include <QFile>
#include <QRegularExpression>
#include <QString>
#include <QStringList>

#include <sys/stat.h>
#include <unistd.h>

// Runs the command line program on a held file: it must be refused with 3734 naming the file, and leave the
// file as it was. The empty text when it was so; else what went wrong, for the test's message.
inline QString SecondProgramRefused(const QString& path, const QStringList& command, const QByteArray& input = {}) {
    const QByteArray before = FileBytes(path);
    const CliResult run = RunCli(command, input);
    const QString said = run.out + run.err;
    if (run.exitCode != 1 || !run.err.contains(QLatin1String("3734")) || !run.err.contains(path)) {
        return QStringLiteral("%1 was not refused (exit %2): %3").arg(command.join(u' ')).arg(run.exitCode).arg(said);
    }
    return FileBytes(path) == before ? QString() : command.join(u' ') + QStringLiteral(" changed the file");
}

// Whether the system's lock table shows this process's exclusive lock on the file.
inline bool LockedByThisProcess(const QString& path) {
    struct stat info {};
    if (::stat(QFile::encodeName(path).constData(), &info) != 0) {
        return false;
    }
    QFile locks(QStringLiteral("/proc/locks"));
    if (!locks.open(QIODevice::ReadOnly)) {
        return false;
    }
    const QRegularExpression held(QStringLiteral("FLOCK\\s+ADVISORY\\s+WRITE\\s+%1\\s+\\S+:%2\\s")
                                      .arg(::getpid())
                                      .arg(static_cast<qulonglong>(info.st_ino)));
    return held.match(QString::fromLatin1(locks.readAll())).hasMatch();
}
