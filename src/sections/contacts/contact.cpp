#include "sections/contacts/contact.h"

#include "base/messages.h"
#include "sections/categories/categories.h"
#include "sections/record_store.h"
#include "store/codepage.h"
#include "store/field_descriptor.h"
#include "store/random_source.h"
#include "store/record_get.h"
#include "store/record_put.h"
#include "store/store.h"

#include <QSet>

#include <limits>

namespace contacts {

namespace {

constexpr int kNoDateOle = 949998;
constexpr int kFirstSlotLabel = 224;
constexpr int kNoRecordFound = 31;
constexpr int kFileAsMissing = 15;
constexpr int kAdministratorOnly = 250;

const records::RecordKind kKind{.section = kContactSection,
                                .freeColumns = {.onR1 = true, .onR2 = true, .onR3 = true, .onR4 = true}};

const FieldDescriptor& Descriptor() {
    static const FieldDescriptor descriptor = ParseFieldDescriptor(ContactDescriptor());
    return descriptor;
}

QVariant StoredDate(const QDate& date) {
    return date.isValid() ? date : NoDate();
}

QDate DateOf(const QVariant& value) {
    const QDate date = value.toDateTime().date();
    return date == NoDate() ? QDate() : date;
}

QVariant ValueOf(const Contact& contact, int field) {
    switch (field) {
    case Owner:
        return contact.owner;
    case Private:
        return contact.isPrivate;
    case Priority:
        return contact.priority;
    case Anniversary:
        return StoredDate(contact.anniversary);
    case Birthday:
        return StoredDate(contact.birthday);
    case ComDisplay:
        return contact.comDisplay;
    default:
        return contact.texts[field];
    }
}

bool IsMailCharacter(QChar c) {
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') || c == u'_' || c == u'-' ||
           c == u'.';
}

// The title whoever owns it and whether or not private records are shown: the record is in hand already.
QString TitleOf(Store& store, std::int32_t key, const QByteArray& sealed) {
    Record_Get::TitleAccess everyone;
    everyone.rightsOn.set();
    return Record_Get::OpenTitle(store.cry, key, sealed, everyone);
}

} // namespace

QDate NoDate() {
    return QDate(1899, 12, 30).addDays(kNoDateOle);
}

QString ContactDescriptor() {
    return QLatin1String(sections::Info(SectionId::Contacts).descriptor);
}

QString SlotLabel(int slot) {
    return MsgText(kFirstSlotLabel + slot);
}

QByteArray ContactBlob(const Contact& contact) {
    const FieldDescriptor& descriptor = Descriptor();
    QByteArray blob;
    for (int field = 0; field < kFieldCount; ++field) {
        blob += Record_Put::PutField(ValueOf(contact, field), descriptor.types[field], field);
    }
    return blob;
}

bool DecodeContactBlob(const QByteArray& blob, Contact& contact) {
    if (blob.isEmpty()) {
        return false;
    }
    FieldValues values(kFieldCount);
    Record_Get::GetRecord(values, blob);
    const FieldDescriptor& descriptor = Descriptor();
    for (int field = 0; field < kFieldCount; ++field) {
        const std::uint8_t type = descriptor.types[field];
        if (type == FieldType::Text || type == FieldType::LongText) {
            contact.texts[field] = values[field].toString();
        }
    }
    contact.owner = values[Owner].toInt();
    contact.isPrivate = values[Private].toBool();
    contact.priority = values[Priority].toInt();
    contact.anniversary = DateOf(values[Anniversary]);
    contact.birthday = DateOf(values[Birthday]);
    contact.comDisplay = values[ComDisplay].toInt();
    return true;
}

QString PrimaryContact(const Contact& contact) {
    if (contact.comDisplay < 0 || contact.comDisplay >= kSlotCount || contact.slot(contact.comDisplay).isEmpty()) {
        return {};
    }
    return contact.slot(contact.comDisplay) + QStringLiteral("  [") + SlotLabel(contact.comDisplay) + u']';
}

QString MailAddressIn(const QString& text) {
    const qsizetype at = text.indexOf(u'@');
    if (at < 0) {
        return {};
    }
    qsizetype from = at;
    while (from > 0 && IsMailCharacter(text[from - 1])) {
        --from;
    }
    qsizetype to = at + 1;
    while (to < text.size() && IsMailCharacter(text[to])) {
        ++to;
    }
    return from < at && to > at + 1 ? text.mid(from, to - from) : QString();
}

QByteArray MailList(const Contact& contact, RandomSource& random) {
    QStringList found;
    for (int slot = kFirstMailSlot; slot < kFirstMailSlot + kMailSlots; ++slot) {
        const QString address = MailAddressIn(contact.texts[slot]);
        if (!address.isEmpty()) {
            found << address;
        }
    }
    QByteArray list(1, static_cast<char>(found.size()));
    if (found.isEmpty()) {
        QByteArray filler(9 + static_cast<int>(random.below(8)), '\0');
        random.bytes(reinterpret_cast<std::uint8_t*>(filler.data()), static_cast<std::size_t>(filler.size()));
        return list + filler;
    }
    return list + codepage::ToBytes(found.join(u';'));
}

QByteArray CategoryColumn(const QVector<int>& categories) {
    QByteArray column("");
    for (const int category : categories) {
        if (!column.isEmpty()) {
            column += ' ';
        }
        column += QByteArray::number(category);
    }
    return column;
}

QVector<int> CategoriesOfRow(const QByteArray& fT5, std::int64_t fG1) {
    QVector<int> categories;
    const QList<QByteArray> numbers = fT5.simplified().split(' ');
    for (const QByteArray& number : numbers) {
        bool ok = false;
        const int category = number.toInt(&ok);
        if (ok && category > 0) {
            categories.append(category);
        }
    }
    // fG1 alone still files a row, so that no contact falls into Unfiled for want of a list.
    if (fT5.trimmed().isEmpty() && fG1 > 0 && fG1 <= std::numeric_limits<std::int16_t>::max()) {
        categories.append(static_cast<int>(fG1));
    }
    return categories;
}

std::optional<Contact> LoadContact(Store& store, std::int32_t key, Result* result) {
    Result found;
    const std::optional<Row> row = records::LoadRow(store, kContactSection, key, &found);
    Contact contact;
    if (found.ok() && (!row || !DecodeContactBlob(records::RowBlob(store, *row), contact))) {
        found = Result::Message(kNoRecordFound);
    }
    if (result != nullptr) {
        *result = found;
    }
    if (!found.ok()) {
        return std::nullopt;
    }
    contact.key = key;
    contact.fileAs = TitleOf(store, key, row->bytes(Col::fT1));
    contact.categories = CategoriesOfRow(row->bytes(Col::fT5), row->integer(Col::fG1));
    return contact;
}

Result StoreContact(Store& store, Contact& contact) {
    // Without a title the row could never be listed again.
    if (contact.fileAs.trimmed().isEmpty()) {
        return Result::Message(kFileAsMissing);
    }
    const QString primary = PrimaryContact(contact);
    const QByteArray mail = MailList(contact, store.random());
    records::RecordData data;
    data.blob = ContactBlob(contact);
    data.title = records::Title{contact.fileAs, contact.isPrivate};
    data.columns = [&](std::int32_t key, RowValues& row) {
        const QByteArray sealedMail = store.cry.Cipher(key, 1, mail);
        if (sealedMail.isEmpty()) {
            return false;
        }
        row.set(Col::fT2, Record_Put::SealTitle(store.cry, key, primary, store.user.level, contact.isPrivate));
        row.set(Col::fT3, sealedMail);
        row.set(Col::fT5, CategoryColumn(contact.categories));
        row.set(Col::fG1, contact.primaryCategory());
        row.set(Col::fF3, contact.categories.isEmpty() ? 0 : 1);
        row.set(Col::fR5, 0);
        return true;
    };
    return records::SaveRecord(store, kKind, contact.key, data);
}

Result DeleteContact(Store& store, std::int32_t key) {
    return records::DeleteRecord(store, kContactSection, key);
}

bool MayDeleteAll(const Store& store) {
    return store.user.level == 0;
}

bool DeletesEverything(bool onlyCategory, int category) {
    return !onlyCategory || category <= 0 || category == categories::kEditCommand;
}

Result DeleteAllContacts(Store& store, bool onlyCategory, int category) {
    if (!MayDeleteAll(store)) {
        return Result::Message(kAdministratorOnly);
    }
    return records::DeleteRecords(store, kContactSection,
                                  DeletesEverything(onlyCategory, category) ? records::kAllCategories : category);
}

Result RefreshCategories(Store& store) {
    const QStringList items = categories::LoadCategoryText(store, kContactSection).split(u';');
    QSet<int> known;
    for (qsizetype i = 1; i < items.size(); i += 2) {
        known.insert(items[i].toInt());
    }
    struct Repair {
        std::int64_t key;
        QVector<int> kept;
    };
    QVector<Repair> repairs;
    sqlite::Statement select = store.connection().prepare(
        "SELECT fPK, fT1, fT5, fG1 FROM tt WHERE fSec=? AND (length(fT5)>0 OR fG1>0) ORDER BY fPK");
    select.bind(1, static_cast<std::int64_t>(kContactSection));
    Record_Get::TitleAccess own;
    own.owner = static_cast<std::uint8_t>(store.user.level);
    while (select.step()) {
        const QVector<int> filed = CategoriesOfRow(select.bytes(2), select.int64(3));
        QVector<int> kept;
        for (const int category : filed) {
            if (known.contains(category)) {
                kept.append(category);
            }
        }
        // The list is the reader's own; another user's contacts are filed by theirs.
        const auto key = static_cast<std::int32_t>(select.int64(0));
        if (kept != filed && !Record_Get::OpenTitle(store.cry, key, select.bytes(1), own).isEmpty()) {
            repairs.append({key, kept});
        }
    }
    if (sqlite::Error e = select.error()) {
        return Result::Engine(e.number);
    }
    if (repairs.isEmpty()) {
        return {};
    }
    sqlite::Savepoint transaction(store.connection());
    if (sqlite::Error e = transaction.begin()) {
        return Result::Engine(e.number);
    }
    store.NeedRequery = true;
    for (const Repair& repair : repairs) {
        sqlite::Statement update = store.connection().cached("UPDATE tt SET fT5=?, fG1=?, fF3=? WHERE fPK=?");
        update.bind(1, CategoryColumn(repair.kept));
        update.bind(2, static_cast<std::int64_t>(repair.kept.isEmpty() ? 0 : repair.kept.first()));
        update.bind(3, static_cast<std::int64_t>(repair.kept.isEmpty() ? 0 : 1));
        update.bind(4, repair.key);
        update.step();
        if (sqlite::Error e = update.error()) {
            return Result::Engine(e.number);
        }
    }
    return Result::Engine(transaction.release().number);
}

find::SearchableSection Searchable() {
    find::SearchableSection searchable = find::ListedByTitle(
        kContactSection, [](CRY& cry, const Row& row, const QString&) { return find::TitleIn(cry, row, Col::fT2); });
    // The order of the contact slots is the program's own, not the person's.
    searchable.unsearchedFields = {ComSort};
    return searchable;
}

} // namespace contacts
