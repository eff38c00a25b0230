#include "budget/statements/csv_statement.h"

#include <QMap>

#include <algorithm>
#include <array>
#include <utility>

namespace budget::statements {

namespace {

constexpr int kMaxCells = 1000;
// Enough of a file's beginning to judge its dialect by.
constexpr int kSampleRecords = 60;

struct CsvRecord {
    int line = 0;
    QStringList cells;
    bool closed = true;   // false: a quoted cell ran to the end of the file
    bool tooWide = false; // cells beyond kMaxCells were dropped

    bool isBlank() const {
        return std::all_of(cells.begin(), cells.end(), [](const QString& c) { return c.trimmed().isEmpty(); });
    }
};

// Records of RFC 4180 text. A quoted cell may hold separators, doubled quotes and line breaks; text after its
// closing quote is kept, as spreadsheets do.
class CsvReader {
public:
    CsvReader(const QString& text, QChar separator)
        : m_text(text)
        , m_separator(separator) {}

    bool next(CsvRecord& record) {
        const qsizetype n = m_text.size();
        if (m_pos >= n) {
            return false;
        }
        record = CsvRecord{};
        record.line = m_line;
        for (;;) {
            QString cell;
            if (m_text[m_pos] == u'"') {
                ++m_pos;
                bool closed = false;
                while (m_pos < n) {
                    const QChar c = m_text[m_pos];
                    if (c == u'"') {
                        if (m_pos + 1 < n && m_text[m_pos + 1] == u'"') {
                            cell += u'"';
                            m_pos += 2;
                            continue;
                        }
                        ++m_pos;
                        closed = true;
                        break;
                    }
                    if (c == u'\r' && m_pos + 1 < n && m_text[m_pos + 1] == u'\n') {
                        ++m_pos;
                        continue;
                    }
                    if (c == u'\n' || c == u'\r') {
                        ++m_line;
                        cell += u'\n';
                    } else {
                        cell += c;
                    }
                    ++m_pos;
                }
                if (!closed) {
                    add(record, cell);
                    record.closed = false;
                    return true;
                }
            }
            const qsizetype start = m_pos;
            while (m_pos < n && m_text[m_pos] != m_separator && m_text[m_pos] != u'\n' && m_text[m_pos] != u'\r') {
                ++m_pos;
            }
            cell += QStringView(m_text).mid(start, m_pos - start);
            add(record, cell);
            if (m_pos >= n) {
                return true;
            }
            if (m_text[m_pos] == m_separator) {
                ++m_pos;
                continue;
            }
            if (m_text[m_pos] == u'\r' && m_pos + 1 < n && m_text[m_pos + 1] == u'\n') {
                ++m_pos;
            }
            ++m_pos;
            ++m_line;
            return true;
        }
    }

private:
    static void add(CsvRecord& record, const QString& cell) {
        if (record.cells.size() < kMaxCells) {
            record.cells.append(cell);
        } else {
            record.tooWide = true;
        }
    }

