#include "sections/memos/memo.h"

#include "shell/section_table.h"
#include "store/field_codec.h"
#include "store/record_get.h"
#include "store/record_put.h"
#include "store/store.h"

namespace memos {

namespace {

constexpr int kFieldCount = 6;

const records::RecordKind kKind{
    .section = kMemoSection,
    .freeColumns = {.onT2 = true, .onT3 = true, .onR1 = true, .onR2 = true, .onR3 = true, .onR4 = true}};

} // namespace

QString MemoDescriptor() {
    return QLatin1String(sections::Info(SectionId::Memos).descriptor);
}

Memo NewMemo(int owner, int category, const QString& subject, const QDateTime& now) {
    Memo memo;
    memo.owner = owner;
    memo.created = now;
    memo.modified = now;
    memo.subject = subject;
    memo.category = category < 0 ? 0 : category;
    return memo;
}

QByteArray MemoBlob(const Memo& memo) {
    using Record_Put::PutField;
    return PutField(memo.owner, FieldType::Byte, Owner) + PutField(memo.isPrivate, FieldType::Boolean, Private) +
           PutField(memo.created, FieldType::DateTime, DateCreated) +
           PutField(memo.modified, FieldType::DateTime, DateLastModified) +
           PutField(memo.subject, FieldType::Text, Subject) + PutField(memo.text, FieldType::LongText, Text);
}

bool DecodeMemoBlob(const QByteArray& blob, Memo& memo) {
    if (blob.isEmpty()) {
        return false;
    }
    FieldValues values(kFieldCount);
    Record_Get::GetRecord(values, blob);
    memo.owner = values[Owner].toInt();
    memo.isPrivate = values[Private].toBool();
    memo.created = values[DateCreated].toDateTime();
    memo.modified = values[DateLastModified].toDateTime();
    memo.subject = values[Subject].toString();
    memo.text = values[Text].toString();
    return true;
}

std::optional<Memo> LoadMemo(Store& store, std::int32_t key, Result* result) {
    const std::optional<Row> row = records::LoadRow(store, kMemoSection, key, result);
    Memo memo;
    if (!row || !DecodeMemoBlob(records::RowBlob(store, *row), memo)) {
        return std::nullopt;
    }
    memo.key = key;
    memo.category = static_cast<int>(row->integer(Col::fG1));
    return memo;
}

Result StoreMemo(Store& store, Memo& memo, const QDateTime& now) {
    Result found;
    if (memo.key <= 0 || !records::LoadRow(store, kMemoSection, memo.key, &found)) {
        if (!found.ok()) {
            return found;
        }
        memo.created = now;
    }
    memo.modified = now;
    records::RecordData data;
    data.blob = MemoBlob(memo);
    data.title = records::Title{memo.subject, memo.isPrivate};
    data.columns = [&](std::int32_t, RowValues& row) {
        row.set(Col::fG1, memo.category);
        return true;
    };
    return records::SaveRecord(store, kKind, memo.key, data);
}

QVector<records::ListedTitle> ListMemos(Store& store, int category) {
    return records::ListTitles(store, kMemoSection, category);
}

Result DeleteMemo(Store& store, std::int32_t key) {
    return records::DeleteRecord(store, kMemoSection, key);
}

Result DeleteMemos(Store& store, int category) {
    return records::DeleteRecords(store, kMemoSection, category);
}

find::SearchableSection Searchable() {
    return find::ListedByTitle(kMemoSection, [](CRY&, const Row&, const QString&) { return QString(); });
}

} // namespace memos
