#pragma once

#include "budget/totals.h"

#include <QDate>
#include <QString>
#include <QVector>

#include <optional>
#include <utility>

class Store;

// What the Budget's charts draw. Every figure comes from the balance's own sums, so that a chart never tells a
// different story than the table beside it; doubles are for the drawing alone.
namespace budget {

// Credit or debit as the balance shows it: the public sum alone, or public and private together. Absent when
// the two together leave the currency range.
std::optional<Currency> ShownSum(const KindSums& sums, bool debit, bool withPrivate);

struct CategoryDebit {
    QString name;
    Currency amount;
};

struct CategoryDebits {
    QVector<CategoryDebit> categories; // those with a debit, in the balance's order
    bool overflow = false;
};

CategoryDebits DebitsByCategory(const Balance& balance, bool withPrivate);

struct MonthSums {
    QDate month; // its first day, even when the period starts later in it
    Currency credit;
    Currency debit;
    Currency balance; // credit less debit
};

struct MonthlySums {
    QVector<MonthSums> months; // every month the period touches, in order
    bool overflow = false;

    // Nothing to draw: no month has a credit or a debit.
    bool empty() const;
};

// The parts of [from, to] that fall in each calendar month, in order; the first and last may be partial.
QVector<std::pair<QDate, QDate>> PeriodMonths(const QDate& from, const QDate& to);

// The query's period month by month, each month summed by SumBalance over its own rows. The rows of all months
// are deciphered in one go, so that the work spreads over the cores however the rows fall into months.
MonthlySums MonthlyBalance(Store& store, const BalanceQuery& query, const ListEntries& categories, bool withPrivate);

} // namespace budget
