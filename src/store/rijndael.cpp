#include "rijndael.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace rijndael {

namespace {

constexpr std::size_t kMaxColumns = 8;

// Multiplication by x in GF(2^8) modulo x^8 + x^4 + x^3 + x + 1, branch-free so timing does not depend on data.
constexpr std::uint8_t xtime(std::uint8_t x) {
    return static_cast<std::uint8_t>((x << 1) ^ ((x >> 7) * 0x1b));
}

constexpr std::uint8_t gfMul(std::uint8_t a, std::uint8_t b) {
    std::uint8_t product = 0;
    for (int bit = 0; bit < 8; ++bit) {
        product = static_cast<std::uint8_t>(product ^ (a * (b & 1)));
        a = xtime(a);
        b = static_cast<std::uint8_t>(b >> 1);
    }
    return product;
}

constexpr std::uint8_t rotl8(std::uint8_t v, int n) {
    return static_cast<std::uint8_t>((v << n) | (v >> (8 - n)));
}

struct SBoxes {
    std::array<std::uint8_t, 256> forward{};
    std::array<std::uint8_t, 256> inverse{};
};

// Derived from the algebraic definition (inverse in GF(2^8), then the affine map) rather than a transcribed table,
// so a typo cannot silently weaken the cipher. Lookups are indexed by secret bytes (cache timing); accepted for
// clarity since the cipher only runs locally on the user's own data.
constexpr SBoxes makeSBoxes() {
    SBoxes boxes;
    for (unsigned v = 0; v < 256; ++v) {
        const auto x = static_cast<std::uint8_t>(v);
        // x^254 is the multiplicative inverse and maps 0 to 0, as the cipher requires.
        std::uint8_t power = x;
        std::uint8_t inverse = 1;
        for (int i = 1; i < 8; ++i) {
            power = gfMul(power, power);
            inverse = gfMul(inverse, power);
        }
        const auto s = static_cast<std::uint8_t>(inverse ^ rotl8(inverse, 1) ^ rotl8(inverse, 2) ^ rotl8(inverse, 3) ^
                                                 rotl8(inverse, 4) ^ 0x63);
        boxes.forward[v] = s;
        boxes.inverse[s] = x;
    }
    return boxes;
}

constexpr SBoxes kSBoxes = makeSBoxes();
static_assert(kSBoxes.forward[0x00] == 0x63 && kSBoxes.forward[0x53] == 0xed && kSBoxes.inverse[0xed] == 0x53);

// The designers chose larger offsets for 256-bit blocks to resist truncated-differential and Square attacks.
constexpr std::size_t shiftOffset(std::size_t nb, std::size_t row) {
    return (nb == 8 && row >= 2) ? row + 1 : row;
}

void secureWipe(void* data, std::size_t size) {
    // Volatile stores are not elided even though the memory is dead afterwards.
    volatile auto* bytes = static_cast<volatile std::uint8_t*>(data);
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = 0;
}

bool isValidSize(std::size_t bytes) {
    return bytes == 16 || bytes == 24 || bytes == 32;
}

// The state is column-major: byte (row, column) lives at state[row + 4 * column], matching the input byte order.
void substitute(std::uint8_t* state, std::size_t nb, const std::array<std::uint8_t, 256>& box) {
    for (std::size_t i = 0; i < 4 * nb; ++i)
        state[i] = box[state[i]];
}

void shiftRows(std::uint8_t* state, std::size_t nb) {
    std::uint8_t row[kMaxColumns];
    for (std::size_t r = 1; r < 4; ++r) {
        const std::size_t offset = shiftOffset(nb, r);
        for (std::size_t c = 0; c < nb; ++c)
            row[c] = state[r + 4 * ((c + offset) % nb)];
        for (std::size_t c = 0; c < nb; ++c)
            state[r + 4 * c] = row[c];
    }
}

void invShiftRows(std::uint8_t* state, std::size_t nb) {
    std::uint8_t row[kMaxColumns];
    for (std::size_t r = 1; r < 4; ++r) {
        const std::size_t offset = shiftOffset(nb, r);
        for (std::size_t c = 0; c < nb; ++c)
            row[(c + offset) % nb] = state[r + 4 * c];
        for (std::size_t c = 0; c < nb; ++c)
            state[r + 4 * c] = row[c];
    }
}

// Multiplies each column by the circulant matrix whose first row is `coeff`.
void mixColumnsWith(std::uint8_t* state, std::size_t nb, const std::uint8_t (&coeff)[4]) {
    for (std::size_t c = 0; c < nb; ++c) {
        std::uint8_t* column = state + 4 * c;
        std::uint8_t mixed[4];
        for (std::size_t r = 0; r < 4; ++r) {
            std::uint8_t sum = 0;
            for (std::size_t j = 0; j < 4; ++j)
                sum = static_cast<std::uint8_t>(sum ^ gfMul(coeff[(j + 4 - r) % 4], column[j]));
            mixed[r] = sum;
        }
        std::memcpy(column, mixed, sizeof mixed);
    }
}

constexpr std::uint8_t kMixCoefficients[4] = {0x02, 0x03, 0x01, 0x01};
constexpr std::uint8_t kInvMixCoefficients[4] = {0x0e, 0x0b, 0x0d, 0x09};

} // namespace

