#pragma once

// Runs the command-line program as a person or a script would, and collects what it said.

#include <QByteArray>
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

struct CliResult {
    int exitCode = -1; // -1 when the program crashed or did not finish in time
    QString out;
    QString err;
};

// `input` is fed to its standard input; an empty `workDir` keeps the test's own; a non-empty `configHome` keeps
// the settings store of whoever runs the tests out of reach.
inline CliResult RunCli(const QStringList& args, const QByteArray& input = {}, const QString& workDir = {},
                        const QString& configHome = {}) {
    QProcess process;
    if (!configHome.isEmpty()) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("XDG_CONFIG_HOME"), configHome);
        process.setProcessEnvironment(environment);
    }
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
