#include "shell/catalogue/tips.h"

#include "store/random_source.h"

#include <iterator>

namespace {

constexpr const char* kTips[] = {
    "CALENDAR: You can switch between different calendar views by pressing CTRL and type F1 for 1-day view, F2 for "
    "5-day (workday) view,  F3 for week view and F4 for month view. You can also use the toolbar buttons or the "
    "Calendar menu.",
    "CALENDAR: Switch between todo list and contact list by clicking on the T/C buttons. The contact list contains all "
    "names filed in the address book, the todo list all tasks not yet completed.",
    "CALENDAR: Tasks and contacts (listed in the lower right corner) can be listed by categories.",
    "CALENDAR: You can edit an event by right-clicking on it and selecting \"EDIT\" from the popup menu.",
    "CALENDAR: You can quickly create a new event by double-clicking on the time-slot in the event pane.",
    "CALENDAR: You can easily reschedule an appointment by dragging it  to another day or time. Note: recurring events "
    "cannot by dragged to another day, but can be rescheduled to another time the same day (all recurrences will be "
    "affected).",
    "CALENDAR: You can quickly increase or decrease the duration of an appointment by left-clicking and dragging its "
    "lower edge (end time) up or down.",
    "CALENDAR: A quick way to create a timed event related to a task listed in your todo list: remember that the todo "
    "items yet to complete are listed also in the calendar section. Left click and drag the selected task with the "
    "mouse to the desired date/time slot in the event pane.",
    "CALENDAR: A quick way to create a timed or all-day event related to a contact filed in your address book: "
    "visualize the contact list in the calendar section by clicking the \"C\" button. Left click and drag the selected "
    "contact with the mouse to the desired date/time slot in the event pane.",
    "BACKUP: You should create regular backups (menu: Tools -> Backup). Backup files are zipped to minimize storage "
    "space.",
    "BACKUP: Backup files carry a time stamp in their name: b041224170455.nct means Dec 24, 2004 at 5:04:55 pm. It "
    "enables you to select the last working database with the Restore procedure in case your database gets damaged.",
    "BACKUP: While running the backup procedure, the active database is compacted BEFORE creating the backup file. "
    "This recovers space after deleted records and optimizes the usage of the database.",
    "COMPACT DATABASE: If you do not backup your database periodically, it should be compacted on a regular basis "
    "(e.g. weekly) in order to reduce its size and optimize access. Backing up the database makes this procedure "
    "superfluous.",
    "SECURITY: More than 65000 different keys (composed of random characters) are used to encrypt every single piece "
    "of information (record field)",
    "SECURITY: You should not key in the master passphrase too fast. Antikeylogging measures slow down recording of "
    "keystrokes; very quick typing could result in lost keystrokes (only if using Windows 9x, NT or ME).",
    "SECURITY: After a period of inactivity, the auto-shutdown function will close the program to protect your data "
    "from unauthorized access if you leave the workstation. Alternatively, you can choose to hide all data or the "
    "private data, only, without exiting the program. You define the type of action and the time of inactivity in the "
    "preference window (if you set the time to zero, the program will remain open until you close it manually).",
    "BUDGET: In order to view private transactions, you have BOTH to click the \"Show private\" button in the "
    "Preferences window for the budget you want use, AND the general \"Show Private Records\" function in the View "
    "menu.",
    "SECURITY: You can set a secondary passphrase (PIN) to limit access to entire sections. This is useful if you "
    "allow another user to have access to the database (e.g. your secretary has permission to open the calendar, "
    "budget 1 and the contacts, but budget 2 is blocked with the PIN).",
    "CALENDAR: You can redefine the default duration for timed events in the Preferences window (15, 20, 30 or 60 "
    "minutes)",
    "CONTACTS: You can send an email directly by right-clicking with the mouse on a valid email address in the Address "
    "pane and selecting \"Send Email\" from the popup menu (requires an installed default email client like Outlook "
    "Express or similar).",
    "CONTACTS: If you have a fax modem installed, you can dial a phone number directly by right-clicking with the "
    "mouse on a phone number in the Address pane and select \"Dial\" from the popup menu.",
    "IMPORT: Avoid retyping addresses and appointments by using the import feature in the address and calendar "
    "section. Records can be imported from Outlook and Palm Desktop. Select \"Import\" from the Address or Calendar "
    "menu. From Palm Desktop, ToDo list and Memopad can also be imported.",
    "TASKS: You can change the sorting of the listed tasks by clicking on the column headers. If you click on the "
    "\"Task\" header, the sort order follows Completed/Not completed - Due Date - Priority.",
    "CONTACTS: You can open a web-site directly by right-clicking with the mouse on a valid URL in the Address pane "
    "and selecting \"Open Website\" from the popup menu (requires an installed Web Browser like Internet Explorer, "
    "Netscape or similar).",
    "CONFIDENTIAL DATA: If you copy a stored password (or any other information from your database) to the clipboard "
    "for pasting it into another application outside Noctaria, you must use it within 30 seconds. For security "
    "reasons, the content of the clipboard is erased after 30 seconds or when exiting Noctaria.",
    "SECURITY: You can immediately hide all information marked as private by clicking on the Hide Private Data button "
    "on the toolbar. Making it re-appear requires re-entering the master passphrase.",
    "GENERAL: If you delete a category, all items listed under that category will be moved to the \"Unfiled\" "
    "category. You can never delete the \"Unfiled\" category.",
};

static_assert(std::size(kTips) == kTipCount);

} // namespace

QString TipText(int n) {
    if (n < 1 || n > kTipCount) {
        return {};
    }
    return QString::fromUtf8(kTips[n - 1]);
}

QString NextTip(RandomSource& random) {
    return TipText(static_cast<int>(random.below(kTipCount)) + 1);
}

std::pair<QString, QString> SplitTip(const QString& tip) {
    const qsizetype colon = tip.indexOf(QLatin1Char(':'));
    return {tip.left(colon + 1), tip.mid(colon + 2)};
}
