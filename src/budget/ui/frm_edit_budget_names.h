#pragma once

#include <QDialog>

class Store;
class QCheckBox;
class QLineEdit;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;
class QWidget;

// The user's budgets: names, the private distinction and the PIN request. Changes stay in the list until cmdOK
// writes them.
class frmEditBudgetNames : public QDialog {
    Q_OBJECT
public:
    explicit frmEditBudgetNames(Store& store, QWidget* parent = nullptr);

    bool cancelled() const { return m_cancelled; }

    QTreeWidget* LV1 = nullptr;
    QLineEdit* txtBudgetName = nullptr;
    QCheckBox* chkShowPrivate = nullptr;
    QCheckBox* chkRequestPIN = nullptr;
    QWidget* picEdit = nullptr;
    QWidget* picButtons = nullptr;
    QPushButton* cmdNew = nullptr;
    QPushButton* cmdEdit = nullptr;
    QPushButton* cmdDelete = nullptr;
    QPushButton* cmdOK = nullptr;
    QPushButton* cmdOK_Edit = nullptr;
    QPushButton* cmdEsc = nullptr;
    QPushButton* cmdEsc_Edit = nullptr;

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void cmdNew_Click();
    void cmdEdit_Click();
    void cmdDelete_Click();
    void cmdOK_Click();
    void cmdEsc_Click();
    void cmdOK_Edit_Click();
    void cmdEsc_Edit_Click();
    void loadBudgets();
    QTreeWidgetItem* addRow(int id, const QString& name, bool showPrivate, bool requestPin);
    void openEdit(QTreeWidgetItem* row);
    void closeEdit();

    Store& m_store;
    bool m_cancelled = true;
    QTreeWidgetItem* m_editRow = nullptr; // the row in the edit panel; none for a new budget
};
