// Opening a sealed text (key pool rows, keystrings, user rows) on any bytes under any pass.
//
// Input: the length of the pass (1 byte), the pass, then the sealed text.

#include "fuzz_support.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray input = fuzz::Bytes(data, size);
    if (input.isEmpty()) {
        return 0;
    }
    const auto passLength = static_cast<unsigned char>(input[0]);
    const QByteArray pass = input.mid(1, passLength);
    const QByteArray sealed = input.mid(1 + passLength);
    const QByteArray text = CRY::Unseal(sealed, pass);
    // What opens must seal and open again to itself.
    if (!text.isEmpty() && CRY::Unseal(fuzz::FixedCipher().Seal(text, pass), pass) != text) {
        std::abort();
    }
    return 0;
}
