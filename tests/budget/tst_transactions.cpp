#include "base/messages.h"
#include "budget/amounts.h"
#include "budget/balance_export.h"
#include "budget/budget_lists.h"
#include "budget/totals.h"
#include "budget/transaction.h"
#include "budget/transaction_list.h"
#include "sections/categories/categories.h"
#include "shell/export_file.h"
#include "store/record_get.h"
#include "support/test_main.h"
#include "support/time_zone.h"

#include <functional>
#include <limits>

using namespace budget;

namespace {

Currency Money(const char* text) {
    return *Currency::FromText(QString::fromLatin1(text));
}

Transaction Make(const QDate& date, const char* amount, int dcwb, int category = 0, int payMode = 0,
                 const QString& description = QStringLiteral("item")) {
    Transaction t = ClearTransaction(0, category, date);
    t.amount = Money(amount);
    t.dcwb = dcwb;
    t.isPrivate = (dcwb & kPrivateBit) != 0;
    t.payMode = payMode;
    t.description = description;
    return t;
}

ListEntries Payments() {
    return {{"< All >", -1}, {"<N.S.>", 0}, {"Cash", 1}};
}

} // namespace

class TestTransactions : public FileTest {
    Q_OBJECT

    std::int32_t Put(Transaction t, int budget = 0) {
        if (!StoreTransaction(store(), budget, t).ok()) {
            return 0;
        }
        return t.key;
    }

    // The day the record's blob holds, read by the field reader alone.
    QDate RecordDay(std::int32_t key) {
        FieldValues values;
        Record_Get::GetRecord(values, store().cry.Cipher(key, 2, ReadRow(store().connection(), key)->bytes(Col::fEtx)));
        return values.value(DatePaid).toDateTime().date();
    }

    void clearBudgetRows() { QVERIFY(!store().connection().exec("DELETE FROM tt WHERE fSec=17")); }

private Q_SLOTS:
    void initTestCase() { QVERIFY(newFile(QStringLiteral("correct horse 1"))); }

    void dayNumbersAtTheLimits() {
        QCOMPARE(DayNumber(QDate(1989, 4, 28)), 0);
        QCOMPARE(DayNumber(QDate(1989, 4, 29)), 1);
        QCOMPARE(DayNumber(QDate(1989, 4, 28).addDays(32767)), 32767);
        QCOMPARE(DayNumber(QDate(1989, 4, 28).addDays(32768)), 0);
        QCOMPARE(DayNumber(QDate(1989, 4, 28).addDays(-32767)), -32767);
        QCOMPARE(DayNumber(QDate(1989, 4, 28).addDays(-32768)), 0);
        QCOMPARE(DayNumber(QDate()), 0);
        QCOMPARE(DateOfDayNumber(DayNumber(QDate(2026, 11, 22))), QDate(2026, 11, 22));
    }

    void roundTripThroughTheFileWithCodedColumns() {
        for (int dcwb = 0; dcwb < 4; ++dcwb) {
            Transaction t = Make(QDate(2026, 3, 14), "1234.5678", dcwb, 7, 3, QStringLiteral("Café €"));
            t.partner = QStringLiteral("Shop");
            t.note = QStringLiteral("line one\nline two");
            t.noteFlag = true;
            const std::int32_t key = Put(t, 5);
            QVERIFY(key > 0);
            const std::optional<Row> row = ReadRow(store().connection(), key);
            QVERIFY(row);
            QCOMPARE(QList<qint64>({row->integer(Col::fSec), row->integer(Col::fSub), row->integer(Col::fG1),
                                    row->integer(Col::fR2) % 4, row->integer(Col::fR3), row->integer(Col::fF2)}),
                     QList<qint64>({17, 5, 7, dcwb, DayNumber(QDate(2026, 3, 14)), 1}));
            QVERIFY(row->integer(Col::fR2) >= 0 && row->integer(Col::fR2) <= 2147483643);
            QVERIFY(row->integer(Col::AE) & 1);
            // The amount column holds the amount alone, headerless.
            const QByteArray amount = store().cry.Cipher(key, 2, row->bytes(Col::fT1));
            QCOMPARE(amount.at(0), char(FieldType::Currency));
            const std::optional<Transaction> back = LoadTransaction(store(), key);
            QVERIFY(back);
            QCOMPARE(back->amount, Money("1234.5678"));
            QCOMPARE(back->datePaid, QDate(2026, 3, 14));
            QCOMPARE(QStringList({back->description, back->note}), QStringList({t.description, t.note}));
            QCOMPARE(QList<int>({back->dcwb, back->isPrivate, back->payMode, back->category}),
                     QList<int>({dcwb, dcwb >= 2, 3, 7}));
        }
    }

