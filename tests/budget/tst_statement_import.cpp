#include "budget/statement_import.h"
#include "budget/totals.h"
#include "budget/transaction.h"
#include "support/test_main.h"

using namespace budget;
using namespace budget::statements;

namespace {

const QString kPass = QStringLiteral("import pass 42");

StatementRow Booking(const QDate& date, std::int64_t cents, const QString& item, const QString& bankId = {},
                     const QString& partner = {}) {
    StatementRow row;
    row.line = 1;
    row.date = date;
    row.amount = Currency::FromUnits(cents * 100);
    row.item = item;
    row.partner = partner;
    row.bankId = bankId;
    return row;
}

QVector<RowState> States(const ImportPlan& plan) {
    QVector<RowState> states;
    for (const PlannedRow& row : plan.rows) {
        states << row.state;
    }
    return states;
}

} // namespace

class TestStatementImport : public FileTest {
    Q_OBJECT

    int budgetRows() {
        sqlite::Statement count = store().connection().prepare("SELECT count(*) FROM tt WHERE fSec=17");
        return count.step() ? static_cast<int>(count.int64(0)) : -1;
    }

    QVector<Transaction> budgetTransactions(int budget) {
        return DecodeTransactions(store().cry.KeyPool(),
                                  ReadBalanceRows(store(), {budget, QDate(1990, 1, 1), QDate(2070, 1, 1), -1}));
    }

private Q_SLOTS:
    void init() { QVERIFY(newFile(kPass)); }

    // Texts outside the code page, and category ids whose bytes hold the list's separator, come back as written.
    void rulesRoundTripThroughTheFile() {
        const CategoryRules rules = {{0, QStringLiteral("Bäckerei"), 255},
                                     {3, QStringLiteral("日本 € Grocer"), 0x1FF},
                                     {0, QStringLiteral("x"), 0x7FFFFFFF}};
        QCOMPARE(LoadRules(store()), std::optional<CategoryRules>(CategoryRules{}));
        QCOMPARE(SaveRules(store(), rules), 0);
        QVERIFY(reopen(kPass));
        QCOMPARE(LoadRules(store()), std::optional<CategoryRules>(rules));
        QVERIFY(!ParseRules(store().user.fPK + 1, RulesText(store().user.fPK, rules)));
        QVERIFY(!RuleTextFits(QStringLiteral("a\u00FFb")));
        QVERIFY(!RuleTextFits(QStringLiteral("  ")));
    }

    void rulesFileByItemOrPartner() {
        const CategoryRules rules = {{1, QStringLiteral("rent"), 7},
                                     {0, QStringLiteral("REWE"), 4},
                                     {0, QStringLiteral("market"), 5},
                                     {0, QStringLiteral("gone"), 99}};
        const QVector<int> categories = {0, 4, 5};
        QCOMPARE(CategoryOf(rules, 0, categories, Booking({}, -1, QStringLiteral("Rewe Markt 12"))), 4);
        QCOMPARE(
            CategoryOf(rules, 0, categories, Booking({}, -1, QStringLiteral("Card"), {}, QStringLiteral("market"))), 5);
        QCOMPARE(CategoryOf(rules, 0, categories, Booking({}, -1, QStringLiteral("Rent May"))), 0);
        QCOMPARE(CategoryOf(rules, 1, categories, Booking({}, -1, QStringLiteral("Rent May"))), 0);
        QCOMPARE(CategoryOf(rules, 0, categories, Booking({}, -1, QStringLiteral("gone"))), 0);
    }

    void duplicatesAreFoundAgainstTheBudgetAndTheImport() {
        Transaction t = ClearTransaction(0, 0, QDate(2026, 3, 2));
        t.description = QStringLiteral("Bakery");
        t.amount = *Currency::FromText(QStringLiteral("12.5"));
        t.dcwb = kDebitBit;
        QVERIFY(StoreTransaction(store(), 0, t).ok());

        Statement statement;
        statement.rows = {Booking(QDate(2026, 3, 2), -1250, QStringLiteral("bakery ")),
                          Booking(QDate(2026, 3, 2), 1250, QStringLiteral("Bakery")),
                          Booking(QDate(2026, 3, 3), -1250, QStringLiteral("Bakery")),
                          Booking(QDate(2026, 3, 3), -1250, QStringLiteral("Bakery")),
                          Booking(QDate(2026, 3, 4), -500, QStringLiteral("Cafe"), QStringLiteral("A1")),
                          Booking(QDate(2026, 3, 4), -500, QStringLiteral("Cafe"), QStringLiteral("A2")),
                          Booking(QDate(2026, 3, 4), -500, QStringLiteral("Cafe"), QStringLiteral("A2")),
                          Booking(QDate(2026, 3, 5), -100, QString(QStringLiteral("x")).repeated(65001)),
                          Booking(QDate(2090, 1, 1), -100, QStringLiteral("Far"))};
        const ImportPlan plan = PlanImport(store(), 0, statement, {}, {0});
        using S = RowState;
        QCOMPARE(States(plan), QVector<S>({S::Duplicate, S::New, S::New, S::Duplicate, S::New, S::New, S::Duplicate,
                                           S::Refused, S::Refused}));
        QVERIFY(!plan.rows[0].take);

        const int before = budgetRows();
        const ImportResult result = CommitImport(store(), plan, 0);
        QVERIFY(result.failure.isEmpty());
        QCOMPARE(result.added, 4);
        QCOMPARE(result.duplicates, 3);
        QCOMPARE(result.refused, 2);
        QCOMPARE(budgetRows(), before + 4);
        QVERIFY(ImportSummary(result).startsWith(QStringLiteral("4 bookings imported, 3 left out as duplicates, 2 "
                                                                "refused.\nline 1: the description is longer")));
    }

