#pragma once

#include "store/row.h"

#include <QByteArray>

#include <cstdint>
#include <optional>

class Store;

// The enciphered list rows: one row per user and kind holds a whole list (the budgets, the payment modes, the
// categories of a section). Its text starts with the owner's id and the kind's byte, so that a row moved to
// another user or kind reads as nothing; what follows is the kind's own format.
namespace list_rows {

constexpr int kHeaderBytes = 5;

struct Kind {
    int fSec = 0;
    // Also the kind's byte in the text.
    int fSub = 0;
    // Category rows mark the current text format in fF1 and keep fR3, drawn when the row is made, whose low byte
    // tells the lists of budgets apart. Elsewhere fR3 is noise like the other free columns.
    bool category = false;
};

// The owner's id, low byte first, and the kind's byte.
QByteArray Header(std::int32_t user, const Kind& kind);

// The user's first row of the kind; with `budget`, the first whose fR3 holds it in its low byte.
std::optional<Row> Find(Store& store, const Kind& kind, std::optional<int> budget = std::nullopt,
                        sqlite::Error* error = nullptr);

// The deciphered text of `row` when it is the user's and of the kind; nothing otherwise.
std::optional<QByteArray> Open(Store& store, const Kind& kind, const Row& row);

// Enciphers `plain` into the row Find gives, or into a new row. Returns 0 or the engine's error number.
int Save(Store& store, const Kind& kind, const QByteArray& plain, std::optional<int> budget = std::nullopt);

// Deletes every row of the kind of the user and makes one holding `plain`, all or nothing.
int Replace(Store& store, const Kind& kind, const QByteArray& plain);

} // namespace list_rows
