#pragma once

#include <QStringList>
#include <QTextStream>

// The commands of noctaria-cli. Each takes the arguments after the command's name and returns the exit code.
namespace cli {

constexpr int kExitOk = 0;
constexpr int kExitFailed = 1;
constexpr int kExitUsage = 2;

struct Streams {
    QTextStream& out;
    QTextStream& err;
};

int SelfTest(const QStringList& args, Streams io);
int Create(const QStringList& args, Streams io);
int Info(const QStringList& args, Streams io);
int Check(const QStringList& args, Streams io);
int Passwd(const QStringList& args, Streams io);
int Compact(const QStringList& args, Streams io);
int Backup(const QStringList& args, Streams io);
int Restore(const QStringList& args, Streams io);
int Dump(const QStringList& args, Streams io);
// A new random password or passphrase on standard output; needs no file.
int Generate(const QStringList& args, Streams io);

} // namespace cli
