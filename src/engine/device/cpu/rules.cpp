// How a CPU block selects the bit of a step: the walk, the descent and the flip rules. What it
// draws for them is told in one_rng.hpp.
#include <algorithm>
#include <cassert>

#include "engine/device/cpu/block.hpp"
#include "engine/device/cpu/one_rng.hpp"
#include "engine/device/formulas.hpp"

namespace orvex::device {

template <class E, class D, class N>
bool CPU_BLOCK<E, D, N>::walkToTarget() {
    record.walk_min = arithmetic(ops_.lowestDiffering(arrays_));
    if (record.walk_min == BLOCK_RECORD<D>::MAX) return false;
    record.selected = ops_.findDiffering(arrays_, stored(record.walk_min));
    assert(arrays_.differs[place(record.selected)] != 0);
    assert(arithmetic(arrays_.delta[place(record.selected)]) == record.walk_min);
    return true;
}

template <class E, class D, class N>
bool CPU_BLOCK<E, D, N>::descend() {
    record.descent_min = lowest_ < 0 ? lowest_ : BLOCK_RECORD<D>::MAX;
    if (lowest_ >= 0) return false;
    record.selected = ops_.find(arrays_, stored(lowest_));
    assert(arrays_.delta[place(record.selected)] == stored(lowest_));
    return true;
}

template <class E, class D, class N>
void CPU_BLOCK<E, D, N>::startSearch() {
    record.step = 0;
    prepared_for_ = PREPARE_FOR::NOTHING;
    // What words have free is another now; their lowest deltas still hold.
    if (words_known_for_) words_known_for_ = PREPARE_FOR::NOTHING;
    if (record.type.A != CYCLIC_MIN) tabu_.clear();
}

// ---- "MaxMin" ------------------------------------------------------------------------------

/** The first eligible one of some places drawn at random, or -1. */
template <class E, class D, class N>
int CPU_BLOCK<E, D, N>::tryPlaces(N threshold) {
    const std::uint32_t size = static_cast<std::uint32_t>(arrays_.shape.size);
    for (int round = rounds_of_tries(arrays_.shape.size); round > 0; --round) {
        std::uint32_t places[TRIES];
        for (int i = 0; i < TRIES; i += 2) {
            const unsigned long drawn = draw();
            places[i] = scaled(low_word(drawn), size);
            places[i + 1] = scaled(high_word(drawn), size);
        }
        // Without a branch for each: which is eligible is the least predictable thing in a search.
        unsigned eligible = 0;
        for (int i = 0; i < TRIES; ++i) {
            const bool free = arrays_.barred[places[i]] == 0;
            const bool low = arrays_.delta[places[i]] <= threshold;
            eligible |= static_cast<unsigned>(free & low) << i;
        }
        if (eligible != 0) return static_cast<int>(places[__builtin_ctz(eligible)]);
    }
    return -1;
}

template <class E, class D, class N>
void CPU_BLOCK<E, D, N>::selectMaxMin() {
    const DELTA_RANGE<N> range =
        prepared_for_ == PREPARE_FOR::MAX_MIN ? sweep_.free : ops_.freeRange(arrays_);
    record.maxmin_low = arithmetic(range.low);
    record.maxmin_high = arithmetic(range.high);
    record.maxmin_threshold = maxmin_threshold(record.maxmin_low, record.maxmin_high,
                                               unit_draw(draw()), record.step, record.steps);
    const N threshold = stored(record.maxmin_threshold);
    int p = tryPlaces(threshold);
    if (p < 0) {
        const int eligible = ops_.countBelow(arrays_, threshold, byWords());
        if (eligible == 0) {
            record.maxmin_bid = -1;
            // The bid names the last thread of a full block, which has nothing to choose from; in
            // other blocks it names nobody, and the last selection is kept.
            if (arrays_.shape.threads > BID_THREAD)
                record.selected = BID_THREAD * arrays_.shape.own;
            return;
        }
        const std::uint32_t r = scaled(high_word(draw()), static_cast<std::uint32_t>(eligible));
        p = ops_.pick(arrays_.chosen, static_cast<int>(r));
    }
    assert(arrays_.barred[p] == 0 && arrays_.delta[p] <= threshold);
    record.maxmin_bid = bid(low_word(rng_), p % arrays_.shape.threads);
    record.selected = arrays_.shape.bit(p);
}

// ---- "PositiveMin" -------------------------------------------------------------------------

/** The highest thread with a noted bit. */
template <class E, class D, class N>
int CPU_BLOCK<E, D, N>::lastThreadOf(const std::uint64_t* noted) const {
    int last = -1;
    for (int word = 0; word < arrays_.shape.size / WORD; ++word)
        for (std::uint64_t rest = noted[word]; rest != 0; rest &= rest - 1)
            last = std::max(last, (word * WORD + __builtin_ctzll(rest)) % arrays_.shape.threads);
    assert(last >= 0);  // some bit is noted
    return last;
}

/** The free bits that tie, noted. */
template <class E, class D, class N>
const std::uint64_t* CPU_BLOCK<E, D, N>::tiedBits() {
    if (weighed_by_words_) ops_.noteTied(arrays_, stored(record.positive_threshold));
    return arrays_.tied;
}

/** The thread of a bit that is drawn by its weight. */
template <class E, class D, class N>
typename CPU_BLOCK<E, D, N>::WINNER CPU_BLOCK<E, D, N>::drawThread(const WEIGHED& weighed) {
    const auto below = static_cast<std::uint32_t>(weighed.below);
    const auto tied = static_cast<std::uint32_t>(weighed.tied);
    const auto tied_free = static_cast<std::uint32_t>(weighed.tied_free);
    const auto owner = [&](const std::uint64_t* noted, std::uint32_t r) {
        return WINNER{ops_.pick(noted, static_cast<int>(r)) % arrays_.shape.threads, false};
    };
    assert(below + tied_free > 0 && tied_free <= tied);
    if (below == 0) {
        const unsigned long drawn = draw();
        if (tied_free < tied && open_unit(high_word(drawn)) < lowest_rank_chance(weighed.total()))
            return {lastThreadOf(tiedBits()), true};
        return owner(tiedBits(), scaled(low_word(drawn), tied_free));
    }
    for (;;) {
        const unsigned long drawn = draw();
        const std::uint32_t r = scaled(high_word(drawn), below + 1);
        if (r < below) return owner(arrays_.chosen, r);
        // The tied bits weigh 1 together; where one that is barred comes out, all is drawn again.
        const std::uint32_t r_tied = scaled(low_word(drawn), tied);
        if (r_tied < tied_free) return owner(tiedBits(), r_tied);
    }
}

/** The own bit that the thread takes. */
template <class E, class D, class N>
int CPU_BLOCK<E, D, N>::pickByWeight(const WINNER& winner, const WEIGHED& weighed) {
    assert(winner.thread >= 0 && winner.thread < arrays_.shape.threads);
    const D m = record.positive_threshold;
    std::uint32_t below = 0;
    std::uint32_t equal = 0;
    int first_free = 0;
    for (int c = arrays_.shape.own - 1; c >= 0; --c) {
        const int p = c * arrays_.shape.threads + winner.thread;
        if (arrays_.barred[p] != 0 || arrays_.delta[p] > m) continue;
        first_free = c;
        ++(arrays_.delta[p] < m ? below : equal);
    }
    if (below + equal == 1) return first_free;
    const std::uint32_t tied = static_cast<std::uint32_t>(weighed.tied);
    const std::uint32_t weights = tied * below + equal;
    std::int32_t r = -1;
    if (weights != 0) {
        const unsigned long drawn = draw();
        const double weight = below + (tied == 0 ? 0.0 : equal / double(tied));
        const std::uint32_t low =
            winner.lowest_rank ? winning_draw(high_word(drawn), 1.0, lowest_rank_chance(weight))
                               : winning_draw(high_word(drawn), weight / weighed.total(), 1.0);
        r = remainder_pick((low_word(drawn) & 0xFFFF0000) | low, weights);
    }
    for (int own = 0; own < arrays_.shape.own; ++own) {
        const D delta = arrays_.delta[own * arrays_.shape.threads + winner.thread];
        r -= delta < m ? record.positive_count : delta == m ? 1 : 0;
        if (r < 0) return own;
    }
    assert(false);  // r is below the sum of the weights
    return 0;
}

template <class E, class D, class N>
void CPU_BLOCK<E, D, N>::selectPositiveMin() {
    record.positive_low =
        arithmetic(prepared_for_ == PREPARE_FOR::POSITIVE_MIN ? sweep_.positive
                                                              : ops_.lowestPositive(arrays_));
    const D m = record.positive_low == BLOCK_RECORD<D>::MAX ? 0 : record.positive_low;
    record.positive_threshold = m;
    weighed_by_words_ = byWords() && m > 0;
    // Without a free delta above 0 the words' numbers are no help, and are lost.
    if (!weighed_by_words_ && words_known_for_) words_known_for_ = PREPARE_FOR::NOTHING;
    const WEIGHED weighed =
        weighed_by_words_ ? ops_.weighWords(arrays_, stored(m)) : ops_.weigh(arrays_, stored(m));
    record.positive_count = weighed.tied;
    WINNER winner{BID_THREAD, false};
    const bool nobody = weighed.below + weighed.tied_free == 0;
    if (!nobody) winner = drawThread(weighed);
    // As in "MaxMin", no bid names the last thread of a full block, and nobody in others.
    const bool selects = winner.thread < arrays_.shape.threads;
    if (selects)
        record.selected = winner.thread * arrays_.shape.own + pickByWeight(winner, weighed);
    record.positive_bid = nobody ? -1 : bid(low_word(rng_), winner.thread);
}

// ---- "CyclicMin" ---------------------------------------------------------------------------

template <class E, class D, class N>
void CPU_BLOCK<E, D, N>::selectCyclicMin() {
    const int threads = arrays_.shape.threads;
    const int width = cyclic_span_width(record.step, record.steps, threads);
    assert(width > 0 && width <= threads);
    assert(record.cycle_start >= 0 && record.cycle_start < threads);
    const int end = record.cycle_start + width;
    const int first_end = std::min(end, threads);
    const int wrapped_end = end - first_end;  // the span goes on at thread 0
    const N low = std::min(ops_.lowestInSpan(arrays_, record.cycle_start, first_end),
                           ops_.lowestInSpan(arrays_, 0, wrapped_end));
    record.cyclic_low = arithmetic(low);
    if (record.cyclic_low == BLOCK_RECORD<D>::MAX) {
        record.selected = record.cycle_start * arrays_.shape.own;
    } else {
        record.selected = ops_.findInSpan(arrays_, record.cycle_start, first_end, low);
        if (record.selected < 0) record.selected = ops_.findInSpan(arrays_, 0, wrapped_end, low);
        assert(arrays_.barred[place(record.selected)] == 0);
        assert(arrays_.delta[place(record.selected)] == low);
    }
    record.cycle_start = end % threads;
    assert(record.selected >= 0 && record.selected < arrays_.shape.size);
}

// ---- "RandomMin" ---------------------------------------------------------------------------

template <class E, class D, class N>
void CPU_BLOCK<E, D, N>::selectRandomMin() {
    record.random_threshold = random_threshold(record.step, record.steps);
    assert(left_out_.empty());
    // If no bit stays in the race, all threads offer their first one.
    record.selected = (arrays_.shape.threads - 1) * arrays_.shape.own;
    constexpr N NONE = std::numeric_limits<N>::max();
    N low = prepared_for_ == PREPARE_FOR::RANDOM_MIN ? sweep_.free.low : ops_.lowestFree(arrays_);
    while (low != NONE) {
        const int bit = ops_.findFree(arrays_, low, byWords());
        if (low_word(draw()) <= record.random_threshold) {
            record.selected = bit;
            break;
        }
        arrays_.barred[place(bit)] = 1;  // for this selection
        left_out_.push_back(place(bit));
        low = byWords() ? ops_.lowestFreeAfter(arrays_, place(bit)) : ops_.lowestFree(arrays_);
    }
    for (const int p : left_out_) {
        arrays_.barred[p] = 0;
        if (byWords()) ops_.lowestFreeAfter(arrays_, p);
    }
    left_out_.clear();
}

ORVEX_INSTANTIATE_CPU_BLOCKS

}  // namespace orvex::device
