#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

// Blowfish for deciphering many records whose keys are known together. Its key schedule costs as much as
// deciphering some thirty kilobytes, and one schedule waits on its own table lookups at every step; made several
// at a time, interleaved, they take a fraction of the time each.
namespace blowfish_lanes {

// Schedules made at once.
constexpr std::size_t kLanes = 4;

struct Schedule {
    std::array<std::uint32_t, 18> P;
    std::array<std::uint32_t, 1024> S;
    void wipe();
};

// The schedules of `keys` (1 to 56 bytes each) into out[0 .. keys.size() - 1].
void MakeSchedules(std::span<const std::span<const std::uint8_t>> keys, Schedule* out);

// Deciphers whole blocks of `data` in place in CBC order after the vector `iv` (8 bytes).
void DecryptCbc(const Schedule& key, const std::uint8_t* iv, std::uint8_t* data, std::size_t size);

} // namespace blowfish_lanes
