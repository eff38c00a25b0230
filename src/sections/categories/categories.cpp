#include "sections/categories/categories.h"

#include "base/messages.h"
#include "store/codepage.h"
#include "store/conversion.h"
#include "store/record_get.h"
#include "store/row.h"
#include "store/store.h"

#include <algorithm>

namespace categories {
namespace {

constexpr int kFirstId = 1;
constexpr int kLastId = 9998;

struct ListRow {
    std::int64_t fpk = 0;
    QByteArray etx;
    bool currentFormat = false;
    std::int64_t fR3 = 0;
};

// The first list row of the section and user, and of the budget when one is asked for.
std::optional<ListRow> FindListRow(Store& store, int section, bool byBudget, int budget, sqlite::Error& error) {
    sqlite::Statement select = store.connection().prepare(
        byBudget ? "SELECT fPK, fEtx, fF1, fR3 FROM tt WHERE fSec=? AND fSub=? AND fR1=? AND (fR3 % 256)=? "
                   "ORDER BY fPK LIMIT 1"
                 : "SELECT fPK, fEtx, fF1, fR3 FROM tt WHERE fSec=? AND fSub=? AND fR1=? ORDER BY fPK LIMIT 1");
    select.bind(1, static_cast<std::int64_t>(kCategoryRowSection))
        .bind(2, static_cast<std::int64_t>(section))
        .bind(3, static_cast<std::int64_t>(store.user.fPK));
    if (byBudget) {
        select.bind(4, static_cast<std::int64_t>(budget));
    }
    std::optional<ListRow> row;
    if (select.step()) {
        row = ListRow{select.int64(0), select.bytes(1), select.int64(2) != 0, select.int64(3)};
    }
    error = select.error();
    return row;
}

// The owner's id and the section ahead of the list, so that a row moved to another user or section reads empty.
QByteArray OwnerHeader(std::int32_t user, int section) {
    return CONVERSION::NumToBytes(user, 4) + QByteArray(1, static_cast<char>(static_cast<std::uint8_t>(section)));
}

bool PassesOwnerCheck(const QByteArray& plain, std::int32_t user, int section) {
    return plain.size() >= 5 && CONVERSION::BytesToLong(plain.left(4)) == user &&
           static_cast<std::uint8_t>(plain[4]) == static_cast<std::uint8_t>(section);
}

// The elements of a list text; the empty text is the empty list, not one empty name.
QStringList SplitList(const QString& text) {
    return text.isEmpty() ? QStringList() : text.split(u';');
}

// The id at `i`; a missing or unreadable one counts as Unfiled, so a broken list still shows its names.
int IdAt(const QStringList& items, qsizetype i) {
    if (i >= items.size()) {
        return kUnfiled;
    }
    bool ok = false;
    const int id = items[i].toInt(&ok);
    return ok ? id : kUnfiled;
}

int GreatestId(const QStringList& items) {
    int greatest = 0;
    for (qsizetype i = 1; i < items.size(); i += 2) {
        greatest = std::max(greatest, IdAt(items, i));
    }
    return greatest;
}

} // namespace

QString LoadCategoryText(Store& store, int section, std::optional<int> budget) {
    sqlite::Error error;
    const std::optional<ListRow> row = FindListRow(store, section, budget.has_value(), budget.value_or(0), error);
    if (!row) {
        return {};
    }
    const QByteArray plain = store.cry.Cipher(static_cast<std::int32_t>(row->fpk), 2, row->etx);
    if (!PassesOwnerCheck(plain, store.user.fPK, section)) {
        return {};
    }
    const QByteArray rest = plain.mid(5);
    if (row->currentFormat) {
        return codepage::FromBytes(rest);
    }
    FieldValues values;
    Record_Get::GetRecord(values, rest, true);
    QStringList items;
    for (const QVariant& value : values) {
        items.append(value.toString());
    }
    const QString text = items.join(u';');
    SaveCategoryText(store, text, section, static_cast<int>(row->fR3 % 256));
    return text;
}

QByteArray CategoryPlainText(std::int32_t user, int section, const QString& text) {
    return OwnerHeader(user, section) + codepage::ToBytes(text);
}

int SaveCategoryText(Store& store, const QString& text, int section, int budget) {
    sqlite::Error error;
    const std::optional<ListRow> existing = FindListRow(store, section, section == kBudgetSection, budget, error);
    if (error) {
        return error.number;
    }
    const std::int32_t user = store.user.fPK;
    const QByteArray plain = CategoryPlainText(user, section, text);
    auto fill = [&](std::int64_t fpk, RowValues& row) {
        const QByteArray sealed = store.cry.Cipher(static_cast<std::int32_t>(fpk), 1, plain);
        if (sealed.isEmpty()) {
            return false;
        }
        row.set(Col::fEtx, sealed);
        row.set(Col::fR1, user);
        row.set(Col::fF1, 1);
        FillNoise(row, store.random(),
                  NoiseColumns{.onT1 = true, .onT2 = true, .onT3 = true, .onR2 = true, .onR4 = true});
        return true;
    };
    if (existing) {
        error = ChangeRow(store.connection(), existing->fpk, [&](RowValues& row) {
            row.orAE(2);
            return fill(existing->fpk, row);
        });
    } else {
        // The low byte of fR3 finds the budget's row again; the rest keeps the column looking random.
        const std::int64_t random = RandomLong(store.random());
        const std::int64_t fR3 = section == kBudgetSection ? (random / 256) * 256 + budget : random;
        AddNewRow(
            store.connection(),
            [&](std::int64_t fpk, RowValues& row) {
                row.set(Col::fSec, kCategoryRowSection);
                row.set(Col::fSub, section);
                row.set(Col::fR3, static_cast<qlonglong>(fR3));
                row.set(Col::AE, 1);
                return fill(fpk, row);
            },
            &error);
    }
    return error.number;
}

int SortedPosition(const ListEntries& entries, const QString& text) {
    for (auto j = entries.size(); j > 0; --j) {
        if (entries[j - 1].text.compare(text, Qt::CaseInsensitive) <= 0) {
            return static_cast<int>(j);
        }
    }
    return 0;
}

QString AddCategoryEntries(ListEntries& entries, const QString& listText, FillFlags flags) {
    QString prefix;
    if (flags.addUnfiled && flags.addEdit) {
        prefix = flags.addAll ? QStringLiteral("  ") : QStringLiteral(" ");
    }
    const QStringList items = SplitList(listText);
    for (qsizetype i = 0; i < items.size(); i += 2) {
        const QString text = prefix + items[i];
        entries.insert(SortedPosition(entries, text), ListEntry{text, IdAt(items, i + 1)});
    }
    QStringList ids;
    for (const ListEntry& entry : entries) {
        ids.append(QString::number(entry.itemData));
    }
    if (flags.addAll) {
        entries.prepend(ListEntry{QStringLiteral("<  ") + MsgText(382) + QStringLiteral("  >"), kAll});
    }
    if (flags.addUnfiled) {
        entries.append(ListEntry{QStringLiteral("< ") + MsgText(66) + QStringLiteral(" >"), kUnfiled});
    }
    if (flags.addEdit) {
        entries.append(ListEntry{QStringLiteral("Edit categories"), kEditCommand});
    }
    return ids.join(u' ');
}

QString FillCategoryEntries(Store& store, ListEntries& entries, int section, FillFlags flags,
                            std::optional<int> budget) {
    return AddCategoryEntries(entries, LoadCategoryText(store, section, budget), flags);
}

bool NameFitsList(const QString& name) {
    const QByteArray bytes = codepage::ToBytes(name);
    return !bytes.contains(';') && !bytes.contains('\xFF');
}

QString NameRefusal() {
    return QStringLiteral("A category name cannot contain the character \";\" or \"\u00FF\".");
}

int NewCategoryId(const ListEntries& entries) {
    for (int id = kFirstId; id <= kLastId; ++id) {
        if (IndexOfItemData(entries, id) < 0) {
            return id;
        }
    }
    return -1;
}

QString JoinCategoryList(const ListEntries& entries) {
    QStringList items;
    for (const ListEntry& entry : entries) {
        items.append(entry.text);
        items.append(QString::number(entry.itemData));
    }
    return items.join(u';');
}

int SaveCategoryList(Store& store, const ListEntries& entries, int section, int budget) {
    return SaveCategoryText(store, JoinCategoryList(entries), section, budget);
}

int SaveImportedCategories(Store& store, const QVector<int>& ids, const QStringList& names, int section) {
    ListEntries entries;
    const qsizetype count = std::min(ids.size(), names.size());
    for (qsizetype i = 0; i < count; ++i) {
        entries.append(ListEntry{names[i], ids[i]});
    }
    return SaveCategoryList(store, entries, section);
}

int NextFreeImportedCategoryId(const QVector<int>& ids, Prompter& prompter) {
    // The last slot is the one being filled. A reserved id anywhere before it refuses every candidate; the
    // importer has always behaved so, and its lists are written to match.
    const qsizetype checked = ids.size() - 1;
    for (int candidate = kFirstId; candidate <= kLastId; ++candidate) {
        bool refused = false;
        for (qsizetype i = 0; i < checked && !refused; ++i) {
            refused = ids[i] == candidate || ids[i] == kUnfiled || ids[i] == kAll || ids[i] == kEditCommand;
        }
        if (!refused) {
            return candidate;
        }
    }
    prompter.message(52, MsgText(52), Prompter::Buttons::Ok, Prompter::Icon::Warning);
    return 0;
}

int FindOrAddCategory(QString& list, const QString& name) {
    QStringList items = SplitList(list);
    for (qsizetype i = 0; i < items.size(); ++i) {
        if (items[i].compare(name, Qt::CaseInsensitive) == 0) {
            return IdAt(items, i + 1);
        }
    }
    const int id = GreatestId(items) + 1;
    items << name << QString::number(id);
    list = items.join(u';');
    return id;
}

QString MapCategoryNames(QString& list, const QString& names) {
    QStringList items = SplitList(list);
    QStringList ids;
    for (const QString& raw : SplitList(names.trimmed())) {
        const QString name = raw.trimmed();
        // "a;;b" names two categories, not a nameless third.
        if (name.isEmpty()) {
            continue;
        }
        qsizetype hit = -1;
        for (qsizetype i = 0; i < items.size() && hit < 0; i += 2) {
            if (items[i].trimmed().compare(name, Qt::CaseInsensitive) == 0) {
                hit = i;
            }
        }
        if (hit >= 0) {
            ids.append(QString::number(IdAt(items, hit + 1)));
        } else {
            const int id = GreatestId(items) + 1;
            items << name << QString::number(id);
            ids.append(QString::number(id));
        }
    }
    list = items.join(u';');
    return ids.join(u' ');
}

int GetRecordCategory(Store& store, std::int32_t key) {
    sqlite::Statement select = store.connection().prepare("SELECT fG1 FROM tt WHERE fPK=?");
    select.bind(1, static_cast<std::int64_t>(key));
    return select.step() ? static_cast<int>(select.int64(0)) : 0;
}

} // namespace categories
