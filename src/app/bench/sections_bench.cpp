#include "app/bench/sections_bench.h"

#include "app/bench/bench_support.h"
#include "app/bench/raw_cipher.h"
#include "app/bench/sample_records.h"

#include "sections/categories/categories.h"
#include "sections/contacts/contact.h"
#include "sections/contacts/contact_list.h"
#include "sections/contacts/contact_pane.h"
#include "sections/diary/diary.h"
#include "sections/memos/memo.h"
#include "sections/record_store.h"
#include "sections/tasks/task.h"
#include "sections/vault/vault.h"
#include "shell/options.h"
#include "shell/session.h"
#include "store/codepage.h"
#include "store/cry.h"
#include "store/sqlite.h"
#include "store/store.h"

#include <QCollator>
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
#include <atomic>
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
constexpr int kTasks = 100000;
constexpr int kTaskYearsAhead = 2;
constexpr int kCompletedPercent = 30;
constexpr int kUndatedPercent = 15;
constexpr int kTaskNotePercent = 40;
constexpr int kVaultRecords = 20000;
constexpr int kContacts = 50000;
constexpr int kSecondCategoryOneIn = 5;
constexpr int kRuns = 7;
constexpr double kListTargetMs = 50.0;
// Every contact is one list, so its target is looser than a category's.
constexpr double kContactListTargetMs = 100.0;
constexpr std::uint32_t kSeed = 20240612;
// The least SQL that reaches each result, for the raw side.
constexpr const char* kTitleListSql = "SELECT fPK, fT1 FROM tt WHERE fSec=? AND fG1=?";
constexpr const char* kMemoSql = "SELECT fSec, fEtx FROM tt WHERE fPK=?";
constexpr const char* kWeekSql = "SELECT fPK, fEtx FROM tt WHERE +fSec=? AND fR3 BETWEEN ? AND ? ORDER BY fPK";
constexpr const char* kTaskListSql = "SELECT fPK, fEtx FROM tt WHERE fSec=?";
constexpr const char* kOpenTaskListSql = "SELECT fPK, fEtx FROM tt WHERE fSec=? AND fF3=0";
// A contact's categories are in fT5, which no index holds, so a category's list reads the whole section too.
constexpr const char* kContactListSql = "SELECT fPK, fT1, fT2, fT5, fG1 FROM tt WHERE fSec=?";
constexpr const char* kContactSql = "SELECT fSec, fEtx, fT1, fT5, fG1 FROM tt WHERE fPK=?";

