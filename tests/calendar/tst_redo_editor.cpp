#include "calendar/redo_editor.h"
#include "store/row.h"
#include "support/section_fixture.h"

namespace {

using namespace CALENDAR;
using Reply = Prompter::Reply;

// A rule as the person sets it up: the choice, then what differs from the defaults the choice brings (0 and -1:
// the start's).
struct Rule {
    int redo = RedoChoiceNone;
    int alt = 0;
    int interval = 0;
    std::uint8_t mask = 0;
    int when = -1;
    int weekday = 0; // Sunday = 1
    int month = 0;
};

RedoValues Made(const Rule& rule, const QDate& start, int firstDay, int endMode) {
    RedoValues v;
    v.FirstDay = firstDay;
    v.Redo = rule.redo;
    v.RedoAlt = rule.alt;
    v.EndMode = endMode;
    ChangeRecurrence(v, start);
    v.IntervalA = v.IntervalB = std::max(1, rule.interval);
    if (rule.mask != 0) {
        v.setWeekdayMask(rule.mask);
    }
    v.RedoWhen = rule.when >= 0 ? rule.when : v.RedoWhen;
    v.RedoWeekday = rule.weekday != 0 ? SundayToFirstDay(rule.weekday, firstDay) - 1 : v.RedoWeekday;
    v.RedoMonth = rule.month != 0 ? rule.month - 1 : v.RedoMonth;
    return v;
}

QVector<std::int64_t> Expanded(const RedoValues& v, const QDate& to) {
    return ExpandSeries(v.RedoStart, to, 0, BuildRedoString(v), v.FirstDay);
}

QString Why(const RedoValues& v, qsizetype shown) {
    return QStringLiteral("%1 to %2, string %3, count %4, shown %5")
        .arg(v.RedoStart.toString(Qt::ISODate), v.RedoEndDate.toString(Qt::ISODate),
             QString::fromLatin1(BuildRedoString(v).toHex()))
        .arg(v.Occurrences)
        .arg(shown);
}

constexpr std::uint8_t kMon = 4;
constexpr std::uint8_t kMonWedFri = 4 | 16 | 64;
constexpr std::uint8_t kWeekend = 2 | 128;
const QDate kMonday(2025, 3, 3);

} // namespace

Q_DECLARE_METATYPE(Rule)

class TestRedoEditor : public SectionFixture {
    Q_OBJECT

    ScriptedPrompter m_ask;

private Q_SLOTS:
    void init() { m_ask.forget(); }

