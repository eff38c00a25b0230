#pragma once

#include "base/result.h"
#include "sections/find/record_search.h"
#include "sections/record_store.h"
#include "shell/section_table.h"

#include <QDateTime>
#include <QString>

#include <cstdint>
#include <optional>

class Store;

// A memo: a subject, a long text, a private mark, a category and two time stamps. The subject and the private
// mark are also sealed into the row's title, so the list is read without deciphering any blob.
namespace memos {

constexpr int kMemoSection = sections::Number(SectionId::Memos);

QString MemoDescriptor();
enum MemoField { Owner, Private, DateCreated, DateLastModified, Subject, Text };

struct Memo {
    std::int32_t key = -1;
    int owner = 0;
    bool isPrivate = false;
    QDateTime created;
    QDateTime modified;
    QString subject;
    QString text;
    int category = 0;
};

// The memo in hand of a new memo: both stamps `now`, the category in view ("All" files it as "Unfiled").
Memo NewMemo(int owner, int category, const QString& subject, const QDateTime& now);

QByteArray MemoBlob(const Memo& memo);
// The fields of a deciphered blob into `memo`; false, with `memo` untouched, for an empty blob.
bool DecodeMemoBlob(const QByteArray& blob, Memo& memo);

// The memo `key`; absent when there is none, it is not a memo (`result` says message 16) or it does not decode.
std::optional<Memo> LoadMemo(Store& store, std::int32_t key, Result* result = nullptr);

// Stores the memo: a new one gets its creation stamp, every store the modification stamp `now`.
Result StoreMemo(Store& store, Memo& memo, const QDateTime& now);

// The subjects of a category (or records::kAllCategories), private ones left out while hidden.
QVector<records::ListedTitle> ListMemos(Store& store, int category);

Result DeleteMemo(Store& store, std::int32_t key);
// A category's memos, or with records::kAllCategories every memo and the section's category rows.
Result DeleteMemos(Store& store, int category);

// How Find searches the section's records and lists a hit.
find::SearchableSection Searchable();

} // namespace memos
