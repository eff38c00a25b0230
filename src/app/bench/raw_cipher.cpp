#include "app/bench/raw_cipher.h"

#include <botan/cipher_mode.h>

#include <algorithm>

namespace bench {

CRY::SecureBytes AllRecordKeys(const CRY::SecureBytes& pool) {
    CRY cry;
    cry.setKeyPool(pool);
    CRY::SecureBytes keys(kSelectors * kKeyBytes);
    for (int r = 0; r < kSelectors; ++r) {
        cry.SelectKey(r);
        std::copy(cry.RecordKey().begin(), cry.RecordKey().end(), keys.begin() + r * kKeyBytes);
    }
    return keys;
}

std::optional<std::size_t> DecipherRaw(Botan::Cipher_Mode& mode, const CRY::SecureBytes& keys, std::int64_t fpk,
                                       const std::uint8_t* p, std::size_t n, CRY::SecureBytes& buffer) {
    const std::size_t head = kSelectorBytes + kBlock;
    if (p == nullptr || n < head + kBlock || (n - head) % kBlock != 0) {
        return std::nullopt;
    }
    const std::size_t selector = 256u * p[0] + p[1];
    buffer.assign(p + head, p + n);
    mode.set_key(keys.data() + selector * kKeyBytes, kKeyBytes);
    mode.start(p + kSelectorBytes, kBlock);
    mode.finish(buffer);
    const std::size_t pad = buffer.back();
    if (pad + 1 + kPrefixBytes > buffer.size() || buffer[buffer.size() - pad - 1] != kMarker) {
        return std::nullopt;
    }
    std::uint32_t lead = 0;
    for (std::size_t b = 0; b < kPrefixBytes; ++b) {
        lead |= static_cast<std::uint32_t>(buffer[b]) << (8 * b);
    }
    if (lead != static_cast<std::uint32_t>(fpk)) {
        return std::nullopt;
    }
    return buffer.size() - pad - 1 - kPrefixBytes;
}

} // namespace bench
