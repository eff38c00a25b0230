#include "app/bench/budget_bench.h"

#include "app/bench/bench_support.h"
#include "app/bench/raw_cipher.h"
#include "app/bench/sample_records.h"

#include "budget/budget_lists.h"
#include "budget/totals.h"
#include "budget/transaction.h"
#include "budget/transaction_list.h"
#include "sections/categories/categories.h"
#include "shell/session.h"
#include "store/cipher_workers.h"
#include "store/cry.h"
#include "store/sqlite.h"

#include <QDate>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QHash>
#include <QLocale>
#include <QStringList>
#include <QTextStream>

#include <botan/cipher_mode.h>
#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <exception>
#include <random>
#include <thread>
#include <utility>
#include <vector>

namespace bench {
namespace {

constexpr int kTransactions = 100000;
constexpr int kBudgets = 3;
constexpr int kCategories = 20;
constexpr int kPayModes = 10;
constexpr int kYears = 10;
constexpr int kBudgetShown = 0;
constexpr int kRuns = 7;
constexpr double kListTargetMs = 50.0;
constexpr std::uint32_t kSeed = 20240611;
// The selections of the list and of the balance, by the raw side.
constexpr const char* kMonthSql =
    "SELECT fPK, fEtx FROM tt WHERE +fSec=? AND +fSub=? AND (fR3 BETWEEN ? AND ?) ORDER BY fR3, fPK";
constexpr const char* kBalanceSql =
    "SELECT fPK, fEtx, fG1, fF2 FROM tt WHERE (fR3 BETWEEN ? AND ?) AND +fSec=? AND +fSub=? ORDER BY fR3, fPK";

using budget::KindSums;

const std::array<const char*, kCategories> kCategoryNames = {
    "Groceries", "Housing",   "Utilities", "Transport", "Eating out",  "Health",        "Insurance",
    "Clothing",  "Leisure",   "Books",     "Gifts",     "Holidays",    "Household",     "Phone",
    "Fitness",   "Education", "Savings",   "Salary",    "Side income", "Miscellaneous",
};

const std::array<const char*, kPayModes - 1> kPayModeNames = {
    "Cash", "Cheque", "Debit card", "Credit card", "Transfer", "Direct debit", "Standing order", "Online", "Voucher",
};

void AddKind(KindSums& sums, int dcwb, Currency amount) {
    Currency& sum = sums[static_cast<std::size_t>(dcwb & 3)];
    sum = Currency::FromUnits(sum.units + amount.units);
}

// The rows and sums of one time frame of the budget in view, as they were written.
struct Frame {
    QDate from;
    QDate to;
    int rows = 0;
    KindSums totals{};
    QHash<int, KindSums> byCategory;

