#include "app/bench/calendar_bench.h"

#include "app/bench/bench_support.h"
#include "app/bench/raw_cipher.h"
#include "app/bench/sample_records.h"

#include "calendar/appointment.h"
#include "calendar/recurrence.h"
#include "sections/record_store.h"
#include "shell/session.h"
#include "store/cry.h"
#include "store/sqlite.h"
#include "store/store.h"

#include <QDate>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QSet>
#include <QTextStream>
#include <QVector>

#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace bench {
namespace {

using CALENDAR::Occurrence;

constexpr int kSingles = 100000;
constexpr int kSeries = 1000;
constexpr int kYears = 10;
// Series begin from this many years back to two years ahead, so that a range meets some that have not yet begun,
// some long over and many still running.
constexpr int kSeriesYearsBack = 8;
constexpr int kSeriesYearsAhead = 2;
constexpr int kProbeYears = 4;
constexpr int kOpenPercent = 50;
constexpr int kExceptionPercent = 20;
constexpr int kRuns = 7;
// Weeks begin on Monday (Sunday = 1), so the workweek and the week views cover the same Monday.
constexpr int kFirstDay = 2;
constexpr int kSlotsPerDay = 288;
constexpr double kWeekTargetMs = 50.0;
constexpr double kMonthTargetMs = 100.0;
constexpr std::uint32_t kSeed = 20240613;
// The least SQL that reaches each pass's rows, for the raw side. Only the kind marker's index is narrow for the
// series: the section holds nearly the whole table, and every single's day columns hold the day it was written,
// so that a range after that day takes all of them in on fR4.
constexpr const char* kSeriesSql = "SELECT fPK, fEtx FROM tt WHERE +fSec=? AND fSub>=? AND +fR4<=? AND +fR2>=?";
constexpr const char* kSinglesSql =
    "SELECT fPK, fT1 FROM tt WHERE +fSec=? AND +fSub<? AND fR3 BETWEEN ? AND ? ORDER BY fR3";

struct WrittenSingle {
    std::int64_t start = 0;
    std::int32_t key = 0;
};

struct WrittenSeries {
    std::int32_t key = 0;
    int kind = 0;
    QDate first;
    QDate last; // null for an open series
    int minuteOfDay = 0;
    QByteArray redo;
};

struct Written {
    std::vector<WrittenSingle> singles; // by start
    std::vector<WrittenSeries> series;
    QSet<std::int32_t> seriesKeys;
    std::array<int, 8> byKind{};
    int open = 0;
};

bool Write(Store& store, CALENDAR::Appointment& a, const QDate& today, const char* what, int i, QTextStream& err) {
    if (const Result r = CALENDAR::StoreAppointment(store, a, today); !r.ok()) {
        err << "noctaria-bench: writing " << what << ' ' << i << " failed: " << r.text() << '\n';
        store.connection().exec("ROLLBACK");
        return false;
    }
    return true;
}

// The single appointments through the calendar's own store, inside one transaction of the engine: any day of the
// kYears from `first`, on a five-minute step between six in the morning and ten at night, half an hour or an hour.
bool FillSingles(Store& store, const QDate& today, const QDate& first, Written& written, QTextStream& err) {
    std::mt19937 rng(kSeed);
    const auto days = static_cast<int>(first.daysTo(first.addYears(kYears)));
    if (!Begin(store, err)) {
        return false;
    }
    written.singles.reserve(kSingles);
    for (int i = 0; i < kSingles; ++i) {
        const QDate day = first.addDays(Below(rng, days));
        const int minute = Between(rng, 6 * 12, 22 * 12 - 1) * 5;
        CALENDAR::Appointment a = NewAppointment(rng, store.user.level, false);
        a.start = CALENDAR::MinuteOf(day, minute);
        a.end = a.start + (Below(rng, 2) == 0 ? 30 : 60);
        if (!Write(store, a, today, "appointment", i, err)) {
            return false;
        }
        written.singles.push_back({a.start, a.key});
    }
    std::sort(written.singles.begin(), written.singles.end(),
              [](const WrittenSingle& x, const WrittenSingle& y) { return x.start < y.start; });
    return Commit(store, err);
}

// The rule of a series of `kind` meant to begin on `nominal` (whose day and month the date kinds take), with its
// own parameters; the start day is set by the caller.
CALENDAR::Recurrence NewRule(std::mt19937& rng, int kind, const QDate& nominal) {
    CALENDAR::Recurrence rule;
    rule.kind = kind;
    switch (kind) {
    case CALENDAR::RedoWeekdays:
        for (int i = Between(rng, 1, 3); i > 0; --i) {
            rule.a |= static_cast<std::uint8_t>(2 << Below(rng, 7));
        }
        rule.b = static_cast<std::uint8_t>(Below(rng, 4) == 0 ? 2 : 1);
        break;
    case CALENDAR::RedoEveryNDays:
        rule.b = static_cast<std::uint8_t>(Between(rng, 1, 14));
        break;
    case CALENDAR::RedoWorkdays:
        rule.a = 124;
        break;
    case CALENDAR::RedoMonthDay:
        rule.a = static_cast<std::uint8_t>(nominal.day());
        rule.b = static_cast<std::uint8_t>(Between(rng, 1, 3));
        break;
    case CALENDAR::RedoMonthNth:
        rule.a = static_cast<std::uint8_t>(8 * Between(rng, 1, 5) + Between(rng, 1, 7));
        rule.b = static_cast<std::uint8_t>(Between(rng, 1, 3));
        break;
    case CALENDAR::RedoYearDay:
        rule.a = static_cast<std::uint8_t>(nominal.day());
        rule.b = static_cast<std::uint8_t>(nominal.month());
        break;
    default:
        rule.a = static_cast<std::uint8_t>(8 * Between(rng, 1, 5) + Between(rng, 1, 7));
        rule.b = static_cast<std::uint8_t>(Between(rng, 1, 12));
        break;
    }
    return rule;
}

// The series, kinds 1 to 7 in turn, inside one transaction. Each begins on the first day its rule yields from a
// random day, as the editor stores it; half run open, the others end on a date months to years later, and some
// of the kinds that honour exceptions leave out a few of their first occurrences.
bool FillSeries(Store& store, const QDate& today, Written& written, QTextStream& err) {
    std::mt19937 rng(kSeed + 1);
    const QDate earliest = today.addYears(-kSeriesYearsBack);
    const auto days = static_cast<int>(earliest.daysTo(today.addYears(kSeriesYearsAhead)));
    if (!Begin(store, err)) {
        return false;
    }
    written.series.reserve(kSeries);
    for (int i = 0; i < kSeries; ++i) {
        const int kind = CALENDAR::RedoWeekdays + i % CALENDAR::RedoYearNth;
        QDate nominal = earliest.addDays(Below(rng, days));
        // A yearly date on the 29th of February would be missing three years in four.
        if (nominal.month() == 2 && nominal.day() == 29) {
            nominal = nominal.addDays(-1);
        }
        const bool allDay = kind == CALENDAR::RedoYearDay;
        const int minuteOfDay = allDay ? 0 : Between(rng, 7 * 4, 20 * 4) * 15;
        CALENDAR::Recurrence rule = NewRule(rng, kind, nominal);
        rule.startDay = CALENDAR::RedoDay(nominal);
        const QVector<std::int64_t> firsts = CALENDAR::ExpandSeries(nominal, nominal.addYears(2), minuteOfDay,
                                                                    CALENDAR::RecurrenceString(rule), kFirstDay);
        if (firsts.isEmpty()) {
            err << "noctaria-bench: series " << i << " of kind " << kind << " yields no occurrence\n";
            store.connection().exec("ROLLBACK");
            return false;
        }
        const QDate first = CALENDAR::DayOfMinute(firsts.front());
        rule.startDay = CALENDAR::RedoDay(first);
        QDate last;
        if (Below(rng, 100) >= kOpenPercent) {
            last = first.addDays(Between(rng, 90, 6 * 365));
            rule.endMode = CALENDAR::EndOnDate;
            rule.endDay = CALENDAR::RedoDay(last);
        }
        if (kind <= CALENDAR::RedoWorkdays && Below(rng, 100) < kExceptionPercent) {
            for (int e = Between(rng, 1, 3); e > 0 && firsts.size() > 1; --e) {
                rule.exceptions.append(CALENDAR::RedoDay(
                    CALENDAR::DayOfMinute(firsts[Between(rng, 1, static_cast<int>(firsts.size()) - 1)])));
            }
        }
        CALENDAR::Appointment a = NewAppointment(rng, store.user.level, allDay);
        a.start = CALENDAR::MinuteOf(first, minuteOfDay);
        a.end = a.start + (allDay ? CALENDAR::kMinutesPerDay : Below(rng, 2) == 0 ? 30 : 60);
        a.redo = CALENDAR::RecurrenceString(rule);
        if (!Write(store, a, today, "series", i, err)) {
            return false;
        }
        written.series.push_back({a.key, kind, first, last, minuteOfDay, a.redo});
        written.seriesKeys.insert(a.key);
        ++written.byKind[static_cast<std::size_t>(kind)];
        written.open += last.isNull() ? 1 : 0;
    }
    return Commit(store, err);
}

// One view's range at one date, and what its query has to give.
struct Probe {
    std::string name;
    QDate from;
    QDate to;
    int series = 0; // rows the series pass deciphers
    int singles = 0;
    QVector<Occurrence> expected; // by start, then key
};

bool ByTimeThenKey(const Occurrence& x, const Occurrence& y) {
    return x.time != y.time ? x.time < y.time : x.id < y.id;
}

// What was written for the range: the series the plain columns select (begun on or before the last day, ending
// on or after the first; an open series counts as never ending) expanded by their rules, and the singles that
// start on its days.
Probe Expect(const Written& written, std::string name, const QDate& from, const QDate& to) {
    Probe p;
    p.name = std::move(name);
    p.from = from;
    p.to = to;
    for (const WrittenSeries& s : written.series) {
        if (s.first <= to && (s.last.isNull() || s.last >= from)) {
            ++p.series;
            for (const std::int64_t t : CALENDAR::ExpandSeries(from, to, s.minuteOfDay, s.redo, kFirstDay)) {
                p.expected.append({s.key, t});
            }
        }
    }
    const auto byStart = [](const WrittenSingle& x, std::int64_t t) { return x.start < t; };
    const auto begin =
        std::lower_bound(written.singles.begin(), written.singles.end(), CALENDAR::MinuteOf(from), byStart);
    const auto end = std::lower_bound(begin, written.singles.end(), CALENDAR::MinuteOf(to.addDays(1)), byStart);
    p.singles = static_cast<int>(end - begin);
    for (auto it = begin; it != end; ++it) {
        p.expected.append({it->key, it->start});
    }
    std::sort(p.expected.begin(), p.expected.end(), ByTimeThenKey);
    return p;
}

// Whether the occurrences are those written for the range, ascending by start with series before singles at the
// same minute.
bool Agrees(const QVector<Occurrence>& got, const Probe& p, const QSet<std::int32_t>& seriesKeys) {
    if (got.size() != p.expected.size()) {
        return false;
    }
    for (qsizetype i = 1; i < got.size(); ++i) {
        if (got[i - 1].time > got[i].time ||
            (got[i - 1].time == got[i].time && !seriesKeys.contains(got[i - 1].id) && seriesKeys.contains(got[i].id))) {
            return false;
        }
    }
    QVector<Occurrence> sorted = got;
    std::sort(sorted.begin(), sorted.end(), ByTimeThenKey);
    return std::equal(sorted.begin(), sorted.end(), p.expected.begin(),
                      [](const Occurrence& x, const Occurrence& y) { return x.id == y.id && x.time == y.time; });
}

// The series rows of the range by raw SQLite, their blobs by raw Botan on every core while they are read; the
// count deciphered intact, or -1. No more than the `count` expected may come.
int SeriesLimit(sqlite3* db, const CRY::SecureBytes& keys, const Probe& p) {
    const Statement select = Prepare(db, kSeriesSql);
    if (!select) {
        return -1;
    }
    sqlite3_bind_int(select.get(), 1, CALENDAR::kAppointmentSection);
    sqlite3_bind_int(select.get(), 2, CALENDAR::kYearlySeries);
    sqlite3_bind_int(select.get(), 3, records::DayNumber(p.to, CALENDAR::kSeriesStartBase));
    sqlite3_bind_int(select.get(), 4,
                     std::min(records::DayNumber(p.from, CALENDAR::kSeriesEndBase),
                              CALENDAR::kOpenEndBase - CALENDAR::kSeriesEndBase));
    return ReadAndDecipherRaw(select.get(), static_cast<std::size_t>(p.series), keys,
                              [](const std::uint8_t*, std::size_t n) { return n > 0; });
}

// The singles' enciphered starts of the range by raw SQLite in slot order, deciphered by raw Botan likewise.
int SinglesLimit(sqlite3* db, const CRY::SecureBytes& keys, const Probe& p) {
    const Statement select = Prepare(db, kSinglesSql);
    if (!select) {
        return -1;
    }
    sqlite3_bind_int(select.get(), 1, CALENDAR::kAppointmentSection);
    sqlite3_bind_int(select.get(), 2, CALENDAR::kYearlySeries);
    sqlite3_bind_int64(select.get(), 3, CALENDAR::SlotNumber(CALENDAR::MinuteOf(p.from)));
    sqlite3_bind_int64(select.get(), 4, CALENDAR::SlotNumber(CALENDAR::MinuteOf(p.to)) + kSlotsPerDay - 1);
    return ReadAndDecipherRaw(select.get(), static_cast<std::size_t>(p.singles), keys,
                              [](const std::uint8_t*, std::size_t n) { return n > 0; });
}

int RangeLimit(sqlite3* db, const CRY::SecureBytes& keys, const Probe& p) {
    const int series = SeriesLimit(db, keys, p);
    const int singles = SinglesLimit(db, keys, p);
    return series < 0 || singles < 0 ? -1 : series + singles;
}

double MedianMs(int runs, const std::function<void()>& work) {
    std::vector<double> ms;
    for (int run = 0; run < runs; ++run) {
        QElapsedTimer t;
        t.start();
        work();
        ms.push_back(MillisecondsOf(t));
    }
    std::sort(ms.begin(), ms.end());
    return ms[ms.size() / 2];
}

int Run(QTextStream& out, QTextStream& err) {
    BenchFile file(err);
    if (!file.open(QStringLiteral("calendar.nct"))) {
        return 1;
    }
    Session& session = file.session();
    Store& store = session.store();

    const QDate today = QDate::currentDate();
    const QDate singlesFrom = today.addYears(-kYears / 2);
    Written written;
    QElapsedTimer timer;
    timer.start();
    if (!FillSingles(store, today, singlesFrom, written, err)) {
        return 1;
    }
    const double singlesFillMs = MillisecondsOf(timer);
    timer.start();
    if (!FillSeries(store, today, written, err)) {
        return 1;
    }
    const double seriesFillMs = MillisecondsOf(timer);
    out << "filled " << kSingles << " single appointments (" << singlesFrom.toString(Qt::ISODate) << " to "
        << singlesFrom.addYears(kYears).addDays(-1).toString(Qt::ISODate) << ", 30 or 60 min) in "
        << QString::number(singlesFillMs, 'f', 0) << " ms\n"
        << "filled " << kSeries << " series (kinds 1..7: ";
    for (int kind = CALENDAR::RedoWeekdays; kind <= CALENDAR::RedoYearNth; ++kind) {
        out << written.byKind[static_cast<std::size_t>(kind)] << (kind < CALENDAR::RedoYearNth ? "/" : "");
    }
    out << "; " << written.open << " open, the others ending on a date; starting "
        << today.addYears(-kSeriesYearsBack).toString(Qt::ISODate) << " to "
        << today.addYears(kSeriesYearsAhead).toString(Qt::ISODate) << ") in " << QString::number(seriesFillMs, 'f', 0)
        << " ms; file "
        << QString::number(static_cast<double>(QFileInfo(session.DbPath).size()) / (1024.0 * 1024.0), 'f', 1)
        << " MB\n";
    out.flush();

    const std::pair<const char*, QDate> dates[] = {
        {"now", today}, {"-4y", today.addYears(-kProbeYears)}, {"+4y", today.addYears(kProbeYears)}};
    const std::pair<const char*, int> views[] = {{"day", CALENDAR::DayView},
                                                 {"workweek", CALENDAR::WorkweekView},
                                                 {"week", CALENDAR::WeekView},
                                                 {"month", CALENDAR::MonthView}};
    std::deque<Probe> probes;
    for (const auto& [label, date] : dates) {
        for (const auto& [viewName, view] : views) {
            const CALENDAR::DayRange range = CALENDAR::ViewRange(date, view, kFirstDay);
            probes.push_back(Expect(written, std::string(viewName) + ' ' + label, range.first, range.last));
        }
    }

    CRY::SecureBytes keys = AllRecordKeys(store.cry.KeyPool());
    sqlite3* raw = store.connection().handle();
    store.hidePrivate = false;
    std::vector<Timing> results;
    bool ok = true;
    for (const Probe& p : probes) {
        ok = Measure(
                 p.name.c_str(), p.series + p.singles,
                 TimedThenChecked([&] { return CALENDAR::QueryAppointments(store, p.from, p.to, kFirstDay); },
                                  [&](const QVector<Occurrence>& got) { return Agrees(got, p, written.seriesKeys); }),
                 Timed([&] { return RangeLimit(raw, keys, p) == p.series + p.singles; }), kRuns, results, err) &&
             ok;
    }

    PrintTable(out, results, 2);
    out << "medians of " << kRuns << " runs; weeks from the first day " << kFirstDay << " (Sunday = 1); raw threads "
        << std::max(1u, std::thread::hardware_concurrency()) << "; rows = series rows + singles deciphered\n";
    for (const Probe& p : probes) {
        out << QString::fromStdString(p.name) << ": " << p.from.toString(Qt::ISODate) << " to "
            << p.to.toString(Qt::ISODate) << ", " << p.series << " series + " << p.singles << " singles deciphered, "
            << p.expected.size() << " occurrences\n";
    }

    // Where the time goes in the largest view: the two raw passes apart, and the series' expansion alone.
    const Probe& month = probes[3];
    const double seriesMs = MedianMs(kRuns, [&] { SeriesLimit(raw, keys, month); });
    const double singlesMs = MedianMs(kRuns, [&] { SinglesLimit(raw, keys, month); });
    std::vector<const WrittenSeries*> selected;
    for (const WrittenSeries& s : written.series) {
        if (s.first < month.to && (s.last.isNull() || s.last > month.from)) {
            selected.push_back(&s);
        }
    }
    const double expandMs = MedianMs(kRuns, [&] {
        for (const WrittenSeries* s : selected) {
            CALENDAR::ExpandSeries(month.from, month.to, s->minuteOfDay, s->redo, kFirstDay);
        }
    });
    out << QString::fromStdString(month.name) << " apart: raw series pass " << QString::number(seriesMs, 'f', 2)
        << " ms (" << month.series << " rows), raw singles pass " << QString::number(singlesMs, 'f', 2) << " ms ("
        << month.singles << " rows), expanding the series alone " << QString::number(expandMs, 'f', 2) << " ms\n";
    CRY::WipeBytes(keys);

    out << "plan of the raw series pass: " << QueryPlan(raw, kSeriesSql) << '\n'
        << "plan of the raw singles pass: " << QueryPlan(raw, kSinglesSql) << '\n';
    for (const Timing& t : results) {
        const std::string name = t.workload;
        const bool isMonth = name.rfind("month", 0) == 0;
        const bool isWeek = name.rfind("week", 0) == 0 || name.rfind("workweek", 0) == 0;
        if (isMonth || isWeek) {
            const double target = isMonth ? kMonthTargetMs : kWeekTargetMs;
            out << t.workload << ' ' << (t.oursMs < target ? "under" : "NOT under") << ' ' << target << " ms ("
                << QString::number(t.oursMs, 'f', 1) << " ms)\n";
        }
    }
    out.flush();

    return ok ? 0 : 1;
}

} // namespace

int RunCalendarBench(QTextStream& out, QTextStream& err) {
    return Run(out, err);
}

} // namespace bench
