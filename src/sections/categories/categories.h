#pragma once

#include "shell/list_entry.h"
#include "shell/section_table.h"

#include <QString>
#include <QStringList>
#include <QVector>

#include <cstdint>
#include <optional>

class Prompter;
class Store;

// Category lists: one enciphered row per section and user, and in the Budget one per budget. Records file
// themselves by a small id that is local to one list; 0 is the built-in "Unfiled".
namespace categories {

constexpr int kCategoryRowSection = 10;
constexpr int kBudgetSection = sections::Number(SectionId::Budget);
constexpr int kAll = -1;
constexpr int kUnfiled = 0;
constexpr int kEditCommand = 9999;

// The list text "name;id;name;id" of a section (of a budget in the Budget section), or the empty text when the
// row is missing or belongs to someone else. A row of the old format is rewritten in the current one on reading.
QString LoadCategoryText(Store& store, int section, std::optional<int> budget = std::nullopt);

// What a category row enciphers: the owner's id, the section and the list text.
QByteArray CategoryPlainText(std::int32_t user, int section, const QString& text);

// Writes the list text, making the row when there is none. `budget` counts only in the Budget section.
// Returns 0 or the engine's error number.
int SaveCategoryText(Store& store, const QString& text, int section, int budget = 0);

struct FillFlags {
    bool addAll = false;
    bool addUnfiled = false;
    bool addEdit = false;
};

// Adds the entries of `listText` to `entries` as a drop-down list shows them: the names in case-blind order
// behind a prefix that lines them up with the bracketed entries, then "All", "Unfiled" and "Edit categories" as
// asked. Returns the control's tag: the ids of the entries held before "All", "Unfiled" and "Edit" are added,
// separated by blanks.
QString AddCategoryEntries(ListEntries& entries, const QString& listText, FillFlags flags);

// Where an entry `text` goes in `entries`: behind the last entry that is not greater, ignoring case, so that
// equal names keep their order.
int SortedPosition(const ListEntries& entries, const QString& text);

// LoadCategoryText and AddCategoryEntries in one.
QString FillCategoryEntries(Store& store, ListEntries& entries, int section, FillFlags flags,
                            std::optional<int> budget = std::nullopt);

// A name holding the list's separator ";" (or the byte 255 other lists end their names with) would shift every
// later name of the stored list: such a name is refused with this message.
bool NameFitsList(const QString& name);
QString NameRefusal();

// The id a new category takes: the lowest of 1..9998 not yet in the list, or -1 when all are taken.
int NewCategoryId(const ListEntries& entries);

// The list text of a list's entries, "text;id" joined by ";".
QString JoinCategoryList(const ListEntries& entries);

// JoinCategoryList and SaveCategoryText in one.
int SaveCategoryList(Store& store, const ListEntries& entries, int section, int budget = 0);

// The importer's categories, from its parallel arrays.
int SaveImportedCategories(Store& store, const QVector<int>& ids, const QStringList& names, int section);

// A candidate id for an imported category; message 52 and 0 when none is free.
int NextFreeImportedCategoryId(const QVector<int>& ids, Prompter& prompter);

// The id of `name` in `list`, added with the next id when it is not there.
int FindOrAddCategory(QString& list, const QString& name);

// The ids of the ";"-separated `names`, adding those that are missing to `list`; the ids joined by blanks.
QString MapCategoryNames(QString& list, const QString& names);

// The category column of the record `key`; 0 when there is no such row.
int GetRecordCategory(Store& store, std::int32_t key);

} // namespace categories
