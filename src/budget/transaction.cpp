#include "budget/transaction.h"

#include "shell/dates.h"
#include "budget/budget_lists.h"

#include "base/messages.h"
#include "sections/record_store.h"
#include "shell/section_table.h"
#include "store/conversion.h"
#include "store/field_codec.h"
#include "store/record_get.h"
#include "store/record_put.h"
#include "store/row.h"
#include "store/store.h"

#include <QLocale>
#include <QStringList>

namespace budget {

namespace {

constexpr int kFieldCount = 9;

} // namespace

QString TransactionDescriptor() {
    return QLatin1String(sections::Info(SectionId::Budget).descriptor);
}

QVector<CutText> TextsTooLong(const Transaction& t) {
    QVector<CutText> cut;
    for (const auto& [field, text] :
         {std::pair{QStringLiteral("description"), &t.description},
          std::pair{QStringLiteral("business partner"), &t.partner}, std::pair{QStringLiteral("note"), &t.note}}) {
        const qsizetype kept = Record_Put::FittingText(*text).size();
        if (kept < text->size()) {
            cut.append({field, kept});
        }
    }
    return cut;
}

QString CutTextsNotice(const QVector<CutText>& cut) {
    QStringList lines;
    for (const CutText& c : cut) {
        lines << QStringLiteral("The %1 is longer than a record holds: only its first %2 characters are kept.")
                     .arg(c.field, QLocale().toString(c.kept));
    }
    return lines.join(u'\n');
}

Transaction ClearTransaction(int owner, int category, const QDate& today) {
    Transaction t;
    t.owner = owner;
    t.datePaid = today;
    t.category = category < 0 ? 0 : category;
    return t;
}

std::int32_t CodedR2(int dcwb, RandomSource& random) {
    // The largest multiple of 4 stays below 2147483644, so the sum never leaves the positive 32-bit range.
    return static_cast<std::int32_t>(random.below(536870911)) * 4 + (dcwb & 3);
}

QByteArray TransactionBlob(const Transaction& t) {
    using Record_Put::PutField;
    QByteArray blob;
    blob += PutField(t.owner, FieldType::Byte, Owner);
    blob += PutField(t.isPrivate, FieldType::Boolean, Private);
    blob += PutField(t.description, FieldType::Text, Description);
    blob += PutField(t.partner, FieldType::Text, BizPartner);
    // A day without a time goes as a day: its local midnight does not exist everywhere.
    if (t.datePaid.isValid()) {
        blob += PutField(t.datePaid, FieldType::DateTime, DatePaid);
    }
    blob += PutField(QVariant::fromValue(t.amount), FieldType::Currency, Amount);
    blob += PutField(t.dcwb, FieldType::Int16, DCWB);
    blob += PutField(t.payMode, FieldType::Int16, PayMode);
    blob += PutField(t.note, FieldType::LongText, Note);
    return blob;
}

bool DecodeTransactionBlob(const QByteArray& blob, Transaction& t) {
    if (blob.isEmpty()) {
        return false;
    }
    FieldValues values(kFieldCount);
    Record_Get::GetRecord(values, blob);
    t.owner = values[Owner].toInt();
    t.isPrivate = values[Private].toBool();
    t.description = values[Description].toString();
    t.partner = values[BizPartner].toString();
    t.datePaid = values[DatePaid].toDateTime().date();
    t.amount = values[Amount].value<Currency>();
    t.dcwb = values[DCWB].toInt();
    t.payMode = values[PayMode].toInt();
    t.note = values[Note].toString();
    return true;
}

bool DecodeTransaction(Store& store, const Row& row, Transaction& t) {
    Transaction read = t;
    if (!DecodeTransactionBlob(records::RowBlob(store, row), read)) {
        return false;
    }
    read.key = static_cast<std::int32_t>(row.integer(Col::fPK));
    read.category = static_cast<int>(row.integer(Col::fG1));
    read.spareFlag = row.integer(Col::fF1) != 0;
    read.noteFlag = row.integer(Col::fF2) != 0;
    t = read;
    return true;
}

std::optional<Transaction> LoadTransaction(Store& store, std::int32_t key, Result* result) {
    const std::optional<Row> row = records::LoadRow(store, kBudgetSection, key, result);
    Transaction t;
    if (!row || !DecodeTransaction(store, *row, t)) {
        return std::nullopt;
    }
    return t;
}

Result StoreTransaction(Store& store, int budget, Transaction& t) {
    const records::RecordKind kind{.section = kBudgetSection,
                                   .freeColumns = {.onT2 = true, .onT3 = true, .onR1 = true, .onR4 = true}};
    records::RecordData data;
    data.blob = TransactionBlob(t);
    data.columns = [&](std::int32_t key, RowValues& row) {
        const QByteArray amount = store.cry.Cipher(
            key, 1, Record_Put::PutField(QVariant::fromValue(t.amount), FieldType::Currency, kHeaderlessIndex));
        if (amount.isEmpty()) {
            return false;
        }
        row.set(Col::fSub, budget);
        row.set(Col::fG1, t.category);
        row.set(Col::fR2, CodedR2(t.dcwb, store.random()));
        row.set(Col::fR3, DayNumber(t.datePaid));
        row.set(Col::fT1, amount);
        row.set(Col::fF1, t.spareFlag ? 1 : 0);
        row.set(Col::fF2, t.noteFlag ? 1 : 0);
        return true;
    };
    return records::SaveRecord(store, kind, t.key, data);
}

Result DeleteTransaction(Store& store, std::int32_t key) {
    return records::DeleteRecord(store, kBudgetSection, key);
}

find::SearchableSection Searchable() {
    find::SearchableSection searchable;
    searchable.section = kBudgetSection;
    searchable.describe = [](CRY&, const Row& row, const FieldValues& fields) {
        find::Hit hit;
        hit.item = fields.value(Description).toString();
        hit.budget = static_cast<int>(row.integer(Col::fSub));
        hit.date = DateOfDayNumber(static_cast<int>(row.integer(Col::fR3)));
        hit.detail = dates::ShortDate(hit.date);
        return hit;
    };
    return searchable;
}

} // namespace budget
