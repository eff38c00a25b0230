#include "sections/categories/categories.h"

#include "store/conversion.h"
#include "store/record_put.h"
#include "support/test_main.h"

#include <memory>

using namespace categories;

namespace {

const QString kPassphrase = QStringLiteral("tidy drawers everywhere");

// The category rows of one section, in key order.
QList<Row> listRows(Store& store, int section) {
    sqlite::Statement select = store.connection().prepare("SELECT * FROM tt WHERE fSec=10 AND fSub=? ORDER BY fPK");
    select.bind(1, static_cast<std::int64_t>(section));
    QList<Row> rows;
    while (select.step()) {
        rows.append(Row::FromStatement(select));
    }
    return rows;
}

QByteArray plainOf(Store& store, const Row& row) {
    return store.cry.Cipher(static_cast<std::int32_t>(row.integer(Col::fPK)), 2, row.bytes(Col::fEtx));
}

// A list row written by hand, as older versions or someone else's user would have left it.
std::int64_t addListRow(Store& store, int user, int section, std::int64_t fR3, bool currentFormat,
                        const QByteArray& plain) {
    return AddNewRow(store.connection(), [&](std::int64_t fpk, RowValues& row) {
        row.set(Col::fSec, kCategoryRowSection);
        row.set(Col::fSub, section);
        row.set(Col::fR1, user);
        row.set(Col::fR3, static_cast<qlonglong>(fR3));
        row.set(Col::fF1, currentFormat ? 1 : 0);
        row.set(Col::fEtx, store.cry.Cipher(static_cast<std::int32_t>(fpk), 1, plain));
        return true;
    });
}

QByteArray header(int user, int section) {
    return CONVERSION::NumToBytes(user, 4) + QByteArray(1, static_cast<char>(section));
}

QStringList texts(const ListEntries& entries) {
    QStringList result;
    for (const ListEntry& entry : entries) {
        result << QStringLiteral("%1=%2").arg(entry.text).arg(entry.itemData);
    }
    return result;
}

} // namespace

class TestCategories : public FileTest {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { QVERIFY(newFile(kPassphrase)); }

    void init() { QVERIFY(!store().connection().exec("DELETE FROM tt WHERE fSec=10")); }

    void roundTripsThroughTheFile() {
        const QString text = QStringLiteral("Café;1;日本;2;Rent;7");
        QCOMPARE(SaveCategoryText(store(), QStringLiteral("old"), 14), 0);
        QCOMPARE(SaveCategoryText(store(), text, 14), 0);
        const std::int32_t user = store().user.fPK;
        QVERIFY(reopen(kPassphrase));
        QCOMPARE(store().user.fPK, user);
        QCOMPARE(LoadCategoryText(store(), 14), text);
        QCOMPARE(LoadCategoryText(store(), 15), QString());

        const QList<Row> rows = listRows(store(), 14);
        QCOMPARE(rows.size(), 1);
        QCOMPARE(rows[0].integer(Col::fR1), user);
        QCOMPARE(rows[0].integer(Col::fF1), 1);
        QCOMPARE(rows[0].integer(Col::AE), 3);
        QVERIFY(!rows[0].bytes(Col::fT1).isEmpty() && !rows[0].bytes(Col::fT3).isEmpty());
    }

