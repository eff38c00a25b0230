#include "sections/categories/categories.h"

#include "base/messages.h"
#include "sections/list_row.h"
#include "store/codepage.h"
#include "store/record_get.h"
#include "store/row.h"
#include "store/store.h"

#include <algorithm>

namespace categories {
namespace {

constexpr int kFirstId = 1;
constexpr int kLastId = 9998;

list_rows::Kind RowKind(int section) {
    return {.fSec = kCategoryRowSection, .fSub = section, .category = true};
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
    const list_rows::Kind kind = RowKind(section);
    const std::optional<Row> row = list_rows::Find(store, kind, budget);
    const std::optional<QByteArray> plain = row ? list_rows::Open(store, kind, *row) : std::nullopt;
    if (!plain) {
        return {};
    }
    const QByteArray rest = plain->mid(list_rows::kHeaderBytes);
    if (row->integer(Col::fF1) != 0) {
        return codepage::FromBytes(rest);
    }
    FieldValues values;
    Record_Get::GetRecord(values, rest, true);
    QStringList items;
    for (const QVariant& value : values) {
        items.append(value.toString());
    }
    const QString text = items.join(u';');
    SaveCategoryText(store, text, section, static_cast<int>(row->integer(Col::fR3) % 256));
    return text;
}

QByteArray CategoryPlainText(std::int32_t user, int section, const QString& text) {
    return list_rows::Header(user, RowKind(section)) + codepage::ToBytes(text);
}

int SaveCategoryText(Store& store, const QString& text, int section, int budget) {
    return list_rows::Save(store, RowKind(section), CategoryPlainText(store.user.fPK, section, text),
                           section == kBudgetSection ? std::optional<int>(budget) : std::nullopt);
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
