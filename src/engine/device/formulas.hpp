// The step formulas of the search and the overflow tests: everything in a flip or a selection that
// is arithmetic and not machinery. All implementations of a block use these and no others, so their
// searches agree bit for bit. Single-precision expressions are evaluated left to right with one
// rounding each (no contraction into fused operations).
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "engine/device/dialect.hpp"
#include "engine/device/xor_shift.hpp"

namespace orvex::device {

// ---- arithmetic of the band ----------------------------------------------------------------

/** a + b with wrap-around, the result of a register of D's width. */
template <class D>
ORVEX_HD constexpr D wrapping_add(D a, D b) {
    using U = std::make_unsigned_t<D>;
    return static_cast<D>(static_cast<U>(a) + static_cast<U>(b));
}

template <class D>
ORVEX_HD constexpr D wrapping_negate(D a) {
    using U = std::make_unsigned_t<D>;
    return static_cast<D>(U{0} - static_cast<U>(a));
}

/**
 * Whether delta + d, whose wrapped value is `sum`, left the range of D. In 64 bits a sum of exactly
 * 0 from two negative numbers passes: the test looks for a sum of the wrong sign.
 */
template <class D>
ORVEX_HD constexpr bool delta_overflows(D delta, D d, D sum) {
    const bool wrong_sign = ((delta ^ sum) & (d ^ sum)) < 0;
    return sizeof(D) == 4 ? wrong_sign : wrong_sign && sum != 0;
}

/** The test for the energy, in both widths: a sum of the wrong sign, 0 from two negatives passing.
 */
template <class D>
ORVEX_HD constexpr bool energy_overflows(D energy, D delta, D sum) {
    return (energy > 0 && delta > 0 && sum < 0) || (energy < 0 && delta < 0 && sum > 0);
}

/** A float as D: cut towards zero, kept within the range, 0 for no number. */
template <class D>
ORVEX_HD inline D cut_to(float value) {
    const float limit = sizeof(D) == 4 ? 2147483648.0f : 9223372036854775808.0f;
    if (!(value == value)) return 0;
    if (value >= limit) return std::numeric_limits<D>::max();
    if (value <= -limit) return std::numeric_limits<D>::min();
    return static_cast<D>(value);
}

/** A non-negative float as an unsigned 32-bit number, kept within the range. */
ORVEX_HD inline std::uint32_t saturate_unsigned(float value) {
    return value >= 4294967296.0f ? 0xFFFFFFFFu : static_cast<std::uint32_t>(value);
}

// ---- tabu tenures --------------------------------------------------------------------------

/** F of a band: the tenure, and the number of steps for which it applies, at a search's start. */
ORVEX_HD constexpr std::uint32_t first_tenure(int size) {
    const int tenth = size / 10;
    return static_cast<std::uint32_t>(tenth < 255 ? tenth : 255);
}

/** The tenure that a flip writes: F in the first F steps, the user's setting from then on. */
ORVEX_HD constexpr std::uint8_t tenure(std::uint32_t step, std::uint32_t first,
                                       std::uint32_t tabu_cycles) {
    return static_cast<std::uint8_t>(step < first ? first : tabu_cycles);
}

// ---- draws ---------------------------------------------------------------------------------

/** u in [0, 1) from the low 16 bits of a state; the last shift of a step leaves these as they are.
 */
ORVEX_HD inline float unit_draw(unsigned long state) {
    return static_cast<float>(state & 0xFFFF) / 65536.0f;
}

/**
 * Bids of the threads of a block: the upper bits rank, the low 10 bits name the thread, so that one
 * block-wide maximum finds the winner, the higher thread on equal ranks. -1 is no bid.
 */
inline constexpr std::uint32_t BID_RANK = 0x7FFFFC00;
inline constexpr std::int32_t BID_THREAD = 0x3FF;
static_assert((BID_RANK ^ BID_THREAD) == 0x7FFFFFFF);  // they share no bit; no bid is negative

ORVEX_HD constexpr std::int32_t bid(std::uint32_t rank, int thread) {
    return static_cast<std::int32_t>((rank & BID_RANK) | static_cast<std::uint32_t>(thread));
}

/**
 * draw % count as a signed number; a count of 0, with nothing to pick from, gives -1, as the
 * remainder by zero does on the devices (all bits set).
 */
ORVEX_HD constexpr std::int32_t remainder_pick(std::uint32_t draw, std::uint32_t count) {
    return count == 0 ? -1 : static_cast<std::int32_t>(draw % count);
}

// ---- "MaxMin" ------------------------------------------------------------------------------

/** The threshold between the lowest and the highest free delta; it comes down as steps go by. */
template <class D>
ORVEX_HD inline D maxmin_threshold(D low, D high, float u, std::uint32_t step,
                                   std::uint32_t steps) {
    const float r = u * static_cast<float>(steps - step) / static_cast<float>(steps);
    const float q = r * r * r;
    const float v = static_cast<float>(low) * (1.0f - q) + q * static_cast<float>(high);
    const D cut = cut_to<D>(v);
    return cut > low ? cut : low;
}

// ---- "PositiveMin" -------------------------------------------------------------------------

/** What one of the bits that tie for the cheapest worsening weighs; together they weigh 1. */
ORVEX_HD inline float tied_weight(std::int32_t tied) {
    return 1.0f / static_cast<float>(tied);
}

/**
 * Rank of a thread whose bits weigh w together: u^(1/w), of which the largest wins, gives a draw in
 * proportion to the weights (P. Efraimidis, P. Spirakis, "Weighted random sampling with a
 * reservoir", Information Processing Letters 97, 2006).
 */
ORVEX_HD inline std::uint32_t sampling_rank(float u, float w) {
    const float key = w == 1.0f ? u : powf(u, 1.0f / w);
    const float scaled = key * 2147483648.0f;
    return scaled >= 2147483648.0f ? 0x7FFFFFFFu : static_cast<std::uint32_t>(scaled);
}

// ---- "CyclicMin" ---------------------------------------------------------------------------

/** Threads in the span: 16 at the start of a search, growing to all T with the cube of the time. */
ORVEX_HD inline int cyclic_span_width(std::uint32_t step, std::uint32_t steps, int threads) {
    const float r =
        static_cast<float>(step) / static_cast<float>(static_cast<std::uint64_t>(steps) + 1);
    const float q = r * r * r;
    return static_cast<int>(ceilf(q * static_cast<float>(threads - 16) + 16.0f));
}

// ---- "RandomMin" ---------------------------------------------------------------------------

/** A draw up to this keeps a bit in the race: with chance 0.9 at the start, 1 at the end. */
ORVEX_HD inline std::uint32_t random_threshold(std::uint32_t step, std::uint32_t steps) {
    const float r = static_cast<float>(step) / static_cast<float>(steps);
    const float q = r * r * r;
    const float p = static_cast<float>(fma(static_cast<double>(q), 0.1, 0.9));
    return saturate_unsigned(ceilf(p * 4294967296.0f));
}

}  // namespace orvex::device
