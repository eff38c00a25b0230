#include "budget/budget_lists.h"
#include "budget/ui/frm_edit_budget_names.h"
#include "budget/ui/frm_edit_budget_paymode.h"

#include "store/record_get.h"
#include "store/record_put.h"
#include "support/gui.h"

namespace {

using Reply = Prompter::Reply;

const QString kPass = QStringLiteral("Budget dialogs pass 1");

QStringList Keys(frmEditBudgetNames& form) {
    QStringList keys;
    for (int i = 0; i < form.LV1->topLevelItemCount(); ++i) {
        keys << form.LV1->topLevelItem(i)->data(0, Qt::UserRole).toString();
    }
    return keys;
}

void Select(frmEditBudgetNames& form, const QString& key) {
    for (int i = 0; i < form.LV1->topLevelItemCount(); ++i) {
        if (form.LV1->topLevelItem(i)->data(0, Qt::UserRole).toString() == key) {
            form.LV1->setCurrentItem(form.LV1->topLevelItem(i));
        }
    }
}

void CtrlEnter(QWidget& form) {
    QTest::keyClick(&form, Qt::Key_Return, Qt::ControlModifier);
}

std::int64_t AddTransaction(Store& store, int payMode) {
    const QByteArray blob =
        Record_Put::PutField(store.user.level, FieldType::Byte, 0) + Record_Put::PutField(payMode, FieldType::Int16, 7);
    return AddRecord(store, blob, budget::kBudgetSection);
}

int PayModeOf(Store& store, std::int64_t fpk) {
    Record_Get::FieldValue value;
    Record_Get::GetField(value, ReadRecord(store, fpk), 7);
    return value.value.toInt();
}

} // namespace

class TestFrmBudgetDialogs : public FileTest {
    Q_OBJECT
private Q_SLOTS:
    void init() { QVERIFY(newFile(kPass)); }

    void newBudgetTakesTheFreedId() {
        {
            frmEditBudgetNames form(store());
            Select(form, QStringLiteral("k001"));
            prompter().replies << Reply::Yes << Reply::Yes;
            Click(form, "cmdDelete");
            QCOMPARE(prompter().numbers(), (QList<int>{365, 366}));
            // Two Yes write the list at once.
            QCOMPARE(form.result(), int(QDialog::Accepted));
            QVERIFY(!form.cancelled());
        }
        QCOMPARE(budget::LoadBudgets(store())->ids, (QVector<std::uint8_t>{0, 2}));

        frmEditBudgetNames form(store());
        Click(form, "cmdNew");
        QVERIFY(!form.picEdit->isHidden());
        QVERIFY(!form.LV1->isEnabled() && !form.cmdOK->isEnabled());
        QVERIFY(form.chkShowPrivate->isChecked() && !form.chkRequestPIN->isChecked());
        form.txtBudgetName->setText(QStringLiteral("Car"));
        Click(form, "cmdOK_Edit");
        QCOMPARE(Keys(form), (QStringList{"k000", "k002", "k001"}));
        CtrlEnter(form);
        QCOMPARE(form.result(), int(QDialog::Accepted));
        const std::optional<budget::BudgetList> stored = budget::LoadBudgets(store());
        QCOMPARE(stored->ids, (QVector<std::uint8_t>{0, 2, 1}));
        QCOMPARE(stored->names.last(), QStringLiteral("Car"));
        QCOMPARE(stored->showPrivate.last(), true);
    }

    void refusals() {
        {
            frmEditBudgetNames form(store());
            Select(form, QStringLiteral("k000"));
            Click(form, "cmdDelete");
            QCOMPARE(prompter().numbers(), QList<int>{367});
            QCOMPARE(Keys(form).size(), 3);

            // One No is enough to keep a budget.
            prompter().shown.clear();
            prompter().replies << Reply::No;
            Select(form, QStringLiteral("k002"));
            Click(form, "cmdDelete");
            QCOMPARE(prompter().numbers(), QList<int>{365});
            QCOMPARE(Keys(form).size(), 3);

            prompter().shown.clear();
            Click(form, "cmdNew");
            form.txtBudgetName->setText(QStringLiteral("Caf\u00FF"));
            Click(form, "cmdOK_Edit");
            QCOMPARE(prompter().numbers(), QList<int>{0});
            QCOMPARE(prompter().shown.first().text, budget::NameRefusal());
            QVERIFY(!form.picEdit->isHidden());
            QCOMPARE(Keys(form).size(), 3);
        }

        budget::BudgetList full;
        for (int id = 0; id < budget::kMaxBudgets; ++id) {
            full.append(static_cast<std::uint8_t>(id), QStringLiteral("B%1").arg(id), true, false);
        }
        QCOMPARE(budget::SaveBudgets(store(), full), 0);
        prompter().shown.clear();
        frmEditBudgetNames form(store());
        QCOMPARE(Keys(form).size(), 256);
        QCOMPARE(Keys(form).last(), QStringLiteral("k255"));
        Click(form, "cmdNew");
        QCOMPARE(prompter().numbers(), QList<int>{368});
        QVERIFY(form.picEdit->isHidden());
    }

