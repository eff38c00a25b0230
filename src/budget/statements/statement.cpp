#include "budget/statements/statement.h"

#include "budget/amounts.h"
#include "store/codepage.h"

#include <QStringDecoder>

namespace budget::statements {

namespace {

const QByteArray kByteOrderMark("\xEF\xBB\xBF");

QString WithoutCurrencySymbols(QString text) {
    while (!text.isEmpty() && text.front().category() == QChar::Symbol_Currency) {
        text = text.mid(1).trimmed();
    }
    while (!text.isEmpty() && text.back().category() == QChar::Symbol_Currency) {
        text.chop(1);
        text = text.trimmed();
    }
    return text;
}

} // namespace

void Statement::refuse(int line, const QString& reason) {
    ++refusedCount;
    if (refused.size() < kMaxReportedRefusals) {
        refused.append(Refusal{line, reason});
    }
}

bool Statement::roomForRow(int line) {
    if (rows.size() < kMaxRows) {
        return true;
    }
    refuse(line,
           QStringLiteral("the statement holds more than %1 bookings; the rest of the file is left out").arg(kMaxRows));
    return false;
}

TextEncoding DetectEncoding(const QByteArray& bytes) {
    if (bytes.startsWith(kByteOrderMark)) {
        return TextEncoding::Utf8;
    }
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = decoder(bytes);
    return decoder.hasError() ? TextEncoding::Windows1252 : TextEncoding::Utf8;
}

QString DecodeText(const QByteArray& bytes, TextEncoding encoding) {
    if (encoding == TextEncoding::Windows1252) {
        return codepage::Latin1252ToText(bytes);
    }
    return QString::fromUtf8(bytes.startsWith(kByteOrderMark) ? bytes.mid(kByteOrderMark.size()) : bytes);
}

QString Quoted(const QString& text) {
    constexpr qsizetype kShown = 40;
    QString shown = text.size() > kShown ? text.left(kShown) + QChar(0x2026) : text;
    shown.replace(u'\r', u' ').replace(u'\n', u' ');
    return u'"' + shown + u'"';
}

std::optional<Currency> ReadStatedAmount(const QString& text, QChar decimalMark, QString* reason) {
    const auto refuse = [&](const char* why) -> std::optional<Currency> {
        if (reason != nullptr) {
            *reason = QStringLiteral("the amount %1 %2").arg(Quoted(text.trimmed()), QLatin1String(why));
        }
        return std::nullopt;
    };
    QString t = WithoutCurrencySymbols(text.trimmed());
    if (t.isEmpty()) {
        return refuse("is empty");
    }
    bool negative = false;
    if (t.startsWith(u'-') || t.startsWith(u'+')) {
        negative = t.startsWith(u'-');
        t = WithoutCurrencySymbols(t.mid(1).trimmed());
    } else if (t.endsWith(u'-') || t.endsWith(u'+')) {
        // Some banks put the sign behind the number.
        negative = t.endsWith(u'-');
        t.chop(1);
        t = WithoutCurrencySymbols(t.trimmed());
    }
    t.remove(u' ');
    t.remove(QChar(0x00A0));
    t.remove(QChar(0x202F));
    const QChar group = decimalMark == u'.' ? u',' : u'.';
    if (t.isEmpty() || t.count(decimalMark) > 1) {
        return refuse("is not a number");
    }
    const qsizetype mark = t.indexOf(decimalMark);
    QString whole = mark < 0 ? t : t.left(mark);
    const QString fraction = mark < 0 ? QString() : t.mid(mark + 1);
    if (whole.contains(group)) {
        if (!GroupedDigits(whole, group)) {
            return refuse("is not a number");
        }
        whole.remove(group);
    }
    if (!AllDigits(whole) || !AllDigits(fraction) || (whole.isEmpty() && fraction.isEmpty())) {
        return refuse("is not a number");
    }
    if (fraction.size() > 4) {
        return refuse("has more than four decimals");
    }
    std::optional<Currency> value =
        Currency::FromText((whole.isEmpty() ? QStringLiteral("0") : whole) + u'.' + fraction);
    if (value && negative) {
        value = Currency{}.minus(*value);
    }
    if (!value) {
        return refuse("is too large");
    }
    return value;
}

} // namespace budget::statements
