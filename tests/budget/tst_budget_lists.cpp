#include "budget/budget_lists.h"

#include "store/conversion.h"
#include "store/record_get.h"
#include "store/record_put.h"
#include "support/test_main.h"

#include <memory>

namespace {

const QString kPass = QStringLiteral("Budget lists pass 1");

QByteArray Header(std::int32_t user, char section = 17) {
    return CONVERSION::NumToBytes(user, 4) + QByteArray(1, section);
}

void Compare(const budget::BudgetList& a, const budget::BudgetList& b) {
    QCOMPARE(a.ids, b.ids);
    QCOMPARE(a.names, b.names);
    QCOMPARE(a.showPrivate, b.showPrivate);
    QCOMPARE(a.requestPin, b.requestPin);
}

} // namespace

class TestBudgetLists : public FileTest {
    Q_OBJECT

    QList<std::int64_t> listRows(int section) {
        sqlite::Statement select = store().connection().prepare("SELECT fPK FROM tt WHERE fSec=? AND fSub=17");
        select.bind(1, std::int64_t{section});
        QList<std::int64_t> keys;
        while (select.step()) {
            keys << select.int64(0);
        }
        return keys;
    }
    // A transaction whose blob holds the owner byte and, unless negative, a payment mode.
    std::int64_t addTransaction(int owner, int payMode, int budgetId = 0) {
        const QByteArray blob = Record_Put::PutField(owner, FieldType::Byte, 0) +
                                Record_Put::PutField(QStringLiteral("Rent"), FieldType::Text, 2) +
                                (payMode < 0 ? QByteArray() : Record_Put::PutField(payMode, FieldType::Int16, 7));
        return AddNewRow(store().connection(), [&](std::int64_t fpk, RowValues& row) {
            row.set(Col::fSec, budget::kBudgetSection);
            row.set(Col::fSub, budgetId);
            row.set(Col::fEtx, store().cry.Cipher(static_cast<std::int32_t>(fpk), 1, blob));
            return true;
        });
    }
    QVariant field(std::int64_t fpk, int index) {
        Record_Get::FieldValue value;
        Record_Get::GetField(value, ReadRecord(store(), fpk), index);
        return value.value;
    }

private Q_SLOTS:
    // The texts are known answers of the self-test; read back, they give every part of the defaults.
    void knownAnswersReadBack() {
        Compare(*budget::ParseBudgetList(3, ListVector("budgets_hex")), budget::DefaultBudgets());
        const std::optional<budget::PayModes> modes = budget::ParsePayModes(3, ListVector("paymodes_hex"));
        QCOMPARE(modes->ids, budget::DefaultPayModes().ids);
        QCOMPARE(modes->names, budget::DefaultPayModes().names);
    }

    void firstUseAndForeignRows() {
        QVERIFY(newFile(kPass));
        const std::optional<budget::BudgetList> list = budget::LoadBudgets(store());
        QVERIFY(list);
        QCOMPARE(list->ids, (QVector<std::uint8_t>{0, 1, 2}));
        QCOMPARE(list->names, (QStringList{"Budget 1", "Budget 2", "Budget 3"}));
        QCOMPARE(budget::LoadPayModes(store())->names.value(8), QStringLiteral("Bankomat"));
        const std::int64_t key = listRows(budget::kBudgetListSection).value(0);
        const std::optional<Row> row = ReadRow(store().connection(), key);
        QCOMPARE(row->integer(Col::fR1), std::int64_t{store().user.fPK});
        QVERIFY(!row->bytes(Col::fT1).isEmpty());

        // Creating the defaults again replaces the row instead of adding a second one.
        QCOMPARE(budget::SaveBudgets(store(), budget::BudgetList{}), 0);
        QVERIFY(!budget::LoadBudgets(store()));
        QCOMPARE(budget::CreateDefaultBudgets(store()), 0);
        QCOMPARE(listRows(budget::kBudgetListSection).size(), 1);
        QCOMPARE(budget::LoadBudgets(store())->count(), 3);

        // The row of another user is refused and not replaced behind the user's back.
        const std::int64_t now = listRows(budget::kBudgetListSection).value(0);
        const QByteArray foreign = budget::BudgetListText(store().user.fPK + 1, budget::DefaultBudgets());
        QVERIFY(!ChangeRow(store().connection(), now, [&](RowValues& values) {
            values.set(Col::fEtx, store().cry.Cipher(static_cast<std::int32_t>(now), 1, foreign));
            return true;
        }));
        QVERIFY(!budget::LoadBudgets(store()));
        QCOMPARE(listRows(budget::kBudgetListSection), QList<std::int64_t>{now});
    }

    void roundTripThroughFile() {
        QVERIFY(newFile(kPass));
        budget::BudgetList list;
        for (int id = 255; id >= 0; --id) {
            list.append(static_cast<std::uint8_t>(id), QStringLiteral("B%1 \u03A9").arg(id), id % 2 == 0, id % 3 == 0);
        }
        budget::PayModes modes;
        modes.ids = {511, 255, 1, -1};
        modes.names = {QStringLiteral("Vale"), QStringLiteral("Cr\u00E9dit"), QString(), QStringLiteral("x")};
        QCOMPARE(budget::SaveBudgets(store(), list), 0);
        QCOMPARE(budget::SavePayModes(store(), modes), 0);
        QCOMPARE(budget::SaveBudgets(store(), list), 0); // a second save changes the row in place
        QVERIFY(reopen(kPass));

        const std::optional<budget::BudgetList> read = budget::LoadBudgets(store());
        QVERIFY(read);
        Compare(*read, list);
        QCOMPARE(budget::LoadPayModes(store())->ids, modes.ids);
        QCOMPARE(budget::LoadPayModes(store())->names, modes.names);
        QCOMPARE(listRows(budget::kBudgetListSection).size(), 1);
        QCOMPARE(listRows(budget::kPayModeSection).size(), 1);
    }

