#pragma once

#include "budget/transaction.h"
#include "shell/list_entry.h"

#include <QLocale>
#include <QStringList>
#include <QVector>

#include <optional>
#include <utility>

class Store;

// The month list of a budget: which rows the engine selects, how a row reads in the list's 12 columns, and how
// the list sorts.
namespace budget {

struct ListFilter {
    int budget = 0;
    int category = -1; // -1 all; the "Edit categories" entry counts as all
    QDate month;       // any day of the month in view
    bool credit = true;
    bool debit = true;
    bool showPublic = true;
    bool showPrivate = true;
};

// What the list's texts are looked up in: the filter's category entries and the payment entries (with "All"
// first and "N.S." second), and the private switch.
struct ListContext {
    ListEntries categories;
    ListEntries payments;
    bool showPrivate = false;
    QLocale locale;
};

constexpr int kListColumns = 12;
enum ListColumn {
    colDate,
    colItem,
    colCredit,
    colDebit,
    colPayment,
    colPrivate,
    colPartner,
    colNote,
    colCategory,
    colDateKey,
    colCreditKey,
    colDebitKey
};

struct ListRow {
    Transaction transaction;
    QStringList texts; // kListColumns texts
};

struct TransactionList {
    bool queryHadRows = false; // the commands that need a row follow the query, not what is shown
    QVector<ListRow> rows;
    int repaired = 0; // rows whose lost category was set back to "Unfiled"
};

// The SQL of the month list; its parameters are bound by ReloadList.
QString ListQuery(const ListFilter& filter);

// The rows of the month, decoded, with their texts. A row whose category is no longer in the list is filed
// under "Unfiled" in the file as it is read. Private rows are left out while the switch is off; rows that
// cannot be read are left out.
TransactionList ReloadList(Store& store, const ListFilter& filter, const ListContext& context);

// The texts of the list's columns for one transaction; `categoryText` as looked up.
QStringList ListRowTexts(const Transaction& t, const QString& categoryText, const ListContext& context);

// The name of category `id` in the filter's entries, or absent when the id is not there. An empty entry list
// names everything "Unfiled".
std::optional<QString> CategoryText(const ListEntries& categories, int id);

// Sorting by a header click: the column sorted on (0-based, the hidden keys for dates and amounts) and its
// order. Clicking the column of the last sort flips the order; another column starts in its own default order.
struct ListSort {
    int key = -1;
    bool descending = false;
};
ListSort SortAfterClick(const ListSort& last, int clickedColumn);

// Credit and debit sums of the list's texts; absent on an overflow.
struct ListSums {
    Currency credit;
    Currency debit;
};
// Each row's credit and debit texts, as the list shows them.
using AmountTexts = std::pair<QString, QString>;
std::optional<ListSums> Recalc1(const QVector<AmountTexts>& rows, const QLocale& locale = QLocale());

} // namespace budget
