#include "calendar/calendar_commands.h"

#include "app/cli/command_line.h"
#include "base/messages.h"
#include "calendar/appointment.h"
#include "calendar/redo_editor.h"
#include "shell/session.h"
#include "store/store.h"

#include <QHash>

namespace CALENDAR {

namespace {

using cli::CommandLine;

constexpr const char* kUsage =
    "calendar add FILE --start \"YYYY-MM-DD HH:MM\" --end \"YYYY-MM-DD HH:MM\" --subject S [--all-day]\n"
    "                    [--private] [--location L] [--note T] [--recurrence-hex HEX]\n"
    "       noctaria-cli calendar occurrences FILE --from YYYY-MM-DD --to YYYY-MM-DD [--first-day N]\n"
    "       noctaria-cli calendar show FILE KEY\n"
    "       noctaria-cli calendar delete FILE KEY";

const QString kMinuteFormat = QStringLiteral("yyyy-MM-dd HH:mm");

// A day the calendar can hold, or the limit's message.
bool WithinLimits(const CommandLine& line, const QDate& day) {
    if (day < LowerLimitDate()) {
        line.fail(MsgText(149) + QLatin1Char(' ') + LowerLimitDate().toString(Qt::ISODate));
        return false;
    }
    if (day > UpperLimitDate()) {
        line.fail(MsgText(150) + QLatin1Char(' ') + UpperLimitDate().toString(Qt::ISODate));
        return false;
    }
    return true;
}

std::optional<std::int64_t> Minute(const CommandLine& line, const char* name) {
    const QDateTime when = QDateTime::fromString(line.value(QLatin1String(name)), kMinuteFormat);
    if (!when.isValid()) {
        line.fail(QStringLiteral("--%1 takes a time as \"YYYY-MM-DD HH:MM\"").arg(QLatin1String(name)));
        return std::nullopt;
    }
    if (!WithinLimits(line, when.date())) {
        return std::nullopt;
    }
    return MinuteOf(when.date(), when.time().hour() * 60 + when.time().minute());
}

// The rule a person hands over as hex, kept byte for byte; refused unless it is one the calendar can expand.
std::optional<QByteArray> GivenRule(const CommandLine& line) {
    const QString hex = line.value(QStringLiteral("recurrence-hex"));
    const QByteArray redo = QByteArray::fromHex(hex.toLatin1());
    const bool isHex = hex.size() % 2 == 0 && redo.toHex() == hex.toLower().toLatin1();
    const std::optional<Recurrence> rule = isHex ? ParseRecurrence(redo) : std::nullopt;
    if (!rule || rule->kind == RedoNone) {
        line.fail(QStringLiteral("--recurrence-hex is no recurrence: it takes an odd number of at least 7 bytes as "
                                 "hex, led by a flag byte that names a kind from 1 to 7"));
        return std::nullopt;
    }
    return redo;
}

int Add(const QStringList& args, cli::Streams io) {
    CommandLine line(io, kUsage,
                     {cli::ValueOption("start", "the start, YYYY-MM-DD HH:MM"),
                      cli::ValueOption("end", "the end, YYYY-MM-DD HH:MM"), cli::ValueOption("subject", "the subject"),
                      QCommandLineOption(QStringLiteral("all-day"), QStringLiteral("an all-day event")),
                      QCommandLineOption(QStringLiteral("private"), QStringLiteral("a private appointment")),
                      cli::ValueOption("location", "the location"), cli::ValueOption("note", "the notes"),
                      cli::ValueOption("recurrence-hex", "the recurrence string as hex")});
    if (!line.parse(args, 1)) {
        return cli::kExitUsage;
    }
    Appointment appointment;
    const std::optional<std::int64_t> start = Minute(line, "start");
    const std::optional<std::int64_t> end = start ? Minute(line, "end") : std::nullopt;
    if (!end) {
        return cli::kExitUsage;
    }
    appointment.start = *start;
    appointment.end = *end;
    if (appointment.end < appointment.start) {
        return line.fail(QStringLiteral("the end lies before the start"));
    }
    // An all-day event runs from midnight to midnight; a span of that shape is one.
    appointment.allDay = line.isSet(QStringLiteral("all-day")) ||
                         (MinuteOfDay(appointment.start) == 0 && appointment.end == appointment.start + kMinutesPerDay);
    if (appointment.allDay) {
        appointment.start -= MinuteOfDay(appointment.start);
        appointment.end = appointment.start + kMinutesPerDay;
    }
    if (line.isSet(QStringLiteral("recurrence-hex"))) {
        const std::optional<QByteArray> redo = GivenRule(line);
        if (!redo) {
            return cli::kExitUsage;
        }
        appointment.redo = *redo;
    }
    appointment.subject = line.value(QStringLiteral("subject"));
    appointment.location = line.value(QStringLiteral("location"));
    appointment.notes = line.value(QStringLiteral("note"));
    appointment.isPrivate = line.isSet(QStringLiteral("private"));
    return cli::WithOpenFile(io, line.words()[0], [&](Session& session) {
        Store& store = session.store();
        appointment.owner = store.user.level;
        const Result r = StoreAppointment(store, appointment, QDate::currentDate());
        if (r.ok()) {
            io.out << appointment.key << '\n';
        }
        return cli::Report(line, r);
    });
}

int Occurrences(const QStringList& args, cli::Streams io) {
    CommandLine line(io, kUsage,
                     {cli::ValueOption("from", "the first day"), cli::ValueOption("to", "the last day"),
                      cli::ValueOption("first-day", "the first day of the week, 1 Sunday .. 7 Saturday")});
    if (!line.parse(args, 1)) {
        return cli::kExitUsage;
    }
    const QDate from = line.date(QStringLiteral("from"));
    const QDate to = from.isValid() ? line.date(QStringLiteral("to")) : QDate();
    if (!to.isValid()) {
        return cli::kExitUsage;
    }
    if (!WithinLimits(line, from) || !WithinLimits(line, to)) {
        return cli::kExitUsage;
    }
    if (to < from) {
        return line.fail(QStringLiteral("--to lies before --from"));
    }
    int firstDay = SystemFirstDay();
    if (line.isSet(QStringLiteral("first-day"))) {
        bool number = false;
        firstDay = line.value(QStringLiteral("first-day")).toInt(&number);
        if (!number || firstDay < 1 || firstDay > 7) {
            return line.fail(QStringLiteral("--first-day takes 1 (Sunday) to 7 (Saturday)"));
        }
    }
    return cli::WithOpenFile(io, line.words()[0], [&](Session& session) {
        Store& store = session.store();
        store.hidePrivate = false;
        QHash<std::int32_t, QString> subjects;
        for (const Occurrence& occurrence : QueryAppointments(store, from, to, firstDay)) {
            if (!subjects.contains(occurrence.id)) {
                const std::optional<Appointment> appointment = LoadAppointment(store, occurrence.id);
                subjects.insert(occurrence.id, appointment ? cli::OneLine(appointment->subject) : QString());
            }
            io.out << MinuteText(occurrence.time) << '\t' << occurrence.id << '\t' << subjects.value(occurrence.id)
                   << '\n';
        }
        return cli::kExitOk;
    });
}

int Show(const QStringList& args, cli::Streams io) {
    return cli::WithRecord(args, io, kUsage, {}, kAppointmentSection, "appointment",
                           [](const CommandLine& line, Store& store, std::int32_t key) {
                               store.hidePrivate = false;
                               Result r;
                               const std::optional<Appointment> a = LoadAppointment(store, key, &r);
                               if (!a) {
                                   return line.fail(cli::NoRecord(key, r, "appointment"));
                               }
                               cli::Streams out = line.io();
                               out.out << "key\t" << a->key << "\nstart\t" << MinuteText(a->start) << "\nend\t"
                                       << MinuteText(a->end) << "\nall-day\t" << (a->allDay ? "yes" : "no")
                                       << "\nprivate\t" << (a->isPrivate ? "yes" : "no") << "\nalarm\t"
                                       << (a->alarmOn
                                               ? QString::number(a->alarmDelay) + QStringLiteral(" minutes before")
                                               : QStringLiteral("none"))
                                       << "\nsubject\t" << cli::OneLine(a->subject) << "\nlocation\t"
                                       << cli::OneLine(a->location) << "\nnotes\t" << cli::OneLine(a->notes) << '\n';
                               if (a->isSeries()) {
                                   out.out << "recurrence\t" << RecurrenceInWords(a->redo, SystemFirstDay())
                                           << "\nrecurrence-hex\t" << QString::fromLatin1(a->redo.toHex()) << '\n';
                               }
                               return cli::kExitOk;
                           });
}

int Delete(const QStringList& args, cli::Streams io) {
    return cli::WithRecord(args, io, kUsage, {}, kAppointmentSection, "appointment",
                           [](const CommandLine& line, Store& store, std::int32_t key) {
                               return cli::Report(line, DeleteAppointment(store, key));
                           });
}

} // namespace

int CalendarCommand(const QStringList& args, cli::Streams io) {
    return cli::RunVerb(args, io, kUsage,
                        {{"add", Add}, {"occurrences", Occurrences}, {"show", Show}, {"delete", Delete}});
}

} // namespace CALENDAR
