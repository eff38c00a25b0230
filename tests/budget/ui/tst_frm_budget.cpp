#include "budget/budget_lists.h"
#include "budget/transaction.h"
#include "budget/ui/frm_budget.h"
#include "budget/ui/frm_edit_budget.h"
#include "sections/categories/categories.h"
#include "store/row.h"
#include "support/gui.h"

#include <tuple>

namespace {

using Reply = Prompter::Reply;
const QString kPass = QStringLiteral("Budget form pass 1");

void Type(QLineEdit* field, const QString& text) {
    field->selectAll();
    QTest::keyClicks(field, text);
}

} // namespace

class TestFrmBudget : public FileTest {
    Q_OBJECT

    std::unique_ptr<frmBudget> m_form;

    QStringList items() const {
        QStringList texts;
        for (int i = 0; i < m_form->LV1->topLevelItemCount(); ++i) {
            texts << m_form->LV1->topLevelItem(i)->text(budget::colItem);
        }
        return texts;
    }
    void select(const QString& item) {
        for (int i = 0; i < m_form->LV1->topLevelItemCount(); ++i) {
            if (m_form->LV1->topLevelItem(i)->text(budget::colItem) == item) {
                m_form->LV1->setCurrentItem(m_form->LV1->topLevelItem(i));
            }
        }
    }
    void addThroughEditor(int kind, const QString& amount, const QString& item, bool isPrivate = false) {
        AnswerDialog<frmEditBudget>([=](frmEditBudget& editor) {
            QVERIFY(editor.EditBudgetFrame->isVisibleTo(&editor));
            Type(editor.ctlAmount, amount);
            Type(editor.ctlSubject, item);
            editor.ctlBW->setChecked(isPrivate);
        });
        m_form->cmdAdd[static_cast<std::size_t>(kind)]->click();
    }
    // Today's salary and lunch of the first budget, stored as the editor stores them, then shown.
    void seed() {
        for (const auto& [item, units, debit] : {std::tuple{"Salary", 130000, false}, {"Lunch", 125000, true}}) {
            budget::Transaction t = budget::ClearTransaction(0, 0, QDate::currentDate());
            t.description = QString::fromLatin1(item);
            t.amount = Currency{units};
            t.dcwb = debit ? budget::kDebitBit : 0;
            QVERIFY(budget::StoreTransaction(store(), 0, t).ok());
        }
        m_form->FillBudgetCombo(0);
    }

private Q_SLOTS:
    // Every test starts from a file of its own, with two categories and private records shown.
    void init() {
        QVERIFY(newFile(kPass));
        QCOMPARE(categories::SaveCategoryText(store(), QStringLiteral("Food;1;Rent;2"), 17, 0), 0);
        m_run->session.ShowPrivate = true;
        m_form = std::make_unique<frmBudget>(m_run->session);
        m_form->resize(1000, 600);
        m_form->show();
    }

    void cleanup() {
        m_form.reset();
        open_sequence::CloseDatabase(m_run->session);
        m_run.reset();
    }

    void addCreditAndDebitThroughTheEditor() {
        // First use: the default budgets and payment modes, and the file's two categories besides All and Unfiled.
        QCOMPARE(QList<int>({m_form->cboBudget->count(), m_form->ctlPayment->count(), m_form->cboCategories->count()}),
                 QList<int>({3, 11, 4}));
        QVERIFY(!m_form->cmdEdit->isEnabled());
        addThroughEditor(0, QStringLiteral("1e3"), QStringLiteral("Salary"));
        addThroughEditor(1, QStringLiteral("12,50"), QStringLiteral("Lunch"));
        QCOMPARE(items(), QStringList({"Salary", "Lunch"}));
        QCOMPARE(m_form->lblSollHaben[0]->text(), QStringLiteral(" 13.00"));
        QCOMPARE(m_form->lblSollHaben[1]->text(), QStringLiteral(" 12.50"));
        QCOMPARE(m_form->result[6]->text(), QStringLiteral(" 0.50"));
        QVERIFY(m_form->cmdEdit->isEnabled());
    }

