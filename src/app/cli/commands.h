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

} // namespace cli
