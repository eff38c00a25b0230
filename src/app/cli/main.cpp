#include "app/cli/commands.h"
#include "shell/process_guard.h"

#include <QCoreApplication>

#include <cstdio>

namespace {

void Usage(QTextStream& err) {
    err << "usage: noctaria-cli COMMAND [ARGS]\n"
           "commands:\n"
           "  selftest [--vectors FILE]   run the cipher self-tests and the cases of a known-answer file\n";
}

} // namespace

int main(int argc, char* argv[]) {
    process_guard::DisableCoreDumps();
    QCoreApplication app(argc, argv);
    QTextStream out(stdout);
    QTextStream err(stderr);
    QStringList args = QCoreApplication::arguments().mid(1);
    if (args.isEmpty()) {
        Usage(err);
        return cli::kExitUsage;
    }
    const QString command = args.takeFirst();
    cli::Streams io{out, err};
    if (command == QLatin1String("selftest")) {
        return cli::SelfTest(args, io);
    }
    // Every other command works on real data, which a faulty cipher library must never touch.
    const QStringList failures = process_guard::PrepareProcess();
    if (!failures.isEmpty()) {
        err << "noctaria-cli: the cipher self-test failed (" << failures.join(QLatin1String(", "))
            << "); refusing to run\n";
        return cli::kExitFailed;
    }
    err << "noctaria-cli: unknown command '" << command << "'\n";
    Usage(err);
    return cli::kExitUsage;
}
