#include "budget/transaction.h"
#include "budget/transaction_list.h"
#include "calendar/appointment.h"
#include "sections/categories/categories.h"
#include "sections/contacts/contact.h"
#include "sections/contacts/contact_list.h"
#include "sections/diary/diary.h"
#include "sections/memos/memo.h"
#include "sections/tasks/task.h"
#include "sections/vault/vault.h"
#include "shell/section_table.h"
#include "support/section_fixture.h"

#include <functional>

namespace {

// One record as every section can hold it; each section keeps the parts it has.
struct Sample {
    QString title;
    QString text;
    int category = 0;
    bool isPrivate = false;
    QDate day;
    bool operator==(const Sample&) const = default;
};

char* toString(const Sample& s) {
    return QTest::toString(QStringLiteral("%1 | %2 | category %3 | private %4 | %5")
                               .arg(s.title, s.text)
                               .arg(s.category)
                               .arg(s.isPrivate)
                               .arg(s.day.toString(Qt::ISODate)));
}

// What a section's records have besides a key.
enum Trait { Categories = 1, PrivateMark = 2, Titles = 4, SealedTitle = 8, ReadsByKey = 16 };

// A section as the contract drives it. Number, traits and descriptor are what the section table says of it.
struct SectionAdapter {
    const char* name;
    int section;
    int traits;
    int sub;     // fSub of its rows; -1 where it is partly noise
    int dayBase; // the base of the day number in fR3; 0 when fR3 is noise
    QString descriptor{};
    // Writes `s` as a new record (key -1) or into `key`; on success `key` is the row's.
    std::function<Result(Store&, std::int32_t& key, const Sample&)> save{};
    std::function<std::optional<Sample>(Store&, std::int32_t key, Result*)> load{};
    // The keys listed for the sample's period, private ones only while they are shown.
    std::function<QVector<std::int32_t>(Store&, const Sample&)> list{};
    std::function<Result(Store&, std::int32_t key)> remove{}; // null: no deletion of one record
    std::function<Result(Store&, int category)> removeMany{}; // null: no deletion of a category or all
    bool has(Trait t) const { return (traits & t) != 0; }
};

template <typename Items> QVector<std::int32_t> KeysOf(const Items& items, const auto& key) {
    QVector<std::int32_t> keys;
    for (const auto& item : items) {
        keys << key(item);
    }
    return keys;
}

using categories::kBudgetSection;
constexpr int kBudget = 3;
constexpr int kContacts = 11;

SectionAdapter BudgetSection() {
    using namespace budget;
    SectionAdapter a{"budget", kBudgetSection, Categories | PrivateMark | Titles | ReadsByKey, kBudget, kBudgetDayBase};
    a.descriptor = TransactionDescriptor();
    a.save = [](Store& store, std::int32_t& key, const Sample& s) {
        Transaction t = ClearTransaction(store.user.level, s.category, s.day);
        t.key = key;
        t.description = s.title;
        t.note = s.text;
        t.isPrivate = s.isPrivate;
        t.dcwb = kDebitBit | (s.isPrivate ? kPrivateBit : 0);
        t.amount = *Currency::FromText(QStringLiteral("12.50"));
        const Result r = StoreTransaction(store, kBudget, t);
        key = t.key;
        return r;
    };
    a.load = [](Store& store, std::int32_t key, Result* r) -> std::optional<Sample> {
        const std::optional<Transaction> t = LoadTransaction(store, key, r);
        return t ? std::optional(Sample{t->description, t->note, t->category, t->isPrivate, t->datePaid})
                 : std::nullopt;
    };
    a.list = [](Store& store, const Sample& s) {
        ListContext context;
        context.showPrivate = !store.hidePrivate;
        return KeysOf(ReloadList(store, {.budget = kBudget, .month = s.day}, context).rows,
                      [](const ListRow& row) { return row.transaction.key; });
    };
    a.remove = [](Store& store, std::int32_t key) { return DeleteTransaction(store, key); };
    return a;
}

SectionAdapter MemoSection() {
    using namespace memos;
    SectionAdapter a{"memos", kMemoSection, Categories | PrivateMark | Titles | SealedTitle | ReadsByKey, 0, 0};
    a.descriptor = MemoDescriptor();
    a.save = [](Store& store, std::int32_t& key, const Sample& s) {
        const QDateTime now(s.day, QTime(9, 30));
        Memo memo = NewMemo(store.user.level, s.category, s.title, now);
        memo.key = key;
        memo.text = s.text;
        memo.isPrivate = s.isPrivate;
        const Result r = StoreMemo(store, memo, now);
        key = memo.key;
        return r;
    };
    a.load = [](Store& store, std::int32_t key, Result* r) -> std::optional<Sample> {
        const std::optional<Memo> m = LoadMemo(store, key, r);
        return m ? std::optional(Sample{m->subject, m->text, m->category, m->isPrivate, m->created.date()})
                 : std::nullopt;
    };
    a.list = [](Store& store, const Sample&) {
        return KeysOf(ListMemos(store, records::kAllCategories), [](const auto& t) { return t.key; });
    };
    a.remove = DeleteMemo;
    a.removeMany = DeleteMemos;
    return a;
}

SectionAdapter TaskSection() {
    using namespace tasks;
    SectionAdapter a{"tasks", kTaskSection, Categories | PrivateMark | Titles | SealedTitle | ReadsByKey, Normal,
                     kDueDayBase};
    a.descriptor = TaskDescriptor();
    a.save = [](Store& store, std::int32_t& key, const Sample& s) {
        Task task{.key = key,
                  .owner = store.user.level,
                  .isPrivate = s.isPrivate,
                  .subject = s.title,
                  .memo = s.text,
                  .due = s.day,
                  .category = s.category};
        const Result r = StoreTask(store, task);
        key = task.key;
        return r;
    };
    a.load = [](Store& store, std::int32_t key, Result* r) -> std::optional<Sample> {
        const std::optional<Task> t = LoadTask(store, key, r);
        return t ? std::optional(Sample{t->subject, t->memo, t->category, t->isPrivate, t->due}) : std::nullopt;
    };
    a.list = [](Store& store, const Sample&) {
        return KeysOf(ListTasks(store, {}), [](const Task& t) { return t.key; });
    };
    a.remove = DeleteTask;
    a.removeMany = [](Store& store, int category) {
        return category == records::kAllCategories ? DeleteAllTasks(store)
                                                   : records::DeleteRecords(store, kTaskSection, category);
    };
    return a;
}

SectionAdapter VaultSection() {
    using namespace vault;
    // A record's sub-category stands where other sections file their category.
    SectionAdapter a{"vault", kVaultSection, Categories | PrivateMark | Titles | SealedTitle | ReadsByKey, 0, 0};
    a.descriptor = QLatin1String(sections::Info(SectionId::Vault).descriptor);
    a.save = [](Store& store, std::int32_t& key, const Sample& s) {
        Entry entry = NewEntry(store.user.level, s.category);
        entry.key = key;
        entry.values = {s.title, QStringLiteral("https://example.org"), QStringLiteral("anouk"),
                        QStringLiteral("p4ss-W0rd")};
        entry.notes = s.text;
        entry.isPrivate = s.isPrivate;
        const Result r = StoreEntry(store, entry, QDateTime(s.day, QTime(9, 30)));
        key = entry.key;
        return r;
    };
    a.load = [](Store& store, std::int32_t key, Result* r) -> std::optional<Sample> {
        const std::optional<Entry> e = LoadEntry(store, key, r);
        return e ? std::optional(Sample{e->values[0], e->notes, e->subCategory, e->isPrivate, e->modified.date()})
                 : std::nullopt;
    };
    a.list = [](Store& store, const Sample& s) {
        return KeysOf(vault::ListEntries(store, s.category), [](const auto& t) { return t.key; });
    };
    a.remove = DeleteEntry;
    return a;
}

SectionAdapter DiarySection() {
    using namespace diary;
    SectionAdapter a{"diary", kDiarySection, 0, 0, kDiaryDayBase};
    a.descriptor = DiaryDescriptor();
    a.save = [](Store& store, std::int32_t& key, const Sample& s) {
        DiaryEntry entry{key, store.user.level, s.day, s.text};
        const Result r = StoreDiaryDay(store, entry);
        key = entry.key;
        return r;
    };
    // The diary reads by day only: every day a row can hold.
    a.load = [](Store& store, std::int32_t key, Result*) -> std::optional<Sample> {
        for (const DiaryEntry& e : LoadEntries(store, records::DateOfDayNumber(-32767, kDiaryDayBase),
                                               records::DateOfDayNumber(32767, kDiaryDayBase))) {
            if (e.key == key) {
                return Sample{{}, e.text, 0, false, e.date};
            }
        }
        return std::nullopt;
    };
    a.list = [](Store& store, const Sample& s) {
        return KeysOf(LoadEntries(store, s.day.addDays(-3), s.day.addDays(3)), [](const auto& e) { return e.key; });
    };
    return a;
}

SectionAdapter CalendarSection() {
    using namespace CALENDAR;
    // What an appointment shows while private records are hidden is the views' choice, not the store's.
    SectionAdapter a{"calendar", kAppointmentSection, Titles | ReadsByKey, -1, 0};
    a.descriptor = AppointmentDescriptor();
    a.save = [](Store& store, std::int32_t& key, const Sample& s) {
        Appointment appointment;
        appointment.key = key;
        appointment.owner = store.user.level;
        appointment.start = MinuteOf(s.day, 9 * 60);
        appointment.end = appointment.start + 60;
        appointment.subject = s.title;
        appointment.notes = s.text;
        const Result r = StoreAppointment(store, appointment, s.day);
        key = appointment.key;
        return r;
    };
    a.load = [](Store& store, std::int32_t key, Result* r) -> std::optional<Sample> {
        const std::optional<Appointment> t = LoadAppointment(store, key, r);
        return t ? std::optional(Sample{t->subject, t->notes, 0, t->isPrivate, DayOfMinute(t->start)}) : std::nullopt;
    };
    a.list = [](Store& store, const Sample& s) {
        return KeysOf(QueryAppointments(store, s.day, s.day, 1), [](const Occurrence& o) { return o.id; });
    };
    a.remove = DeleteAppointment;
    return a;
}

SectionAdapter ContactSection() {
    using namespace contacts;
    SectionAdapter a{"contacts", kContactSection, Categories | PrivateMark | Titles | SealedTitle | ReadsByKey, 0, 0};
    a.descriptor = ContactDescriptor();
    a.save = [](Store& store, std::int32_t& key, const Sample& s) {
        Contact c;
        c.key = key;
        c.owner = store.user.level;
        c.isPrivate = s.isPrivate;
        c.birthday = s.day;
        c.fileAs = s.title;
        c.texts[Notes] = s.text;
        if (s.category > 0) {
            c.categories = {s.category};
        }
        const Result r = StoreContact(store, c);
        key = c.key;
        return r;
    };
    a.load = [](Store& store, std::int32_t key, Result* r) -> std::optional<Sample> {
        const std::optional<Contact> c = LoadContact(store, key, r);
        return c ? std::optional(Sample{c->fileAs, c->texts[Notes], c->primaryCategory(), c->isPrivate, c->birthday})
                 : std::nullopt;
    };
    a.list = [](Store& store, const Sample&) {
        return KeysOf(ListContacts(store, categories::kAll), [](const ListItem& i) { return i.key; });
    };
    a.remove = DeleteContact;
    a.removeMany = [](Store& store, int category) { return DeleteAllContacts(store, true, category); };
    return a;
}

const QVector<SectionAdapter>& Adapters() {
    static const QVector<SectionAdapter> all{BudgetSection(),  MemoSection(),  TaskSection(),    VaultSection(),
                                             ContactSection(), DiarySection(), CalendarSection()};
    return all;
}

// The sample as `a` keeps it.
Sample SampleFor(const SectionAdapter& a, const QString& title, int category = 5, bool isPrivate = false) {
    return {a.has(Titles) ? title : QString(), QStringLiteral("Paid at Caf\u00e9 \u03a9mega\nsecond line"),
            a.has(Categories) ? category : 0, a.has(PrivateMark) && isPrivate, QDate(2024, 3, 14)};
}

} // namespace

