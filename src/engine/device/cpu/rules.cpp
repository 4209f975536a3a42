// How a CPU block selects the bit of a step: the walk, the descent and the flip rules.
#include <algorithm>
#include <cassert>

#include "engine/device/cpu/block.hpp"
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
    surveyed_ = SURVEY_FOR::NOTHING;
    if (record.type.A != CYCLIC_MIN) std::fill_n(arrays_.tabu, arrays_.shape.size, std::uint8_t{0});
}

template <class E, class D, class N>
void CPU_BLOCK<E, D, N>::selectMaxMin() {
    const DELTA_RANGE<N> range =
        surveyed_ == SURVEY_FOR::MAX_MIN ? sweep_.free : ops_.freeRange(arrays_);
    record.maxmin_low = arithmetic(range.low);
    record.maxmin_high = arithmetic(range.high);
    unsigned long& first = arrays_.generators[0];
    first = xor_shift(first);
    record.maxmin_threshold = maxmin_threshold(record.maxmin_low, record.maxmin_high,
                                               unit_draw(first), record.step, record.steps);
    record.maxmin_bid = ops_.drawBelow(arrays_, stored(record.maxmin_threshold));

    const int winner = record.maxmin_bid & BID_THREAD;
    const int threads = arrays_.shape.threads;
    if (winner >= threads) return;  // nobody bid: the last selection stands
    const auto eligible = [&](int c) {
        const int p = c * threads + winner;
        return arrays_.tabu[p] == 0 && arrays_.delta[p] <= record.maxmin_threshold;
    };
    std::uint32_t count = 0;
    for (int c = 0; c < arrays_.shape.own; ++c)
        count += eligible(c);
    std::int32_t r = 0;
    if (count != 1) {
        unsigned long& generator = arrays_.generators[winner];
        generator = xor_shift(generator);
        r = remainder_pick(high_word(generator), count);
    }
    int own = 0;
    for (int c = 0; r >= 0 && c < arrays_.shape.own; ++c)
        if (eligible(c) && r-- == 0) own = c;
    assert(own >= 0 && own < arrays_.shape.own);
    record.selected = winner * arrays_.shape.own + own;
}

template <class E, class D, class N>
void CPU_BLOCK<E, D, N>::selectPositiveMin() {
    record.positive_low = arithmetic(
        surveyed_ == SURVEY_FOR::POSITIVE_MIN ? sweep_.positive : ops_.lowestPositive(arrays_));
    const D m = record.positive_low == BLOCK_RECORD<D>::MAX ? 0 : record.positive_low;
    record.positive_threshold = m;
    record.positive_count = ops_.countEqual(arrays_, stored(m));
    record.positive_bid = ops_.drawWeighted(arrays_, stored(m), tied_weight(record.positive_count));

    const int winner = record.positive_bid & BID_THREAD;
    const int threads = arrays_.shape.threads;
    if (winner >= threads) return;  // nobody bid: the last selection stands
    std::uint32_t below = 0;
    std::uint32_t tied = 0;
    int first_free = 0;
    for (int c = arrays_.shape.own - 1; c >= 0; --c) {
        const int p = c * threads + winner;
        if (arrays_.tabu[p] != 0 || arrays_.delta[p] > m) continue;
        first_free = c;
        ++(arrays_.delta[p] < m ? below : tied);
    }
    int own = first_free;
    if (below + tied != 1) {
        const std::uint32_t count = static_cast<std::uint32_t>(record.positive_count);
        std::int32_t r = remainder_pick(low_word(arrays_.generators[winner]), count * below + tied);
        for (own = 0; own < arrays_.shape.own; ++own) {
            const D delta = arrays_.delta[own * threads + winner];
            r -= delta < m ? record.positive_count : delta == m ? 1 : 0;
            if (r < 0) break;
        }
    }
    assert(own >= 0 && own <= arrays_.shape.own);
    record.selected = winner * arrays_.shape.own + own;
}

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
        assert(arrays_.tabu[place(record.selected)] == 0);
        assert(arrays_.delta[place(record.selected)] == low);
    }
    record.cycle_start = end % threads;
}

template <class E, class D, class N>
void CPU_BLOCK<E, D, N>::selectRandomMin() {
    record.random_threshold = random_threshold(record.step, record.steps);
    record.selected = ops_.race(arrays_, record.random_threshold);
    assert(record.selected >= 0 && record.selected < arrays_.shape.size);
}

ORVEX_INSTANTIATE_CPU_BLOCKS

}  // namespace orvex::device
