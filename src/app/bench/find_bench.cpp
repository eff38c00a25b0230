#include "app/bench/find_bench.h"

#include "app/bench/bench_support.h"
#include "app/bench/raw_cipher.h"
#include "app/bench/sample_records.h"

#include "budget/transaction.h"
#include "calendar/appointment.h"
#include "calendar/recurrence.h"
#include "sections/contacts/contact.h"
#include "sections/diary/diary.h"
#include "sections/find/find_sections.h"
#include "sections/find/record_search.h"
#include "sections/memos/memo.h"
#include "sections/tasks/task.h"
#include "sections/vault/vault.h"
#include "shell/section_table.h"
#include "shell/session.h"
#include "store/store.h"

#include <QCommandLineParser>
#include <QDateTime>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QSet>
#include <QStringList>
#include <QTextStream>
#include <QTime>
#include <QVector>

#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <random>
#include <thread>
#include <utility>
#include <vector>

namespace bench {
namespace {

constexpr int kDefaultRecords = 100000;
// Ten million records take the better part of an hour to write; more is a mistyped count.
constexpr int kMostRecords = 10000000;
constexpr int kRuns = 3;
// Records per thousand that hold the word searched for: a few thousand hits in the default file.
constexpr int kMarkedPerMille = 30;
// Records a commit, so that the journal of the largest files stays small.
constexpr int kChunk = 20000;
constexpr int kYears = 20;
// The diary's day numbers reach back only to 1907, so a diary longer than this has several entries on some days.
constexpr int kDiaryDaysKept = 20000;
constexpr int kBudgets = 3;
constexpr int kBudgetCategories = 20;
constexpr int kPayModes = 10;
constexpr int kTaskNotePercent = 40;
constexpr int kCompletedPercent = 30;
constexpr std::uint32_t kSeed = 20240614;
constexpr const char* kWord = "marlowe";

struct SectionShare {
    SectionId id;
    const char* records; // as the summary names them
};

// In the order of the find form's boxes.
constexpr std::array<SectionShare, 7> kSections = {{
    {SectionId::Contacts, "contacts"},
    {SectionId::Calendar, "appointments"},
    {SectionId::Diary, "diary days"},
    {SectionId::Memos, "memos"},
    {SectionId::Tasks, "tasks"},
    {SectionId::Vault, "vault records"},
    {SectionId::Budget, "transactions"},
}};

constexpr std::size_t IndexOf(SectionId id) {
    std::size_t s = 0;
    while (s < kSections.size() && kSections[s].id != id) {
        ++s;
    }
    return s;
}

// The word as people write it: capitalised, in capitals, in lower case, inside a longer word.
const std::array<const char*, 8> kMarkedSentences = {
    "Ruth Marlowe sends her regards and asks about the invoice.",
    "Meet at Marlowe House, second floor, by the lifts.",
    "Mr MARLOWE will call back on Monday about the fence.",
    "The parcel for the marlowes was left with the neighbours.",
    "Old Mrs Marlowe from number 12 lent us her ladder again.",
    "Marlowe's quote came in lower than the other two.",
    "Ask Jim at marlowe-hart.example.com for the drawings.",
    "Drinks with the Marlowe twins after the match on Saturday.",
};

const std::array<const char*, 4> kMarkedCompanies = {
    "Marlowe & Hart",
    "Marlowe Hardware",
    "MARLOWE BUILDERS LTD",
    "Marlowe Credit Union",
};

const std::array<const char*, 4> kMarkedSubjects = {
    "Lunch with the Marlowes",
    "Call Mr Marlowe about the fence",
    "Marlowe account",
    "Return Ruth Marlowe's ladder",
};

// A sentence with the word, before or after `text`.
QString WithMarkedSentence(std::mt19937& rng, const QString& text) {
    const QString sentence = Pick(rng, kMarkedSentences);
    if (text.isEmpty()) {
        return sentence;
    }
    return Below(rng, 2) == 0 ? sentence + u' ' + text : text + u' ' + sentence;
}

// What writing the records needs beside the store: one random sequence, the time span and the sections' own
// counts, so that each section's records spread over the span in the order they are written.
struct Writing {
    Writing(Store& store, const QDateTime& now, int records)
        : store(store)
        , owner(store.user.level)
        , first(now.addYears(-kYears))
        , spanMinutes(first.secsTo(now) / 60)
        , records(records) {}