// Every record section keeps the same promises about its rows.
class TestSectionContract : public SectionFixture {
    Q_OBJECT

    static void rows(const std::function<bool(const SectionAdapter&)>& has = {}) {
        QTest::addColumn<int>("index");
        for (int i = 0; i < Adapters().size(); ++i) {
            if (!has || has(Adapters()[i])) {
                QTest::newRow(Adapters()[i].name) << i;
            }
        }
    }
    static const SectionAdapter& fetched() {
        QFETCH(int, index);
        return Adapters()[index];
    }

    // A record of every other section, in `category` where it has categories; their rows as stored, by key.
    QMap<std::int32_t, QVariantList> othersSaved(const SectionAdapter& a, int category) {
        QMap<std::int32_t, QVariantList> saved;
        for (const SectionAdapter& other : Adapters()) {
            std::int32_t key = -1;
            if (other.section != a.section && other.save(store(), key, SampleFor(other, "Theirs", category)).ok()) {
                saved.insert(key, rawRow(key));
            }
        }
        return saved;
    }
    bool unchanged(const QMap<std::int32_t, QVariantList>& saved) {
        return std::all_of(saved.keyValueBegin(), saved.keyValueEnd(),
                           [this](const auto& row) { return rawRow(row.first) == row.second; });
    }

private Q_SLOTS:
    void init() { QVERIFY(freshFile()); }

