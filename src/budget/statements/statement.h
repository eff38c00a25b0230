#pragma once

#include "store/currency.h"

#include <QByteArray>
#include <QChar>
#include <QDate>
#include <QString>
#include <QVector>

#include <optional>

// What the readers of bank statements hand on: the bookings of a file as rows, and the parts they could not read
// with where and why. The readers trust nothing in the bytes; a booking is either read whole or refused.
namespace budget::statements {

// Bounds that keep a hostile file from costing more than a real statement would.
constexpr qsizetype kMaxStatementBytes = 16 * 1024 * 1024;
constexpr int kMaxRows = 100000;
constexpr int kMaxReportedRefusals = 1000;

struct StatementRow {
    int line = 0; // where the booking begins in the file, from 1
    QDate date;
    QString item;    // what the bank calls the booking; empty where the format only names the partner
    QString partner; // who paid or was paid
    Currency amount; // a credit is positive, a debit negative
    QString note;
    QString bankId;   // the bank's own identifier of the booking, where it gives one
    QString number;   // a cheque or reference number
    QString category; // the category the file names, as written

    friend bool operator==(const StatementRow&, const StatementRow&) = default;
};

struct Refusal {
    int line = 0; // 0: the file as a whole
    QString reason;

    friend bool operator==(const Refusal&, const Refusal&) = default;
};

struct Statement {
    QVector<StatementRow> rows;
    // The first kMaxReportedRefusals of them; refusedCount counts them all.
    QVector<Refusal> refused;
    int refusedCount = 0;

    void refuse(int line, const QString& reason);
    // False once kMaxRows rows are read; the rest of the file is then refused as one.
    bool roomForRow(int line);
};

enum class TextEncoding { Utf8, Windows1252 };

// UTF-8 when the bytes are valid UTF-8 (a byte-order mark says so too), Windows-1252 otherwise.
TextEncoding DetectEncoding(const QByteArray& bytes);
// The text of the bytes, without a leading byte-order mark; a total function.
QString DecodeText(const QByteArray& bytes, TextEncoding encoding);

// An amount whose decimal mark is known (a point or a comma; the other one may only group the digits before it in
// threes). A leading or trailing sign and a currency symbol are allowed. Read exactly, never through floating
// point; on failure `reason` says why, quoting the text.
std::optional<Currency> ReadStatedAmount(const QString& text, QChar decimalMark, QString* reason);

// A text quoted for a refusal, shortened so that a hostile cell cannot make the report large.
QString Quoted(const QString& text);

} // namespace budget::statements
