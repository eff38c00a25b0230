// The cipher layer's readers on any cipher text under a fixed key pool: record texts bound to their row and
// unbound, the same texts through the search's own Blowfish, texts under the record key as it stands, sealed titles,
// and the Rijndael framing.
//
// Input: the row's key (4 bytes, low byte first), the reader's owner byte, a flag byte (1: private rows hidden,
// 2: the reader may read every owner), then the cipher text.

#include "fuzz_support.h"

#include "store/conversion.h"
#include "store/record_get.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray input = fuzz::Bytes(data, size);
    if (input.size() < 6) {
        return 0;
    }
    CRY& cry = fuzz::FixedCipher();
    const std::int32_t fpk = CONVERSION::BytesToLong(input.left(4));
    Record_Get::TitleAccess access;
    access.owner = static_cast<std::uint8_t>(input[4]);
    access.hidePrivate = (input[5] & 1) != 0;
    if ((input[5] & 2) != 0) {
        access.rightsOn.set();
    }
    const QByteArray text = input.mid(6);

    const QByteArray bound = cry.Cipher(fpk, 2, text);
    // Whatever deciphers must encipher and decipher again to itself.
    if (!bound.isEmpty() && cry.Cipher(fpk, 2, cry.Cipher(fpk, 1, bound)) != bound) {
        std::abort();
    }
    // The search's own Blowfish must open exactly what the library's opens.
    if (const int selector = CRY::Selector(text); selector >= 0) {
        cry.SelectKey(selector);
        const CRY::SecureBytes key = cry.RecordKey();
        const std::span<const std::uint8_t> keys[] = {key};
        blowfish_lanes::Schedule schedule;
        blowfish_lanes::MakeSchedules(keys, &schedule);
        if (cry.OpenRecord(fpk, text, schedule) != bound) {
            std::abort();
        }
    }
    cry.Cipher(fpk, 6, text);
    cry.SelectKey(fpk);
    cry.Cipher(fpk, 4, text);
    Record_Get::OpenTitle(cry, fpk, text, access);
    CRY::RijndaelText(text, input.left(6), false, 192, 256);
    return 0;
}
