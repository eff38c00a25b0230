#include "app/bench/budget_bench.h"
#include "app/bench/sections_bench.h"
#include "app/bench/store_bench.h"

#include <QCoreApplication>
#include <QStringList>
#include <QTextStream>

namespace {

constexpr int kExitUsage = 2;

void Usage(QTextStream& err) {
    err << "usage: noctaria-bench WORKLOAD\n"
           "workloads:\n"
           "  store     write and scan 100,000 enciphered rows beside raw Botan and SQLite\n"
           "  budget    100,000 transactions: the month list, a year's balance and the TOTAL balance beside raw Botan "
           "and SQLite\n"
           "  sections  100,000 memos in 50 categories and 10,000 diary days: a category's memo list, one memo and "
           "a diary week beside raw Botan and SQLite\n";
}

} // namespace

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    QTextStream out(stdout);
    QTextStream err(stderr);
    const QStringList args = QCoreApplication::arguments().mid(1);
    if (args.size() == 1 && args.first() == QLatin1String("store")) {
        return bench::RunStoreBench(out, err);
    }
    if (args.size() == 1 && args.first() == QLatin1String("budget")) {
        return bench::RunBudgetBench(out, err);
    }
    if (args.size() == 1 && args.first() == QLatin1String("sections")) {
        return bench::RunSectionsBench(out, err);
    }
    if (!args.isEmpty()) {
        err << "noctaria-bench: unknown workload '" << args.join(u' ') << "'\n";
    }
    Usage(err);
    return kExitUsage;
}
