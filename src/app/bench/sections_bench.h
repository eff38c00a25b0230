#pragma once

class QTextStream;

namespace bench {

// Fills a new database with 100,000 memos over 50 categories, 10,000 diary days, 100,000 tasks, 20,000 vault
// records and 50,000 contacts, and times a category's memo list, one memo's display, a diary week, the task
// lists, a vault sub-category's list, the list of all contacts, a category's contacts and one contact's pane
// beside raw Botan and SQLite doing the same reading, printing the table to `out`. Returns 0 when every list and
// record agrees with what was written, 1 otherwise.
int RunSectionsBench(QTextStream& out, QTextStream& err);

} // namespace bench
