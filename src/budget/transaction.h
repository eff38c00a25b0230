#pragma once

#include "sections/find/record_search.h"
#include "sections/record_store.h"
#include "store/currency.h"

#include <QByteArray>
#include <QDate>
#include <QString>
#include <QVector>

#include <cstdint>
#include <optional>

class RandomSource;
class Row;
class Store;

// One credit or debit of a budget. What the list selects and sorts on (budget, category, day, kind and privacy
// bits) stands in plain columns; everything else is enciphered.
namespace budget {

// The blob's layout: index, name and type code of each field.
QString TransactionDescriptor();
enum TransactionField { Owner, Private, Description, BizPartner, DatePaid, Amount, DCWB, PayMode, Note };

// DCWB bits: debit in bit 0, private in bit 1.
constexpr int kDebitBit = 1;
constexpr int kPrivateBit = 2;

struct Transaction {
    std::int32_t key = -1;
    int owner = 0;
    bool isPrivate = false;
    QString description;
    QString partner;
    QString note;
    QDate datePaid;
    Currency amount;
    int dcwb = 0;
    int payMode = 0;
    bool noteFlag = false;
    bool spareFlag = false;
    int spareValue = 0;
    float exchangeRate = 1.0f;
    int category = 0;

    bool isDebit() const { return (dcwb & kDebitBit) != 0; }
    bool privateBit() const { return (dcwb & kPrivateBit) != 0; }
};

// A text of `t` longer than a record holds, and how much of it is kept.
struct CutText {
    QString field; // as the person knows it: "description", "business partner", "note"
    qsizetype kept = 0;
};
QVector<CutText> TextsTooLong(const Transaction& t);
// What the person is told before such texts are stored; empty when nothing is cut.
QString CutTextsNotice(const QVector<CutText>& cut);

// The record in hand of a new transaction: today, the user's owner byte, the category in view (0 when "All").
Transaction ClearTransaction(int owner, int category, const QDate& today);

// Day numbers of the Budget's plain date column.
constexpr int kBudgetDayBase = 32626;
inline int DayNumber(const QDate& date, int base = kBudgetDayBase) {
    return records::DayNumber(date, base);
}
inline QDate DateOfDayNumber(int dayNumber, int base = kBudgetDayBase) {
    return records::DateOfDayNumber(dayNumber, base);
}
using records::OleDay;

// fR2: noise in every bit but the low two, which carry DCWB.
std::int32_t CodedR2(int dcwb, RandomSource& random);

QByteArray TransactionBlob(const Transaction& t);
// The fields of a deciphered blob into `t`, leaving the row's own columns (key, category, flags) as they are;
// false, with `t` untouched, for an empty blob.
bool DecodeTransactionBlob(const QByteArray& blob, Transaction& t);
// Reads a row's record into `t`; false, with `t` untouched, when the row does not decipher or decode.
bool DecodeTransaction(Store& store, const Row& row, Transaction& t);
// The row `key`, decoded; absent when there is no such row, it is not a transaction (`result` says message 16)
// or it cannot be read.
std::optional<Transaction> LoadTransaction(Store& store, std::int32_t key, Result* result = nullptr);

// Writes `t` into budget `budget`: a new row for key -1 or a key that no longer exists, else the row itself.
// A key of another section's row is refused with message 16. On success `t.key` is the row's key.
Result StoreTransaction(Store& store, int budget, Transaction& t);

Result DeleteTransaction(Store& store, std::int32_t key);

// How Find searches the section's records and lists a hit.
find::SearchableSection Searchable();

} // namespace budget
