#include "budget/amounts.h"

#include <cstdlib>

namespace budget {

namespace {

// The value rounded to `decimals` (at most 4) as whole units and a fraction, half away from zero.
struct Rounded {
    bool negative;
    std::uint64_t whole;
    std::uint64_t fraction;
};

Rounded Round(Currency value, int decimals) {
    const bool negative = value.units < 0;
    std::uint64_t magnitude =
        negative ? 0 - static_cast<std::uint64_t>(value.units) : static_cast<std::uint64_t>(value.units);
    std::uint64_t step = 1;
    for (int i = decimals; i < 4; ++i) {
        step *= 10;
    }
    magnitude = (magnitude / step + (magnitude % step >= (step + 1) / 2 ? 1 : 0)) * step;
    std::uint64_t unitsPerWhole = static_cast<std::uint64_t>(Currency::kScale);
    return {negative && magnitude != 0, magnitude / unitsPerWhole, (magnitude % unitsPerWhole) / step};
}

QString Grouped(const QString& digits, const QString& separator) {
    QString text;
    for (qsizetype i = 0; i < digits.size(); ++i) {
        if (i > 0 && (digits.size() - i) % 3 == 0) {
            text += separator;
        }
        text += digits[i];
    }
    return text;
}

} // namespace

QString FormatAmount(Currency value, bool grouped, const QLocale& locale) {
    const Rounded r = Round(value, 2);
    const QString whole = QString::number(r.whole);
    QString text = grouped ? Grouped(whole, locale.groupSeparator()) : whole;
    text += locale.decimalPoint() + QStringLiteral("%1").arg(r.fraction, 2, 10, QLatin1Char('0'));
    return r.negative ? u'-' + text : text;
}

QString SortKeyAmount(Currency value) {
    const Rounded r = Round(value, 2);
    return QStringLiteral("%1%2.%3")
        .arg(r.negative ? QStringLiteral("-") : QString())
        .arg(r.whole, 8, 10, QLatin1Char('0'))
        .arg(r.fraction, 2, 10, QLatin1Char('0'));
}

QString PlainAmount(Currency value) {
    QString text = value.toText();
    const qsizetype point = text.indexOf(u'.');
    if (point < 0) {
        return text + QStringLiteral(".00");
    }
    while (text.size() - point - 1 < 2) {
        text += u'0';
    }
    return text;
}

std::optional<Currency> ParseAmount(const QString& text, const QLocale& locale) {
    QString t = text.trimmed();
    bool negative = false;
    if (t.startsWith(u'-')) {
        negative = true;
        t = t.mid(1).trimmed();
    }
    const QString decimal = locale.decimalPoint();
    const QString group = locale.groupSeparator();
    const qsizetype point = t.indexOf(decimal);
    QString whole = point < 0 ? t : t.left(point);
    QString fraction = point < 0 ? QString() : t.mid(point + decimal.size());
    if (!group.isEmpty() && group != decimal) {
        whole.remove(group);
    }
    if (whole.isEmpty() && fraction.isEmpty()) {
        return std::nullopt;
    }
    for (const QString& part : {whole, fraction}) {
        for (QChar c : part) {
            if (c < u'0' || c > u'9') {
                return std::nullopt;
            }
        }
    }
    // Round the fifth decimal and beyond away from zero, as currency conversion does.
    bool roundUp = fraction.size() > 4 && fraction[4] >= u'5';
    fraction = fraction.left(4);
    std::optional<Currency> value = Currency::FromText((whole.isEmpty() ? QStringLiteral("0") : whole) +
                                                       (fraction.isEmpty() ? QString() : u'.' + fraction));
    if (value && roundUp) {
        value = value->plus(Currency{1});
    }
    if (value && negative) {
        value = Currency{}.minus(*value);
    }
    return value;
}

QString CleanAmountText(const QString& text, const QLocale& locale) {
    const bool plain =
        !text.contains(u'e', Qt::CaseInsensitive) && !text.contains(u'-') && ParseAmount(text, locale).has_value();
    if (plain) {
        return text;
    }
    QString cleaned;
    for (QChar c : text) {
        if ((c >= u'0' && c <= u'9') || locale.decimalPoint().contains(c)) {
            cleaned += c;
        }
    }
    return cleaned;
}

} // namespace budget
