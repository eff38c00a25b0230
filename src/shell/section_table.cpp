#include "shell/section_table.h"

#include "base/messages.h"

#include <algorithm>
#include <array>

namespace sections {
namespace {

constexpr std::array<SectionInfo, 7> kTable{{
    {SectionId::Calendar, 113, "frmCalendar", "op12", "mnuCalendar", 1, false, "appointments",
     "0 Owner 2 1 Private 1 2 ctlAppoStart 4 3 ctlAppoEnd 4 4 ctlAllday 2 5 ctlAlarmYN 2 6 ctlAlarmDelay 4 7 "
     "ctlRedoString 10 8 ctlSubject 10 9 ctlLocation 10 10 ctlNotes 12 "},
    {SectionId::Tasks, 116, "frmTodo", "op15", "mnuTodo", 4, true, "tasks",
     "0 Owner 2 1 Private 1 2 Subject 10 3 Memo 12 "},
    {SectionId::Contacts, 383, "frmAddress", "op11", "mnuAddress", 0, true, "contacts", ""},
    {SectionId::Memos, 115, "frmNotepad", "op14", "mnuMemo", 3, true, "memos",
     "0 owner 2 1 Private 1 2 DateCreated 25 3 DateLastModified 25 4 Subject 10 5 Memo 12 "},
    {SectionId::Diary, 114, "frmDiary", "op13", nullptr, 2, false, "diary", "0 Owner 2 1 Date 25 2 Memo 12 "},
    {SectionId::Vault, 117, "frmClassified", "op16", nullptr, 5, true, "confidential",
     "0 Owner 2 1 Private 1 2 n0 10 3 n1 10 4 n2 10 5 n3 10 6 n4 10 7 notes 12 8 DateLastModified 25 "},
    // A PIN guards each budget by itself, not the section.
    {SectionId::Budget, 121, "frmBudget", "op17", "mnuBudget", -1, true, "budget",
     "0 Owner 2 1 Private 1 2 Description 10 3 BizPartner 10 4 DatePaid 25 5 Amount 5 6 DCWB 3 7 PayMode 3 "
     "8 Note 12 "},
}};

} // namespace

std::span<const SectionInfo> Table() {
    return kTable;
}

const SectionInfo* Find(int number) {
    const auto it = std::find_if(kTable.begin(), kTable.end(),
                                 [number](const SectionInfo& info) { return Number(info.id) == number; });
    return it == kTable.end() ? nullptr : &*it;
}

const SectionInfo& Info(SectionId id) {
    return *Find(Number(id));
}

QString Name(int number) {
    const SectionInfo* info = Find(number);
    return info != nullptr ? MsgText(info->nameMessage) : QString();
}

} // namespace sections
