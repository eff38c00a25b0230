#include "shell/catalogue/caption_tables.h"

namespace captions {
namespace {

using P = CaptionProperty;

constexpr CaptionEntry kNotepadEntries[] = {
    {nullptr, -1, P::Caption, "Memo"},
    {"cmdAdd", -1, P::Caption, "New"},
    {"cmdEdit", -1, P::Caption, "Edit"},
    {"cmdDelete", -1, P::Caption, "Delete"},
    {"ctlPrivate", -1, P::Caption, "Private"},
    {"cmdAdd", -1, P::ToolTipText, "New memo (Ctrl+N)"},
    {"cmdEdit", -1, P::ToolTipText, "Edit the memo (Ctrl+E)"},
    {"cmdDelete", -1, P::ToolTipText, "Delete the memo (Ctrl+D)"},
    {"mnuMemoDeleteCategory", -1, P::Caption, "Delete All Memos in this &Category"},
    {"mnuMemoDeleteAll", -1, P::Caption, "Delete &All Memos"},
};

constexpr CaptionEntry kEditNotepadEntries[] = {
    {nullptr, -1, P::Caption, "Memo"},
    {"lblSubject", -1, P::Caption, "Subject:"},
    {"lblCategory", -1, P::Caption, "Category:"},
    {"ctlPrivate", -1, P::Caption, "Private"},
    {"cmdOK", -1, P::Caption, "OK"},
    {"cmdEsc", -1, P::Caption, "Esc"},
};

constexpr CaptionEntry kDiaryEntries[] = {
    {nullptr, -1, P::Caption, "Diary"},          {"lblTitel", -1, P::Caption, "Diary"},
    {"diaPeriod", 0, P::Caption, "1 Day"},       {"diaPeriod", 1, P::Caption, "7 Days"},
    {"diaMoveDown", -1, P::ToolTipText, "Back"}, {"diaMoveUp", -1, P::ToolTipText, "Forward"},
};

constexpr CaptionEntry kEditTextEntries[] = {
    {"cmdOK", -1, P::Caption, "OK"},
    {"cmdEsc", -1, P::Caption, "Esc"},
};

constexpr CaptionEntry kTodoEntries[] = {
    {nullptr, -1, P::Caption, "Tasks"},
    {"cmdAdd", -1, P::Caption, "New"},
    {"cmdEdit", -1, P::Caption, "Edit"},
    {"cmdDelete", -1, P::Caption, "Delete"},
    {"cmdAdd", -1, P::ToolTipText, "New task (Ctrl+N)"},
    {"cmdEdit", -1, P::ToolTipText, "Edit the task (Ctrl+E)"},
    {"cmdDelete", -1, P::ToolTipText, "Delete the task (Ctrl+D)"},
    {"ShowCompleted", -1, P::Caption, "Show completed tasks"},
    {"mnuTodoEdit", -1, P::Caption, "&Edit Task"},
    {"mnuCompleted", -1, P::Caption, "&Completed"},
    {"mnuTodoPriorities", -1, P::Caption, "&Priority"},
    {"mnuTodoPriority", 0, P::Caption, "&High"},
    {"mnuTodoPriority", 1, P::Caption, "&Normal"},
    {"mnuTodoPriority", 2, P::Caption, "&Low"},
    {"mnuTodoRCDueDate", -1, P::Caption, "&Due Date"},
    {"mnuTodoRCDueDateChooseDate", -1, P::Caption, "&Choose Date..."},
    {"mnuTodoRCDueDateNoDate", -1, P::Caption, "&No Date"},
    {"mnuTodoDeleteItem", -1, P::Caption, "&Delete Task"},
    {"mnuTodoDeleteCompleted", -1, P::Caption, "Delete Completed &Tasks"},
    {"mnuTodoDeleteAll", -1, P::Caption, "Delete &All Tasks"},
};

constexpr CaptionEntry kEditTodoEntries[] = {
    {nullptr, -1, P::Caption, "Task"},
    {"lblTask", -1, P::Caption, "Task:"},
    {"lblPriority", -1, P::Caption, "Priority:"},
    {"ctlPri", 0, P::Caption, "High"},
    {"ctlPri", 1, P::Caption, "Normal"},
    {"ctlPri", 2, P::Caption, "Low"},
    {"ctlPrivate", -1, P::Caption, "Private"},
    {"lblCategory", -1, P::Caption, "Category:"},
    {"lblDateDue", -1, P::Caption, "Due date:"},
    {"lblDateCompleted", -1, P::Caption, "Completed:"},
    {"lblNote", -1, P::Caption, "Note:"},
    {"cmdOK", -1, P::Caption, "OK"},
    {"cmdEsc", -1, P::Caption, "Esc"},
};

constexpr CaptionEntry kClassifiedEntries[] = {
    {nullptr, -1, P::Caption, "Confidential"},
    {"cmdAdd", -1, P::Caption, "New"},
    {"cmdEdit", -1, P::Caption, "Edit"},
    {"cmdDelete", -1, P::Caption, "Delete"},
    {"cmdAdd", -1, P::ToolTipText, "New record (Ctrl+N)"},
    {"cmdEdit", -1, P::ToolTipText, "Edit the record (Ctrl+E)"},
    {"cmdDelete", -1, P::ToolTipText, "Delete the record (Ctrl+D)"},
    {"chkPlainPW", -1, P::Caption, "Show Plain Password"},
    {"ctlPrivate", -1, P::Caption, "Private"},
    {"tbrWeakPasswords", -1, P::ToolTipText, "Weak or reused passwords"},
};

constexpr CaptionEntry kEditConfidentialEntries[] = {
    {nullptr, -1, P::Caption, "Confidential"},
    {"ctlPrivate", -1, P::Caption, "Private"},
    {"cmdOK", -1, P::Caption, "OK"},
    {"cmdEsc", -1, P::Caption, "Esc"},
};

constexpr CaptionEntry kAddressEntries[] = {
    {nullptr, -1, P::Caption, "Contacts"},
    {"cmdAdd", -1, P::ToolTipText, "New contact (Ctrl+N)"},
    {"cmdEdit", -1, P::ToolTipText, "Edit the contact (Ctrl+E)"},
    {"cmdDelete", -1, P::ToolTipText, "Delete the contact (Ctrl+D)"},
    {"mnuAddressImportVCard", -1, P::Caption, "&Import vCard File..."},
    {"mnuAddressExportVCard", -1, P::Caption, "Export Contacts as &vCard..."},
    {"mnuAddressExportTab", -1, P::Caption, "Export Contacts as &Tab-Delimited Text..."},
    {"mnuAddressDeleteCategory", -1, P::Caption, "Delete All Contacts in this &Category"},
    {"mnuAddressDeleteAll", -1, P::Caption, "Delete &All Contacts"},
    {"mnuAddressBoxRCcopy", -1, P::Caption, "&Copy"},
    {"mnuAddressBoxRCStripped", -1, P::Caption, "Copy &without Blanks"},
    {"mnuAddressBoxRCSendMail", -1, P::Caption, "Send &Mail"},
    {"mnuAddressBoxRCwww", -1, P::Caption, "Open &Web Page"},
    {"mnuAddressBoxRCDialPhone", -1, P::Caption, "&Dial..."},
    {"mnuAddressListRCEdit", -1, P::Caption, "&Edit"},
    {"mnuAddressListRCDelete", -1, P::Caption, "&Delete"},
    {"mnuAddressListRCExport", -1, P::Caption, "E&xport Selected as vCard..."},
};

constexpr CaptionEntry kWeakPasswordsEntries[] = {
    {nullptr, -1, P::Caption, "Weak or reused passwords"},
    {"cmdGoto", -1, P::Caption, "Go to"},
    {"cmdClose", -1, P::Caption, "Close"},
};

// The section boxes take their names from the message catalogue, as the list's section column does.
constexpr CaptionEntry kFindEntries[] = {
    {nullptr, -1, P::Caption, "Find"},
    {"lblFind", -1, P::Caption, "Fi&nd what:"},
    {"chkCaseSensitive", -1, P::Caption, "Case sensitive"},
    {"fraSections", -1, P::Caption, "Search in"},
    {"cmdSelectAll", -1, P::Caption, "Select All"},
    {"cmdDeselect", -1, P::Caption, "Deselect All"},
    {"cmdFind", -1, P::Caption, "Find"},
    {"cmdGoto", -1, P::Caption, "Go To"},
    {"cmdCancel", -1, P::Caption, "Cancel"},
};

} // namespace

const std::span<const CaptionEntry> kFind = kFindEntries;
const std::span<const CaptionEntry> kClassified = kClassifiedEntries;
const std::span<const CaptionEntry> kEditConfidential = kEditConfidentialEntries;
const std::span<const CaptionEntry> kWeakPasswords = kWeakPasswordsEntries;
const std::span<const CaptionEntry> kTodo = kTodoEntries;
const std::span<const CaptionEntry> kEditTodo = kEditTodoEntries;
const std::span<const CaptionEntry> kNotepad = kNotepadEntries;
const std::span<const CaptionEntry> kEditNotepad = kEditNotepadEntries;
const std::span<const CaptionEntry> kAddress = kAddressEntries;
const std::span<const CaptionEntry> kDiary = kDiaryEntries;
const std::span<const CaptionEntry> kEditText = kEditTextEntries;

} // namespace captions