    Store& store;
    int owner;
    std::mt19937 rng{kSeed};
    QDateTime first;
    qint64 spanMinutes;
    int records;
    std::array<int, kSections.size()> counts{};
    std::array<int, kSections.size()> written{};
    std::vector<QStringList> vaultLabels; // by index into vault::SubCategories()
    int marked = 0;
    std::array<int, kSections.size()> markedIn{};
};

// The chance that the record now written holds the word, and where in it (0, 1 or 2) when it does.
int MarkedPlace(Writing& w) {
    if (Below(w.rng, 1000) >= kMarkedPerMille) {
        return -1;
    }
    ++w.marked;
    return Below(w.rng, 3);
}

Result WriteContact(Writing& w) {
    contacts::Contact contact = NewContact(w.rng, w.owner);
    const int place = MarkedPlace(w);
    QVector<QString>& t = contact.texts;
    if (place == 0 && !t[contacts::LastName].isEmpty()) {
        t[contacts::LastName] = QStringLiteral("Marlowe");
    } else if (place == 0 || place == 1) {
        t[contacts::CompanyName] = Pick(w.rng, kMarkedCompanies);
    } else if (place == 2) {
        t[contacts::Notes] = WithMarkedSentence(w.rng, t[contacts::Notes]);
    }
    contact.fileAs = FileAs(contact);
    return contacts::StoreContact(w.store, contact);
}

Result WriteAppointment(Writing& w, const QDateTime& when) {
    CALENDAR::Appointment a = NewAppointment(w.rng, w.owner, false);
    a.start = CALENDAR::MinuteOf(when.date(), Between(w.rng, 6 * 12, 22 * 12 - 1) * 5);
    a.end = a.start + (Below(w.rng, 2) == 0 ? 30 : 60);
    switch (MarkedPlace(w)) {
    case 0:
        a.subject = Pick(w.rng, kMarkedSubjects);
        break;
    case 1:
        a.location = QStringLiteral("Marlowe House");
        break;
    case 2:
        a.notes = WithMarkedSentence(w.rng, a.notes);
        break;
    default:
        break;
    }
    return CALENDAR::StoreAppointment(w.store, a, when.date());
}

// One entry a day up to today, the oldest first.
Result WriteDiaryDay(Writing& w, int index, int count) {
    diary::DiaryEntry entry;
    entry.owner = w.owner;
    entry.date = w.first.date().addYears(kYears).addDays(-((count - 1 - index) % kDiaryDaysKept));
    entry.text = Prose(w.rng, kDiarySentences, Between(w.rng, 100, 1500));
    if (MarkedPlace(w) >= 0) {
        entry.text = WithMarkedSentence(w.rng, entry.text);
    }
    return diary::StoreDiaryDay(w.store, entry);
}

Result WriteMemo(Writing& w, const QDateTime& when) {
    memos::Memo memo = memos::NewMemo(w.owner, 0, Subject(w.rng, kMemoSubjects, when.date()), when);
    memo.isPrivate = Below(w.rng, kPrivateOneIn) == 0;
    memo.text = Prose(w.rng, kMemoSentences, MemoLength(w.rng));
    if (const int place = MarkedPlace(w); place == 0) {
        memo.subject = Pick(w.rng, kMarkedSubjects);
    } else if (place > 0) {
        memo.text = WithMarkedSentence(w.rng, memo.text);
    }
    return memos::StoreMemo(w.store, memo, when);
}

// Due a little after it was written down; some done, a few days either side of the due date.
Result WriteTask(Writing& w, const QDateTime& when) {
    const QDate today = w.first.date().addYears(kYears);
    tasks::Task task;
    task.owner = w.owner;
    task.isPrivate = Below(w.rng, kPrivateOneIn) == 0;
    task.due = when.date().addDays(Between(w.rng, 0, 60));
    task.subject = Subject(w.rng, kTaskSubjects, task.due);
    if (Below(w.rng, 100) < kTaskNotePercent) {
        task.memo = Prose(w.rng, kMemoSentences, Between(w.rng, 40, 600));
    }
    task.priority = TaskPriority(w.rng);
    task.completed = Below(w.rng, 100) < kCompletedPercent;
    if (task.completed) {
        task.done = std::min(today, task.due.addDays(Between(w.rng, -14, 7)));
    }
    if (const int place = MarkedPlace(w); place == 0) {
        task.subject = Pick(w.rng, kMarkedSubjects);
    } else if (place > 0) {
        task.memo = WithMarkedSentence(w.rng, task.memo);
    }
    return tasks::StoreTask(w.store, task);
}

Result WriteVaultEntry(Writing& w, const QDateTime& when) {
    const std::span<const vault::SubCategory> subCategories = vault::SubCategories();
    const auto at = static_cast<std::size_t>(Below(w.rng, static_cast<int>(subCategories.size())));
    vault::Entry entry = NewVaultEntry(w.rng, w.owner, subCategories[at].number, w.vaultLabels[at]);
    if (const int place = MarkedPlace(w); place == 0) {
        entry.values[0] = QStringLiteral("%1 %2").arg(Pick(w.rng, kMarkedCompanies)).arg(Between(w.rng, 1, 999));
    } else if (place > 0) {
        entry.notes = WithMarkedSentence(w.rng, entry.notes);
    }
    return vault::StoreEntry(w.store, entry, when);
}

Result WriteTransaction(Writing& w, const QDateTime& when) {
    const int budgetId = Below(w.rng, kBudgets);
    budget::Transaction t = NewTransaction(w.rng, w.owner, when.date(), kBudgetCategories, kPayModes);
    if (const int place = MarkedPlace(w); place == 0) {
        t.partner = Pick(w.rng, kMarkedCompanies);
    } else if (place > 0) {
        t.note = WithMarkedSentence(w.rng, t.note);
        t.noteFlag = true;
    }
    return budget::StoreTransaction(w.store, budgetId, t);
}

Result WriteSectionRecord(Writing& w, std::size_t section, int i) {
    const QDateTime when = w.first.addSecs(60 * (w.spanMinutes * i / w.records));
    const int index = w.written[section]++;
    switch (kSections[section].id) {
    case SectionId::Contacts:
        return WriteContact(w);
    case SectionId::Calendar:
        return WriteAppointment(w, when);
    case SectionId::Diary:
        return WriteDiaryDay(w, index, w.counts[section]);
    case SectionId::Memos:
        return WriteMemo(w, when);
    case SectionId::Tasks:
        return WriteTask(w, when);
    case SectionId::Vault:
        return WriteVaultEntry(w, when);
    case SectionId::Budget:
    default:
        return WriteTransaction(w, when);
    }
}

Result WriteRecord(Writing& w, std::size_t section, int i) {
    const int marked = w.marked;
    const Result r = WriteSectionRecord(w, section, i);
    w.markedIn[section] += w.marked - marked;
    return r;
}

// `records` records over the seven sections in equal shares, in random order so that every section's rows are
// spread over the whole file, as a person adding records day by day leaves them; each section's records go
// through its own store, a chunk of them a transaction of the engine.
bool Fill(Writing& w, QTextStream& err) {
    std::vector<std::uint8_t> order;
    order.reserve(static_cast<std::size_t>(w.records));
    for (std::size_t s = 0; s < kSections.size(); ++s) {
        w.counts[s] = w.records / static_cast<int>(kSections.size()) +
                      (static_cast<int>(s) < w.records % static_cast<int>(kSections.size()) ? 1 : 0);
        order.insert(order.end(), static_cast<std::size_t>(w.counts[s]), static_cast<std::uint8_t>(s));
    }
    std::shuffle(order.begin(), order.end(), w.rng);
    for (const vault::SubCategory& subCategory : vault::SubCategories()) {
        w.vaultLabels.push_back(vault::Labels(subCategory.number));
    }
    for (int i = 0; i < w.records; ++i) {
        if (i % kChunk == 0 && ((i > 0 && !Commit(w.store, err)) || !Begin(w.store, err))) {
            return false;
        }
        const std::size_t section = order[static_cast<std::size_t>(i)];
        if (const Result r = WriteRecord(w, section, i); !r.ok()) {
            err << "noctaria-bench: writing record " << i << " (" << kSections[section].records
                << ") failed: " << r.text() << '\n';
            w.store.connection().exec("ROLLBACK");
            return false;
        }
    }
    return Commit(w.store, err);
}

struct Spread {
    double best = 0;
    double median = 0;
};

Spread SpreadOf(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return {values.front(), values[values.size() / 2]};
}

struct GroupedRun {
    double ms = 0;
    double firstHitsMs = -1; // -1: no hit came
    find::Outcome outcome;
    QVector<find::Hit> hits;
};

GroupedRun SearchGrouped(Store& store, const find::Query& query) {
    GroupedRun run;
    const std::atomic<bool> stop{false};
    QElapsedTimer timer;
    timer.start();
    run.outcome = find::Search(store, query, find::SearchableSections(), stop, [&](QVector<find::Hit>&& hits) {
        if (run.firstHitsMs < 0) {
            run.firstHitsMs = MillisecondsOf(timer);
        }
        run.hits.append(std::move(hits));
    });
    run.ms = MillisecondsOf(timer);
    return run;
}

// A line of /proc/self/status in kilobytes, such as "VmHWM"; -1 when the kernel does not tell.
qint64 StatusKilobytes(const QByteArray& field) {
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly)) {
        return -1;
    }
    const QByteArray head = field + ':';
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith(head)) {
            bool ok = false;
            const qint64 kb = line.mid(head.size()).trimmed().split(' ').value(0).toLongLong(&ok);
            return ok ? kb : -1;
        }
    }
    return -1;
}

