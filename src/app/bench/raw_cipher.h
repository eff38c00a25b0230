#pragma once

#include "store/cry.h"

#include <QElapsedTimer>

#include <cstddef>
#include <cstdint>
#include <optional>

namespace Botan {
class Cipher_Mode;
}

// What the benchmarks' raw side needs to read and write record cipher texts without the store: the form's
// sizes, every record key of a pool, and one record deciphered by hand.
namespace bench {

constexpr int kSelectors = 65536;
constexpr std::size_t kKeyBytes = 16;
constexpr std::size_t kBlock = 8;
constexpr std::size_t kSelectorBytes = 2;
constexpr std::size_t kPrefixBytes = 4;
constexpr std::uint8_t kMarker = 3;

// Every record key of the pool, worked out once before timing, so that the limit pays for the cipher alone.
CRY::SecureBytes AllRecordKeys(const CRY::SecureBytes& pool);

// Deciphers a stored record (selector, vector, cipher text) into `buffer` with its precomputed key. The length
// of the text behind the row's key prefix when the marker, the padding and the prefix check out, as the store
// checks them; nothing otherwise.
std::optional<std::size_t> DecipherRaw(Botan::Cipher_Mode& mode, const CRY::SecureBytes& keys, std::int64_t fpk,
                                       const std::uint8_t* p, std::size_t n, CRY::SecureBytes& buffer);

inline double MillisecondsOf(const QElapsedTimer& timer) {
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

} // namespace bench
