#include "calendar/appointment.h"
#include "sections/record_store.h"
#include "store/record_get.h"
#include "store/store.h"
#include "support/section_fixture.h"

namespace {

using namespace CALENDAR;

const QDate kToday(2026, 11, 25);

std::int64_t Minute(const QString& text) {
    const QDateTime when = QDateTime::fromString(text, QStringLiteral("yyyy-MM-dd HH:mm"));
    return MinuteOf(when.date(), when.time().hour() * 60 + when.time().minute());
}

// A series and what it must show: "key: value" lines, "occurrences:" and one start a line after it; a comment
// saying what a literal reading of the rule gives names days that must not show.
struct Golden {
    QByteArray redo;
    std::int64_t start = 0;
    QDate from;
    QDate to;
    int firstDay = 1;
    QStringList expected;
    QStringList notShown;
};

Golden ReadGolden(const QString& path) {
    QFile file(path);
    file.open(QIODevice::ReadOnly | QIODevice::Text);
    Golden g;
    bool listing = false;
    const QString literal = QStringLiteral("# a literal reading of the rule gives: ");
    for (const QString& line : QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        if (line.startsWith(literal)) {
            g.notShown = line.mid(literal.size()).split(QStringLiteral(", "));
        } else if (line.startsWith(QLatin1Char('#'))) {
            continue;
        } else if (listing) {
            g.expected << line;
        } else if (line == QLatin1String("occurrences:")) {
            listing = true;
        } else {
            const QString key = line.section(QStringLiteral(": "), 0, 0);
            const QString value = line.section(QStringLiteral(": "), 1);
            if (key == QLatin1String("redo")) {
                g.redo = QByteArray::fromHex(value.toLatin1());
            } else if (key == QLatin1String("start")) {
                g.start = Minute(value);
            } else if (key == QLatin1String("from")) {
                g.from = QDate::fromString(value, Qt::ISODate);
            } else if (key == QLatin1String("to")) {
                g.to = QDate::fromString(value, Qt::ISODate);
            } else if (key == QLatin1String("first-day")) {
                g.firstDay = value.toInt();
            }
        }
    }
    return g;
}

QStringList Texts(const QVector<std::int64_t>& minutes) {
    QStringList texts;
    for (const std::int64_t m : minutes) {
        texts << MinuteText(m);
    }
    return texts;
}

Appointment Single(const QString& start, int minutes, const QString& subject) {
    Appointment a;
    a.start = Minute(start);
    a.end = a.start + minutes;
    a.subject = subject;
    return a;
}

Recurrence Rule(int kind, int endMode, int a, int b, const QDate& start, const QDate& end = {}) {
    Recurrence rule;
    rule.kind = kind;
    rule.endMode = endMode;
    rule.a = static_cast<std::uint8_t>(a);
    rule.b = static_cast<std::uint8_t>(b);
    rule.startDay = RedoDay(start);
    rule.endDay = end.isValid() ? RedoDay(end) : 0;
    return rule;
}

Appointment Series(const Recurrence& rule, int minuteOfDay, const QString& subject) {
    Appointment a;
    a.start = static_cast<std::int64_t>(rule.startDay) * kMinutesPerDay + minuteOfDay;
    a.end = a.start + 60;
    a.redo = RecurrenceString(rule);
    a.subject = subject;
    return a;
}

} // namespace

Q_DECLARE_METATYPE(Appointment)

class TestAppointments : public SectionFixture {
    Q_OBJECT

    std::int32_t stored(Appointment a) {
        a.owner = store().user.level;
        return StoreAppointment(store(), a, kToday).ok() ? a.key : -1;
    }

    QVector<std::int64_t> shown(std::int32_t key, const QDate& from, const QDate& to, int firstDay) {
        QVector<std::int64_t> times;
        for (const Occurrence& o : QueryAppointments(store(), from, to, firstDay)) {
            if (o.id == key) {
                times << o.time;
            }
        }
        return times;
    }

    std::optional<Row> row(std::int32_t key) { return ReadRow(store().connection(), key); }

    QByteArray opened(std::int32_t key, Col column) { return store().cry.Cipher(key, 2, row(key)->bytes(column)); }

private Q_SLOTS:
    void init() { QVERIFY(freshFile()); }

