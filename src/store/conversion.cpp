#include "store/conversion.h"

#include <cmath>

namespace CONVERSION {
namespace {

double Pow2(int i) {
    return std::ldexp(1.0, i);
}

// The integer part of value / 2^i, as the bit loops test it; a vanishing power never yields a bit.
bool TakesBit(double value, int i) {
    const double power = Pow2(i);
    return power > 0 && std::floor(value / power) == 1.0;
}

const QDateTime& MinuteBase() {
    static const QDateTime base(QDate(1997, 3, 20), QTime(0, 0), Qt::UTC);
    return base;
}

const QDateTime& OleBase() {
    static const QDateTime base(QDate(1899, 12, 30), QTime(0, 0), Qt::UTC);
    return base;
}

// Dates carry wall-clock time without a zone; compare them as such.
QDateTime Naive(const QDateTime& date) {
    return QDateTime(date.date(), date.time(), Qt::UTC);
}

std::int64_t FloorDiv(std::int64_t a, std::int64_t b) {
    return a / b - ((a % b != 0) && ((a < 0) != (b < 0)));
}

} // namespace

QByteArray NumToBytes(std::int64_t value, int n) {
    std::uint64_t v = value < 0 ? 0 - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
    QByteArray bytes(n, '\0');
    for (int i = 0; i < n; ++i) {
        bytes[i] = static_cast<char>(v % 256);
        v /= 256;
    }
    if (value < 0) {
        NegateBytes(bytes);
    }
    return bytes;
}

void NegateBytes(QByteArray& bytes) {
    for (auto& b : bytes) {
        b = static_cast<char>(~static_cast<unsigned char>(b));
    }
    for (auto& b : bytes) {
        if (static_cast<unsigned char>(b) < 255) {
            b = static_cast<char>(static_cast<unsigned char>(b) + 1);
            return;
        }
        b = 0;
    }
}

std::int32_t BytesToLong(QByteArray bytes) {
    if (bytes.isEmpty()) {
        return 0;
    }
    std::int64_t sign = 1;
    if (static_cast<unsigned char>(bytes.back()) > 127) {
        NegateBytes(bytes);
        sign = -1;
    }
    std::uint64_t sum = 0;
    for (qsizetype i = bytes.size() - 1; i >= 0; --i) {
        sum = (sum << 8) | static_cast<unsigned char>(bytes[i]);
    }
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(sum) * static_cast<std::uint32_t>(sign));
}

std::int32_t TextToLong(const QByteArray& text) {
    return text.size() > 4 ? 0 : BytesToLong(text);
}

QString NumberToBits(double value, int n) {
    QString bits;
    bits.reserve(n);
    for (int i = n - 1; i >= 0; --i) {
        if (TakesBit(value, i)) {
            bits += u'1';
            value -= Pow2(i);
        } else {
            bits += u'0';
        }
    }
    return bits;
}

void NegateBits(QString& bits) {
    for (auto& c : bits) {
        c = c == u'1' ? u'0' : u'1';
    }
    for (qsizetype i = bits.size() - 1; i >= 0; --i) {
        if (bits[i] == u'1') {
            bits[i] = u'0';
        } else {
            bits[i] = u'1';
            return;
        }
    }
}

int BitsToByte(const QString& bits) {
    if (bits.size() % 8 != 0) {
        return -1;
    }
    int value = 0;
    for (qsizetype i = bits.size() - 8; i < bits.size(); ++i) {
        value = value * 2 + (bits[i] == u'1' ? 1 : 0);
    }
    return value;
}

QByteArray BitsToText(const QString& bits) {
    if (bits.size() % 8 != 0) {
        return QByteArrayLiteral("0");
    }
    const qsizetype n = bits.size() / 8;
    QByteArray bytes(n, '\0');
    for (qsizetype g = 0; g < n; ++g) {
        bytes[n - 1 - g] = static_cast<char>(BitsToByte(bits.mid(g * 8, 8)));
    }
    return bytes;
}

QString ByteToBits(std::uint8_t byte) {
    QString bits;
    for (int i = 7; i >= 0; --i) {
        bits += (byte >> i) & 1 ? u'1' : u'0';
    }
    return bits;
}

