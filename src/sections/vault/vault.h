#pragma once

#include "base/result.h"
#include "sections/find/record_search.h"
#include "sections/record_store.h"
#include "shell/section_table.h"

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QVector>

#include <array>
#include <cstdint>
#include <optional>
#include <span>

class Store;

// The vault: logins, accounts, cards and numbers. A record has five plain text fields whose meaning comes from its
// sub-category, a note and a private mark; the first field is its title. The sub-category is the row's fG1.
namespace vault {

constexpr int kVaultSection = sections::Number(SectionId::Vault);
constexpr int kValueCount = 5;
constexpr int kMainCategoryCount = 5;
enum VaultField { Owner, Private, N0, N1, N2, N3, N4, Notes, DateLastModified };

// A field's label: a catalogue text, or two joined.
struct Label {
    int message = 0;
    int second = 0;
    const char* joiner = "";
};

struct SubCategory {
    int number = 0;
    int mainCategory = 0; // the column it stands in, 0..4
    const char* caption = "";
    std::array<Label, kValueCount> labels{};
    int notesMessage = 68;
    const char* tip = "";
};

// Every sub-category, column by column in the order they are shown.
std::span<const SubCategory> SubCategories();
// The sub-category `number`; null for 0 and for a number that is none.
const SubCategory* FindSubCategory(int number);
// The heading of a column of sub-categories.
QString MainCategoryCaption(int mainCategory);
// The labels of a sub-category's fields; as many as it has.
QStringList Labels(int number);
QString NotesLabel(int number);
// A field whose label speaks of a password or a PIN is masked while plain passwords are off.
bool IsPasswordLabel(const QString& label);
bool HasPasswordLabel(int number);

struct Entry {
    std::int32_t key = -1;
    int owner = 0;
    bool isPrivate = true;
    std::array<QString, kValueCount> values;
    QString notes;
    QDateTime modified;
    int subCategory = 0;
};

// Overwrites every text of the entry, for the moment it is no longer needed.
void Wipe(Entry& entry);

// A new record starts private.
Entry NewEntry(int owner, int subCategory);

QByteArray EntryBlob(const Entry& entry);
// The fields of a deciphered blob into `entry`; false, with `entry` untouched, for an empty blob.
bool DecodeEntryBlob(const QByteArray& blob, Entry& entry);

// The record `key`; absent when there is none, it is not the vault's (`result` says message 16) or it does not
// decode.
std::optional<Entry> LoadEntry(Store& store, std::int32_t key, Result* result = nullptr);
// Stores the record with the modification time `now`; a new one is filed in its sub-category.
Result StoreEntry(Store& store, Entry& entry, const QDateTime& now);
// The titles of a sub-category, private ones left out while hidden.
QVector<records::ListedTitle> ListEntries(Store& store, int subCategory);
Result DeleteEntry(Store& store, std::int32_t key);

// A password field that is weak or that another record shares; the password itself is not kept.
struct PasswordFinding {
    std::int32_t key = 0;
    int subCategory = 0;
    QString title;
    QString label;
    double bits = 0;
    bool weak = false;
    int sharedWith = 0; // how many other records hold the same password
};
// Every weak password and every password or PIN another record shares, of the records this reader may see, by
// sub-category and title.
QVector<PasswordFinding> WeakOrReusedPasswords(Store& store);

// How Find searches the section's records and lists a hit.
find::SearchableSection Searchable();

} // namespace vault