// Makes the kernel's peak of resident memory start again from what is resident now, so that the peak read after
// the search is the search's and not the filling's; false where the kernel does not allow it.
bool RestartMemoryPeak() {
    QFile clear(QStringLiteral("/proc/self/clear_refs"));
    return clear.open(QIODevice::WriteOnly) && clear.write("5") == 1;
}

// The private memory of the process (RssAnon) at its highest while this lives, read every few milliseconds on a
// thread of its own: the kernel's peak of resident memory also counts the pages of the file the engine maps in.
class PrivateMemoryPeak {
public:
    PrivateMemoryPeak()
        : m_thread([this] {
            while (!m_stop.load()) {
                m_peak = std::max(m_peak.load(), StatusKilobytes("RssAnon"));
                std::this_thread::sleep_for(std::chrono::milliseconds(kEveryMs));
            }
        }) {}
    ~PrivateMemoryPeak() { stop(); }
    PrivateMemoryPeak(const PrivateMemoryPeak&) = delete;
    PrivateMemoryPeak& operator=(const PrivateMemoryPeak&) = delete;

    static constexpr int kEveryMs = 10;

    qint64 stop() {
        if (m_thread.joinable()) {
            m_stop = true;
            m_thread.join();
        }
        return m_peak = std::max(m_peak.load(), StatusKilobytes("RssAnon"));
    }

private:
    std::atomic<bool> m_stop{false};
    std::atomic<qint64> m_peak{-1};
    // Last, so that it starts once the members it uses are there.
    std::thread m_thread;
};

