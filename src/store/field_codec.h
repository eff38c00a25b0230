#pragma once

#include <QByteArray>
#include <QVariant>
#include <QVector>

#include <cstdint>

// Type codes of the field blob.
namespace FieldType {
constexpr std::uint8_t Boolean = 1;
constexpr std::uint8_t Byte = 2;
constexpr std::uint8_t Int16 = 3;
constexpr std::uint8_t Int32 = 4;
constexpr std::uint8_t Currency = 5;
constexpr std::uint8_t Single = 6;
constexpr std::uint8_t Double = 7;
constexpr std::uint8_t AsDouble = 8;
constexpr std::uint8_t Text = 10;
constexpr std::uint8_t LongText = 12;
constexpr std::uint8_t Fraction = 22;
constexpr std::uint8_t DateTime = 25;
} // namespace FieldType

// The longest text an item holds; longer texts are cut.
constexpr int kMaxFieldText = 65000;
// The index byte that asks PutField for the headerless item.
constexpr int kHeaderlessIndex = 255;

// Values of a record by field index. An invalid QVariant is an unset slot; a QString, possibly empty, is a text.
using FieldValues = QVector<QVariant>;