    // The bank's ids travel in the notes, so the same statement read again is all duplicates, even after a reopen.
    void theSameStatementTwiceAddsNothing() {
        Statement statement;
        statement.rows = {Booking(QDate(2026, 4, 1), -4999, QStringLiteral("Rent"), QStringLiteral("F-1")),
                          Booking(QDate(2026, 4, 2), 250000, QStringLiteral("Salary"), QStringLiteral("F-2"),
                                  QStringLiteral("ACME Ltd"))};
        statement.rows[0].note = QStringLiteral("April");
        const CategoryRules rules = {{2, QStringLiteral("acme"), 3}};
        QCOMPARE(CommitImport(store(), PlanImport(store(), 2, statement, rules, {0, 3}), 1).added, 2);
        QVERIFY(reopen(kPass));
        const ImportPlan again = PlanImport(store(), 2, statement, rules, {0, 3});
        QCOMPARE(States(again), QVector<RowState>({RowState::Duplicate, RowState::Duplicate}));
        QCOMPARE(CommitImport(store(), again, 1).added, 0);

        const QVector<Transaction> stored = budgetTransactions(2);
        QCOMPARE(stored.size(), 2);
        QVERIFY(stored[0].isDebit());
        QCOMPARE(stored[0].amount, *Currency::FromText(QStringLiteral("49.99")));
        QCOMPARE(stored[0].note, QStringLiteral("April\nBank id: F-1"));
        QCOMPARE(stored[0].payMode, 1);
        QVERIFY(!stored[1].isDebit());
        QCOMPARE(stored[1].partner, QStringLiteral("ACME Ltd"));
        QCOMPARE(stored[1].category, 3);
        QCOMPARE(BankIdIn(stored[1].note), QStringLiteral("F-2"));
        QCOMPARE(BankIdIn(QStringLiteral("typed Bank id: X")), QString());
    }

    void csvLayoutsAreRememberedAsText() {
        CsvLayout layout;
        layout.dialect = {u'\t', TextEncoding::Windows1252, u'.', QStringLiteral("MM/dd/yyyy"), 2, false};
        layout.mapping.date = 0;
        layout.mapping.credit = 3;
        layout.mapping.debit = 4;
        QCOMPARE(ParseCsvLayout(CsvLayoutText(layout)), std::optional<CsvLayout>(layout));
        for (const char* broken :
             {"", "separator=59", "separator=120;encoding=8;decimal=44;skip=0;header=1;date=dd.MM.yyyy|date=0;amount=1",
              "separator=59;encoding=8;decimal=44;skip=0;header=1;date=yy|date=0;amount=1"}) {
            QVERIFY2(!ParseCsvLayout(QString::fromLatin1(broken)), broken);
        }
        QCOMPARE(CsvLayoutKey({"Datum", "Betrag"}).size(), 20);
        QVERIFY(CsvLayoutKey({"Datum", "Betrag"}) != CsvLayoutKey({"Datum;Betrag"}));
    }

    void cancelLeavesTheFileAsItWas() {
        Statement statement;
        for (int day = 1; day <= 20; ++day) {
            statement.rows << Booking(QDate(2026, 5, day), -day * 100, QStringLiteral("Item %1").arg(day));
        }
        const int before = budgetRows();
        const ImportResult result = CommitImport(store(), PlanImport(store(), 0, statement, {}, {0}), 0,
                                                 [](int done, int) { return done < 7; });
        QVERIFY(result.cancelled);
        QCOMPARE(result.added, 0);
        QCOMPARE(budgetRows(), before);
        QVERIFY(reopen(kPass));
        QCOMPARE(budgetRows(), before);
        QCOMPARE(ImportSummary(result), QStringLiteral("The import was cancelled; nothing was imported."));
    }
};

NCT_TEST_MAIN(TestStatementImport)
#include "tst_statement_import.moc"