    void dayWithoutMidnightKeepsItsDate_data() {
        QTest::addColumn<QByteArray>("zone");
        QTest::addColumn<QDate>("day");
        // Daylight saving starts at midnight there: the day has no 00:00.
        QTest::newRow("Sao Paulo") << QByteArray("America/Sao_Paulo") << QDate(2018, 11, 4);
        QTest::newRow("Santiago") << QByteArray("America/Santiago") << QDate(2024, 9, 8);
        QTest::newRow("Cairo") << QByteArray("Africa/Cairo") << QDate(2024, 4, 26);
        QTest::newRow("Beirut") << QByteArray("Asia/Beirut") << QDate(2024, 3, 31);
        QTest::newRow("Havana") << QByteArray("America/Havana") << QDate(2024, 3, 10);
    }

    void dayWithoutMidnightKeepsItsDate() {
        QFETCH(QByteArray, zone);
        QFETCH(QDate, day);
        const ScopedTimeZone local(zone.constData());
        QVERIFY2(!QDateTime(day, QTime(0, 0)).isValid(), "the zone's rules are not installed");
        const std::int32_t key = Put(Make(day, "1", 0));
        QVERIFY(key > 0);
        QCOMPARE(LoadTransaction(store(), key)->datePaid, day);
        QCOMPARE(ReadRow(store().connection(), key)->integer(Col::fR3), DayNumber(day));
        QCOMPARE(RecordDay(key), day);
    }

    void storingAgainKeepsTheKeyOfItsOwnRowOnly() {
        Transaction t = Make(QDate(2026, 1, 2), "10", 0);
        t.note = QStringLiteral("x");
        t.noteFlag = true;
        QVERIFY(StoreTransaction(store(), 0, t).ok());
        const std::int32_t key = t.key;
        // An emptied note clears the note flag.
        t.note.clear();
        t.noteFlag = false;
        QVERIFY(StoreTransaction(store(), 0, t).ok());
        QCOMPARE(t.key, key);
        QCOMPARE(ReadRow(store().connection(), key)->integer(Col::fF2), 0);
        // A key of another section is not overwritten; one whose row is gone makes a new row.
        const std::int64_t memo = AddRecord(store(), "memo", 14);
        t.key = static_cast<std::int32_t>(memo);
        QCOMPARE(StoreTransaction(store(), 0, t), Result::Message(16));
        QCOMPARE(ReadRecord(store(), memo), QByteArray("memo"));
        t.key = 999999;
        QVERIFY(StoreTransaction(store(), 0, t).ok());
        QVERIFY(t.key != 999999);
    }

    void theListSelectsByFilter() {
        clearBudgetRows();
        const QDate march(2026, 3, 10);
        Put(Make(march, "1", 0, 1));              // public credit
        Put(Make(march, "2", 1, 1));              // public debit
        Put(Make(march, "4", 2, 2));              // private credit
        Put(Make(march, "8", 3, 2));              // private debit
        Put(Make(QDate(2026, 4, 1), "16", 0, 1)); // next month
        Put(Make(march, "32", 0, 1), 1);          // another budget
        ListContext context{{{"All", -1}, {"Food", 1}, {"Rent", 2}, {"Unfiled", 0}}, Payments(), true, QLocale()};
        const auto amounts = [&](const std::function<void(ListFilter&)>& set) {
            ListFilter filter;
            filter.month = march;
            set(filter);
            QStringList seen;
            for (const ListRow& row : ReloadList(store(), filter, context).rows) {
                seen << row.transaction.amount.toText();
            }
            seen.sort();
            return seen.join(u',');
        };
        QCOMPARE(amounts([](ListFilter&) {}), QStringLiteral("1,2,4,8"));
        QCOMPARE(amounts([](ListFilter& f) { f.category = 2; }), QStringLiteral("4,8"));
        QCOMPARE(amounts([](ListFilter& f) { f.category = 9999; }), QStringLiteral("1,2,4,8"));
        QCOMPARE(amounts([](ListFilter& f) { f.credit = false; }), QStringLiteral("2,8"));
        QCOMPARE(amounts([](ListFilter& f) { f.debit = false; }), QStringLiteral("1,4"));
        QCOMPARE(amounts([](ListFilter& f) { f.credit = f.debit = false; }), QStringLiteral("1,4"));
        QCOMPARE(amounts([](ListFilter& f) { f.showPublic = false; }), QStringLiteral("4,8"));
        QCOMPARE(amounts([](ListFilter& f) { f.showPrivate = false; }), QStringLiteral("1,2"));
        QCOMPARE(amounts([](ListFilter& f) { f.budget = 1; }), QStringLiteral("32"));
        // The switch filters after decoding: no private row while it is off, whatever the boxes say.
        context.showPrivate = false;
        ListFilter privateOnly;
        privateOnly.month = march;
        privateOnly.showPublic = false;
        const TransactionList hidden = ReloadList(store(), privateOnly, context);
        QVERIFY(hidden.queryHadRows);
        QVERIFY(hidden.rows.isEmpty());
    }

