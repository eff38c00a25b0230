// QIF files on any bytes: in every day and month order the reader must neither crash nor hang, and every row it
// reads has a real date and the line of its record.

#include "fuzz_support.h"

#include "budget/statements/qif_statement.h"

#include <cstdlib>

using namespace budget::statements;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray bytes = fuzz::Bytes(data, size);
    for (DayMonthOrder order : {DayMonthOrder::Undecided, DayMonthOrder::MonthFirst, DayMonthOrder::DayFirst}) {
        const Statement statement = ReadQifStatement(bytes, order);
        for (const StatementRow& row : statement.rows) {
            if (!row.date.isValid() || row.line < 1) {
                std::abort();
            }
        }
    }
    return 0;
}
