// The only random source of the search, on the host and in the blocks: the 64-bit xorshift
// generator with the shifts 13, 7, 17 (G. Marsaglia, "Xorshift RNGs", Journal of Statistical
// Software 8, 2003).
#pragma once

#include <cstdint>

#include "engine/device/dialect.hpp"

namespace orvex::device {

/** One step of the RNG. Zero is its only fixed point, so a state must not be zero. */
ORVEX_HD constexpr unsigned long xor_shift(unsigned long x) {
    x ^= x << 13;
    x ^= x >> 7;
    x ^= x << 17;
    return x;
}

/** What a thread of a block starts from when its seed is zero. */
inline constexpr unsigned long ZERO_SEED_REPLACEMENT = 0x0139408DCBBF7A44;

ORVEX_HD constexpr unsigned long usable_seed(unsigned long seed) {
    return seed == 0 ? ZERO_SEED_REPLACEMENT : seed;
}

ORVEX_HD constexpr std::uint32_t low_word(unsigned long state) {
    return static_cast<std::uint32_t>(state);
}

ORVEX_HD constexpr std::uint32_t high_word(unsigned long state) {
    return static_cast<std::uint32_t>(state >> 32);
}

}  // namespace orvex::device