    void storedDecimalsSurviveAnEdit() {
        budget::Transaction t = budget::ClearTransaction(0, 0, QDate::currentDate());
        t.description = QStringLiteral("Shares");
        t.amount = Currency{12345678};
        QVERIFY(budget::StoreTransaction(store(), 0, t).ok());
        m_form->FillBudgetCombo(0);
        select(QStringLiteral("Shares"));
        AnswerDialog<frmEditBudget>([](frmEditBudget& editor) {
            QCOMPARE(editor.ctlAmount->text(), QStringLiteral("1,234.5678"));
            Type(editor.ctlSubject, QStringLiteral("Shares bought"));
        });
        m_form->cmdEdit_Click();
        QCOMPARE(budget::LoadTransaction(store(), t.key)->amount, Currency{12345678});
    }

    void longNoteIsCutOnlyAfterTelling() {
        const QString note = QStringLiteral("Ж").repeated(40000);
        AnswerDialog<frmEditBudget>([&note](frmEditBudget& editor) {
            Type(editor.ctlAmount, QStringLiteral("5"));
            Type(editor.ctlSubject, QStringLiteral("Long story"));
            editor.ctlNote->setPlainText(note);
            editor.cmdOK->click(); // Cancel: back to the text
            QVERIFY(editor.isVisible());
        });
        prompter().replies.append(QList<Reply>{Reply::Cancel, Reply::Ok});
        m_form->cmdAdd[1]->click();
        QVERIFY(prompter().shown.last().text.contains(QStringLiteral("note")));
        QVERIFY(prompter().shown.last().text.contains(QStringLiteral("32,498")));
        select(QStringLiteral("Long story"));
        const std::int32_t key = m_form->LV1->currentItem()->data(0, Qt::UserRole).toInt();
        QCOMPARE(budget::LoadTransaction(store(), key)->note, note.left(32498));
    }

    void datesKeepTheirCentury() {
        AnswerDialog<frmEditBudget>([](frmEditBudget& editor) {
            Type(editor.ctlAmount, QStringLiteral("5"));
            Type(editor.ctlSubject, QStringLiteral("Old bill"));
            editor.ctlXDate->setDate(QDate(1999, 12, 31));
            QCOMPARE(editor.ctlXDate->text(), QStringLiteral("12/31/1999"));
        });
        m_form->cmdAdd[1]->click();
        m_form->ChangePeriod(QDate(1999, 12, 1));
        QCOMPARE(items(), QStringList{QStringLiteral("Old bill")});
        QCOMPARE(m_form->LV1->topLevelItem(0)->text(budget::colDate), QStringLiteral("12/31/1999"));
    }

    void theEditorRefusesBadInput() {
        seed();
        const int shown = static_cast<int>(prompter().shown.size());
        AnswerDialog<frmEditBudget>([](frmEditBudget& editor) {
            editor.ctlAmount->clear();
            Type(editor.ctlSubject, QStringLiteral("x"));
            editor.cmdOK->click();
            QVERIFY(editor.isVisible());
            Type(editor.ctlAmount, QStringLiteral("0"));
            editor.cmdOK->click(); // 22 answered Cancel: stays
            QVERIFY(editor.isVisible());
            editor.ctlSubject->clear();
            Type(editor.ctlAmount, QStringLiteral("5"));
            editor.cmdOK->click(); // 363
            QVERIFY(editor.isVisible());
            Type(editor.ctlSubject, QStringLiteral("y"));
            editor.cmdEsc->click(); // 20 answered No: stays
            QVERIFY(editor.isVisible());
            editor.cmdEsc->click(); // 20 answered Yes: leaves without a store
        });
        prompter().replies.append(QList<Reply>{Reply::Ok, Reply::Cancel, Reply::Ok, Reply::No, Reply::Yes});
        m_form->cmdAdd[0]->click();
        QList<int> numbers = prompter().numbers().mid(shown);
        QCOMPARE(numbers, QList<int>({21, 22, 363, 20, 20}));
        QCOMPARE(items().size(), 2);
    }

