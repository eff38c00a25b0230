#include "budget/balance_export.h"

#include "base/messages.h"
#include "budget/amounts.h"
#include "budget/transaction_list.h"

namespace budget {

namespace {

QString CsvField(const QString& text) {
    QString field = text;
    // A worksheet would run a text that starts like a formula.
    if (!field.isEmpty() && QStringLiteral("=+-@").contains(field[0])) {
        field.prepend(u'\'');
    }
    if (field.contains(u',') || field.contains(u'"') || field.contains(u'\n') || field.contains(u'\r')) {
        field = u'"' + QString(field).replace(u'"', QStringLiteral("\"\"")) + u'"';
    }
    return field;
}

void AppendLine(QByteArray& out, const QStringList& fields) {
    out += fields.join(u',').toUtf8();
    out += "\r\n";
}

QStringList SumHeaders(bool privateColumns) {
    if (!privateColumns) {
        return {QStringLiteral("Credit"), QStringLiteral("Debit"), QStringLiteral("Balance")};
    }
    QStringList headers;
    for (const char* kind : {"credit", "debit", "balance"}) {
        for (const char* part : {"Public", "Private", "Total"}) {
            headers << QStringLiteral("%1 %2").arg(QLatin1String(part), QLatin1String(kind));
        }
    }
    return headers;
}

std::optional<QStringList> SumFields(const KindSums& sums, const BalanceExport& data) {
    Balance single;
    single.totals = sums;
    const std::optional<QVector<Currency>> values = ResultValues(single);
    if (!values) {
        return std::nullopt;
    }
    QStringList fields;
    for (int column : VisibleBalanceColumns(data.privateColumns)) {
        if (column == 0) {
            continue;
        }
        const int i = column - 1;
        fields << (data.privateCells || i % 3 == 0 ? PlainAmount((*values)[i]) : QString());
    }
    return fields;
}

} // namespace

std::optional<QByteArray> BalanceCsv(const BalanceExport& data) {
    if (data.balance.overflow) {
        return std::nullopt;
    }
    QByteArray out;
    AppendLine(out, QStringList{MsgText(348)} + SumHeaders(data.privateColumns));
    for (qsizetype p = 0; p < data.balance.categories.size(); ++p) {
        const std::optional<QStringList> fields = SumFields(data.balance.sums[p], data);
        if (!fields) {
            return std::nullopt;
        }
        AppendLine(out, QStringList{CsvField(data.balance.categories[p].text.trimmed())} + *fields);
    }
    const std::optional<QStringList> totals = SumFields(data.balance.totals, data);
    if (!totals) {
        return std::nullopt;
    }
    AppendLine(out, QStringList{MsgText(270)} + *totals);
    out += "\r\n";

    QStringList header{MsgText(340), MsgText(341), MsgText(342), MsgText(343),
                       MsgText(344), MsgText(348), MsgText(346), MsgText(347)};
    if (data.showPrivate) {
        header << MsgText(345);
    }
    AppendLine(out, header);
    for (const Transaction& t : data.transactions) {
        if (t.isPrivate && !data.showPrivate) {
            continue;
        }
        int payment = IndexOfItemData(data.payments, t.payMode);
        if (payment < 0) {
            payment = 1;
        }
        QStringList fields{t.datePaid.toString(Qt::ISODate),
                           CsvField(t.description),
                           t.isDebit() ? QString() : PlainAmount(t.amount),
                           t.isDebit() ? PlainAmount(t.amount) : QString(),
                           payment < data.payments.size() ? CsvField(data.payments[payment].text) : QString(),
                           CsvField(CategoryText(data.categories, t.category)
                                        .value_or(CategoryText(data.categories, 0).value_or(MsgText(66)))),
                           CsvField(t.partner),
                           CsvField(t.note)};
        if (data.showPrivate) {
            fields << (t.privateBit() ? QStringLiteral("x") : QString());
        }
        AppendLine(out, fields);
    }
    return out;
}

} // namespace budget
