#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace rijndael {

// Rijndael with Nb = blockBytes/4 in {4,6,8} and Nk = keyBytes/4 in {4,6,8}.
// The 128-bit block variants are AES; the wider blocks are the original Rijndael family.
class Rijndael {
public:
    // keyBytes and blockBytes each one of 16, 24, 32; otherwise (or for a null key) throws std::invalid_argument.
    Rijndael(const std::uint8_t* key, std::size_t keyBytes, std::size_t blockBytes);
    ~Rijndael(); // wipes the expanded key
    Rijndael(const Rijndael&) = delete;
    Rijndael& operator=(const Rijndael&) = delete;

    std::size_t blockBytes() const;
    void encryptBlock(const std::uint8_t* in, std::uint8_t* out) const; // one block, in may equal out
    void decryptBlock(const std::uint8_t* in, std::uint8_t* out) const;

private:
    static constexpr std::size_t kMaxBlockWords = 8;
    static constexpr std::size_t kMaxRounds = 14; // max(Nb, Nk) + 6 with both at most 8
    static constexpr std::size_t kMaxBlockBytes = 4 * kMaxBlockWords;

    void addRoundKey(std::uint8_t* state, std::size_t round) const;

    // Round keys laid out as consecutive blocks, byte order identical to the state.
    std::array<std::uint8_t, (kMaxRounds + 1) * kMaxBlockBytes> m_roundKeys{};
    std::size_t m_nb = 0;
    std::size_t m_rounds = 0;
};

} // namespace rijndael