QString TextToBits(const QByteArray& bytes) {
    QString bits;
    bits.reserve(bytes.size() * 8);
    for (qsizetype i = bytes.size() - 1; i >= 0; --i) {
        bits += ByteToBits(static_cast<std::uint8_t>(bytes[i]));
    }
    return bits;
}

QByteArray CurrencyToBytes(Currency value) {
    const bool negative = value.units < 0;
    const std::uint64_t magnitude =
        negative ? 0 - static_cast<std::uint64_t>(value.units) : static_cast<std::uint64_t>(value.units);
    // The decimal text of the scaled value is read as a double, which is where amounts above 2^53 lose bits.
    QString bits = NumberToBits(static_cast<double>(magnitude), 64);
    if (negative) {
        NegateBits(bits);
    }
    return BitsToText(bits);
}

Currency BytesToCurrency(QByteArray bytes) {
    if (bytes.size() != 8) {
        return Currency{};
    }
    if (static_cast<unsigned char>(bytes.back()) > 127) {
        NegateBytes(bytes);
    }
    double sum = 0;
    for (int i = 0; i < 8; ++i) {
        sum += static_cast<unsigned char>(bytes[i]) * Pow2(8 * i);
    }
    // Only the most negative value has a magnitude of 2^63, which no currency holds; keep the largest instead.
    if (sum >= 9223372036854775808.0) {
        return Currency{std::numeric_limits<std::int64_t>::max()};
    }
    return Currency{static_cast<std::int64_t>(sum)};
}

Currency TextToCurrency(const QByteArray& text) {
    return BytesToCurrency(text);
}

QString FloatToBits(double value, int bits) {
    if (!std::isfinite(value) || value < 1E-30 || (bits != 32 && bits != 64)) {
        return QString(bits == 32 ? 32 : 64, u'0');
    }
    const int m = bits == 32 ? 23 : 52;
    const int bias = bits == 32 ? 127 : 1023;
    const int w = bits == 32 ? 8 : 11;
    const int e = static_cast<int>(std::floor(std::log(value) / std::log(2.0)));
    value -= Pow2(e);
    QString mantissa;
    mantissa.reserve(m);
    for (int i = e - 1; i >= e - m; --i) {
        if (TakesBit(value, i)) {
            mantissa += u'1';
            value -= Pow2(i);
        } else {
            mantissa += u'0';
        }
    }
    return u'0' + NumberToBits(bias + e, w) + mantissa;
}

double BytesToFloatText(const QByteArray& bytes) {
    if (bytes.size() != 4 && bytes.size() != 8) {
        return 0;
    }
    const bool narrow = bytes.size() == 4;
    const int m = narrow ? 23 : 52;
    const int bias = narrow ? 127 : 1023;
    const int w = narrow ? 8 : 11;
    const QString bits = TextToBits(bytes);
    const double sign = bits[0] == u'1' ? -1.0 : 1.0;
    int exponent = 0;
    for (int i = 1; i <= w; ++i) {
        exponent = exponent * 2 + (bits[i] == u'1' ? 1 : 0);
    }
    exponent -= bias;
    double value = Pow2(exponent);
    for (int j = 1; j <= m; ++j) {
        if (bits[w + j] == u'1') {
            value += Pow2(exponent - j);
        }
    }
    return value * sign;
}

double TextToFloat(const QByteArray& bytes) {
    for (char b : bytes) {
        if (b != 0) {
            return BytesToFloatText(bytes);
        }
    }
    return 0;
}

std::int64_t DateToMinutes(const QDateTime& date) {
    if (!date.isValid()) {
        return 0;
    }
    const std::int64_t secs = MinuteBase().secsTo(Naive(date));
    return FloorDiv(secs, 60);
}

QDateTime MinutesToDate(std::int64_t minutes) {
    return MinuteBase().addSecs(minutes * 60);
}

double DateToOle(const QDateTime& date) {
    const QDateTime naive = Naive(date);
    return static_cast<double>(OleBase().msecsTo(naive)) / 86400000.0;
}

QDateTime OleToDate(double ole) {
    if (!std::isfinite(ole) || std::fabs(ole) > 3e6) {
        return QDateTime();
    }
    return OleBase().addMSecs(static_cast<qint64>(std::llround(ole * 86400000.0)));
}

} // namespace CONVERSION