    void rowTextsAndTheLostCategoryRepair() {
        clearBudgetRows();
        Transaction t = Make(QDate(2026, 5, 3), "1234567.891", 3, 42, 77);
        t.partner = QStringLiteral("Bank");
        t.noteFlag = true;
        const std::int32_t key = Put(t);
        const ListContext context{{{"All", -1}, {"< Unfiled >", 0}}, Payments(), true, QLocale()};
        ListFilter filter;
        filter.month = t.datePaid;
        const TransactionList list = ReloadList(store(), filter, context);
        QCOMPARE(list.rows.size(), 1);
        QCOMPARE(list.repaired, 1);
        // A mode that is gone reads as not stated; four-digit years, so that no century is ever guessed, in every
        // locale's own order.
        QCOMPARE(list.rows[0].texts, QStringList({"5/3/2026", "item", " ", "1,234,567.89", "<N.S.>", "x", "Bank", "N",
                                                  "< Unfiled >", "046145", "00000000.00", "01234567.89"}));
        for (const auto& [language, date] :
             {std::pair{QLocale::German, "03.05.2026"}, {QLocale::Japanese, "2026/05/03"}}) {
            QCOMPARE(
                ListRowTexts(list.rows[0].transaction, QString(), {{}, Payments(), true, QLocale(language)})[colDate],
                QString::fromLatin1(date));
        }
        QCOMPARE(ReadRow(store().connection(), key)->integer(Col::fG1), 0);
        QCOMPARE(LoadTransaction(store(), key)->payMode, 77); // the mode itself is not repaired
    }

    void sortingFollowsTheClickTable() {
        // A second click on the same column turns the order; the private, note and category columns sort by their
        // text, the first two of them from the top.
        const ListSort date = SortAfterClick({}, colDate);
        QCOMPARE(QList<int>({date.key, SortAfterClick(date, colCredit).key, SortAfterClick(date, colDebit).key}),
                 QList<int>({colDateKey, colCreditKey, colDebitKey}));
        QVERIFY(!date.descending && SortAfterClick(date, colDate).descending &&
                !SortAfterClick(date, colCredit).descending);
        QCOMPARE(SortAfterClick(date, colPrivate).key, colPrivate);
        QCOMPARE(QList<bool>({SortAfterClick({}, colPrivate).descending, SortAfterClick({}, colNote).descending,
                              SortAfterClick({}, colCategory).descending}),
                 QList<bool>({true, true, false}));
    }