    // Each series is expanded alone and, stored in the file, found by the range query as the views ask for it.
    void golden_data() {
        QTest::addColumn<QString>("path");
        const QStringList paths = QStringLiteral(NCT_CALENDAR_GOLDEN).split(QLatin1Char(','));
        QVERIFY(paths.size() > 60);
        for (const QString& path : paths) {
            QTest::newRow(qPrintable(QFileInfo(path).baseName())) << path;
        }
    }
    void golden() {
        QFETCH(QString, path);
        const Golden g = ReadGolden(path);
        QVERIFY(g.from.isValid() && g.to.isValid() && !g.redo.isEmpty());
        const QStringList expanded = Texts(ExpandSeries(g.from, g.to, MinuteOfDay(g.start), g.redo, g.firstDay));
        QCOMPARE(expanded, g.expected);
        for (const QString& literal : g.notShown) {
            QVERIFY2(g.expected.contains(literal) || !expanded.contains(literal), qPrintable(literal));
        }
        Appointment a;
        a.start = g.start;
        a.end = g.start + 60;
        a.redo = g.redo;
        const std::int32_t key = stored(a);
        QVERIFY(key > 0);
        QCOMPARE(Texts(shown(key, g.from, g.to, g.firstDay)), g.expected);
    }

    // Every coded column, and every field through a reopened file; the rule's bytes come back as they were,
    // bytes that code page 1252 leaves undefined among them.
    void roundTrip_data() {
        QTest::addColumn<Appointment>("appointment");
        QTest::addColumn<int>("month"); // of a yearly series' marker; 0 another series, -1 a single

        Appointment single = Single("2031-05-06 23:57", 90, QStringLiteral("Dentist – Zahnarzt ✓"));
        single.location = QStringLiteral("Main Street 5");
        single.notes = QStringLiteral("bring the card\nand the form");
        single.alarmOn = true;
        single.alarmDelay = 1440;
        single.isPrivate = true;
        QTest::newRow("single, private, with alarm") << single << -1;

        Recurrence weekly = Rule(RedoWeekdays, EndOnDate, 0x82, 2, QDate(2024, 1, 6), QDate(2024, 6, 29));
        // Exception days whose low bytes are undefined in code page 1252.
        weekly.exceptions = {0x2081, 0x208D};
        QTest::newRow("weekly with exceptions") << Series(weekly, 19 * 60, QStringLiteral("Choir")) << 0;

        const Recurrence yearly = Rule(RedoYearNth, EndNone, 8 * 4 + 5, 11, QDate(2023, 11, 23));
        QTest::newRow("open yearly series") << Series(yearly, 0, QStringLiteral("Thanksgiving")) << 11;

        const Recurrence early = Rule(RedoEveryNDays, EndAfterCount, 0, 3, QDate(1990, 1, 1), QDate(1990, 1, 31));
        QTest::newRow("series before 1997") << Series(early, 10 * 60 + 30, QStringLiteral("Early")) << 0;
    }
    void roundTrip() {
        QFETCH(Appointment, appointment);
        QFETCH(int, month);
        const std::int32_t key = stored(appointment);
        QVERIFY(key > 0);
        QVERIFY(reopen(kFirstUser));
        const std::optional<Row> r = row(key);
        QVERIFY(r);
        QCOMPARE(r->integer(Col::fSec), 12);
        const std::int64_t sub = r->integer(Col::fSub);
        if (month < 0) {
            QVERIFY(sub >= 0 && sub < 148);
        } else if (month == 0) {
            QVERIFY(sub >= 196 && sub <= 255);
        } else {
            QVERIFY(sub >= 148 && sub < 196);
            QCOMPARE((sub - 148) / 4 + 1, month);
        }
        QCOMPARE(r->integer(Col::fR1), appointment.alarmOn ? appointment.alarmDelay : 0);
        QCOMPARE(r->integer(Col::fR3), SlotNumber(appointment.start));
        QCOMPARE(Record_Get::DecodeTyped(opened(key, Col::fT1)).toLongLong(), appointment.start);
        QCOMPARE(Record_Get::DecodeTyped(opened(key, Col::fT2)).toInt(), MinuteOfDay(appointment.start) / 6);
        const QByteArray rule = opened(key, Col::fT3);
        if (appointment.isSeries()) {
            QCOMPARE(rule, appointment.redo);
            const Recurrence parsed = *ParseRecurrence(appointment.redo);
            QCOMPARE(r->integer(Col::fR4), records::DayNumber(DateOfRedoDay(parsed.startDay), kSeriesStartBase));
            if (parsed.endMode == EndNone) {
                const std::int64_t end = r->integer(Col::fR2);
                QVERIFY(end >= records::DayNumber(QDate(2052, 12, 7), kSeriesEndBase));
                QVERIFY(end < records::DayNumber(QDate(2052, 12, 7).addDays(3650), kSeriesEndBase));
            } else {
                QCOMPARE(r->integer(Col::fR2), records::DayNumber(DateOfRedoDay(parsed.endDay), kSeriesEndBase));
            }
        } else {
            QCOMPARE(rule.size(), 7);
            QCOMPARE(r->integer(Col::fR4), records::DayNumber(kToday, kSeriesStartBase));
            QCOMPARE(r->integer(Col::fR2), records::DayNumber(kToday, kSeriesEndBase));
        }
        const std::optional<Appointment> back = LoadAppointment(store(), key);
        QVERIFY(back);
        QCOMPARE(back->redo, appointment.redo);
        QCOMPARE(back->start, appointment.start);
        QCOMPARE(back->end, appointment.end);
        QCOMPARE(back->subject, appointment.subject);
        QCOMPARE(back->location, appointment.location);
        QCOMPARE(back->notes, appointment.notes);
        QCOMPARE(back->isPrivate, appointment.isPrivate);
        QCOMPARE(back->alarmOn, appointment.alarmOn);
        QCOMPARE(back->alarmDelay, appointment.alarmDelay);
        QVERIFY(!plainInRow(key, appointment.subject));
    }

