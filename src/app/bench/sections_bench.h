#pragma once

class QTextStream;

namespace bench {

// Fills a new database with 100,000 memos over 50 categories and 10,000 diary days, and times a category's memo
// list, one memo's display and a diary week beside raw Botan and SQLite doing the same reading, printing the
// table to `out`. Returns 0 when every list and record agrees with what was written, 1 otherwise.
int RunSectionsBench(QTextStream& out, QTextStream& err);

} // namespace bench
