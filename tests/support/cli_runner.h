#pragma once

// Runs the command-line program as a person or a script would, and collects what it said.

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QStringList>

struct CliResult {
    int exitCode = -1; // -1 when the program crashed or did not finish in time
    QString out;
    QString err;
};

// `input` is fed to its standard input; an empty `workDir` keeps the test's own. The program inherits the test's
// environment, and with it the settings store the test keeps out of the real one.
inline CliResult RunCli(const QStringList& args, const QByteArray& input = {}, const QString& workDir = {}) {
    QProcess process;
    if (!workDir.isEmpty()) {
        process.setWorkingDirectory(workDir);
    }
    process.start(QStringLiteral(NCT_CLI_PATH), args);
    process.write(input);
    process.closeWriteChannel();
    CliResult result;
    if (!process.waitForFinished(120000)) {
        process.kill();
        process.waitForFinished();
        return result;
    }
    result.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    result.out = QString::fromUtf8(process.readAllStandardOutput());
    result.err = QString::fromUtf8(process.readAllStandardError());
    return result;
}
