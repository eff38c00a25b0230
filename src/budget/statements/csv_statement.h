#pragma once

#include "budget/statements/statement.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVector>

#include <optional>

// Statements as banks export them to spreadsheets: RFC 4180 quoting (doubled quotes, separators and line breaks
// inside quotes), an optional byte-order mark, lines of preamble before the table and an optional header row.
// How a file is written (its dialect) is detected and can be changed; which column holds what (the mapping) is
// guessed from the header and can be changed and remembered as a text.
namespace budget::statements {

// The date forms a statement may use. One-digit days and months are read in every form.
QStringList CsvDateFormats();

struct CsvDialect {
    QChar separator = u';'; // ';', ',' or a tab
    TextEncoding encoding = TextEncoding::Utf8;
    QChar decimalMark = u',';                          // '.' or ','; the other one groups thousands
    QString dateFormat = QStringLiteral("dd.MM.yyyy"); // one of CsvDateFormats()
    int skipLines = 0;     // records of preamble before the table (a line break inside quotes starts none)
    bool hasHeader = true; // the table's first record names its columns

    friend bool operator==(const CsvDialect&, const CsvDialect&) = default;
};

// The dialect the file appears to be written in, judged from its first lines.
CsvDialect DetectDialect(const QByteArray& bytes);

// Which column (from 0) holds what; -1 for none. A row's amount is either in one signed column or in a credit and
// a debit column, each holding a magnitude.
struct CsvMapping {
    int date = -1;
    int item = -1;
    int partner = -1;
    int amount = -1;
    int credit = -1;
    int debit = -1;
    int note = -1;

    // A date column and either the amount or at least one of credit and debit.
    bool isComplete() const;
    // "date=0;item=3;amount=5": the columns set, for the settings store.
    QString toText() const;
    // The inverse of toText; absent for a text it did not write.
    static std::optional<CsvMapping> FromText(const QString& text);

    friend bool operator==(const CsvMapping&, const CsvMapping&) = default;
};

// The columns named by a header row in English or German, each column taken once.
CsvMapping GuessMapping(const QStringList& header);

// The cells of the table's first `n` records (the header among them), for showing the file before it is read.
QVector<QStringList> PreviewRows(const QByteArray& bytes, const CsvDialect& dialect, int n);
// The header row's cells; empty when the dialect says there is none.
QStringList HeaderCells(const QByteArray& bytes, const CsvDialect& dialect);

// The bookings of the table. An empty record is passed over; a record that cannot be read whole is refused.
Statement ReadCsvStatement(const QByteArray& bytes, const CsvDialect& dialect, const CsvMapping& mapping);

} // namespace budget::statements