QString Megabytes(qint64 kilobytes) {
    return kilobytes < 0 ? QStringLiteral("(unknown)")
                         : QString::number(static_cast<double>(kilobytes) / 1024.0, 'f', 1) + QStringLiteral(" MB");
}

qint64 Identity(const find::Hit& hit) {
    return (static_cast<qint64>(hit.section) << 32) | static_cast<std::uint32_t>(hit.key);
}

QString Describe(const find::Hit& hit) {
    return QStringLiteral("section %1 key %2 \"%3\"").arg(hit.section).arg(hit.key).arg(hit.item);
}

// How two sorted hit lists differ: by section and key, or else in what they say of a hit; empty when they agree.
QString Difference(const QVector<find::Hit>& a, const QVector<find::Hit>& b) {
    for (qsizetype i = 0; i < std::min(a.size(), b.size()); ++i) {
        if (Identity(a[i]) != Identity(b[i])) {
            QSet<qint64> inA;
            QSet<qint64> inB;
            for (const find::Hit& hit : a) {
                inA.insert(Identity(hit));
            }
            for (const find::Hit& hit : b) {
                inB.insert(Identity(hit));
            }
            const auto onlyIn = [](const QVector<find::Hit>& hits, const QSet<qint64>& other) {
                QStringList examples;
                qsizetype count = 0;
                for (const find::Hit& hit : hits) {
                    if (!other.contains(Identity(hit)) && count++ < 3) {
                        examples << Describe(hit);
                    }
                }
                return QStringLiteral("%1%2%3").arg(count).arg(count > 0 ? QStringLiteral(", such as ") : QString(),
                                                               examples.join(QStringLiteral("; ")));
            };
            return QStringLiteral("%1 against %2 hits; in order they part at hit %3 (%4 against %5); only in the "
                                  "first: %6; only in the second: %7")
                .arg(a.size())
                .arg(b.size())
                .arg(i)
                .arg(Describe(a[i]), Describe(b[i]), onlyIn(a, inB), onlyIn(b, inA));
        }
        if (a[i].item != b[i].item || a[i].detail != b[i].detail || a[i].budget != b[i].budget ||
            a[i].date != b[i].date) {
            return QStringLiteral("hit %1 (%2) is told differently: \"%3\" / \"%4\" against \"%5\" / \"%6\"")
                .arg(i)
                .arg(Describe(a[i]), a[i].item, a[i].detail, b[i].item, b[i].detail);
        }
    }
    if (a.size() != b.size()) {
        const find::Hit& extra = a.size() > b.size() ? a[b.size()] : b[a.size()];
        return QStringLiteral("%1 against %2 hits, the same up to hit %3 (%4)")
            .arg(a.size())
            .arg(b.size())
            .arg(std::min(a.size(), b.size()))
            .arg(Describe(extra));
    }
    return {};
}

