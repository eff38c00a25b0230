#include "budget/amounts.h"

#include <algorithm>
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

QString EditableAmount(Currency value, const QLocale& locale) {
    const QString exact = value.toText();
    const qsizetype point = exact.indexOf(u'.');
    const qsizetype decimals = point < 0 ? 0 : exact.size() - point - 1;
    if (decimals <= 2) {
        return FormatAmount(value, true, locale);
    }
    const bool negative = exact.startsWith(u'-');
    const QString whole = exact.mid(negative ? 1 : 0, point - (negative ? 1 : 0));
    const QString text = Grouped(whole, locale.groupSeparator()) + locale.decimalPoint() + exact.mid(point + 1);
    return negative ? u'-' + text : text;
}

bool AllDigits(QStringView text) {
    for (QChar c : text) {
        if (c < u'0' || c > u'9') {
            return false;
        }
    }
    return true;
}

bool GroupedDigits(const QString& text, QChar mark) {
    const QStringList groups = text.split(mark);
    for (qsizetype i = 0; i < groups.size(); ++i) {
        const qsizetype n = groups[i].size();
        if (!AllDigits(groups[i]) || (i == 0 ? n < 1 || n > 3 : n != 3)) {
            return false;
        }
    }
    return true;
}

namespace {

AmountReading Refused(const QString& why) {
    return AmountReading{std::nullopt, why};
}

} // namespace

AmountReading ReadAmount(const QString& text, const QLocale& locale) {
    QString t = text.trimmed();
    bool negative = false;
    if (t.startsWith(u'-')) {
        negative = true;
        t = t.mid(1).trimmed();
    }
    // Blanks and a group separator that is no point or comma cannot be decimal marks.
    const QString group = locale.groupSeparator();
    if (group != QLatin1String(".") && group != QLatin1String(",")) {
        t.remove(group);
    }
    t.remove(u' ');
    t.remove(QChar(0x00A0));
    t.remove(QChar(0x202F));
    const QString asTyped = QStringLiteral("\"%1\"").arg(text.trimmed());
    if (t.isEmpty()) {
        return Refused(QStringLiteral("Please type an amount."));
    }
    const qsizetype lastPoint = t.lastIndexOf(u'.');
    const qsizetype lastComma = t.lastIndexOf(u',');
    const qsizetype mark = std::max(lastPoint, lastComma);
    QString whole = t;
    QString fraction;
    if (mark >= 0) {
        const QChar decimal = t[mark];
        const QChar other = decimal == u'.' ? u',' : u'.';
        const bool bothKinds = lastPoint >= 0 && lastComma >= 0;
        const qsizetype behind = t.size() - mark - 1;
        const qsizetype marks = t.count(decimal);
        if (bothKinds) {
            // The last mark is the decimal one, the other kind only groups the digits before it.
            whole = t.left(mark);
            fraction = t.mid(mark + 1);
            if (marks != 1 || !GroupedDigits(whole, other)) {
                return Refused(QStringLiteral("%1 is no amount that can be read.").arg(asTyped));
            }
            whole.remove(other);
        } else if (marks > 1) {
            // Several marks of one kind only group digits: a whole amount.
            if (!GroupedDigits(t, decimal)) {
                return Refused(QStringLiteral("%1 is no amount that can be read.").arg(asTyped));
            }
            whole = t;
            whole.remove(decimal);
        } else {
            whole = t.left(mark);
            fraction = t.mid(mark + 1);
            if (behind == 3 && whole.size() >= 1 && whole.size() <= 3 && !whole.startsWith(u'0') && AllDigits(whole) &&
                AllDigits(fraction)) {
                const std::optional<Currency> grouped = Currency::FromText(whole + fraction);
                const std::optional<Currency> decimalReading = Currency::FromText(whole + u'.' + fraction);
                return Refused(QStringLiteral("%1 can be read as %2 or as %3. Please type it without the separator "
                                              "for thousands, or with two decimals.")
                                   .arg(asTyped, FormatAmount(grouped.value_or(Currency{}), true, locale),
                                        EditableAmount(decimalReading.value_or(Currency{}), locale)));
            }
        }
    }
    if (!AllDigits(whole) || !AllDigits(fraction) || (whole.isEmpty() && fraction.isEmpty())) {
        return Refused(QStringLiteral("%1 is no amount that can be read.").arg(asTyped));
    }
    if (fraction.size() > 4) {
        return Refused(
            QStringLiteral("%1 has more than four decimals; amounts are kept to four decimals exactly.").arg(asTyped));
    }
    std::optional<Currency> value = Currency::FromText((whole.isEmpty() ? QStringLiteral("0") : whole) +
                                                       (fraction.isEmpty() ? QString() : u'.' + fraction));
    if (value && negative) {
        value = Currency{}.minus(*value);
    }
    if (!value) {
        return Refused(QStringLiteral("%1 is larger than an amount can be.").arg(asTyped));
    }
    return AmountReading{value, QString()};
}

std::optional<Currency> ParseAmount(const QString& text, const QLocale& locale) {
    return ReadAmount(text, locale).value;
}

QString CleanAmountText(const QString& text, const QLocale& locale) {
    const bool plain =
        !text.contains(u'e', Qt::CaseInsensitive) && !text.contains(u'-') && ParseAmount(text, locale).has_value();
    if (plain) {
        return text;
    }
    QString cleaned;
    for (QChar c : text) {
        if ((c >= u'0' && c <= u'9') || c == u'.' || c == u',' || locale.decimalPoint().contains(c)) {
            cleaned += c;
        }
    }
    return cleaned;
}

} // namespace budget
