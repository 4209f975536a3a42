// The loops behind BLOCK_OPS, one per operation, included once per instruction set. Each is a
// straight pass over the S elements in row order; where a rule asks for an order within a thread
// (own bits ascending), the outer loop is over the own bits and the inner one over the threads.
#if defined(ORVEX_CPU_BLOCK_LOOPS_HPP) == defined(HWY_TARGET_TOGGLE)
#ifdef ORVEX_CPU_BLOCK_LOOPS_HPP
#undef ORVEX_CPU_BLOCK_LOOPS_HPP
#else
#define ORVEX_CPU_BLOCK_LOOPS_HPP
#endif

#include <algorithm>
#include <cstring>
#include <limits>

#include <hwy/highway.h>

#include "engine/device/cpu_block_ops.hpp"
#include "engine/device/formulas.hpp"

HWY_BEFORE_NAMESPACE();
namespace orvex::device::HWY_NAMESPACE {

template <class D>
inline constexpr D MAX = std::numeric_limits<D>::max();

template <class E, class D>
ROW_SUM<D> addRow(const BLOCK_ARRAYS<D>& block, const E* HWY_RESTRICT row, std::int8_t sign) {
    using UE = std::make_unsigned_t<E>;
    using UD = std::make_unsigned_t<D>;
    const int size = block.shape.size;
    D* HWY_RESTRICT delta = block.delta;
    const std::int8_t* HWY_RESTRICT ones = block.ones;
    D low = MAX<D>;
    D left_range = 0;
    D magnitude = 0;
    for (int p = 0; p < size; ++p) {
        const E mask = static_cast<E>(ones[p] ^ sign);
        const E d = static_cast<E>(static_cast<UE>(row[p] ^ mask) - static_cast<UE>(mask));
        const D wide = d;
        const D sum = static_cast<D>(static_cast<UD>(delta[p]) + static_cast<UD>(wide));
        D wrong_sign = (delta[p] ^ sum) & (wide ^ sum);
        if constexpr (sizeof(D) == 8) wrong_sign = sum != 0 ? wrong_sign : 0;
        left_range |= wrong_sign;
        if constexpr (sizeof(E) == 8) magnitude |= sum < 0 ? ~sum : sum;
        delta[p] = sum;
        low = sum < low ? sum : low;
    }
    return {low, left_range < 0, magnitude >= WIDE<D>};
}

template <class D>
D lowest(const BLOCK_ARRAYS<D>& block) {
    D low = MAX<D>;
    for (int p = 0; p < block.shape.size; ++p)
        low = std::min(low, block.delta[p]);
    return low;
}

template <class D>
D lowestDiffering(const BLOCK_ARRAYS<D>& block) {
    const D* delta = block.delta;
    const std::int8_t* differs = block.differs;
    D low = MAX<D>;
    for (int p = 0; p < block.shape.size; ++p) {
        const D value = delta[p];
        low = std::min(low, differs[p] ? value : MAX<D>);
    }
    return low;
}

/** Places that are looked at together before one of them is looked for; T is a multiple of it. */
inline constexpr int RUN = 32;

/**
 * The bit of the highest thread from `first` to before `last` that has an own bit for which
 * `matches(place)`, the lowest such own bit of it; -1 if there is none.
 */
template <class MATCHES>
int findLast(const SHAPE& shape, int first, int last, MATCHES matches) {
    int best_thread = first - 1;
    int best_own = 0;
    for (int c = 0; c < shape.own; ++c) {
        const int chunk = c * shape.threads;
        int end = last;
        while (end > best_thread + 1) {
            const int begin = std::max(best_thread + 1, end - RUN);
            bool any = false;
            for (int t = begin; t < end; ++t)
                any |= matches(chunk + t);
            if (any) {
                int t = end - 1;
                while (!matches(chunk + t))
                    --t;
                best_thread = t;
                best_own = c;
                break;
            }
            end = begin;
        }
    }
    return best_thread < first ? -1 : best_thread * shape.own + best_own;
}

template <class D>
int find(const BLOCK_ARRAYS<D>& block, D value) {
    const D* delta = block.delta;
    return findLast(block.shape, 0, block.shape.threads, [=](int p) { return delta[p] == value; });
}

template <class D>
int findDiffering(const BLOCK_ARRAYS<D>& block, D value) {
    const D* delta = block.delta;
    const std::int8_t* differs = block.differs;
    return findLast(block.shape, 0, block.shape.threads,
                    [=](int p) { return (delta[p] == value) & (differs[p] != 0); });
}

template <class D>
void countTabuDown(const BLOCK_ARRAYS<D>& block) {
    const int size = block.shape.size;
    std::uint8_t* HWY_RESTRICT tabu = block.tabu;
    for (int p = 0; p < size; ++p)
        tabu[p] = static_cast<std::uint8_t>(tabu[p] - (tabu[p] != 0));
}

template <class D>
DELTA_RANGE<D> freeRange(const BLOCK_ARRAYS<D>& block) {
    constexpr D LOWEST = std::numeric_limits<D>::min();
    const D* deltas = block.delta;
    const std::uint8_t* tabu = block.tabu;
    D low = MAX<D>;
    D high = LOWEST;
    for (int p = 0; p < block.shape.size; ++p) {
        const D delta = deltas[p];
        const bool plays = (tabu[p] == 0) & (delta != MAX<D>);
        low = std::min(low, plays ? delta : MAX<D>);
        high = std::max(high, plays ? delta : LOWEST);
    }
    return {low, high};
}

/** Calls visit(place) for every place whose byte in `chosen` is set, in ascending order. */
template <class VISIT>
void forEachChosen(const std::uint8_t* chosen, int size, VISIT visit) {
    for (int p = 0; p < size; p += 8) {
        std::uint64_t eight;
        std::memcpy(&eight, chosen + p, sizeof(eight));
        for (int i = 0; eight != 0; ++i, eight >>= 8)
            if (eight & 1) visit(p + i);
    }
}

template <class D>
std::int32_t drawBelow(const BLOCK_ARRAYS<D>& block, D threshold) {
    const int size = block.shape.size;
    const D* HWY_RESTRICT delta = block.delta;
    const std::uint8_t* HWY_RESTRICT tabu = block.tabu;
    std::uint8_t* HWY_RESTRICT chosen = block.chosen;
    for (int p = 0; p < size; ++p)
        chosen[p] = (tabu[p] == 0) & (delta[p] <= threshold);
    std::int32_t highest = -1;
    // A thread's generator moves on once for each of its bits; only the order within a thread
    // matters, and the highest bid of all is the highest of the threads' highest.
    for (int c = 0; c < block.shape.own; ++c) {
        const int chunk = c * block.shape.threads;
        forEachChosen(chosen + chunk, block.shape.threads, [&](int t) {
            unsigned long& state = block.generators[t];
            state = xor_shift(state);
            highest = std::max(highest, bid(low_word(state), t));
        });
    }
    return highest;
}

template <class D>
D lowestPositive(const BLOCK_ARRAYS<D>& block) {
    const D* deltas = block.delta;
    const std::uint8_t* tabu = block.tabu;
    D low = MAX<D>;
    for (int p = 0; p < block.shape.size; ++p) {
        const D delta = deltas[p];
        low = std::min(low, (tabu[p] == 0) & (delta >= 1) ? delta : MAX<D>);
    }
    return low;
}

template <class D>
std::int32_t countEqual(const BLOCK_ARRAYS<D>& block, D value) {
    std::int32_t count = 0;
    for (int p = 0; p < block.shape.size; ++p)
        count += block.delta[p] == value;
    return count;
}

template <class D>
std::int32_t drawWeighted(const BLOCK_ARRAYS<D>& block, D threshold, float tied_weight) {
    const int threads = block.shape.threads;
    float* HWY_RESTRICT weights = block.weights;
    std::uint8_t* HWY_RESTRICT chosen = block.chosen;
    std::fill_n(weights, threads, 0.0f);
    for (int c = 0; c < block.shape.own; ++c) {
        const D* HWY_RESTRICT deltas = block.delta + c * threads;
        const std::uint8_t* HWY_RESTRICT tabu = block.tabu + c * threads;
        for (int t = 0; t < threads; ++t) {
            const D delta = deltas[t];
            const float at_threshold = delta == threshold ? tied_weight : 0.0f;
            const float weight = delta < threshold ? 1.0f : at_threshold;
            weights[t] += tabu[t] == 0 ? weight : 0.0f;
        }
    }
    for (int t = 0; t < threads; ++t)
        chosen[t] = weights[t] > 0.0f;
    std::int32_t highest = -1;
    forEachChosen(chosen, threads, [&](int t) {
        unsigned long& state = block.generators[t];
        state = xor_shift(state);
        highest = std::max(highest, bid(sampling_rank(unit_draw(state), weights[t]), t));
    });
    return highest;
}

template <class D>
D lowestInSpan(const BLOCK_ARRAYS<D>& block, int first, int last) {
    D low = MAX<D>;
    for (int c = 0; c < block.shape.own; ++c) {
        const D* delta = block.delta + c * block.shape.threads;
        const std::uint8_t* tabu = block.tabu + c * block.shape.threads;
        for (int t = first; t < last; ++t) {
            const D value = delta[t];
            low = std::min(low, tabu[t] == 0 ? value : MAX<D>);
        }
    }
    return low;
}

template <class D>
int findInSpan(const BLOCK_ARRAYS<D>& block, int first, int last, D value) {
    const D* delta = block.delta;
    const std::uint8_t* tabu = block.tabu;
    return findLast(block.shape, first, last,
                    [=](int p) { return (delta[p] == value) & (tabu[p] == 0); });
}

template <class D>
int race(const BLOCK_ARRAYS<D>& block, std::uint32_t threshold) {
    const int threads = block.shape.threads;
    D* HWY_RESTRICT running = block.running;
    std::uint8_t* HWY_RESTRICT kept = block.kept;
    unsigned long* HWY_RESTRICT generators = block.generators;
    std::fill_n(running, threads, MAX<D>);
    std::fill_n(kept, threads, std::uint8_t{0});
    for (int c = 0; c < block.shape.own; ++c) {
        const D* HWY_RESTRICT delta = block.delta + c * threads;
        const std::uint8_t* HWY_RESTRICT tabu = block.tabu + c * threads;
        for (int t = 0; t < threads; ++t) {
            // A bit that could not win spends no draw.
            const bool draws = (tabu[t] == 0) & (delta[t] < running[t]);
            const unsigned long moved = xor_shift(generators[t]);
            generators[t] = draws ? moved : generators[t];
            const bool stays = draws & (low_word(moved) <= threshold);
            running[t] = stays ? delta[t] : running[t];
            kept[t] = stays ? static_cast<std::uint8_t>(c) : kept[t];
        }
    }
    D low = MAX<D>;
    for (int t = 0; t < threads; ++t)
        low = std::min(low, running[t]);
    // If no bit stayed in, every thread's running value is the maximum, and the last thread wins.
    int winner = threads - 1;
    while (running[winner] != low)
        --winner;
    return winner * block.shape.own + kept[winner];
}

}  // namespace orvex::device::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // include guard per target
