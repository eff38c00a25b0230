#pragma once

#include "budget/transaction.h"
#include "shell/list_entry.h"
#include "shell/ui/editor_dialog.h"

class Store;
class QCheckBox;
class QComboBox;
class QDateEdit;
class QFrame;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;
class QToolButton;

// Edits one transaction and stores it on OK; a failed store keeps the dialog open with what was typed.
class frmEditBudget : public EditorDialog {
    Q_OBJECT
public:
    // `payments` are the section's payment entries; the editor takes all but "All".
    frmEditBudget(Store& store, int budget, const ListEntries& payments, QWidget* parent = nullptr);

    // kind 0 asks for credit or debit first; 1 opens as a credit, 2 as a debit; -1 follows the record.
    void TransactionToEditor(const budget::Transaction& t, int kind = -1);
    // Copies the controls into `t`; false, touching nothing, while neither credit nor debit is chosen.
    bool EditorToTransaction(budget::Transaction& t) const;

    // Whether a text was typed into since the load.
    bool dirty() const { return m_dirty; }
    // The transaction as OK stored it, with its key.
    const budget::Transaction& stored() const { return m_transaction; }
    bool changed() const override;

    QFrame* cdFrame = nullptr;
    QPushButton* ctlCD[2] = {};
    QFrame* EditBudgetFrame = nullptr;
    QLineEdit* ctlAmount = nullptr;
    QLineEdit* ctlSubject = nullptr;
    QLineEdit* ctlPartner = nullptr;
    QPlainTextEdit* ctlNote = nullptr;
    QDateEdit* ctlXDate = nullptr;
    QCheckBox* ctlBW = nullptr;
    QComboBox* cboCategory = nullptr;
    QComboBox* ctlPayment = nullptr;
    QToolButton* cmdEditCat = nullptr;
    QToolButton* cmdEditPayment = nullptr;

Q_SIGNALS:
    // The category or payment lists were edited from here; the section refills its own.
    void listsChanged();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    QVariantList values() const override;
    bool accepted() override;

private:
    void ctlCD_Click(int index);
    void cmdEditCat_Click();
    void cmdEditPayment_Click();
    void fillCategories(int select);
    void fillPayments(int select);
    void showChoice(bool chosen);

    Store& m_store;
    int m_budget;
    budget::Transaction m_transaction;
    bool m_dirty = false;
    Currency m_loadedAmount;
    QString m_loadedAmountText;
    int m_cdTag = 0;
    bool m_dateMissing = false;
};
