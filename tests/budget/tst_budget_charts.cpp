#include "budget/amounts.h"
#include "budget/budget_lists.h"
#include "budget/chart_data.h"
#include "budget/transaction.h"
#include "support/test_main.h"

#include <limits>

using namespace budget;

namespace {

Currency Money(const char* text) {
    return *Currency::FromText(QString::fromLatin1(text));
}

const ListEntries kCategories =
    BalanceCategories({{"All", -1}, {"Food", 1}, {"Rent", 2}, {"Unfiled", 0}, {"Edit", 9999}});

// The rows every case reads: a period from mid-November to February with a row on each side of both ends,
// private rows in and out of it, a second payment mode and a category no longer listed.
struct Seed {
    QDate day;
    const char* amount;
    int dcwb;
    int category;
    int payMode;
};
const Seed kSeed[] = {
    {{2025, 11, 14}, "1000", kDebitBit, 1, 0},  {{2025, 11, 15}, "12.34", kDebitBit, 1, 1},
    {{2025, 11, 30}, "2500", 0, 0, 0},          {{2025, 12, 31}, "7.5", kDebitBit | kPrivateBit, 1, 0},
    {{2025, 12, 31}, "99.99", kDebitBit, 2, 0}, {{2026, 1, 1}, "0.0001", kDebitBit, 2, 1},
    {{2026, 1, 15}, "40", kPrivateBit, 0, 0},   {{2026, 1, 20}, "3", kDebitBit, 5, 0},
    {{2026, 2, 10}, "600", kDebitBit, 2, 0},    {{2026, 2, 11}, "5000", 0, 0, 0},
    {{2026, 3, 5}, "20", kDebitBit, 1, 0},      {{2026, 3, 21}, "1", kDebitBit, 1, 0},
};

constexpr int kHugeBudget = 1;

} // namespace

class TestBudgetCharts : public FileTest {
    Q_OBJECT

