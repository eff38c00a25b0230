#include "app/bench/sections_bench.h"

#include "app/bench/bench_support.h"
#include "app/bench/raw_cipher.h"

#include "sections/categories/categories.h"
#include "sections/diary/diary.h"
#include "sections/memos/memo.h"
#include "sections/record_store.h"
#include "sections/tasks/task.h"
#include "sections/vault/vault.h"
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
#include <utility>
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
constexpr int kTasks = 100000;
constexpr int kTaskYearsAhead = 2;
constexpr int kCompletedPercent = 30;
constexpr int kUndatedPercent = 15;
constexpr int kTaskNotePercent = 40;
constexpr int kVaultRecords = 20000;
constexpr int kVaultNotePercent = 25;
// A new vault record starts private; some are opened up.
constexpr int kVaultOpenOneIn = 5;
constexpr int kRuns = 7;
constexpr double kListTargetMs = 50.0;
constexpr std::uint32_t kSeed = 20240612;
// The least SQL that reaches each result, for the raw side.
constexpr const char* kTitleListSql = "SELECT fPK, fT1 FROM tt WHERE fSec=? AND fG1=?";
constexpr const char* kMemoSql = "SELECT fSec, fEtx FROM tt WHERE fPK=?";
constexpr const char* kWeekSql = "SELECT fPK, fEtx FROM tt WHERE +fSec=? AND fR3 BETWEEN ? AND ? ORDER BY fPK";
constexpr const char* kTaskListSql = "SELECT fPK, fEtx FROM tt WHERE fSec=?";
constexpr const char* kOpenTaskListSql = "SELECT fPK, fEtx FROM tt WHERE fSec=? AND fF3=0";

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

const std::array<const char*, 16> kTaskSubjects = {
    "Renew the passport",
    "Call the plumber",
    "Pay the electricity bill",
    "Send the quarterly report",
    "Book the dentist",
    "Prepare the slides for %1",
    "Reply to Anna about the offer",
    "Buy a birthday present",
    "Take the car to the garage",
    "File the tax return",
    "Review the contract",
    "Order printer ink",
    "Cancel the gym membership",
    "Plan the summer holiday",
    "Back up the laptop",
    "See the bank about the loan on %1",
};

// "Unfiled" and a few named categories, with the share of tasks each holds in per cent.
const std::array<std::pair<const char*, int>, 6> kTaskCategories = {{
    {"Unfiled", 20},
    {"Work", 35},
    {"Home", 20},
    {"Errands", 10},
    {"Family", 10},
    {"Finance", 5},
}};

// Records by sub-category: web logins far ahead, as a person's vault tends to be.
constexpr std::array<std::pair<int, int>, 16> kVaultSizes = {{
    {1, 7000},
    {2, 1600},
    {3, 300},
    {4, 500},
    {5, 900},
    {6, 1000},
    {7, 700},
    {8, 500},
    {9, 1200},
    {10, 1500},
    {11, 200},
    {12, 600},
    {13, 800},
    {14, 600},
    {15, 1000},
    {16, 1600},
}};

constexpr int VaultTotal() {
    int total = 0;
    for (const auto& [number, size] : kVaultSizes) {
        total += size;
    }
    return total;
}
static_assert(VaultTotal() == kVaultRecords);
// Membership, at the median size.
constexpr int kTypicalSubCategory = 13;

const std::array<const char*, 20> kVaultNames = {
    "Northwind",    "Bluebird Books", "Cityrail",     "Green Grocer",    "Harbour Bank", "Pixel Forum", "Sunny Travel",
    "Trail Outfit", "Town Library",   "Quick Parcel", "Open Source Hub", "Daily News",   "Photo Cloud", "Music Box",
    "Home Energy",  "Health Portal",  "Tax Office",   "Garden Centre",   "Chess Club",   "Car Share",
};

