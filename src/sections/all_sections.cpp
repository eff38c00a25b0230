#include "sections/all_sections.h"

#include "budget/ui/frm_budget.h"
#include "sections/diary/ui/frm_diary.h"
#include "sections/memos/ui/frm_notepad.h"
#include "sections/tasks/ui/frm_todo.h"
#include "sections/vault/ui/frm_classified.h"

SectionForms AllSectionForms() {
    SectionForms forms;
    forms.add(SectionId::Tasks, [](Session& session, QWidget* parent) { return new frmTodo(session, parent); });
    forms.add(SectionId::Memos, [](Session& session, QWidget* parent) { return new frmNotepad(session, parent); });
    forms.add(SectionId::Vault, [](Session& session, QWidget* parent) { return new frmClassified(session, parent); });
    forms.add(SectionId::Diary, [](Session& session, QWidget* parent) { return new frmDiary(session, parent); });
    forms.add(SectionId::Budget, [](Session& session, QWidget* parent) { return new frmBudget(session, parent); });
    return forms;
}
