#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// Where the store's randomness comes from. Production uses the system's strong generator for everything; tests
// substitute known values so that cipher texts, seals and noise can be compared byte for byte.
class RandomSource {
public:
    virtual ~RandomSource() = default;

    // The key selector of a record write, 0..65535.
    virtual std::uint16_t selector() = 0;
    // How many blanks stand in for an empty record, 0..12.
    virtual int blankCount() = 0;
    // CBC vectors of record cipher texts.
    virtual void vector(std::uint8_t* out, std::size_t n) = 0;
    // Salts of sealed texts.
    virtual void salt(std::uint8_t* out, std::size_t n) = 0;
    // Key material, noise columns and other random bytes.
    virtual void bytes(std::uint8_t* out, std::size_t n) = 0;
    // A uniform number in 0..bound-1.
    virtual std::uint32_t below(std::uint32_t bound) = 0;
};

// The operating system's strong generator.
class SystemRandom final : public RandomSource {
public:
    std::uint16_t selector() override;
    int blankCount() override;
    void vector(std::uint8_t* out, std::size_t n) override { bytes(out, n); }
    void salt(std::uint8_t* out, std::size_t n) override { bytes(out, n); }
    void bytes(std::uint8_t* out, std::size_t n) override;
    std::uint32_t below(std::uint32_t bound) override;
};

// One shared instance; the system generator has no state of its own to protect.
RandomSource& StrongRandom();

// Known values in place of randomness, for known-answer checks: the next selector, blank count, vector and salt
// are set by the caller; other bytes count up from 0.
class ScriptedRandom final : public RandomSource {
public:
    void setSelector(std::uint16_t selector) { m_selector = selector; }
    void setBlankCount(int blanks) { m_blanks = blanks; }
    // Used for every vector and salt until changed; repeated when a longer one is asked for.
    void setVector(const std::uint8_t* bytes, std::size_t n);
    void setSalt(const std::uint8_t* bytes, std::size_t n);

    std::uint16_t selector() override { return m_selector; }
    int blankCount() override { return m_blanks; }
    void vector(std::uint8_t* out, std::size_t n) override { Repeat(m_vector, out, n); }
    void salt(std::uint8_t* out, std::size_t n) override { Repeat(m_salt, out, n); }
    void bytes(std::uint8_t* out, std::size_t n) override;
    std::uint32_t below(std::uint32_t bound) override { return bound == 0 ? 0 : m_counter++ % bound; }

private:
    static void Repeat(const std::basic_string<std::uint8_t>& from, std::uint8_t* out, std::size_t n);

    std::uint16_t m_selector = 0;
    int m_blanks = 0;
    std::basic_string<std::uint8_t> m_vector;
    std::basic_string<std::uint8_t> m_salt;
    std::uint32_t m_counter = 0;
};