    // Every kind, with intervals and days the start does not fall on, from a leap day and from months' last days.
    void arithmeticAgreesWithTheViews_data() {
        QTest::addColumn<Rule>("rule");
        QTest::addColumn<QDate>("start");
        QTest::addColumn<int>("firstDay");
        QList<std::pair<QString, Rule>> rules;
        for (int interval : {1, 2, 3}) {
            for (std::uint8_t mask : {kMon, kMonWedFri, kWeekend, std::uint8_t(254)}) {
                rules.append({QStringLiteral("weekly/%1 mask %2").arg(interval).arg(mask),
                              Rule{.redo = RedoChoiceWeekly, .interval = interval, .mask = mask}});
            }
            rules.append(
                {QStringLiteral("month day/%1").arg(interval), Rule{.redo = RedoChoiceMonthly, .interval = interval}});
        }
        rules.append({QStringLiteral("every 3 days"), Rule{.redo = RedoChoiceDaily, .interval = 3}});
        rules.append({QStringLiteral("workdays"), Rule{.redo = RedoChoiceDaily, .alt = 1}});
        rules.append({QStringLiteral("nth of the start"), Rule{.redo = RedoChoiceMonthly, .alt = 1}});
        rules.append({QStringLiteral("last Friday/2"), Rule{RedoChoiceMonthly, 1, 2, 0, 4, 6}});
        rules.append({QStringLiteral("first Sunday/3"), Rule{RedoChoiceMonthly, 1, 3, 0, 0, 1}});
        rules.append({QStringLiteral("year day"), Rule{.redo = RedoChoiceYearly}});
        rules.append({QStringLiteral("year nth of the start"), Rule{.redo = RedoChoiceYearly, .alt = 1}});
        rules.append({QStringLiteral("last Monday of February"), Rule{RedoChoiceYearly, 1, 0, 0, 4, 2, 2}});
        rules.append({QStringLiteral("second Tuesday of November"), Rule{RedoChoiceYearly, 1, 0, 0, 1, 3, 11}});
        for (const QDate& start : {QDate(2024, 2, 29), QDate(2025, 1, 31), QDate(2025, 8, 31), QDate(2026, 6, 14)}) {
            for (const auto& [name, rule] : rules) {
                // The week's first day matters to weekly rules only.
                for (int firstDay : rule.redo == RedoChoiceWeekly ? QList<int>{1, 2} : QList<int>{1}) {
                    QTest::addRow("%s from %s, week from %d", qPrintable(name), qPrintable(start.toString(Qt::ISODate)),
                                  firstDay)
                        << rule << start << firstDay;
                }
            }
        }
    }
    // The end worked out for N occurrences holds exactly N of them as the views expand the series, from its start;
    // a typed end counts what the views show up to it and moves back onto the last one, saying so; what the editor
    // builds reads back to the same bytes.
    void arithmeticAgreesWithTheViews() {
        QFETCH(Rule, rule);
        QFETCH(QDate, start);
        QFETCH(int, firstDay);
        for (int n : {1, 2, 5, 13}) {
            RedoValues v = Made(rule, start, firstDay, AfterOccurrences);
            v.Occurrences = n;
            RecalcRedoEnd(v);
            const QVector<std::int64_t> shown = Expanded(v, v.RedoEndDate);
            QVERIFY2(shown.size() == n && OccurrenceCount(v) == n, qPrintable(Why(v, shown.size())));
            QCOMPARE(DayOfMinute(shown.first()), v.RedoStart);
            QCOMPARE(DayOfMinute(shown.last()), v.RedoEndDate);
        }
        for (int days : {0, 1, 9, 40, 100, 800}) {
            RedoValues v = Made(rule, start, firstDay, OnEndDate);
            RecalcRedoEnd(v);
            const QDate typed = v.RedoStart.addDays(days);
            v.RedoEndDate = typed;
            m_ask.forget();
            RecalcRedoEnd(v, &m_ask);
            const qsizetype shown = Expanded(v, typed).size();
            QVERIFY2(v.Occurrences == shown && Expanded(v, v.RedoEndDate).size() == shown, qPrintable(Why(v, shown)));
            QCOMPARE(m_ask.numbers(), v.RedoEndDate == typed ? QList<int>{} : QList<int>{386});
        }
        for (int endMode : {NoEndDate, AfterOccurrences, OnEndDate}) {
            RedoValues v = Made(rule, start, firstDay, endMode);
            RecalcRedoEnd(v);
            RedoValues read;
            read.FirstDay = firstDay;
            QVERIFY(ParseRedoString(BuildRedoString(v), read));
            QCOMPARE(BuildRedoString(read), BuildRedoString(v));
            QCOMPARE(read.EndMode, endMode);
            QCOMPARE(read.Occurrences, v.Occurrences);
        }
    }

    // Known ends: weekly rules in both week starts, the start moving onto its first ticked day; monthly rules on
    // the last days of months, the short ones on their last day.
    void knownEnds_data() {
        QTest::addColumn<Rule>("rule");
        QTest::addColumn<QDate>("start");
        QTest::addColumn<int>("firstDay");
        QTest::addColumn<int>("n");
        QTest::addColumn<QDate>("first");
        QTest::addColumn<QDate>("end");
        const Rule weekly{.redo = RedoChoiceWeekly};
        const Rule monthly{.redo = RedoChoiceMonthly};
        QTest::newRow("Mondays") << weekly << kMonday << 1 << 3 << kMonday << QDate(2025, 3, 17);
        QTest::newRow("Mon Wed Fri every 2nd week")
            << Rule{RedoChoiceWeekly, 0, 2, kMonWedFri} << kMonday << 1 << 4 << kMonday << QDate(2025, 3, 17);
        QTest::newRow("a Thursday start waits for Friday")
            << Rule{RedoChoiceWeekly, 0, 3, kMonWedFri} << kMonday.addDays(3) << 2 << 3 << QDate(2025, 3, 7)
            << QDate(2025, 3, 26);
        // A Sunday ends a week that begins on Monday and begins one that begins on Sunday.
        QTest::newRow("weekends every 2nd week from Monday")
            << Rule{RedoChoiceWeekly, 0, 2, kWeekend} << QDate(2025, 3, 8) << 2 << 2 << QDate(2025, 3, 8)
            << QDate(2025, 3, 9);
        QTest::newRow("weekends every 2nd week from Sunday")
            << Rule{RedoChoiceWeekly, 0, 2, kWeekend} << QDate(2025, 3, 8) << 1 << 2 << QDate(2025, 3, 8)
            << QDate(2025, 3, 16);
        QTest::newRow("31st through February")
            << monthly << QDate(2024, 12, 31) << 1 << 3 << QDate(2024, 12, 31) << QDate(2025, 2, 28);
        QTest::newRow("31st to a 31st") << monthly << QDate(2025, 1, 31) << 1 << 3 << QDate(2025, 1, 31)
                                        << QDate(2025, 3, 31);
        QTest::newRow("31st through a 30th")
            << monthly << QDate(2025, 8, 31) << 1 << 3 << QDate(2025, 8, 31) << QDate(2025, 10, 31);
    }
    void knownEnds() {
        QFETCH(Rule, rule);
        QFETCH(QDate, start);
        QFETCH(int, firstDay);
        QFETCH(int, n);
        RedoValues v = Made(rule, start, firstDay, AfterOccurrences);
        v.Occurrences = n;
        RecalcRedoEnd(v);
        QTEST(v.RedoStart, "first");
        QTEST(v.RedoEndDate, "end");
        QCOMPARE(Expanded(v, v.RedoEndDate).size(), qsizetype(n));
        v.RedoEndDate = v.RedoEndDate.addDays(-1);
        QCOMPARE(OccurrenceCount(v), n - 1);
    }