    // A section that keeps records cannot join the program without joining the contract.
    void everySectionWithRecordsIsUnderContract() {
        for (const SectionInfo& info : sections::Table()) {
            if (*info.descriptor == '\0') {
                continue;
            }
            const auto it = std::find_if(Adapters().begin(), Adapters().end(), [&info](const SectionAdapter& a) {
                return a.section == sections::Number(info.id);
            });
            QVERIFY2(it != Adapters().end(), info.formName);
            QCOMPARE(it->descriptor, QLatin1String(info.descriptor));
            QCOMPARE(it->has(Categories), info.categories);
        }
    }

    void roundTripThroughTheFile_data() { rows(); }
    void roundTripThroughTheFile() {
        const SectionAdapter& a = fetched();
        const Sample s = SampleFor(a, QStringLiteral("Lunch at Caf\u00e9 Anouk"));
        std::int32_t key = -1;
        QCOMPARE(a.save(store(), key, s), Result());
        QVERIFY(key > 0);
        QVERIFY(reopen(kFirstUser));
        Result r;
        const std::optional<Sample> loaded = a.load(store(), key, &r);
        QCOMPARE(r, Result());
        QVERIFY(loaded);
        QCOMPARE(*loaded, s);
        QCOMPARE(a.list(store(), s), QVector<std::int32_t>{key});

        const Row row = *ReadRow(store().connection(), key);
        QCOMPARE(row.integer(Col::fSec), a.section);
        if (a.sub >= 0) {
            QCOMPARE(row.integer(Col::fSub), a.sub);
        }
        QCOMPARE(row.integer(Col::fG1), s.category);
        if (a.dayBase != 0) {
            QCOMPARE(row.integer(Col::fR3), records::DayNumber(s.day, a.dayBase));
        }
        if (a.has(SealedTitle)) {
            QCOMPARE(Record_Get::OpenTitle(store().cry, key, row.bytes(Col::fT1), store().titleAccess()), s.title);
        }
        QVERIFY(!plainInRow(key, s.text) && !plainInRow(key, QStringLiteral("Caf\u00e9")));
    }