    void refusedTexts() {
        const QByteArray entry = QByteArray::fromHex("00ff41ff01ff00"); // budget 0, "A", private shown, no PIN
        // Empty, short, the header alone, another user's, another section's.
        for (const QByteArray& plain :
             {QByteArray(), Header(3).left(4), Header(3), Header(4) + entry, Header(3, 9) + entry}) {
            QVERIFY2(!budget::ParseBudgetList(3, plain) && !budget::ParsePayModes(3, plain), plain.toHex().constData());
        }
    }

    void truncatedAndHostileTexts() {
        // A truncated last entry keeps what it has; the rest counts as empty and 0.
        const std::optional<budget::BudgetList> cut =
            budget::ParseBudgetList(3, Header(3) + QByteArray("\x04\xFF"
                                                              "Car\xFF\x01\xFF\x00"
                                                              "\xFF\x09\xFF"
                                                              "Bo",
                                                              14));
        QVERIFY(cut);
        QCOMPARE(cut->ids, (QVector<std::uint8_t>{4, 9}));
        QCOMPARE(cut->names, (QStringList{"Car", "Bo"}));
        QCOMPARE(cut->showPrivate, (QVector<bool>{true, false}));
        const std::optional<budget::PayModes> modes = budget::ParsePayModes(3, Header(3) + QByteArray("\xFF\x01\xFF"
                                                                                                      "Tip\xFF\x05",
                                                                                                      8));
        QCOMPARE(modes->ids, (QVector<std::int16_t>{511, 5}));
        QCOMPARE(modes->names, (QStringList{"Tip", QString()}));

        QRandomGenerator random(20261122);
        for (int i = 0; i < 2000; ++i) {
            QByteArray tail(static_cast<int>(random.bounded(40)), '\0');
            for (char& c : tail) {
                // Many separators, so that every path of the reader is walked.
                c = random.bounded(3) == 0 ? '\xFF' : static_cast<char>(random.bounded(256));
            }
            const std::optional<budget::BudgetList> list = budget::ParseBudgetList(3, Header(3) + tail);
            QCOMPARE(list.has_value(), !tail.isEmpty());
            QVERIFY(!list || list->requestPin.size() == list->names.size());
            QVERIFY(budget::ParsePayModes(3, Header(3) + tail).has_value() == !tail.isEmpty());
        }
    }

    void namesAndEntries() {
        QVERIFY(budget::NameFitsList(QStringLiteral("Groceries")));
        QVERIFY(!budget::NameFitsList(QStringLiteral("Caf\u00FF")));
        // The refusal is by the stored bytes: beside a character outside the code page the text is UTF-8, which
        // never holds the separator.
        QVERIFY(budget::NameFitsList(QStringLiteral("\u03A9 and \u00FF")));

        budget::PayModes modes;
        modes.ids = {4, 2};
        modes.names = {QStringLiteral("Four"), QStringLiteral("Two")};
        const ListEntries all = budget::PayModeEntries(modes, true);
        QCOMPARE(all, (ListEntries{{"< All >", -1}, {"<N.S.>", 0}, {"Four", 4}, {"Two", 2}}));
        QCOMPARE(budget::PayModeEntries(modes, false), all.mid(2));
    }

    void repairTouchesOnlyTheOwnersMode() {
        QVERIFY(newFile(kPass));
        const int owner = store().user.level;
        const std::int64_t mine = addTransaction(owner, 5);
        const std::int64_t mineOtherBudget = addTransaction(owner, 5, 2);
        const std::int64_t otherMode = addTransaction(owner, 4);
        const std::int64_t otherOwner = addTransaction((owner + 1) % 256, 5);
        const std::int64_t noMode = addTransaction(owner, -1);
        const std::int64_t unreadable = AddRecord(store(), "x", budget::kBudgetSection);
        QVERIFY(mine && mineOtherBudget && otherMode && otherOwner && noMode && unreadable);
        QVERIFY(!ChangeRow(store().connection(), unreadable, [](RowValues& row) {
            row.set(Col::fEtx, QByteArray("not a record"));
            return true;
        }));
        const QByteArray untouched = ReadRecord(store(), otherOwner);

        QCOMPARE(budget::RepairPayMode(store(), 5), 2);
        QCOMPARE(field(mine, 7), QVariant(0));
        QCOMPARE(field(mineOtherBudget, 7), QVariant(0));
        QCOMPARE(field(mine, 2).toString(), QStringLiteral("Rent"));
        QCOMPARE(field(otherMode, 7), QVariant(4));
        QCOMPARE(ReadRecord(store(), otherOwner), untouched);
        QVERIFY(!field(noMode, 7).isValid());
        QCOMPARE(ReadRow(store().connection(), unreadable)->bytes(Col::fEtx), QByteArray("not a record"));
        QCOMPARE(ReadRow(store().connection(), mine)->integer(Col::AE) & 1, std::int64_t{1});
        QCOMPARE(budget::RepairPayMode(store(), 5), 0);
    }
};

NCT_TEST_MAIN(TestBudgetLists)
#include "tst_budget_lists.moc"
