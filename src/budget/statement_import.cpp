#include "budget/statement_import.h"

#include "base/result.h"
#include "budget/budget_lists.h"
#include "budget/totals.h"
#include "budget/transaction.h"
#include "sections/list_row.h"
#include "store/codepage.h"
#include "store/sqlite.h"
#include "store/store.h"

#include <QCryptographicHash>
#include <QMap>
#include <QSet>

#include <algorithm>
#include <limits>

namespace budget::statements {
namespace {

constexpr char kSeparator = '\xFF';
constexpr int kFixedBytes = 5; // the budget, then the category low byte first
// Beside the user field labels (11) and the budget names (17) among the user's lists.
constexpr list_rows::Kind kRuleRows{.fSec = kBudgetListSection, .fSub = 18};
constexpr int kDayRange = 32767;
const QString kBankIdLead = QStringLiteral("Bank id: ");

// Date, signed amount and item, compared case-blind: what makes two bookings the same.
QString SameBookingKey(const QDate& date, std::int64_t signedUnits, const QString& item) {
    return date.toString(Qt::ISODate) + QChar(0x1F) + QString::number(signedUnits) + QChar(0x1F) +
           item.trimmed().toCaseFolded();
}

Transaction TransactionOf(const Store& store, const PlannedRow& planned) {
    const StatementRow& row = planned.row;
    const bool debit = row.amount.units < 0;
    Transaction t = ClearTransaction(store.user.level, planned.category, row.date);
    t.description = BookingItem(row);
    t.partner = row.partner.trimmed();
    t.note = row.note.trimmed();
    if (!row.bankId.isEmpty()) {
        t.note += (t.note.isEmpty() ? QString() : QStringLiteral("\n")) + BankIdLine(row.bankId);
    }
    t.noteFlag = !t.note.isEmpty();
    t.amount = Currency::FromUnits(debit ? -row.amount.units : row.amount.units);
    t.dcwb = debit ? kDebitBit : 0;
    return t;
}

QString LineReason(int line, const QString& reason) {
    return line > 0 ? QStringLiteral("line %1: %2").arg(line).arg(reason) : reason;
}

} // namespace

QString BookingItem(const StatementRow& row) {
    const QString item = row.item.trimmed();
    return item.isEmpty() ? row.partner.trimmed() : item;
}

QByteArray RulesText(std::int32_t user, const CategoryRules& rules) {
    QList<QByteArray> elements;
    for (const CategoryRule& rule : rules) {
        QByteArray element(kFixedBytes, '\0');
        element[0] = static_cast<char>(rule.budget);
        for (int i = 0; i < 4; ++i) {
            element[1 + i] = static_cast<char>(static_cast<std::uint32_t>(rule.category) >> (8 * i));
        }
        elements << element + codepage::ToBytes(rule.text);
    }
    return list_rows::Header(user, kRuleRows) + elements.join(kSeparator);
}

std::optional<CategoryRules> ParseRules(std::int32_t user, const QByteArray& plain) {
    const QByteArray header = list_rows::Header(user, kRuleRows);
    if (!plain.startsWith(header)) {
        return std::nullopt;
    }
    CategoryRules rules;
    qsizetype at = header.size();
    while (at < plain.size()) {
        // The fixed bytes are taken by their width, so that a category id holding the separator reads right.
        if (plain.size() - at < kFixedBytes) {
            return std::nullopt;
        }
        CategoryRule rule;
        rule.budget = static_cast<unsigned char>(plain[at]);
        std::uint32_t category = 0;
        for (int i = 0; i < 4; ++i) {
            category |= static_cast<std::uint32_t>(static_cast<unsigned char>(plain[at + 1 + i])) << (8 * i);
        }
        rule.category = static_cast<std::int32_t>(category);
        at += kFixedBytes;
        qsizetype end = plain.indexOf(kSeparator, at);
        if (end < 0) {
            end = plain.size();
        }
        rule.text = codepage::FromBytes(plain.mid(at, end - at));
        rules.append(rule);
        at = end + 1;
    }
    return rules;
}

std::optional<CategoryRules> LoadRules(Store& store) {
    sqlite::Error error;
    const std::optional<Row> row = list_rows::Find(store, kRuleRows, std::nullopt, &error);
    if (!row) {
        return error ? std::nullopt : std::optional<CategoryRules>(CategoryRules{});
    }
    const std::optional<QByteArray> plain = list_rows::Open(store, kRuleRows, *row);
    return plain ? ParseRules(store.user.fPK, *plain) : std::nullopt;
}

int SaveRules(Store& store, const CategoryRules& rules) {
    return list_rows::Save(store, kRuleRows, RulesText(store.user.fPK, rules));
}

bool RuleTextFits(const QString& text) {
    return !text.trimmed().isEmpty() && !codepage::ToBytes(text).contains(kSeparator);
}

int CategoryOf(const CategoryRules& rules, int budget, const QVector<int>& categories, const StatementRow& row) {
    for (const CategoryRule& rule : rules) {
        if (rule.budget == budget && !rule.text.isEmpty() &&
            (row.item.contains(rule.text, Qt::CaseInsensitive) ||
             row.partner.contains(rule.text, Qt::CaseInsensitive))) {
            return categories.contains(rule.category) ? rule.category : 0;
        }
    }
    return 0;
}

QString BankIdLine(const QString& bankId) {
    return kBankIdLead + bankId;
}

QString BankIdIn(const QString& note) {
    const qsizetype at = note.lastIndexOf(kBankIdLead);
    if (at < 0 || (at > 0 && note[at - 1] != u'\n')) {
        return {};
    }
    const QString rest = note.mid(at + kBankIdLead.size());
    return rest.contains(u'\n') ? QString() : rest;
}

ImportPlan PlanImport(Store& store, int budget, const Statement& statement, const CategoryRules& rules,
                      const QVector<int>& categories) {
    ImportPlan plan;
    plan.budget = budget;
    plan.unread = statement.refused;
    plan.unreadCount = statement.refusedCount;
    if (statement.rows.isEmpty()) {
        return plan;
    }
    const QDate firstDay = DateOfDayNumber(-kDayRange);
    const QDate lastDay = DateOfDayNumber(kDayRange);
    const auto [first, last] =
        std::minmax_element(statement.rows.begin(), statement.rows.end(),
                            [](const StatementRow& a, const StatementRow& b) { return a.date < b.date; });
    QSet<QString> stored;
    QSet<QString> storedIds;
    {
        const QVector<SealedRow> rows = ReadBalanceRows(
            store, {budget, std::clamp(first->date, firstDay, lastDay), std::clamp(last->date, firstDay, lastDay), -1});
        for (const Transaction& t : DecodeTransactions(store.cry.KeyPool(), rows)) {
            stored.insert(SameBookingKey(t.datePaid, t.isDebit() ? -t.amount.units : t.amount.units, t.description));
            if (const QString id = BankIdIn(t.note); !id.isEmpty()) {
                storedIds.insert(id);
            }
        }
    }
    QSet<QString> earlier;
    QSet<QString> earlierIds;
    for (const StatementRow& row : statement.rows) {
        PlannedRow planned;
        planned.row = row;
        planned.category = CategoryOf(rules, budget, categories, row);
        const QString key = SameBookingKey(row.date, row.amount.units, BookingItem(row));
        const QVector<CutText> cut = TextsTooLong(TransactionOf(store, planned));
        if (row.date < firstDay || row.date > lastDay) {
            // The list finds a transaction by its day's number, which only reaches so far.
            planned.state = RowState::Refused;
            planned.reason =
                QStringLiteral("the date %1 is outside the years a budget holds").arg(row.date.toString(Qt::ISODate));
        } else if (row.amount.units == std::numeric_limits<std::int64_t>::min()) {
            planned.state = RowState::Refused;
            planned.reason = QStringLiteral("the amount is out of range");
        } else if (!cut.isEmpty()) {
            planned.state = RowState::Refused;
            planned.reason = QStringLiteral("the %1 is longer than a transaction holds (%2 characters)")
                                 .arg(cut.first().field)
                                 .arg(cut.first().kept);
        } else if (!row.bankId.isEmpty()) {
            if (storedIds.contains(row.bankId) || earlierIds.contains(row.bankId) || stored.contains(key)) {
                planned.state = RowState::Duplicate;
            }
            earlierIds.insert(row.bankId);
        } else if (stored.contains(key) || earlier.contains(key)) {
            planned.state = RowState::Duplicate;
        }
        earlier.insert(key);
        planned.take = planned.state == RowState::New;
        plan.rows.append(planned);
    }
    return plan;
}

ImportResult CommitImport(Store& store, const ImportPlan& plan, int payMode,
                          const std::function<bool(int done, int total)>& progress) {
    ImportResult result;
    result.refused = plan.unreadCount;
    for (const Refusal& refusal : plan.unread) {
        result.reasons << LineReason(refusal.line, refusal.reason);
    }
    int total = 0;
    for (const PlannedRow& planned : plan.rows) {
        if (planned.state == RowState::Refused) {
            ++result.refused;
            result.reasons << LineReason(planned.row.line, planned.reason);
        } else if (planned.take) {
            ++total;
        } else if (planned.state == RowState::Duplicate) {
            ++result.duplicates;
        } else {
            ++result.unticked;
        }
    }
    // One savepoint around every row: the file keeps either the whole import or none of it.
    sqlite::Savepoint all(store.connection());
    if (const sqlite::Error e = all.begin()) {
        result.failure = QStringLiteral("The file could not be written (error %1).").arg(e.number);
        return result;
    }
    int done = 0;
    for (const PlannedRow& planned : plan.rows) {
        if (planned.state == RowState::Refused || !planned.take) {
            continue;
        }
        Transaction t = TransactionOf(store, planned);
        t.payMode = payMode;
        if (const Result r = StoreTransaction(store, plan.budget, t); !r.ok()) {
            result.failure = LineReason(planned.row.line, r.text());
            return result;
        }
        ++done;
        if (!result.lastDate.isValid() || t.datePaid >= result.lastDate) {
            result.lastDate = t.datePaid;
            result.lastKey = t.key;
        }
        if (progress && !progress(done, total)) {
            result.cancelled = true;
            return result;
        }
    }
    if (const sqlite::Error e = all.release()) {
        result.failure = QStringLiteral("The file could not be written (error %1).").arg(e.number);
        return result;
    }
    result.added = done;
    store.NeedRequery = true;
    return result;
}

QString CsvLayoutText(const CsvLayout& layout) {
    const CsvDialect& d = layout.dialect;
    return QStringLiteral("separator=%1;encoding=%2;decimal=%3;skip=%4;header=%5;date=%6|%7")
        .arg(d.separator.unicode())
        .arg(d.encoding == TextEncoding::Utf8 ? 8 : 1252)
        .arg(d.decimalMark.unicode())
        .arg(d.skipLines)
        .arg(d.hasHeader ? 1 : 0)
        .arg(d.dateFormat, layout.mapping.toText());
}

std::optional<CsvLayout> ParseCsvLayout(const QString& text) {
    const qsizetype bar = text.indexOf(u'|');
    if (bar < 0) {
        return std::nullopt;
    }
    const std::optional<CsvMapping> mapping = CsvMapping::FromText(text.mid(bar + 1));
    if (!mapping) {
        return std::nullopt;
    }
    CsvLayout layout;
    layout.mapping = *mapping;
    QMap<QString, QString> values;
    for (const QString& pair : text.left(bar).split(u';')) {
        const qsizetype eq = pair.indexOf(u'=');
        if (eq > 0) {
            values.insert(pair.left(eq), pair.mid(eq + 1));
        }
    }
    const QChar separator(values.value(QStringLiteral("separator")).toUShort());
    const QChar decimal(values.value(QStringLiteral("decimal")).toUShort());
    const QString encoding = values.value(QStringLiteral("encoding"));
    bool skipOk = false;
    const int skip = values.value(QStringLiteral("skip")).toInt(&skipOk);
    const QString date = values.value(QStringLiteral("date"));
    if (!QStringLiteral(";,\t").contains(separator) || (decimal != u'.' && decimal != u',') ||
        (encoding != QLatin1String("8") && encoding != QLatin1String("1252")) || !skipOk || skip < 0 || skip > 100 ||
        !CsvDateFormats().contains(date)) {
        return std::nullopt;
    }
    layout.dialect.separator = separator;
    layout.dialect.decimalMark = decimal;
    layout.dialect.encoding = encoding == QLatin1String("8") ? TextEncoding::Utf8 : TextEncoding::Windows1252;
    layout.dialect.skipLines = skip;
    layout.dialect.hasHeader = values.value(QStringLiteral("header")) == QLatin1String("1");
    layout.dialect.dateFormat = date;
    return layout;
}

QString CsvLayoutKey(const QStringList& header) {
    const QByteArray digest =
        QCryptographicHash::hash(header.join(QChar(0x1F)).toUtf8(), QCryptographicHash::Sha256).toHex();
    return QString::fromLatin1(digest.left(20));
}

QString ImportSummary(const ImportResult& result) {
    if (!result.failure.isEmpty()) {
        return QStringLiteral("Nothing was imported: %1").arg(result.failure);
    }
    if (result.cancelled) {
        return QStringLiteral("The import was cancelled; nothing was imported.");
    }
    QString text =
        QStringLiteral("%1 bookings imported, %2 left out as duplicates, ").arg(result.added).arg(result.duplicates);
    if (result.unticked > 0) {
        text += QStringLiteral("%1 left out as you chose, ").arg(result.unticked);
    }
    text += QStringLiteral("%1 refused.").arg(result.refused);
    for (const QString& reason : result.reasons) {
        text += QStringLiteral("\n") + reason;
    }
    if (result.refused > result.reasons.size()) {
        text += QStringLiteral("\n(and %1 more)").arg(result.refused - result.reasons.size());
    }
    return text;
}

} // namespace budget::statements
