#pragma once

#include "store/sqlite.h"

#include <QByteArray>
#include <QVariant>

#include <array>
#include <cstdint>
#include <functional>
#include <optional>

class RandomSource;

// The columns of the record table, in table order.
enum class Col {
    fPK,
    fEtx,
    fSec,
    fSub,
    fR1,
    fR2,
    fR3,
    fR4,
    fR5,
    fF1,
    fF2,
    fF3,
    fT1,
    fT2,
    fT3,
    fT4,
    fT5,
    fD1,
    fD2,
    fG1,
    AE,
};
constexpr int kColumnCount = 21;

const char* ColumnName(Col column);
// The column of a name, matched without regard to case.
std::optional<Col> ColumnOf(const QString& name);

// Values of some columns of a row, to be written. Unset columns keep what the row has.
// Byte columns take QByteArray (a null one writes NULL), numbers take integers or doubles.
class RowValues {
public:
    void set(Col column, const QVariant& value) { m_values[static_cast<int>(column)] = value; }
    const std::optional<QVariant>& get(Col column) const { return m_values[static_cast<int>(column)]; }
    // Sets state bits in AE on top of what the row has; bits are only ever set.
    void orAE(int bits) { m_aeBits |= bits; }
    int aeBits() const { return m_aeBits; }

private:
    std::array<std::optional<QVariant>, kColumnCount> m_values;
    int m_aeBits = 0;
};

// All columns of a stored row, as read.
class Row {
public:
    const QVariant& value(Col column) const { return m_values[static_cast<int>(column)]; }
    QByteArray bytes(Col column) const { return m_values[static_cast<int>(column)].toByteArray(); }
    std::int64_t integer(Col column) const { return m_values[static_cast<int>(column)].toLongLong(); }
    double real(Col column) const { return m_values[static_cast<int>(column)].toDouble(); }
    bool isNull(Col column) const { return !m_values[static_cast<int>(column)].isValid(); }
    void setValue(Col column, const QVariant& value) { m_values[static_cast<int>(column)] = value; }

    // The row at the statement's current step; columns are found by name, so any column order will do.
    static Row FromStatement(const sqlite::Statement& statement);

private:
    std::array<QVariant, kColumnCount> m_values;
};

// Makes a row: learns its new fPK, lets `fill` encipher with it, and writes everything in one transaction, so
// that no reader and no crash ever sees the row half written. `fill` returning false abandons the row.
// Returns the new fPK, or 0 with `error` set.
std::int64_t AddNewRow(sqlite::Connection& db, const std::function<bool(std::int64_t fpk, RowValues& row)>& fill,
                       sqlite::Error* error = nullptr);

// Changes the row `fpk` in one transaction. Fails with a general error when there is no such row.
sqlite::Error ChangeRow(sqlite::Connection& db, std::int64_t fpk, const std::function<bool(RowValues& row)>& fill);

// Reads the row `fpk`; absent when there is none.
std::optional<Row> ReadRow(sqlite::Connection& db, std::int64_t fpk, sqlite::Error* error = nullptr);

// A random number in 0..2147483647.
std::int32_t RandomLong(RandomSource& random);

// Fills the flagged columns with noise, so that a column in use cannot be told from one that is not:
// fT1..fT3 get 8, 16 or 24 random bytes, fR1..fR4 a RandomLong.
struct NoiseColumns {
    bool onT1 = false, onT2 = false, onT3 = false;
    bool onR1 = false, onR2 = false, onR3 = false, onR4 = false;
};
void FillNoise(RowValues& row, RandomSource& random, const NoiseColumns& columns);
