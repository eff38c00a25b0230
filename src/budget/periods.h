#pragma once

#include <QDate>
#include <QString>

// The time frames of the balance: the period bar's 23 choices, the year/week/day steps and the limits of the
// from and to dates. Weekdays count from Sunday = 1, as the preferences store the first day of the week.
namespace budget {

constexpr int kPeriodCount = 23;
constexpr int kPeriodYear = 0;
constexpr int kPeriodYearToDate = 19;
constexpr int kPeriodDay = 20;
constexpr int kPeriodWeek = 21;
constexpr int kPeriodTotal = 22;
// The pointer's index when the person set the dates by hand.
constexpr int kPeriodByHand = 25;

// Day serials 2741 and 64375: 3 July 1907 and 31 March 2076.
QDate PeriodMinDate();
QDate PeriodMaxDate();

// The week number of `date`: week 1 is the week that holds 1 January, weeks begin on `firstDayOfWeek`.
int WeekNumber(const QDate& date, int firstDayOfWeek);
// The first day of the week that holds `date`.
QDate WeekStart(const QDate& date, int firstDayOfWeek);
// "W" + blank + the week number.
QString WeekText(const QDate& date, int firstDayOfWeek);

// The caption of label `index` of the period bar; `today` names the months of the year-to-date label.
QString PeriodCaption(int index, const QDate& today);

// What the bar and its controls show: the range, the year and week texts and the chosen period.
struct PeriodState {
    QDate from;
    QDate to;
    QString yearText; // cTimeRange(0)
    QString weekText; // cTimeRange(1)
    int pointer = kPeriodYearToDate;
};

// The state after a click on label `index`: the year comes from the year text when it is a number, else from
// today. The week label also sets the week text.
void SelectPeriod(PeriodState& state, int index, const QDate& today, int firstDayOfWeek);

// cmdUp(unit) and cmdDown(unit): unit 0 the year, 1 the week, 2 the day.
void MovePeriod(PeriodState& state, int unit, bool up, int firstDayOfWeek);

// A date changed by hand: clamped to the limits, the other end moved along when they cross, the pointer set to
// "by hand".
void SetFromByHand(PeriodState& state, const QDate& from);
void SetToByHand(PeriodState& state, const QDate& to);

// Which controls the chosen period shows.
struct PeriodControls {
    bool yearControls = true;  // cTimeRange(0), cmdUp(0), cmdDown(0)
    bool weekControls = false; // cTimeRange(1), cmdUp(1), cmdDown(1)
    bool toDate = true;        // ctlTo, lblFromTo
    bool pointer = true;
};
PeriodControls ControlsFor(int pointer);

} // namespace budget