    // A single counts from the first minute of the first day to the last slot of the last; at one minute, series
    // stand before singles, each in the order read.
    void rangeAndOrder() {
        const std::int32_t before = stored(Single("2025-03-09 23:55", 5, QStringLiteral("before")));
        const std::int32_t first = stored(Single("2025-03-10 00:00", 30, QStringLiteral("first")));
        const std::int32_t single = stored(Single("2025-03-12 10:00", 30, QStringLiteral("single")));
        const std::int32_t last = stored(Single("2025-03-12 23:55", 5, QStringLiteral("last")));
        const std::int32_t after = stored(Single("2025-03-13 00:00", 30, QStringLiteral("after")));
        const Recurrence daily = Rule(RedoEveryNDays, EndNone, 0, 1, QDate(2025, 3, 1));
        const std::int32_t series = stored(Series(daily, 10 * 60, QStringLiteral("daily")));
        QVERIFY(before > 0 && after > 0 && series > single);
        QVector<std::pair<std::int32_t, QString>> got;
        for (const Occurrence& o : QueryAppointments(store(), QDate(2025, 3, 10), QDate(2025, 3, 12), 1)) {
            got.append({o.id, MinuteText(o.time)});
        }
        const QVector<std::pair<std::int32_t, QString>> expected = {
            {first, "2025-03-10 00:00"},  {series, "2025-03-10 10:00"}, {series, "2025-03-11 10:00"},
            {series, "2025-03-12 10:00"}, {single, "2025-03-12 10:00"}, {last, "2025-03-12 23:55"}};
        QCOMPARE(got, expected);
    }

    void sortIsStable() {
        QVector<Occurrence> o = {{5, 20}, {1, 10}, {2, 20}, {3, 10}, {4, 5}};
        SortOccurrences(o);
        QVector<std::int32_t> ids;
        for (const Occurrence& one : o) {
            ids << one.id;
        }
        QCOMPARE(ids, (QVector<std::int32_t>{4, 1, 3, 5, 2}));
    }

    // A contact's date every year until 2075; years the calendar cannot show move inside it.
    void yearlyEvent_data() {
        QTest::addColumn<QDate>("date");
        QTest::addColumn<QDate>("first");
        QTest::newRow("in range") << QDate(1980, 5, 4) << QDate(1980, 5, 4);
        QTest::newRow("before the first year") << QDate(1890, 7, 15) << QDate(1908, 7, 15);
        QTest::newRow("after the last day") << QDate(2080, 1, 2) << QDate(2075, 1, 2);
    }
    void yearlyEvent() {
        QFETCH(QDate, date);
        QFETCH(QDate, first);
        std::int32_t key = 0;
        QVERIFY(AddYearlyEvent(store(), date, QStringLiteral("Ann (Birthday)"), false, kToday, &key).ok());
        const std::optional<Appointment> a = LoadAppointment(store(), key);
        QVERIFY(a && a->allDay);
        QCOMPARE(a->start, MinuteOf(first));
        QCOMPARE(a->end, a->start + kMinutesPerDay);
        const Recurrence rule = *ParseRecurrence(a->redo);
        QCOMPARE(rule.kind, int(RedoYearDay));
        QCOMPARE(rule.endMode, int(EndNone));
        QCOMPARE(int(rule.a), first.day());
        QCOMPARE(int(rule.b), first.month());
        QCOMPARE(DateOfRedoDay(rule.startDay), first);
        QCOMPARE(DateOfRedoDay(rule.endDay), QDate(2075, first.month(), first.day()));
        QCOMPARE((row(key)->integer(Col::fSub) - 148) / 4 + 1, first.month());
        // Past the made-up end an open series carries, too.
        const QDate seen = first.year() == 2075 ? first : QDate(2070, first.month(), first.day());
        QCOMPARE(Texts(shown(key, seen.addDays(-3), seen.addDays(3), 1)), QStringList{MinuteText(MinuteOf(seen))});
    }

