#pragma once

#include "store/currency.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>

#include <cstdint>

// The numeric conversions of the field format. They reproduce the arithmetic of the format exactly, including
// its odd corners (floating-point bit strings, truncated mantissas, unsigned currency on reading), because
// other readers and writers of the same files depend on those bytes.
namespace CONVERSION {

// n bytes, low byte first, of the two's complement of value.
QByteArray NumToBytes(std::int64_t value, int n);
// Two's complement in place on a little-endian number.
void NegateBytes(QByteArray& bytes);
// Signed little-endian bytes to a 32-bit number.
std::int32_t BytesToLong(QByteArray bytes);
// BytesToLong of at most four bytes; a longer text gives 0.
std::int32_t TextToLong(const QByteArray& text);

// Eight bytes, low byte first, of the value times 10000 through a 64-bit floating-point bit string.
QByteArray CurrencyToBytes(Currency value);
// Exactly eight bytes to a currency; the sign is not restored, so a negative amount reads as its magnitude.
Currency BytesToCurrency(QByteArray bytes);
Currency TextToCurrency(const QByteArray& text);

// n characters "0" and "1", most significant first, of a value taken in floating point.
QString NumberToBits(double value, int n);
// Two's complement of a bit string, in place.
void NegateBits(QString& bits);
// A bit string of a multiple of 8 characters to bytes; the first group becomes the last byte. Any other
// length gives "0".
QByteArray BitsToText(const QString& bits);
// Eight characters "0"/"1" to a byte; -1 when the length is not a multiple of 8.
int BitsToByte(const QString& bits);
QString ByteToBits(std::uint8_t byte);
// The bits of bytes, last byte first.
QString TextToBits(const QByteArray& bytes);

// IEEE bit string of 32 or 64 bits with a truncated mantissa; values below 1E-30, negatives among them, give zeros.
QString FloatToBits(double value, int bits);
// Four or eight bytes to a float, without a test for zero: all zero bytes give 2^-127 or 2^-1023.
double BytesToFloatText(const QByteArray& bytes);
// As BytesToFloatText, but all zero bytes give 0.
double TextToFloat(const QByteArray& bytes);

// Whole minutes from 20 March 1997 00:00; seconds are dropped, earlier moments are negative.
std::int64_t DateToMinutes(const QDateTime& date);
QDateTime MinutesToDate(std::int64_t minutes);

// OLE dates: days since 30 December 1899 as a double, the time as the fraction.
double DateToOle(const QDateTime& date);
QDateTime OleToDate(double ole);

} // namespace CONVERSION
