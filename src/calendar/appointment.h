#pragma once

#include "base/result.h"
#include "sections/find/record_search.h"
#include "calendar/recurrence.h"
#include "shell/section_table.h"

#include <QByteArray>
#include <QDate>
#include <QString>
#include <QVector>

#include <cstdint>
#include <optional>

class Store;

// An appointment on disk: one record, a single appointment or a series. The plain columns let a range be
// selected without deciphering: the start slot of a single, the series' first and last day on their own scales.
namespace CALENDAR {

constexpr int kAppointmentSection = sections::Number(SectionId::Calendar);
// fSub below this marks a single appointment; from it to kOtherSeries - 1 a yearly series with its month.
constexpr int kYearlySeries = 148;
constexpr int kOtherSeries = 196;

enum AppointmentField {
    Owner = 0,
    Private = 1,
    ctlAppoStart = 2,
    ctlAppoEnd = 3,
    ctlAllday = 4,
    ctlAlarmYN = 5,
    ctlAlarmDelay = 6,
    ctlRedoString = 7,
    ctlSubject = 8,
    ctlLocation = 9,
    ctlNotes = 10,
};

QString AppointmentDescriptor();

struct Appointment {
    std::int32_t key = -1;
    int owner = 0;
    bool isPrivate = false;
    std::int64_t start = 0; // calendar minutes; a series' first occurrence
    std::int64_t end = 0;
    bool allDay = false;
    bool alarmOn = false;
    int alarmDelay = 0; // minutes before the start; 0 no alarm
    QByteArray redo;    // the recurrence string; empty for a single appointment
    QString subject;
    QString location;
    QString notes;

    bool isSeries() const { return !redo.isEmpty(); }
};

// The alarm rows the editor offers, shown text and stored minutes: timed events, all-day events.
struct AlarmChoice {
    const char* text;
    int minutes;
};
QVector<AlarmChoice> AlarmChoices(bool allDay);

QByteArray AppointmentBlob(const Appointment& appointment);
// The fields of a deciphered blob; false, with `appointment` untouched, for an empty blob.
bool DecodeAppointmentBlob(const QByteArray& blob, Appointment& appointment);

// The appointment `key`; absent when there is none, it is not an appointment (`result` says message 16) or it
// does not decode.
std::optional<Appointment> LoadAppointment(Store& store, std::int32_t key, Result* result = nullptr);
// Writes the record with its coded columns: the start slot, the kind marker, the series' first and last day
// (a made-up far end for an open series), the alarm, the enciphered start and time of day, and the enciphered
// rule. `today` dates a single appointment's day columns. A new record for a key below 1.
Result StoreAppointment(Store& store, Appointment& appointment, const QDate& today);
Result DeleteAppointment(Store& store, std::int32_t key);

// A yearly all-day series from a contact's date: its day and month every year until 2075, under `subject`.
// A date before the calendar's first year moves to 1908, one at or beyond its last to 2075.
Result AddYearlyEvent(Store& store, const QDate& date, const QString& subject, bool isPrivate, const QDate& today,
                      std::int32_t* key = nullptr);

// One occurrence: the record and its start minute.
struct Occurrence {
    std::int32_t id = 0;
    std::int64_t time = 0;
};

// The occurrences of the days `from` to `to`: every series that overlaps them expanded, every single that
// starts in them, sorted by SortOccurrences. `firstDay` (Sunday = 1) keeps the phase of weekly series.
QVector<Occurrence> QueryAppointments(Store& store, const QDate& from, const QDate& to, int firstDay);
// Ascending by start, stable: at the same minute series stay before singles, each in the order read.
void SortOccurrences(QVector<Occurrence>& occurrences);

// How Find searches the section's records and lists a hit.
find::SearchableSection Searchable();

} // namespace CALENDAR
