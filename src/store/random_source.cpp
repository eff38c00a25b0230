#include "store/random_source.h"

#include <botan/system_rng.h>

std::uint16_t SystemRandom::selector() {
    return static_cast<std::uint16_t>(below(65536));
}

int SystemRandom::blankCount() {
    return static_cast<int>(below(13));
}

void SystemRandom::bytes(std::uint8_t* out, std::size_t n) {
    if (n > 0) {
        Botan::system_rng().randomize(out, n);
    }
}

std::uint32_t SystemRandom::below(std::uint32_t bound) {
    if (bound <= 1) {
        return 0;
    }
    // Rejection sampling keeps the draw uniform.
    const std::uint32_t limit = UINT32_MAX - UINT32_MAX % bound;
    std::uint32_t r = 0;
    do {
        bytes(reinterpret_cast<std::uint8_t*>(&r), sizeof r);
    } while (r >= limit);
    return r % bound;
}

RandomSource& StrongRandom() {
    static SystemRandom random;
    return random;
}

void ScriptedRandom::setVector(const std::uint8_t* bytes, std::size_t n) {
    m_vector.assign(bytes, n);
}

void ScriptedRandom::setSalt(const std::uint8_t* bytes, std::size_t n) {
    m_salt.assign(bytes, n);
}

void ScriptedRandom::bytes(std::uint8_t* out, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) {
        out[i] = static_cast<std::uint8_t>(m_counter++);
    }
}

void ScriptedRandom::Repeat(const std::basic_string<std::uint8_t>& from, std::uint8_t* out, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) {
        out[i] = from.empty() ? 0 : from[i % from.size()];
    }
}
