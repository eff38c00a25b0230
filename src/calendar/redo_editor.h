#pragma once

#include "calendar/appointment.h"
#include "calendar/recurrence.h"

#include <QByteArray>
#include <QDate>
#include <QDateTime>
#include <QString>

#include <array>
#include <cstdint>
#include <optional>
#include <utility>

class Prompter;
class Store;

// What the appointment editor works out without a window: the recurrence as the person sets it up, the end date
// and the number of occurrences kept in step, the times typed, and what OK stores.
namespace CALENDAR {

enum RedoChoice {
    RedoChoiceNone = 0,
    RedoChoiceWeekly = 1,
    RedoChoiceDaily = 2,
    RedoChoiceMonthly = 3,
    RedoChoiceYearly = 4
};
enum RedoEndChoice { NoEndDate = 0, AfterOccurrences = 1, OnEndDate = 2 };

// The recurrence as the editor's controls hold it. Weekdays on screen count from `FirstDay`.
struct RedoValues {
    int Redo = RedoChoiceNone;
    int RedoAlt = 0; // the second rule of Daily, Monthly and Yearly
    int EndMode = NoEndDate;
    QDate RedoStart;
    QDate RedoEndDate;
    int Occurrences = 5;
    int IntervalA = 1;   // days, weeks or months of the day rule
    int IntervalB = 1;   // months of the nth-weekday rule
    int RedoWhen = 0;    // nth - 1: 0 the first .. 4 the last
    int RedoWeekday = 0; // 0 the first day of the week
    int RedoMonth = 0;   // 0 January
    std::array<bool, 7> WeekdayFlags{};
    int FirstDay = 1; // Sunday = 1

