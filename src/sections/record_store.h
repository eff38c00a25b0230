#pragma once

#include "base/result.h"
#include "store/cipher_workers.h"
#include "store/row.h"
#include "store/sqlite.h"

#include <QByteArray>
#include <QDate>
#include <QString>
#include <QVector>

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <optional>

class Store;

// The record pattern every section shares: read a row with the check that it is the section's own, write it
// in one transaction with its sealed title, coded columns and noise, and delete one, a category's or all.
namespace records {

constexpr int kCategoryRowSection = 10;
constexpr int kAllCategories = -1;

// What the store must know of a section's rows besides their fields.
struct RecordKind {
    int section = 0;
    // Columns the section leaves free; they get noise on every store so that a used one cannot be told apart.
    NoiseColumns freeColumns;
};

// The list entry of a row, sealed into fT1 under the row's key.
struct Title {
    QString text;
    bool isPrivate = false;
};

// A record ready for the file: the plain field blob, the title if the section lists one, and the section's
// coded columns, which may encipher with the row's key.
struct RecordData {
    QByteArray blob;
    std::optional<Title> title;
    std::function<bool(std::int32_t key, RowValues& row)> columns;
};

// The row `key` if it is one of `section`'s. Another section's row is refused with message 16; a missing row
// gives nothing and success.
std::optional<Row> LoadRow(Store& store, int section, std::int32_t key, Result* result = nullptr);

// The deciphered field blob of a row; empty when it does not decipher.
QByteArray RowBlob(Store& store, const Row& row);

// Writes the record: a new row for a key below 1 or a key that no longer exists, else the row itself, all in
// one transaction. Another section's row is refused with message 16 and left as it was. On success `key` is
// the row's key.
Result SaveRecord(Store& store, const RecordKind& kind, std::int32_t& key, const RecordData& data);

Result DeleteRecord(Store& store, int section, std::int32_t key);
// Runs a DELETE with its bound numbers, for a section's own selections.
Result Delete(Store& store, const char* sql, std::initializer_list<std::int64_t> values);
// The rows of one category, or with kAllCategories every row of the section and its category lists (of every
// user), in one transaction.
Result DeleteRecords(Store& store, int section, int category);

// A row of a section's list: its key, its title as this reader may see it, its category.
struct ListedTitle {
    std::int32_t key = 0;
    QString title;
    int category = 0;
};
// The titles of `section` in `category` (or all), in key order; rows whose title this reader may not see
// (private while hidden, another owner's) are left out.
QVector<ListedTitle> ListTitles(Store& store, int section, int category);

// Every row `select` yields, opened on all cores by `open` while the reading goes on, in reading order; a row
// `open` gives nothing for is left out.
template <typename T>
QVector<T> OpenRows(const CRY::SecureBytes& keyPool, sqlite::Statement& select,
                    const std::function<std::optional<T>(CRY& cry, const Row& row)>& open) {
    QVector<std::optional<T>> opened = cipher_workers::OpenWhileReading<Row, std::optional<T>>(
        keyPool,
        [&](Row& row) {
            if (!select.step()) {
                return false;
            }
            row = Row::FromStatement(select);
            return true;
        },
        open);
    QVector<T> kept;
    kept.reserve(opened.size());
    for (std::optional<T>& one : opened) {
        if (one) {
            kept.append(std::move(*one));
        }
    }
    return kept;
}

// Day numbers of plain date columns: days from the base (an OLE date) to `date`, or 0 when the count does not
// fit in 16 bits (or there is no date).
int DayNumber(const QDate& date, int base);
QDate DateOfDayNumber(int dayNumber, int base);
// The whole OLE date of a day.
int OleDay(const QDate& date);

} // namespace records
