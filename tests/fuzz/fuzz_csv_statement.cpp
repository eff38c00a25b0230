// Bank statements in CSV on any bytes: detection, preview and reading must neither crash nor hang, every row read
// has a real date, and the guessed mapping survives its text form.

#include "fuzz_support.h"

#include "budget/statements/csv_statement.h"

#include <cstdlib>

using namespace budget::statements;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray bytes = fuzz::Bytes(data, size);
    const CsvDialect dialect = DetectDialect(bytes);
    PreviewRows(bytes, dialect, 5);
    const CsvMapping guessed = GuessMapping(HeaderCells(bytes, dialect));
    if (CsvMapping::FromText(guessed.toText()) != guessed) {
        std::abort();
    }
    const CsvMapping fixed = *CsvMapping::FromText(QStringLiteral("date=0;item=1;partner=2;credit=3;debit=4;note=5"));
    for (const CsvMapping& mapping : {guessed, fixed}) {
        const Statement statement = ReadCsvStatement(bytes, dialect, mapping);
        for (const StatementRow& row : statement.rows) {
            if (!row.date.isValid() || row.line < 1) {
                std::abort();
            }
        }
        if (statement.refused.size() > statement.refusedCount) {
            std::abort();
        }
    }
    return 0;
}