    const QString& m_text;
    QChar m_separator;
    qsizetype m_pos = 0;
    int m_line = 1;
};

// A date form of CsvDateFormats(): the order of its parts, their separator (none for the compact form) and the
// digits of its year.
struct DateForm {
    std::array<QChar, 3> order;
    QChar separator;
    int yearDigits = 4;
};

DateForm FormOf(const QString& pattern) {
    DateForm form;
    int part = 0;
    for (qsizetype i = 0; i < pattern.size() && part < 3;) {
        const QChar c = pattern[i];
        if (c != u'd' && c != u'M' && c != u'y') {
            form.separator = c;
            ++i;
            continue;
        }
        qsizetype run = 0;
        while (i + run < pattern.size() && pattern[i + run] == c) {
            ++run;
        }
        form.order[part++] = c;
        if (c == u'y') {
            form.yearDigits = static_cast<int>(run);
        }
        i += run;
    }
    return form;
}

int Number(QStringView digits, int minDigits, int maxDigits) {
    if (digits.size() < minDigits || digits.size() > maxDigits) {
        return -1;
    }
    int value = 0;
    for (QChar c : digits) {
        if (c < u'0' || c > u'9') {
            return -1;
        }
        value = value * 10 + (c.unicode() - u'0');
    }
    return value;
}

// The date of a cell in `pattern`; a time after the date is passed over, as the budget keeps days only. Two-digit
// years up to 69 are taken as 20xx, the others as 19xx.
QDate ReadDate(QStringView cell, const DateForm& form) {
    QStringView text = cell.trimmed();
    text = text.left(text.indexOf(u' ') < 0 ? text.size() : text.indexOf(u' '));
    if (text.size() > 10) {
        return {};
    }
    QList<QStringView> parts;
    if (form.separator.isNull()) {
        if (text.size() != 8) {
            return {};
        }
        parts = {text.mid(0, 4), text.mid(4, 2), text.mid(6, 2)};
    } else {
        parts = text.split(form.separator);
    }
    if (parts.size() != 3) {
        return {};
    }
    int day = -1;
    int month = -1;
    int year = -1;
    for (int i = 0; i < 3; ++i) {
        if (form.order[i] == u'd') {
            day = Number(parts[i], 1, 2);
        } else if (form.order[i] == u'M') {
            month = Number(parts[i], 1, 2);
        } else {
            year = Number(parts[i], form.yearDigits, form.yearDigits);
            if (form.yearDigits == 2 && year >= 0) {
                year += year < 70 ? 2000 : 1900;
            }
        }
    }
    if (day < 0 || month < 0 || year < 0) {
        return {};
    }
    return QDate(year, month, day);
}

QDate ReadDate(const QString& cell, const QString& pattern) {
    return ReadDate(cell, FormOf(pattern));
}

bool AnyDate(const QStringList& cells) {
    static const QVector<DateForm> forms = [] {
        QVector<DateForm> all;
        for (const QString& pattern : CsvDateFormats()) {
            all.append(FormOf(pattern));
        }
        return all;
    }();
    return std::any_of(cells.begin(), cells.end(), [&](const QString& cell) {
        return std::any_of(forms.begin(), forms.end(),
                           [&](const DateForm& form) { return ReadDate(cell, form).isValid(); });
    });
}

QVector<CsvRecord> Records(const QString& text, QChar separator, int limit) {
    QVector<CsvRecord> records;
    CsvReader reader(text, separator);
    CsvRecord record;
    while (records.size() < limit && reader.next(record)) {
        records.append(record);
    }
    return records;
}

// The candidate whose count outside quotes is the same on most of the first lines, the larger count on a tie.
QChar DetectSeparator(const QString& text) {
    constexpr int kLines = 30;
    const std::array<QChar, 3> candidates{u';', u'\t', u','};
    std::array<QVector<int>, 3> counts;
    for (auto& c : counts) {
        c.append(0);
    }
    bool quoted = false;
    for (qsizetype i = 0; i < text.size() && counts[0].size() <= kLines; ++i) {
        const QChar c = text[i];
        if (c == u'"') {
            quoted = !quoted;
        } else if (!quoted && c == u'\n') {
            for (auto& line : counts) {
                line.append(0);
            }
        } else if (!quoted) {
            for (size_t k = 0; k < candidates.size(); ++k) {
                if (c == candidates[k]) {
                    ++counts[k].back();
                }
            }
        }
    }
    QChar best = candidates[0];
    int bestLines = 0;
    int bestCount = 0;
    for (size_t k = 0; k < candidates.size(); ++k) {
        QMap<int, int> lines; // count -> lines having it
        for (int n : counts[k]) {
            if (n > 0) {
                ++lines[n];
            }
        }
        for (auto it = lines.begin(); it != lines.end(); ++it) {
            if (it.value() > bestLines || (it.value() == bestLines && it.key() > bestCount)) {
                best = candidates[k];
                bestLines = it.value();
                bestCount = it.key();
            }
        }
    }
    return best;
}

// The mark that separates decimals in the amount-like cells: the last of two kinds of marks, a single mark with
// one or two digits behind it, or the other one of a mark that repeats. Undecided: a comma in files separated by
// semicolons, a point otherwise.
QChar DetectDecimalMark(const QVector<CsvRecord>& rows, QChar separator) {
    int comma = 0;
    int point = 0;
    for (const CsvRecord& row : rows) {
        for (const QString& raw : row.cells) {
            if (AnyDate({raw})) {
                continue;
            }
            QString cell = raw.trimmed();
            cell.remove(u' ');
            if (cell.startsWith(u'-') || cell.startsWith(u'+')) {
                cell.remove(0, 1);
            }
            if (cell.isEmpty() || !std::all_of(cell.begin(), cell.end(), [](QChar c) {
                    return (c >= u'0' && c <= u'9') || c == u'.' || c == u',';
                })) {
                continue;
            }
            const qsizetype lastPoint = cell.lastIndexOf(u'.');
            const qsizetype lastComma = cell.lastIndexOf(u',');
            if (lastPoint >= 0 && lastComma >= 0) {
                (lastComma > lastPoint ? comma : point)++;
            } else if (lastPoint >= 0 || lastComma >= 0) {
                const QChar mark = lastPoint >= 0 ? u'.' : u',';
                const qsizetype at = std::max(lastPoint, lastComma);
                const qsizetype behind = cell.size() - at - 1;
                if (cell.count(mark) > 1) {
                    (mark == u'.' ? comma : point)++;
                } else if (behind == 1 || behind == 2) {
                    (mark == u'.' ? point : comma)++;
                }
            }
        }
    }
    if (comma != point) {
        return comma > point ? u',' : u'.';
    }
    return separator == u';' ? u',' : u'.';
}

// The form most date cells are read in. Day-and-month forms that read the same cells are told apart by the decimal
// mark: month first where the point is the decimal mark, as in the United States.
QString DetectDateFormat(const QVector<CsvRecord>& rows, QChar decimalMark) {
    QStringList formats = CsvDateFormats();
    if (decimalMark == u'.') {
        std::stable_partition(formats.begin(), formats.end(), [](const QString& f) { return f.startsWith(u'M'); });
    }
    QString best = formats.first();
    int bestCount = 0;
    for (const QString& format : formats) {
        int count = 0;
        for (const CsvRecord& row : rows) {
            for (const QString& cell : row.cells) {
                count += ReadDate(cell, format).isValid() ? 1 : 0;
            }
        }
        if (count > bestCount) {
            best = format;
            bestCount = count;
        }
    }
    return best;
}

QString Key(const QString& header) {
    QString key;
    for (QChar c : header.toCaseFolded()) {
        key += c.isLetter() ? c : u' ';
    }
    return key.simplified();
}

struct Field {
    int CsvMapping::*column;
    const char* key;
    std::initializer_list<const char*> names;
};

const std::array<Field, 7>& Fields() {
    static const std::array<Field, 7> fields{{
        {&CsvMapping::date,
         "date",
         {"date", "datum", "buchungstag", "buchungsdatum", "transaction date", "posting date", "booking date",
          "posted date", "valuta", "valutadatum", "wertstellung"}},
        {&CsvMapping::amount, "amount", {"amount", "betrag", "umsatz", "value"}},
        {&CsvMapping::credit,
         "credit",
         {"credit", "haben", "gutschrift", "deposit", "deposits", "paid in", "money in", "einnahme", "einnahmen",
          "eingang"}},
        {&CsvMapping::debit,
         "debit",
         {"debit", "soll", "lastschrift", "withdrawal", "withdrawals", "paid out", "money out", "ausgabe", "ausgaben",
          "ausgang"}},
        {&CsvMapping::partner,
         "partner",
         {"payee", "empfänger", "auftraggeber", "zahlungsempfänger", "beguenstigter zahlungspflichtiger",
          "begünstigter zahlungspflichtiger", "begünstigter", "zahlungspflichtiger", "name", "partner", "counterparty",
          "merchant", "beneficiary"}},
        {&CsvMapping::item,
         "item",
         {"verwendungszweck", "description", "purpose", "details", "transaction", "reference", "buchungstext",
          "booking text", "narrative", "particulars", "text"}},
        {&CsvMapping::note, "note", {"memo", "notiz", "note", "notes", "bemerkung", "comment", "kommentar", "info"}},
    }};
    return fields;
}

} // namespace

QStringList CsvDateFormats() {
    return {QStringLiteral("dd.MM.yyyy"), QStringLiteral("dd.MM.yy"),   QStringLiteral("dd/MM/yyyy"),
            QStringLiteral("dd/MM/yy"),   QStringLiteral("MM/dd/yyyy"), QStringLiteral("MM/dd/yy"),
            QStringLiteral("yyyy-MM-dd"), QStringLiteral("dd-MM-yyyy"), QStringLiteral("yyyy/MM/dd"),
            QStringLiteral("yyyyMMdd")};
}

CsvDialect DetectDialect(const QByteArray& bytes) {
    CsvDialect dialect;
    dialect.encoding = DetectEncoding(bytes);
    const QString text = DecodeText(bytes.left(kMaxStatementBytes), dialect.encoding);
    dialect.separator = DetectSeparator(text);
    const QVector<CsvRecord> records = Records(text, dialect.separator, kSampleRecords);

    // The table is the run of records of its most frequent width; what comes before it is preamble.
    QMap<qsizetype, int> widths;
    for (const CsvRecord& r : records) {
        if (r.cells.size() >= 2 && !r.isBlank()) {
            ++widths[r.cells.size()];
        }
    }
    qsizetype width = 1;
    int seen = 0;
    for (auto it = widths.begin(); it != widths.end(); ++it) {
        if (it.value() >= seen) {
            width = it.key();
            seen = it.value();
        }
    }
    int first = -1;
    int header = -1;
    int firstDated = -1;
    for (int i = 0; i < records.size(); ++i) {
        if (records[i].cells.size() != width || records[i].isBlank()) {
            continue;
        }
        first = first < 0 ? i : first;
        if (header < 0 && GuessMapping(records[i].cells).date >= 0) {
            header = i;
        }
        if (firstDated < 0 && AnyDate(records[i].cells)) {
            firstDated = i;
        }
    }
    if (header >= 0) {
        dialect.skipLines = header;
        dialect.hasHeader = true;
    } else if (firstDated >= 0) {
        const bool namedAbove = firstDated > 0 && records[firstDated - 1].cells.size() == width &&
                                !records[firstDated - 1].isBlank() && !AnyDate(records[firstDated - 1].cells);
        dialect.skipLines = namedAbove ? firstDated - 1 : firstDated;
        dialect.hasHeader = namedAbove;
    } else {
        dialect.skipLines = std::max(first, 0);
        dialect.hasHeader = true;
    }

    const QVector<CsvRecord> data = records.mid(dialect.skipLines + (dialect.hasHeader ? 1 : 0));
    dialect.decimalMark = DetectDecimalMark(data, dialect.separator);
    dialect.dateFormat = DetectDateFormat(data, dialect.decimalMark);
    return dialect;
}

bool CsvMapping::isComplete() const {
    return date >= 0 && (amount >= 0 || credit >= 0 || debit >= 0);
}

QString CsvMapping::toText() const {
    QStringList parts;
    for (const Field& field : Fields()) {
        if (this->*field.column >= 0) {
            parts.append(QStringLiteral("%1=%2").arg(QLatin1String(field.key)).arg(this->*field.column));
        }
    }
    return parts.join(u';');
}

std::optional<CsvMapping> CsvMapping::FromText(const QString& text) {
    CsvMapping mapping;
    if (text.isEmpty()) {
        return mapping;
    }
    for (const QString& part : text.split(u';')) {
        const QString key = part.section(u'=', 0, 0);
        bool ok = false;
        const int column = part.section(u'=', 1).toInt(&ok);
        const auto field =
            std::find_if(Fields().begin(), Fields().end(), [&](const Field& f) { return key == QLatin1String(f.key); });
        if (!ok || column < 0 || column >= kMaxCells || !part.contains(u'=') || field == Fields().end() ||
            mapping.*field->column >= 0) {
            return std::nullopt;
        }
        mapping.*field->column = column;
    }
    return mapping;
}

CsvMapping GuessMapping(const QStringList& header) {
    QStringList keys;
    for (const QString& cell : header) {
        keys.append(Key(cell));
    }
    CsvMapping mapping;
    QVector<bool> taken(keys.size(), false);
    const auto find = [&](const Field& field, bool prefix) {
        for (const char* name : field.names) {
            const QString wanted = QString::fromUtf8(name);
            for (int i = 0; i < keys.size(); ++i) {
                if (!taken[i] && (keys[i] == wanted || (prefix && keys[i].startsWith(wanted + u' ')))) {
                    return i;
                }
            }
        }
        return -1;
    };
    for (bool prefix : {false, true}) {
        for (const Field& field : Fields()) {
            const bool hasAmount = mapping.amount >= 0;
            if (mapping.*field.column >= 0 ||
                ((field.column == &CsvMapping::credit || field.column == &CsvMapping::debit) && hasAmount)) {
                continue;
            }
            const int column = find(field, prefix);
            if (column >= 0) {
                mapping.*field.column = column;
                taken[column] = true;
            }
        }
    }
    return mapping;
}

namespace {

// The reader placed on the table's first record: the preamble passed over.
CsvReader TableReader(const QString& text, const CsvDialect& dialect) {
    CsvReader reader(text, dialect.separator);
    CsvRecord record;
    for (int i = 0; i < dialect.skipLines && reader.next(record); ++i) {
    }
    return reader;
}

std::optional<Currency> Magnitude(Currency value) {
    return value.units < 0 ? Currency{}.minus(value) : std::optional<Currency>(value);
}

// The booking of one record, or why it cannot be read.
std::optional<StatementRow> ReadRecord(const CsvRecord& record, const CsvDialect& dialect, const CsvMapping& mapping,
                                       QString& reason) {
    const auto cell = [&](int column) {
        return column >= 0 && column < record.cells.size() ? record.cells[column] : QString();
    };
    const int needed = std::max(mapping.date, mapping.amount) + 1;
    if (record.cells.size() < needed) {
        reason = QStringLiteral("the row has %1 cells, but the date and amount need %2")
                     .arg(record.cells.size())
                     .arg(needed);
        return std::nullopt;
    }
    StatementRow row;
    row.line = record.line;
    row.date = ReadDate(cell(mapping.date), dialect.dateFormat);
    if (!row.date.isValid()) {
        reason = QStringLiteral("the date %1 is not a date in the form %2")
                     .arg(Quoted(cell(mapping.date)), dialect.dateFormat);
        return std::nullopt;
    }
    if (mapping.amount >= 0) {
        const std::optional<Currency> amount = ReadStatedAmount(cell(mapping.amount), dialect.decimalMark, &reason);
        if (!amount) {
            return std::nullopt;
        }
        row.amount = *amount;
    } else {
        const QString creditText = cell(mapping.credit).trimmed();
        const QString debitText = cell(mapping.debit).trimmed();
        if (creditText.isEmpty() && debitText.isEmpty()) {
            reason = QStringLiteral("the row has neither a credit nor a debit");
            return std::nullopt;
        }
        std::optional<Currency> credit = Currency{};
        std::optional<Currency> debit = Currency{};
        if (!creditText.isEmpty()) {
            credit = ReadStatedAmount(creditText, dialect.decimalMark, &reason);
            credit = credit ? Magnitude(*credit) : std::nullopt;
        }
        if (credit && !debitText.isEmpty()) {
            debit = ReadStatedAmount(debitText, dialect.decimalMark, &reason);
            debit = debit ? Magnitude(*debit) : std::nullopt;
        }
        if (!credit || !debit) {
            if (reason.isEmpty()) {
                reason = QStringLiteral("the amount is too large");
            }
            return std::nullopt;
        }
        if (credit->units != 0 && debit->units != 0) {
            reason = QStringLiteral("the row has both a credit %1 and a debit %2")
                         .arg(Quoted(creditText), Quoted(debitText));
            return std::nullopt;
        }
        row.amount = credit->units != 0 ? *credit : *Currency{}.minus(*debit);
    }
    row.item = cell(mapping.item).trimmed();
    row.partner = cell(mapping.partner).trimmed();
    row.note = cell(mapping.note).trimmed();
    return row;
}

} // namespace

QVector<QStringList> PreviewRows(const QByteArray& bytes, const CsvDialect& dialect, int n) {
    const QString text = DecodeText(bytes.left(kMaxStatementBytes), dialect.encoding);
    CsvReader reader = TableReader(text, dialect);
    QVector<QStringList> rows;
    CsvRecord record;
    while (rows.size() < n && reader.next(record)) {
        if (!record.isBlank()) {
            rows.append(record.cells);
        }
    }
    return rows;
}

QStringList HeaderCells(const QByteArray& bytes, const CsvDialect& dialect) {
    return dialect.hasHeader ? PreviewRows(bytes, dialect, 1).value(0) : QStringList();
}

Statement ReadCsvStatement(const QByteArray& bytes, const CsvDialect& dialect, const CsvMapping& mapping) {
    Statement statement;
    if (bytes.size() > kMaxStatementBytes) {
        statement.refuse(0, QStringLiteral("the file is larger than a statement can be (%1 MiB)")
                                .arg(kMaxStatementBytes / (1024 * 1024)));
        return statement;
    }
    if (!mapping.isComplete()) {
        statement.refuse(0, QStringLiteral("no column is chosen for the date and the amount"));
        return statement;
    }
    const QString text = DecodeText(bytes, dialect.encoding);
    CsvReader reader = TableReader(text, dialect);
    CsvRecord record;
    bool header = dialect.hasHeader;
    while (reader.next(record)) {
        if (record.isBlank()) {
            continue;
        }
        if (!record.closed) {
            statement.refuse(record.line, QStringLiteral("a quoted cell is not closed before the end of the file"));
            break;
        }
        if (std::exchange(header, false)) {
            continue;
        }
        if (record.tooWide) {
            statement.refuse(record.line, QStringLiteral("the row has more than %1 cells").arg(kMaxCells));
            continue;
        }
        if (!statement.roomForRow(record.line)) {
            break;
        }
        QString reason;
        if (std::optional<StatementRow> row = ReadRecord(record, dialect, mapping, reason)) {
            statement.rows.append(*row);
        } else {
            statement.refuse(record.line, reason);
        }
    }
    return statement;
}

} // namespace budget::statements