    // A typed end before the start becomes the start, one occurrence; past the calendar's last day the end stops
    // at the limit, with message 150, and the count follows it.
    void endsOutOfRange() {
        RedoValues v = Made(Rule{.redo = RedoChoiceDaily, .interval = 2}, QDate(2025, 5, 10), 1, OnEndDate);
        v.RedoEndDate = QDate(2025, 4, 1);
        RecalcRedoEnd(v, &m_ask);
        QCOMPARE(v.RedoEndDate, QDate(2025, 5, 10));
        QCOMPARE(v.Occurrences, 1);
        QVERIFY(m_ask.shown.isEmpty());
        v = Made(Rule{.redo = RedoChoiceYearly}, QDate(2070, 7, 1), 1, AfterOccurrences);
        v.Occurrences = 20;
        RecalcRedoEnd(v, &m_ask);
        QCOMPARE(v.RedoEndDate, UpperLimitDate());
        QCOMPARE(v.Occurrences, 6);
        QCOMPARE(m_ask.numbers(), QList<int>{150});
    }

    // A start after the wanted weekday of its month asks whether to move to the next month (Yes) or to keep that
    // earlier day (No); a yearly rule takes the next year.
    void nthStartBeforeTheDay_data() {
        QTest::addColumn<int>("redo");
        QTest::addColumn<QList<int>>("replies");
        QTest::addColumn<QList<int>>("asked");
        QTest::addColumn<QDate>("first");
        QTest::newRow("monthly, next month")
            << int(RedoChoiceMonthly) << QList<int>{int(Reply::Yes)} << QList<int>{151} << QDate(2025, 4, 7);
        QTest::newRow("monthly, kept") << int(RedoChoiceMonthly) << QList<int>{int(Reply::No)} << QList<int>{151}
                                       << QDate(2025, 3, 3);
        QTest::newRow("yearly") << int(RedoChoiceYearly) << QList<int>{} << QList<int>{} << QDate(2026, 3, 2);
    }
    void nthStartBeforeTheDay() {
        QFETCH(int, redo);
        QFETCH(QList<int>, replies);
        // The first Monday of March 2025 is the 3rd.
        RedoValues v = Made(Rule{redo, 1, 0, 0, 0, 2}, QDate(2025, 3, 12), 1, AfterOccurrences);
        for (int reply : replies) {
            m_ask.replies << Reply(reply);
        }
        RecalcRedoEnd(v, &m_ask);
        QTEST(m_ask.numbers(), "asked");
        QTEST(v.RedoStart, "first");
        QCOMPARE(Expanded(v, v.RedoEndDate).size(), qsizetype(5));
    }

