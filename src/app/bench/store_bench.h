#pragma once

class QTextStream;

namespace bench {

// Times writing and scanning enciphered rows through the store beside raw Botan and SQLite doing the same work,
// and prints the table to `out`. Returns 0 when every row came back intact, 1 otherwise.
int RunStoreBench(QTextStream& out, QTextStream& err);

} // namespace bench