int RowsOfSections(Store& store) {
    const Statement count = Prepare(store.connection().handle(), "SELECT count(*) FROM tt WHERE fSec BETWEEN ? AND ?");
    if (!count) {
        return -1;
    }
    sqlite3_bind_int(count.get(), 1, sections::Number(kSections.front().id));
    sqlite3_bind_int(count.get(), 2, sections::Number(kSections.back().id));
    return sqlite3_step(count.get()) == SQLITE_ROW ? sqlite3_column_int(count.get(), 0) : -1;
}

void PrintRow(QTextStream& out, const QString& workload, const QString& rows, const QString& best,
              const QString& median) {
    out << QStringLiteral("%1 %2 %3 %4\n").arg(workload, -20).arg(rows, 8).arg(best, 10).arg(median, 10);
}

// A time below zero is one that never came.
QString Milliseconds(double ms) {
    return ms < 0 ? QStringLiteral("none") : QString::number(ms, 'f', 1);
}

void PrintTimes(QTextStream& out, const char* workload, int rows, const Spread& spread) {
    PrintRow(out, QLatin1String(workload), QString::number(rows), Milliseconds(spread.best),
             Milliseconds(spread.median));
}

void PrintFilled(QTextStream& out, const Writing& writing, double fillMs, const QString& path) {
    QStringList shares;
    for (std::size_t s = 0; s < kSections.size(); ++s) {
        shares << QStringLiteral("%1 %2").arg(writing.counts[s]).arg(QLatin1String(kSections[s].records));
    }
    const int diaryDays = writing.counts[IndexOf(SectionId::Diary)];
    out << "filled " << writing.records << " records over " << kSections.size() << " sections ("
        << shares.join(QStringLiteral(", ")) << "; written over " << kYears
        << " years in random order of section; one in " << kPrivateOneIn << " private, of the vault records "
        << kVaultOpenOneIn - 1 << " in " << kVaultOpenOneIn << "; the diary "
        << (diaryDays > kDiaryDaysKept ? QStringLiteral("repeats its last %1 days").arg(kDiaryDaysKept)
                                       : QStringLiteral("one day each"))
        << "; \"" << kWord << "\" written into " << writing.marked << " records in various cases) in "
        << QString::number(fillMs, 'f', 0) << " ms; file "
        << QString::number(static_cast<double>(QFileInfo(path).size()) / (1024.0 * 1024.0), 'f', 1) << " MB\n";
}

// What the timed searches gave, run after run.
struct Runs {
    std::vector<GroupedRun> grouped;
    std::vector<double> rowByRowMs;
    std::vector<QVector<find::Hit>> byRow; // empty when row by row is left out
    qint64 residentBefore = -1;
    qint64 privateBefore = -1;
    qint64 mappedBefore = -1;
    bool peakRestarts = true;
    qint64 peak = -1;
    qint64 privatePeak = -1;
};

