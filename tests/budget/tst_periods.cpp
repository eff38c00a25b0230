#include "budget/periods.h"

#include "support/test_main.h"

using namespace budget;

namespace {

constexpr int kSunday = 1;
constexpr int kMonday = 2;
constexpr int kSaturday = 7;

QDate D(const char* iso) {
    return QDate::fromString(QString::fromLatin1(iso), Qt::ISODate);
}

PeriodState State(const char* from, const char* to, const QString& year, const QString& week, int pointer) {
    PeriodState state;
    state.from = D(from);
    state.to = D(to);
    state.yearText = year;
    state.weekText = week;
    state.pointer = pointer;
    return state;
}

} // namespace

Q_DECLARE_METATYPE(PeriodState)

class TestPeriods : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void captions() {
        const QDate day(2024, 5, 9);
        QCOMPARE(QStringList(
                     {PeriodCaption(0, day), PeriodCaption(kPeriodYearToDate, day), PeriodCaption(kPeriodTotal, day)}),
                 QStringList({"YEAR", "1 JAN - 9 MAY", "TOTAL"}));
        QVERIFY(PeriodCaption(kPeriodCount, day).isEmpty() && PeriodCaption(-1, day).isEmpty());
    }

    void weeks_data() {
        QTest::addColumn<QDate>("date");
        QTest::addColumn<int>("firstDay");
        QTest::addColumn<QDate>("start");
        QTest::addColumn<int>("number");
        QTest::newRow("1 Jan on the first day") << D("2023-01-01") << kSunday << D("2023-01-01") << 1;
        QTest::newRow("1 Jan on the last day") << D("2023-01-01") << kMonday << D("2022-12-26") << 1;
        QTest::newRow("2 Jan, Sunday first") << D("2023-01-02") << kSunday << D("2023-01-01") << 1;
        QTest::newRow("2 Jan, Monday first") << D("2023-01-02") << kMonday << D("2023-01-02") << 2;
        QTest::newRow("Saturday first") << D("2024-01-06") << kSaturday << D("2024-01-06") << 2;
        QTest::newRow("Saturday, Sunday first") << D("2024-01-06") << kSunday << D("2023-12-31") << 1;
        QTest::newRow("mid-year, Sunday first") << D("2024-05-15") << kSunday << D("2024-05-12") << 20;
        QTest::newRow("mid-year, Monday first") << D("2024-05-15") << kMonday << D("2024-05-13") << 20;
        QTest::newRow("31 Dec, 53") << D("2024-12-31") << kMonday << D("2024-12-30") << 53;
        QTest::newRow("31 Dec of a leap year, 54") << D("2000-12-31") << kSunday << D("2000-12-31") << 54;
        QTest::newRow("same day, Monday first, 53") << D("2000-12-31") << kMonday << D("2000-12-25") << 53;
        QTest::newRow("bad first day counts as Sunday") << D("2023-01-02") << 0 << D("2023-01-01") << 1;
    }
    void weeks() {
        QFETCH(QDate, date);
        QFETCH(int, firstDay);
        QFETCH(int, number);
        QTEST(WeekStart(date, firstDay), "start");
        QCOMPARE(WeekNumber(date, firstDay), number);
        QCOMPARE(WeekText(date, firstDay), QStringLiteral("W %1").arg(number));
    }

    void select_data() {
        QTest::addColumn<int>("index");
        QTest::addColumn<QDate>("today");
        QTest::addColumn<QString>("yearText");
        QTest::addColumn<QDate>("from");
        QTest::addColumn<QDate>("to");
        QTest::addColumn<QString>("yearAfter");
        QTest::addColumn<QString>("weekAfter");
        const QDate today(2024, 5, 15);
        const QString y("2023");
        const QString w("W 9");
        const auto row = [&](int index, const QDate& from, const QDate& to) {
            QTest::addRow("%d", index) << index << today << y << from << to << y << w;
        };
        // The year, its halves, quarters and months (periods 0 to 18), each from its first day to its last.
        int period = 0;
        for (const int months : {12, 6, 3, 1}) {
            for (int first = 1; first <= 12; first += months) {
                const QDate from(2023, first, 1);
                row(period++, from, from.addMonths(months).addDays(-1));
            }
        }
        row(19, D("2023-01-01"), D("2023-05-15"));
        row(20, D("2023-05-15"), D("2023-05-15"));
        QTest::newRow("21 ignores the year") << 21 << today << y << D("2024-05-12") << D("2024-05-18") << y << "W 20";
        row(22, D("2000-01-01"), D("2024-05-15"));
        QTest::newRow("19 on 29 Feb, common year")
            << 19 << D("2024-02-29") << y << D("2023-01-01") << D("2023-02-28") << y << w;
        QTest::newRow("20 on 29 Feb, common year")
            << 20 << D("2024-02-29") << y << D("2023-02-28") << D("2023-02-28") << y << w;
        QTest::newRow("year text not a number")
            << 0 << today << "abc" << D("2024-01-01") << D("2024-12-31") << "2024" << w;
        QTest::newRow("year before the limit")
            << 7 << today << "1900" << D("1907-07-03") << D("1907-07-03") << "1907" << w;
        QTest::newRow("year after the limit")
            << 0 << today << "3000" << D("2076-01-01") << D("2076-03-31") << "2076" << w;
    }
    void select() {
        QFETCH(int, index);
        QFETCH(QDate, today);
        QFETCH(QString, yearText);
        PeriodState state = State("2010-01-01", "2010-01-01", yearText, "W 9", kPeriodByHand);
        SelectPeriod(state, index, today, kSunday);
        QTEST(state.from, "from");
        QTEST(state.to, "to");
        QTEST(state.yearText, "yearAfter");
        QTEST(state.weekText, "weekAfter");
        QCOMPARE(state.pointer, index);
    }

    void move_data() {
        QTest::addColumn<PeriodState>("before");
        QTest::addColumn<int>("unit");
        QTest::addColumn<bool>("up");
        QTest::addColumn<int>("firstDay");
        QTest::addColumn<PeriodState>("after");
        const int week = kPeriodWeek;
        QTest::newRow("year") << State("2024-01-01", "2024-02-29", "2024", "W 3", 19) << 0 << true << kSunday
                              << State("2025-01-01", "2025-02-28", "2025", "W 3", 19);
        QTest::newRow("year, week keeps its number")
            << State("2022-05-15", "2022-05-21", "2022", "W 21", week) << 0 << true << kSunday
            << State("2023-05-21", "2023-05-27", "2023", "W 21", week);
        QTest::newRow("year, week back again") << State("2023-05-21", "2023-05-27", "2023", "W 21", week) << 0 << false
                                               << kSunday << State("2022-05-15", "2022-05-21", "2022", "W 21", week);
        QTest::newRow("year past the upper limit") << State("2076-01-01", "2076-03-31", "2076", "W 1", 0) << 0 << true
                                                   << kSunday << State("2076-03-31", "2076-03-31", "2076", "W 1", 0);
        QTest::newRow("year past the lower limit") << State("1907-07-03", "1907-12-31", "1907", "W 1", 0) << 0 << false
                                                   << kSunday << State("1907-07-03", "1907-07-03", "1907", "W 1", 0);
        QTest::newRow("week up into 1 January") << State("2024-12-22", "2024-12-28", "2024", "W 52", week) << 1 << true
                                                << kSunday << State("2024-12-29", "2025-01-04", "2025", "W 1", week);
        QTest::newRow("week up after 1 January") << State("2024-12-29", "2025-01-04", "2025", "W 1", week) << 1 << true
                                                 << kSunday << State("2025-01-05", "2025-01-11", "2025", "W 2", week);
        QTest::newRow("week down into 1 January")
            << State("2025-01-05", "2025-01-11", "2025", "W 2", week) << 1 << false << kSunday
            << State("2024-12-29", "2025-01-04", "2025", "W 1", week);
        QTest::newRow("week down into the old year")
            << State("2024-12-29", "2025-01-04", "2025", "W 1", week) << 1 << false << kSunday
            << State("2024-12-22", "2024-12-28", "2024", "W 52", week);
        QTest::newRow("week down, year already shown")
            << State("2024-12-29", "2025-01-04", "2024", "W 53", week) << 1 << false << kSunday
            << State("2024-12-22", "2024-12-28", "2024", "W 52", week);
        // Chosen on 30 December, the week holds 1 January but shows the old year until it is stepped.
        QTest::newRow("week up from a freshly chosen year-end week")
            << State("2024-12-29", "2025-01-04", "2024", "W 53", week) << 1 << true << kSunday
            << State("2025-01-05", "2025-01-11", "2025", "W 2", week);
        QTest::newRow("week up, Monday first, 1 January begins a week")
            << State("2023-12-25", "2023-12-31", "2023", "W 53", week) << 1 << true << kMonday
            << State("2024-01-01", "2024-01-07", "2024", "W 1", week);
        QTest::newRow("week down, Monday first, into the old year")
            << State("2024-01-01", "2024-01-07", "2024", "W 1", week) << 1 << false << kMonday
            << State("2023-12-25", "2023-12-31", "2023", "W 53", week);
        QTest::newRow("day into 29 February") << State("2024-02-28", "2024-02-28", "2024", "W 9", 20) << 2 << true
                                              << kSunday << State("2024-02-29", "2024-02-29", "2024", "W 9", 20);
        QTest::newRow("day across the year") << State("2024-12-31", "2025-01-05", "2024", "W 9", 25) << 2 << true
                                             << kSunday << State("2025-01-01", "2025-01-06", "2024", "W 9", 25);
        QTest::newRow("day below the limit") << State("1907-07-03", "1907-07-03", "1907", "W 9", 20) << 2 << false
                                             << kSunday << State("1907-07-03", "1907-07-03", "1907", "W 9", 20);
    }
    void move() {
        QFETCH(PeriodState, before);
        QFETCH(int, unit);
        QFETCH(bool, up);
        QFETCH(int, firstDay);
        QFETCH(PeriodState, after);
        MovePeriod(before, unit, up, firstDay);
        QCOMPARE(before.from, after.from);
        QCOMPARE(before.to, after.to);
        QCOMPARE(before.yearText, after.yearText);
        QCOMPARE(before.weekText, after.weekText);
        QCOMPARE(before.pointer, after.pointer);
    }

    void byHand_data() {
        QTest::addColumn<bool>("setFrom");
        QTest::addColumn<QDate>("value");
        QTest::addColumn<QDate>("from");
        QTest::addColumn<QDate>("to");
        QTest::newRow("from inside") << true << D("2024-06-01") << D("2024-06-01") << D("2024-12-31");
        QTest::newRow("from below the limit") << true << D("1900-01-01") << D("1907-07-03") << D("2024-12-31");
        QTest::newRow("from above the limit") << true << D("2080-01-01") << D("2076-03-31") << D("2076-03-31");
        QTest::newRow("from past to") << true << D("2025-02-01") << D("2025-02-01") << D("2025-02-01");
        QTest::newRow("to above the limit") << false << D("2100-01-01") << D("2024-01-01") << D("2076-03-31");
        QTest::newRow("to below the limit") << false << D("1800-01-01") << D("1907-07-03") << D("1907-07-03");
        QTest::newRow("to before from") << false << D("2023-06-01") << D("2023-06-01") << D("2023-06-01");
    }
    void byHand() {
        QFETCH(bool, setFrom);
        QFETCH(QDate, value);
        PeriodState state = State("2024-01-01", "2024-12-31", "2024", "W 1", 0);
        setFrom ? SetFromByHand(state, value) : SetToByHand(state, value);
        QTEST(state.from, "from");
        QTEST(state.to, "to");
        QCOMPARE(state.pointer, kPeriodByHand);
    }

    void invalidDates() {
        PeriodState state = State("2024-01-01", "2024-12-31", "2024", "W 1", 0);
        SetFromByHand(state, QDate());
        SetToByHand(state, QDate());
        QCOMPARE(state.from, D("2024-01-01"));
        QCOMPARE(state.to, D("2024-12-31"));
        QCOMPARE(state.pointer, 0);

        PeriodState empty;
        MovePeriod(empty, 1, true, kSunday);
        QVERIFY(!empty.from.isValid());
        QCOMPARE(empty.weekText, QString());

        SelectPeriod(empty, kPeriodTotal, QDate(), kSunday);
        QCOMPARE(empty.from, QDate(2000, 1, 1));
        QCOMPARE(empty.to, QDate::currentDate());
        QCOMPARE(WeekNumber(QDate(), kSunday), 0);
        QVERIFY(!PeriodCaption(kPeriodYearToDate, QDate()).isEmpty());
    }

    void controls_data() {
        QTest::addColumn<int>("pointer");
        QTest::addColumn<bool>("year");
        QTest::addColumn<bool>("week");
        QTest::addColumn<bool>("toDate");
        QTest::addColumn<bool>("shown");
        QTest::newRow("year") << 0 << true << false << true << true;
        QTest::newRow("day") << 20 << false << false << false << true;
        QTest::newRow("week") << 21 << true << true << true << true;
        QTest::newRow("total") << 22 << false << false << true << true;
        QTest::newRow("by hand") << 25 << true << false << true << false;
    }
    void controls() {
        QFETCH(int, pointer);
        const PeriodControls c = ControlsFor(pointer);
        QTEST(c.yearControls, "year");
        QTEST(c.weekControls, "week");
        QTEST(c.toDate, "toDate");
        QTEST(c.pointer, "shown");
    }
};

NCT_TEST_MAIN(TestPeriods)
#include "tst_periods.moc"
