#pragma once

#include <QStringList>

class QTextStream;

namespace bench {

// Fills a new database with records of all seven sections (100,000 unless `options` say `--records N`), a few
// percent of them holding one word, and times Find's search for that word over every section, grouped by key
// selector on every core in passes of `--pass-megabytes M` of the file at most, beside the same search row by
// row on one thread (left out with `--skip-row-by-row`), printing the times, the ratio, the key schedules and the
// memory peak to `out`. Returns 0 when both searches give the same hits and the grouped one schedules no more keys
// than there are selectors, 1 otherwise, 2 for options it does not know.
int RunFindBench(const QStringList& options, QTextStream& out, QTextStream& err);

} // namespace bench
