#include "budget/statements/qif_statement.h"

#include <QRegularExpression>

namespace budget::statements {

namespace {

const QRegularExpression& YearFirst() {
    static const QRegularExpression re(QStringLiteral("^(\\d{4})-(\\d{1,2})-(\\d{1,2})$"));
    return re;
}

// Month or day first, a separator, the other, a separator and a year of four digits or up to two: "1/5/2024",
// "1/ 5'24" and "12/31' 9" (blanks removed before), "5.1.2024".
const QRegularExpression& YearLast() {
    static const QRegularExpression re(QStringLiteral("^(\\d{1,2})([/.-])(\\d{1,2})(['/.-])(\\d{4}|\\d{1,2})$"));
    return re;
}

QString Compact(QStringView text) {
    QString compact;
    for (QChar c : text) {
        if (!c.isSpace()) {
            compact += c;
        }
    }
    return compact;
}

QDate ReadQifDate(QStringView text, DayMonthOrder order) {
    const QString compact = Compact(text);
    if (const QRegularExpressionMatch m = YearFirst().match(compact); m.hasMatch()) {
        return QDate(m.captured(1).toInt(), m.captured(2).toInt(), m.captured(3).toInt());
    }
    const QRegularExpressionMatch m = YearLast().match(compact);
    if (!m.hasMatch()) {
        return {};
    }
    const int first = m.captured(1).toInt();
    const int second = m.captured(3).toInt();
    int year = m.captured(5).toInt();
    if (m.captured(5).size() <= 2) {
        // The apostrophe marks this century; two digits behind a slash are read with a pivot at 70.
        year += m.captured(4) == QLatin1String("'") || year < 70 ? 2000 : 1900;
    }
    const bool dayFirst = m.captured(2) == QLatin1String(".") || order == DayMonthOrder::DayFirst;
    return dayFirst ? QDate(year, second, first) : QDate(year, first, second);
}

bool IsBankSection(const QString& header) {
    static const QStringList kinds{QStringLiteral("bank"), QStringLiteral("cash"), QStringLiteral("ccard"),
                                   QStringLiteral("oth a"), QStringLiteral("oth l")};
    const QString h = header.toLower();
    return h.startsWith(QLatin1String("type:")) && kinds.contains(h.mid(5).simplified());
}

struct QifRecord {
    int line = 0;
    bool open = false;
    QString date;
    QString amount; // T, or U when there is no T
    bool hasAmount = false;
    bool amountFromT = false;
    QString payee;
    QString memo;
    QString number;
    QString category;
};

std::optional<StatementRow> Finish(const QifRecord& record, DayMonthOrder order, QString& reason) {
    if (record.date.isEmpty()) {
        reason = QStringLiteral("the record has no date");
        return std::nullopt;
    }
    StatementRow row;
    row.line = record.line;
    row.date = ReadQifDate(record.date, order);
    if (!row.date.isValid()) {
        reason = QStringLiteral("the date %1 is not a date in the form M/D/YYYY, M/D'YY, D.M.YYYY or YYYY-MM-DD")
                     .arg(Quoted(record.date));
        return std::nullopt;
    }
    if (!record.hasAmount) {
        reason = QStringLiteral("the record has no amount");
        return std::nullopt;
    }
    const std::optional<Currency> amount = ReadStatedAmount(record.amount, u'.', &reason);
    if (!amount) {
        return std::nullopt;
    }
    row.amount = *amount;
    row.partner = record.payee;
    row.note = record.memo;
    row.number = record.number;
    row.category = record.category;
    return row;
}

} // namespace

DayMonthOrder DetectQifDateOrder(const QByteArray& bytes) {
    const QString text = DecodeText(bytes.left(kMaxStatementBytes), DetectEncoding(bytes));
    bool dayFirst = false;
    bool monthFirst = false;
    for (QStringView line : QStringView(text).split(u'\n')) {
        if (!line.startsWith(u'D')) {
            continue;
        }
        const QRegularExpressionMatch m = YearLast().match(Compact(line.mid(1)));
        if (!m.hasMatch() || m.captured(2) == QLatin1String(".")) {
            continue;
        }
        const int first = m.captured(1).toInt();
        const int second = m.captured(3).toInt();
        dayFirst = dayFirst || (first > 12 && second <= 12);
        monthFirst = monthFirst || (second > 12 && first <= 12);
    }
    if (dayFirst == monthFirst) {
        return DayMonthOrder::Undecided;
    }
    return dayFirst ? DayMonthOrder::DayFirst : DayMonthOrder::MonthFirst;
}

Statement ReadQifStatement(const QByteArray& bytes, DayMonthOrder order) {
    Statement statement;
    if (bytes.size() > kMaxStatementBytes) {
        statement.refuse(0, QStringLiteral("the file is larger than a statement can be (%1 MiB)")
                                .arg(kMaxStatementBytes / (1024 * 1024)));
        return statement;
    }
    if (order == DayMonthOrder::Undecided) {
        order = DetectQifDateOrder(bytes);
    }
    if (order == DayMonthOrder::Undecided) {
        order = DayMonthOrder::MonthFirst;
    }
    const QString text = DecodeText(bytes, DetectEncoding(bytes));
    // A file without any header line is taken as one bank section.
    bool inBank = true;
    QifRecord record;
    int lineNumber = 0;
    bool full = false;
    for (QStringView raw : QStringView(text).split(u'\n')) {
        ++lineNumber;
        const QStringView line = raw.trimmed();
        if (line.isEmpty()) {
            continue;
        }
        if (line.startsWith(u'!')) {
            if (record.open) {
                statement.refuse(record.line, QStringLiteral("the record is not closed by ^ before the next section"));
                record = QifRecord{};
            }
            inBank = IsBankSection(line.mid(1).trimmed().toString());
            continue;
        }
        if (!inBank) {
            continue;
        }
        const QChar code = line.front();
        const QString value = line.mid(1).trimmed().toString();
        if (code == u'^') {
            if (record.open) {
                if (!statement.roomForRow(record.line)) {
                    full = true;
                    break;
                }
                QString reason;
                if (std::optional<StatementRow> row = Finish(record, order, reason)) {
                    statement.rows.append(*row);
                } else {
                    statement.refuse(record.line, reason);
                }
            }
            record = QifRecord{};
            continue;
        }
        if (!record.open) {
            record.open = true;
            record.line = lineNumber;
        }
        switch (code.unicode()) {
        case u'D':
            record.date = value;
            break;
        case u'T':
        case u'U':
            // T is the amount; newer files repeat it in U, which stands in when T is missing.
            if (code == u'T' || !record.amountFromT) {
                record.amount = value;
                record.hasAmount = true;
                record.amountFromT = code == u'T';
            }
            break;
        case u'P':
            record.payee = value;
            break;
        case u'M':
            record.memo = value;
            break;
        case u'N':
            record.number = value;
            break;
        case u'L':
            record.category = value;
            break;
        default:
            // Cleared marks, addresses and the parts of a split: the record's total stands for them.
            break;
        }
    }
    if (record.open && !full) {
        statement.refuse(record.line, QStringLiteral("the record is not closed by ^; the file may be cut short"));
    }
    return statement;
}

} // namespace budget::statements
