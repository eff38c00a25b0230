#include "budget/periods.h"

#include "base/messages.h"

#include <QLocale>

#include <algorithm>

namespace budget {

namespace {

constexpr qint64 kMinSerial = 2741;
constexpr qint64 kMaxSerial = 64375;

QDate OleDate(qint64 serial) {
    return QDate(1899, 12, 30).addDays(serial);
}

// Stored preferences count Sunday = 1; anything else falls back on Sunday, the default of the preference.
int SundayBased(const QDate& date) {
    return date.dayOfWeek() % 7 + 1;
}
int ValidFirstDay(int firstDayOfWeek) {
    return firstDayOfWeek >= 1 && firstDayOfWeek <= 7 ? firstDayOfWeek : 1;
}

QDate Clamped(const QDate& date) {
    return std::clamp(date, PeriodMinDate(), PeriodMaxDate());
}

QString ShortMonth(int month) {
    return QLocale().monthName(month, QLocale::ShortFormat).toUpper();
}

// Today's day and month in year y; 29 February falls back on the 28th in a common year.
QDate SameDayIn(const QDate& today, int y) {
    return QDate(y, today.month(), std::min(today.day(), QDate(y, today.month(), 1).daysInMonth()));
}

QDate MonthStart(int y, int month) {
    return QDate(y, month, 1);
}
QDate MonthEnd(int y, int month) {
    const QDate first(y, month, 1);
    return QDate(y, month, first.daysInMonth());
}

} // namespace

QDate PeriodMinDate() {
    return OleDate(kMinSerial);
}
QDate PeriodMaxDate() {
    return OleDate(kMaxSerial);
}

QDate WeekStart(const QDate& date, int firstDayOfWeek) {
    if (!date.isValid()) {
        return {};
    }
    return date.addDays(-((SundayBased(date) - ValidFirstDay(firstDayOfWeek) + 7) % 7));
}

int WeekNumber(const QDate& date, int firstDayOfWeek) {
    if (!date.isValid()) {
        return 0;
    }
    const QDate firstWeek = WeekStart(QDate(date.year(), 1, 1), firstDayOfWeek);
    return static_cast<int>(firstWeek.daysTo(WeekStart(date, firstDayOfWeek)) / 7) + 1;
}

QString WeekText(const QDate& date, int firstDayOfWeek) {
    if (!date.isValid()) {
        return {};
    }
    return QStringLiteral("W ") + QString::number(WeekNumber(date, firstDayOfWeek));
}

QString PeriodCaption(int index, const QDate& today) {
    if (index == kPeriodYear) {
        return MsgText(266);
    }
    if (index == 1 || index == 2) {
        return ShortMonth(6 * (index - 1) + 1) + QStringLiteral(" - ") + ShortMonth(6 * index);
    }
    if (index >= 3 && index <= 6) {
        return MsgText(267) + QString::number(index - 2);
    }
    if (index >= 7 && index <= 18) {
        return ShortMonth(index - 6).left(1);
    }
    if (index == kPeriodYearToDate) {
        const QDate day = today.isValid() ? today : QDate::currentDate();
        return QStringLiteral("1 ") + ShortMonth(1) + QStringLiteral(" - ") + QString::number(day.day()) +
               QLatin1Char(' ') + ShortMonth(day.month());
    }
    if (index == kPeriodDay) {
        return MsgText(271);
    }
    if (index == kPeriodWeek) {
        return MsgText(269);
    }
    if (index == kPeriodTotal) {
        return MsgText(270);
    }
    return {};
}

void SelectPeriod(PeriodState& state, int index, const QDate& today, int firstDayOfWeek) {
    if (index < 0 || index >= kPeriodCount) {
        return;
    }
    const QDate day = today.isValid() ? today : QDate::currentDate();
    bool numeric = false;
    const int typed = state.yearText.trimmed().toInt(&numeric);
    // A year beyond the pickers' limits would give dates they cannot show; the year text follows the clamp.
    const int y = std::clamp(numeric ? typed : day.year(), PeriodMinDate().year(), PeriodMaxDate().year());
    if (!numeric || y != typed) {
        state.yearText = QString::number(y);
    }

    QDate from;
    QDate to;
    if (index == kPeriodYear) {
        from = MonthStart(y, 1);
        to = MonthEnd(y, 12);
    } else if (index <= 2) {
        from = MonthStart(y, 6 * (index - 1) + 1);
        to = MonthEnd(y, 6 * index);
    } else if (index <= 6) {
        from = MonthStart(y, 3 * (index - 3) + 1);
        to = MonthEnd(y, 3 * (index - 2));
    } else if (index <= 18) {
        from = MonthStart(y, index - 6);
        to = MonthEnd(y, index - 6);
    } else if (index == kPeriodYearToDate) {
        from = MonthStart(y, 1);
        to = SameDayIn(day, y);
    } else if (index == kPeriodDay) {
        from = SameDayIn(day, y);
        to = from;
    } else if (index == kPeriodWeek) {
        from = WeekStart(day, firstDayOfWeek);
        to = from.addDays(6);
        state.weekText = WeekText(day, firstDayOfWeek);
    } else {
        from = QDate(2000, 1, 1);
        to = day;
    }
    state.from = Clamped(from);
    state.to = Clamped(to);
    state.pointer = index;
}

void MovePeriod(PeriodState& state, int unit, bool up, int firstDayOfWeek) {
    if (!state.from.isValid() || !state.to.isValid() || unit < 0 || unit > 2) {
        return;
    }
    const int step = up ? 1 : -1;
    if (unit == 0) {
        const QDate old = state.from;
        state.from = old.addYears(step);
        if (state.pointer == kPeriodWeek) {
            // The week keeps its number in the new year.
            const int drift = WeekNumber(state.from, firstDayOfWeek) - WeekNumber(old, firstDayOfWeek);
            state.from = WeekStart(state.from.addDays(-7 * drift), firstDayOfWeek);
            state.to = state.from.addDays(6);
        } else {
            state.to = state.to.addYears(step);
        }
    } else if (unit == 1) {
        state.from = state.from.addDays(7 * step);
        state.to = state.from.addDays(6);
    } else {
        state.from = state.from.addDays(step);
        state.to = state.to.addDays(step);
    }
    state.from = Clamped(state.from);
    state.to = Clamped(state.to);

    if (unit == 0) {
        state.yearText = QString::number(state.from.year());
    } else if (unit == 1) {
        // Numbered by its last day, so the week that holds 1 January is week 1 of the new year, and the year shown
        // is the one the week is numbered in, however the week was reached.
        state.weekText = QStringLiteral("W ") + QString::number(WeekNumber(state.to, firstDayOfWeek));
        state.yearText = QString::number(state.to.year());
    }
}

void SetFromByHand(PeriodState& state, const QDate& from) {
    if (!from.isValid()) {
        return;
    }
    state.from = Clamped(from);
    if (!state.to.isValid() || state.from > state.to) {
        state.to = state.from;
    }
    state.pointer = kPeriodByHand;
}

void SetToByHand(PeriodState& state, const QDate& to) {
    if (!to.isValid()) {
        return;
    }
    state.to = Clamped(to);
    if (!state.from.isValid() || state.from > state.to) {
        state.from = state.to;
    }
    state.pointer = kPeriodByHand;
}

PeriodControls ControlsFor(int pointer) {
    PeriodControls controls;
    controls.yearControls = pointer != kPeriodDay && pointer != kPeriodTotal;
    controls.weekControls = pointer == kPeriodWeek;
    controls.toDate = pointer != kPeriodDay;
    controls.pointer = pointer != kPeriodByHand;
    return controls;
}

} // namespace budget
