#include "sections/diary/diary.h"

#include <QLocale>
#include "shell/dates.h"
#include "sections/record_store.h"
#include "shell/section_table.h"
#include "store/field_codec.h"
#include "store/record_get.h"
#include "store/record_put.h"
#include "store/store.h"

#include <QMap>

namespace diary {

namespace {

constexpr int kFieldCount = 3;

const records::RecordKind kKind{
    .section = kDiarySection,
    .freeColumns = {.onT1 = true, .onT2 = true, .onT3 = true, .onR1 = true, .onR2 = true, .onR4 = true}};

} // namespace

QString DiaryDescriptor() {
    return QLatin1String(sections::Info(SectionId::Diary).descriptor);
}

QDate WeekStart(const QDate& date, Qt::DayOfWeek firstDay) {
    return date.addDays(-((date.dayOfWeek() - firstDay + 7) % 7));
}

QByteArray DiaryBlob(const DiaryEntry& entry) {
    using Record_Put::PutField;
    return PutField(entry.owner, FieldType::Byte, Owner) + PutField(entry.date, FieldType::DateTime, Date) +
           PutField(entry.text, FieldType::LongText, Text);
}

bool DecodeDiaryBlob(const QByteArray& blob, DiaryEntry& entry) {
    if (blob.isEmpty()) {
        return false;
    }
    FieldValues values(kFieldCount);
    Record_Get::GetRecord(values, blob);
    entry.owner = values[Owner].toInt();
    entry.date = values[Date].toDateTime().date();
    entry.text = values[Text].toString();
    return true;
}

QVector<DiaryEntry> LoadEntries(Store& store, const QDate& from, const QDate& to) {
    // The day range picks a handful of rows by its index; the section's index would walk every diary row.
    sqlite::Statement select =
        store.connection().prepare("SELECT * FROM tt WHERE +fSec=? AND fR3 BETWEEN ? AND ? ORDER BY fPK");
    select.bind(1, static_cast<std::int64_t>(kDiarySection))
        .bind(2, static_cast<std::int64_t>(records::DayNumber(from, kDiaryDayBase)))
        .bind(3, static_cast<std::int64_t>(records::DayNumber(to, kDiaryDayBase)));
    QMap<QDate, DiaryEntry> days;
    while (select.step()) {
        const Row row = Row::FromStatement(select);
        DiaryEntry entry;
        if (!DecodeDiaryBlob(records::RowBlob(store, row), entry) || entry.owner != store.user.level ||
            entry.date < from || entry.date > to) {
            continue;
        }
        entry.key = static_cast<std::int32_t>(row.integer(Col::fPK));
        days.insert(entry.date, entry);
    }
    return days.values().toVector();
}

std::array<DiaryEntry, 7> LoadWeek(Store& store, const QDate& weekStart) {
    std::array<DiaryEntry, 7> week;
    for (int i = 0; i < 7; ++i) {
        week[i].owner = store.user.level;
        week[i].date = weekStart.addDays(i);
    }
    for (const DiaryEntry& entry : LoadEntries(store, weekStart, weekStart.addDays(6))) {
        week[weekStart.daysTo(entry.date)] = entry;
    }
    return week;
}

Result StoreDiaryDay(Store& store, DiaryEntry& entry) {
    records::RecordData data;
    data.blob = DiaryBlob(entry);
    data.columns = [&](std::int32_t, RowValues& row) {
        row.set(Col::fR3, records::DayNumber(entry.date, kDiaryDayBase));
        return true;
    };
    return records::SaveRecord(store, kKind, entry.key, data);
}

QVector<QDate> DaysWithEntries(Store& store, const QDate& from, const QDate& to) {
    QVector<QDate> days;
    for (const DiaryEntry& entry : LoadEntries(store, from, to)) {
        days.append(entry.date);
    }
    return days;
}

find::SearchableSection Searchable() {
    find::SearchableSection searchable;
    searchable.section = kDiarySection;
    searchable.describe = [](CRY&, const Row& row, const FieldValues& fields) {
        find::Hit hit;
        hit.date = records::DateOfDayNumber(static_cast<int>(row.integer(Col::fR3)), kDiaryDayBase);
        hit.item = QLocale().toString(fields.value(Date).toDateTime().date(), QLocale::LongFormat);
        hit.detail = dates::ShortDate(hit.date);
        return hit;
    };
    // A diary is private as a whole.
    searchable.alwaysPrivate = true;
    return searchable;
}

} // namespace diary
