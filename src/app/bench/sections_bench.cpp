#include "app/bench/sections_bench.h"

#include "app/bench/bench_support.h"
#include "app/bench/raw_cipher.h"

#include "sections/categories/categories.h"
#include "sections/diary/diary.h"
#include "sections/memos/memo.h"
#include "sections/record_store.h"
#include "shell/session.h"
#include "store/cry.h"
#include "store/sqlite.h"
#include "store/store.h"

#include <QDate>
#include <QDateTime>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QStringList>
#include <QTextStream>
#include <QTime>
#include <QVector>

#include <botan/cipher_mode.h>
#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <exception>
#include <optional>
#include <random>
#include <thread>
#include <tuple>
#include <vector>

namespace bench {
namespace {

constexpr int kMemos = 100000;
// "Unfiled" and 49 named categories; the k-th largest holds a share proportional to 1/sqrt(k), so a few big
// lists stand beside many small ones, as a person's filing tends to.
constexpr int kCategories = 50;
constexpr int kListedRank = kCategories / 2;
constexpr int kDiaryDays = 10000;
constexpr int kYears = 10;
constexpr int kPrivateOneIn = 10;
constexpr int kRuns = 7;
constexpr double kListTargetMs = 50.0;
constexpr std::uint32_t kSeed = 20240612;
// The least SQL that reaches each result, for the raw side.
constexpr const char* kMemoListSql = "SELECT fPK, fT1 FROM tt WHERE fSec=? AND fG1=?";
constexpr const char* kMemoSql = "SELECT fSec, fEtx FROM tt WHERE fPK=?";
constexpr const char* kWeekSql = "SELECT fPK, fEtx FROM tt WHERE +fSec=? AND fR3 BETWEEN ? AND ? ORDER BY fPK";

const std::array<const char*, kCategories - 1> kCategoryNames = {
    "Work",    "Personal",   "Recipes",  "Travel",       "Projects", "Meetings",    "Ideas",      "Books",     "Health",
    "Finance", "Car",        "House",    "Garden",       "Family",   "Children",    "School",     "Shopping",  "Gifts",
    "Music",   "Films",      "Sport",    "Fitness",      "Club",     "Church",      "Neighbours", "Insurance", "Taxes",
    "Bank",    "Pets",       "Holidays", "Birthdays",    "Quotes",   "Languages",   "Computer",   "Software",  "Photos",
    "Repairs", "Contracts",  "Courses",  "Volunteering", "Wine",     "Restaurants", "Addresses",  "Journeys",  "Crafts",
    "Letters", "Job search", "Moving",   "Archive",
};

const std::array<const char*, 16> kSubjects = {
    "Meeting notes %1",
    "Call back about the offer",
    "Recipe: lentil soup",
    "Ideas for %1",
    "Packing list",
    "Books to read",
    "Questions for the doctor",
    "Car service %1",
    "Gift ideas",
    "Garden plan for %1",
    "Project kick-off %1",
    "Shopping list",
    "Travel plan: Lisbon",
    "Café opening hours",
    "Minutes of the AGM %1",
    "To do before the move",
};

const std::array<const char*, 12> kMemoSentences = {
    "Agreed to meet again in two weeks and to send the figures beforehand.",
    "Bring the signed copy of the contract and the receipts from March.",
    "The second option is cheaper but takes three weeks longer to deliver.",
    "Ask whether the warranty covers parts and labour or only parts.",
    "Phone number of the office: ask at reception for extension 214.",
    "Mix the flour with the butter first, then add the milk slowly.",
    "Remember to cancel the old subscription before the end of the quarter.",
    "The meeting room on the third floor is booked from nine to eleven.",
    "Check the tyre pressure and the oil level before the long drive.",
    "Prices went up by about eight per cent compared with last year.",
    "She suggested the small hotel near the station; breakfast is included.",
    "Nothing decided yet; wait for the answer from the committee.",
};

const std::array<const char*, 10> kDiarySentences = {
    "Woke up early and went for a walk along the river before work.",
    "Long day at the office; the new project plan is finally approved.",
    "Lunch with Anna, who told me about her trip to the mountains.",
    "Rain all afternoon, so I stayed in and read most of the novel.",
    "Called my parents in the evening; father's knee is much better.",
    "The children had their school concert and sang beautifully.",
    "Felt tired and a little low, went to bed before ten.",
    "Worked in the garden: the tomatoes need stakes this week.",
    "Dinner at the Italian place on the corner to celebrate.",
    "Sorted out the tax papers at last, a weight off my mind.",
};

int Below(std::mt19937& rng, int n) {
    return static_cast<int>(rng() % static_cast<std::uint32_t>(n));
}

int Between(std::mt19937& rng, int low, int high) {
    return low + Below(rng, high - low + 1);
}

// A text of about `length` characters made of the given sentences, in paragraphs.
template <std::size_t N> QString Prose(std::mt19937& rng, const std::array<const char*, N>& sentences, int length) {
    QString text;
    text.reserve(length + 100);
    int inParagraph = 0;
    while (text.size() < length) {
        text += QLatin1String(sentences[static_cast<std::size_t>(Below(rng, static_cast<int>(N)))]);
        if (++inParagraph == 5) {
            text += QStringLiteral("\r\n\r\n");
            inParagraph = 0;
        } else {
            text += u' ';
        }
    }
    text.truncate(length);
    return text.trimmed();
}

// Most memos are a few lines; some run to pages.
int MemoLength(std::mt19937& rng) {
    const int kind = Below(rng, 100);
    if (kind < 70) {
        return Between(rng, 100, 800);
    }
    return kind < 95 ? Between(rng, 800, 3000) : Between(rng, 3000, 12000);
}

QString Subject(std::mt19937& rng, const QDate& date) {
    const QString pattern =
        QString::fromUtf8(kSubjects[static_cast<std::size_t>(Below(rng, static_cast<int>(kSubjects.size())))]);
    return pattern.contains(QLatin1String("%1")) ? pattern.arg(date.toString(QStringLiteral("d MMM yyyy"))) : pattern;
}

QString CategoryName(int id) {
    return id == categories::kUnfiled ? QStringLiteral("Unfiled")
                                      : QString::fromLatin1(kCategoryNames[static_cast<std::size_t>(id - 1)]);
}

QString CategoryListText() {
    QStringList parts;
    for (int id = 1; id < kCategories; ++id) {
        parts << CategoryName(id) << QString::number(id);
    }
    return parts.join(u';');
}

// How many memos each category holds: shares proportional to 1/sqrt(rank), "Unfiled" the largest, rounded so
// that they add up to exactly kMemos.
std::array<int, kCategories> CategorySizes() {
    std::array<double, kCategories> shares{};
    double total = 0;
    for (int id = 0; id < kCategories; ++id) {
        shares[id] = 1.0 / std::sqrt(static_cast<double>(id + 1));
        total += shares[id];
    }
    std::array<int, kCategories> sizes{};
    int given = 0;
    for (int id = 0; id < kCategories; ++id) {
        sizes[id] = static_cast<int>(std::floor(kMemos * shares[id] / total));
        given += sizes[id];
    }
    for (int id = 0; given < kMemos; id = (id + 1) % kCategories, ++given) {
        ++sizes[id];
    }
    return sizes;
}

struct ListedMemo {
    std::int32_t key = 0;
    QString subject;
    bool isPrivate = false;
};

// What was written, as far as the timed readings need it.
struct Expected {
    std::array<int, kCategories> sizes{};
    int listedCategory = 0;
    QVector<ListedMemo> listed;  // the category at the middle rank, in key order
    QVector<ListedMemo> largest; // "Unfiled"
    QVector<memos::Memo> shown;  // the memos displayed, one a run
    std::array<diary::DiaryEntry, 7> week;
    qint64 memoTextChars = 0;
};

bool Begin(Store& store, QTextStream& err) {
    if (const sqlite::Error e = store.connection().exec("BEGIN")) {
        err << "noctaria-bench: BEGIN failed: " << e.description << '\n';
        return false;
    }
    return true;
}

bool Commit(Store& store, QTextStream& err) {
    if (const sqlite::Error e = store.connection().exec("COMMIT")) {
        err << "noctaria-bench: COMMIT failed: " << e.description << '\n';
        return false;
    }
    return true;
}

// Writes the category list and the memos through the section's own store, the memos inside one transaction of
// the engine, spread over the last kYears years and over the categories at random.
bool FillMemos(Store& store, const QDateTime& now, Expected& expected, QTextStream& err) {
    if (const int e = categories::SaveCategoryText(store, CategoryListText(), memos::kMemoSection)) {
        err << "noctaria-bench: the memo categories could not be written: " << e << '\n';
        return false;
    }
    std::mt19937 rng(kSeed);
    std::vector<int> categoryOf;
    categoryOf.reserve(kMemos);
    for (int id = 0; id < kCategories; ++id) {
        categoryOf.insert(categoryOf.end(), static_cast<std::size_t>(expected.sizes[id]), id);
    }
    std::shuffle(categoryOf.begin(), categoryOf.end(), rng);

    if (!Begin(store, err)) {
        return false;
    }
    // Stamps are kept to the minute.
    const qint64 span = now.date().addYears(-kYears).daysTo(now.date()) * 1440;
    const int shownEvery = kMemos / (kRuns + 1);
    for (int i = 0; i < kMemos; ++i) {
        const QDateTime written = now.addSecs(60 * (-span + span * i / kMemos));
        const int category = categoryOf[static_cast<std::size_t>(i)];
        memos::Memo memo = memos::NewMemo(store.user.level, category, Subject(rng, written.date()), written);
        memo.isPrivate = Below(rng, kPrivateOneIn) == 0;
        memo.text = Prose(rng, kMemoSentences, MemoLength(rng));
        if (const Result r = memos::StoreMemo(store, memo, written); !r.ok()) {
            err << "noctaria-bench: writing memo " << i << " failed: " << r.text() << '\n';
            store.connection().exec("ROLLBACK");
            return false;
        }
        expected.memoTextChars += memo.text.size();
        if (category == expected.listedCategory) {
            expected.listed.append({memo.key, memo.subject, memo.isPrivate});
        } else if (category == categories::kUnfiled) {
            expected.largest.append({memo.key, memo.subject, memo.isPrivate});
        }
        if (i % shownEvery == shownEvery / 2) {
            expected.shown.append(memo);
        }
    }
    return Commit(store, err);
}

// One entry a day for the present user, the last kDiaryDays days up to `today`, inside one transaction.
bool FillDiary(Store& store, const QDate& today, const QDate& weekStart, Expected& expected, QTextStream& err) {
    if (!Begin(store, err)) {
        return false;
    }
    std::mt19937 rng(kSeed + 1);
    for (int d = 0; d < kDiaryDays; ++d) {
        diary::DiaryEntry entry;
        entry.owner = store.user.level;
        entry.date = today.addDays(d - kDiaryDays + 1);
        entry.text = Prose(rng, kDiarySentences, Between(rng, 100, 1500));
        if (const Result r = diary::StoreDiaryDay(store, entry); !r.ok()) {
            err << "noctaria-bench: writing the diary of " << entry.date.toString(Qt::ISODate)
                << " failed: " << r.text() << '\n';
            store.connection().exec("ROLLBACK");
            return false;
        }
        if (const qint64 day = weekStart.daysTo(entry.date); day >= 0 && day < 7) {
            expected.week[static_cast<std::size_t>(day)] = entry;
        }
    }
    return Commit(store, err);
}

int Visible(const QVector<ListedMemo>& written, bool hidePrivate) {
    return static_cast<int>(std::count_if(written.begin(), written.end(),
                                          [&](const ListedMemo& m) { return !(hidePrivate && m.isPrivate); }));
}

// Whether the list shows exactly the memos of the category this reader may see, in key order, with their subjects.
bool ListAgrees(const QVector<records::ListedTitle>& list, const QVector<ListedMemo>& written, int category,
                bool hidePrivate) {
    qsizetype at = 0;
    for (const ListedMemo& m : written) {
        if (hidePrivate && m.isPrivate) {
            continue;
        }
        if (at >= list.size() || list[at].key != m.key || list[at].title != m.subject ||
            list[at].category != category) {
            return false;
        }
        ++at;
    }
    return at == list.size();
}

bool MemoAgrees(const std::optional<memos::Memo>& loaded, const memos::Memo& memo) {
    return loaded && loaded->key == memo.key && loaded->owner == memo.owner && loaded->isPrivate == memo.isPrivate &&
           loaded->subject == memo.subject && loaded->text == memo.text && loaded->category == memo.category &&
           loaded->created == memo.created && loaded->modified == memo.modified;
}

bool WeekAgrees(const std::array<diary::DiaryEntry, 7>& week, const std::array<diary::DiaryEntry, 7>& expected) {
    for (std::size_t i = 0; i < week.size(); ++i) {
        if (week[i].key != expected[i].key || week[i].date != expected[i].date || week[i].owner != expected[i].owner ||
            week[i].text != expected[i].text) {
            return false;
        }
    }
    return true;
}

// A category's titles by raw SQLite and raw Botan, deciphered on the other cores while the rows are read, as
// the program does; the count of those the reader may see (its own, and the private ones only while shown), or
// -1. The category holds `count` rows.
int MemoListLimit(sqlite3* db, const CRY::SecureBytes& keys, int category, std::size_t count, std::uint8_t owner,
                  bool hidePrivate) {
    const Statement select = Prepare(db, kMemoListSql);
    if (!select) {
        return -1;
    }
    sqlite3_bind_int(select.get(), 1, memos::kMemoSection);
    sqlite3_bind_int(select.get(), 2, category);
    return ReadAndDecipherRaw(select.get(), count, keys, [&](const std::uint8_t* title, std::size_t n) {
        return n >= 3 && title[0] == owner && !(hidePrivate && title[1] != 0);
    });
}

// One memo's row by raw SQLite and its blob by raw Botan; whether it is a memo and its blob is `blob`.
bool MemoLimit(sqlite3* db, Botan::Cipher_Mode& mode, const CRY::SecureBytes& keys, std::int32_t key,
               const QByteArray& blob, CRY::SecureBytes& buffer) {
    const Statement select = Prepare(db, kMemoSql);
    if (!select) {
        return false;
    }
    sqlite3_bind_int64(select.get(), 1, key);
    if (sqlite3_step(select.get()) != SQLITE_ROW || sqlite3_column_int(select.get(), 0) != memos::kMemoSection) {
        return false;
    }
    const auto* p = static_cast<const std::uint8_t*>(sqlite3_column_blob(select.get(), 1));
    const auto n = static_cast<std::size_t>(sqlite3_column_bytes(select.get(), 1));
    const std::optional<std::size_t> length = DecipherRaw(mode, keys, key, p, n, buffer);
    return length && *length == static_cast<std::size_t>(blob.size()) &&
           std::memcmp(buffer.data() + kPrefixBytes, blob.constData(), *length) == 0;
}

// The week's rows by raw SQLite and their blobs by raw Botan; the count of those that are the blobs written for
// the week's days, in order, or -1.
int WeekLimit(sqlite3* db, Botan::Cipher_Mode& mode, const CRY::SecureBytes& keys, int firstDay,
              const std::array<QByteArray, 7>& blobs, CRY::SecureBytes& buffer) {
    const Statement select = Prepare(db, kWeekSql);
    if (!select) {
        return -1;
    }
    sqlite3_bind_int(select.get(), 1, diary::kDiarySection);
    sqlite3_bind_int(select.get(), 2, firstDay);
    sqlite3_bind_int(select.get(), 3, firstDay + 6);
    int intact = 0;
    int rc = SQLITE_ROW;
    while ((rc = sqlite3_step(select.get())) == SQLITE_ROW) {
        const auto* p = static_cast<const std::uint8_t*>(sqlite3_column_blob(select.get(), 1));
        const auto n = static_cast<std::size_t>(sqlite3_column_bytes(select.get(), 1));
        const std::optional<std::size_t> length =
            DecipherRaw(mode, keys, sqlite3_column_int64(select.get(), 0), p, n, buffer);
        if (length && intact < 7) {
            const QByteArray& blob = blobs[static_cast<std::size_t>(intact)];
            if (*length == static_cast<std::size_t>(blob.size()) &&
                std::memcmp(buffer.data() + kPrefixBytes, blob.constData(), *length) == 0) {
                ++intact;
            }
        }
    }
    return rc == SQLITE_DONE ? intact : -1;
}

Side Timed(const std::function<bool()>& work) {
    return [work](double& ms) {
        QElapsedTimer t;
        t.start();
        const bool agrees = work();
        ms = MillisecondsOf(t);
        return agrees;
    };
}

int Run(QTextStream& out, QTextStream& err) {
    BenchFile file(err);
    if (!file.open(QStringLiteral("sections.nct"))) {
        return 1;
    }
    Session& session = file.session();
    Store& store = session.store();

    const QDateTime clock = QDateTime::currentDateTime();
    const QDateTime now(clock.date(), QTime(clock.time().hour(), clock.time().minute()));
    const QDate today = now.date();
    const QDate weekStart = diary::WeekStart(today.addDays(-kDiaryDays / 2), Qt::Monday);
    Expected expected;
    expected.sizes = CategorySizes();
    expected.listedCategory = kListedRank - 1;

    QElapsedTimer timer;
    timer.start();
    if (!FillMemos(store, now, expected, err)) {
        return 1;
    }
    const double memoFillMs = MillisecondsOf(timer);
    timer.start();
    if (!FillDiary(store, today, weekStart, expected, err)) {
        return 1;
    }
    const double diaryFillMs = MillisecondsOf(timer);
    out << "filled " << kMemos << " memos in " << kCategories << " categories (Unfiled and " << kCategories - 1
        << " named; the k-th largest holds a share of 1/sqrt(k): " << expected.sizes.front() << " down to "
        << expected.sizes.back() << " memos; one in " << kPrivateOneIn << " private; texts of mean "
        << expected.memoTextChars / kMemos << " characters) in " << QString::number(memoFillMs, 'f', 0) << " ms\n"
        << "filled " << kDiaryDays << " diary days (" << today.addDays(1 - kDiaryDays).toString(Qt::ISODate) << " to "
        << today.toString(Qt::ISODate) << ") in " << QString::number(diaryFillMs, 'f', 0) << " ms; file "
        << QString::number(static_cast<double>(QFileInfo(session.DbPath).size()) / (1024.0 * 1024.0), 'f', 1)
        << " MB\n";
    out.flush();

    CRY::SecureBytes keys = AllRecordKeys(store.cry.KeyPool());
    sqlite3* raw = store.connection().handle();
    const auto owner = static_cast<std::uint8_t>(store.user.level);
    auto mode = Botan::Cipher_Mode::create_or_throw("Blowfish/CBC/NoPadding", Botan::DECRYPTION);
    CRY::SecureBytes buffer;
    store.hidePrivate = false;

    std::vector<Timing> results;
    bool ok = true;
    // The first list of a session also learns where every memo is filed; the lists after it read only their own.
    const std::tuple<const char*, int, int> lists[] = {{"first memo list", expected.listedCategory, 1},
                                                       {"memo list", expected.listedCategory, kRuns},
                                                       {"memo list max", categories::kUnfiled, kRuns}};
    // The pages a list touches are mapped in by one raw reading first, so that the first list finds them as the
    // raw side does.
    MemoListLimit(raw, keys, expected.listedCategory, static_cast<std::size_t>(expected.listed.size()), owner, false);
    for (const auto& [workload, category, runs] : lists) {
        const QVector<ListedMemo>& written = category == categories::kUnfiled ? expected.largest : expected.listed;
        const int rows = Visible(written, false);
        ok = Measure(workload, rows, Timed([&, category = category] {
                         return ListAgrees(memos::ListMemos(store, category), written, category, false);
                     }),
                     Timed([&, category = category] {
                         return MemoListLimit(raw, keys, category, static_cast<std::size_t>(written.size()), owner,
                                              false) == rows;
                     }),
                     runs, results, err, runs > 1) &&
             ok;
    }

    QVector<QByteArray> shownBlobs;
    for (const memos::Memo& memo : expected.shown) {
        shownBlobs.append(memos::MemoBlob(memo));
    }
    qsizetype shown = 0;
    ok = Measure("memo display", 1, Timed([&] {
                     const memos::Memo& memo = expected.shown[shown % expected.shown.size()];
                     return MemoAgrees(memos::LoadMemo(store, memo.key), memo);
                 }),
                 Timed([&] {
                     const qsizetype at = shown++ % expected.shown.size();
                     return MemoLimit(raw, *mode, keys, expected.shown[at].key, shownBlobs[at], buffer);
                 }),
                 kRuns, results, err) &&
         ok;

    std::array<QByteArray, 7> weekBlobs;
    for (std::size_t i = 0; i < weekBlobs.size(); ++i) {
        weekBlobs[i] = diary::DiaryBlob(expected.week[i]);
    }
    const int firstDay = records::DayNumber(weekStart, diary::kDiaryDayBase);
    ok = Measure("diary week", 7, Timed([&] { return WeekAgrees(diary::LoadWeek(store, weekStart), expected.week); }),
                 Timed([&] { return WeekLimit(raw, *mode, keys, firstDay, weekBlobs, buffer) == 7; }), kRuns, results,
                 err) &&
         ok;
    CRY::WipeBytes(keys);
    CRY::WipeBytes(buffer);

    // The private switch off: the same list without the private memos, once, untimed.
    store.hidePrivate = true;
    if (!ListAgrees(memos::ListMemos(store, expected.listedCategory), expected.listed, expected.listedCategory, true)) {
        err << "noctaria-bench: the memo list with private memos hidden disagrees with what was written\n";
        ok = false;
    }

    PrintTable(out, results, 3);
    out << "medians of " << kRuns
        << " runs (the first memo list: one run); memo list: " << CategoryName(expected.listedCategory) << " (rank "
        << kListedRank << " of " << kCategories << "), memo list max: Unfiled; title threads "
        << std::max(1u, std::thread::hardware_concurrency()) << "; memo display: one memo a run; "
        << "diary week from " << weekStart.toString(Qt::ISODate) << '\n';
    out << "plan of the raw memo list: " << QueryPlan(raw, kMemoListSql) << '\n';
    for (const Timing& timing : results) {
        out << timing.workload << ' ' << (timing.oursMs < kListTargetMs ? "under" : "NOT under") << ' ' << kListTargetMs
            << " ms (" << QString::number(timing.oursMs, 'f', 1) << " ms)\n";
    }
    out.flush();

    return ok ? 0 : 1;
}

} // namespace

int RunSectionsBench(QTextStream& out, QTextStream& err) {
    return Run(out, err);
}

} // namespace bench
