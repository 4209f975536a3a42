// Flips of models whose rows have few elements. Such a flip changes few deltas, so nothing here
// looks at all bits: for each word of 64 places a few numbers are kept (its lowest delta, the
// lowest and highest free one and so on, as the rule asks), a flip takes those of its neighbours'
// words anew, and what the next selection wants is found over these numbers, n / 64 of them and 8
// to 32 to a vector.
//
// A number for each word and not one for each lane, as in a dense sweep: the reductions are a dozen
// instructions for each neighbour, and spare reading 32 times as many lows after every flip. Lows
// by lane of groups of 16 vectors were here before, for the walk, the descent and "CyclicMin"
// alone, and took "CyclicMin" 196 ns a flip at 10240 variables of 4 neighbours, where these take
// 167. Buckets of bits by delta would save the numbers for unweighted graphs, but the order of bits
// in a bucket comes of all flips before, so that which bit a draw means would not be a matter of
// the block's state. Included once per instruction set.
#if defined(ORVEX_CPU_WORDS_HPP) == defined(HWY_TARGET_TOGGLE)
#ifdef ORVEX_CPU_WORDS_HPP
#undef ORVEX_CPU_WORDS_HPP
#else
#define ORVEX_CPU_WORDS_HPP
#endif

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <limits>

#include <hwy/highway.h>

#include "engine/device/cpu/lanes.hpp"
#include "engine/device/cpu/ops.hpp"
#include "engine/device/cpu/selection.hpp"

