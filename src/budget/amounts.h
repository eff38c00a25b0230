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

// The amount as the editor shows it: grouped, with the locale's separators and as many decimals as it holds (two
// to four), so that showing it again changes nothing.
QString EditableAmount(Currency value, const QLocale& locale = QLocale());

// How a typed amount was read. Either a point or a comma is the decimal mark wherever the text can only mean
// that: one mark with one, two or four digits behind it, or the last of two kinds of marks. A text that could
// be read two ways ("1,250": a thousand and more, or one and a quarter) is not guessed at, and neither is one
// beyond what the currency holds exactly (five decimals, or too large).
struct AmountReading {
    std::optional<Currency> value;
    QString problem; // what the person is told when there is no value, with how the text reads
};
AmountReading ReadAmount(const QString& text, const QLocale& locale = QLocale());
// ReadAmount's value alone.
std::optional<Currency> ParseAmount(const QString& text, const QLocale& locale = QLocale());

// Whether the text is digits only (an empty text is).
bool AllDigits(QStringView text);
// Digits in groups of three behind a first group of one to three, joined by `mark`.
bool GroupedDigits(const QString& text, QChar mark);

// The amount field's cleaning after each key: a text with an exponent letter, a sign or anything else that is
// not a plain amount keeps only its digits and decimal marks.
QString CleanAmountText(const QString& text, const QLocale& locale = QLocale());

} // namespace budget
