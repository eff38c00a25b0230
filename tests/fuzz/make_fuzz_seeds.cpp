// Writes the seed corpus of every fuzz target into FOLDER/<target>/: records, cipher texts, seals, rows, lists
// and files as the program writes them, each laid out as its target reads its input. The seeds in the tree were
// made with it; run it again when a format changes.
//
// Usage: make_fuzz_seeds FOLDER

#include "fuzz_support.h"

#include "budget/budget_lists.h"
#include "budget/transaction.h"
#include "calendar/appointment.h"
#include "sections/categories/categories.h"
#include "sections/contacts/contact.h"
#include "sections/diary/diary.h"
#include "sections/memos/memo.h"
#include "sections/tasks/task.h"
#include "sections/vault/vault.h"
#include "store/backup.h"
#include "store/codepage.h"
#include "store/conversion.h"
#include "store/keys.h"
#include "store/preferences.h"
#include "store/record_put.h"
#include "store/users.h"
#include "store/version.h"
#include "support/test_databases.h"

#include <QCoreApplication>
#include <QFile>
#include <QMap>

#include <cstdio>

namespace {

using fuzz::Pieces;

class SeedWriter {
public:
    explicit SeedWriter(const QString& folder)
        : m_folder(folder) {}

    void add(const QString& target, const QByteArray& seed) {
        const QString dir = m_folder + u'/' + target;
        QDir().mkpath(dir);
        QFile file(dir + QStringLiteral("/seed-%1").arg(++m_counts[target], 2, 10, QLatin1Char('0')));
        m_ok = m_ok && file.open(QIODevice::WriteOnly) && file.write(seed) == seed.size();
    }
    bool ok() const { return m_ok; }

private:
    QString m_folder;
    QMap<QString, int> m_counts;
    bool m_ok = true;
};

QByteArray Le32(std::int32_t value) {
    return CONVERSION::NumToBytes(value, 4);
}

budget::Transaction SampleTransaction() {
    budget::Transaction t;
    t.owner = 0;
    t.description = QStringLiteral("Groceries");
    t.partner = QStringLiteral("Market");
    t.note = QString(300, u'n');
    t.datePaid = QDate(2024, 3, 15);
    t.amount = Currency::FromText(QStringLiteral("12.34")).value_or(Currency{});
    t.dcwb = budget::kDebitBit;
    t.payMode = 1;
    return t;
}

UserRecord SampleUser() {
    UserRecord user;
    user.check = QByteArray(20, 'c');
    user.sealedKeystring = QByteArray(80, 's');
    user.name = QStringLiteral("Admin");
    user.options.PinCode = QStringLiteral("1234");
    user.options.PinMask = 64;
    return user;
}

void CodecSeeds(SeedWriter& out) {
    const QByteArray prefs = Preferences::Defaults().toBlob();
    const QByteArray options = users::UserOptionsBlob(SampleUser().options);
    const QByteArray transaction = budget::TransactionBlob(SampleTransaction());
    memos::Memo memo = memos::NewMemo(1, 2, QStringLiteral("Subject"), QDateTime(QDate(2026, 1, 2), QTime(3, 4)));
    memo.text = QStringLiteral("A memo\nof two lines");
    const QByteArray memoBlob = memos::MemoBlob(memo);
    const QByteArray diaryBlob =
        diary::DiaryBlob({.key = -1, .owner = 1, .date = QDate(2026, 1, 2), .text = QStringLiteral("An entry")});
    const QByteArray taskBlob = tasks::TaskBlob(
        {.owner = 1, .isPrivate = true, .subject = QStringLiteral("A task"), .memo = QStringLiteral("Its note")});
    vault::Entry entry = vault::NewEntry(1, 15);
    entry.values = {QStringLiteral("Locker"), QStringLiteral("Gym"), QString(), QStringLiteral("1234")};
    entry.notes = QStringLiteral("Second row");
    entry.modified = QDateTime(QDate(2026, 1, 2), QTime(3, 4));
    const QByteArray vaultBlob = vault::EntryBlob(entry);
    CALENDAR::Recurrence rule;
    rule.kind = CALENDAR::RedoWeekdays;
    rule.endMode = CALENDAR::EndOnDate;
    rule.a = 0x24;
    rule.b = 2;
    rule.startDay = CALENDAR::RedoDay(QDate(2026, 1, 5));
    rule.endDay = CALENDAR::RedoDay(QDate(2026, 6, 29));
    rule.exceptions = {CALENDAR::RedoDay(QDate(2026, 1, 19))};
    const QByteArray appointmentBlob = CALENDAR::AppointmentBlob({.owner = 1,
                                                                  .start = CALENDAR::MinuteOf(QDate(2026, 1, 5), 1110),
                                                                  .end = CALENDAR::MinuteOf(QDate(2026, 1, 5), 1170),
                                                                  .redo = CALENDAR::RecurrenceString(rule),
                                                                  .subject = QStringLiteral("Choir"),
                                                                  .location = QStringLiteral("Hall")});
    contacts::Contact contact;
    contact.owner = 1;
    contact.birthday = QDate(1980, 5, 4);
    contact.texts[contacts::FirstName] = QStringLiteral("Anouk");
    contact.texts[contacts::LastName] = QStringLiteral("de Vries");
    contact.texts[contacts::HomeAddressCity] = QStringLiteral("Utrecht");
    contact.texts[contacts::kFirstSlot] = QStringLiteral("+31 30 123 4567");
    const QByteArray contactBlob = contacts::ContactBlob(contact);
    for (const QByteArray& blob :
         {prefs, options, transaction, memoBlob, taskBlob, vaultBlob, diaryBlob, appointmentBlob, contactBlob}) {
        out.add(QStringLiteral("fuzz_record_blobs"), blob);
        out.add(QStringLiteral("fuzz_field_codec"), blob);
    }
    out.add(QStringLiteral("fuzz_field_codec"), users::UserBlob(SampleUser()));
    out.add(QStringLiteral("fuzz_field_codec"), version::VersionBlob(version::ProgramVersion()));
    out.add(QStringLiteral("fuzz_field_codec"), Record_Put::PutField(QString(400, u'x'), FieldType::LongText, 255));
    out.add(QStringLiteral("fuzz_field_codec"),
            Record_Put::PutField(QStringLiteral("Zoë ✓"), FieldType::Text, 0) +
                Record_Put::PutField(1e-40, FieldType::Fraction, 1) +
                Record_Put::PutField(QVariant::fromValue(Currency::FromText(QStringLiteral("-5")).value_or(Currency{})),
                                     FieldType::Currency, 2));
    out.add(QStringLiteral("fuzz_field_codec"), budget::TransactionDescriptor().toLatin1());
}

void CipherSeeds(SeedWriter& out) {
    CRY& cry = fuzz::FixedCipher();
    const std::int32_t fpk = 1234;
    const QByteArray head = Le32(fpk) + QByteArray("\x00\x00", 2);
    out.add(QStringLiteral("fuzz_cipher"), head + cry.Cipher(fpk, 1, QByteArray("a record's text")));
    out.add(QStringLiteral("fuzz_cipher"), head + cry.Cipher(fpk, 1, {}));
    out.add(QStringLiteral("fuzz_cipher"), head + cry.Cipher(fpk, 5, QByteArray(40, 'u')));
    out.add(QStringLiteral("fuzz_cipher"), head + Record_Put::SealTitle(cry, fpk, QStringLiteral("Title"), 0, true));
    out.add(QStringLiteral("fuzz_cipher"),
            Le32(fpk) + "\x07\x02" + Record_Put::SealTitle(cry, fpk, QStringLiteral("Other's"), 9, false));
    cry.SelectKey(fpk);
    out.add(QStringLiteral("fuzz_cipher"), head + cry.Cipher(fpk, 3, QByteArray("under the record key")));

    for (const QByteArray& pass : {QByteArray("pass"), CRY::Hash256x80("digest")}) {
        for (const QByteArray& text : {QByteArray("k"), QByteArray(15, 'x'), QByteArray(270, 'p')}) {
            out.add(QStringLiteral("fuzz_unseal"), char(pass.size()) + pass + cry.Seal(text, pass));
        }
    }
}

void KeyPoolSeeds(SeedWriter& out) {
    const QByteArray options = Record_Put::PutField(users::UserOptionsBlob(SampleUser().options), 12, 7);
    const QByteArray fields = Record_Put::PutField(QStringLiteral("Admin"), 10, 6) + options;
    const QByteArray pool = SecureText(fuzz::FixedPool());
    // All right; the pool row lost; the pool row damaged with its copy right; a wrong check; the verifier lost.
    out.add(QStringLiteral("fuzz_key_pool"), '\xBF' + Pieces::Join({fields, {}, {}, pool, {}}));
    out.add(QStringLiteral("fuzz_key_pool"), '\xA7' + Pieces::Join({fields, {}, {}, pool, {}}));
    out.add(QStringLiteral("fuzz_key_pool"), '\xB7' + Pieces::Join({fields, {}, pool.left(100), pool, {}}));
    out.add(QStringLiteral("fuzz_key_pool"), '\x9D' + Pieces::Join({fields, {}, {}, {}, QByteArray(48, 'o')}));
    out.add(QStringLiteral("fuzz_key_pool"), '\x3F' + Pieces::Join({fields, QByteArray(24, 'v'), {}, {}, {}}));
}

void ListSeeds(SeedWriter& out) {
    budget::BudgetList budgets = budget::DefaultBudgets();
    budgets.append(255, QStringLiteral("Ÿ last"), false, true);
    out.add(QStringLiteral("fuzz_budget_lists"), budget::BudgetListText(3, budgets));
    out.add(QStringLiteral("fuzz_budget_lists"), budget::PayModesText(3, budget::DefaultPayModes()));

    const QByteArray list = codepage::ToBytes(QStringLiteral("Food;1;Rent;2;Travel;9998"));
    QByteArray old;
    for (const char* item : {"Food", "1", "Rent", "2"}) {
        old += Record_Put::PutField(QString::fromLatin1(item), FieldType::Text, 0);
    }
    // Budget 0's current list; the Memos' list in the old format; a raw row.
    out.add(QStringLiteral("fuzz_categories"), QByteArray("\x0D\x11\x00", 3) + Pieces::Join({list, list}));
    out.add(QStringLiteral("fuzz_categories"), QByteArray("\x01\x0E\x00", 3) + Pieces::Join({{}, old}));
    out.add(QStringLiteral("fuzz_categories"), QByteArray("\x03\x0E\x00", 3) + Pieces::Join({list, old}));
}

void BackupSeeds(SeedWriter& out) {
    out.add(QStringLiteral("fuzz_backup"),
            ZLib::PackBackup(QByteArray(2000, 'd') + "SQLite format 3", QStringLiteral("/home/a/mydata.nct")));
    out.add(QStringLiteral("fuzz_backup"), ZLib::PackBackup(QByteArray("x"), QStringLiteral("C:\\Data\\ü.nct")));
    out.add(QStringLiteral("fuzz_backup"), QByteArray("mydata240315093000.ncz"));
}

// A file of the program's own, holding what the Budget reads first.
bool DatabaseSeeds(SeedWriter& out) {
    QTemporaryDir dir;
    RedirectSettings(dir.filePath(QStringLiteral("settings")));
    const QString path = dir.filePath(QStringLiteral("made.nct"));
    {
        TestSession run;
        if (CreateDatabase(run, path, QStringLiteral("correct horse 1")) != 0) {
            return false;
        }
        Store& store = run.store();
        budget::LoadBudgets(store);
        budget::LoadPayModes(store);
        categories::SaveCategoryText(store, QStringLiteral("Food;1;Rent;2"), budget::kBudgetSection, 0);
        budget::Transaction t = SampleTransaction();
        t.category = 1;
        budget::StoreTransaction(store, 0, t);
        open_sequence::CloseDatabase(run.session);
    }
    const QString target = QStringLiteral("fuzz_open_database");
    QFile made(path);
    if (!made.open(QIODevice::ReadOnly)) {
        return false;
    }
    out.add(target, made.readAll());
    for (const char* name : {"basic.nct", "pool-row-gone.nct"}) {
        QFile oracle(QStringLiteral(NCT_TEST_DATA_DIR "/oracle/") + QLatin1String(name));
        if (!oracle.open(QIODevice::ReadOnly)) {
            return false;
        }
        out.add(target, oracle.readAll());
    }
    return true;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: make_fuzz_seeds FOLDER\n");
        return 2;
    }
    SeedWriter out(QString::fromLocal8Bit(argv[1]));
    CodecSeeds(out);
    CipherSeeds(out);
    KeyPoolSeeds(out);
    ListSeeds(out);
    BackupSeeds(out);
    const bool made = DatabaseSeeds(out);
    if (!made || !out.ok()) {
        std::fprintf(stderr, "make_fuzz_seeds: a seed could not be made\n");
        return 1;
    }
    return 0;
}
