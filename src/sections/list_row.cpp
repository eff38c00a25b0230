#include "sections/list_row.h"

#include "sections/record_store.h"
#include "store/conversion.h"
#include "store/store.h"

namespace list_rows {
namespace {

// Writes `plain` into the row `key`, or for key 0 into a new row of the kind.
int Write(Store& store, const Kind& kind, std::int64_t key, const QByteArray& plain, std::optional<int> budget) {
    const auto fill = [&](std::int64_t fpk, RowValues& row) {
        const QByteArray sealed = store.cry.Cipher(static_cast<std::int32_t>(fpk), 1, plain);
        if (sealed.isEmpty()) {
            return false;
        }
        row.set(Col::fEtx, sealed);
        row.set(Col::fR1, store.user.fPK);
        if (kind.category) {
            row.set(Col::fF1, 1);
        }
        FillNoise(row, store.random(),
                  {.onT1 = true, .onT2 = true, .onT3 = true, .onR2 = true, .onR3 = !kind.category, .onR4 = true});
        return true;
    };
    if (key > 0) {
        return ChangeRow(store.connection(), key,
                         [&](RowValues& row) {
                             row.orAE(2);
                             return fill(key, row);
                         })
            .number;
    }
    sqlite::Error error;
    AddNewRow(
        store.connection(),
        [&](std::int64_t fpk, RowValues& row) {
            row.set(Col::fSec, kind.fSec);
            row.set(Col::fSub, kind.fSub);
            if (kind.category) {
                // The low byte finds the budget's row again; the rest keeps the column looking random.
                const std::int64_t random = RandomLong(store.random());
                row.set(Col::fR3, static_cast<qlonglong>(budget ? (random / 256) * 256 + *budget : random));
            }
            row.set(Col::AE, 1);
            return fill(fpk, row);
        },
        &error);
    return error.number;
}

} // namespace

QByteArray Header(std::int32_t user, const Kind& kind) {
    return CONVERSION::NumToBytes(user, 4) + QByteArray(1, static_cast<char>(static_cast<std::uint8_t>(kind.fSub)));
}

std::optional<Row> Find(Store& store, const Kind& kind, std::optional<int> budget, sqlite::Error* error) {
    sqlite::Statement select = store.connection().prepare(
        budget ? "SELECT * FROM tt WHERE fSec=? AND fSub=? AND fR1=? AND (fR3 % 256)=? ORDER BY fPK LIMIT 1"
               : "SELECT * FROM tt WHERE fSec=? AND fSub=? AND fR1=? ORDER BY fPK LIMIT 1");
    select.bind(1, static_cast<std::int64_t>(kind.fSec))
        .bind(2, static_cast<std::int64_t>(kind.fSub))
        .bind(3, static_cast<std::int64_t>(store.user.fPK));
    if (budget) {
        select.bind(4, static_cast<std::int64_t>(*budget));
    }
    std::optional<Row> row;
    if (select.step()) {
        row = Row::FromStatement(select);
    }
    if (error != nullptr) {
        *error = select.error();
    }
    return row;
}

std::optional<QByteArray> Open(Store& store, const Kind& kind, const Row& row) {
    QByteArray plain = records::RowBlob(store, row);
    return plain.startsWith(Header(store.user.fPK, kind)) ? std::optional(std::move(plain)) : std::nullopt;
}

int Save(Store& store, const Kind& kind, const QByteArray& plain, std::optional<int> budget) {
    sqlite::Error error;
    const std::optional<Row> row = Find(store, kind, budget, &error);
    return error ? error.number : Write(store, kind, row ? row->integer(Col::fPK) : 0, plain, budget);
}

int Replace(Store& store, const Kind& kind, const QByteArray& plain) {
    sqlite::Savepoint transaction(store.connection());
    if (sqlite::Error e = transaction.begin()) {
        return e.number;
    }
    sqlite::Statement remove = store.connection().prepare("DELETE FROM tt WHERE fSec=? AND fSub=? AND fR1=?");
    remove.bind(1, static_cast<std::int64_t>(kind.fSec))
        .bind(2, static_cast<std::int64_t>(kind.fSub))
        .bind(3, static_cast<std::int64_t>(store.user.fPK));
    remove.step();
    if (sqlite::Error e = remove.error()) {
        return e.number;
    }
    const int e = Write(store, kind, 0, plain, std::nullopt);
    return e != 0 ? e : transaction.release().number;
}

} // namespace list_rows
