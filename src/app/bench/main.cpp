#include "app/bench/budget_bench.h"
#include "app/bench/calendar_bench.h"
#include "app/bench/find_bench.h"
#include "app/bench/sections_bench.h"
#include "app/bench/store_bench.h"

#include <QCoreApplication>
#include <QStringList>
#include <QTextStream>

#include <exception>
#include <functional>
#include <utility>

namespace {

constexpr int kExitUsage = 2;

void Usage(QTextStream& err) {
    err << "usage: noctaria-bench WORKLOAD [OPTIONS]\n"
           "workloads:\n"
           "  store     write and scan 100,000 enciphered rows beside raw Botan and SQLite\n"
           "  budget    100,000 transactions: the month list, a year's balance and the TOTAL balance beside raw Botan "
           "and SQLite\n"
           "  sections  100,000 memos in 50 categories, 10,000 diary days, 100,000 tasks, 20,000 vault records and "
           "50,000 contacts: a category's memo list, one memo, a diary week, the task list with and without "
           "completed tasks, a vault sub-category's list, the list of all contacts, a category's contacts and one "
           "contact's pane beside raw Botan and SQLite\n"
           "  calendar  100,000 single appointments over ten years and 1,000 series of every kind: a day, a workweek, "
           "a week and a month view at several dates beside raw Botan and SQLite\n"
           "  find      100,000 records of all seven sections (--records N for another count): searching them for a "
           "word, grouped by key on every core, beside the same "
           "search row by row (--skip-row-by-row leaves it out)\n";
}

// Botan reports misuse by throwing; a benchmark has nothing to recover, only something to report.
int Guarded(QTextStream& err, const std::function<int()>& run) {
    try {
        return run();
    } catch (const std::exception& e) {
        err << "noctaria-bench: " << e.what() << '\n';
        return 1;
    }
}

} // namespace

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    QTextStream out(stdout);
    QTextStream err(stderr);
    const QStringList args = QCoreApplication::arguments().mid(1);
    const std::pair<const char*, int (*)(QTextStream&, QTextStream&)> workloads[] = {
        {"store", bench::RunStoreBench},
        {"budget", bench::RunBudgetBench},
        {"sections", bench::RunSectionsBench},
        {"calendar", bench::RunCalendarBench}};
    for (const auto& [name, run] : workloads) {
        if (args.size() == 1 && args.first() == QLatin1String(name)) {
            return Guarded(err, [&, run = run] { return run(out, err); });
        }
    }
    if (!args.isEmpty() && args.first() == QLatin1String("find")) {
        return Guarded(err, [&] { return bench::RunFindBench(args.mid(1), out, err); });
    }
    if (!args.isEmpty()) {
        err << "noctaria-bench: unknown workload '" << args.join(u' ') << "'\n";
    }
    Usage(err);
    return kExitUsage;
}
