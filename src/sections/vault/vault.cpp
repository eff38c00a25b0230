#include "sections/vault/vault.h"

#include "base/messages.h"
#include "base/password_strength.h"
#include "store/cry.h"
#include "store/field_codec.h"
#include "store/record_get.h"
#include "store/record_put.h"
#include "store/store.h"

#include <algorithm>
#include <array>
#include <numeric>

namespace vault {

namespace {

constexpr int kFieldCount = 9;
constexpr int kPasswordMessage = 300;
constexpr int kPinMessage = 320;
constexpr int kOtherInfoMessage = 315;

const records::RecordKind kKind{
    .section = kVaultSection,
    .freeColumns = {.onT2 = true, .onT3 = true, .onR1 = true, .onR2 = true, .onR3 = true, .onR4 = true}};

constexpr std::array<const char*, kMainCategoryCount> kMainCategories{" INTERNET", " ECONOMY", " PRODUCTS", " PERSONAL",
                                                                      " MISCELLANEOUS"};

constexpr Label L(int message) {
    return Label{message, 0, ""};
}

constexpr std::array<SubCategory, 16> kSubCategories{{
    {1, 0, "Web Login", {L(301), L(305), L(306), L(300)}, 68, "access to web sites, e-commerce, discussion groups"},
    {2, 0, "Email Accounts", {L(301), L(309), L(306), L(300), L(308)}, 68, ""},
    {3,
     0,
     "ISP Accounts",
     {L(301), L(305), Label{307, 306, " / "}, L(300)},
     68,
     "Login parameters to the Internet (Internet Service Providers)"},
    {4, 0, "FTP Servers", {L(301), L(305), L(306), L(300)}, 68, ""},
    {5, 1, "Bank Accounts", {L(310), L(314), L(311), L(312), L(313)}, kOtherInfoMessage, ""},
    {6, 1, "Online Banking", {L(310), L(305), L(306), L(300)}, 68, ""},
    {7, 1, "Credit Cards", {L(325), L(316), L(317), L(318), L(319)}, 68, ""},
    {8, 1, "ATM/PIN Cards", {L(325), L(326), L(310), L(327)}, 68, "Cash Cards, Bankomat etc."},
    {16, 2, "E-Commerce", {L(321), L(305), L(306), L(300), L(302)}, 68, ""},
    {9, 2, "Serial Numbers", {L(298), L(299), L(324), L(305)}, 68, ""},
    {10, 2, "Software Keys", {L(298), L(324), L(330), L(331)}, 68, ""},
    {11, 2, "Mobile Phone SIM", {L(303), L(329), L(320), L(332)}, 68, ""},
    {12,
     3,
     "Documents/Data",
     {L(335), L(336), L(316), L(328)},
     68,
     "Important Document Numbers (ID card, driver's license, etc.), where and when they were issued"},
    {13, 3, "Membership", {L(323), L(333), L(334), L(305)}, 68, ""},
    {14, 4, "Insurance", {L(299), L(321), L(304), L(322)}, 68, ""},
    {15, 4, "Other", {L(301), L(299), L(315), Label{300, 320, "/"}}, 68, ""},
}};

QString LabelText(const Label& label) {
    QString text = MsgText(label.message);
    if (label.second != 0) {
        text += QLatin1String(label.joiner) + MsgText(label.second);
    }
    return text;
}

} // namespace

std::span<const SubCategory> SubCategories() {
    return kSubCategories;
}

const SubCategory* FindSubCategory(int number) {
    const auto it = std::find_if(kSubCategories.begin(), kSubCategories.end(),
                                 [number](const SubCategory& s) { return s.number == number; });
    return it == kSubCategories.end() ? nullptr : &*it;
}

QString MainCategoryCaption(int mainCategory) {
    return mainCategory >= 0 && mainCategory < kMainCategoryCount
               ? QLatin1String(kMainCategories[static_cast<std::size_t>(mainCategory)])
               : QString();
}

QStringList Labels(int number) {
    QStringList labels;
    if (const SubCategory* sub = FindSubCategory(number)) {
        for (const Label& label : sub->labels) {
            if (label.message != 0) {
                labels.append(LabelText(label));
            }
        }
    }
    return labels;
}

QString NotesLabel(int number) {
    const SubCategory* sub = FindSubCategory(number);
    return MsgText(sub != nullptr ? sub->notesMessage : 68);
}

bool IsPasswordLabel(const QString& label) {
    return label.contains(MsgText(kPasswordMessage)) || label.contains(MsgText(kPinMessage));
}

bool HasPasswordLabel(int number) {
    const QStringList labels = Labels(number);
    return std::any_of(labels.begin(), labels.end(), IsPasswordLabel);
}

void Wipe(Entry& entry) {
    for (QString& value : entry.values) {
        CRY::WipeText(value);
    }
    CRY::WipeText(entry.notes);
}

Entry NewEntry(int owner, int subCategory) {
    Entry entry;
    entry.owner = owner;
    entry.subCategory = subCategory;
    return entry;
}

QByteArray EntryBlob(const Entry& entry) {
    using Record_Put::PutField;
    QByteArray blob =
        PutField(entry.owner, FieldType::Byte, Owner) + PutField(entry.isPrivate, FieldType::Boolean, Private);
    for (int i = 0; i < kValueCount; ++i) {
        blob += PutField(entry.values[static_cast<std::size_t>(i)], FieldType::Text, N0 + i);
    }
    return blob + PutField(entry.notes, FieldType::LongText, Notes) +
           PutField(entry.modified, FieldType::DateTime, DateLastModified);
}

bool DecodeEntryBlob(const QByteArray& blob, Entry& entry) {
    if (blob.isEmpty()) {
        return false;
    }
    FieldValues values(kFieldCount);
    Record_Get::GetRecord(values, blob);
    entry.owner = values[Owner].toInt();
    entry.isPrivate = values[Private].toBool();
    for (int i = 0; i < kValueCount; ++i) {
        entry.values[static_cast<std::size_t>(i)] = values[N0 + i].toString();
    }
    entry.notes = values[Notes].toString();
    entry.modified = values[DateLastModified].toDateTime();
    return true;
}

std::optional<Entry> LoadEntry(Store& store, std::int32_t key, Result* result) {
    const std::optional<Row> row = records::LoadRow(store, kVaultSection, key, result);
    Entry entry;
    if (!row || !DecodeEntryBlob(records::RowBlob(store, *row), entry)) {
        return std::nullopt;
    }
    entry.key = key;
    entry.subCategory = static_cast<int>(row->integer(Col::fG1));
    return entry;
}

Result StoreEntry(Store& store, Entry& entry, const QDateTime& now) {
    const QDateTime before = entry.modified;
    entry.modified = now;
    records::RecordData data;
    data.blob = EntryBlob(entry);
    data.title = records::Title{entry.values[0], entry.isPrivate};
    data.columns = [&](std::int32_t, RowValues& row) {
        row.set(Col::fG1, entry.subCategory);
        return true;
    };
    const Result result = records::SaveRecord(store, kKind, entry.key, data);
    CRY::WipeBytes(data.blob);
    if (!result.ok()) {
        entry.modified = before;
    }
    return result;
}

QVector<records::ListedTitle> ListEntries(Store& store, int subCategory) {
    return records::ListTitles(store, kVaultSection, subCategory);
}

Result DeleteEntry(Store& store, std::int32_t key) {
    return records::DeleteRecord(store, kVaultSection, key);
}

QVector<PasswordFinding> WeakOrReusedPasswords(Store& store) {
    sqlite::Statement select = store.connection().prepare("SELECT fPK, fEtx, fG1 FROM tt WHERE fSec=? ORDER BY fPK");
    select.bind(1, static_cast<std::int64_t>(kVaultSection));
    const bool hidePrivate = store.hidePrivate;
    const int owner = store.user.level;
    QVector<Entry> read =
        records::OpenRows<Entry>(store.cry.KeyPool(), select, [&](CRY& cry, const Row& row) -> std::optional<Entry> {
            Entry entry;
            const auto key = static_cast<std::int32_t>(row.integer(Col::fPK));
            QByteArray blob = cry.Cipher(key, 2, row.bytes(Col::fEtx));
            const bool shown =
                DecodeEntryBlob(blob, entry) && entry.owner == owner && !(entry.isPrivate && hidePrivate);
            CRY::WipeBytes(blob);
            if (!shown) {
                Wipe(entry);
                return std::nullopt;
            }
            entry.key = key;
            entry.subCategory = static_cast<int>(row.integer(Col::fG1));
            return entry;
        });

    struct Candidate {
        std::int32_t key;
        int subCategory;
        QString title;
        QString label;
        QString password;
        int sharedWith = 0;
    };
    std::vector<Candidate> candidates;
    for (Entry& entry : read) {
        const QStringList labels = Labels(entry.subCategory);
        for (int i = 0; i < labels.size(); ++i) {
            const QString& value = entry.values[static_cast<std::size_t>(i)];
            if (IsPasswordLabel(labels[i]) && !value.isEmpty()) {
                candidates.push_back({entry.key, entry.subCategory, entry.values[0], labels[i], value});
            }
        }
        Wipe(entry);
    }
    // Equal passwords side by side, so that each learns how many other records hold it (a record has one password
    // field at the most). Sorting, not a hash, keeps the passwords in the copies that are wiped below.
    std::vector<std::size_t> order(candidates.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::sort(order.begin(), order.end(),
              [&](std::size_t a, std::size_t b) { return candidates[a].password < candidates[b].password; });
    for (std::size_t from = 0; from < order.size();) {
        std::size_t to = from + 1;
        while (to < order.size() && candidates[order[to]].password == candidates[order[from]].password) {
            ++to;
        }
        for (std::size_t i = from; i < to; ++i) {
            candidates[order[i]].sharedWith = static_cast<int>(to - from) - 1;
        }
        from = to;
    }

    QVector<PasswordFinding> findings;
    for (Candidate& c : candidates) {
        const password_strength::Estimate estimate = password_strength::Rate(c.password);
        // A card's PIN is as short as its bank makes it; only a password is the person's own choice to improve.
        const bool weak = c.label.contains(MsgText(kPasswordMessage)) && password_strength::IsWeak(estimate);
        if (weak || c.sharedWith > 0) {
            findings.append({c.key, c.subCategory, c.title, c.label, estimate.bits, weak, c.sharedWith});
        }
        CRY::WipeText(c.password);
    }
    std::stable_sort(findings.begin(), findings.end(), [](const PasswordFinding& a, const PasswordFinding& b) {
        return std::pair(a.subCategory, a.title.toLower()) < std::pair(b.subCategory, b.title.toLower());
    });
    return findings;
}

find::SearchableSection Searchable() {
    return find::ListedByTitle(kVaultSection, [](CRY&, const Row&, const QString& title) { return title; });
}

} // namespace vault
