#include "budget/transaction_list.h"

#include "base/messages.h"
#include "budget/amounts.h"
#include "budget/budget_lists.h"
#include "shell/dates.h"
#include "store/row.h"
#include "store/store.h"

#include <array>

namespace budget {

namespace {

// Default order of each sort column: true for descending.
constexpr std::array<bool, kListColumns> kDescendingByDefault = {false, false, true,  true,  false, true,
                                                                 false, true,  false, false, false, false};

int EffectiveCategory(int category) {
    return category == 9999 ? -1 : category;
}

int KindFilter(bool wanted, bool other) {
    // Both kinds shown needs no filter; otherwise the one asked for, the first of the pair when neither is.
    if (wanted && other) {
        return -1;
    }
    return wanted ? 1 : 0;
}

} // namespace

QString ListQuery(const ListFilter& filter) {
    // The unary plus keeps the engine off the section and budget indexes, which would visit every row of the
    // budget; the day index finds the month's rows alone.
    QString sql = QStringLiteral("SELECT * FROM tt WHERE +fSec=? AND +fSub=?");
    if (EffectiveCategory(filter.category) != -1) {
        sql += QStringLiteral(" AND fG1=?");
    }
    sql += QStringLiteral(" AND (fR3 BETWEEN ? AND ?)");
    if (KindFilter(filter.debit, filter.credit) != -1) {
        sql += QStringLiteral(" AND (((fR2 % 4) % 2)=?)");
    }
    if (KindFilter(filter.showPrivate, filter.showPublic) != -1) {
        sql += QStringLiteral(" AND (((fR2 % 4) / 2)=?)");
    }
    return sql + QStringLiteral(" ORDER BY fR3, fPK");
}

std::optional<QString> CategoryText(const ListEntries& categories, int id) {
    if (categories.isEmpty()) {
        return MsgText(66);
    }
    const int index = IndexOfItemData(categories, id < 0 ? 0 : id);
    if (index < 0) {
        return std::nullopt;
    }
    return categories[index].text.trimmed();
}

QStringList ListRowTexts(const Transaction& t, const QString& categoryText, const ListContext& context) {
    const QString blank = QStringLiteral(" ");
    const QString amount = FormatAmount(t.amount, true, context.locale);
    int payment = IndexOfItemData(context.payments, t.payMode);
    if (payment < 0) {
        payment = 1;
    }
    QStringList texts;
    texts << dates::ShortDate(t.datePaid, context.locale) << t.description << (t.isDebit() ? blank : amount)
          << (t.isDebit() ? amount : blank)
          << (payment < context.payments.size() ? context.payments[payment].text : QString())
          << (t.privateBit() ? QStringLiteral("x") : blank) << t.partner << (t.noteFlag ? QStringLiteral("N") : blank)
          << categoryText << QStringLiteral("%1").arg(OleDay(t.datePaid), 6, 10, QLatin1Char('0'))
          << SortKeyAmount(t.isDebit() ? Currency{} : t.amount) << SortKeyAmount(t.isDebit() ? t.amount : Currency{});
    return texts;
}

TransactionList ReloadList(Store& store, const ListFilter& filter, const ListContext& context) {
    TransactionList list;
    const QDate first(filter.month.year(), filter.month.month(), 1);
    const QByteArray sql = ListQuery(filter).toUtf8();
    sqlite::Statement select = store.connection().prepare(sql.constData());
    QVector<std::int64_t> parameters{kBudgetSection, filter.budget};
    if (EffectiveCategory(filter.category) != -1) {
        parameters << filter.category;
    }
    parameters << DayNumber(first) << DayNumber(first.addMonths(1).addDays(-1));
    if (const int kind = KindFilter(filter.debit, filter.credit); kind != -1) {
        parameters << kind;
    }
    if (const int privacy = KindFilter(filter.showPrivate, filter.showPublic); privacy != -1) {
        parameters << privacy;
    }
    for (int i = 0; i < parameters.size(); ++i) {
        select.bind(i + 1, parameters[i]);
    }
    QVector<std::int32_t> lost;
    while (select.step()) {
        list.queryHadRows = true;
        const Row row = Row::FromStatement(select);
        Transaction t;
        if (!DecodeTransaction(store, row, t) || (t.isPrivate && !context.showPrivate)) {
            continue;
        }
        std::optional<QString> category = CategoryText(context.categories, t.category);
        if (!category) {
            lost.append(t.key);
            t.category = 0;
            category = CategoryText(context.categories, 0).value_or(MsgText(66));
        }
        list.rows.append({t, ListRowTexts(t, *category, context)});
    }
    select.reset();
    // The items of a deleted category arrive in "Unfiled" as they are shown.
    for (const std::int32_t key : lost) {
        sqlite::Statement repair = store.connection().cached("UPDATE tt SET fG1=0 WHERE fPK=?");
        repair.bind(1, static_cast<std::int64_t>(key));
        repair.step();
        if (!repair.error()) {
            ++list.repaired;
        }
    }
    return list;
}

ListSort SortAfterClick(const ListSort& last, int clickedColumn) {
    const int c = clickedColumn + 1;
    int key = c - 1;
    if (c == 1) {
        key = colDateKey;
    } else if (c == 3 || c == 4) {
        key = c + 7;
    }
    if (key < 0 || key >= kListColumns) {
        return last;
    }
    if (key == last.key) {
        return {key, !last.descending};
    }
    return {key, kDescendingByDefault[static_cast<std::size_t>(key)]};
}

std::optional<ListSums> Recalc1(const QVector<AmountTexts>& rows, const QLocale& locale) {
    ListSums sums;
    for (const auto& [credit, debit] : rows) {
        for (auto [text, sum] : {std::pair{&credit, &sums.credit}, std::pair{&debit, &sums.debit}}) {
            if (const std::optional<Currency> value = ParseAmount(*text, locale)) {
                const std::optional<Currency> total = sum->plus(*value);
                if (!total) {
                    return std::nullopt;
                }
                *sum = *total;
            }
        }
    }
    return sums;
}

} // namespace budget
