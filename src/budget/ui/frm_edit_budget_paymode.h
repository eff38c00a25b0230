#pragma once

#include "sections/ui/list_editor_dialog.h"

// The payment modes shared by all budgets. A deleted mode is taken off the transactions at once; the list itself
// is written by cmdOK.
class frmEditBudgetPaymode : public EntryListDialog {
    Q_OBJECT
public:
    explicit frmEditBudgetPaymode(Store& store, QWidget* parent = nullptr);

    QPushButton* cmdMove[2] = {}; // up, down; object names cmdMove_0 and cmdMove_1

private:
    void cmdNew_Click() override;
    void cmdMove_Click(int direction);
    void deleting(int id) override;
    int save() override;
};