    // The stored bytes of a rule and its words; no rule, no string and no words.
    void bytesAndWords() {
        RedoValues v = Made(Rule{RedoChoiceWeekly, 0, 2, kMonWedFri}, kMonday, 2, AfterOccurrences);
        v.Occurrences = 4;
        RecalcRedoEnd(v);
        QCOMPARE(BuildRedoString(v), QByteArray::fromHex("095402e227f027"));
        QCOMPARE(
            RecurrenceInWords(BuildRedoString(v), 1),
            QStringLiteral("every 2 week(s) on Monday, Wednesday, Friday, from 3/3/2025 until 3/17/2025, 4 times"));
        QCOMPARE(RecurrenceInWords(QByteArray::fromHex("0e1d027226fe27"), 1),
                 QStringLiteral("every 29 February, from 2/29/2024 until 3/31/2025, 2 times"));
        QCOMPARE(RecurrenceInWords(QByteArray::fromHex("041f01c327fe27"), 1),
                 QStringLiteral("day 31, every 1 month(s), from 1/31/2025, no end date"));
        const RedoValues untouched = v;
        QVERIFY(!ParseRedoString(QByteArray::fromHex("095402e227f0"), v));
        QCOMPARE(BuildRedoString(v), BuildRedoString(untouched));
        QVERIFY(RecurrenceInWords(QByteArray("xx"), 1).isEmpty());
        v.Redo = RedoChoiceNone;
        QVERIFY(BuildRedoString(v).isEmpty());
    }

    void newAppointmentTimes_data() {
        QTest::addColumn<QTime>("at");
        QTest::addColumn<bool>("fromView");
        QTest::addColumn<bool>("allDay");
        QTest::addColumn<int>("start");
        QTest::addColumn<int>("end");
        QTest::newRow("now, rounded down") << QTime(10, 59) << false << false << 630 << 660;
        QTest::newRow("late, cut at midnight") << QTime(23, 50) << false << false << 1410 << 1440;
        QTest::newRow("a view's day") << QTime(0, 0) << true << false << 540 << 570;
        QTest::newRow("a view's slot") << QTime(23, 45) << true << false << 1425 << 1440;
        QTest::newRow("all day") << QTime(14, 10) << false << true << 0 << 1440;
    }
    void newAppointmentTimes() {
        QFETCH(QTime, at);
        QFETCH(bool, fromView);
        QFETCH(bool, allDay);
        const QDate day(2025, 6, 2);
        const Span span = NewAppointmentSpan(QDateTime(day, at), fromView, allDay);
        QTEST(int(span.start - MinuteOf(day)), "start");
        QTEST(int(span.end - MinuteOf(day)), "end");
        // An end at midnight shows as 24:00 of the same day.
        QCOMPARE(EndFields(span).day, day);
        QCOMPARE(IsAllDaySpan(span), allDay);
    }

    void timeFields() {
        QCOMPARE(ClampHourField(24, 0), 23);
        QCOMPARE(ClampHourField(99, 1), 24);
        QCOMPARE(ClampMinuteField(60), 55);
        const QDate day(2025, 6, 2);
        QCOMPARE(TypedMinute(day, 9, 59), MinuteOf(day, 9 * 60 + 55));
        const Span span{MinuteOf(day, 600), MinuteOf(day, 690)};
        QCOMPARE(MovedStart(span, MinuteOf(day, 60)), (Span{MinuteOf(day, 60), MinuteOf(day, 150)}));
        QCOMPARE(MovedEnd(span, MinuteOf(day, 500)), (Span{span.start, span.start}));
        QCOMPARE(DurationFromSliders(24, 11), 1440);
        QCOMPARE(SlidersFromDuration(span), (std::pair{1, 6}));
        QCOMPARE(TimedSpan(day, AllDaySpan(span.start)), (Span{MinuteOf(day, 540), MinuteOf(day, 570)}));
    }