    void count(const budget::Transaction& t) {
        if (t.datePaid < from || t.datePaid > to) {
            return;
        }
        ++rows;
        AddKind(totals, t.dcwb, t.amount);
        AddKind(byCategory[t.category], t.dcwb, t.amount);
    }
};

struct Expected {
    Frame month;
    Frame year;
    Frame all;
};

QString CategoryListText() {
    QStringList parts;
    for (int id = 1; id <= kCategories; ++id) {
        parts << QString::fromLatin1(kCategoryNames[static_cast<std::size_t>(id - 1)]) << QString::number(id);
    }
    return parts.join(u';');
}

ListEntries PaymentEntries() {
    ListEntries entries{{QStringLiteral("< All >"), budget::kPayModeAll},
                        {QStringLiteral("<N.S.>"), budget::kPayModeNotStated}};
    for (int id = 1; id < kPayModes; ++id) {
        entries.append({QString::fromLatin1(kPayModeNames[static_cast<std::size_t>(id - 1)]), id});
    }
    return entries;
}

// Writes the categories of every budget and the transactions, spread evenly over the years up to `today`, the
// transactions inside one transaction of the engine. Counts what goes into the budget in view.
bool Fill(Store& store, const QDate& today, Expected& expected, QTextStream& err) {
    const QString categoryText = CategoryListText();
    for (int b = 0; b < kBudgets; ++b) {
        if (const int e = categories::SaveCategoryText(store, categoryText, categories::kBudgetSection, b)) {
            err << "noctaria-bench: the categories of budget " << b << " could not be written: " << e << '\n';
            return false;
        }
    }
    if (const sqlite::Error e = store.connection().exec("BEGIN")) {
        err << "noctaria-bench: BEGIN failed: " << e.description << '\n';
        return false;
    }
    std::mt19937 rng(kSeed);
    const QDate first = today.addYears(-kYears).addDays(1);
    const qint64 span = first.daysTo(today) + 1;
    for (int i = 0; i < kTransactions; ++i) {
        const QDate date = first.addDays(span * i / kTransactions);
        const int budgetId = Below(rng, kBudgets);
        budget::Transaction t = NewTransaction(rng, store.user.level, date, kCategories, kPayModes);
        if (const Result r = budget::StoreTransaction(store, budgetId, t); !r.ok()) {
            err << "noctaria-bench: writing transaction " << i << " failed: " << r.text() << '\n';
            store.connection().exec("ROLLBACK");
            return false;
        }
        if (budgetId == kBudgetShown) {
            expected.month.count(t);
            expected.year.count(t);
            expected.all.count(t);
        }
    }
    if (const sqlite::Error e = store.connection().exec("COMMIT")) {
        err << "noctaria-bench: COMMIT failed: " << e.description << '\n';
        return false;
    }
    return true;
}

// Whether the month list shows exactly the rows written for the month, with their amounts and categories.
bool ListAgrees(const budget::TransactionList& list, const Frame& frame) {
    if (list.rows.size() != frame.rows || list.queryHadRows != (frame.rows > 0) || list.repaired != 0) {
        return false;
    }
    KindSums totals{};
    QHash<int, KindSums> byCategory;
    for (const budget::ListRow& row : list.rows) {
        if (row.texts.size() != budget::kListColumns) {
            return false;
        }
        AddKind(totals, row.transaction.dcwb, row.transaction.amount);
        AddKind(byCategory[row.transaction.category], row.transaction.dcwb, row.transaction.amount);
    }
    return totals == frame.totals && byCategory == frame.byCategory;
}

// Whether the balance holds, to the last unit, the sums written for the frame, in total and by category.
bool BalanceAgrees(const budget::Balance& balance, const Frame& frame) {
    if (balance.overflow || balance.totals != frame.totals || balance.sums.size() != balance.categories.size()) {
        return false;
    }
    for (qsizetype i = 0; i < balance.categories.size(); ++i) {
        if (balance.sums[i] != frame.byCategory.value(balance.categories[i].itemData)) {
            return false;
        }
    }
    for (auto it = frame.byCategory.cbegin(); it != frame.byCategory.cend(); ++it) {
        if (IndexOfItemData(balance.categories, it.key()) < 0) {
            return false;
        }
    }
    return true;
}

// `sql` prepared with the budget in view and the two day numbers bound in its first four parameters.
Statement PrepareRange(sqlite3* db, const char* sql, int firstDay, int lastDay, bool budgetFirst) {
    Statement select = Prepare(db, sql);
    if (select) {
        const int range = budgetFirst ? 3 : 1;
        const int section = budgetFirst ? 1 : 3;
        sqlite3_bind_int(select.get(), section, categories::kBudgetSection);
        sqlite3_bind_int(select.get(), section + 1, kBudgetShown);
        sqlite3_bind_int(select.get(), range, firstDay);
        sqlite3_bind_int(select.get(), range + 1, lastDay);
    }
    return select;
}

// The month list's rows by raw SQLite and raw Botan, in the list's order, each record deciphered and nothing
// decoded. The count of intact rows, or -1.
int MonthLimit(sqlite3* db, const CRY::SecureBytes& keys, int firstDay, int lastDay) {
    const Statement select = PrepareRange(db, kMonthSql, firstDay, lastDay, true);
    auto mode = Botan::Cipher_Mode::create("Blowfish/CBC/NoPadding", Botan::DECRYPTION);
    if (!select || !mode) {
        return -1;
    }
    CRY::SecureBytes buffer;
    int intact = 0;
    int rc = SQLITE_ROW;
    while ((rc = sqlite3_step(select.get())) == SQLITE_ROW) {
        const auto* p = static_cast<const std::uint8_t*>(sqlite3_column_blob(select.get(), 1));
        const auto n = static_cast<std::size_t>(sqlite3_column_bytes(select.get(), 1));
        if (DecipherRaw(*mode, keys, sqlite3_column_int64(select.get(), 0), p, n, buffer)) {
            ++intact;
        }
    }
    return rc == SQLITE_DONE ? intact : -1;
}

// A balance's rows by raw SQLite and raw Botan: read in one go as the balance reads them, then deciphered on as
// many threads as the balance uses, each with a cipher of its own. The count of intact rows, or -1.
int BalanceLimit(sqlite3* db, const CRY::SecureBytes& keys, int firstDay, int lastDay) {
    const Statement select = PrepareRange(db, kBalanceSql, firstDay, lastDay, false);
    if (!select) {
        return -1;
    }
    std::vector<RawRow> rows;
    int rc = SQLITE_ROW;
    while ((rc = sqlite3_step(select.get())) == SQLITE_ROW) {
        const auto* p = static_cast<const std::uint8_t*>(sqlite3_column_blob(select.get(), 1));
        const auto n = static_cast<std::size_t>(sqlite3_column_bytes(select.get(), 1));
        rows.push_back({sqlite3_column_int64(select.get(), 0), sqlite3_column_int(select.get(), 2),
                        sqlite3_column_int(select.get(), 3) != 0, std::vector<std::uint8_t>(p, p + n)});
    }
    if (rc != SQLITE_DONE) {
        return -1;
    }

    return DecipherRawRows(rows, keys);
}

int Run(QTextStream& out, QTextStream& err) {
    BenchFile file(err);
    if (!file.open(QStringLiteral("budget.nct"))) {
        return 1;
    }
    Session& session = file.session();
    Store& store = session.store();

    const QDate today = QDate::currentDate();
    const QDate monthStart(today.year(), today.month(), 1);
    Expected expected;
    expected.month.from = monthStart;
    expected.month.to = monthStart.addMonths(1).addDays(-1);
    expected.year.from = QDate(today.year(), 1, 1);
    expected.year.to = today;
    expected.all.from = QDate(2000, 1, 1);
    expected.all.to = today;

    QElapsedTimer timer;
    timer.start();
    if (!Fill(store, today, expected, err)) {
        return 1;
    }
    out << "filled " << kTransactions << " transactions (" << kBudgets << " budgets, " << kCategories
        << " categories each, " << kYears << " years to " << today.toString(Qt::ISODate) << ") in "
        << QString::number(MillisecondsOf(timer), 'f', 0) << " ms; file "
        << QString::number(static_cast<double>(QFileInfo(session.DbPath).size()) / (1024.0 * 1024.0), 'f', 1)
        << " MB\n";
    out.flush();

    ListEntries entries;
    categories::FillCategoryEntries(store, entries, categories::kBudgetSection, {.addAll = true, .addUnfiled = true},
                                    kBudgetShown);
    const budget::ListFilter filter{.budget = kBudgetShown, .category = categories::kAll, .month = today};
    const budget::ListContext context{entries, PaymentEntries(), true, QLocale::c()};
    const ListEntries balanceCategories = budget::BalanceCategories(entries);
    CRY::SecureBytes keys = AllRecordKeys(store.cry.KeyPool());
    sqlite3* raw = store.connection().handle();

    std::vector<Timing> results;
    const Frame& month = expected.month;
    bool ok = Measure(
        "month list", month.rows,
        [&](double& ms) {
            QElapsedTimer t;
            t.start();
            const budget::TransactionList list = budget::ReloadList(store, filter, context);
            ms = MillisecondsOf(t);
            return ListAgrees(list, month);
        },
        [&](double& ms) {
            QElapsedTimer t;
            t.start();
            const int intact = MonthLimit(raw, keys, budget::DayNumber(month.from), budget::DayNumber(month.to));
            ms = MillisecondsOf(t);
            return intact == month.rows;
        },
        kRuns, results, err);

    for (const auto& item : {std::pair{"year balance", &expected.year}, std::pair{"TOTAL balance", &expected.all}}) {
        const Frame& frame = *item.second;
        const budget::BalanceQuery query{kBudgetShown, frame.from, frame.to, budget::kPayModeAll};
        const bool agrees = Measure(
            item.first, frame.rows,
            [&](double& ms) {
                QElapsedTimer t;
                t.start();
                const budget::Balance balance = budget::RefreshTotals(store, query, balanceCategories);
                ms = MillisecondsOf(t);
                return BalanceAgrees(balance, frame);
            },
            [&](double& ms) {
                QElapsedTimer t;
                t.start();
                const int intact = BalanceLimit(raw, keys, budget::DayNumber(frame.from), budget::DayNumber(frame.to));
                ms = MillisecondsOf(t);
                return intact == frame.rows;
            },
            kRuns, results, err);
        ok = agrees && ok;
    }
    CRY::WipeBytes(keys);

    PrintTable(out, results, 1);
    out << "medians of " << kRuns << " runs; balance threads: " << cipher_workers::ThreadsFor(expected.year.rows)
        << " (year), " << cipher_workers::ThreadsFor(expected.all.rows) << " (TOTAL), hardware concurrency "
        << std::thread::hardware_concurrency() << '\n';
    out << "plan of the month list: " << QueryPlan(raw, budget::ListQuery(filter).toUtf8()) << '\n'
        << "plan of the balances: " << QueryPlan(raw, kBalanceSql) << '\n';
    const double listMs = results.front().oursMs;
    out << "month list " << (listMs < kListTargetMs ? "under" : "NOT under") << ' ' << kListTargetMs << " ms ("
        << QString::number(listMs, 'f', 1) << " ms)\n";
    out.flush();

    return ok ? 0 : 1;
}

} // namespace

int RunBudgetBench(QTextStream& out, QTextStream& err) {
    return Run(out, err);
}

} // namespace bench
