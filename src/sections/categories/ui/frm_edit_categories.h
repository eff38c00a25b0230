#pragma once

#include "sections/ui/list_editor_dialog.h"

// Edits the category list of one section (of one budget in the Budget section). Works on its list only; the
// store is written by cmdOK alone.
class frmEditCategories : public EntryListDialog {
    Q_OBJECT
public:
    frmEditCategories(Store& store, int section, int budget, QWidget* parent = nullptr);

    bool categoryDeleted() const { return m_categoryDeleted; }

private:
    void cmdNew_Click() override;
    void deleting(int id) override;
    int save() override;

    int m_section;
    int m_budget;
    bool m_categoryDeleted = false;
};