    void budgetListsOfOneUser() {
        // The plain text is the self-test's known answer for user 3; the budget goes into the row's fR3.
        const std::int32_t user = store().user.fPK;
        store().user.fPK = 3;
        QCOMPARE(SaveCategoryText(store(), QStringLiteral("Food;1;Rent;2"), kBudgetSection, 5), 0);
        const QList<Row> known = listRows(store(), kBudgetSection);
        store().user.fPK = user;
        QCOMPARE(known.size(), 1);
        QCOMPARE(plainOf(store(), known[0]), ListVector("category_hex"));
        QCOMPARE(known[0].integer(Col::fR3) % 256, 5);
        QVERIFY(!store().connection().exec("DELETE FROM tt WHERE fSec=10"));

        // Each budget has a list of its own.
        QCOMPARE(SaveCategoryText(store(), QStringLiteral("A;1"), kBudgetSection, 1), 0);
        QCOMPARE(SaveCategoryText(store(), QStringLiteral("B;1"), kBudgetSection, 2), 0);
        QCOMPARE(SaveCategoryText(store(), QStringLiteral("A;1;C;2"), kBudgetSection, 1), 0);
        QCOMPARE(listRows(store(), kBudgetSection).size(), 2);
        QCOMPARE(LoadCategoryText(store(), kBudgetSection, 1), QStringLiteral("A;1;C;2"));
        QCOMPARE(LoadCategoryText(store(), kBudgetSection, 2), QStringLiteral("B;1"));
        QCOMPARE(LoadCategoryText(store(), kBudgetSection, 3), QString());
    }

    void rowsOfOthersReadEmptyAndAreOverwritten() {
        const int user = store().user.fPK;
        addListRow(store(), user + 1, 14, 0, true, header(user + 1, 14) + "Theirs;1");
        QCOMPARE(LoadCategoryText(store(), 14), QString());
        // Filed under this user, but the text inside names someone else, or another section.
        addListRow(store(), user, 14, 0, true, header(user + 1, 14) + "Moved;1");
        QCOMPARE(LoadCategoryText(store(), 14), QString());
        addListRow(store(), user, 11, 0, true, header(user, 14) + "Moved;1");
        QCOMPARE(LoadCategoryText(store(), 11), QString());
        addListRow(store(), user, 12, 0, true, QByteArray("\x01\x02", 2));
        QCOMPARE(LoadCategoryText(store(), 12), QString());

        QCOMPARE(SaveCategoryText(store(), QStringLiteral("Mine;1"), 14), 0);
        QCOMPARE(LoadCategoryText(store(), 14), QStringLiteral("Mine;1"));
        QCOMPARE(listRows(store(), 14).size(), 2);
    }

    void oldFormatIsRewrittenOnFirstRead() {
        const int user = store().user.fPK;
        const QByteArray blob = Record_Put::PutField(QStringLiteral("Food"), FieldType::Text, 0) +
                                Record_Put::PutField(1, FieldType::Int16, 1) +
                                Record_Put::PutField(QStringLiteral("Rent"), FieldType::Text, 2) +
                                Record_Put::PutField(2, FieldType::Int32, 3);
        const std::int64_t fR3 = 7 * 256 + 4;
        addListRow(store(), user, kBudgetSection, fR3, false, header(user, kBudgetSection) + blob);
        QCOMPARE(LoadCategoryText(store(), kBudgetSection, 4), QStringLiteral("Food;1;Rent;2"));

        const QList<Row> rows = listRows(store(), kBudgetSection);
        QCOMPARE(rows.size(), 1);
        QCOMPARE(rows[0].integer(Col::fF1), 1);
        QCOMPARE(rows[0].integer(Col::fR3), fR3);
        QCOMPARE(plainOf(store(), rows[0]), header(user, kBudgetSection) + "Food;1;Rent;2");
    }