    void editAndDelete() {
        seed();
        select(QStringLiteral("Lunch"));
        AnswerDialog<frmEditBudget>([](frmEditBudget& editor) {
            QVERIFY(editor.ctlCD[1]->isChecked());
            QCOMPARE(editor.ctlAmount->text(), QStringLiteral("12.50"));
            Type(editor.ctlAmount, QStringLiteral("20"));
            editor.activateWindow();
            QVERIFY(QTest::qWaitForWindowActive(&editor));
            editor.ctlNote->setFocus();
            QTest::keyClick(editor.ctlNote, Qt::Key_Return, Qt::ControlModifier);
            QVERIFY(!editor.isVisible());
        });
        m_form->cmdEdit_Click();
        QCOMPARE(m_form->lblSollHaben[1]->text(), QStringLiteral(" 20.00"));

        select(QStringLiteral("Lunch"));
        prompter().replies.append(QList<Reply>{Reply::Cancel});
        m_form->cmdDelete->click();
        QCOMPARE(items().size(), 2);
        QVERIFY(prompter().shown.last().text.contains(QStringLiteral("\n\n   Lunch (")));
        prompter().replies.append(QList<Reply>{Reply::Ok});
        m_form->cmdDelete->click();
        QCOMPARE(items(), QStringList{QStringLiteral("Salary")});
        QCOMPARE(m_form->lblSollHaben[1]->text(), QStringLiteral(" 0.00"));
        // The balance keeps the deleted amount until it is refreshed.
        QCOMPARE(m_form->result[3]->text(), QStringLiteral(" 20.00"));
        m_form->cPeriod[budget::kPeriodYearToDate]->click();
        QCOMPARE(m_form->result[3]->text(), QStringLiteral(" 0.00"));
    }

    // What was typed is not lost when the store refuses it: here the row was taken by another section meanwhile.
    void aRefusedStoreKeepsTheEditorOpen() {
        seed();
        select(QStringLiteral("Lunch"));
        const std::int64_t key = m_form->LV1->currentItem()->data(0, Qt::UserRole).toInt();
        const qsizetype shown = prompter().numbers().size();
        AnswerDialog<frmEditBudget>(
            [&](frmEditBudget& editor) {
                sqlite::Statement take = store().connection().prepare("UPDATE tt SET fSec=14 WHERE fPK=?");
                take.bind(1, key);
                take.step();
                Type(editor.ctlAmount, QStringLiteral("20"));
                editor.cmdOK->click();
                QVERIFY(editor.isVisible());
                QCOMPARE(editor.ctlAmount->text(), QStringLiteral("20"));
            },
            false);
        m_form->cmdEdit_Click();
        QCOMPARE(prompter().numbers().mid(shown), QList<int>({16}));
        QCOMPARE(ReadRow(store().connection(), key)->integer(Col::fSec), 14);
    }

    void movingMonths() {
        seed();
        const QDate today = QDate::currentDate();
        m_form->findChild<QToolButton*>(QStringLiteral("cmdDateMove_0"))->click();
        QCOMPARE(m_form->monthInView().month(), today.addMonths(-1).month());
        QCOMPARE(m_form->lblMonth->text(), QLocale().monthName(today.addMonths(-1).month()));
        QVERIFY(items().isEmpty());
        QVERIFY(!m_form->cmdEdit->isEnabled());
        QCOMPARE(m_form->lblSollHaben[0]->text(), QStringLiteral(" 13.00")); // an empty month keeps the sums
        m_form->lblYear->click();
        QVERIFY(m_form->lstYear->isVisible());
        m_form->lstYear->setCurrentRow(today.year() - 1900);
        m_form->lstYear->itemClicked(m_form->lstYear->currentItem());
        m_form->cmdDateMove[1]->click();
        QCOMPARE(m_form->monthInView().month(), today.month());
        QCOMPARE(items(), (QStringList{QStringLiteral("Salary"), QStringLiteral("Lunch")}));
    }