    void refusesAnotherSectionsKey_data() { rows(); }
    void refusesAnotherSectionsKey() {
        const SectionAdapter& a = fetched();
        const QMap<std::int32_t, QVariantList> others = othersSaved(a, 5);
        for (std::int32_t theirs : others.keys()) {
            Result r;
            if (a.has(ReadsByKey)) {
                QVERIFY(!a.load(store(), theirs, &r));
                QCOMPARE(r, Result::Message(16));
            }
            std::int32_t key = theirs;
            QCOMPARE(a.save(store(), key, SampleFor(a, QStringLiteral("Mine"))), Result::Message(16));
            QCOMPARE(key, theirs);
            if (a.remove) {
                a.remove(store(), theirs);
            }
        }
        QVERIFY(unchanged(others));
        QCOMPARE(rowsOf(a.section), 0);
    }

    void deletesOne_data() {
        rows([](const SectionAdapter& a) { return bool(a.remove); });
    }
    void deletesOne() {
        const SectionAdapter& a = fetched();
        const Sample s = SampleFor(a, QStringLiteral("Kept"));
        std::int32_t gone = -1;
        std::int32_t kept = -1;
        QVERIFY(a.save(store(), gone, s).ok() && a.save(store(), kept, s).ok());
        QCOMPARE(a.remove(store(), gone), Result());
        QVERIFY(rawRow(gone).isEmpty());
        QCOMPARE(a.list(store(), s), QVector<std::int32_t>{kept});
    }