    void nthWeekday_data() {
        QTest::addColumn<int>("nth");
        QTest::addColumn<int>("weekday");
        QTest::addColumn<QDate>("date");
        QTest::addColumn<QDate>("expected");
        QTest::newRow("fifth Friday of a month with four is the fourth")
            << 5 << 6 << QDate(2024, 2, 10) << QDate(2024, 2, 23);
        QTest::newRow("fifth Friday where there is one") << 5 << 6 << QDate(2024, 3, 1) << QDate(2024, 3, 29);
        QTest::newRow("first Monday") << 1 << 2 << QDate(2024, 7, 20) << QDate(2024, 7, 1);
        QTest::newRow("taken from the date") << 0 << 0 << QDate(2024, 7, 17) << QDate(2024, 7, 17);
    }
    void nthWeekday() {
        QFETCH(int, nth);
        QFETCH(int, weekday);
        QFETCH(QDate, date);
        QFETCH(QDate, expected);
        QCOMPARE(NthWeekdayOfMonth(nth, weekday, date), expected);
        QVERIFY(nth >= 1 && weekday >= 1);
    }

    // A day already past asks whether to take the next month's.
    void nthWeekdayAsks() {
        int nth = 1;
        int weekday = 2;
        prompter().replies.enqueue(Prompter::Reply::Yes);
        QCOMPARE(NthWeekdayOfMonth(nth, weekday, QDate(2024, 7, 20), &prompter()), QDate(2024, 8, 5));
        QCOMPARE(prompter().shown.last().number, 151);
        prompter().replies.enqueue(Prompter::Reply::No);
        QCOMPARE(NthWeekdayOfMonth(nth, weekday, QDate(2024, 7, 20), &prompter()), QDate(2024, 7, 1));
    }

    void weeks_data() {
        QTest::addColumn<QDate>("date");
        QTest::addColumn<int>("firstDay");
        QTest::addColumn<int>("view");
        QTest::addColumn<QDate>("first");
        QTest::addColumn<QDate>("last");
        // Wednesday 14 February 2024.
        const QDate d(2024, 2, 14);
        QTest::newRow("day") << d << 1 << int(DayView) << d << d;
        QTest::newRow("workweek from Monday whatever the first day")
            << d << 1 << int(WorkweekView) << QDate(2024, 2, 12) << QDate(2024, 2, 16);
        QTest::newRow("week from Sunday") << d << 1 << int(WeekView) << QDate(2024, 2, 11) << QDate(2024, 2, 17);
        QTest::newRow("week from Saturday") << d << 7 << int(WeekView) << QDate(2024, 2, 10) << QDate(2024, 2, 16);
        QTest::newRow("month from Monday") << d << 2 << int(MonthView) << QDate(2024, 1, 29) << QDate(2024, 3, 10);
    }
    void weeks() {
        QFETCH(QDate, date);
        QFETCH(int, firstDay);
        QFETCH(int, view);
        QFETCH(QDate, first);
        QFETCH(QDate, last);
        const DayRange range = ViewRange(date, view, firstDay);
        QCOMPARE(range.first, first);
        QCOMPARE(range.last, last);
        // The month view's central month is what counts as shown.
        QCOMPARE(OutsideShownRange(first, range, view), view == MonthView);
        QVERIFY(!OutsideShownRange(date, range, view));
        QVERIFY(OutsideShownRange(last.addDays(1), range, view));
        for (int n = 1; n <= 7; ++n) {
            QCOMPARE(SundayToFirstDay(FirstDayToSunday(n, firstDay), firstDay), n);
        }
        QCOMPARE(FirstDayToSunday(1, firstDay), firstDay);
    }

    void limits() {
        QCOMPARE(LowerLimitDate(), QDate(1907, 7, 3));
        QCOMPARE(UpperLimitDate(), QDate(2076, 3, 31));
        QCOMPARE(ClampUpperDate(QDate(2076, 3, 30), &prompter()), QDate(2076, 3, 30));
        QVERIFY(prompter().shown.isEmpty());
        QCOMPARE(ClampUpperDate(QDate(2099, 1, 1), &prompter()), UpperLimitDate());
        QCOMPARE(prompter().shown.last().number, 150);
    }
};

NCT_TEST_MAIN(TestAppointments)
#include "tst_appointments.moc"
