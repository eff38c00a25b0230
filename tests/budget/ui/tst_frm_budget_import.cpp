#include "budget/totals.h"
#include "budget/transaction.h"
#include "budget/ui/frm_budget.h"
#include "budget/ui/frm_budget_import.h"
#include "sections/categories/categories.h"
#include "support/gui.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>

namespace {

QString Sample(const char* name) {
    return QStringLiteral(NCT_TEST_DATA_DIR "/statements/") + QLatin1String(name);
}

} // namespace

class TestFrmBudgetImport : public FileTest {
    Q_OBJECT

    std::unique_ptr<frmBudget> m_form;

    QVector<budget::Transaction> stored() {
        return budget::DecodeTransactions(
            store().cry.KeyPool(),
            budget::ReadBalanceRows(store(), {0, QDate(1990, 1, 1), QDate(2070, 1, 1), budget::kPayModeAll}));
    }

    // Opens the statement through the Budget's menu and hands its dialog to `act` before the dialog ends.
    void importThroughTheMenu(const char* sample, std::function<void(frmBudgetImport&)> act) {
        prompter().openFile = Sample(sample);
        bool seen = false;
        WhenModal<frmBudgetImport>([&](frmBudgetImport* dialog) {
            seen = true;
            act(*dialog);
            if (dialog->isVisible()) {
                dialog->reject();
            }
        });
        const auto actions = m_form->menuActions();
        const auto entry = std::find_if(actions.begin(), actions.end(), [](const QAction* a) {
            return a != nullptr && a->objectName() == QLatin1String("mnuBudgetImport");
        });
        QVERIFY(entry != actions.end());
        (*entry)->trigger();
        QVERIFY(seen);
    }

private Q_SLOTS:
    void init() {
        QVERIFY(newFile(QStringLiteral("Import form pass 1")));
        QCOMPARE(categories::SaveCategoryText(store(), QStringLiteral("Food;1;Rent;2"), 17, 0), 0);
        m_form = std::make_unique<frmBudget>(m_run->session);
        m_form->show();
    }

    void cleanup() {
        ForgetModalWaits();
        m_form.reset();
        open_sequence::CloseDatabase(m_run->session);
        m_run.reset();
    }

    // The German bank's file as detected; one booking left out by its tick, one filed under Rent by hand.
    void csvBookingsAsTicked() {
        importThroughTheMenu("german_bank.csv", [](frmBudgetImport& dialog) {
            QVERIFY(dialog.fraCsv->isVisible());
            QCOMPARE(dialog.cboSeparator->currentData().toChar(), QChar(u';'));
            QCOMPARE(dialog.cboDecimal->currentData().toChar(), QChar(u','));
            QCOMPARE(dialog.tblRows->rowCount(), 4);
            QCOMPARE(dialog.tblRows->item(3, 6)->text(),
                     QStringLiteral("Refused: the amount \"12,5x\" is not a number"));
            QCOMPARE(dialog.lblSummary->text(), QStringLiteral("3 new, 0 duplicates, 1 refused; 3 to import."));
            dialog.tblRows->item(1, 0)->setCheckState(Qt::Unchecked);
            auto* category = qobject_cast<QComboBox*>(dialog.tblRows->cellWidget(0, 5));
            category->setCurrentIndex(category->findText(QStringLiteral("Rent")));
            QCOMPARE(dialog.lblSummary->text(), QStringLiteral("3 new, 0 duplicates, 1 refused; 2 to import."));
            dialog.cmdImport->click();
            QVERIFY(!dialog.isVisible());
        });
        // The list moves to the month of the bookings.
        QCOMPARE(m_form->monthInView().year(), 2024);
        const QVector<budget::Transaction> rows = stored();
        QCOMPARE(rows.size(), 2);
        QVERIFY(std::any_of(rows.begin(), rows.end(), [](const budget::Transaction& t) { return t.category == 2; }));
        QVERIFY2(prompter().shown.last().text.startsWith(QStringLiteral(
                     "2 bookings imported, 0 left out as duplicates, 1 left out as you chose, 1 refused.")),
                 qPrintable(prompter().shown.last().text));
    }

    // A statement read a second time offers nothing to import; a column chosen by hand is kept for the bank.
    void secondReadingIsAllDuplicates() {
        importThroughTheMenu("checking_v1.ofx", [](frmBudgetImport& dialog) {
            QVERIFY(dialog.fraCsv == nullptr);
            // The bank names only the partner; the transaction will be called by it, and the list says so.
            QCOMPARE(dialog.tblRows->item(0, 2)->text(), QStringLiteral("Corner Grocery"));
            dialog.cmdImport->click();
        });
        importThroughTheMenu("checking_v1.ofx", [](frmBudgetImport& dialog) {
            QCOMPARE(dialog.tblRows->rowCount(), 4);
            for (int row = 0; row < 3; ++row) {
                QCOMPARE(dialog.tblRows->item(row, 0)->checkState(), Qt::Unchecked);
                QCOMPARE(dialog.tblRows->item(row, 6)->text(), QStringLiteral("Duplicate"));
            }
            QVERIFY(!dialog.cmdImport->isEnabled());
        });
        importThroughTheMenu("english_bank.csv", [](frmBudgetImport& dialog) {
            dialog.cboColumn[6]->setCurrentIndex(0);
            dialog.cmdImport->click();
        });
        importThroughTheMenu("english_bank.csv",
                             [](frmBudgetImport& dialog) { QCOMPARE(dialog.cboColumn[6]->currentIndex(), 0); });
    }
};

NCT_GUI_TEST_MAIN(TestFrmBudgetImport)
#include "tst_frm_budget_import.moc"