const std::array<const char*, 8> kVaultUsers = {
    "anna.miller", "amiller", "anna", "a.miller@example.org", "miller77", "annam", "family.miller", "4711",
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

template <std::size_t N>
QString Subject(std::mt19937& rng, const std::array<const char*, N>& patterns, const QDate& date) {
    const QString pattern = QString::fromUtf8(patterns[static_cast<std::size_t>(Below(rng, static_cast<int>(N)))]);
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

struct WrittenTitle {
    std::int32_t key = 0;
    QString title;
    bool isPrivate = false;
};

QString TaskCategoryText() {
    QStringList parts;
    for (std::size_t id = 1; id < kTaskCategories.size(); ++id) {
        parts << QString::fromLatin1(kTaskCategories[id].first) << QString::number(id);
    }
    return parts.join(u';');
}

int TaskCategory(std::mt19937& rng) {
    int percent = Below(rng, 100);
    int id = 0;
    for (; percent >= kTaskCategories[static_cast<std::size_t>(id)].second; ++id) {
        percent -= kTaskCategories[static_cast<std::size_t>(id)].second;
    }
    return id;
}

int TaskPriority(std::mt19937& rng) {
    const int kind = Below(rng, 100);
    return kind < 20 ? tasks::High : kind < 80 ? tasks::Normal : tasks::Low;
}

QString Password(std::mt19937& rng) {
    static const QLatin1String kCharacters("abcdefghijkmnopqrstuvwxyzABCDEFGHJKLMNPQRSTUVWXYZ23456789!$%&*+-_=?");
    QString password;
    for (int i = Between(rng, 8, 16); i > 0; --i) {
        password += kCharacters[Below(rng, static_cast<int>(kCharacters.size()))];
    }
    return password;
}

// What was written, as far as the timed readings need it.
struct Expected {
    std::array<int, kCategories> sizes{};
    int listedCategory = 0;
    QVector<WrittenTitle> listed;  // the category at the middle rank, in key order
    QVector<WrittenTitle> largest; // "Unfiled"
    QVector<memos::Memo> shown;    // the memos displayed, one a run
    std::array<diary::DiaryEntry, 7> week;
    qint64 memoTextChars = 0;
    QVector<tasks::Task> tasks; // every task, in key order
    int completedTasks = 0;
    int largestSubCategory = 0;
    QVector<WrittenTitle> vaultLargest; // the largest sub-category, in key order
    QVector<WrittenTitle> vaultTypical; // a sub-category of the median size, in key order
};

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
        memos::Memo memo = memos::NewMemo(store.user.level, category, Subject(rng, kSubjects, written.date()), written);
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

// The task section's categories and the tasks, the tasks inside one transaction: each due a little after it
// was written down, over the last kYears years and the next kTaskYearsAhead, some without a due date or a note.
bool FillTasks(Store& store, const QDate& today, Expected& expected, QTextStream& err) {
    if (const int e = categories::SaveCategoryText(store, TaskCategoryText(), tasks::kTaskSection)) {
        err << "noctaria-bench: the task categories could not be written: " << e << '\n';
        return false;
    }
    if (!Begin(store, err)) {
        return false;
    }
    std::mt19937 rng(kSeed + 2);
    const QDate first = today.addYears(-kYears);
    const qint64 span = first.daysTo(today.addYears(kTaskYearsAhead));
    expected.tasks.reserve(kTasks);
    for (int i = 0; i < kTasks; ++i) {
        const QDate due = first.addDays(span * i / kTasks + Between(rng, 0, 60));
        tasks::Task task;
        task.owner = store.user.level;
        task.isPrivate = Below(rng, kPrivateOneIn) == 0;
        task.subject = Subject(rng, kTaskSubjects, due);
        if (Below(rng, 100) < kTaskNotePercent) {
            task.memo = Prose(rng, kMemoSentences, Between(rng, 40, 600));
        }
        task.priority = TaskPriority(rng);
        if (Below(rng, 100) >= kUndatedPercent) {
            task.due = due;
        }
        task.completed = Below(rng, 100) < kCompletedPercent;
        if (task.completed) {
            task.done = std::min(today, due.addDays(Between(rng, -14, 7)));
            ++expected.completedTasks;
        }
        task.category = TaskCategory(rng);
        if (const Result r = tasks::StoreTask(store, task); !r.ok()) {
            err << "noctaria-bench: writing task " << i << " failed: " << r.text() << '\n';
            store.connection().exec("ROLLBACK");
            return false;
        }
        expected.tasks.append(task);
    }
    return Commit(store, err);
}

// The vault records inside one transaction, written over the last kYears years, each sub-category with its
// share; every field a sub-category labels is filled, a password field with a password of its own.
bool FillVault(Store& store, const QDateTime& now, Expected& expected, QTextStream& err) {
    std::mt19937 rng(kSeed + 3);
    std::vector<int> subCategoryOf;
    subCategoryOf.reserve(kVaultRecords);
    std::array<QStringList, kVaultSizes.size() + 1> labels;
    for (const auto& [number, size] : kVaultSizes) {
        subCategoryOf.insert(subCategoryOf.end(), static_cast<std::size_t>(size), number);
        labels[static_cast<std::size_t>(number)] = vault::Labels(number);
    }
    std::shuffle(subCategoryOf.begin(), subCategoryOf.end(), rng);

    if (!Begin(store, err)) {
        return false;
    }
    const qint64 span = now.date().addYears(-kYears).daysTo(now.date()) * 1440;
    for (int i = 0; i < kVaultRecords; ++i) {
        const QDateTime written = now.addSecs(60 * (-span + span * i / kVaultRecords));
        const int subCategory = subCategoryOf[static_cast<std::size_t>(i)];
        vault::Entry entry = vault::NewEntry(store.user.level, subCategory);
        entry.isPrivate = Below(rng, kVaultOpenOneIn) != 0;
        const QStringList& fields = labels[static_cast<std::size_t>(subCategory)];
        for (qsizetype f = 0; f < fields.size(); ++f) {
            QString& value = entry.values[static_cast<std::size_t>(f)];
            if (f == 0) {
                value =
                    QStringLiteral("%1 %2")
                        .arg(QLatin1String(
                            kVaultNames[static_cast<std::size_t>(Below(rng, static_cast<int>(kVaultNames.size())))]))
                        .arg(Between(rng, 1, 999));
            } else if (vault::IsPasswordLabel(fields[f])) {
                value = Password(rng);
            } else {
                value = QLatin1String(
                    kVaultUsers[static_cast<std::size_t>(Below(rng, static_cast<int>(kVaultUsers.size())))]);
            }
        }
        if (Below(rng, 100) < kVaultNotePercent) {
            entry.notes = Prose(rng, kMemoSentences, Between(rng, 40, 400));
        }
        if (const Result r = vault::StoreEntry(store, entry, written); !r.ok()) {
            err << "noctaria-bench: writing vault record " << i << " failed: " << r.text() << '\n';
            store.connection().exec("ROLLBACK");
            return false;
        }
        if (subCategory == expected.largestSubCategory) {
            expected.vaultLargest.append({entry.key, entry.values[0], entry.isPrivate});
        } else if (subCategory == kTypicalSubCategory) {
            expected.vaultTypical.append({entry.key, entry.values[0], entry.isPrivate});
        }
    }
    return Commit(store, err);
}

int Visible(const QVector<WrittenTitle>& written, bool hidePrivate) {
    return static_cast<int>(std::count_if(written.begin(), written.end(),
                                          [&](const WrittenTitle& m) { return !(hidePrivate && m.isPrivate); }));
}

// Whether the list shows exactly the records of the category this reader may see, in key order, with their titles.
bool ListAgrees(const QVector<records::ListedTitle>& list, const QVector<WrittenTitle>& written, int category,
                bool hidePrivate) {
    qsizetype at = 0;
    for (const WrittenTitle& m : written) {
        if (hidePrivate && m.isPrivate) {
            continue;
        }
        if (at >= list.size() || list[at].key != m.key || list[at].title != m.title || list[at].category != category) {
            return false;
        }
        ++at;
    }
    return at == list.size();
}

int VisibleTasks(const QVector<tasks::Task>& written, bool showCompleted, bool hidePrivate) {
    return static_cast<int>(std::count_if(written.begin(), written.end(), [&](const tasks::Task& t) {
        return (showCompleted || !t.completed) && !(hidePrivate && t.isPrivate);
    }));
}

// Whether the list shows exactly the tasks this reader may see under the filter, in key order, as written.
bool TasksAgree(const QVector<tasks::Task>& list, const QVector<tasks::Task>& written, bool showCompleted,
                bool hidePrivate) {
    qsizetype at = 0;
    for (const tasks::Task& t : written) {
        if ((!showCompleted && t.completed) || (hidePrivate && t.isPrivate)) {
            continue;
        }
        if (at >= list.size()) {
            return false;
        }
        const tasks::Task& l = list[at++];
        if (l.key != t.key || l.owner != t.owner || l.isPrivate != t.isPrivate || l.subject != t.subject ||
            l.memo != t.memo || l.priority != t.priority || l.due != t.due || l.completed != t.completed ||
            l.done != t.done || l.category != t.category) {
            return false;
        }
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

// A category's titles of `section` by raw SQLite and raw Botan, deciphered on the other cores while the rows are
// read, as the program does; the count of those the reader may see (its own, and the private ones only while
// shown), or -1. The category holds `count` rows.
int TitleListLimit(sqlite3* db, const CRY::SecureBytes& keys, int section, int category, std::size_t count,
                   std::uint8_t owner, bool hidePrivate) {
    const Statement select = Prepare(db, kTitleListSql);
    if (!select) {
        return -1;
    }
    sqlite3_bind_int(select.get(), 1, section);
    sqlite3_bind_int(select.get(), 2, category);
    return ReadAndDecipherRaw(select.get(), count, keys, [&](const std::uint8_t* title, std::size_t n) {
        return n >= 3 && title[0] == owner && !(hidePrivate && title[1] != 0);
    });
}

// The task rows `sql` selects by raw SQLite, their blobs by raw Botan on every core while they are read; the
// count of those deciphered intact, or -1. At most `count` rows may come.
int TaskListLimit(sqlite3* db, const CRY::SecureBytes& keys, const char* sql, std::size_t count) {
    const Statement select = Prepare(db, sql);
    if (!select) {
        return -1;
    }
    sqlite3_bind_int(select.get(), 1, tasks::kTaskSection);
    return ReadAndDecipherRaw(select.get(), count, keys, [](const std::uint8_t*, std::size_t n) { return n > 0; });
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
    expected.largestSubCategory =
        std::max_element(kVaultSizes.begin(), kVaultSizes.end(), [](const auto& a, const auto& b) {
            return a.second < b.second;
        })->first;

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
    timer.start();
    if (!FillTasks(store, today, expected, err)) {
        return 1;
    }
    const double taskFillMs = MillisecondsOf(timer);
    timer.start();
    if (!FillVault(store, now, expected, err)) {
        return 1;
    }
    const double vaultFillMs = MillisecondsOf(timer);
    const QString largestCaption = QLatin1String(vault::FindSubCategory(expected.largestSubCategory)->caption);
    out << "filled " << kMemos << " memos in " << kCategories << " categories (Unfiled and " << kCategories - 1
        << " named; the k-th largest holds a share of 1/sqrt(k): " << expected.sizes.front() << " down to "
        << expected.sizes.back() << " memos; one in " << kPrivateOneIn << " private; texts of mean "
        << expected.memoTextChars / kMemos << " characters) in " << QString::number(memoFillMs, 'f', 0) << " ms\n"
        << "filled " << kDiaryDays << " diary days (" << today.addDays(1 - kDiaryDays).toString(Qt::ISODate) << " to "
        << today.toString(Qt::ISODate) << ") in " << QString::number(diaryFillMs, 'f', 0) << " ms\n"
        << "filled " << kTasks << " tasks (" << expected.completedTasks << " completed; one in " << kPrivateOneIn
        << " private; due from " << today.addYears(-kYears).toString(Qt::ISODate) << " to "
        << today.addYears(kTaskYearsAhead).toString(Qt::ISODate) << ", " << kUndatedPercent << "% without; "
        << kTaskNotePercent << "% with a note; " << kTaskCategories.size() << " categories) in "
        << QString::number(taskFillMs, 'f', 0) << " ms\n"
        << "filled " << kVaultRecords << " vault records in " << kVaultSizes.size() << " sub-categories ("
        << largestCaption << " the largest with " << expected.vaultLargest.size() << "; one in " << kVaultOpenOneIn
        << " not private) in " << QString::number(vaultFillMs, 'f', 0) << " ms; file "
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
    TitleListLimit(raw, keys, memos::kMemoSection, expected.listedCategory,
                   static_cast<std::size_t>(expected.listed.size()), owner, false);
    for (const auto& [workload, category, runs] : lists) {
        const QVector<WrittenTitle>& written = category == categories::kUnfiled ? expected.largest : expected.listed;
        const int rows = Visible(written, false);
        ok = Measure(workload, rows, Timed([&, category = category] {
                         return ListAgrees(memos::ListMemos(store, category), written, category, false);
                     }),
                     Timed([&, category = category] {
                         return TitleListLimit(raw, keys, memos::kMemoSection, category,
                                               static_cast<std::size_t>(written.size()), owner, false) == rows;
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

    // Every task, then the open ones only, as the list's switch for completed tasks shows them.
    const std::tuple<const char*, const char*, bool> taskLists[] = {{"task list all", kTaskListSql, true},
                                                                    {"task list open", kOpenTaskListSql, false}};
    for (const auto& [workload, sql, showCompleted] : taskLists) {
        const int rows = VisibleTasks(expected.tasks, showCompleted, false);
        ok = Measure(workload, rows,
                     TimedThenChecked(
                         [&, showCompleted = showCompleted] {
                             return tasks::ListTasks(
                                 store, {.category = records::kAllCategories, .showCompleted = showCompleted});
                         },
                         [&, showCompleted = showCompleted](const QVector<tasks::Task>& list) {
                             return TasksAgree(list, expected.tasks, showCompleted, false);
                         }),
                     Timed([&, sql = sql, rows] {
                         return TaskListLimit(raw, keys, sql, static_cast<std::size_t>(rows)) == rows;
                     }),
                     kRuns, results, err) &&
             ok;
    }

    // As with the memos: the first vault list of a session learns where every record is filed.
    struct VaultRow {
        const char* workload;
        int runs;
        int subCategory;
        const QVector<WrittenTitle>* written;
    };
    for (const VaultRow& row :
         {VaultRow{"first vault list", 1, expected.largestSubCategory, &expected.vaultLargest},
          VaultRow{"vault list", kRuns, kTypicalSubCategory, &expected.vaultTypical},
          VaultRow{"vault list max", kRuns, expected.largestSubCategory, &expected.vaultLargest}}) {
        const int vaultRows = Visible(*row.written, false);
        const auto vaultCount = static_cast<std::size_t>(row.written->size());
        TitleListLimit(raw, keys, vault::kVaultSection, row.subCategory, vaultCount, owner, false);
        ok = Measure(row.workload, vaultRows,
                     TimedThenChecked([&] { return vault::ListEntries(store, row.subCategory); },
                                      [&](const QVector<records::ListedTitle>& list) {
                                          return ListAgrees(list, *row.written, row.subCategory, false);
                                      }),
                     Timed([&] {
                         return TitleListLimit(raw, keys, vault::kVaultSection, row.subCategory, vaultCount, owner,
                                               false) == vaultRows;
                     }),
                     row.runs, results, err, row.runs > 1) &&
             ok;
    }
    CRY::WipeBytes(keys);
    CRY::WipeBytes(buffer);

    // The private switch off: the same list without the private memos, once, untimed.
    store.hidePrivate = true;
    if (!ListAgrees(memos::ListMemos(store, expected.listedCategory), expected.listed, expected.listedCategory, true)) {
        err << "noctaria-bench: the memo list with private memos hidden disagrees with what was written\n";
        ok = false;
    }
    if (!TasksAgree(tasks::ListTasks(store, {.category = records::kAllCategories, .showCompleted = false}),
                    expected.tasks, false, true)) {
        err << "noctaria-bench: the open task list with private tasks hidden disagrees with what was written\n";
        ok = false;
    }
    if (!ListAgrees(vault::ListEntries(store, expected.largestSubCategory), expected.vaultLargest,
                    expected.largestSubCategory, true)) {
        err << "noctaria-bench: the vault list with private records hidden disagrees with what was written\n";
        ok = false;
    }

    PrintTable(out, results, 3);
    out << "medians of " << kRuns
        << " runs (the first memo list: one run); memo list: " << CategoryName(expected.listedCategory) << " (rank "
        << kListedRank << " of " << kCategories << "), memo list max: Unfiled; title threads "
        << std::max(1u, std::thread::hardware_concurrency()) << "; memo display: one memo a run; "
        << "diary week from " << weekStart.toString(Qt::ISODate) << "; task list all: every task, task list open: "
        << "completed ones left out; vault list: " << vault::FindSubCategory(kTypicalSubCategory)->caption
        << ", vault list max: " << largestCaption << " (the first vault list: one run)\n";
    out << "plan of the raw memo list: " << QueryPlan(raw, kTitleListSql) << '\n';
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
