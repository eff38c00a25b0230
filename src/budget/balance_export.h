#pragma once

#include "budget/totals.h"
#include "budget/transaction.h"
#include "shell/list_entry.h"

#include <QByteArray>
#include <QString>
#include <QVector>

// The balance of a period and its transactions as a CSV file for a worksheet.
namespace budget {

struct BalanceExport {
    Balance balance;
    bool privateColumns = false; // the table shows public, private and total columns
    bool privateCells = false;   // the private and total cells carry values
    bool showPrivate = false;    // private records are shown: private rows and the private mark are written
    QVector<Transaction> transactions;
    ListEntries categories; // the filter's entries, for the names
    ListEntries payments;   // the payment entries, "All" and "N.S." first
};

// UTF-8 with a header row, points as decimal separators, no grouping, dates as YYYY-MM-DD. Absent when a sum
// overflows.
std::optional<QByteArray> BalanceCsv(const BalanceExport& data);

} // namespace budget
