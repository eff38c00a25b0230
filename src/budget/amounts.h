#pragma once

#include "store/currency.h"

#include <QLocale>
#include <QString>

#include <optional>

// Amounts as the budget shows and reads them: the locale's separators on screen, exact currency underneath.
namespace budget {

// "#,##0.00" when grouped, "0.00" otherwise, rounded half away from zero, with the locale's separators.
QString FormatAmount(Currency value, bool grouped, const QLocale& locale = QLocale());
// "00000000.00": a text that sorts like the number, for the list's hidden sort columns.
QString SortKeyAmount(Currency value);
// The value with a point, no grouping and two to four decimals, for files.
QString PlainAmount(Currency value);

// A typed or shown amount: digits with the locale's group and decimal separators, an optional leading minus,
// blanks around. Decimals beyond the fourth are rounded half away from zero. Absent when it is no number or
// does not fit.
std::optional<Currency> ParseAmount(const QString& text, const QLocale& locale = QLocale());

// The amount field's cleaning after each key: a text with an exponent letter, a sign or anything else that is
// not a plain amount keeps only its digits and decimal separators.
QString CleanAmountText(const QString& text, const QLocale& locale = QLocale());

} // namespace budget
