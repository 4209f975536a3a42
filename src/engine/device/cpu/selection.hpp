// The loops behind the selections of "MaxMin", "PositiveMin" and "RandomMin": what a draw needs to
// know of the deltas, and which bit it means. Bits that may be chosen are noted in words of a bit
// for each place, so that counting them is a matter of population counts and finding the r-th reads
// the words alone. Included once per instruction set.
#if defined(ORVEX_CPU_SELECTION_HPP) == defined(HWY_TARGET_TOGGLE)
#ifdef ORVEX_CPU_SELECTION_HPP
#undef ORVEX_CPU_SELECTION_HPP
#else
#define ORVEX_CPU_SELECTION_HPP
#endif

#include <cassert>
#include <cstdint>
#include <limits>

#include <hwy/highway.h>

#include "engine/device/cpu/lanes.hpp"
#include "engine/device/cpu/ops.hpp"

HWY_BEFORE_NAMESPACE();
namespace orvex::device::HWY_NAMESPACE {

/** The word of the places from `first` on of which matches(place) holds, a vector at a time. */
template <class D, class MATCHES>
std::uint64_t wordOf(int first, MATCHES matches) {
    const hn::ScalableTag<D> lanes;
    const int step = static_cast<int>(hn::Lanes(lanes));
    std::uint64_t word = 0;
    for (int i = 0; i < WORD; i += step)
        word |= maskBits(lanes, matches(first + i)) << i;
    return word;
}

inline int ones(std::uint64_t word) {
    return __builtin_popcountll(word);
}

inline int pick(const std::uint64_t* noted, int r) {
    assert(r >= 0);
    int word = 0;
    for (int count = ones(noted[0]); r >= count; count = ones(noted[++word]))
        r -= count;
    std::uint64_t rest = noted[word];
    for (; r > 0; --r)
        rest &= rest - 1;
    assert(rest != 0);
    return word * WORD + __builtin_ctzll(rest);
}

// ---- "MaxMin" ------------------------------------------------------------------------------

template <class D>
DELTA_RANGE<D> freeRange(const BLOCK_ARRAYS<D>& block) {
    const hn::ScalableTag<D> lanes;
    const auto highest = hn::Set(lanes, MAX<D>);
    const auto lowest = hn::Set(lanes, std::numeric_limits<D>::min());
    auto low = highest;
    auto high = lowest;
    visitFree(block, [&](int, auto values, auto free) {
        // The maximum of D is out of play; as the lowest it changes nothing.
        const auto plays = hn::And(free, hn::Lt(values, highest));
        low = hn::Min(low, hn::IfThenElse(free, values, highest));
        high = hn::Max(high, hn::IfThenElse(plays, values, lowest));
    });
    return {hn::GetLane(hn::MinOfLanes(lanes, low)), hn::GetLane(hn::MaxOfLanes(lanes, high))};
}

/**
 * Without a branch for each word, unless their lows are known: looking at lows by lane first, to
 * pass over words, took 146 ns a step where this takes 120 (1024 variables, 16-bit deltas).
 */
template <class D>
int countBelow(const BLOCK_ARRAYS<D>& block, D threshold, bool words_known) {
    const hn::ScalableTag<D> lanes;
    assert(block.shape.size % WORD == 0);
    const auto limit = hn::Set(lanes, threshold);
    std::uint64_t* word = block.chosen;
    int count = 0;
    for (int p = 0; p < block.shape.size; p += WORD, ++word) {
        if (words_known && block.words.free_low[p / WORD] > threshold) {
            *word = 0;
            continue;
        }
        *word = wordOf<D>(p, [&](int q) {
            const auto above = hn::Gt(hn::Load(lanes, block.delta + q), limit);
            return hn::AndNot(above, freeLanes(lanes, block.barred + q));
        });
        count += ones(*word);
    }
    return count;
}

// ---- "PositiveMin" -------------------------------------------------------------------------

template <class D>
D lowestPositive(const BLOCK_ARRAYS<D>& block) {
    const hn::ScalableTag<D> lanes;
    const auto highest = hn::Set(lanes, MAX<D>);
    auto low = highest;
    visitFree(block, [&](int, auto values, auto free) {
        const auto plays = hn::And(free, hn::Gt(values, hn::Zero(lanes)));
        low = hn::Min(low, hn::IfThenElse(plays, values, highest));
    });
    return hn::GetLane(hn::MinOfLanes(lanes, low));
}

template <class D>
WEIGHED weigh(const BLOCK_ARRAYS<D>& block, D m) {
    const hn::ScalableTag<D> lanes;
    const auto limit = hn::Set(lanes, m);
    assert(block.shape.size % WORD == 0);
    WEIGHED weighed{};
    std::uint64_t* chosen = block.chosen;
    std::uint64_t* tied = block.tied;
    for (int p = 0; p < block.shape.size; p += WORD, ++chosen, ++tied) {
        const auto deltas = [&](int q) { return hn::Load(lanes, block.delta + q); };
        const auto free = wordOf<D>(p, [&](int q) { return freeLanes(lanes, block.barred + q); });
        const auto below = wordOf<D>(p, [&](int q) { return hn::Lt(deltas(q), limit); });
        const auto equal = wordOf<D>(p, [&](int q) { return hn::Eq(deltas(q), limit); });
        *chosen = below & free;
        *tied = equal & free;
        weighed.below += ones(*chosen);
        weighed.tied += ones(equal);
        weighed.tied_free += ones(*tied);
    }
    return weighed;
}

// ---- "RandomMin" ---------------------------------------------------------------------------

template <class D>
D lowestFree(const BLOCK_ARRAYS<D>& block) {
    const hn::ScalableTag<D> lanes;
    const auto highest = hn::Set(lanes, MAX<D>);
    auto low = highest;
    visitGroups(block, [&](int, auto values, auto free) {
        low = hn::Min(low, hn::IfThenElse(free, values, highest));
    });
    return hn::GetLane(hn::MinOfLanes(lanes, low));
}

template <class D>
int findFree(const BLOCK_ARRAYS<D>& block, D value, bool words_known) {
    const hn::ScalableTag<D> lanes;
    const int step = static_cast<int>(hn::Lanes(lanes));
    const int threads = block.shape.threads;
    assert(threads >= WORD);
    const auto wanted = hn::Set(lanes, value);
    const D* group_low = block.group_low;
    int best_thread = -1;
    int best_own = 0;
    const auto consider = [&](std::uint64_t word, int first_thread, int own) {
        if (word == 0) return;
        const int thread = first_thread + 63 - __builtin_clzll(word);
        if (thread <= best_thread) return;  // own bits come in ascending order
        best_thread = thread;
        best_own = own;
    };
    for (int p = 0, t = 0, own = 0; p < block.shape.size; p += WORD, group_low += step) {
        const bool holds = words_known
                               ? block.words.free_low[p / WORD] == value
                               : !hn::AllFalse(lanes, hn::Eq(hn::Load(lanes, group_low), wanted));
        if (holds) {
            const std::uint64_t word = wordOf<D>(p, [&](int q) {
                return hn::And(hn::Eq(hn::Load(lanes, block.delta + q), wanted),
                               freeLanes(lanes, block.barred + q));
            });
            if (t + WORD <= threads) {
                consider(word, t, own);
            } else {  // the end of the threads' own bits lies within the word
                const int left = threads - t;
                consider(word & ((std::uint64_t{1} << left) - 1), t, own);
                consider(word >> left << left, t - threads, own + 1);
            }
        }
        t += WORD;
        if (t >= threads) {
            t -= threads;
            ++own;
        }
    }
    assert(best_thread >= 0 && best_thread < threads);
    return best_thread * block.shape.own + best_own;
}

}  // namespace orvex::device::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // include guard per target
