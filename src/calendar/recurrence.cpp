#include "calendar/recurrence.h"

#include "base/messages.h"
#include "shell/dates.h"
#include "store/conversion.h"
#include "store/prompter.h"

#include <QLocale>

#include <algorithm>

namespace CALENDAR {

namespace {

const QDate kOleBase(1899, 12, 30);
// A series without an end runs past every day a range can hold.
constexpr int kOpenEndDay = 65536;

std::int64_t FloorDiv(std::int64_t a, std::int64_t b) {
    return a / b - (a % b != 0 && (a < 0) != (b < 0) ? 1 : 0);
}

int SignedDay(std::uint8_t low, std::uint8_t high) {
    return static_cast<std::int16_t>(static_cast<std::uint16_t>(low | (high << 8)));
}

// What every kind tests of a day it yields: inside the range, inside the series, not excepted.
struct Window {
    int rs = 0;
    int re = 0;
    int s = 0;
    int e = 0;
    const QVector<int>* exceptions = nullptr;

    bool takes(int d) const { return d >= rs && d <= re && d >= s && d <= e && !exceptions->contains(d); }
    // No later day can be taken.
    bool past(int d) const { return d > re || d > e; }
};

void Weekly(const Recurrence& rule, const Window& w, int firstDay, QVector<int>& days) {
    std::array<bool, 8> flags{};
    int interval = std::max<int>(1, rule.b);
    if (rule.kind == RedoWorkdays) {
        for (int p = 2; p <= 6; ++p) {
            flags[static_cast<std::size_t>(p)] = true;
        }
        interval = 1;
    } else {
        for (int p = 1; p <= 7; ++p) {
            flags[static_cast<std::size_t>(p)] = ((rule.a >> p) & 1) != 0;
        }
    }
    const int ws = RedoDay(WeekStart(DateOfRedoDay(w.s), firstDay));
    int first = ws;
    if (w.s <= w.rs) {
        // The first week in the series' phase at or after the range's week.
        const int wr = RedoDay(WeekStart(DateOfRedoDay(w.rs), firstDay));
        const int weeks = (wr - ws) / 7;
        first = wr + ((interval - weeks % interval) * 7) % (interval * 7);
    }
    for (int week = first; week <= w.re; week += 7 * interval) {
        for (int d = week; d <= week + 6; ++d) {
            if (flags[static_cast<std::size_t>(SundayWeekday(DateOfRedoDay(d)))] && w.takes(d)) {
                days.append(d);
            }
        }
    }
}

void EveryNDays(const Recurrence& rule, const Window& w, QVector<int>& days) {
    const int interval = std::max<int>(1, rule.b);
    int d = w.s;
    if (w.s <= w.rs) {
        d = w.rs + (interval - (w.rs - w.s) % interval) % interval;
    }
    for (; d <= w.re; d += interval) {
        if (w.takes(d)) {
            days.append(d);
        }
    }
}

// Kinds 4 and 5: the months start + j * interval, from the first of them that can reach the range.
void Monthly(const Recurrence& rule, const Window& w, QVector<int>& days) {
    const QDate start = DateOfRedoDay(w.s);
    const int interval = std::max<int>(1, rule.b);
    const int startMonth = MonthIndex(start);
    const int behind = MonthIndex(DateOfRedoDay(std::max(w.rs, w.s))) - startMonth;
    int nth = rule.nth();
    int weekday = rule.weekday();
    for (int month = startMonth + (behind + interval - 1) / interval * interval;; month += interval) {
        QDate date;
        if (rule.kind == RedoMonthDay) {
            date = DayInMonth(month, start.day());
        } else {
            date = NthWeekdayOfMonth(nth, weekday, month == startMonth ? start : DayInMonth(month, 1));
        }
        const int d = RedoDay(date);
        if (w.past(d)) {
            return;
        }
        if (w.takes(d)) {
            days.append(d);
        }
    }
}

void Yearly(const Recurrence& rule, const Window& w, QVector<int>& days) {
    const int month = rule.b;
    if (month < 1 || month > 12 || (rule.kind == RedoYearDay && rule.a < 1)) {
        return;
    }
    int nth = rule.nth();
    int weekday = rule.weekday();
    for (int year = DateOfRedoDay(std::max(w.rs, w.s)).year();; ++year) {
        const int monthIndex = year * 12 + month - 1;
        const QDate date = rule.kind == RedoYearDay ? DayInMonth(monthIndex, rule.a)
                                                    : NthWeekdayOfMonth(nth, weekday, DayInMonth(monthIndex, 1));
        const int d = RedoDay(date);
        if (w.past(d)) {
            return;
        }
        if (w.takes(d)) {
            days.append(d);
        }
    }
}

// Both end bits end the series on day 0, whatever end day is stored.
int EndDay(const Recurrence& rule) {
    switch (rule.endMode) {
    case EndNone:
        return kOpenEndDay;
    case EndBoth:
        return 0;
    default:
        return rule.endDay;
    }
}

} // namespace

QDate DateOfOleDay(int oleDay) {
    return kOleBase.addDays(oleDay);
}

QDate LowerLimitDate() {
    return DateOfOleDay(kLowerLimit);
}

QDate UpperLimitDate() {
    return DateOfOleDay(kUpperLimit);
}

int RedoDay(const QDate& date) {
    return static_cast<int>(kOleBase.daysTo(date)) - kMinuteBase;
}

QDate DateOfRedoDay(int day) {
    return DateOfOleDay(kMinuteBase + day);
}

std::int64_t MinuteOf(const QDate& date, int minuteOfDay) {
    return static_cast<std::int64_t>(RedoDay(date)) * kMinutesPerDay + minuteOfDay;
}

QDate DayOfMinute(std::int64_t minute) {
    return DateOfRedoDay(static_cast<int>(FloorDiv(minute, kMinutesPerDay)));
}

int MinuteOfDay(std::int64_t minute) {
    return static_cast<int>(minute - FloorDiv(minute, kMinutesPerDay) * kMinutesPerDay);
}

std::int64_t SlotNumber(std::int64_t minute) {
    return FloorDiv(minute, 5);
}

QString MinuteText(std::int64_t minute) {
    const int m = MinuteOfDay(minute);
    return DayOfMinute(minute).toString(Qt::ISODate) +
           QStringLiteral(" %1:%2").arg(m / 60, 2, 10, QLatin1Char('0')).arg(m % 60, 2, 10, QLatin1Char('0'));
}

int MonthIndex(const QDate& date) {
    return date.year() * 12 + date.month() - 1;
}

QDate DayInMonth(int monthIndex, int day) {
    const QDate first(monthIndex / 12, monthIndex % 12 + 1, 1);
    return first.addDays(std::clamp(day, 1, first.daysInMonth()) - 1);
}

std::optional<Recurrence> ParseRecurrence(const QByteArray& redo) {
    if (redo.size() < 7 || redo.size() % 2 == 0) {
        return std::nullopt;
    }
    const auto byte = [&](int i) { return static_cast<std::uint8_t>(redo[i]); };
    std::uint8_t flag = byte(0);
    if (flag > 127) {
        flag = static_cast<std::uint8_t>(~flag);
    }
    if (flag == 0) {
        return std::nullopt;
    }
    Recurrence rule;
    rule.kind = flag & 7;
    rule.endMode = flag & 24;
    rule.a = byte(1);
    rule.b = byte(2);
    rule.startDay = SignedDay(byte(3), byte(4));
    rule.endDay = SignedDay(byte(5), byte(6));
    for (int i = 7; i + 1 < redo.size(); i += 2) {
        rule.exceptions.append(SignedDay(byte(i), byte(i + 1)));
    }
    return rule;
}

QByteArray RecurrenceString(const Recurrence& rule) {
    QByteArray redo;
    redo.append(static_cast<char>((rule.kind & 7) | (rule.endMode & 24)));
    redo.append(static_cast<char>(rule.a));
    redo.append(static_cast<char>(rule.b));
    redo.append(CONVERSION::NumToBytes(rule.startDay, 2));
    redo.append(CONVERSION::NumToBytes(rule.endDay, 2));
    for (const int day : rule.exceptions) {
        redo.append(CONVERSION::NumToBytes(day, 2));
    }
    return redo;
}

int FirstDayToSunday(int n, int firstDay) {
    return (n - 1 + firstDay - 1) % 7 + 1;
}

int SundayToFirstDay(int n, int firstDay) {
    return (n - firstDay + 7) % 7 + 1;
}

int SundayWeekday(const QDate& date) {
    return date.dayOfWeek() % 7 + 1;
}

int SystemFirstDay() {
    return static_cast<int>(QLocale().firstDayOfWeek()) % 7 + 1;
}

QDate WeekStart(const QDate& date, int firstDay) {
    if (firstDay < 1 || firstDay > 7) {
        firstDay = SystemFirstDay();
    }
    return date.addDays(-((SundayWeekday(date) - firstDay + 7) % 7));
}

int WeekOfMonth(const QDate& date) {
    return (date.day() - 1) / 7 + 1;
}

QDate NthWeekdayOfMonth(int& nth, int& weekday, const QDate& date, Prompter* ask) {
    if (weekday == 0) {
        weekday = SundayWeekday(date);
    }
    if (nth == 0) {
        nth = WeekOfMonth(date);
    }
    QDate from = date;
    for (;;) {
        const QDate first(from.year(), from.month(), 1);
        const int day = (weekday + 7 - SundayWeekday(first)) % 7 + 1 + (nth - 1) * 7;
        QDate candidate = first.addDays(day - 1);
        if (candidate.month() != first.month()) {
            // A fifth weekday the month lacks, or any later one: the last.
            while (candidate.month() != first.month() || candidate.year() != first.year()) {
                candidate = candidate.addDays(-7);
            }
            return candidate;
        }
        if (ask == nullptr || from <= candidate ||
            ask->message(151, MsgText(151), Prompter::Buttons::YesNo, Prompter::Icon::Question) !=
                Prompter::Reply::Yes) {
            return candidate;
        }
        from = first.addMonths(1);
    }
}

QDate ClampUpperDate(const QDate& date, Prompter* tell) {
    if (date < UpperLimitDate()) {
        return date;
    }
    if (tell != nullptr) {
        tell->message(150, MsgText(150) + QLatin1Char(' ') + dates::ShortDate(UpperLimitDate()));
    }
    return UpperLimitDate();
}

DayRange ViewRange(const QDate& date, int view, int firstDay) {
    switch (view) {
    case WorkweekView: {
        const QDate monday = date.addDays(1 - date.dayOfWeek());
        return {monday, monday.addDays(4)};
    }
    case WeekView: {
        const QDate start = WeekStart(date, firstDay);
        return {start, start.addDays(6)};
    }
    case MonthView: {
        const QDate start = WeekStart(QDate(date.year(), date.month(), 1), firstDay);
        return {start, start.addDays(41)};
    }
    default:
        return {date, date};
    }
}

bool OutsideShownRange(const QDate& date, const DayRange& shown, int view) {
    if (view == MonthView) {
        const QDate central = shown.last.addMonths(-1);
        return date < QDate(central.year(), central.month(), 1) ||
               date > QDate(central.year(), central.month(), central.daysInMonth());
    }
    return date < shown.first || date > shown.last;
}

QVector<std::int64_t> ExpandSeries(const QDate& from, const QDate& to, int minuteOfDay, const QByteArray& redo,
                                   int firstDay) {
    const std::optional<Recurrence> rule = ParseRecurrence(redo);
    QVector<std::int64_t> times;
    if (!rule) {
        return times;
    }
    Window w{.rs = RedoDay(from),
             .re = RedoDay(to),
             .s = rule->startDay,
             .e = EndDay(*rule),
             .exceptions = &rule->exceptions};
    if (w.e < w.rs || w.s > w.re) {
        return times;
    }
    QVector<int> days;
    switch (rule->kind) {
    case RedoWeekdays:
    case RedoWorkdays:
        Weekly(*rule, w, firstDay, days);
        break;
    case RedoEveryNDays:
        EveryNDays(*rule, w, days);
        break;
    case RedoMonthDay:
    case RedoMonthNth:
        Monthly(*rule, w, days);
        break;
    case RedoYearDay:
    case RedoYearNth:
        Yearly(*rule, w, days);
        break;
    default:
        break;
    }
    times.reserve(days.size());
    for (const int d : days) {
        times.append(static_cast<std::int64_t>(d) * kMinutesPerDay + minuteOfDay);
    }
    return times;
}

} // namespace CALENDAR