// Both searches kRuns times, alternately, so that whatever the machine does meanwhile falls on both; the memory
// of the grouped one, which holds a pass of rows at a time, watched while it runs.
Runs TimeSearches(Store& store, const find::Query& query, bool rowByRow) {
    Runs runs;
    runs.residentBefore = StatusKilobytes("VmRSS");
    runs.privateBefore = StatusKilobytes("RssAnon");
    runs.mappedBefore = StatusKilobytes("RssFile");
    for (int run = 0; run < kRuns; ++run) {
        runs.peakRestarts = RestartMemoryPeak() && runs.peakRestarts;
        PrivateMemoryPeak sampler;
        runs.grouped.push_back(SearchGrouped(store, query));
        runs.privatePeak = std::max(runs.privatePeak, sampler.stop());
        runs.peak = std::max(runs.peak, StatusKilobytes("VmHWM"));
        if (rowByRow) {
            QElapsedTimer timer;
            timer.start();
            runs.byRow.push_back(find::SearchRowByRow(store, query, find::SearchableSections()));
            runs.rowByRowMs.push_back(MillisecondsOf(timer));
        }
    }
    return runs;
}

void PrintTable(QTextStream& out, const Runs& runs, int rows) {
    std::vector<double> groupedMs;
    std::vector<double> firstHitsMs;
    for (const GroupedRun& run : runs.grouped) {
        groupedMs.push_back(run.ms);
        firstHitsMs.push_back(run.firstHitsMs);
    }
    PrintRow(out, QStringLiteral("workload"), QStringLiteral("rows"), QStringLiteral("best ms"),
             QStringLiteral("median ms"));
    const Spread grouped = SpreadOf(groupedMs);
    PrintTimes(out, "find grouped", rows, grouped);
    PrintTimes(out, "find first hits", rows, SpreadOf(firstHitsMs));
    if (runs.byRow.empty()) {
        out << "row by row: left out\n";
        return;
    }
    const Spread byRow = SpreadOf(runs.rowByRowMs);
    PrintTimes(out, "find row by row", rows, byRow);
    out << "ratio grouped / row by row: " << QString::number(grouped.best / byRow.best, 'f', 3) << " best, "
        << QString::number(grouped.median / byRow.median, 'f', 3) << " median\n";
}

void PrintMemory(QTextStream& out, const Runs& runs) {
    out << "memory before the grouped search: " << Megabytes(runs.residentBefore) << " resident, of it "
        << Megabytes(runs.privateBefore) << " private and " << Megabytes(runs.mappedBefore)
        << " of the file mapped in; "
        << (runs.peakRestarts ? "during it" : "in the whole process (the kernel's peak cannot restart)")
        << ": a peak of " << Megabytes(runs.peak) << " resident and " << Megabytes(runs.privatePeak)
        << " private (read every " << PrivateMemoryPeak::kEveryMs << " ms)\n";
}

// The hits of each section beside the records the word was written into there.
void PrintHitsBySection(QTextStream& out, const QVector<find::Hit>& hits, const Writing& writing) {
    QStringList bySection;
    for (std::size_t s = 0; s < kSections.size(); ++s) {
        const int section = sections::Number(kSections[s].id);
        const auto count =
            std::count_if(hits.begin(), hits.end(), [section](const find::Hit& hit) { return hit.section == section; });
        bySection << QStringLiteral("%1 %2 (%3)")
                         .arg(QLatin1String(kSections[s].records))
                         .arg(count)
                         .arg(writing.markedIn[s]);
    }
    out << "hits by section (records the word was written into): " << bySection.join(QStringLiteral(", ")) << '\n';
}

// Whether every run gives the hits of the first row-by-row run (without one, of the first grouped run), sorted
// as the list shows them; each run that does not is told on `out`.
bool HitsAgree(QTextStream& out, const Runs& runs, const find::Query& query) {
    const bool rowByRow = !runs.byRow.empty();
    QVector<find::Hit> reference = rowByRow ? runs.byRow.front() : runs.grouped.front().hits;
    find::SortHits(reference, query.sections);
    bool agree = true;
    const auto check = [&](QVector<find::Hit> hits, const char* what, std::size_t run) {
        find::SortHits(hits, query.sections);
        if (const QString difference = Difference(hits, reference); !difference.isEmpty()) {
            out << "MISMATCH: " << what << " run " << run + 1 << " against the "
                << (rowByRow ? "first row-by-row run" : "first grouped run") << ": " << difference << '\n';
            agree = false;
        }
    };
    for (std::size_t run = 0; run < runs.grouped.size(); ++run) {
        check(runs.grouped[run].hits, "grouped", run);
        if (rowByRow) {
            check(runs.byRow[run], "row-by-row", run);
        }
    }
    if (agree) {
        out << "hits: every run " << (rowByRow ? "of both searches" : "of the grouped search") << " gives the same "
            << reference.size() << " hits (by section and key, and what they say)\n";
    }
    return agree;
}