    // OK: its refusals, the all-day shape, the series' first day, and whether anything is to be written.
    void okSteps() {
        const QDate day(2025, 6, 2);
        Appointment loaded;
        loaded.key = 7;
        loaded.subject = QStringLiteral("Dentist");
        loaded.start = MinuteOf(day, 600);
        loaded.end = loaded.start + 45;
        RedoValues once;
        once.RedoStart = day;
        Appointment typed = loaded;
        typed.subject.clear();
        QVERIFY(AcceptAppointment(loaded, typed, once, m_ask).stays);
        m_ask.replies << Reply::Yes << Reply::Yes;
        QVERIFY(!AcceptAppointment(loaded, typed, once, m_ask).stays);
        QVERIFY(!AcceptAppointment(loaded, loaded, once, m_ask).write);
        QVERIFY(AcceptAppointment(Appointment{}, Appointment{}, once, m_ask).write);
        QCOMPARE(m_ask.numbers(), (QList<int>{369, 369, 369}));

        typed = loaded;
        typed.start = MinuteOf(day);
        typed.end = typed.start + 1440;
        typed.alarmDelay = 30;
        const OkOutcome allDay = AcceptAppointment(loaded, typed, once, m_ask);
        QVERIFY(allDay.write && allDay.appointment.allDay && allDay.appointment.alarmDelay == 0);

        RedoValues weekly = Made(Rule{RedoChoiceWeekly, 0, 1, kMonWedFri}, day.addDays(2), 1, NoEndDate);
        RecalcRedoEnd(weekly);
        const OkOutcome series = AcceptAppointment(loaded, loaded, weekly, m_ask);
        QCOMPARE(series.appointment.start, MinuteOf(day.addDays(2), 600));
        QCOMPARE(series.appointment.end - series.appointment.start, 45);
        weekly.WeekdayFlags = {};
        m_ask.forget();
        QVERIFY(AcceptAppointment(loaded, loaded, weekly, m_ask).stays);
        QCOMPARE(m_ask.numbers(), QList<int>{10});
    }

    // Exception days belong to the rule they were cut from: kept while its first seven bytes stay, dropped with any
    // change of them.
    void exceptionsFollowTheRule_data() {
        QTest::addColumn<int>("interval");
        QTest::addColumn<int>("occurrences");
        QTest::newRow("subject only") << 1 << 5;
        QTest::newRow("interval") << 2 << 5;
        QTest::newRow("end") << 1 << 9;
    }
    void exceptionsFollowTheRule() {
        RedoValues v = Made(Rule{.redo = RedoChoiceWeekly}, kMonday, 1, AfterOccurrences);
        RecalcRedoEnd(v);
        Appointment loaded;
        loaded.key = 3;
        loaded.subject = QStringLiteral("Choir");
        loaded.start = MinuteOf(kMonday, 1140);
        loaded.end = loaded.start + 90;
        loaded.redo = BuildRedoString(v) + QByteArray::fromHex("e927");
        QVERIFY(ParseRedoString(loaded.redo, v));
        QFETCH(int, interval);
        QFETCH(int, occurrences);
        v.IntervalA = interval;
        v.Occurrences = occurrences;
        RecalcRedoEnd(v);
        Appointment typed = loaded;
        typed.subject = QStringLiteral("Choir practice");
        const OkOutcome ok = AcceptAppointment(loaded, typed, v, m_ask);
        const bool kept = interval == 1 && occurrences == 5;
        QCOMPARE(ok.appointment.redo, kept ? loaded.redo : BuildRedoString(v));
    }

    // An open series is stored with its far end in the day columns and end mode 0 in its rule, and opens again as
    // it was set up.
    void openSeriesRoundTrip() {
        QVERIFY(freshFile());
        RedoValues v = Made(Rule{.redo = RedoChoiceMonthly, .alt = 1}, QDate(2025, 3, 20), 1, NoEndDate);
        RecalcRedoEnd(v);
        Appointment typed = NewAppointment(store().user.level, QDateTime(v.RedoStart, QTime(18, 0)), true, false);
        typed.subject = QStringLiteral("Book club");
        OkOutcome ok = AcceptAppointment(Appointment{}, typed, v, m_ask);
        QVERIFY(StoreAppointment(store(), ok.appointment, QDate(2025, 3, 1)).ok());
        const std::optional<Appointment> stored = LoadAppointment(store(), ok.appointment.key);
        QVERIFY(stored && (stored->redo.at(0) & 24) == 0);
        QVERIFY(ReadRow(store().connection(), stored->key)->integer(Col::fR2) >= kOpenEndBase - kSeriesEndBase);
        RedoValues read;
        QVERIFY(ParseRedoString(stored->redo, read));
        QCOMPARE(read.EndMode, int(NoEndDate));
        QCOMPARE(BuildRedoString(read), BuildRedoString(v));
        QVERIFY(!AcceptAppointment(*stored, *stored, read, m_ask).write);
        QCOMPARE(ExpandSeries(QDate(2025, 1, 1), QDate(2026, 12, 31), 0, stored->redo, 1).size(), qsizetype(22));
    }
};

NCT_TEST_MAIN(TestRedoEditor)
#include "tst_redo_editor.moc"