    void editAndKeys() {
        budget::BudgetList list = budget::DefaultBudgets();
        list.showPrivate[1] = false;
        QCOMPARE(budget::SaveBudgets(store(), list), 0);
        frmEditBudgetNames form(store());
        form.show();
        QCOMPARE(Keys(form), (QStringList{"k000", "k001", "k002"}));
        QCOMPARE(form.LV1->topLevelItem(1)->checkState(0), Qt::Unchecked);
        Select(form, QStringLiteral("k002"));
        Click(form, "cmdEdit");
        QCOMPARE(form.txtBudgetName->text(), QStringLiteral("Budget 3"));
        QVERIFY(form.chkShowPrivate->isChecked());
        form.txtBudgetName->setText(QStringLiteral("Savings"));
        form.chkShowPrivate->setChecked(false);
        form.chkRequestPIN->setChecked(true);
        // With the panel open, Ctrl+Enter takes the edit and Esc closes only the panel.
        CtrlEnter(form);
        QVERIFY(form.picEdit->isHidden() && form.cmdOK->isEnabled());
        QCOMPARE(form.LV1->topLevelItem(2)->text(2), QStringLiteral("X"));
        QCOMPARE(form.LV1->topLevelItem(2)->checkState(0), Qt::Unchecked);

        Click(form, "cmdNew");
        form.txtBudgetName->setText(QStringLiteral("Dropped"));
        QTest::keyClick(&form, Qt::Key_Escape);
        QVERIFY(form.picEdit->isHidden() && form.isVisible());
        QCOMPARE(Keys(form).size(), 3);

        // Esc on the list leaves without writing anything.
        QTest::keyClick(&form, Qt::Key_Escape);
        QVERIFY(!form.isVisible() && form.cancelled());
        QCOMPARE(budget::LoadBudgets(store())->names.last(), QStringLiteral("Budget 3"));
    }

    void payModesNewRenameMove() {
        frmEditBudgetPaymode form(store());
        QCOMPARE(form.CatList->count(), 9);

        prompter().inputs << QStringLiteral("Voucher");
        Click(form, "cmdNew");
        QCOMPARE(prompter().inputTitles, QStringList{"New category"});
        QCOMPARE(form.lastNewId(), 10);
        QCOMPARE(form.CatList->currentRow(), 9);

        form.CatList->setCurrentItem(nullptr);
        Click(form, "cmdRename");
        QCOMPARE(prompter().numbers(), QList<int>{18});

        form.CatList->setCurrentRow(0);
        prompter().inputs << QString() << QStringLiteral("Coins");
        Click(form, "cmdRename"); // cancelled: nothing changes
        Click(form, "cmdRename");
        QCOMPARE(prompter().inputDefaults.last(), QStringLiteral("Cash"));
        QCOMPARE(form.CatList->item(0)->text(), QStringLiteral("Coins"));

        Click(form, "cmdMove_0"); // already first
        Click(form, "cmdMove_1");
        QCOMPARE(form.CatList->currentRow(), 1);
        form.CatList->setCurrentRow(9);
        Click(form, "cmdMove_1"); // already last
        Click(form, "cmdMove_0");
        QCOMPARE(form.CatList->currentRow(), 8);

        CtrlEnter(form);
        QVERIFY(!form.cancelled());
        const std::optional<budget::PayModes> stored = budget::LoadPayModes(store());
        QCOMPARE(stored->ids, (QVector<std::int16_t>{2, 1, 3, 4, 5, 6, 7, 8, 10, 9}));
        QCOMPARE(stored->names.value(1), QStringLiteral("Coins"));
        QCOMPARE(stored->names.value(8), QStringLiteral("Voucher"));

        budget::PayModes top;
        top.ids = {32001};
        top.names = {QStringLiteral("Top")};
        QCOMPARE(budget::SavePayModes(store(), top), 0);
        frmEditBudgetPaymode full(store());
        prompter().shown.clear();
        prompter().inputs << QStringLiteral("Caf\u00FF") << QStringLiteral("More");
        Click(full, "cmdNew");
        Click(full, "cmdNew");
        QCOMPARE(prompter().numbers(), (QList<int>{0, 381}));
        QCOMPARE(full.CatList->count(), 1);
        QCOMPARE(full.lastNewId(), 0);
    }

    void payModeDeleteThenEsc() {
        const std::int64_t paidByCheck = AddTransaction(store(), 7);
        const std::int64_t paidInCash = AddTransaction(store(), 1);
        QVERIFY(paidByCheck && paidInCash);

        frmEditBudgetPaymode form(store());
        form.CatList->setCurrentRow(6);
        Click(form, "cmdDelete"); // the safe reply is Cancel
        QCOMPARE(form.CatList->count(), 9);
        QCOMPARE(PayModeOf(store(), paidByCheck), 7);

        prompter().replies << Reply::Ok;
        Click(form, "cmdDelete");
        QCOMPARE(prompter().numbers(), (QList<int>{19, 19}));
        QCOMPARE(form.CatList->count(), 8);
        Click(form, "cmdEsc");
        QVERIFY(form.cancelled());

        QCOMPARE(budget::LoadPayModes(store())->ids.value(6), std::int16_t{7});
        QCOMPARE(PayModeOf(store(), paidByCheck), 0);
        QCOMPARE(PayModeOf(store(), paidInCash), 1);
    }
};

NCT_GUI_TEST_MAIN(TestFrmBudgetDialogs)
#include "tst_frm_budget_dialogs.moc"
