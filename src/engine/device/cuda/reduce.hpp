// How the threads of a block agree on a minimum, a maximum or a sum, and how they take a lock. A
// warp first reduces the values of its lanes among themselves; its first lane then posts the result
// to the block's cell in one atomic operation. All lanes take part in every reduction: a thread
// without a value brings the neutral one, which is never posted.
//
// The cell holds the neutral value from before a barrier; after a further barrier it holds the
// block's result.
#pragma once

#include <cstdint>
#include <limits>

#include "engine/device/cuda/words.hpp"
#include "engine/device/dialect.hpp"

// Warp-wide reductions of 32-bit integers exist from compute capability 8.0 on.
#if defined(__CUDA_ARCH__) && __CUDA_ARCH__ < 800
#define ORVEX_REDUCES_BY_SHUFFLES
#endif

namespace orvex::device {

inline constexpr unsigned ALL_LANES = 0xFFFFFFFF;
inline constexpr int WARP = 32;

// ---- within a warp -------------------------------------------------------------------------

#ifdef ORVEX_REDUCES_BY_SHUFFLES

template <class X>
ORVEX_BLOCK_CODE X warp_min(X value) {
    ORVEX_UNROLL
    for (int distance = WARP / 2; distance != 0; distance /= 2) {
        const X other = __shfl_xor_sync(ALL_LANES, value, distance);
        value = other < value ? other : value;
    }
    return value;
}

template <class X>
ORVEX_BLOCK_CODE X warp_max(X value) {
    ORVEX_UNROLL
    for (int distance = WARP / 2; distance != 0; distance /= 2) {
        const X other = __shfl_xor_sync(ALL_LANES, value, distance);
        value = other > value ? other : value;
    }
    return value;
}

ORVEX_BLOCK_CODE std::int32_t warp_sum(std::int32_t value) {
    ORVEX_UNROLL
    for (int distance = WARP / 2; distance != 0; distance /= 2)
        value += __shfl_xor_sync(ALL_LANES, value, distance);
    return value;
}

#else

ORVEX_BLOCK_CODE std::int32_t warp_min(std::int32_t value) {
    return __reduce_min_sync(ALL_LANES, value);
}
ORVEX_BLOCK_CODE std::int32_t warp_max(std::int32_t value) {
    return __reduce_max_sync(ALL_LANES, value);
}
ORVEX_BLOCK_CODE std::int32_t warp_sum(std::int32_t value) {
    return __reduce_add_sync(ALL_LANES, value);
}

ORVEX_BLOCK_CODE std::int64_t joined(std::int32_t high, std::uint32_t low) {
    const std::uint64_t upper = static_cast<std::uint32_t>(high);
    return static_cast<std::int64_t>(upper << 32 | low);
}

// 64 bits in two reductions of 32: the upper halves, then the lower ones of those that tie.
ORVEX_BLOCK_CODE std::int64_t warp_min(std::int64_t value) {
    const std::int32_t upper = static_cast<std::int32_t>(value >> 32);
    const std::int32_t high = __reduce_min_sync(ALL_LANES, upper);
    const std::uint32_t lower = upper == high ? static_cast<std::uint32_t>(value) : 0xFFFFFFFFu;
    return joined(high, __reduce_min_sync(ALL_LANES, lower));
}
ORVEX_BLOCK_CODE std::int64_t warp_max(std::int64_t value) {
    const std::int32_t upper = static_cast<std::int32_t>(value >> 32);
    const std::int32_t high = __reduce_max_sync(ALL_LANES, upper);
    const std::uint32_t lower = upper == high ? static_cast<std::uint32_t>(value) : 0u;
    return joined(high, __reduce_max_sync(ALL_LANES, lower));
}

#endif

// ---- one cell, any threads -----------------------------------------------------------------

ORVEX_BLOCK_CODE void lower_to(std::int32_t& cell, std::int32_t value) {
    atomicMin(&cell, value);
}
ORVEX_BLOCK_CODE void raise_to(std::int32_t& cell, std::int32_t value) {
    atomicMax(&cell, value);
}

/** Replaces the cell by the value while `wins(value, cell)`, by compare-and-swap. */
template <class WINS>
ORVEX_BLOCK_CODE void replace_while(std::int64_t& cell, std::int64_t value, WINS wins) {
    auto* const word = reinterpret_cast<unsigned long long*>(&cell);
    unsigned long long seen = peek(*word);
    while (wins(value, static_cast<std::int64_t>(seen))) {
        const unsigned long long now =
            atomicCAS(word, seen, static_cast<unsigned long long>(value));
        if (now == seen) break;
        seen = now;
    }
}

ORVEX_BLOCK_CODE void lower_to(std::int64_t& cell, std::int64_t value) {
    replace_while(cell, value, [](std::int64_t a, std::int64_t b) { return a < b; });
}
ORVEX_BLOCK_CODE void raise_to(std::int64_t& cell, std::int64_t value) {
    replace_while(cell, value, [](std::int64_t a, std::int64_t b) { return a > b; });
}

// ---- one cell, all threads of the block ----------------------------------------------------

/** The maximum of X is neutral. */
template <class X>
ORVEX_BLOCK_CODE void post_min(X& cell, X value, int thread) {
    const X lowest = warp_min(value);
    if (thread % WARP == 0 && lowest != std::numeric_limits<X>::max()) lower_to(cell, lowest);
}

/** `neutral` is what the cell started from. */
template <class X>
ORVEX_BLOCK_CODE void post_max(X& cell, X value, X neutral, int thread) {
    const X highest = warp_max(value);
    if (thread % WARP == 0 && highest != neutral) raise_to(cell, highest);
}

ORVEX_BLOCK_CODE void post_sum(std::int32_t& cell, std::int32_t value, int thread) {
    const std::int32_t sum = warp_sum(value);
    if (thread % WARP == 0 && sum != 0) atomicAdd(&cell, sum);
}

// ---- spin locks between blocks -------------------------------------------------------------

/** Only thread 0 of a block takes a lock, and only for a few loads and stores. */
ORVEX_BLOCK_CODE void mutexLock(unsigned int& word) {
    for (int i = 0; atomicExch(&word, 1u) != 0; ++i)
        __nanosleep(i < 32 ? 100u << i : 0u);
    __threadfence();
}

ORVEX_BLOCK_CODE void mutexUnlock(unsigned int& word) {
    __threadfence();
    atomicExch(&word, 0u);
}

}  // namespace orvex::device
