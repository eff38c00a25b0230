#pragma once

#include "budget/statements/statement.h"

#include <QByteArray>

// Quicken interchange files: sections opened by "!Type:" lines, records of one-letter fields ending with "^". The
// bank-like sections (Bank, Cash, CCard, Oth A, Oth L) are read; investment, category, class and memorised
// sections and account lists are passed over.
namespace budget::statements {

// Which comes first in a date written with slashes or dashes (M/D/YYYY or D/M/YYYY). Dates with dots are always
// day first, and a date starting with a four-digit year is year, month, day.
enum class DayMonthOrder { Undecided, MonthFirst, DayFirst };

// The order the file's dates leave no doubt about: a first part above 12 means day first, a second part above 12
// month first. Undecided when no date tells, or when dates contradict each other.
DayMonthOrder DetectQifDateOrder(const QByteArray& bytes);

// The bookings of the file. Undecided takes the detected order, and month first (the format's home convention)
// when even that is undecided. Amounts have a point for decimals and may group thousands with commas.
Statement ReadQifStatement(const QByteArray& bytes, DayMonthOrder order = DayMonthOrder::Undecided);

} // namespace budget::statements
