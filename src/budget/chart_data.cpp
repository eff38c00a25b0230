#include "budget/chart_data.h"

#include "store/store.h"

#include <algorithm>

namespace budget {

std::optional<Currency> ShownSum(const KindSums& sums, bool debit, bool withPrivate) {
    const std::size_t publicKind = debit ? 1 : 0;
    if (!withPrivate) {
        return sums[publicKind];
    }
    return sums[publicKind].plus(sums[publicKind + 2]);
}

CategoryDebits DebitsByCategory(const Balance& balance, bool withPrivate) {
    CategoryDebits debits;
    if (balance.overflow) {
        debits.overflow = true;
        return debits;
    }
    const qsizetype count = std::min(balance.sums.size(), balance.categories.size());
    for (qsizetype p = 0; p < count; ++p) {
        const std::optional<Currency> amount = ShownSum(balance.sums[p], true, withPrivate);
        if (!amount) {
            return {{}, true};
        }
        if (amount->units != 0) {
            debits.categories.append({balance.categories[p].text.trimmed(), *amount});
        }
    }
    return debits;
}

bool MonthlySums::empty() const {
    return std::all_of(months.begin(), months.end(),
                       [](const MonthSums& m) { return m.credit.units == 0 && m.debit.units == 0; });
}

QVector<std::pair<QDate, QDate>> PeriodMonths(const QDate& from, const QDate& to) {
    QVector<std::pair<QDate, QDate>> parts;
    if (!from.isValid() || !to.isValid()) {
        return parts;
    }
    for (QDate first = from; first <= to; first = QDate(first.year(), first.month(), 1).addMonths(1)) {
        parts.append({first, std::min(QDate(first.year(), first.month(), first.daysInMonth()), to)});
    }
    return parts;
}

MonthlySums MonthlyBalance(Store& store, const BalanceQuery& query, const ListEntries& categories, bool withPrivate) {
    const QVector<std::pair<QDate, QDate>> parts = PeriodMonths(query.from, query.to);
    QVector<SealedRow> rows;
    QVector<qsizetype> ends;
    for (const auto& [first, last] : parts) {
        rows.append(ReadBalanceRows(store, {query.budget, first, last, query.payment}));
        ends.append(rows.size());
    }
    const QVector<BalanceItem> items = DecodeBalanceRows(store.cry.KeyPool(), rows);
    MonthlySums sums;
    qsizetype begin = 0;
    for (qsizetype i = 0; i < parts.size(); ++i) {
        const Balance month = SumBalance(items.mid(begin, ends[i] - begin), query.payment, categories);
        begin = ends[i];
        const std::optional<Currency> credit = ShownSum(month.totals, false, withPrivate);
        const std::optional<Currency> debit = ShownSum(month.totals, true, withPrivate);
        const std::optional<Currency> net = credit && debit ? credit->minus(*debit) : std::nullopt;
        if (month.overflow || !net) {
            return {{}, true};
        }
        const QDate first = parts[i].first;
        sums.months.append({QDate(first.year(), first.month(), 1), *credit, *debit, *net});
    }
    return sums;
}

} // namespace budget