    void budgetMenuFollowsTheBudgets() {
        const auto entries = [this] {
            QStringList texts;
            for (const QAction* a : m_form->findChildren<QAction*>()) {
                if (a->objectName().startsWith(QLatin1String("mnuBudgetShowBudget_"))) {
                    texts << a->text() + (a->isEnabled() ? QString() : QStringLiteral(" (shown)"));
                }
            }
            texts.sort();
            return texts;
        };
        QCOMPARE(entries(), (QStringList{"&1 Budget 1 (shown)", "&2 Budget 2", "&3 Budget 3"}));
        budget::BudgetList budgets = *budget::LoadBudgets(store());
        budget::BudgetList changed;
        changed.append(budgets.ids[0], budgets.names[0], false, false);
        changed.append(budgets.ids[2], budgets.names[2], false, false);
        changed.append(5, QStringLiteral("Holidays"), false, false);
        QCOMPARE(budget::SaveBudgets(store(), changed), 0);
        m_form->FillBudgetCombo(5);
        QCOMPARE(entries(), (QStringList{"&1 Budget 1", "&2 Budget 3", "&3 Holidays (shown)"}));
    }

    void switchingToABudgetWithAPin() {
        seed();
        budget::BudgetList budgets = *budget::LoadBudgets(store());
        budgets.requestPin[1] = true;
        QCOMPARE(budget::SaveBudgets(store(), budgets), 0);
        store().user.options.PinCode = QStringLiteral("4321");
        prompter().passphrases.append(QStringLiteral("wrong"));
        m_form->FillBudgetCombo(1);
        QCOMPARE(prompter().numbers().last(), 125);
        QVERIFY(!m_form->picOptions[0]->isVisible());
        prompter().passphrases.append(QStringLiteral("4321"));
        m_form->FillBudgetCombo(1);
        QVERIFY(m_form->picOptions[0]->isVisible());
        QVERIFY(items().isEmpty());
        const qsizetype asked = prompter().passphraseRequests.size();
        m_form->FillBudgetCombo(0);
        m_form->FillBudgetCombo(1); // once a session
        QCOMPARE(prompter().passphraseRequests.size(), asked);
        m_form->FillBudgetCombo(0);
        QCOMPARE(items(), (QStringList{QStringLiteral("Salary"), QStringLiteral("Lunch")}));
    }

    void privateRowsFollowTheSwitches() {
        seed();
        addThroughEditor(1, QStringLiteral("7"), QStringLiteral("Secret"), true);
        QVERIFY(items().contains(QStringLiteral("Secret")));
        QVERIFY(m_form->showBWframe->isVisible());
        // The Budget's own Hide Private asks nothing, and takes the private rows and sums with the boxes.
        m_form->ShowPrivateBudget();
        QVERIFY(!m_form->showBWframe->isVisible());
        QVERIFY(!items().contains(QStringLiteral("Secret")));
        QCOMPARE(m_form->result[4]->text(), QString());
        prompter().passphrases.append(kPass);
        m_form->ShowPrivateBudget();
        QVERIFY(m_form->showBWframe->isVisible());
        QVERIFY(items().contains(QStringLiteral("Secret")));
        m_run->session.ShowPrivate = false;
        m_form->HideShow();
        QVERIFY(!items().contains(QStringLiteral("Secret")));
        QVERIFY(m_form->LV1->isColumnHidden(budget::colPrivate));
        QVERIFY(m_form->LV2->isColumnHidden(2));
        QCOMPARE(m_form->result[4]->text(), QString());
        m_run->session.ShowPrivate = true;
        m_form->HideShow();
        QVERIFY(items().contains(QStringLiteral("Secret")));
        QCOMPARE(m_form->result[4]->text(), QStringLiteral(" 7.00"));
    }

