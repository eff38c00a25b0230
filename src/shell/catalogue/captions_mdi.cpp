#include "shell/catalogue/caption_tables.h"

namespace captions {
namespace {

using P = CaptionProperty;

constexpr CaptionEntry kEntries[] = {
    {nullptr, -1, P::Caption, "Noctaria"},
    {"mnuFile", -1, P::Caption, "&File"},
    {"mnuFileNew", -1, P::Caption, "&New..."},
    {"mnuFileOpen", -1, P::Caption, "&Open..."},
    {"mnuFileCloseSection", -1, P::Caption, "Close &Form"},
    {"mnuFileCloseDB", -1, P::Caption, "Close &Database"},
    {"mnuFilePrint", -1, P::Caption, "&Print..."},
    {"mnuFileExportPdf", -1, P::Caption, "Export as P&DF..."},
    {"mnuFileQuit", -1, P::Caption, "E&xit"},
    {"mnuEdit", -1, P::Caption, "&Edit"},
    {"mnuEditCut", -1, P::Caption, "Cut"},
    {"mnuEditCopy", -1, P::Caption, "Copy"},
    {"mnuEditPaste", -1, P::Caption, "Paste"},
    {"mnuEditFind", -1, P::Caption, "&Find"},
    {"mnuEditChangePW", -1, P::Caption, "Change Pass&word"},
    {"mnuEditUsers", -1, P::Caption, "&Users"},
    {"mnuView", -1, P::Caption, "&View"},
    {"mnuViewSection", 0, P::Caption, "Startscr&een"},
    {"mnuViewSection", 1, P::Caption, "&Calendar"},
    {"mnuViewSection", 2, P::Caption, "&Todo"},
    {"mnuViewSection", 3, P::Caption, "&Addressbook"},
    {"mnuViewSection", 4, P::Caption, "&Memo"},
    {"mnuViewSection", 5, P::Caption, "&Diary"},
    {"mnuViewSection", 6, P::Caption, "Con&fidential"},
    {"mnuViewSection", 7, P::Caption, "&Budget"},
    {"mnuViewShowPrivate", -1, P::Caption, "&Show Private Records"},
    {"mnuTodo", -1, P::Caption, "&Tasks"},
    {"mnuMemo", -1, P::Caption, "&Memos"},
    {"mnuAddress", -1, P::Caption, "&Contacts"},
    {"mnuBudget", -1, P::Caption, "&Budget"},
    {"mnuCalendar", -1, P::Caption, "&Calendar"},
    {"mnuTools", -1, P::Caption, "&Tools"},
    {"mnuToolsBackup", -1, P::Caption, "&Backup Database"},
    {"mnuToolsDbUtilities", -1, P::Caption, "&Other Database Utilities"},
    {"mnuToolsDbUtilitiesRepairCompact", -1, P::Caption, "&Repair and Compact Database"},
    {"mnuToolsDbUtilitiesRestore", -1, P::Caption, "&Restore Earlier Database"},
    {"mnuToolsPreferences", -1, P::Caption, "&Preferences..."},
    {"mnuHelp", -1, P::Caption, "&Help"},
    {"mnuHelpOnline", -1, P::Caption, "&Online Help"},
    {"mnuHelpTipOfDay", -1, P::Caption, "Show &Tip of the Day"},
    {"mnuHelpWebsite", -1, P::Caption, "&Marrowline Website"},
    {"mnuHelpAbout", -1, P::Caption, "A&bout Noctaria"},
    {"Reset", -1, P::ToolTipText, "Exit"},
    {"Lock", -1, P::ToolTipText, "Hide Private Records"},
    {"Find", -1, P::ToolTipText, "Find"},
    {"itCalDay", -1, P::ToolTipText, "Day"},
    {"itCalWork", -1, P::ToolTipText, "Workdays"},
    {"itCalWeek", -1, P::ToolTipText, "Week"},
    {"itCalMonth", -1, P::ToolTipText, "Month"},
    {"itCalNewApp", -1, P::ToolTipText, "New Appointment"},
    {"itCalNewAllday", -1, P::ToolTipText, "New Allday Event"},
    {"op12", -1, P::Caption, "  Calendar"},
    {"op15", -1, P::Caption, "Tasks"},
    {"op11", -1, P::Caption, "Contacts"},
    {"op14", -1, P::Caption, "Memo"},
    {"op13", -1, P::Caption, "Diary"},
    {"op16", -1, P::Caption, "Confidential"},
    {"op17", -1, P::Caption, "Budget"},
    {"autoshutoff", -1, P::ToolTipText, "Idle Countdown to Shutdown"},
};

} // namespace

const std::span<const CaptionEntry> kMDI = kEntries;

} // namespace captions
