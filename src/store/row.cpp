#include "store/row.h"

#include "store/random_source.h"

#include <limits>

namespace {

constexpr std::array<const char*, kColumnCount> kNames = {
    "fPK", "fEtx", "fSec", "fSub", "fR1", "fR2", "fR3", "fR4", "fR5", "fF1", "fF2",
    "fF3", "fT1",  "fT2",  "fT3",  "fT4", "fT5", "fD1", "fD2", "fG1", "AE",
};

// AE's default in the table.
constexpr std::int64_t kDefaultAE = 1;

sqlite::Error NotPrepared() {
    return sqlite::Error{sqlite::kErrGeneral, QStringLiteral("The record could not be prepared.")};
}

sqlite::Error NoSuchRow(std::int64_t fpk) {
    return sqlite::Error{sqlite::kErrGeneral, QStringLiteral("No record with key %1.").arg(fpk)};
}

// Writes the set columns of `row` to the row `fpk`. Column names come from our fixed list, values are bound, so
// the text depends only on which columns are set and the connection keeps one statement for each such set.
sqlite::Error WriteColumns(sqlite::Connection& db, std::int64_t fpk, const RowValues& row) {
    const bool orAE = row.aeBits() != 0 && !row.get(Col::AE);
    QByteArray sql("UPDATE tt SET ");
    const qsizetype start = sql.size();
    for (int c = 1; c < kColumnCount; ++c) {
        if (row.get(static_cast<Col>(c))) {
            sql.append(sql.size() > start ? "," : "").append(kNames[c]).append("=?");
        }
    }
    if (orAE) {
        sql.append(sql.size() > start ? "," : "").append("AE=AE|?");
    }
    if (sql.size() == start) {
        sqlite::Statement exists = db.cached("SELECT 1 FROM tt WHERE fPK=?");
        exists.bind(1, fpk);
        const bool found = exists.step();
        if (sqlite::Error e = exists.error()) {
            return e;
        }
        return found ? sqlite::Error{} : NoSuchRow(fpk);
    }
    sql.append(" WHERE fPK=?");
    sqlite::Statement update = db.cached(sql.constData());
    int i = 1;
    for (int c = 1; c < kColumnCount; ++c) {
        if (const auto& value = row.get(static_cast<Col>(c))) {
            update.bindVariant(i++, *value);
        }
    }
    if (orAE) {
        update.bind(i++, static_cast<std::int64_t>(row.aeBits()));
    }
    update.bind(i, fpk);
    update.step();
    if (sqlite::Error e = update.error()) {
        return e;
    }
    return db.changes() == 1 ? sqlite::Error{} : NoSuchRow(fpk);
}

// Inserts the row `fpk` with the set columns of `row`; the others take their defaults, as an insert of default
// values would give them, and the bits of AE are or-ed into its default.
sqlite::Error InsertColumns(sqlite::Connection& db, std::int64_t fpk, const RowValues& row) {
    const bool orAE = row.aeBits() != 0 && !row.get(Col::AE);
    QByteArray sql("INSERT INTO tt(fPK");
    QByteArray values("?");
    for (int c = 1; c < kColumnCount; ++c) {
        if (row.get(static_cast<Col>(c))) {
            sql.append(",").append(kNames[c]);
            values.append(",?");
        }
    }
    if (orAE) {
        sql.append(",AE");
        values.append(",?");
    }
    sql.append(") VALUES(").append(values).append(")");
    sqlite::Statement insert = db.cached(sql.constData());
    int i = 1;
    insert.bind(i++, fpk);
    for (int c = 1; c < kColumnCount; ++c) {
        if (const auto& value = row.get(static_cast<Col>(c))) {
            insert.bindVariant(i++, *value);
        }
    }
    if (orAE) {
        insert.bind(i, static_cast<std::int64_t>(kDefaultAE | row.aeBits()));
    }
    insert.step();
    return insert.error();
}

// The key the engine would give the next row: one past the largest, 1 in an empty table. Past the largest
// possible key the engine picks one at random; then nothing is foretold.
std::optional<std::int64_t> NextKey(sqlite::Connection& db, sqlite::Error& e) {
    sqlite::Statement last = db.cached("SELECT max(fPK) FROM tt");
    std::optional<std::int64_t> next;
    if (last.step()) {
        if (last.isNull(0)) {
            next = 1;
        } else if (const std::int64_t largest = last.int64(0); largest < std::numeric_limits<std::int64_t>::max()) {
            next = largest + 1;
        }
    }
    e = last.error();
    return next;
}

} // namespace