const std::array<const char*, kCategories - 1> kCategoryNames = {
    "Work",    "Personal",   "Recipes",  "Travel",       "Projects", "Meetings",    "Ideas",      "Books",     "Health",
    "Finance", "Car",        "House",    "Garden",       "Family",   "Children",    "School",     "Shopping",  "Gifts",
    "Music",   "Films",      "Sport",    "Fitness",      "Club",     "Church",      "Neighbours", "Insurance", "Taxes",
    "Bank",    "Pets",       "Holidays", "Birthdays",    "Quotes",   "Languages",   "Computer",   "Software",  "Photos",
    "Repairs", "Contracts",  "Courses",  "Volunteering", "Wine",     "Restaurants", "Addresses",  "Journeys",  "Crafts",
    "Letters", "Job search", "Moving",   "Archive",
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

// How many of `count` records each category holds: shares proportional to 1/sqrt(rank), "Unfiled" the largest,
// rounded so that they add up to exactly `count`.
std::array<int, kCategories> CategorySizes(int count) {
    std::array<double, kCategories> shares{};
    double total = 0;
    for (int id = 0; id < kCategories; ++id) {
        shares[id] = 1.0 / std::sqrt(static_cast<double>(id + 1));
        total += shares[id];
    }
    std::array<int, kCategories> sizes{};
    int given = 0;
    for (int id = 0; id < kCategories; ++id) {
        sizes[id] = static_cast<int>(std::floor(count * shares[id] / total));
        given += sizes[id];
    }
    for (int id = 0; given < count; id = (id + 1) % kCategories, ++given) {
        ++sizes[id];
    }
    return sizes;
}

// Each record's category, the categories at their sizes in random order.
std::vector<int> ShuffledCategories(const std::array<int, kCategories>& sizes, std::mt19937& rng) {
    std::vector<int> categoryOf;
    for (int id = 0; id < kCategories; ++id) {
        categoryOf.insert(categoryOf.end(), static_cast<std::size_t>(sizes[id]), id);
    }
    std::shuffle(categoryOf.begin(), categoryOf.end(), rng);
    return categoryOf;
}

struct WrittenTitle {
    std::int32_t key = 0;
    QString title;
    bool isPrivate = false;
};

struct WrittenContact {
    contacts::ListItem item;
    bool isPrivate = false;
    bool listed = false; // in the category of the middle rank, first or second
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
    QVector<WrittenContact> contacts;   // every contact, in key order
    contacts::Contact shownContact;     // the one written halfway
    int companies = 0;
    int twoCategories = 0;
    int birthdays = 0;
};

// Writes the category list and the memos through the section's own store, the memos inside one transaction of
// the engine, spread over the last kYears years and over the categories at random.
bool FillMemos(Store& store, const QDateTime& now, Expected& expected, QTextStream& err) {
    if (const int e = categories::SaveCategoryText(store, CategoryListText(), memos::kMemoSection)) {
        err << "noctaria-bench: the memo categories could not be written: " << e << '\n';
        return false;
    }
    std::mt19937 rng(kSeed);
    const std::vector<int> categoryOf = ShuffledCategories(expected.sizes, rng);

    if (!Begin(store, err)) {
        return false;
    }
    // Stamps are kept to the minute.
    const qint64 span = now.date().addYears(-kYears).daysTo(now.date()) * 1440;
    const int shownEvery = kMemos / (kRuns + 1);
    for (int i = 0; i < kMemos; ++i) {
        const QDateTime written = now.addSecs(60 * (-span + span * i / kMemos));
        const int category = categoryOf[static_cast<std::size_t>(i)];
        memos::Memo memo =
            memos::NewMemo(store.user.level, category, Subject(rng, kMemoSubjects, written.date()), written);
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
        vault::Entry entry =
            NewVaultEntry(rng, store.user.level, subCategory, labels[static_cast<std::size_t>(subCategory)]);
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

// The contacts inside one transaction: people, some with their company and a few companies alone, most with a
// mobile number or a mail address as the primary contact, filed over the memos' categories at the memos' shares.
bool FillContacts(Store& store, Expected& expected, QTextStream& err) {
    if (const int e = categories::SaveCategoryText(store, CategoryListText(), contacts::kContactSection)) {
        err << "noctaria-bench: the contact categories could not be written: " << e << '\n';
        return false;
    }
    std::mt19937 rng(kSeed + 4);
    const std::vector<int> categoryOf = ShuffledCategories(CategorySizes(kContacts), rng);

    if (!Begin(store, err)) {
        return false;
    }
    expected.contacts.reserve(kContacts);
    for (int i = 0; i < kContacts; ++i) {
        contacts::Contact contact = NewContact(rng, store.user.level);
        if (contact.birthday.isValid()) {
            ++expected.birthdays;
        }
        if (!contact.texts[contacts::CompanyName].isEmpty()) {
            ++expected.companies;
        }
        if (const int category = categoryOf[static_cast<std::size_t>(i)]; category != categories::kUnfiled) {
            contact.categories = {category};
            if (const int second = Between(rng, 1, kCategories - 1);
                Below(rng, kSecondCategoryOneIn) == 0 && second != category) {
                contact.categories.append(second);
                ++expected.twoCategories;
            }
        }
        if (const Result r = contacts::StoreContact(store, contact); !r.ok()) {
            err << "noctaria-bench: writing contact " << i << " failed: " << r.text() << '\n';
            store.connection().exec("ROLLBACK");
            return false;
        }
        expected.contacts.append({{contact.key, contact.fileAs, contacts::PrimaryContact(contact)},
                                  contact.isPrivate,
                                  contact.categories.contains(expected.listedCategory)});
        if (i == kContacts / 2) {
            expected.shownContact = contact;
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

int VisibleContacts(const QVector<WrittenContact>& written, bool onlyListed, bool hidePrivate) {
    return static_cast<int>(std::count_if(written.begin(), written.end(), [&](const WrittenContact& c) {
        return (!onlyListed || c.listed) && !(hidePrivate && c.isPrivate);
    }));
}

// Whether the list holds exactly the contacts this reader may see, as written, sorted by title as the locale sorts
// ignoring case, equal titles in key order.
bool ContactsAgree(const QVector<contacts::ListItem>& list, const QVector<WrittenContact>& written, bool onlyListed,
                   bool hidePrivate) {
    QCollator collator;
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    for (qsizetype i = 1; i < list.size(); ++i) {
        const int order = collator.compare(list[i - 1].name, list[i].name);
        if (order > 0 || (order == 0 && list[i - 1].key > list[i].key)) {
            return false;
        }
    }
    QVector<contacts::ListItem> byKey = list;
    std::sort(byKey.begin(), byKey.end(), [](const auto& a, const auto& b) { return a.key < b.key; });
    qsizetype at = 0;
    for (const WrittenContact& c : written) {
        if ((onlyListed && !c.listed) || (hidePrivate && c.isPrivate)) {
            continue;
        }
        if (at >= byKey.size() || byKey[at] != c.item) {
            return false;
        }
        ++at;
    }
    return at == byKey.size();
}

bool PaneAgrees(const std::optional<contacts::ContactPane>& pane, const contacts::ContactPane& expected) {
    return pane && pane->name == expected.name && pane->lines == expected.lines;
}

bool ContactAgrees(const std::optional<contacts::Contact>& loaded, const contacts::Contact& contact) {
    return loaded && loaded->key == contact.key && loaded->owner == contact.owner &&
           loaded->isPrivate == contact.isPrivate && loaded->birthday == contact.birthday &&
           loaded->comDisplay == contact.comDisplay && loaded->texts == contact.texts &&
           loaded->fileAs == contact.fileAs && loaded->categories == contact.categories;
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

// Whether a row's category list holds the named category `category`; a row with an empty list is filed by its
// primary category alone. The bytes are read where they lie, with no list built.
bool FiledIn(const std::uint8_t* list, std::size_t n, std::int64_t primary, int category) {
    bool any = false;
    int number = -1;
    for (std::size_t i = 0; i <= n; ++i) {
        if (i < n && list[i] >= '0' && list[i] <= '9') {
            number = (number < 0 ? 0 : number * 10) + (list[i] - '0');
            any = true;
        } else if (number == category) {
            return true;
        } else {
            number = -1;
        }
    }
    return !any && primary == category;
}

struct SealedContact {
    std::int64_t key = 0;
    std::vector<std::uint8_t> title;
    std::vector<std::uint8_t> info;
};

// The titles the reader may see, and the primary contacts of those that have one; titles -1 on a failure.
struct ContactCount {
    int titles = 0;
    int infos = 0;
};

// The contact rows of `category` (or all) by raw SQLite, deciphered by raw Botan on the other cores while the
// rows are read: the title, and the primary contact of a title the reader may see. No more than `capacity` rows
// may come.
ContactCount ContactListLimit(sqlite3* db, const CRY::SecureBytes& keys, int category, std::size_t capacity,
                              std::uint8_t owner) {
    const Statement select = Prepare(db, kContactListSql);
    if (!select) {
        return {-1, 0};
    }
    sqlite3_bind_int(select.get(), 1, contacts::kContactSection);
    // Reserved in full, so that rows never move while other threads decipher them.
    std::vector<SealedContact> rows;
    rows.reserve(capacity);
    std::atomic<std::size_t> read{0};
    std::atomic<bool> done{false};
    std::atomic<std::size_t> taken{0};
    const unsigned threads = std::max(1u, std::thread::hardware_concurrency());
    std::vector<ContactCount> counts(threads);
    const auto decipher = [&](unsigned part) {
        try {
            auto mode = Botan::Cipher_Mode::create_or_throw("Blowfish/CBC/NoPadding", Botan::DECRYPTION);
            CRY::SecureBytes buffer;
            ContactCount& count = counts[part];
            for (std::size_t i = taken++;; i = taken++) {
                while (i >= read.load() && !done.load()) {
                    std::this_thread::yield();
                }
                if (i >= read.load()) {
                    break;
                }
                const SealedContact& row = rows[i];
                const std::optional<std::size_t> n =
                    DecipherRaw(*mode, keys, row.key, row.title.data(), row.title.size(), buffer);
                if (!n || *n < 3 || buffer[kPrefixBytes] != owner) {
                    continue;
                }
                ++count.titles;
                if (DecipherRaw(*mode, keys, row.key, row.info.data(), row.info.size(), buffer)) {
                    ++count.infos;
                }
            }
        } catch (const std::exception&) {
            counts[part].titles = -1;
        }
    };
    std::vector<std::thread> workers;
    for (unsigned t = 1; t < threads; ++t) {
        workers.emplace_back(decipher, t);
    }
    const auto bytes = [&](int column) {
        const auto* p = static_cast<const std::uint8_t*>(sqlite3_column_blob(select.get(), column));
        return std::vector<std::uint8_t>(p, p + sqlite3_column_bytes(select.get(), column));
    };
    int rc = SQLITE_ROW;
    bool overflow = false;
    while ((rc = sqlite3_step(select.get())) == SQLITE_ROW) {
        if (category != categories::kAll &&
            !FiledIn(static_cast<const std::uint8_t*>(sqlite3_column_blob(select.get(), 3)),
                     static_cast<std::size_t>(sqlite3_column_bytes(select.get(), 3)),
                     sqlite3_column_int64(select.get(), 4), category)) {
            continue;
        }
        if (rows.size() == capacity) {
            overflow = true;
            break;
        }
        rows.push_back({sqlite3_column_int64(select.get(), 0), bytes(1), bytes(2)});
        read.store(rows.size());
    }
    done.store(true);
    decipher(0);
    for (std::thread& worker : workers) {
        worker.join();
    }
    ContactCount total;
    for (const ContactCount& count : counts) {
        if (count.titles < 0) {
            return {-1, 0};
        }
        total.titles += count.titles;
        total.infos += count.infos;
    }
    return overflow || rc != SQLITE_DONE ? ContactCount{-1, 0} : total;
}

// One contact's row by raw SQLite, its blob and title by raw Botan, the blob decoded and the categories read as
// the program reads them; nothing when it is no contact or does not decipher.
std::optional<contacts::Contact> ContactLimit(sqlite3* db, Botan::Cipher_Mode& mode, const CRY::SecureBytes& keys,
                                              std::int32_t key, CRY::SecureBytes& buffer) {
    const Statement select = Prepare(db, kContactSql);
    if (!select) {
        return std::nullopt;
    }
    sqlite3_bind_int64(select.get(), 1, key);
    if (sqlite3_step(select.get()) != SQLITE_ROW || sqlite3_column_int(select.get(), 0) != contacts::kContactSection) {
        return std::nullopt;
    }
    const auto column = [&](int c) { return static_cast<const std::uint8_t*>(sqlite3_column_blob(select.get(), c)); };
    const auto size = [&](int c) { return static_cast<std::size_t>(sqlite3_column_bytes(select.get(), c)); };
    contacts::Contact contact;
    std::optional<std::size_t> n = DecipherRaw(mode, keys, key, column(1), size(1), buffer);
    if (!n || !contacts::DecodeContactBlob(
                  QByteArray(reinterpret_cast<const char*>(buffer.data() + kPrefixBytes), static_cast<qsizetype>(*n)),
                  contact)) {
        return std::nullopt;
    }
    n = DecipherRaw(mode, keys, key, column(2), size(2), buffer);
    if (!n || *n < 3) {
        return std::nullopt;
    }
    contact.key = key;
    contact.fileAs = codepage::FromBytes(
        QByteArray(reinterpret_cast<const char*>(buffer.data() + kPrefixBytes + 2), static_cast<qsizetype>(*n - 2)));
    contact.categories =
        contacts::CategoriesOfRow(QByteArray(reinterpret_cast<const char*>(column(3)), static_cast<qsizetype>(size(3))),
                                  sqlite3_column_int64(select.get(), 4));
    return contact;
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
    expected.sizes = CategorySizes(kMemos);
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
    timer.start();
    if (!FillContacts(store, expected, err)) {
        return 1;
    }
    const double contactFillMs = MillisecondsOf(timer);
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
        << " not private) in " << QString::number(vaultFillMs, 'f', 0) << " ms\n"
        << "filled " << kContacts << " contacts (" << expected.companies << " with a company, " << kCompanyOnlyPercent
        << "% of them alone; one in " << kPrivateOneIn << " private; " << expected.twoCategories
        << " in two categories; " << expected.birthdays << " with a birthday) in "
        << QString::number(contactFillMs, 'f', 0) << " ms; file "
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
    // The first list of all contacts opens every title; the lists after it find them opened and read only the
    // plain columns, as does a category's list then.
    const std::size_t firstContactResult = results.size();
    store.openedTitles.clear();
    const std::tuple<const char*, int, int> contactLists[] = {
        {"first contact list all", static_cast<int>(categories::kAll), 1},
        {"contact list all", static_cast<int>(categories::kAll), kRuns},
        {"contact list", expected.listedCategory, kRuns}};
    for (const auto& [workload, category, runs] : contactLists) {
        const bool onlyListed = category != categories::kAll;
        const int rows = VisibleContacts(expected.contacts, onlyListed, false);
        const int infos = static_cast<int>(
            std::count_if(expected.contacts.begin(), expected.contacts.end(), [&](const WrittenContact& c) {
                return (!onlyListed || c.listed) && !c.item.contactInfo.isEmpty();
            }));
        ok = Measure(workload, rows,
                     TimedThenChecked([&, category = category] { return contacts::ListContacts(store, category); },
                                      [&, onlyListed](const QVector<contacts::ListItem>& list) {
                                          return ContactsAgree(list, expected.contacts, onlyListed, false);
                                      }),
                     Timed([&, category = category, rows, infos] {
                         const ContactCount count =
                             ContactListLimit(raw, keys, category, static_cast<std::size_t>(rows), owner);
                         return count.titles == rows && count.infos == infos;
                     }),
                     runs, results, err, runs > 1) &&
             ok;
    }

    // The pane has the person's labels and the category list at hand, as it has beside the list.
    const QStringList userLabels = options::LoadUserFieldLabels(store);
    const QString contactCategories = categories::LoadCategoryText(store, contacts::kContactSection);
    const contacts::Contact& shownContact = expected.shownContact;
    const contacts::ContactPane shownPane = contacts::ShowContactPane(shownContact, userLabels, contactCategories);
    ok = Measure("contact pane", 1,
                 TimedThenChecked(
                     [&]() -> std::optional<contacts::ContactPane> {
                         const std::optional<contacts::Contact> contact =
                             contacts::LoadContact(store, shownContact.key);
                         if (!contact) {
                             return std::nullopt;
                         }
                         return contacts::ShowContactPane(*contact, userLabels, contactCategories);
                     },
                     [&](const std::optional<contacts::ContactPane>& pane) { return PaneAgrees(pane, shownPane); }),
                 TimedThenChecked([&] { return ContactLimit(raw, *mode, keys, shownContact.key, buffer); },
                                  [&](const std::optional<contacts::Contact>& contact) {
                                      return ContactAgrees(contact, shownContact);
                                  }),
                 kRuns, results, err) &&
         ok;
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
    if (!ContactsAgree(contacts::ListContacts(store, expected.listedCategory), expected.contacts, true, true)) {
        err << "noctaria-bench: the contact list with private contacts hidden disagrees with what was written\n";
        ok = false;
    }

    PrintTable(out, results, 3);
    out << "medians of " << kRuns
        << " runs (the first memo list: one run); memo list: " << CategoryName(expected.listedCategory) << " (rank "
        << kListedRank << " of " << kCategories << "), memo list max: Unfiled; title threads "
        << std::max(1u, std::thread::hardware_concurrency()) << "; memo display: one memo a run; "
        << "diary week from " << weekStart.toString(Qt::ISODate) << "; task list all: every task, task list open: "
        << "completed ones left out; vault list: " << vault::FindSubCategory(kTypicalSubCategory)->caption
        << ", vault list max: " << largestCaption << " (the first vault list: one run); contact list all: every "
        << "contact sorted (the first of the session: one run, opening every title), contact list: "
        << CategoryName(expected.listedCategory)
        << " filed first or second; contact pane: one contact loaded and laid out\n";
    out << "plan of the raw memo list: " << QueryPlan(raw, kTitleListSql) << '\n';
    out << "plan of the raw contact list: " << QueryPlan(raw, kContactListSql) << '\n';
    for (std::size_t i = 0; i < results.size(); ++i) {
        const Timing& timing = results[i];
        const double target = i >= firstContactResult ? kContactListTargetMs : kListTargetMs;
        out << timing.workload << ' ' << (timing.oursMs < target ? "under" : "NOT under") << ' ' << target << " ms ("
            << QString::number(timing.oursMs, 'f', 1) << " ms)\n";
    }
    out.flush();

    return ok ? 0 : 1;
}

} // namespace

int RunSectionsBench(QTextStream& out, QTextStream& err) {
    return Run(out, err);
}

} // namespace bench
