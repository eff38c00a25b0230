#include "store/currency.h"

#include <cmath>
#include <limits>

std::optional<Currency> Currency::FromText(const QString& text) {
    QString t = text.trimmed();
    bool negative = false;
    if (t.startsWith(u'-') || t.startsWith(u'+')) {
        negative = t.startsWith(u'-');
        t.remove(0, 1);
    }
    const qsizetype point = t.indexOf(u'.');
    const QString whole = point < 0 ? t : t.left(point);
    QString fraction = point < 0 ? QString() : t.mid(point + 1);
    if ((whole.isEmpty() && fraction.isEmpty()) || fraction.size() > 4) {
        return std::nullopt;
    }
    for (const QString& part : {whole, fraction}) {
        for (QChar c : part) {
            if (c < u'0' || c > u'9') {
                return std::nullopt;
            }
        }
    }
    fraction = fraction.leftJustified(4, u'0');
    // Accumulate negatively so that the most negative value parses too.
    std::int64_t value = 0;
    for (QChar c : whole + fraction) {
        const int digit = c.unicode() - u'0';
        if (__builtin_mul_overflow(value, 10, &value) || __builtin_sub_overflow(value, digit, &value)) {
            return std::nullopt;
        }
    }
    if (!negative) {
        if (value == std::numeric_limits<std::int64_t>::min()) {
            return std::nullopt;
        }
        value = -value;
    }
    return Currency{value};
}

std::optional<Currency> Currency::FromDouble(double value) {
    const double scaled = std::nearbyint(value * kScale);
    // 2^63 is exactly representable; anything at or beyond it does not fit.
    if (!std::isfinite(scaled) || scaled >= 9223372036854775808.0 || scaled < -9223372036854775808.0) {
        return std::nullopt;
    }
    return Currency{static_cast<std::int64_t>(scaled)};
}

QString Currency::toText() const {
    const bool negative = units < 0;
    // Work on the unsigned magnitude so that the most negative value prints.
    const std::uint64_t magnitude =
        negative ? 0 - static_cast<std::uint64_t>(units) : static_cast<std::uint64_t>(units);
    QString text = QString::number(magnitude / kScale);
    const std::uint64_t fraction = magnitude % kScale;
    if (fraction != 0) {
        QString digits = QStringLiteral("%1").arg(fraction, 4, 10, QLatin1Char('0'));
        while (digits.endsWith(u'0')) {
            digits.chop(1);
        }
        text += u'.' + digits;
    }
    return negative ? u'-' + text : text;
}

std::optional<Currency> Currency::plus(Currency other) const {
    std::int64_t sum = 0;
    if (__builtin_add_overflow(units, other.units, &sum)) {
        return std::nullopt;
    }
    return Currency{sum};
}

std::optional<Currency> Currency::minus(Currency other) const {
    std::int64_t difference = 0;
    if (__builtin_sub_overflow(units, other.units, &difference)) {
        return std::nullopt;
    }
    return Currency{difference};
}
