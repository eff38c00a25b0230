#pragma once

#include <QByteArray>
#include <QDate>
#include <QString>
#include <QVector>

#include <cstdint>
#include <optional>

class Prompter;

// The calendar's day arithmetic and its recurrence rule: the stored string of a series, the dates of its
// occurrences in a range, and the week and month helpers the editor and the views share.
namespace CALENDAR {

// The OLE days the calendar counts from: calendar minutes, slot numbers and the days of the recurrence string
// (20 March 1997), the series start of fR4 (15 July 1986) and the series end of fR2 (28 April 1989).
constexpr int kMinuteBase = 35509;
constexpr int kSeriesStartBase = 31608;
constexpr int kSeriesEndBase = 32626;
// The first and the last day the calendar can show: the 16-bit day numbers reach no further.
constexpr int kLowerLimit = 2741;
constexpr int kUpperLimit = 64375;
// An open series is stored with a made-up end from this day on (7 December 2052), plus up to ten years.
constexpr int kOpenEndBase = 55860;
constexpr int kOpenEndSpread = 3650;
constexpr int kMinutesPerDay = 1440;

enum RedoKind {
    RedoNone = 0,
    RedoWeekdays = 1,
    RedoEveryNDays = 2,
    RedoWorkdays = 3,
    RedoMonthDay = 4,
    RedoMonthNth = 5,
    RedoYearDay = 6,
    RedoYearNth = 7,
};
// The end mode bits of the flag byte.
enum EndMode { EndNone = 0, EndAfterCount = 8, EndOnDate = 16, EndBoth = 24 };

QDate LowerLimitDate();
QDate UpperLimitDate();
QDate DateOfOleDay(int oleDay);

// Days from 20 March 1997; the recurrence string's day scale.
int RedoDay(const QDate& date);
QDate DateOfRedoDay(int day);
// Calendar minutes of a day and a minute of that day.
std::int64_t MinuteOf(const QDate& date, int minuteOfDay = 0);
QDate DayOfMinute(std::int64_t minute);
// The minute of the day of a calendar minute, 0..1439 also before 1997.
int MinuteOfDay(std::int64_t minute);
// Five-minute slots from 20 March 1997 00:00.
std::int64_t SlotNumber(std::int64_t minute);
// A calendar minute as "YYYY-MM-DD HH:MM".
QString MinuteText(std::int64_t minute);

// Months counted from year 0, so that month steps are plain additions.
int MonthIndex(const QDate& date);
// A day of a month, the month's last day standing in for one it lacks.
QDate DayInMonth(int monthIndex, int day);

// A recurrence string as read: what its bytes say, not yet checked against a range.
struct Recurrence {
    int kind = RedoNone;
    int endMode = EndNone;
    std::uint8_t a = 0;
    std::uint8_t b = 0;
    int startDay = 0; // redo days
    int endDay = 0;
    QVector<int> exceptions;

    // The nth (1..5, 5 the last) and weekday (1 Sunday..7) of kinds 5 and 7.
    int nth() const { return (a >> 3) & 7; }
    int weekday() const { return a & 7; }
};

// The rule of a stored string; nothing for a string of even length or shorter than 7, or a flag byte that is 0
// after its complement. A flag byte above 127 is complemented before it is read.
std::optional<Recurrence> ParseRecurrence(const QByteArray& redo);
// The stored string of a rule: flag byte, A, B, start and end day, then the exception days.
QByteArray RecurrenceString(const Recurrence& rule);

// Weekdays count from Sunday = 1 in stored data and from the week's first day (`firstDay`, Sunday = 1) on
// screen.
int FirstDayToSunday(int n, int firstDay);
int SundayToFirstDay(int n, int firstDay);
// The weekday of a date counted from Sunday = 1.
int SundayWeekday(const QDate& date);
// The system's first day of the week, Sunday = 1.
int SystemFirstDay();
// The first day of the week holding `date`, for weeks beginning on `firstDay` (Sunday = 1).
QDate WeekStart(const QDate& date, int firstDay);
int WeekOfMonth(const QDate& date);

// The nth (1..5, 5 the last) `weekday` (Sunday = 1) of the month of `date`; 0 for either takes it from the
// date and is written back. With `ask`, a day already past `date` asks message 151 whether to move on to the
// next month.
QDate NthWeekdayOfMonth(int& nth, int& weekday, const QDate& date, Prompter* ask = nullptr);

// The date, or the upper limit with message 150 when it lies at or beyond it (the message only with `tell`).
QDate ClampUpperDate(const QDate& date, Prompter* tell = nullptr);

// The days a view shows: 0 the day, 1 its Monday to Friday, 2 the week from `firstDay`, 3 the 42 days from the
// week start on or before the first of the month.
enum View { DayView = 0, WorkweekView = 1, WeekView = 2, MonthView = 3 };
struct DayRange {
    QDate first;
    QDate last;
};
DayRange ViewRange(const QDate& date, int view, int firstDay);
// Whether `date` lies outside what a view shows; a month view counts its central month only.
bool OutsideShownRange(const QDate& date, const DayRange& shown, int view);

// The start minutes of a series in the days `from` to `to`, `minuteOfDay` after each day's midnight, in
// ascending order. Weekly rules keep their week phase counted in weeks that begin on `firstDay`.
QVector<std::int64_t> ExpandSeries(const QDate& from, const QDate& to, int minuteOfDay, const QByteArray& redo,
                                   int firstDay);

} // namespace CALENDAR
