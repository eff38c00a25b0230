#include "app/cli/commands.h"

#include "app/cli/vector_check.h"
#include "store/self_test.h"

namespace cli {

int SelfTest(const QStringList& args, Streams io) {
    QString vectors;
    for (qsizetype i = 0; i < args.size(); ++i) {
        if (args[i] == QLatin1String("--vectors") && i + 1 < args.size()) {
            vectors = args[++i];
        } else {
            io.err << "usage: noctaria-cli selftest [--vectors FILE]\n";
            return kExitUsage;
        }
    }
    int passed = 0;
    int failed = 0;
    int skipped = 0;
    const SelfTestResult builtIn = RunCipherSelfTests();
    for (const QString& name : builtIn.failures) {
        io.out << "self-test " << name << ": wrong answer\n";
    }
    failed += static_cast<int>(builtIn.failures.size());
    passed += builtIn.checks - static_cast<int>(builtIn.failures.size());
    if (!vectors.isEmpty()) {
        const VectorReport report = CheckVectorFile(vectors);
        if (!report.error.isEmpty()) {
            io.err << "noctaria-cli: " << report.error << "\n";
            return kExitFailed;
        }
        for (const QString& failure : report.failures) {
            io.out << failure << "\n";
        }
        passed += report.passed;
        failed += report.failed;
        skipped += report.skipped;
    }
    io.out << passed << " passed, " << failed << " failed";
    if (skipped > 0) {
        io.out << ", " << skipped << " skipped";
    }
    io.out << "\n";
    return failed == 0 ? kExitOk : kExitFailed;
}

} // namespace cli
