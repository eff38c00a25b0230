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
    {SectionId::Contacts, 383, "frmAddress", "op11", "mnuAddress", 0, true, "contacts",
     "0 Owner 2 1 Private 1 2 Priority 2 3 Title 10 4 FirstName 10 5 MiddleName 10 6 LastName 10 7 Suffix 10 "
     "8 CompanyName 10 9 Department 10 10 JobTitle 10 11 BusinessAddressStreet 10 12 BusinessAddressCity 10 "
     "13 BusinessAddressState 10 14 BusinessAddressPostalCode 10 15 BusinessAddressCountry 10 "
     "16 HomeAddressStreet 10 17 HomeAddressCity 10 18 HomeAddressState 10 19 HomeAddressPostalCode 10 "
     "20 HomeAddressCountry 10 21 OtherAddressStreet 10 22 OtherAddressCity 10 23 OtherAddressState 10 "
     "24 OtherAddressPostalCode 10 25 OtherAddressCountry 10 26 Account 10 27 Anniversary 25 "
     "28 BillingInformation 10 29 Birthday 25 30 Children 10 31 Gender 10 32 GovernmentIDNumber 10 "
     "33 Profession 10 34 Spouse 10 35 OrganizationalIDNumber 10 36 CustomerID 10 37 User1 10 38 User2 10 "
     "39 User3 10 40 User4 10 41 User5 10 42 User6 10 43 User7 10 44 User8 10 45 User9 10 "
     "46 BusinessTelephoneNumber 10 47 Business2TelephoneNumber 10 48 HomeTelephoneNumber 10 "
     "49 Home2TelephoneNumber 10 50 OtherTelephoneNumber 10 51 MobileTelephoneNumber 10 "
     "52 Mobile2TelephoneNumber 10 53 BusinessFaxNumber 10 54 HomeFaxNumber 10 55 OtherFaxNumber 10 "
     "56 Email1Address 10 57 Email2Address 10 58 Email3Address 10 59 WebPage 10 60 BusinessHomePage 10 "
     "61 PersonalHomePage 10 62 Chat1 10 63 Chat2 10 64 PagerNumber 10 65 PrimaryTelephoneNumber 10 "
     "66 CompanyMainTelephoneNumber 10 67 reserveCom0 10 68 reserveCom1 10 69 reserveCom2 10 70 ComDisplay 2 "
     "71 ComSort 10 72 Notes 12 73 OutlookItemID 10 "},
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
