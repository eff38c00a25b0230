#pragma once

#include "sections/ui/list_editor_dialog.h"

class QCheckBox;
class QLineEdit;
class QTreeWidget;
class QTreeWidgetItem;
class QWidget;

// The user's budgets: names, the private distinction and the PIN request. Changes stay in the list until cmdOK
// writes them.
class frmEditBudgetNames : public ListEditorDialog {
    Q_OBJECT
public:
    explicit frmEditBudgetNames(Store& store, QWidget* parent = nullptr);

    QTreeWidget* LV1 = nullptr;
    QLineEdit* txtBudgetName = nullptr;
    QCheckBox* chkShowPrivate = nullptr;
    QCheckBox* chkRequestPIN = nullptr;
    QWidget* picEdit = nullptr;
    QWidget* picButtons = nullptr;
    QPushButton* cmdEdit = nullptr;
    QPushButton* cmdOK_Edit = nullptr;
    QPushButton* cmdEsc_Edit = nullptr;

private:
    void cmdNew_Click() override;
    void cmdEdit_Click();
    void cmdDelete_Click() override;
    int save() override;
    void ctrlEnter() override;
    void escape() override;
    void cmdOK_Edit_Click();
    void loadBudgets();
    QTreeWidgetItem* addRow(int id, const QString& name, bool showPrivate, bool requestPin);
    void openEdit(QTreeWidgetItem* row);
    void closeEdit();

    QTreeWidgetItem* m_editRow = nullptr; // the row in the edit panel; none for a new budget
};