// What the options ask for.
struct Settings {
    int records = kDefaultRecords;
    bool rowByRow = true;
};

int Run(const Settings& settings, QTextStream& out, QTextStream& err) {
    BenchFile file(err);
    if (!file.open(QStringLiteral("find.nct"))) {
        return 1;
    }
    Session& session = file.session();
    Store& store = session.store();

    const QDateTime clock = QDateTime::currentDateTime();
    Writing writing(store, QDateTime(clock.date(), QTime(clock.time().hour(), clock.time().minute())),
                    settings.records);
    out << "filling " << settings.records << " records...\n";
    out.flush();
    QElapsedTimer timer;
    timer.start();
    if (!Fill(writing, err)) {
        return 1;
    }
    PrintFilled(out, writing, MillisecondsOf(timer), session.DbPath);
    out.flush();

    find::Query query;
    query.text = QString::fromLatin1(kWord);
    for (const find::SearchableSection& section : find::SearchableSections()) {
        query.sections.append(section.section);
    }
    query.caseSensitive = false;
    query.showPrivate = true;
    query.owner = store.titleAccess().owner;
    const int rows = RowsOfSections(store);
    const Runs runs = TimeSearches(store, query, settings.rowByRow);

    QStringList faults;
    qsizetype mostSchedules = 0;
    for (const GroupedRun& run : runs.grouped) {
        mostSchedules = std::max(mostSchedules, run.outcome.keySchedules);
        if (run.outcome.failed || run.outcome.stopped) {
            out << "FAILED: the grouped search " << (run.outcome.failed ? "could not read the file" : "stopped")
                << " after " << run.outcome.rows << " rows\n";
            faults << QStringLiteral("the grouped search failed");
        }
    }
    PrintTable(out, runs, rows);
    out << kRuns << " runs each, alternately; search \"" << query.text << "\" case-blind, private records shown, "
        << query.sections.size() << " sections, owner " << query.owner << "; "
        << std::max(1u, std::thread::hardware_concurrency()) << " cores\n";
    const GroupedRun& last = runs.grouped.back();
    const bool schedulesFit = mostSchedules <= kSelectors;
    out << "grouped search: " << last.outcome.rows << " rows deciphered of " << rows << ", " << mostSchedules
        << " key schedules in the run with most (" << (schedulesFit ? "at most" : "MORE THAN") << ' ' << kSelectors
        << "), " << last.hits.size() << " hits (the word was written into " << writing.marked << " records)\n";
    if (!schedulesFit) {
        faults << QStringLiteral("the grouped search made more than %1 key schedules").arg(kSelectors);
    }
    PrintHitsBySection(out, last.hits, writing);
    PrintMemory(out, runs);
    if (!HitsAgree(out, runs, query)) {
        faults << QStringLiteral("the hits disagree");
    }
    out.flush();
    if (!faults.isEmpty()) {
        err << "noctaria-bench: find: " << faults.join(QStringLiteral("; ")) << '\n';
    }
    return faults.isEmpty() ? 0 : 1;
}

} // namespace

int RunFindBench(const QStringList& options, QTextStream& out, QTextStream& err) {
    QCommandLineParser parser;
    const QCommandLineOption records(QStringLiteral("records"), QStringLiteral("Records to write."),
                                     QStringLiteral("N"), QString::number(kDefaultRecords));
    const QCommandLineOption skipRowByRow(QStringLiteral("skip-row-by-row"),
                                          QStringLiteral("Time the grouped search alone."));
    parser.addOptions({records, skipRowByRow});
    if (!parser.parse(QStringList{QStringLiteral("find")} + options)) {
        err << "noctaria-bench find: " << parser.errorText() << '\n';
        return 2;
    }
    Settings settings;
    bool number = false;
    settings.records = parser.value(records).toInt(&number);
    settings.rowByRow = !parser.isSet(skipRowByRow);
    if (!number || settings.records < static_cast<int>(kSections.size()) || settings.records > kMostRecords ||
        !parser.positionalArguments().isEmpty()) {
        err << "usage: noctaria-bench find [--records N] [--skip-row-by-row]\nN from " << kSections.size() << " to "
            << kMostRecords << '\n';
        return 2;
    }
    return Run(settings, out, err);
}

} // namespace bench