    bool put(const QDate& day, Currency amount, int dcwb, int category = 0, int payMode = 0, int budget = 0) {
        Transaction t = ClearTransaction(0, category, day);
        t.amount = amount;
        t.dcwb = dcwb;
        t.isPrivate = (dcwb & kPrivateBit) != 0;
        t.payMode = payMode;
        t.description = QStringLiteral("item");
        return StoreTransaction(store(), budget, t).ok();
    }

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(newFile(QStringLiteral("charts pass 1")));
        for (const Seed& s : kSeed) {
            QVERIFY(put(s.day, Money(s.amount), s.dcwb, s.category, s.payMode));
        }
        const Currency most{std::numeric_limits<std::int64_t>::max()};
        QVERIFY(put({2026, 1, 31}, most, kDebitBit, 1, 0, kHugeBudget));
        QVERIFY(put({2026, 2, 1}, most, kDebitBit, 1, 0, kHugeBudget));
        QVERIFY(put({2026, 3, 1}, most, kDebitBit, 1, 0, kHugeBudget));
        QVERIFY(put({2026, 3, 31}, most, kDebitBit, 1, 0, kHugeBudget));
    }

    void categoryDebitsAreTheBalanceDebitColumn_data() {
        QTest::addColumn<int>("payment");
        QTest::addColumn<bool>("withPrivate");
        QTest::addColumn<QStringList>("expected");
        // Rent keeps its ten-thousandth unrounded until shown; the unlisted category counts for the row before it
        // (Unfiled).
        QTest::newRow("private hidden") << kPayModeAll << false
                                        << QStringList{"Food 12.34", "Rent 699.99", "Unfiled 3.00"};
        QTest::newRow("with private") << kPayModeAll << true
                                      << QStringList{"Food 19.84", "Rent 699.99", "Unfiled 3.00"};
        QTest::newRow("one payment mode") << 1 << true << QStringList{"Food 12.34", "Rent 0.00"};
    }

    void categoryDebitsAreTheBalanceDebitColumn() {
        QFETCH(int, payment);
        QFETCH(bool, withPrivate);
        QFETCH(QStringList, expected);
        const Balance balance = RefreshTotals(store(), {0, {2025, 11, 15}, {2026, 2, 10}, payment}, kCategories);
        const CategoryDebits debits = DebitsByCategory(balance, withPrivate);
        QVERIFY(!debits.overflow);
        QStringList drawn;
        for (const CategoryDebit& c : debits.categories) {
            drawn << c.name + u' ' + FormatAmount(c.amount, false);
        }
        QCOMPARE(drawn, expected);
        // The same texts as the table's debit column, wherever that column has a debit.
        QStringList table;
        for (int p = 0; p < balance.categories.size(); ++p) {
            const QStringList row = *BalanceRowTexts(balance, p, withPrivate);
            if (balance.sums[p][1].units != 0 || (withPrivate && balance.sums[p][3].units != 0)) {
                table << row[0] + u' ' + row[withPrivate ? 6 : 4];
            }
        }
        QCOMPARE(drawn, table);
    }

    void monthsAddUpToThePeriod_data() {
        QTest::addColumn<QDate>("from");
        QTest::addColumn<QDate>("to");
        QTest::addColumn<int>("payment");
        QTest::addColumn<bool>("withPrivate");
        QTest::addColumn<QStringList>("months"); // month: credit / debit / balance
        QTest::newRow("across the year, private hidden")
            << QDate(2025, 11, 15) << QDate(2026, 2, 10) << kPayModeAll << false
            << QStringList{"2025-11: 2500 / 12.34 / 2487.66", "2025-12: 0 / 99.99 / -99.99",
                           "2026-01: 0 / 3.0001 / -3.0001", "2026-02: 0 / 600 / -600"};
        QTest::newRow("across the year, with private")
            << QDate(2025, 11, 15) << QDate(2026, 2, 10) << kPayModeAll << true
            << QStringList{"2025-11: 2500 / 12.34 / 2487.66", "2025-12: 0 / 107.49 / -107.49",
                           "2026-01: 40 / 3.0001 / 36.9999", "2026-02: 0 / 600 / -600"};
        QTest::newRow("one payment mode") << QDate(2025, 11, 15) << QDate(2026, 2, 10) << 1 << true
                                          << QStringList{"2025-11: 0 / 12.34 / -12.34", "2025-12: 0 / 0 / 0",
                                                         "2026-01: 0 / 0.0001 / -0.0001", "2026-02: 0 / 0 / 0"};
        QTest::newRow("inside one month")
            << QDate(2026, 3, 5) << QDate(2026, 3, 20) << kPayModeAll << true << QStringList{"2026-03: 0 / 20 / -20"};
        QTest::newRow("one day") << QDate(2025, 12, 31) << QDate(2025, 12, 31) << kPayModeAll << false
                                 << QStringList{"2025-12: 0 / 99.99 / -99.99"};
        QTest::newRow("nothing in it") << QDate(2024, 1, 31) << QDate(2024, 3, 1) << kPayModeAll << true
                                       << QStringList{"2024-01: 0 / 0 / 0", "2024-02: 0 / 0 / 0", "2024-03: 0 / 0 / 0"};
    }

    void monthsAddUpToThePeriod() {
        QFETCH(QDate, from);
        QFETCH(QDate, to);
        QFETCH(int, payment);
        QFETCH(bool, withPrivate);
        QFETCH(QStringList, months);
        const BalanceQuery query{0, from, to, payment};
        const MonthlySums monthly = MonthlyBalance(store(), query, kCategories, withPrivate);
        QVERIFY(!monthly.overflow);
        QStringList shown;
        Currency credit;
        Currency debit;
        Currency balance;
        for (const MonthSums& m : monthly.months) {
            shown << QStringLiteral("%1: %2 / %3 / %4")
                         .arg(m.month.toString(QStringLiteral("yyyy-MM")), m.credit.toText(), m.debit.toText(),
                              m.balance.toText());
            QCOMPARE(m.month.day(), 1);
            credit = *credit.plus(m.credit);
            debit = *debit.plus(m.debit);
            balance = *balance.plus(m.balance);
        }
        QCOMPARE(shown, months);
        QCOMPARE(monthly.empty(), credit.units == 0 && debit.units == 0);
        // The months together are the Balance's totals line: public, or total with the private sums.
        const QVector<Currency> totals = *ResultValues(RefreshTotals(store(), query, kCategories));
        const int shift = withPrivate ? 2 : 0;
        QCOMPARE(credit, totals[0 + shift]);
        QCOMPARE(debit, totals[3 + shift]);
        QCOMPARE(balance, totals[6 + shift]);
    }

    void sumsBeyondTheCurrencyAreNotDrawn() {
        // Two of the largest debits in one month overflow that month; a month each, only the period.
        const MonthlySums twoMonths =
            MonthlyBalance(store(), {kHugeBudget, {2026, 1, 1}, {2026, 2, 28}, kPayModeAll}, kCategories, false);
        QVERIFY(!twoMonths.overflow);
        QCOMPARE(twoMonths.months.size(), 2);
        const Balance period =
            RefreshTotals(store(), {kHugeBudget, {2026, 1, 1}, {2026, 2, 28}, kPayModeAll}, kCategories);
        QVERIFY(DebitsByCategory(period, false).overflow);
        QVERIFY(DebitsByCategory(period, false).categories.isEmpty());
        const MonthlySums oneMonth =
            MonthlyBalance(store(), {kHugeBudget, {2026, 3, 1}, {2026, 3, 31}, kPayModeAll}, kCategories, false);
        QVERIFY(oneMonth.overflow);
        QVERIFY(oneMonth.months.isEmpty());
        // Public and private each in range, together not: only the sum with the private part overflows.
        Balance edge;
        edge.categories = {{"Food", 1}};
        edge.sums = {KindSums{Currency{}, Currency{std::numeric_limits<std::int64_t>::max()}, Currency{}, Money("1")}};
        QVERIFY(!DebitsByCategory(edge, false).overflow);
        QVERIFY(DebitsByCategory(edge, true).overflow);
    }
};

NCT_TEST_MAIN(TestBudgetCharts)
#include "tst_budget_charts.moc"
