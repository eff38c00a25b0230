#include "sections/all_sections.h"

#include "budget/ui/frm_budget.h"

SectionForms AllSectionForms() {
    SectionForms forms;
    forms.add(SectionId::Budget, [](Session& session, QWidget* parent) { return new frmBudget(session, parent); });
    return forms;
}
