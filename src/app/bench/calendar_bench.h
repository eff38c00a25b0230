#pragma once

class QTextStream;

namespace bench {

// Fills a new database with 100,000 single appointments over ten years and 1,000 series of every kind, and times
// a day, a workweek, a week and a month view's occurrences at several dates beside raw Botan and SQLite
// deciphering the same rows, printing the table to `out`. Returns 0 when every range agrees with what was
// written, 1 otherwise.
int RunCalendarBench(QTextStream& out, QTextStream& err);

} // namespace bench