    void amountReadings_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QLocale>("locale");
        QTest::addColumn<QString>("value"); // empty: refused
        QTest::addColumn<QString>("told");  // a part of what a refusal says
        const QLocale en(QLocale::English, QLocale::UnitedStates);
        const QLocale de(QLocale::German, QLocale::Germany);
        const QLocale fr(QLocale::French, QLocale::France);
        const auto row = [](const char* name, const char* text, const QLocale& locale, const char* value,
                            const char* told = "") {
            QTest::newRow(name) << QString::fromUtf8(text) << locale << QString::fromLatin1(value)
                                << QString::fromUtf8(told);
        };
        // Either mark is the decimal one where nothing else can be meant.
        row("comma, English locale", "12,50", en, "12.5");
        row("point, German locale", "12.50", de, "12.5");
        row("one decimal", "12,5", en, "12.5");
        row("four decimals", "12,3456", en, "12.3456");
        row("no whole part", ",5", en, "0.5");
        row("leading zero", "0,250", en, "0.25");
        row("too long a group", "1234,567", en, "1234.567");
        row("both kinds", "1,234.56", en, "1234.56");
        row("both kinds the other way", "1.234,56", en, "1234.56");
        row("groups only", "1.234.567", en, "1234567");
        row("blanks grouping", "1\u202F234,56", fr, "1234.56");
        row("negative", "-5", en, "-5");
        // Two readings, or none exact: refused, saying how it reads.
        row("a thousand or one and a quarter", "1,250", en, "", "1,250.00 or as 1.25");
        row("the same in German", "1.250", de, "", "1.250,00 or as 1,25");
        row("five decimals", "0.00005", en, "", "four decimals");
        row("broken groups", "1,23,456.00", en, "", "no amount");
        row("two decimal marks", "1.234.56,7,8", en, "", "no amount");
        row("too large", "99999999999999999", en, "", "larger");
        row("exponent", "1e3", en, "", "no amount");
        row("nothing", "", en, "", "type an amount");
    }

    void amountReadings() {
        QFETCH(QString, text);
        QFETCH(QLocale, locale);
        QFETCH(QString, value);
        QFETCH(QString, told);
        const AmountReading reading = ReadAmount(text, locale);
        QCOMPARE(reading.value.has_value(), !value.isEmpty());
        if (reading.value) {
            QCOMPARE(reading.value->toText(), value);
        } else {
            QVERIFY2(reading.problem.contains(told), qPrintable(reading.problem));
        }
    }

    void amountsFormatAndClean() {
        const QLocale de(QLocale::German, QLocale::Germany);
        QCOMPARE(FormatAmount(Money("1234567.005"), true), QStringLiteral("1,234,567.01"));
        QCOMPARE(FormatAmount(Money("1234567.004"), false, de), QStringLiteral("1234567,00"));
        QCOMPARE(FormatAmount(Money("-0.004"), false), QStringLiteral("0.00"));
        // The editor shows what is stored, to the last of four decimals, and reads it back unchanged.
        QCOMPARE(EditableAmount(Money("1234.5678")), QStringLiteral("1,234.5678"));
        QCOMPARE(EditableAmount(Money("1234.5"), de), QStringLiteral("1.234,50"));
        QCOMPARE(ParseAmount(EditableAmount(Money("-0.0001"))), Money("-0.0001"));
        QCOMPARE(CleanAmountText(QStringLiteral("1e3")), QStringLiteral("13"));
        QCOMPARE(CleanAmountText(QStringLiteral("-5.5")), QStringLiteral("5.5"));
        QCOMPARE(CleanAmountText(QStringLiteral("1,234.50")), QStringLiteral("1,234.50"));
        QCOMPARE(CleanAmountText(QStringLiteral("12a,5"), de), QStringLiteral("12,5"));
        QCOMPARE(PlainAmount(Money("3")), QStringLiteral("3.00"));
        QCOMPARE(PlainAmount(Money("3.1234")), QStringLiteral("3.1234"));
    }

    void sumsComeFromTheTextsAndNeverWrap() {
        const std::optional<ListSums> sums =
            Recalc1({{QStringLiteral("1,000.50"), QStringLiteral(" ")}, {QStringLiteral(" "), QStringLiteral("0.25")}});
        QVERIFY(sums);
        QCOMPARE(sums->credit, Money("1000.5"));
        QCOMPARE(sums->debit, Money("0.25"));
    }

    void totalsByCategoryWithThePreviousRowRule() {
        clearBudgetRows();
        const QDate day(2026, 6, 1);
        Put(Make(day, "10", 0, 1, 1));
        Put(Make(day.addDays(1), "1", 0, 5, 0));   // unlisted: counts for Food, the row before
        Put(Make(day.addDays(2), "2", 1, 5, 0));   // and again
        Put(Make(day.addDays(3), "4", 3, 2, 0));   // Rent, private debit
        Put(Make(day.addDays(4), "100", 0, 2, 1)); // Rent, cash
        Put(Make(day.addYears(-1), "1000", 0, 1)); // outside the period
        const ListEntries categories =
            BalanceCategories({{"All", -1}, {"Food", 1}, {"Rent", 2}, {"Unfiled", 0}, {"Edit", 9999}});
        QCOMPARE(categories.size(), 3);
        const Balance all = RefreshTotals(store(), {0, day, day.addDays(30), kPayModeAll}, categories);
        QCOMPARE(all.sums[0][0], Money("11"));
        QCOMPARE(all.sums[0][1], Money("2"));
        QCOMPARE(all.sums[1][3], Money("4"));
        QCOMPARE(all.sums[1][0], Money("100"));
        QCOMPARE(*BalanceRowTexts(all, 0, true), QStringList({QStringLiteral("Food"), "11.00", "0.00", "11.00", "2.00",
                                                              "0.00", "2.00", "9.00", "0.00", "9.00"}));
        QCOMPARE(*BalanceRowTexts(all, 1, false),
                 QStringList({QStringLiteral("Rent"), "100.00", "", "", "0.00", "", "", "100.00", "", ""}));
        QCOMPARE(*ResultTexts(all, true), QStringList({" 111.00", " 0.00", " 111.00", " 2.00", " 4.00", " 6.00",
                                                       " 109.00", " -4.00", " 105.00"}));
        QCOMPARE(ResultTexts(all, false)->at(1), QString());
        // The N.S. entry sums only rows without a stated mode; the first kept row starts at the first category.
        const Balance notStated = RefreshTotals(store(), {0, day, day.addDays(30), kPayModeNotStated}, categories);
        QCOMPARE(notStated.sums[0][0], Money("1"));
        QCOMPARE(notStated.sums[0][1], Money("2"));
        QCOMPARE(notStated.totals[0], Money("1"));
        const Balance cash = RefreshTotals(store(), {0, day, day.addDays(30), 1}, categories);
        QCOMPARE(cash.totals[0], Money("110"));
        // An empty period shows every category with zeros.
        const Balance empty = RefreshTotals(store(), {0, day.addYears(2), day.addYears(2), kPayModeAll}, categories);
        QCOMPARE(BalanceRowTexts(empty, 2, true)->at(9), QStringLiteral("0.00"));
    }

    void anOverflowIsReportedNotWrapped() {
        QVector<BalanceItem> items(2, BalanceItem{true, 0, 0, 0, Currency{std::numeric_limits<std::int64_t>::max()}});
        const Balance balance = SumBalance(items, kPayModeAll, {{"Unfiled", 0}});
        QVERIFY(balance.overflow);
        QVERIFY(!ResultTexts(balance, true));
        Balance edge;
        edge.totals = {Currency{std::numeric_limits<std::int64_t>::max()}, Currency{-1}, {}, {}};
        QVERIFY(!ResultValues(edge)); // the balance max - (-1) does not fit
    }

    void csvExportReadsBack() {
        clearBudgetRows();
        const QDate day(2026, 7, 1);
        Transaction t = Make(day, "1234.5", 0, 1, 1, QStringLiteral("Salary, July \"net\""));
        t.note = QStringLiteral("=cmd");
        Put(t);
        Put(Make(day, "20", 3, 1, 0, QStringLiteral("Secret")));
        const ListEntries entries{{"All", -1}, {"Food", 1}, {"U", 0}};
        const BalanceQuery query{0, day, day, kPayModeAll};
        BalanceExport data;
        data.balance = RefreshTotals(store(), query, BalanceCategories(entries));
        data.categories = entries;
        data.payments = Payments();
        data.transactions = DecodeTransactions(store().cry.KeyPool(), ReadBalanceRows(store(), query));
        const QString path = m_dir->filePath(QStringLiteral("out.csv"));
        QVERIFY(exports::WriteExportFile(path, *BalanceCsv(data)).isEmpty());
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QStringList lines = QString::fromUtf8(file.readAll()).split(QStringLiteral("\r\n"));
        QCOMPARE(lines[0], QStringLiteral("Category,Credit,Debit,Balance"));
        QCOMPARE(lines[1], QStringLiteral("Food,1234.50,0.00,1234.50"));
        QCOMPARE(lines[3], QStringLiteral("TOTAL,1234.50,0.00,1234.50"));
        QCOMPARE(lines[5], QStringLiteral("Date,Item,Credit,Debit,Payment,Category,Biz-Partner,Note"));
        QCOMPARE(lines[6], QStringLiteral("2026-07-01,\"Salary, July \"\"net\"\"\",1234.50,,Cash,Food,,'=cmd"));
        QVERIFY(!lines.join(u'\n').contains(QStringLiteral("Secret")));
        // With private records shown the private row and its mark are written, and the private sums.
        data.showPrivate = data.privateColumns = data.privateCells = true;
        const QString all = QString::fromUtf8(*BalanceCsv(data));
        QVERIFY(all.contains(QStringLiteral("2026-07-01,Secret,,20.00,<N.S.>,Food,,,x")));
        QVERIFY(all.contains(QStringLiteral("Food,1234.50,0.00,1234.50,0.00,20.00,20.00,1234.50,-20.00,1214.50")));
    }
};

NCT_TEST_MAIN(TestTransactions)
#include "tst_transactions.moc"
