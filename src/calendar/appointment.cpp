#include "calendar/appointment.h"

#include "shell/dates.h"
#include "sections/record_store.h"
#include "store/codepage.h"
#include "store/record_get.h"
#include "store/record_put.h"
#include "store/store.h"

#include <algorithm>

namespace CALENDAR {

namespace {

constexpr int kFieldCount = 11;
// Every column an appointment has is in use, coded or enciphered.
const records::RecordKind kKind{.section = kAppointmentSection, .freeColumns = {}};

QString Text(const QVariant& raw) {
    return codepage::FromBytes(raw.toByteArray());
}

// fSub: a single's is noise below the series, a yearly series' tells its month.
int KindMarker(const std::optional<Recurrence>& rule, const Appointment& appointment, RandomSource& random) {
    if (!appointment.isSeries()) {
        return static_cast<int>(random.below(kYearlySeries));
    }
    if (rule && (rule->kind == RedoYearDay || rule->kind == RedoYearNth)) {
        const int month = rule->b >= 1 && rule->b <= 12 ? rule->b : DayOfMinute(appointment.start).month();
        return kYearlySeries + 4 * (month - 1) + static_cast<int>(random.below(4));
    }
    return kOtherSeries + static_cast<int>(random.below(60));
}

struct SeriesDays {
    int startColumn = 0; // fR4
    int endColumn = 0;   // fR2
};

SeriesDays DayColumns(const std::optional<Recurrence>& rule, const Appointment& appointment, const QDate& today,
                      RandomSource& random) {
    if (!appointment.isSeries()) {
        return {records::DayNumber(today, kSeriesStartBase), records::DayNumber(today, kSeriesEndBase)};
    }
    const QDate first = rule ? DateOfRedoDay(rule->startDay) : DayOfMinute(appointment.start);
    QDate last = rule ? DateOfRedoDay(rule->endDay) : first;
    if (rule && rule->endMode == EndNone) {
        last = DateOfOleDay(kOpenEndBase + static_cast<int>(random.below(kOpenEndSpread)));
    }
    return {records::DayNumber(first, kSeriesStartBase), records::DayNumber(last, kSeriesEndBase)};
}

} // namespace

QString AppointmentDescriptor() {
    return QLatin1String(sections::Info(SectionId::Calendar).descriptor);
}

QVector<AlarmChoice> AlarmChoices(bool allDay) {
    if (allDay) {
        return {{"same day", 1},
                {"1 day before", 1440},
                {"2 days before", 2880},
                {"3 days before", 4320},
                {"1 week before", 10080}};
    }
    return {{"on time", 1},          {"5 min before", 5},      {"10 min before", 10},   {"15 min before", 15},
            {"30 min before", 30},   {"1 hour before", 60},    {"2 hours before", 120}, {"3 hours before", 180},
            {"6 hours before", 360}, {"12 hours before", 720}, {"1 day before", 1440}};
}

QByteArray AppointmentBlob(const Appointment& appointment) {
    using Record_Put::PutField;
    return PutField(appointment.owner, FieldType::Byte, Owner) +
           PutField(appointment.isPrivate, FieldType::Boolean, Private) +
           PutField(static_cast<qint32>(appointment.start), FieldType::Int32, ctlAppoStart) +
           PutField(static_cast<qint32>(appointment.end), FieldType::Int32, ctlAppoEnd) +
           PutField(appointment.allDay ? 1 : 0, FieldType::Byte, ctlAllday) +
           PutField(appointment.alarmOn ? 1 : 0, FieldType::Byte, ctlAlarmYN) +
           PutField(appointment.alarmDelay, FieldType::Int32, ctlAlarmDelay) +
           PutField(appointment.redo, FieldType::Text, ctlRedoString) +
           PutField(appointment.subject, FieldType::Text, ctlSubject) +
           PutField(appointment.location, FieldType::Text, ctlLocation) +
           PutField(appointment.notes, FieldType::LongText, ctlNotes);
}

bool DecodeAppointmentBlob(const QByteArray& blob, Appointment& appointment) {
    if (blob.isEmpty()) {
        return false;
    }
    // Raw texts: the rule is bytes and must come back byte for byte; the other texts are decoded here.
    FieldValues values(kFieldCount);
    Record_Get::GetRecord(values, blob, false, Record_Get::Texts::Raw);
    appointment.owner = values[Owner].toInt();
    appointment.isPrivate = values[Private].toBool();
    appointment.start = values[ctlAppoStart].toInt();
    appointment.end = values[ctlAppoEnd].toInt();
    appointment.allDay = values[ctlAllday].toInt() == 1;
    appointment.alarmOn = values[ctlAlarmYN].toInt() == 1;
    appointment.alarmDelay = values[ctlAlarmDelay].toInt();
    appointment.redo = values[ctlRedoString].toByteArray();
    appointment.subject = Text(values[ctlSubject]);
    appointment.location = Text(values[ctlLocation]);
    appointment.notes = Text(values[ctlNotes]);
    return true;
}

std::optional<Appointment> LoadAppointment(Store& store, std::int32_t key, Result* result) {
    const std::optional<Row> row = records::LoadRow(store, kAppointmentSection, key, result);
    Appointment appointment;
    if (!row || !DecodeAppointmentBlob(records::RowBlob(store, *row), appointment)) {
        return std::nullopt;
    }
    appointment.key = key;
    return appointment;
}

Result StoreAppointment(Store& store, Appointment& appointment, const QDate& today) {
    const std::optional<Recurrence> rule = ParseRecurrence(appointment.redo);
    records::RecordData data;
    data.blob = AppointmentBlob(appointment);
    data.columns = [&](std::int32_t key, RowValues& row) {
        CRY& cry = store.cry;
        using Record_Put::PutField;
        const QByteArray start =
            cry.Cipher(key, 1, PutField(static_cast<qint32>(appointment.start), FieldType::Int32, kHeaderlessIndex));
        const QByteArray time =
            cry.Cipher(key, 1, PutField(MinuteOfDay(appointment.start) / 6, FieldType::Byte, kHeaderlessIndex));
        // A single has no rule; random bytes keep the column from telling it apart.
        const QByteArray redo = cry.Cipher(key, 1, appointment.isSeries() ? appointment.redo : cry.RandomBytes(7));
        if (start.isEmpty() || time.isEmpty() || redo.isEmpty()) {
            return false;
        }
        const SeriesDays days = DayColumns(rule, appointment, today, store.random());
        row.set(Col::fT1, start);
        row.set(Col::fT2, time);
        row.set(Col::fT3, redo);
        row.set(Col::fR3, static_cast<qint64>(SlotNumber(appointment.start)));
        row.set(Col::fR4, days.startColumn);
        row.set(Col::fSub, KindMarker(rule, appointment, store.random()));
        row.set(Col::fR2, days.endColumn);
        row.set(Col::fR1, appointment.alarmOn ? static_cast<std::int16_t>(appointment.alarmDelay) : 0);
        return true;
    };
    return records::SaveRecord(store, kKind, appointment.key, data);
}

Result DeleteAppointment(Store& store, std::int32_t key) {
    return records::DeleteRecord(store, kAppointmentSection, key);
}

Result AddYearlyEvent(Store& store, const QDate& date, const QString& subject, bool isPrivate, const QDate& today,
                      std::int32_t* key) {
    QDate day = date;
    if (day < LowerLimitDate()) {
        day = QDate(LowerLimitDate().year() + 1, day.month(), 1).addDays(day.day() - 1);
    } else if (day >= UpperLimitDate()) {
        day = QDate(UpperLimitDate().year() - 1, day.month(), 1).addDays(day.day() - 1);
    }
    Recurrence rule;
    rule.kind = RedoYearDay;
    rule.a = static_cast<std::uint8_t>(day.day());
    rule.b = static_cast<std::uint8_t>(day.month());
    rule.startDay = RedoDay(day);
    rule.endDay = RedoDay(QDate(UpperLimitDate().year() - 1, day.month(), 1).addDays(day.day() - 1));
    Appointment appointment;
    appointment.owner = store.user.level;
    appointment.isPrivate = isPrivate;
    appointment.start = MinuteOf(day);
    appointment.end = appointment.start + kMinutesPerDay;
    appointment.allDay = true;
    appointment.redo = RecurrenceString(rule);
    appointment.subject = subject;
    const Result result = StoreAppointment(store, appointment, today);
    if (result.ok() && key != nullptr) {
        *key = appointment.key;
    }
    return result;
}

void SortOccurrences(QVector<Occurrence>& occurrences) {
    std::stable_sort(occurrences.begin(), occurrences.end(),
                     [](const Occurrence& a, const Occurrence& b) { return a.time < b.time; });
}

QVector<Occurrence> QueryAppointments(Store& store, const QDate& from, const QDate& to, int firstDay) {
    struct Expanded {
        std::int32_t id = 0;
        QVector<std::int64_t> times;
    };
    // An open series carries a made-up end between 2052 and 2062, which may lie before the range or even before
    // its own start: every row whose end is that late is a candidate, and its rule tells the real end. The unary
    // plus keeps the engine on the index that narrows most: the series marker here, the start slot below.
    sqlite::Statement series = store.connection().prepare(
        "SELECT fPK, fEtx FROM tt WHERE +fSec=?1 AND fSub>=?2 AND +fR4<=?3 AND +fR2>=?4 ORDER BY fPK");
    series.bind(1, static_cast<std::int64_t>(kAppointmentSection));
    series.bind(2, static_cast<std::int64_t>(kYearlySeries));
    series.bind(3, static_cast<std::int64_t>(records::DayNumber(to, kSeriesStartBase)));
    series.bind(4, static_cast<std::int64_t>(
                       std::min(records::DayNumber(from, kSeriesEndBase), kOpenEndBase - kSeriesEndBase)));
    const QVector<Expanded> expanded = records::OpenRows<Expanded>(
        store.cry.KeyPool(), series, [&](CRY& cry, const Row& row) -> std::optional<Expanded> {
            const auto key = static_cast<std::int32_t>(row.integer(Col::fPK));
            Appointment appointment;
            if (!DecodeAppointmentBlob(cry.Cipher(key, 2, row.bytes(Col::fEtx)), appointment)) {
                return std::nullopt;
            }
            return Expanded{key, ExpandSeries(from, to, MinuteOfDay(appointment.start), appointment.redo, firstDay)};
        });
    QVector<Occurrence> occurrences;
    for (const Expanded& one : expanded) {
        for (const std::int64_t time : one.times) {
            occurrences.append({one.id, time});
        }
    }

    sqlite::Statement singles = store.connection().prepare(
        "SELECT fPK, fT1 FROM tt WHERE +fSec=?1 AND +fSub<?2 AND fR3 BETWEEN ?3 AND ?4 ORDER BY fR3");
    singles.bind(1, static_cast<std::int64_t>(kAppointmentSection));
    singles.bind(2, static_cast<std::int64_t>(kYearlySeries));
    singles.bind(3, static_cast<std::int64_t>(SlotNumber(MinuteOf(from))));
    // The last slot of the last day.
    singles.bind(4, static_cast<std::int64_t>(SlotNumber(MinuteOf(to)) + 287));
    occurrences += records::OpenRows<Occurrence>(
        store.cry.KeyPool(), singles, [](CRY& cry, const Row& row) -> std::optional<Occurrence> {
            const auto key = static_cast<std::int32_t>(row.integer(Col::fPK));
            const QVariant start = Record_Get::DecodeTyped(cry.Cipher(key, 2, row.bytes(Col::fT1)));
            if (!start.isValid()) {
                return std::nullopt;
            }
            return Occurrence{key, start.toLongLong()};
        });
    SortOccurrences(occurrences);
    return occurrences;
}

find::SearchableSection Searchable() {
    find::SearchableSection searchable;
    searchable.section = kAppointmentSection;
    searchable.describe = [](CRY& cry, const Row& row, const FieldValues& fields) {
        find::Hit hit;
        hit.item = fields.value(ctlSubject).toString();
        const QVariant start = Record_Get::DecodeTyped(
            cry.Cipher(static_cast<std::int32_t>(row.integer(Col::fPK)), 2, row.bytes(Col::fT1)));
        if (start.isValid()) {
            hit.date = DayOfMinute(start.toLongLong());
            hit.detail = dates::ShortDate(hit.date);
        }
        return hit;
    };
    // The recurrence string is the program's coding of a rule, which no one typed.
    searchable.unsearchedFields = {ctlRedoString};
    return searchable;
}

} // namespace CALENDAR