HWY_BEFORE_NAMESPACE();
namespace orvex::device::HWY_NAMESPACE {

/** The lowest value above 0 of lanes that hold unsigned values less 1; the maximum of D for none.
 */
template <class TAG, class V>
hn::TFromD<TAG> lowestAboveZero(TAG lanes, V less_one) {
    using D = hn::TFromD<TAG>;
    const D low = hn::GetLane(hn::MinOfLanes(lanes, hn::BitCast(lanes, less_one)));
    return low == MAX<D> ? low : static_cast<D>(low + 1);
}

/** Takes the numbers of a word anew, those that the rule asks for. */
template <PREPARE_FOR FOR, class D>
void takeWord(const BLOCK_ARRAYS<D>& block, int w) {
    const hn::ScalableTag<D> lanes;
    const hn::RebindToUnsigned<decltype(lanes)> magnitudes;
    const int step = static_cast<int>(hn::Lanes(lanes));
    assert(w >= 0 && w < block.shape.size / WORD);
    const int first = w * WORD;
    const auto one = hn::Set(magnitudes, 1);
    const auto highest = hn::Set(lanes, MAX<D>);
    const auto lowest = hn::Set(lanes, std::numeric_limits<D>::min());
    auto low = highest;
    auto free_low = highest;
    auto free_high = lowest;
    auto above_zero = hn::BitCast(magnitudes, highest);
    auto free_above_zero = above_zero;
    for (int q = first; q < first + WORD; q += step) {
        const auto values = hn::Load(lanes, block.delta + q);
        low = hn::Min(low, values);
        if constexpr (FOR == PREPARE_FOR::NOTHING) continue;
        const auto free = freeLanes(lanes, block.barred + q);
        const auto plays = hn::IfThenElse(free, values, highest);
        if constexpr (FOR == PREPARE_FOR::POSITIVE_MIN) {
            above_zero = hn::Min(above_zero, hn::Sub(hn::BitCast(magnitudes, values), one));
            free_above_zero =
                hn::Min(free_above_zero, hn::Sub(hn::BitCast(magnitudes, plays), one));
        } else {
            free_low = hn::Min(free_low, plays);
        }
        if constexpr (FOR == PREPARE_FOR::MAX_MIN)
            free_high = hn::Max(free_high, hn::IfThenElse(free, values, lowest));
    }
    const WORD_NUMBERS<D>& words = block.words;
    words.low[w] = hn::GetLane(hn::MinOfLanes(lanes, low));
    if constexpr (FOR == PREPARE_FOR::MAX_MIN || FOR == PREPARE_FOR::RANDOM_MIN)
        words.free_low[w] = hn::GetLane(hn::MinOfLanes(lanes, free_low));
    if constexpr (FOR == PREPARE_FOR::MAX_MIN)
        words.free_high[w] = hn::GetLane(hn::MaxOfLanes(lanes, free_high));
    if constexpr (FOR == PREPARE_FOR::POSITIVE_MIN) {
        const D above = lowestAboveZero(lanes, above_zero);
        const D free_above = lowestAboveZero(lanes, free_above_zero);
        const auto deltas = [&](int q) { return hn::Load(lanes, block.delta + q); };
        const auto equal = [&](D value) {
            return wordOf<D>(first,
                             [&](int q) { return hn::Eq(deltas(q), hn::Set(lanes, value)); });
        };
        const std::uint64_t free =
            wordOf<D>(first, [&](int q) { return freeLanes(lanes, block.barred + q); });
        const std::uint64_t not_above =
            wordOf<D>(first, [&](int q) { return hn::Lt(deltas(q), hn::Set(lanes, D{1})); });
        words.above[w] = above;
        words.ties[w] = static_cast<D>(ones(equal(above)));
        words.free_above[w] = free_above;
        words.free_ties[w] = static_cast<D>(ones(equal(free_above) & free));
        *words.below += ones(not_above & free) - ones(block.chosen[w]);
        block.chosen[w] = not_above & free;
    }
}

/** The lowest number of all words; those after the last one are as high as can be. */
template <class D>
D lowestOfWords(const BLOCK_ARRAYS<D>& block, const D* numbers) {
    const hn::ScalableTag<D> lanes;
    auto low = hn::Load(lanes, numbers);
    const int step = static_cast<int>(hn::Lanes(lanes));
    for (int w = step; w < block.shape.size / WORD; w += step)
        low = hn::Min(low, hn::Load(lanes, numbers + w));
    return hn::GetLane(hn::MinOfLanes(lanes, low));
}

template <class D>
D highestOfWords(const BLOCK_ARRAYS<D>& block, const D* numbers) {
    const hn::ScalableTag<D> lanes;
    auto high = hn::Load(lanes, numbers);
    const int step = static_cast<int>(hn::Lanes(lanes));
    for (int w = step; w < block.shape.size / WORD; w += step)
        high = hn::Max(high, hn::Load(lanes, numbers + w));
    return hn::GetLane(hn::MaxOfLanes(lanes, high));
}

template <PREPARE_FOR FOR, class E, class D>
SWEEP<D> flipList(const BLOCK_ARRAYS<D>& block, const LIST_ENTRY<E>* begin,
                  const LIST_ENTRY<E>* end, const CHANGED_PLACES& changed, std::int8_t sign,
                  bool words_known) {
    assert(begin <= end);
    addList(block, begin, end, sign);
    if (words_known && (end - begin) * 2 < block.shape.size / WORD) {
        for (const int p : changed)
            if (p >= 0) takeWord<FOR>(block, p / WORD);
        for (const LIST_ENTRY<E>* entry = begin; entry != end; ++entry)
            takeWord<FOR>(block, entry->place / WORD);
    } else {
        if constexpr (FOR == PREPARE_FOR::POSITIVE_MIN) {
            std::fill_n(block.chosen, block.shape.size / WORD, std::uint64_t{0});
            *block.words.below = 0;
        }
        for (int w = 0; w < block.shape.size / WORD; ++w)
            takeWord<FOR>(block, w);
    }
    SWEEP<D> found{};
    found.low = lowestOfWords(block, block.words.low);
    if constexpr (FOR == PREPARE_FOR::MAX_MIN || FOR == PREPARE_FOR::RANDOM_MIN)
        found.free.low = lowestOfWords(block, block.words.free_low);
    if constexpr (FOR == PREPARE_FOR::MAX_MIN)
        found.free.high = highestOfWords(block, block.words.free_high);
    if constexpr (FOR == PREPARE_FOR::POSITIVE_MIN)
        found.positive = lowestOfWords(block, block.words.free_above);
    return found;
}

template <class E, class D>
LIST_FLIPS<E, D> listFlips() {
    return {.nothing = flipList<PREPARE_FOR::NOTHING, E, D>,
            .max_min = flipList<PREPARE_FOR::MAX_MIN, E, D>,
            .positive_min = flipList<PREPARE_FOR::POSITIVE_MIN, E, D>,
            .random_min = flipList<PREPARE_FOR::RANDOM_MIN, E, D>};
}

template <class D>
WEIGHED weighWords(const BLOCK_ARRAYS<D>& block, D m) {
    assert(m > 0);
    const hn::ScalableTag<D> lanes;
    const int step = static_cast<int>(hn::Lanes(lanes));
    const WORD_NUMBERS<D>& words = block.words;
    const auto limit = hn::Set(lanes, m);
    WEIGHED weighed{.below = *words.below, .tied = 0, .tied_free = 0};
    const auto sum = [&](const D* numbers, auto where) {
        const auto summed = hn::IfThenElseZero(where, hn::Load(lanes, numbers));
        return static_cast<int>(hn::GetLane(hn::SumOfLanes(lanes, summed)));
    };
    for (int w = 0; w < block.shape.size / WORD; w += step) {
        const auto above = hn::Load(lanes, words.above + w);
        weighed.tied += sum(words.ties + w, hn::Eq(above, limit));
        const auto free_above = hn::Load(lanes, words.free_above + w);
        weighed.tied_free += sum(words.free_ties + w, hn::Eq(free_above, limit));
        // A bit above 0 and below m is barred, and hides those that tie in its word.
        std::uint64_t hidden = maskBits(lanes, hn::Lt(above, limit));
        for (; hidden != 0; hidden &= hidden - 1) {
            const int first = (w + __builtin_ctzll(hidden)) * WORD;
            weighed.tied += ones(wordOf<D>(
                first, [&](int q) { return hn::Eq(hn::Load(lanes, block.delta + q), limit); }));
        }
    }
    assert(weighed.below >= 0 && weighed.tied_free <= weighed.tied);
    return weighed;
}

template <class D>
void noteTied(const BLOCK_ARRAYS<D>& block, D m) {
    const hn::ScalableTag<D> lanes;
    const auto limit = hn::Set(lanes, m);
    for (int w = 0; w < block.shape.size / WORD; ++w) {
        block.tied[w] = 0;
        if (block.words.free_above[w] != m) continue;
        block.tied[w] = wordOf<D>(w * WORD, [&](int q) {
            return hn::And(hn::Eq(hn::Load(lanes, block.delta + q), limit),
                           freeLanes(lanes, block.barred + q));
        });
    }
}

template <class D>
D lowestFreeAfter(const BLOCK_ARRAYS<D>& block, int place) {
    assert(place >= 0 && place < block.shape.size);
    takeWord<PREPARE_FOR::RANDOM_MIN>(block, place / WORD);
    return lowestOfWords(block, block.words.free_low);
}

}  // namespace orvex::device::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // include guard per target