    void deletesACategoryThenAll_data() {
        rows([](const SectionAdapter& a) { return bool(a.removeMany); });
    }
    void deletesACategoryThenAll() {
        const SectionAdapter& a = fetched();
        std::int32_t one = -1;
        std::int32_t two = -1;
        QVERIFY(a.save(store(), one, SampleFor(a, QStringLiteral("One"), 1)).ok());
        QVERIFY(a.save(store(), two, SampleFor(a, QStringLiteral("Two"), 2)).ok());
        const QMap<std::int32_t, QVariantList> others = othersSaved(a, 1);
        // Category lists of this section for two users, and the contacts' list.
        QCOMPARE(categories::SaveCategoryText(store(), QStringLiteral("One;1;Two;2"), a.section), 0);
        store().user.fPK += 100;
        QCOMPARE(categories::SaveCategoryText(store(), QStringLiteral("Theirs;1"), a.section), 0);
        store().user.fPK -= 100;
        QCOMPARE(categories::SaveCategoryText(store(), QStringLiteral("One;1"), kContacts), 0);

        QCOMPARE(a.removeMany(store(), 1), Result());
        QVERIFY(rawRow(one).isEmpty() && !rawRow(two).isEmpty());
        QCOMPARE(rowsOf(categories::kCategoryRowSection, a.section), 2);

        QCOMPARE(a.removeMany(store(), records::kAllCategories), Result());
        QCOMPARE(rowsOf(a.section), 0);
        QCOMPARE(rowsOf(categories::kCategoryRowSection, a.section), 0);
        QCOMPARE(rowsOf(categories::kCategoryRowSection, kContacts), a.section == kContacts ? 0 : 1);
        QVERIFY(unchanged(others));
    }

    void privateRecordsHidden_data() {
        rows([](const SectionAdapter& a) { return a.has(PrivateMark); });
    }
    void privateRecordsHidden() {
        const SectionAdapter& a = fetched();
        const Sample s = SampleFor(a, QStringLiteral("Surprise party"), 5, true);
        std::int32_t key = -1;
        QVERIFY(a.save(store(), key, s).ok());
        store().hidePrivate = true;
        QVERIFY(!a.list(store(), s).contains(key));
        store().hidePrivate = false;
        QCOMPARE(a.list(store(), s), QVector<std::int32_t>{key});
        QCOMPARE(a.load(store(), key, nullptr)->isPrivate, true);
        QVERIFY(!plainInRow(key, s.title));
    }
};

NCT_TEST_MAIN(TestSectionContract)
#include "tst_section_contract.moc"