const char* ColumnName(Col column) {
    return kNames[static_cast<int>(column)];
}

std::optional<Col> ColumnOf(const QString& name) {
    for (int c = 0; c < kColumnCount; ++c) {
        if (name.compare(QLatin1String(kNames[c]), Qt::CaseInsensitive) == 0) {
            return static_cast<Col>(c);
        }
    }
    return std::nullopt;
}

Row Row::FromStatement(const sqlite::Statement& statement) {
    Row row;
    for (int i = 0; i < statement.columnCount(); ++i) {
        // Mostly the columns stand in table order, which spares the search by name.
        const QString name = statement.columnName(i);
        if (i < kColumnCount && name.compare(QLatin1String(kNames[i]), Qt::CaseInsensitive) == 0) {
            row.setValue(static_cast<Col>(i), statement.value(i));
        } else if (const auto column = ColumnOf(name)) {
            row.setValue(*column, statement.value(i));
        }
    }
    return row;
}

std::int64_t AddNewRow(sqlite::Connection& db, const std::function<bool(std::int64_t fpk, RowValues& row)>& fill,
                       sqlite::Error* error) {
    // Alone, the row gets a transaction of its own. Inside a caller's transaction that one already keeps a crash
    // from leaving half a row, while a savepoint would copy every page the row touches into its journal and cost
    // bulk writes more than the row itself; a row that cannot be finished is deleted instead.
    const bool outer = db.inTransaction();
    sqlite::Savepoint transaction(db);
    sqlite::Error e = outer ? sqlite::Error{} : transaction.begin();
    std::int64_t fpk = 0;
    // The key is known before the row is written, so the row goes in whole with one insert.
    const std::optional<std::int64_t> next = e ? std::nullopt : NextKey(db, e);
    if (next) {
        fpk = *next;
        RowValues row;
        e = fill(fpk, row) ? InsertColumns(db, fpk, row) : NotPrepared();
    } else if (!e) {
        sqlite::Statement insert = db.cached("INSERT INTO tt DEFAULT VALUES");
        insert.step();
        e = insert.error();
    }
    if (!e && !next) {
        fpk = db.lastInsertId();
        RowValues row;
        e = fill(fpk, row) ? WriteColumns(db, fpk, row) : NotPrepared();
        if (e && outer) {
            sqlite::Statement remove = db.cached("DELETE FROM tt WHERE fPK=?");
            remove.bind(1, fpk);
            remove.step();
        }
    }
    if (!e && !outer) {
        e = transaction.release();
    }
    if (error != nullptr) {
        *error = e;
    }
    return e ? 0 : fpk;
}

sqlite::Error ChangeRow(sqlite::Connection& db, std::int64_t fpk, const std::function<bool(RowValues& row)>& fill) {
    // The change is one statement, which the engine applies whole or not at all.
    RowValues row;
    return fill(row) ? WriteColumns(db, fpk, row) : NotPrepared();
}

std::optional<Row> ReadRow(sqlite::Connection& db, std::int64_t fpk, sqlite::Error* error) {
    sqlite::Statement select = db.cached("SELECT * FROM tt WHERE fPK=?");
    select.bind(1, fpk);
    std::optional<Row> row;
    if (select.step()) {
        row = Row::FromStatement(select);
    }
    if (error != nullptr) {
        *error = select.error();
    }
    return row;
}

std::int32_t RandomLong(RandomSource& random) {
    return static_cast<std::int32_t>(random.below(2147483648u));
}

void FillNoise(RowValues& row, RandomSource& random, const NoiseColumns& columns) {
    const std::pair<bool, Col> texts[] = {{columns.onT1, Col::fT1}, {columns.onT2, Col::fT2}, {columns.onT3, Col::fT3}};
    for (const auto& [on, column] : texts) {
        if (on) {
            QByteArray noise(8 * (static_cast<int>(random.below(3)) + 1), '\0');
            random.bytes(reinterpret_cast<std::uint8_t*>(noise.data()), static_cast<std::size_t>(noise.size()));
            row.set(column, noise);
        }
    }
    const std::pair<bool, Col> numbers[] = {
        {columns.onR1, Col::fR1}, {columns.onR2, Col::fR2}, {columns.onR3, Col::fR3}, {columns.onR4, Col::fR4}};
    for (const auto& [on, column] : numbers) {
        if (on) {
            row.set(column, RandomLong(random));
        }
    }
}
