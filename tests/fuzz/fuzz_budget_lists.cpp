// The deciphered texts of the budget list and the payment modes, on any bytes. Both are read as belonging to
// user 3, whose header is "03 00 00 00 11".

#include "fuzz_support.h"

#include "budget/budget_lists.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray plain = fuzz::Bytes(data, size);
    budget::ParseBudgetList(3, plain);
    if (const std::optional<budget::PayModes> modes = budget::ParsePayModes(3, plain)) {
        budget::PayModeEntries(*modes, true);
    }
    return 0;
}
