#include "sections/all_sections.h"

#include "budget/ui/frm_budget.h"
#include "calendar/ui/frm_edit_calendar.h"
#include "sections/contacts/ui/frm_address.h"
#include "sections/diary/ui/frm_diary.h"
#include "sections/find/find_sections.h"
#include "sections/find/ui/frm_find.h"
#include "sections/memos/ui/frm_notepad.h"
#include "sections/tasks/ui/frm_todo.h"
#include "sections/vault/ui/frm_classified.h"
#include "shell/dates.h"

#include <QDateTime>

namespace {

// A new appointment from the command bar starts at the present half hour; the status line says where it went.
void NewAppointment(Session& session, QWidget* parent, bool allDay) {
    if (const auto stored = frmEditCalendar::Edit(session, -1, QDateTime::currentDateTime(), false, allDay, parent)) {
        session.frame.ShowStatusComment(
            QStringLiteral("Appointment stored for %1").arg(dates::ShortDate(CALENDAR::DayOfMinute(stored->start))));
    }
}

} // namespace

SectionForms AllSectionForms() {
    SectionForms forms;
    forms.add(SectionId::Tasks, [](Session& session, QWidget* parent) { return new frmTodo(session, parent); });
    forms.add(SectionId::Memos, [](Session& session, QWidget* parent) { return new frmNotepad(session, parent); });
    forms.add(SectionId::Vault, [](Session& session, QWidget* parent) { return new frmClassified(session, parent); });
    forms.add(SectionId::Diary, [](Session& session, QWidget* parent) { return new frmDiary(session, parent); });
    forms.add(SectionId::Contacts, [](Session& session, QWidget* parent) { return new frmAddress(session, parent); });
    forms.add(SectionId::Budget, [](Session& session, QWidget* parent) { return new frmBudget(session, parent); });
    forms.addCommand(SectionId::Calendar, QStringLiteral("itCalNewApp"),
                     [](Session& session, QWidget* parent) { NewAppointment(session, parent, false); });
    forms.addCommand(SectionId::Calendar, QStringLiteral("itCalNewAllday"),
                     [](Session& session, QWidget* parent) { NewAppointment(session, parent, true); });
    // The Calendar has no view to select in yet: a found appointment opens in its editor.
    forms.addFound(SectionId::Calendar, [](Session& session, QWidget* parent, const FoundRecord& found) {
        frmEditCalendar::Edit(session, found.key, found.date.startOfDay(), true, false, parent);
    });
    QList<int> searched;
    for (const find::SearchableSection& section : find::SearchableSections()) {
        searched.append(section.section);
    }
    forms.setFind(searched, &frmFind::Run);
    return forms;
}
