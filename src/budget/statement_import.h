#pragma once

#include "budget/statements/csv_statement.h"
#include "budget/statements/statement.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVector>

#include <cstdint>
#include <functional>
#include <optional>

class Store;

// Bank statements into a budget: which category each booking goes to, which bookings the budget holds already,
// and the writing of the rest as transactions, all of them or none.
namespace budget::statements {

// What the transaction of a booking is called: the bank's text, else whom it names (QIF and OFX name only the
// partner).
QString BookingItem(const StatementRow& row);

// A text found in a booking's item or partner, case-blind, files it under a category of the budget. The first rule
// of the budget that matches wins.
struct CategoryRule {
    int budget = 0;
    QString text;
    int category = 0;

    friend bool operator==(const CategoryRule&, const CategoryRule&) = default;
};
using CategoryRules = QVector<CategoryRule>;

// The rules of every budget of a user live in one enciphered list row of the user, beside the budget names.
QByteArray RulesText(std::int32_t user, const CategoryRules& rules);
std::optional<CategoryRules> ParseRules(std::int32_t user, const QByteArray& plain);
// No rules yet is an empty list; absent when the row exists but cannot be read.
std::optional<CategoryRules> LoadRules(Store& store);
// 0 or the engine's error number.
int SaveRules(Store& store, const CategoryRules& rules);
// A rule's text may not hold the list's separator and must not be empty.
bool RuleTextFits(const QString& text);

// The category the rules give a booking, among the budget's `categories` (ids); 0, unfiled, when no rule matches
// or the category it names is gone.
int CategoryOf(const CategoryRules& rules, int budget, const QVector<int>& categories, const StatementRow& row);

// Kept in the note of a transaction that came with a bank id, so that the same statement read again adds nothing.
QString BankIdLine(const QString& bankId);
// The bank id a note carries, or an empty text.
QString BankIdIn(const QString& note);

enum class RowState { New, Duplicate, Refused };

struct PlannedRow {
    StatementRow row;
    RowState state = RowState::New;
    bool take = true; // a duplicate is left out unless the person ticks it; a refused row never goes in
    int category = 0;
    QString reason; // why the row is refused
};

struct ImportPlan {
    int budget = 0;
    QVector<PlannedRow> rows;
    QVector<Refusal> unread; // what the reader refused, shown with the closing message
    int unreadCount = 0;
};

// Compares the bookings with the budget's transactions of the same days and with each other, and files them by
// the rules. A row of the budget that cannot be read compares with nothing.
ImportPlan PlanImport(Store& store, int budget, const Statement& statement, const CategoryRules& rules,
                      const QVector<int>& categories);

struct ImportResult {
    int added = 0;
    int duplicates = 0; // left out as duplicates
    int unticked = 0;   // new bookings the person left out
    // The latest booking written, for the list to show.
    std::int32_t lastKey = 0;
    QDate lastDate;
    int refused = 0; // refused by the reader or the plan
    QStringList reasons;
    bool cancelled = false;
    QString failure; // the file is as it was when this is set
};

// Writes the rows taken, each a transaction of the plan's budget under `payMode`, in one transaction of the file.
// `progress` is asked after each row and returns false to cancel; a cancel or a failure writes nothing.
ImportResult CommitImport(Store& store, const ImportPlan& plan, int payMode,
                          const std::function<bool(int done, int total)>& progress = {});

// How a bank writes its CSV files, remembered on this machine (not in the file) under the bank's header row.
struct CsvLayout {
    CsvDialect dialect;
    CsvMapping mapping;

    friend bool operator==(const CsvLayout&, const CsvLayout&) = default;
};
QString CsvLayoutText(const CsvLayout& layout);
std::optional<CsvLayout> ParseCsvLayout(const QString& text);
// The settings key of a bank's layout: a digest of its header, so that the store does not list the columns.
QString CsvLayoutKey(const QStringList& header);

// The closing message: how many came in, how many were duplicates, how many were refused and why.
QString ImportSummary(const ImportResult& result);

} // namespace budget::statements
