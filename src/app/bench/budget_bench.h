#pragma once

class QTextStream;

namespace bench {

// Fills a new database with 100,000 transactions and times the month list, a year's balance and the TOTAL
// balance beside raw Botan and SQLite doing the same reading, printing the table to `out`. Returns 0 when the
// list and the sums agree with what was written, 1 otherwise.
int RunBudgetBench(QTextStream& out, QTextStream& err);

} // namespace bench
