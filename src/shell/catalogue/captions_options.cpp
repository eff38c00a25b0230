#include "shell/catalogue/caption_tables.h"

namespace captions {
namespace {

using P = CaptionProperty;

constexpr CaptionEntry kEntries[] = {
    {nullptr, -1, P::Caption, "Preferences"},
    {"tbsOptions", 0, P::Caption, "Startup"},
    {"tbsOptions", 1, P::Caption, "Calendar"},
    {"tbsOptions", 2, P::Caption, "Security"},
    {"tbsOptions", 3, P::Caption, "Contacts"},
    {"cmdOK", -1, P::Caption, "OK"},
    {"cmdCancel", -1, P::Caption, "Cancel"},

    // Startup
    {"fraStartScreen", -1, P::Caption, "At Startup"},
    {"StartScreen", 0, P::Caption, "Show Start Screen"},
    {"StartScreen", 1, P::Caption, "Goto Section"},
    {"StartScreen", 2, P::Caption, "Show Last Section Used "},
    {"fraDiaryShow", -1, P::Caption, "Diary"},
    {"DiaryShow", 0, P::Caption, "1 Day"},
    {"DiaryShow", 1, P::Caption, "7 Days"},
    {"DiaryShow", 2, P::Caption, "Last Used"},
    {"fraCatShow", -1, P::Caption, "Categories"},
    {"CatShow", 0, P::Caption, "All"},
    {"CatShow", 1, P::Caption, "Last Used"},
    {"fraTodo", -1, P::Caption, "Tasks"},
    {"TodoShowCompleted", -1, P::Caption, "Show Completed Tasks"},
    // The names the start section list offers, by section number; no control carries them.
    {"SectionName", 11, P::Caption, "Contacts"},
    {"SectionName", 12, P::Caption, "Calendar"},
    {"SectionName", 13, P::Caption, "Diary"},
    {"SectionName", 14, P::Caption, "Memo"},
    {"SectionName", 15, P::Caption, "Tasks"},
    {"SectionName", 16, P::Caption, "Confidential"},
    {"SectionName", 17, P::Caption, "Budget"},

    // Calendar
    {"fraCalView", -1, P::Caption, "Calendar View"},
    {"CalView", 0, P::Caption, "Day"},
    {"CalView", 1, P::Caption, "Workdays (Mon-Fri)"},
    {"CalView", 2, P::Caption, "Week"},
    {"CalView", 3, P::Caption, "Month"},
    {"fraAppDuration", -1, P::Caption, "Default Appointment Duration"},
    {"AppDuration", 0, P::Caption, "15 min"},
    {"AppDuration", 1, P::Caption, "20 min"},
    {"AppDuration", 2, P::Caption, "30 min"},
    {"AppDuration", 3, P::Caption, "60 min"},
    {"AppDuration", 4, P::Caption, "90 min"},
    {"AppDuration", 5, P::Caption, "120 min"},
    {"fraTimes", -1, P::Caption, "Days and Times"},
    {"lblStepHour", -1, P::Caption, "Hours"},
    {"lblStepQuarter", -1, P::Caption, "Minutes"},
    {"lblWorkdayStart", -1, P::Caption, "Workday Start:"},
    {"lblWorkdayEnd", -1, P::Caption, "Workday End:"},
    {"lblDisplayFrom", -1, P::Caption, "Display From:"},
    // Presets only: the stored times replace them when the dialog loads.
    {"WorkdayStart", -1, P::Caption, "08:00"},
    {"WorkdayEnd", -1, P::Caption, "16:00"},
    {"DisplayFrom", -1, P::Caption, "07:30"},
    {"udHN", 0, P::ToolTipText, "1 hour"},
    {"udHN", 1, P::ToolTipText, "1 hour"},
    {"udHN", 2, P::ToolTipText, "1 hour"},
    {"udHN", 3, P::ToolTipText, "15 minutes"},
    {"udHN", 4, P::ToolTipText, "15 minutes"},
    {"udHN", 5, P::ToolTipText, "15 minutes"},
    {"lblFirstDayOfWeek", -1, P::Caption, "First Day of Week:"},
    {"fraCalendarDisplayPrivate", -1, P::Caption, "Private Appointments While Hidden"},
    {"CalendarDisplayPrivate", 0, P::Caption, "Totally"},
    {"CalendarDisplayPrivate", 1, P::Caption, "Show Placeholder"},

    // Security
    {"fraIdle", -1, P::Caption, "Inactivity"},
    {"lblIdle", -1, P::Caption, "Act after"},
    {"lblIdleMinutes", -1, P::Caption, "minutes without activity (0: never)"},
    {"cmdChangeIdle", -1, P::Caption, "Change"},
    {"optIdle", 0, P::Caption, "Hide Private Data"},
    {"optIdle", 1, P::Caption, "Hide All Data (Auto-Block)"},
    {"optIdle", 1, P::ToolTipText,
     "Program returns to Startscreen. Data are hidden. Password entry is requested before reaccessing data.Program "
     "is not shut down."},
    {"optIdle", 2, P::Caption, "Exit Program (Auto-Shutoff)"},
    {"optIdle", 2, P::ToolTipText,
     "Program is closed. Running functions (like reminder, periodical mail downloads and other functions running in "
     "the background are interrupted."},
    {"fraPIN", -1, P::Caption, "PIN"},
    {"cmdPIN", -1, P::Caption, "Set PIN"},
    {"lblPIN", -1, P::Caption, "PIN:"},
    {"lblPinHint", -1, P::Caption, "(PIN can take any number of numbers/characters)"},
    {"lblPinApp", -1, P::Caption, "Ask for:"},
    {"PinApp", 0, P::Caption, "Contacts"},
    {"PinApp", 1, P::Caption, "Calendar"},
    {"PinApp", 2, P::Caption, "Diary"},
    {"PinApp", 3, P::Caption, "Memo"},
    {"PinApp", 4, P::Caption, "Tasks"},
    {"PinApp", 5, P::Caption, "Confidential"},
    {"lblPINeveryaccess", -1, P::Caption, "Ask:"},
    {"PINeveryaccess", 0, P::Caption, "once a session"},
    {"PINeveryaccess", 1, P::Caption, "at every access"},
    {"cmdPINhide", -1, P::Caption, "OK"},
    {"chkShowPrivate", -1, P::Caption, "Show Private At Startup"},
    {"cmdPWchange", -1, P::Caption, "Change Master Passphrase"},

    // Contacts
    {"fraAdd2Calendar", -1, P::Caption, "Add to Calendar"},
    {"chkBirthday2Calendar", -1, P::Caption, "Birthdays"},
    {"chkAnniversary2Calendar", -1, P::Caption, "Anniversaries"},
    {"fraUserDefined", -1, P::Caption, "Labels of the User Defined Fields"},
    {"lblUserDefined", 0, P::Caption, "1:"},
    {"lblUserDefined", 1, P::Caption, "2:"},
    {"lblUserDefined", 2, P::Caption, "3:"},
    {"lblUserDefined", 3, P::Caption, "4:"},
    {"lblUserDefined", 4, P::Caption, "5:"},
    {"lblUserDefined", 5, P::Caption, "6:"},
    {"lblUserDefined", 6, P::Caption, "7:"},
    {"lblUserDefined", 7, P::Caption, "8:"},
    {"lblUserDefined", 8, P::Caption, "9:"},
};

} // namespace

const std::span<const CaptionEntry> kOptions = kEntries;

} // namespace captions