    int kind() const;
    // The weekday boxes as the stored mask: bit 1 Sunday .. bit 7 Saturday.
    std::uint8_t weekdayMask() const;
    void setWeekdayMask(std::uint8_t mask);
    // `RedoWeekday` counted from Sunday = 1.
    int sundayWeekday() const;
};

// The rule kind of the option groups: 0 none, 1 weekly, 2 every n days, 3 workdays, 4 and 5 monthly, 6 and 7
// yearly.
int RedoKindOf(int redo, int redoAlt);

// A new choice of Redo or RedoAlt: intervals 1, five occurrences from `date`, the weekday, nth and month of
// `date`, and the end date that gives those five.
void ChangeRecurrence(RedoValues& values, const QDate& date, Prompter* ask = nullptr);

// Keeps end date and count in step after any change of the rule: the end from the count after N occurrences,
// else the count from the end date. The start first moves onto the rule's first day. With `tell`, the person hears
// of a clamped date (150), a start moved within its month (151) and an end date of theirs moved onto an
// occurrence (386).
void RecalcRedoEnd(RedoValues& values, Prompter* tell = nullptr);
// The count from the end date; the end then moves onto the last occurrence up to it.
void CountFromEnd(RedoValues& values, Prompter* tell = nullptr);
// The end date of `Occurrences` occurrences.
void EndFromCount(RedoValues& values, Prompter* tell = nullptr);
// The occurrences from `RedoStart` to `RedoEndDate` as ExpandSeries yields them; changes nothing.
int OccurrenceCount(const RedoValues& values);

// Weekly rules: `mask` bit 1 Sunday .. bit 7 Saturday, every `interval` weeks of weeks that begin on `firstDay`.
// Both take the first ticked day on or after `start` as the series' first day.
int WeeklyOccurrenceCount(const QDate& start, const QDate& end, std::uint8_t mask, int interval, int firstDay);
// The date of the nth occurrence; `start` moves onto the first one.
QDate WeeklyEndDate(QDate& start, int n, int interval, std::uint8_t mask, int firstDay);

// The nth-weekday rules: `nth` 1..5 (5 the last) `weekday` (Sunday = 1) of every `interval` months, or of month
// `month` (0: that of `start`) every year.
enum class Unit { Month, Year };
// The nth occurrence on or after `start`. When the first month's day lies before `start`, `ask` may keep it
// instead (message 151, No); yearly rules take the next year without asking.
QDate NthDateAfter(const QDate& start, int weekday, int nth, int n, Unit unit, int interval, int month = 0,
                   Prompter* ask = nullptr);
// The occurrences from `start` to `end`, counted in the months (years) from that of `start`.
int NthOccurrenceCount(const QDate& start, int weekday, int nth, const QDate& end, Unit unit, int interval,
                       int month = 0);

// The stored recurrence string of the values, without exception days; empty for no recurrence.
QByteArray BuildRedoString(const RedoValues& values);
// The values of a stored string, the count worked out from its dates; false, with `values` untouched, for a
// string that is no rule.
bool ParseRedoString(const QByteArray& redo, RedoValues& values);

// The recurrence in words: the rule, its first day and its end.
QString RecurrenceInWords(const RedoValues& values);
QString RecurrenceInWords(const QByteArray& redo, int firstDay);

// The interval fields take digits only (message 12) and a value from 1 to 255 (message 13); 0 when `text` is
// fine.
int IntervalMessage(const QString& text);

struct Span {
    std::int64_t start = 0; // calendar minutes
    std::int64_t end = 0;
    friend bool operator==(const Span&, const Span&) = default;
};

// A new appointment's times: from a view's day and time, midnight meaning 09:00; otherwise `at` rounded down to
// half an hour. Half an hour long, never past the coming midnight; an all-day event is the whole day.
Span NewAppointmentSpan(const QDateTime& at, bool fromView, bool allDay);
Appointment NewAppointment(int owner, const QDateTime& at, bool fromView, bool allDay);

// The hour fields: the start's 0..23, the end's 0..24 (`index` 0 start, 1 end); the minute fields 0..59, above
// 59 taken as 55.
int ClampHourField(int value, int index);
int ClampMinuteField(int value);
// The minute of `day` at the typed time, minutes cut to five.
std::int64_t TypedMinute(const QDate& day, int hours, int minutes);

// What the date and time fields show of a minute; an end at midnight shows 24:00 of the day before.
struct FieldTime {
    QDate day;
    int hours = 0;
    int minutes = 0;
};
FieldTime StartFields(std::int64_t minute);
FieldTime EndFields(const Span& span);

// A new start keeps the length; a new end never lies before the start; a new length is at most a day.
Span MovedStart(const Span& span, std::int64_t start);
Span MovedEnd(const Span& span, std::int64_t end);
Span WithDuration(const Span& span, int minutes);
// The duration sliders: hours and five-minute steps, a day at most.
int DurationFromSliders(int hours, int fives);
std::pair<int, int> SlidersFromDuration(const Span& span);

// An all-day event runs exactly from midnight to midnight.
bool IsAllDaySpan(const Span& span);
Span AllDaySpan(std::int64_t start);
// Times for an event that stops being all-day: those held before, moved to its day, or 09:00 to 09:30.
Span TimedSpan(const QDate& day, const std::optional<Span>& before);

// The appointment the editor opens: the record `key`, or `fresh` for -1. A record that went meanwhile asks
// whether to go on with a new one (message 11); nothing when the person declines or the record is no
// appointment (reported through `result`).
std::optional<Appointment> AppointmentToEdit(Store& store, std::int32_t key, const Appointment& fresh,
                                             Result* result = nullptr);

struct OkOutcome {
    bool stays = true;  // the person is sent back to the form
    bool write = false; // something differs from what was loaded
    Appointment appointment;
};
// OK's checks and the record to store. The subject may stay empty if the person agrees (369); a weekly rule
// needs a weekday (10). A midnight-to-midnight span is all-day; a series starts on its first day. An unchanged
// rule keeps its exception days, a changed one drops them. `typed` carries the controls; its rule is built from
// `redo`.
OkOutcome AcceptAppointment(const Appointment& loaded, const Appointment& typed, const RedoValues& redo, Prompter& ask);

} // namespace CALENDAR
