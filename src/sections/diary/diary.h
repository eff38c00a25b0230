#pragma once

#include "base/result.h"
#include "sections/find/record_search.h"
#include "shell/section_table.h"

#include <QDate>
#include <QString>
#include <QVector>

#include <array>
#include <cstdint>

class Store;

// The diary: one free text per day and user. The day stands in a plain column so that a week is one range
// query; the text and its owner are enciphered.
namespace diary {

constexpr int kDiarySection = sections::Number(SectionId::Diary);
constexpr int kDiaryDayBase = 35509;

QString DiaryDescriptor();
enum DiaryField { Owner, Date, Text };

struct DiaryEntry {
    std::int32_t key = -1;
    int owner = 0;
    QDate date;
    QString text;
};

// The first day of the week that holds `date`.
QDate WeekStart(const QDate& date, Qt::DayOfWeek firstDay);

QByteArray DiaryBlob(const DiaryEntry& entry);
bool DecodeDiaryBlob(const QByteArray& blob, DiaryEntry& entry);

// The present user's entries from `from` to `to`, in day order; of two entries for one day the later row wins.
QVector<DiaryEntry> LoadEntries(Store& store, const QDate& from, const QDate& to);

// The seven days of the week that begins on `weekStart`: each day's entry of the present user, or an entry
// with key -1 and the day's date.
std::array<DiaryEntry, 7> LoadWeek(Store& store, const QDate& weekStart);

// Writes the day: a new row for key -1 or a key that no longer exists, else the row itself. An empty text is
// stored as an entry, not deleted. On success `entry.key` is the row's key.
Result StoreDiaryDay(Store& store, DiaryEntry& entry);

// The days from `from` to `to` that hold an entry of the present user.
QVector<QDate> DaysWithEntries(Store& store, const QDate& from, const QDate& to);

// How Find searches the section's records and lists a hit.
find::SearchableSection Searchable();

} // namespace diary
