#include "budget/periods.h"

#include "support/test_main.h"

using namespace budget;

namespace {

constexpr int kSunday = 1;
constexpr int kMonday = 2;
constexpr int kSaturday = 7;

QDate D(const QString& iso) {
    return QDate::fromString(iso, Qt::ISODate);
}

// The tables write a period as "from|to|year|week".
PeriodState State(const QString& text, int pointer) {
    const QStringList parts = text.split(u'|');
    PeriodState state;
    state.from = D(parts.value(0));
    state.to = D(parts.value(1));
    state.yearText = parts.value(2);
    state.weekText = parts.value(3);
    state.pointer = pointer;
    return state;
}

QString Text(const PeriodState& state) {
    return QStringList{state.from.toString(Qt::ISODate), state.to.toString(Qt::ISODate), state.yearText, state.weekText}
        .join(u'|');
}

} // namespace

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
        QTest::addColumn<QString>("after");
        const auto row = [](const QString& name, int index, const QString& today, const QString& year,
                            const QString& after) {
            QTest::newRow(qPrintable(name)) << index << D(today) << year << after;
        };
        // The year, its halves, quarters and months (periods 0 to 18), each from its first day to its last.
        int period = 0;
        for (const int months : {12, 6, 3, 1}) {
            for (int first = 1; first <= 12; first += months, ++period) {
                const QDate from(2023, first, 1);
                const QDate to = from.addMonths(months).addDays(-1);
                row(QString::number(period), period, "2024-05-15", "2023",
                    from.toString(Qt::ISODate) + u'|' + to.toString(Qt::ISODate) + QStringLiteral("|2023|W 9"));
            }
        }
        row("19", 19, "2024-05-15", "2023", "2023-01-01|2023-05-15|2023|W 9");
        row("20", 20, "2024-05-15", "2023", "2023-05-15|2023-05-15|2023|W 9");
        row("21 ignores the year", 21, "2024-05-15", "2023", "2024-05-12|2024-05-18|2023|W 20");
        row("22", 22, "2024-05-15", "2023", "2000-01-01|2024-05-15|2023|W 9");
        row("19 on 29 Feb, common year", 19, "2024-02-29", "2023", "2023-01-01|2023-02-28|2023|W 9");
        row("20 on 29 Feb, common year", 20, "2024-02-29", "2023", "2023-02-28|2023-02-28|2023|W 9");
        row("year text not a number", 0, "2024-05-15", "abc", "2024-01-01|2024-12-31|2024|W 9");
        row("year before the limit", 7, "2024-05-15", "1900", "1907-07-03|1907-07-03|1907|W 9");
        row("year after the limit", 0, "2024-05-15", "3000", "2076-01-01|2076-03-31|2076|W 9");
    }

    void select() {
        QFETCH(int, index);
        QFETCH(QDate, today);
        QFETCH(QString, yearText);
        PeriodState state = State(QStringLiteral("2010-01-01|2010-01-01|%1|W 9").arg(yearText), kPeriodByHand);
        SelectPeriod(state, index, today, kSunday);
        QTEST(Text(state), "after");
        QCOMPARE(state.pointer, index);
    }

    void move_data() {
        QTest::addColumn<int>("pointer");
        QTest::addColumn<QString>("before");
        QTest::addColumn<QString>("step"); // the unit, and + for up
        QTest::addColumn<int>("firstDay");
        QTest::addColumn<QString>("after");
        const auto row = [](const char* name, int pointer, const char* before, const char* step, const char* after,
                            int firstDay = kSunday) {
            QTest::newRow(name) << pointer << QString::fromLatin1(before) << QString::fromLatin1(step) << firstDay
                                << QString::fromLatin1(after);
        };
        const int w = kPeriodWeek;
        row("year", 19, "2024-01-01|2024-02-29|2024|W 3", "year+", "2025-01-01|2025-02-28|2025|W 3");
        row("year, week keeps its number", w, "2022-05-15|2022-05-21|2022|W 21", "year+",
            "2023-05-21|2023-05-27|2023|W 21");
        row("year, week back again", w, "2023-05-21|2023-05-27|2023|W 21", "year-", "2022-05-15|2022-05-21|2022|W 21");
        row("year past the upper limit", 0, "2076-01-01|2076-03-31|2076|W 1", "year+",
            "2076-03-31|2076-03-31|2076|W 1");
        row("year past the lower limit", 0, "1907-07-03|1907-12-31|1907|W 1", "year-",
            "1907-07-03|1907-07-03|1907|W 1");
        row("week up into 1 January", w, "2024-12-22|2024-12-28|2024|W 52", "week+", "2024-12-29|2025-01-04|2025|W 1");
        row("week up after 1 January", w, "2024-12-29|2025-01-04|2025|W 1", "week+", "2025-01-05|2025-01-11|2025|W 2");
        row("week down into 1 January", w, "2025-01-05|2025-01-11|2025|W 2", "week-", "2024-12-29|2025-01-04|2025|W 1");
        row("week down into the old year", w, "2024-12-29|2025-01-04|2025|W 1", "week-",
            "2024-12-22|2024-12-28|2024|W 52");
        row("week down, year already shown", w, "2024-12-29|2025-01-04|2024|W 53", "week-",
            "2024-12-22|2024-12-28|2024|W 52");
        // Chosen on 30 December, the week holds 1 January but shows the old year until it is stepped.
        row("week up from a freshly chosen year-end week", w, "2024-12-29|2025-01-04|2024|W 53", "week+",
            "2025-01-05|2025-01-11|2025|W 2");
        row("week up, Monday first, 1 January begins a week", w, "2023-12-25|2023-12-31|2023|W 53", "week+",
            "2024-01-01|2024-01-07|2024|W 1", kMonday);
        row("week down, Monday first, into the old year", w, "2024-01-01|2024-01-07|2024|W 1", "week-",
            "2023-12-25|2023-12-31|2023|W 53", kMonday);
        row("day into 29 February", 20, "2024-02-28|2024-02-28|2024|W 9", "day+", "2024-02-29|2024-02-29|2024|W 9");
        row("day across the year", 25, "2024-12-31|2025-01-05|2024|W 9", "day+", "2025-01-01|2025-01-06|2024|W 9");
        row("day below the limit", 20, "1907-07-03|1907-07-03|1907|W 9", "day-", "1907-07-03|1907-07-03|1907|W 9");
    }

    void move() {
        QFETCH(int, pointer);
        QFETCH(QString, before);
        QFETCH(QString, step);
        QFETCH(int, firstDay);
        PeriodState state = State(before, pointer);
        const int unit = static_cast<int>(QStringList({"year", "week", "day"}).indexOf(step.chopped(1)));
        MovePeriod(state, unit, step.endsWith(u'+'), firstDay);
        QTEST(Text(state), "after");
        QCOMPARE(state.pointer, pointer);
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
        QTest::newRow("no date changes nothing") << true << QDate() << D("2024-01-01") << D("2024-12-31");
    }

    void byHand() {
        QFETCH(bool, setFrom);
        QFETCH(QDate, value);
        PeriodState state = State(QStringLiteral("2024-01-01|2024-12-31|2024|W 1"), 0);
        setFrom ? SetFromByHand(state, value) : SetToByHand(state, value);
        QTEST(state.from, "from");
        QTEST(state.to, "to");
        QCOMPARE(state.pointer, value.isValid() ? kPeriodByHand : 0);
    }

    void invalidDates() {
        PeriodState state = State(QStringLiteral("2024-01-01|2024-12-31|2024|W 1"), 0);
        SetToByHand(state, QDate());
        QCOMPARE(Text(state), QStringLiteral("2024-01-01|2024-12-31|2024|W 1"));
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
        QTest::addColumn<QList<bool>>("shown"); // year controls, week controls, to-date, pointer
        QTest::newRow("year") << 0 << QList<bool>{true, false, true, true};
        QTest::newRow("day") << 20 << QList<bool>{false, false, false, true};
        QTest::newRow("week") << 21 << QList<bool>{true, true, true, true};
        QTest::newRow("total") << 22 << QList<bool>{false, false, true, true};
        QTest::newRow("by hand") << 25 << QList<bool>{true, false, true, false};
    }

    void controls() {
        QFETCH(int, pointer);
        const PeriodControls c = ControlsFor(pointer);
        QTEST((QList<bool>{c.yearControls, c.weekControls, c.toDate, c.pointer}), "shown");
    }
};

NCT_TEST_MAIN(TestPeriods)
#include "tst_periods.moc"