    void balancePeriods() {
        seed();
        m_form->tbsOptions->setCurrentIndex(1);
        // Even in the smallest window every caption of the period bar shows whole.
        m_form->resize(m_form->minimumSizeHint());
        QTRY_VERIFY(m_form->cPeriod[budget::kPeriodYearToDate]->isVisible());
        for (const QPushButton* label : m_form->cPeriod) {
            QVERIFY2(label->width() >= label->sizeHint().width(), qPrintable(label->text()));
        }
        m_form->resize(1000, 600);
        m_form->cPeriod[budget::kPeriodTotal]->click();
        QCOMPARE(m_form->ctlFrom->date(), QDate(2000, 1, 1));
        QCOMPARE(m_form->ctlTo->date(), QDate::currentDate());
        QVERIFY(!m_form->cTimeRange[0]->isVisibleTo(m_form.get()));
        m_form->cPeriod[budget::kPeriodWeek]->click();
        QVERIFY(m_form->cTimeRange[1]->isVisibleTo(m_form.get()));
        m_form->cPeriod[budget::kPeriodYear]->click();
        m_form->cmdDown[0]->click();
        QCOMPARE(m_form->ctlFrom->date(), QDate(QDate::currentDate().year() - 1, 1, 1));
        QCOMPARE(m_form->result[0]->text(), QStringLiteral(" 0.00"));
        m_form->ctlFrom->setDate(QDate(2100, 1, 1)); // beyond the limits and past the end
        QTRY_COMPARE(m_form->period().pointer, budget::kPeriodByHand);
        QCOMPARE(m_form->ctlFrom->date(), budget::PeriodMaxDate());
        m_form->cPeriod[budget::kPeriodYear]->click(); // the year shown is still last year's
        QCOMPARE(m_form->ctlFrom->date(), QDate(QDate::currentDate().year() - 1, 1, 1));
        m_form->cmdUp[0]->click();
        m_form->ctlPayment->setCurrentIndex(1); // N.S.
        QCOMPARE(m_form->result[0]->text(), QStringLiteral(" 13.00"));
        m_form->ctlPayment->setCurrentIndex(2); // Cash: nothing
        QCOMPARE(m_form->result[0]->text(), QStringLiteral(" 0.00"));
    }

    void exportWritesTheShownBalance() {
        seed();
        addThroughEditor(1, QStringLiteral("7"), QStringLiteral("Secret"), true);
        // A deleted transaction leaves the file's sums as it leaves its rows.
        select(QStringLiteral("Lunch"));
        prompter().replies.append(Reply::Ok);
        m_form->cmdDelete->click();
        const QString path = m_dir->filePath(QStringLiteral("balance"));
        prompter().newFile = path;
        m_form->cmdExport->click();
        QFile file(path + QStringLiteral(".csv"));
        QCOMPARE(file.permissions() & ~(QFile::ReadOwner | QFile::WriteOwner | QFile::ReadUser | QFile::WriteUser),
                 QFile::Permissions());
        QVERIFY(prompter().shown.last().text.contains(QStringLiteral("not encrypted")));
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QString text = QString::fromUtf8(file.readAll());
        QVERIFY(!text.contains(QStringLiteral("12.50")));
        QVERIFY(text.startsWith(QStringLiteral("Category,Public credit,Private credit,Total credit,")));
        QVERIFY(text.contains(QStringLiteral(",Salary,13.00,,<N.S.>,")));
        QVERIFY(text.contains(QStringLiteral(",Secret,,7.00,<N.S.>,")));
        m_run->session.ShowPrivate = false;
        m_form->HideShow();
        m_form->cmdExport->click();
        file.close();
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QString hidden = QString::fromUtf8(file.readAll());
        QVERIFY(hidden.startsWith(QStringLiteral("Category,Credit,Debit,Balance\r\n")));
        QVERIFY(!hidden.contains(QStringLiteral("Secret")));
    }
};

NCT_GUI_TEST_MAIN(TestFrmBudget)
#include "tst_frm_budget.moc"