    void entriesOfAList_data() {
        QTest::addColumn<QString>("list");
        QTest::addColumn<int>("flags"); // bits: all, unfiled, edit
        QTest::addColumn<QStringList>("expected");
        QTest::addColumn<QString>("expectedTag");
        QTest::newRow("empty") << QString() << 3 << QStringList{"<  All  >=-1", "< Unfiled >=0"} << QString();
        QTest::newRow("case blind, stable") << QStringLiteral("b;1;A;2;C;4;a;3") << 0
                                            << QStringList{"A=2", "a=3", "b=1", "C=4"} << QStringLiteral("2 3 1 4");
        QTest::newRow("two blanks") << QStringLiteral("x;5") << 7
                                    << QStringList{"<  All  >=-1", "  x=5", "< Unfiled >=0", "Edit categories=9999"}
                                    << QStringLiteral("5");
        QTest::newRow("one blank") << QStringLiteral("x;5") << 6
                                   << QStringList{" x=5", "< Unfiled >=0", "Edit categories=9999"}
                                   << QStringLiteral("5");
        QTest::newRow("no blank") << QStringLiteral("x;5") << 5
                                  << QStringList{"<  All  >=-1", "x=5", "Edit categories=9999"} << QStringLiteral("5");
        QTest::newRow("odd count") << QStringLiteral("x;5;y") << 0 << QStringList{"x=5", "y=0"}
                                   << QStringLiteral("5 0");
        QTest::newRow("bad ids") << QStringLiteral("x;zz;y;99999999999;;") << 0 << QStringList{"=0", "x=0", "y=0"}
                                 << QStringLiteral("0 0 0");
    }
    void entriesOfAList() {
        QFETCH(QString, list);
        QFETCH(int, flags);
        ListEntries entries;
        const QString tag =
            AddCategoryEntries(entries, list, FillFlags{(flags & 1) != 0, (flags & 2) != 0, (flags & 4) != 0});
        QTEST(texts(entries), "expected");
        QTEST(tag, "expectedTag");
    }

    void idsJoiningAndImporting() {
        QCOMPARE(NewCategoryId({{"a", 1}, {"b", 2}, {"d", 4}}), 3);
        QCOMPARE(NewCategoryId({}), 1);
        ListEntries full;
        for (int id = 1; id <= 9998; ++id) {
            full.append({QString(), id});
        }
        QCOMPARE(NewCategoryId(full), -1);
        QCOMPARE(JoinCategoryList({{"Food", 1}, {"Rent", 2}}), QStringLiteral("Food;1;Rent;2"));
        QCOMPARE(JoinCategoryList({}), QString());

        // The importers' helpers.
        ScriptedPrompter prompter;
        QCOMPARE(NextFreeImportedCategoryId({}, prompter), 1);
        QCOMPARE(NextFreeImportedCategoryId({1, 2, 3}, prompter), 3);
        QVERIFY(prompter.shown.isEmpty());
        QCOMPARE(NextFreeImportedCategoryId({5, 0, 7}, prompter), 0);
        QCOMPARE(NextFreeImportedCategoryId({9999, 1}, prompter), 0);
        QCOMPARE(prompter.numbers(), (QList<int>{52, 52}));

        QString list = QStringLiteral("Food;1;Rent;7");
        QCOMPARE(FindOrAddCategory(list, QStringLiteral("rent")), 7);
        QCOMPARE(FindOrAddCategory(list, QStringLiteral("Car")), 8);
        QCOMPARE(list, QStringLiteral("Food;1;Rent;7;Car;8"));
        QString lone = QStringLiteral("Food");
        QCOMPARE(FindOrAddCategory(lone, QStringLiteral("FOOD")), 0);
        QString empty;
        QCOMPARE(FindOrAddCategory(empty, QStringLiteral("Car")), 1);
        QCOMPARE(empty, QStringLiteral("Car;1"));

        list = QStringLiteral("Food;1;Rent;7");
        QCOMPARE(MapCategoryNames(list, QStringLiteral(" rent ; Car;;FOOD;car ")), QStringLiteral("7 8 1 8"));
        QCOMPARE(list, QStringLiteral("Food;1;Rent;7;Car;8"));
        QCOMPARE(MapCategoryNames(list, QStringLiteral("  ")), QString());

        QCOMPARE(SaveImportedCategories(store(), {3, 1}, {"X", "Y"}, 14), 0);
        QCOMPARE(LoadCategoryText(store(), 14), QStringLiteral("X;3;Y;1"));
    }

    void recordCategory() {
        const std::int64_t key = AddRecord(store(), "memo");
        QVERIFY(!ChangeRow(store().connection(), key, [](RowValues& row) {
            row.set(Col::fG1, 12);
            return true;
        }));
        QCOMPARE(GetRecordCategory(store(), static_cast<std::int32_t>(key)), 12);
        QCOMPARE(GetRecordCategory(store(), static_cast<std::int32_t>(key + 1000)), 0);
    }
};

NCT_TEST_MAIN(TestCategories)
#include "tst_categories.moc"