Rijndael::Rijndael(const std::uint8_t* key, std::size_t keyBytes, std::size_t blockBytes) {
    if (!isValidSize(keyBytes) || !isValidSize(blockBytes))
        throw std::invalid_argument("Rijndael: key and block sizes must each be 16, 24 or 32 bytes");
    if (key == nullptr)
        throw std::invalid_argument("Rijndael: null key");

    const std::size_t nk = keyBytes / 4;
    m_nb = blockBytes / 4;
    m_rounds = std::max(m_nb, nk) + 6;
    const std::size_t totalWords = m_nb * (m_rounds + 1);

    // Word i of the expanded key occupies bytes 4i..4i+3, so round r's key is the block starting at 4 * Nb * r.
    std::uint8_t* w = m_roundKeys.data();
    std::memcpy(w, key, keyBytes);
    std::uint8_t rcon = 0x01;
    std::uint8_t temp[4];
    for (std::size_t i = nk; i < totalWords; ++i) {
        std::memcpy(temp, w + 4 * (i - 1), 4);
        if (i % nk == 0) {
            const std::uint8_t first = temp[0];
            temp[0] = kSBoxes.forward[temp[1]];
            temp[1] = kSBoxes.forward[temp[2]];
            temp[2] = kSBoxes.forward[temp[3]];
            temp[3] = kSBoxes.forward[first];
            temp[0] = static_cast<std::uint8_t>(temp[0] ^ rcon);
            rcon = xtime(rcon);
        } else if (nk > 6 && i % nk == 4) {
            // With more than six key words, one S-box per Nk words would leave the schedule too linear.
            for (std::uint8_t& b : temp)
                b = kSBoxes.forward[b];
        }
        for (std::size_t b = 0; b < 4; ++b)
            w[4 * i + b] = static_cast<std::uint8_t>(w[4 * (i - nk) + b] ^ temp[b]);
    }
    secureWipe(temp, sizeof temp);
}

Rijndael::~Rijndael() {
    secureWipe(m_roundKeys.data(), m_roundKeys.size());
}

std::size_t Rijndael::blockBytes() const {
    return 4 * m_nb;
}

void Rijndael::addRoundKey(std::uint8_t* state, std::size_t round) const {
    const std::uint8_t* roundKey = m_roundKeys.data() + 4 * m_nb * round;
    for (std::size_t i = 0; i < 4 * m_nb; ++i)
        state[i] = static_cast<std::uint8_t>(state[i] ^ roundKey[i]);
}

void Rijndael::encryptBlock(const std::uint8_t* in, std::uint8_t* out) const {
    std::uint8_t state[kMaxBlockBytes];
    std::memcpy(state, in, blockBytes()); // copying first makes in == out safe

    addRoundKey(state, 0);
    for (std::size_t round = 1; round < m_rounds; ++round) {
        substitute(state, m_nb, kSBoxes.forward);
        shiftRows(state, m_nb);
        mixColumnsWith(state, m_nb, kMixCoefficients);
        addRoundKey(state, round);
    }
    substitute(state, m_nb, kSBoxes.forward);
    shiftRows(state, m_nb);
    addRoundKey(state, m_rounds);

    std::memcpy(out, state, blockBytes());
    secureWipe(state, sizeof state);
}

void Rijndael::decryptBlock(const std::uint8_t* in, std::uint8_t* out) const {
    std::uint8_t state[kMaxBlockBytes];
    std::memcpy(state, in, blockBytes());

    addRoundKey(state, m_rounds);
    for (std::size_t round = m_rounds - 1; round > 0; --round) {
        invShiftRows(state, m_nb);
        substitute(state, m_nb, kSBoxes.inverse);
        addRoundKey(state, round);
        mixColumnsWith(state, m_nb, kInvMixCoefficients);
    }
    invShiftRows(state, m_nb);
    substitute(state, m_nb, kSBoxes.inverse);
    addRoundKey(state, 0);

    std::memcpy(out, state, blockBytes());
    secureWipe(state, sizeof state);
}

} // namespace rijndael
