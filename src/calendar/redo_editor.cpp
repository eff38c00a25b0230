#include "calendar/redo_editor.h"

#include "base/messages.h"
#include "shell/dates.h"
#include "store/prompter.h"
#include "store/store.h"

#include <QLocale>
#include <QStringList>

#include <algorithm>
#include <bit>

namespace CALENDAR {

namespace {

constexpr std::uint8_t kWorkdays = 124; // Monday to Friday
constexpr int kDefaultStart = 9 * 60;
constexpr int kDefaultLength = 30;

bool Ticked(std::uint8_t mask, const QDate& date) {
    return ((mask >> SundayWeekday(date)) & 1) != 0;
}

int TickedCount(std::uint8_t mask) {
    return std::popcount(static_cast<unsigned>(mask & 0xFE));
}

int TickedBetween(std::uint8_t mask, const QDate& from, const QDate& to) {
    int count = 0;
    for (QDate d = from; d <= to; d = d.addDays(1)) {
        count += Ticked(mask, d) ? 1 : 0;
    }
    return count;
}

QDate FirstTicked(const QDate& start, std::uint8_t mask) {
    for (int i = 0; i < 7; ++i) {
        if (Ticked(mask, start.addDays(i))) {
            return start.addDays(i);
        }
    }
    return start;
}

// The nth weekday of the month or of `month` in the year; `period` counts months from year 0, or years.
QDate NthInPeriod(int period, Unit unit, int nth, int weekday, int month) {
    int n = nth;
    int w = weekday;
    return NthWeekdayOfMonth(n, w, DayInMonth(unit == Unit::Month ? period : period * 12 + month - 1, 1));
}

int PeriodOf(const QDate& date, Unit unit) {
    return unit == Unit::Month ? MonthIndex(date) : date.year();
}

int YearMonth(int month, const QDate& start) {
    return month >= 1 && month <= 12 ? month : start.month();
}

int Nth(const RedoValues& values) {
    return std::clamp(values.RedoWhen, 0, 4) + 1;
}

// The start of weekly and nth-weekday rules moves onto their first day.
void MoveStartOntoRule(RedoValues& values, Prompter* ask) {
    switch (values.kind()) {
    case RedoWeekdays:
        values.RedoStart = FirstTicked(values.RedoStart, values.weekdayMask());
        break;
    case RedoWorkdays:
        values.RedoStart = FirstTicked(values.RedoStart, kWorkdays);
        break;
    case RedoMonthNth:
        values.RedoStart = NthDateAfter(values.RedoStart, values.sundayWeekday(), Nth(values), 1, Unit::Month,
                                        values.IntervalB, 0, ask);
        break;
    case RedoYearNth:
        values.RedoStart = NthDateAfter(values.RedoStart, values.sundayWeekday(), Nth(values), 1, Unit::Year, 1,
                                        values.RedoMonth + 1, ask);
        break;
    default:
        break;
    }
}

QString DayName(int sundayWeekday) {
    return QLocale().dayName(sundayWeekday == 1 ? 7 : sundayWeekday - 1);
}

QString Pattern(const RedoValues& v) {
    const QString every = MsgText(280);
    const QString months = MsgText(281);
    const QString nthDay = MsgText(283 + Nth(v)) + QLatin1Char(' ') + DayName(v.sundayWeekday());
    switch (v.kind()) {
    case RedoWeekdays: {
        QStringList days;
        for (int i = 0; i < 7; ++i) {
            if (v.WeekdayFlags[static_cast<std::size_t>(i)]) {
                days << DayName(FirstDayToSunday(i + 1, v.FirstDay));
            }
        }
        return QStringLiteral("%1 %2 week(s) on %3").arg(every).arg(v.IntervalA).arg(days.join(QStringLiteral(", ")));
    }
    case RedoEveryNDays:
        return QStringLiteral("%1 %2 %3").arg(every).arg(v.IntervalA).arg(MsgText(283));
    case RedoWorkdays:
        return QStringLiteral("every workday");
    case RedoMonthDay:
        return QStringLiteral("%1 %2, %3 %4 %5")
            .arg(MsgText(279))
            .arg(v.RedoStart.day())
            .arg(every)
            .arg(v.IntervalA)
            .arg(months);
    case RedoMonthNth:
        return QStringLiteral("the %1, %2 %3 %4").arg(nthDay, every).arg(v.IntervalB).arg(months);
    case RedoYearDay:
        return QStringLiteral("%1 %2 %3")
            .arg(every)
            .arg(v.RedoStart.day())
            .arg(QLocale().monthName(v.RedoStart.month()));
    case RedoYearNth:
        return QStringLiteral("the %1 in %2").arg(nthDay, QLocale().monthName(std::clamp(v.RedoMonth, 0, 11) + 1));
    default:
        return {};
    }
}

} // namespace

int RedoKindOf(int redo, int redoAlt) {
    const int alt = redoAlt == 1 ? 1 : 0;
    switch (redo) {
    case RedoChoiceWeekly:
        return RedoWeekdays;
    case RedoChoiceDaily:
        return RedoEveryNDays + alt;
    case RedoChoiceMonthly:
        return RedoMonthDay + alt;
    case RedoChoiceYearly:
        return RedoYearDay + alt;
    default:
        return RedoNone;
    }
}

int RedoValues::kind() const {
    return RedoKindOf(Redo, RedoAlt);
}

std::uint8_t RedoValues::weekdayMask() const {
    unsigned mask = 0;
    for (int i = 0; i < 7; ++i) {
        if (WeekdayFlags[static_cast<std::size_t>(i)]) {
            mask |= 1u << FirstDayToSunday(i + 1, FirstDay);
        }
    }
    return static_cast<std::uint8_t>(mask);
}

void RedoValues::setWeekdayMask(std::uint8_t mask) {
    for (int i = 0; i < 7; ++i) {
        WeekdayFlags[static_cast<std::size_t>(i)] = ((mask >> FirstDayToSunday(i + 1, FirstDay)) & 1) != 0;
    }
}

int RedoValues::sundayWeekday() const {
    return FirstDayToSunday(std::clamp(RedoWeekday, 0, 6) + 1, FirstDay);
}

void ChangeRecurrence(RedoValues& values, const QDate& date, Prompter* ask) {
    const int kind = values.kind();
    if (kind == RedoNone) {
        return;
    }
    values.IntervalA = 1;
    values.IntervalB = 1;
    values.Occurrences = 5;
    values.RedoStart = date;
    const int weekday = SundayWeekday(date);
    if (kind == RedoWeekdays) {
        values.setWeekdayMask(static_cast<std::uint8_t>(1u << weekday));
    } else if (kind == RedoWorkdays) {
        values.setWeekdayMask(kWorkdays);
    }
    // Every choice takes the date's place in its month, so that the nth-weekday rules show it before they are
    // chosen.
    values.RedoWhen = WeekOfMonth(date) - 1;
    values.RedoWeekday = SundayToFirstDay(weekday, values.FirstDay) - 1;
    values.RedoMonth = date.month() - 1;
    EndFromCount(values, ask);
}

void RecalcRedoEnd(RedoValues& values, Prompter* tell) {
    if (values.kind() == RedoNone) {
        return;
    }
    MoveStartOntoRule(values, tell);
    if (values.EndMode == AfterOccurrences) {
        EndFromCount(values, tell);
    } else {
        CountFromEnd(values, tell);
    }
}

void CountFromEnd(RedoValues& values, Prompter* tell) {
    if (values.kind() == RedoNone) {
        return;
    }
    values.RedoEndDate = ClampUpperDate(values.RedoEndDate, tell);
    if (!values.RedoEndDate.isValid() || values.RedoEndDate < values.RedoStart) {
        values.RedoEndDate = values.RedoStart;
    }
    values.Occurrences = values.RedoEndDate == values.RedoStart ? 1 : std::max(1, OccurrenceCount(values));
    const QDate typed = values.RedoEndDate;
    EndFromCount(values, tell);
    // Without an end the date is only a working value; nobody needs telling that it moved.
    if (tell != nullptr && values.EndMode == OnEndDate && values.RedoEndDate != typed) {
        tell->message(386, MsgText(386), Prompter::Buttons::Ok, Prompter::Icon::Information);
    }
}

void EndFromCount(RedoValues& values, Prompter* tell) {
    const int kind = values.kind();
    if (kind == RedoNone) {
        return;
    }
    MoveStartOntoRule(values, tell);
    const int n = std::max(1, values.Occurrences);
    const QDate& start = values.RedoStart;
    QDate end;
    switch (kind) {
    case RedoWeekdays:
        end = WeeklyEndDate(values.RedoStart, n, values.IntervalA, values.weekdayMask(), values.FirstDay);
        break;
    case RedoWorkdays:
        end = WeeklyEndDate(values.RedoStart, n, 1, kWorkdays, values.FirstDay);
        break;
    case RedoEveryNDays:
        end = start.addDays(static_cast<qint64>(n - 1) * std::max(1, values.IntervalA));
        break;
    case RedoMonthDay:
        end = start.addMonths((n - 1) * std::max(1, values.IntervalA));
        break;
    case RedoMonthNth:
        end = NthDateAfter(start, values.sundayWeekday(), Nth(values), n, Unit::Month, values.IntervalB);
        break;
    case RedoYearDay:
        end = start.addYears(n - 1);
        break;
    default:
        end = NthDateAfter(start, values.sundayWeekday(), Nth(values), n, Unit::Year, 1, values.RedoMonth + 1);
        break;
    }
    values.RedoEndDate = ClampUpperDate(end, tell);
    values.Occurrences = values.RedoEndDate == end ? n : std::max(1, OccurrenceCount(values));
}

int OccurrenceCount(const RedoValues& values) {
    const QDate& s = values.RedoStart;
    const QDate& e = values.RedoEndDate;
    if (!s.isValid() || !e.isValid() || e < s) {
        return 0;
    }
    switch (values.kind()) {
    case RedoWeekdays:
        return WeeklyOccurrenceCount(s, e, values.weekdayMask(), values.IntervalA, values.FirstDay);
    case RedoWorkdays:
        return WeeklyOccurrenceCount(s, e, kWorkdays, 1, values.FirstDay);
    case RedoEveryNDays:
        return static_cast<int>(s.daysTo(e) / std::max(1, values.IntervalA)) + 1;
    case RedoMonthDay: {
        const int interval = std::max(1, values.IntervalA);
        int last = (MonthIndex(e) - MonthIndex(s)) / interval;
        if (DayInMonth(MonthIndex(s) + last * interval, s.day()) > e) {
            --last;
        }
        return last + 1;
    }
    case RedoMonthNth:
        return NthOccurrenceCount(s, values.sundayWeekday(), Nth(values), e, Unit::Month, values.IntervalB);
    case RedoYearDay: {
        int years = e.year() - s.year();
        if (DayInMonth(e.year() * 12 + s.month() - 1, s.day()) > e) {
            --years;
        }
        return years + 1;
    }
    case RedoYearNth:
        return NthOccurrenceCount(s, values.sundayWeekday(), Nth(values), e, Unit::Year, 1, values.RedoMonth + 1);
    default:
        return 0;
    }
}

int WeeklyOccurrenceCount(const QDate& start, const QDate& end, std::uint8_t mask, int interval, int firstDay) {
    const int ticked = TickedCount(mask);
    const QDate first = FirstTicked(start, mask);
    if (ticked == 0 || first > end) {
        return 0;
    }
    interval = std::max(1, interval);
    const QDate week = WeekStart(first, firstDay);
    int count = TickedBetween(mask, first, std::min(end, week.addDays(6)));
    // The last week in the series' phase that begins by the end; those between are whole.
    const qint64 phases = week.daysTo(WeekStart(end, firstDay)) / 7 / interval;
    if (phases >= 1) {
        const QDate last = week.addDays(7 * interval * phases);
        count += static_cast<int>(phases - 1) * ticked + TickedBetween(mask, last, std::min(end, last.addDays(6)));
    }
    return count;
}

QDate WeeklyEndDate(QDate& start, int n, int interval, std::uint8_t mask, int firstDay) {
    const int ticked = TickedCount(mask);
    if (ticked == 0) {
        return start;
    }
    interval = std::max(1, interval);
    start = FirstTicked(start, mask);
    const QDate week = WeekStart(start, firstDay);
    int left = std::max(1, n);
    for (QDate d = start; d <= week.addDays(6); d = d.addDays(1)) {
        if (Ticked(mask, d) && --left == 0) {
            return d;
        }
    }
    const QDate target = week.addDays(7LL * interval * ((left - 1) / ticked + 1));
    int place = (left - 1) % ticked;
    for (QDate d = target;; d = d.addDays(1)) {
        if (Ticked(mask, d) && place-- == 0) {
            return d;
        }
    }
}

QDate NthDateAfter(const QDate& start, int weekday, int nth, int n, Unit unit, int interval, int month, Prompter* ask) {
    interval = std::max(1, interval);
    const int yearMonth = YearMonth(month, start);
    int period = PeriodOf(start, unit);
    QDate first = NthInPeriod(period, unit, nth, weekday, yearMonth);
    if (first < start) {
        const bool keep =
            unit == Unit::Month && ask != nullptr &&
            ask->message(151, MsgText(151), Prompter::Buttons::YesNo, Prompter::Icon::Question) == Prompter::Reply::No;
        if (!keep) {
            first = NthInPeriod(++period, unit, nth, weekday, yearMonth);
        }
    }
    return n <= 1 ? first : NthInPeriod(period + (n - 1) * interval, unit, nth, weekday, yearMonth);
}

int NthOccurrenceCount(const QDate& start, int weekday, int nth, const QDate& end, Unit unit, int interval, int month) {
    if (end < start) {
        return 0;
    }
    interval = std::max(1, interval);
    const int yearMonth = YearMonth(month, start);
    const int first = PeriodOf(start, unit);
    int last = (PeriodOf(end, unit) - first) / interval;
    if (NthInPeriod(first + last * interval, unit, nth, weekday, yearMonth) > end) {
        --last;
    }
    const int skipped = NthInPeriod(first, unit, nth, weekday, yearMonth) < start ? 1 : 0;
    return std::max(0, last - skipped + 1);
}

QByteArray BuildRedoString(const RedoValues& values) {
    const int kind = values.kind();
    if (kind == RedoNone || !values.RedoStart.isValid()) {
        return {};
    }
    const auto byte = [](int value) { return static_cast<std::uint8_t>(std::clamp(value, 0, 255)); };
    Recurrence rule;
    rule.kind = kind;
    rule.endMode = values.EndMode == AfterOccurrences ? EndAfterCount
                   : values.EndMode == OnEndDate      ? EndOnDate
                                                      : EndNone;
    const int nthWeekday = 8 * Nth(values) + values.sundayWeekday();
    switch (kind) {
    case RedoWeekdays:
        rule.a = values.weekdayMask();
        rule.b = byte(values.IntervalA);
        break;
    case RedoEveryNDays:
        rule.b = byte(values.IntervalA);
        break;
    case RedoWorkdays:
        rule.a = kWorkdays;
        break;
    case RedoMonthDay:
        rule.a = byte(values.RedoStart.day());
        rule.b = byte(values.IntervalA);
        break;
    case RedoMonthNth:
        rule.a = byte(nthWeekday);
        rule.b = byte(values.IntervalB);
        break;
    case RedoYearDay:
        rule.a = byte(values.RedoStart.day());
        rule.b = byte(values.RedoStart.month());
        break;
    default:
        rule.a = byte(nthWeekday);
        rule.b = byte(values.RedoMonth + 1);
        break;
    }
    rule.startDay = RedoDay(values.RedoStart);
    rule.endDay = RedoDay(values.RedoEndDate.isValid() ? values.RedoEndDate : values.RedoStart);
    return RecurrenceString(rule);
}

bool ParseRedoString(const QByteArray& redo, RedoValues& values) {
    const std::optional<Recurrence> rule = ParseRecurrence(redo);
    if (!rule) {
        return false;
    }
    RedoValues read;
    read.FirstDay = values.FirstDay;
    static constexpr int kRedo[] = {0, 1, 2, 2, 3, 3, 4, 4};
    static constexpr int kAlt[] = {0, 0, 0, 1, 0, 1, 0, 1};
    read.Redo = kRedo[rule->kind];
    read.RedoAlt = kAlt[rule->kind];
    read.EndMode = rule->endMode == EndNone ? NoEndDate : rule->endMode == EndAfterCount ? AfterOccurrences : OnEndDate;
    read.RedoStart = DateOfRedoDay(rule->startDay);
    read.RedoEndDate = DateOfRedoDay(rule->endDay);
    const int weekday = rule->weekday() >= 1 ? rule->weekday() : SundayWeekday(read.RedoStart);
    switch (rule->kind) {
    case RedoWeekdays:
        read.setWeekdayMask(rule->a);
        read.IntervalA = std::max<int>(1, rule->b);
        break;
    case RedoEveryNDays:
    case RedoMonthDay:
        read.IntervalA = std::max<int>(1, rule->b);
        break;
    case RedoWorkdays:
        read.setWeekdayMask(kWorkdays);
        break;
    case RedoMonthNth:
        read.RedoWhen = std::clamp(rule->nth(), 1, 5) - 1;
        read.RedoWeekday = SundayToFirstDay(weekday, read.FirstDay) - 1;
        read.IntervalB = std::max<int>(1, rule->b);
        break;
    case RedoYearDay:
        read.RedoMonth = std::clamp<int>(rule->b, 1, 12) - 1;
        break;
    case RedoYearNth:
        read.RedoWhen = std::clamp(rule->nth(), 1, 5) - 1;
        read.RedoWeekday = SundayToFirstDay(weekday, read.FirstDay) - 1;
        read.RedoMonth = std::clamp<int>(rule->b, 1, 12) - 1;
        break;
    default:
        break;
    }
    read.Occurrences = std::max(1, OccurrenceCount(read));
    values = read;
    return true;
}

QString RecurrenceInWords(const RedoValues& values) {
    if (values.kind() == RedoNone) {
        return {};
    }
    QString words = Pattern(values) + QStringLiteral(", from ") + dates::ShortDate(values.RedoStart);
    if (values.EndMode == NoEndDate) {
        return words + QStringLiteral(", no end date");
    }
    const int count = OccurrenceCount(values);
    return words + QStringLiteral(" until ") + dates::ShortDate(values.RedoEndDate) +
           (count == 1 ? QStringLiteral(", once") : QStringLiteral(", %1 times").arg(count));
}

QString RecurrenceInWords(const QByteArray& redo, int firstDay) {
    RedoValues values;
    values.FirstDay = firstDay;
    return ParseRedoString(redo, values) ? RecurrenceInWords(values) : QString();
}

int IntervalMessage(const QString& text) {
    if (std::any_of(text.begin(), text.end(), [](QChar c) { return !c.isDigit(); })) {
        return 12;
    }
    if (text.isEmpty()) {
        return 0;
    }
    bool ok = false;
    const int value = text.toInt(&ok);
    return ok && value >= 1 && value <= 255 ? 0 : 13;
}

Span NewAppointmentSpan(const QDateTime& at, bool fromView, bool allDay) {
    const int minute = at.time().hour() * 60 + at.time().minute();
    std::int64_t start = MinuteOf(at.date(), fromView ? minute : minute / 30 * 30);
    if (fromView && minute == 0) {
        start += kDefaultStart;
    }
    if (allDay) {
        return AllDaySpan(start);
    }
    const std::int64_t midnight = MinuteOf(DayOfMinute(start).addDays(1));
    return {start, std::min(start + kDefaultLength, midnight)};
}

Appointment NewAppointment(int owner, const QDateTime& at, bool fromView, bool allDay) {
    Appointment appointment;
    appointment.owner = owner;
    const Span span = NewAppointmentSpan(at, fromView, allDay);
    appointment.start = span.start;
    appointment.end = span.end;
    appointment.allDay = allDay;
    return appointment;
}

int ClampHourField(int value, int index) {
    return std::clamp(value, 0, index == 0 ? 23 : 24);
}

int ClampMinuteField(int value) {
    return value > 59 ? 55 : std::max(0, value);
}

std::int64_t TypedMinute(const QDate& day, int hours, int minutes) {
    return MinuteOf(day, hours * 60 + minutes / 5 * 5);
}

FieldTime StartFields(std::int64_t minute) {
    const int ofDay = MinuteOfDay(minute);
    return {DayOfMinute(minute), ofDay / 60, ofDay % 60};
}

FieldTime EndFields(const Span& span) {
    if (span.end > span.start && MinuteOfDay(span.end) == 0) {
        return {DayOfMinute(span.end).addDays(-1), 24, 0};
    }
    return StartFields(span.end);
}

Span MovedStart(const Span& span, std::int64_t start) {
    return {start, start + (span.end - span.start)};
}

Span MovedEnd(const Span& span, std::int64_t end) {
    return {span.start, std::max(end, span.start)};
}

Span WithDuration(const Span& span, int minutes) {
    return {span.start, span.start + std::clamp(minutes, 0, kMinutesPerDay)};
}

int DurationFromSliders(int hours, int fives) {
    return std::clamp(hours * 60 + fives * 5, 0, kMinutesPerDay);
}

std::pair<int, int> SlidersFromDuration(const Span& span) {
    const auto length = static_cast<int>(std::clamp<std::int64_t>(span.end - span.start, 0, kMinutesPerDay));
    return {length / 60, length % 60 / 5};
}

bool IsAllDaySpan(const Span& span) {
    return MinuteOfDay(span.start) == 0 && span.end == span.start + kMinutesPerDay;
}

Span AllDaySpan(std::int64_t start) {
    const std::int64_t midnight = start - MinuteOfDay(start);
    return {midnight, midnight + kMinutesPerDay};
}

Span TimedSpan(const QDate& day, const std::optional<Span>& before) {
    if (before && !IsAllDaySpan(*before)) {
        const std::int64_t start = MinuteOf(day, MinuteOfDay(before->start));
        return {start, start + (before->end - before->start)};
    }
    const std::int64_t start = MinuteOf(day, kDefaultStart);
    return {start, start + kDefaultLength};
}

std::optional<Appointment> AppointmentToEdit(Store& store, std::int32_t key, const Appointment& fresh, Result* result) {
    if (key < 1) {
        return fresh;
    }
    Result loaded;
    if (std::optional<Appointment> found = LoadAppointment(store, key, &loaded)) {
        return found;
    }
    if (!loaded.ok()) {
        if (result != nullptr) {
            *result = loaded;
        }
        return std::nullopt;
    }
    if (store.prompter.message(11, MsgText(11), Prompter::Buttons::YesNo, Prompter::Icon::Question) ==
        Prompter::Reply::Yes) {
        return fresh;
    }
    return std::nullopt;
}

OkOutcome AcceptAppointment(const Appointment& loaded, const Appointment& typed, const RedoValues& redo,
                            Prompter& ask) {
    OkOutcome outcome;
    if (typed.subject.isEmpty() &&
        ask.message(369, MsgText(369), Prompter::Buttons::YesNo, Prompter::Icon::Question) != Prompter::Reply::Yes) {
        return outcome;
    }
    if (redo.Redo == RedoChoiceWeekly && redo.weekdayMask() == 0) {
        ask.message(10, MsgText(10), Prompter::Buttons::Ok, Prompter::Icon::Warning);
        return outcome;
    }
    Appointment a = typed;
    a.key = loaded.key;
    Span span{typed.start, typed.end};
    a.allDay = a.allDay || IsAllDaySpan(span);
    if (a.allDay) {
        span = AllDaySpan(span.start);
    }
    if (redo.kind() != RedoNone) {
        span = MovedStart(span, MinuteOf(redo.RedoStart, MinuteOfDay(span.start)));
    }
    a.start = span.start;
    a.end = span.end;
    if (!a.alarmOn) {
        a.alarmDelay = 0;
    }
    a.redo = BuildRedoString(redo);
    // The exception days hang on the rule they were cut from.
    if (loaded.redo.size() > 7 && a.redo == loaded.redo.left(7)) {
        a.redo = loaded.redo;
    }
    outcome.stays = false;
    outcome.write = loaded.key < 1 || a.subject != loaded.subject || a.location != loaded.location ||
                    a.notes != loaded.notes || a.start != loaded.start || a.end != loaded.end ||
                    a.allDay != loaded.allDay || a.alarmOn != loaded.alarmOn || a.alarmDelay != loaded.alarmDelay ||
                    a.redo != loaded.redo || a.isPrivate != loaded.isPrivate;
    outcome.appointment = a;
    return outcome;
}

} // namespace CALENDAR
