#include "budget/totals.h"

#include "base/messages.h"
#include "budget/amounts.h"
#include "budget/budget_lists.h"
#include "budget/transaction.h"
#include "store/cipher_workers.h"
#include "store/record_get.h"
#include "store/row.h"
#include "store/store.h"

namespace budget {

ListEntries BalanceCategories(const ListEntries& filterEntries) {
    ListEntries categories;
    for (const ListEntry& entry : filterEntries) {
        if (entry.itemData >= 0 && entry.itemData != 9999) {
            categories.append(entry);
        }
    }
    return categories;
}

QVector<SealedRow> ReadBalanceRows(Store& store, const BalanceQuery& query) {
    sqlite::Statement select = store.connection().prepare(
        "SELECT fPK, fEtx, fG1, fF2 FROM tt WHERE (fR3 BETWEEN ? AND ?) AND +fSec=? AND +fSub=? ORDER BY fR3, fPK");
    select.bind(1, static_cast<std::int64_t>(DayNumber(query.from)))
        .bind(2, static_cast<std::int64_t>(DayNumber(query.to)))
        .bind(3, static_cast<std::int64_t>(kBudgetSection))
        .bind(4, static_cast<std::int64_t>(query.budget));
    QVector<SealedRow> rows;
    while (select.step()) {
        rows.append({static_cast<std::int32_t>(select.int64(0)), static_cast<int>(select.int64(2)),
                     select.int64(3) != 0, select.bytes(1)});
    }
    return rows;
}

QVector<BalanceItem> DecodeBalanceRows(const CRY::SecureBytes& keyPool, const QVector<SealedRow>& rows) {
    QVector<BalanceItem> items(rows.size());
    cipher_workers::ForEachRow(keyPool, rows.size(), [&](CRY& cry, qsizetype i) {
        QByteArray blob = cry.Cipher(rows[i].key, 2, rows[i].sealed);
        if (blob.isEmpty()) {
            return;
        }
        FieldValues values(Note + 1);
        Record_Get::GetRecord(values, blob);
        CRY::WipeBytes(blob);
        items[i] = {true, rows[i].category, values[DCWB].toInt(), values[PayMode].toInt(),
                    values[Amount].value<Currency>()};
    });
    return items;
}

QVector<Transaction> DecodeTransactions(const CRY::SecureBytes& keyPool, const QVector<SealedRow>& rows) {
    QVector<std::optional<Transaction>> decoded(rows.size());
    cipher_workers::ForEachRow(keyPool, rows.size(), [&](CRY& cry, qsizetype i) {
        QByteArray blob = cry.Cipher(rows[i].key, 2, rows[i].sealed);
        Transaction t;
        if (DecodeTransactionBlob(blob, t)) {
            t.key = rows[i].key;
            t.category = rows[i].category;
            t.noteFlag = rows[i].noteFlag;
            decoded[i] = t;
        }
        CRY::WipeBytes(blob);
    });
    QVector<Transaction> transactions;
    for (const std::optional<Transaction>& t : decoded) {
        if (t) {
            transactions.append(*t);
        }
    }
    return transactions;
}

Balance SumBalance(const QVector<BalanceItem>& items, int payment, const ListEntries& categories) {
    Balance balance;
    balance.categories = categories;
    balance.sums.resize(categories.size());
    qsizetype position = 0;
    for (const BalanceItem& item : items) {
        if (!item.ok || (payment != -1 && item.payMode != payment)) {
            continue;
        }
        if (const int found = IndexOfItemData(categories, item.category); found >= 0) {
            position = found;
        }
        const auto kind = static_cast<std::size_t>(item.dcwb & 3);
        const std::optional<Currency> total = balance.totals[kind].plus(item.amount);
        if (!total) {
            balance.overflow = true;
            return balance;
        }
        balance.totals[kind] = *total;
        if (position < balance.sums.size()) {
            const std::optional<Currency> sum = balance.sums[position][kind].plus(item.amount);
            if (!sum) {
                balance.overflow = true;
                return balance;
            }
            balance.sums[position][kind] = *sum;
        }
    }
    return balance;
}

Balance RefreshTotals(Store& store, const BalanceQuery& query, const ListEntries& categories) {
    return SumBalance(DecodeBalanceRows(store.cry.KeyPool(), ReadBalanceRows(store, query)), query.payment, categories);
}

namespace {

// Public, private and total of credit, debit and balance, in the columns' order; absent on an overflow.
std::optional<std::array<Currency, 9>> NineValues(const KindSums& m) {
    const std::optional<Currency> credit = m[0].plus(m[2]);
    const std::optional<Currency> debit = m[1].plus(m[3]);
    const std::optional<Currency> publicBalance = m[0].minus(m[1]);
    const std::optional<Currency> privateBalance = m[2].minus(m[3]);
    std::optional<Currency> balance = publicBalance ? publicBalance->plus(m[2]) : std::nullopt;
    balance = balance ? balance->minus(m[3]) : std::nullopt;
    if (!credit || !debit || !publicBalance || !privateBalance || !balance) {
        return std::nullopt;
    }
    return std::array<Currency, 9>{m[0], m[2], *credit, m[1], m[3], *debit, *publicBalance, *privateBalance, *balance};
}

bool IsPublicColumn(int i) {
    return i % 3 == 0;
}

} // namespace

std::optional<QStringList> BalanceRowTexts(const Balance& balance, int position, bool withPrivate,
                                           const QLocale& locale) {
    if (balance.overflow || position < 0 || position >= balance.sums.size()) {
        return std::nullopt;
    }
    const std::optional<std::array<Currency, 9>> values = NineValues(balance.sums[position]);
    if (!values) {
        return std::nullopt;
    }
    QStringList texts{balance.categories[position].text.trimmed()};
    for (int i = 0; i < 9; ++i) {
        texts << (withPrivate || IsPublicColumn(i) ? FormatAmount((*values)[i], false, locale) : QString());
    }
    return texts;
}

std::optional<QVector<Currency>> ResultValues(const Balance& balance) {
    if (balance.overflow) {
        return std::nullopt;
    }
    const std::optional<std::array<Currency, 9>> values = NineValues(balance.totals);
    if (!values) {
        return std::nullopt;
    }
    return QVector<Currency>(values->begin(), values->end());
}

std::optional<QStringList> ResultTexts(const Balance& balance, bool withPrivate, const QLocale& locale) {
    const std::optional<QVector<Currency>> values = ResultValues(balance);
    if (!values) {
        return std::nullopt;
    }
    QStringList texts;
    for (int i = 0; i < 9; ++i) {
        texts << (withPrivate || IsPublicColumn(i) ? u' ' + FormatAmount((*values)[i], false, locale) : QString());
    }
    return texts;
}

QVector<int> VisibleBalanceColumns(bool withPrivate) {
    return withPrivate ? QVector<int>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9} : QVector<int>{0, 1, 4, 7};
}

QStringList BalanceHeaders(bool withPrivate) {
    if (withPrivate) {
        QStringList headers{MsgText(348)};
        for (int i = 0; i < 3; ++i) {
            headers << MsgText(353) << MsgText(345) << MsgText(270);
        }
        return headers;
    }
    return {MsgText(348), MsgText(350), {}, {}, MsgText(351), {}, {}, MsgText(352), {}, {}};
}

} // namespace budget
