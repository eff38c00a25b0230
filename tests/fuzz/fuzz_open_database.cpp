// A whole database file of any bytes through the open sequence, answered with a fixed passphrase; a file that
// opens is then read as the Budget reads it first (its lists, its categories, a month) and closed.
//
// Input: the file. Seeds are files made by the program and the oracle's files of that passphrase.

#include "fuzz_support.h"

#include "budget/budget_lists.h"
#include "budget/transaction_list.h"
#include "sections/categories/categories.h"
#include "support/test_databases.h"

#include <QCoreApplication>
#include <QFile>

namespace {

const QString kPassphrase = QStringLiteral("correct horse 1");

void ReadAsTheBudgetDoes(Store& store) {
    const std::optional<budget::BudgetList> budgets = budget::LoadBudgets(store);
    const std::optional<budget::PayModes> modes = budget::LoadPayModes(store);
    budget::ListContext context;
    categories::FillCategoryEntries(store, context.categories, budget::kBudgetSection, {true, true, true}, 0);
    if (modes) {
        context.payments = budget::PayModeEntries(*modes, true);
    }
    context.showPrivate = true;
    budget::ListFilter filter;
    filter.budget = budgets && budgets->count() > 0 ? budgets->ids[0] : 0;
    filter.month = QDate(2024, 3, 1);
    budget::ReloadList(store, filter, context);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    static QCoreApplication app(*argc, *argv);
    RedirectSettings(fuzz::ScratchDir() + QStringLiteral("/settings"));
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QString path = fuzz::ScratchDir() + QStringLiteral("/open.nct");
    {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
            file.write(reinterpret_cast<const char*>(data), static_cast<qint64>(size)) != static_cast<qint64>(size)) {
            return 0;
        }
    }
    {
        ScriptedRandom random;
        ScriptedPrompter prompter;
        Session session(prompter, random);
        if (OpenDatabase(session, prompter, path, kPassphrase) == 0) {
            ReadAsTheBudgetDoes(session.store());
            open_sequence::CloseDatabase(session);
        }
    }
    // What the open sequence leaves beside a file: its copy, a file set aside, a journal.
    for (const char* suffix : {"", ".bak", ".FFF", "-journal"}) {
        QFile::remove(path + QLatin1String(suffix));
    }
    return 0;
}
