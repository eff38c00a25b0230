#pragma once

#include "budget/transaction.h"
#include "shell/list_entry.h"
#include "store/cry.h"
#include "store/currency.h"

#include <QDate>
#include <QLocale>
#include <QString>
#include <QStringList>
#include <QVector>

#include <array>
#include <cstdint>

class Store;

// The balance of a budget over a time frame, by category and by kind: public and private credit and debit.
namespace budget {

using KindSums = std::array<Currency, 4>; // by DCWB: public credit, public debit, private credit, private debit

struct BalanceQuery {
    int budget = 0;
    QDate from;
    QDate to;
    int payment = -1; // -1 every mode; 0 the rows without a stated mode
};

struct Balance {
    ListEntries categories; // the real categories in list order: named ones and "Unfiled"
    QVector<KindSums> sums; // by category position
    KindSums totals{};
    bool overflow = false; // a sum left the currency range; the sums are incomplete and must not be shown
};

// The categories a balance adds up by: the filter's entries without "All" and "Edit categories".
ListEntries BalanceCategories(const ListEntries& filterEntries);

// The rows of a time frame as stored, in date order. Reading them is quick; deciphering them is the work.
struct SealedRow {
    std::int32_t key = 0;
    int category = 0;
    bool noteFlag = false;
    QByteArray sealed;
};
QVector<SealedRow> ReadBalanceRows(Store& store, const BalanceQuery& query);

// What a sum needs of a row; `ok` is false for a row that cannot be read, which is left out.
struct BalanceItem {
    bool ok = false;
    int category = 0;
    int dcwb = 0;
    int payMode = 0;
    Currency amount;
};
// Deciphers the rows on as many threads as the machine has, each with its own copy of the key pool. Touches
// neither the file nor any widget, so it may run on any thread.
QVector<BalanceItem> DecodeBalanceRows(const CRY::SecureBytes& keyPool, const QVector<SealedRow>& rows);
// The same for whole transactions; rows that cannot be read are left out.
QVector<Transaction> DecodeTransactions(const CRY::SecureBytes& keyPool, const QVector<SealedRow>& rows);

// Adds the items up by category and kind. An item whose category is no longer listed counts for the category
// of the item before it (the first listed category for the first item).
Balance SumBalance(const QVector<BalanceItem>& items, int payment, const ListEntries& categories);

// The three steps in one.
Balance RefreshTotals(Store& store, const BalanceQuery& query, const ListEntries& categories);

// The ten columns of a category's row: the name, then public, private and total credit, the same for debit and
// for the balance. The private and total cells stay empty unless `withPrivate`. Absent on an overflow.
std::optional<QStringList> BalanceRowTexts(const Balance& balance, int position, bool withPrivate,
                                           const QLocale& locale = QLocale());

// The nine values of the totals line, in the columns' order. With `formatted` each is " " + "0.00"; the private
// and total values are empty texts unless `withPrivate`. Absent on an overflow.
std::optional<QVector<Currency>> ResultValues(const Balance& balance);
std::optional<QStringList> ResultTexts(const Balance& balance, bool withPrivate, const QLocale& locale = QLocale());

// The visible columns of the balance's table: 0 is the category, 1..9 the sums. Without private ones only the
// public credit, debit and balance (1, 4, 7) show.
QVector<int> VisibleBalanceColumns(bool withPrivate);
// The ten headers, as the private distinction asks.
QStringList BalanceHeaders(bool withPrivate);

} // namespace budget
