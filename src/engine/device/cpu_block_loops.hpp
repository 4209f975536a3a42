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
#include "engine/device/cpu_lanes.hpp"
#include "engine/device/formulas.hpp"

HWY_BEFORE_NAMESPACE();
namespace orvex::device::HWY_NAMESPACE {

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
    const hn::ScalableTag<D> lanes;
    const int step = static_cast<int>(hn::Lanes(lanes));
    auto low = hn::Set(lanes, MAX<D>);
    for (int p = 0; p < block.shape.size; p += step)
        low = hn::Min(low, hn::Load(lanes, block.delta + p));
    return hn::GetLane(hn::MinOfLanes(lanes, low));
}

template <class D>
D lowestDiffering(const BLOCK_ARRAYS<D>& block) {
    const hn::ScalableTag<D> lanes;
    const std::int8_t* differs = block.differs;
    return lowestWhere(block.delta, 0, block.shape.size, [=](int p, auto) {
        return hn::MaskFromVec(widenBytes(lanes, differs + p));
    });
}

template <class D>
int find(const BLOCK_ARRAYS<D>& block, D value) {
    const hn::ScalableTag<D> lanes;
    const D* delta = block.delta;
    const auto wanted = hn::Set(lanes, value);
    return findLast<D>(block.shape, 0, block.shape.threads,
                       [=](int p) { return hn::Eq(hn::LoadU(lanes, delta + p), wanted); });
}

template <class D>
int findDiffering(const BLOCK_ARRAYS<D>& block, D value) {
    const hn::ScalableTag<D> lanes;
    const D* delta = block.delta;
    const std::int8_t* differs = block.differs;
    const auto wanted = hn::Set(lanes, value);
    return findLast<D>(block.shape, 0, block.shape.threads, [=](int p) {
        return hn::And(hn::Eq(hn::LoadU(lanes, delta + p), wanted),
                       hn::MaskFromVec(widenBytes(lanes, differs + p)));
    });
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
    const hn::ScalableTag<D> lanes;
    const auto highest = hn::Set(lanes, MAX<D>);
    const auto lowest = hn::Set(lanes, std::numeric_limits<D>::min());
    auto low = highest;
    auto high = lowest;
    surveyGroups(block, [&](int, auto values, auto free) {
        // The maximum of D is out of play; as the lowest it changes nothing.
        const auto plays = hn::And(free, hn::Lt(values, highest));
        low = hn::Min(low, hn::IfThenElse(free, values, highest));
        high = hn::Max(high, hn::IfThenElse(plays, values, lowest));
    });
    return {hn::GetLane(hn::MinOfLanes(lanes, low)), hn::GetLane(hn::MaxOfLanes(lanes, high))};
}

template <class D>
std::int32_t drawBelow(const BLOCK_ARRAYS<D>& block, D threshold) {
    const int threads = block.shape.threads;
    const int count = placesBelow(block, threshold);
    // A thread's generator moves on once for each of its bits; only the order within a thread
    // matters, and the highest bid of all is the highest of the threads' highest.
    std::int32_t highest = -1;
    int chunk = 0;
    for (int i = 0; i < count; ++i) {
        const int place = static_cast<int>(block.places[i]);
        while (place >= chunk + threads)
            chunk += threads;
        const int thread = place - chunk;
        unsigned long& state = block.generators[thread];
        state = xor_shift(state);
        highest = std::max(highest, bid(low_word(state), thread));
    }
    return highest;
}

template <class D>
D lowestPositive(const BLOCK_ARRAYS<D>& block) {
    const hn::ScalableTag<D> lanes;
    const auto highest = hn::Set(lanes, MAX<D>);
    auto low = highest;
    surveyGroups(block, [&](int, auto values, auto free) {
        const auto plays = hn::And(free, hn::Gt(values, hn::Zero(lanes)));
        low = hn::Min(low, hn::IfThenElse(plays, values, highest));
    });
    return hn::GetLane(hn::MinOfLanes(lanes, low));
}

template <class D>
std::int32_t countEqual(const BLOCK_ARRAYS<D>& block, D value) {
    std::int32_t count = 0;
    for (int p = 0; p < block.shape.size; ++p)
        count += block.delta[p] == value;
    return count;
}

/**
 * log(u) / w to about one part in 3000 of itself, in the order of the keys u^(1/w) but for values
 * within RANK_MARGIN: twice the first terms of the series of artanh, for u scaled into (1/2, 1].
 */
template <class TAG>
hn::Vec<TAG> rankEstimate(TAG lanes, hn::Vec<TAG> u, hn::Vec<TAG> w) {
    const hn::RebindToSigned<TAG> words;
    const auto word = hn::BitCast(words, u);
    const auto exponent = hn::Sub(hn::ShiftRight<23>(word), hn::Set(words, 126));
    const auto mantissa = hn::And(word, hn::Set(words, 0x7FFFFF));
    const auto scaled = hn::BitCast(lanes, hn::Or(mantissa, hn::Set(words, 126 << 23)));
    const auto one = hn::Set(lanes, 1.0f);
    const auto s = hn::Div(hn::Sub(scaled, one), hn::Add(scaled, one));
    const auto square = hn::Mul(s, s);
    const auto third = hn::Add(hn::Mul(square, hn::Set(lanes, 0.4f)), hn::Set(lanes, 0.66666667f));
    const auto series = hn::Mul(s, hn::Add(hn::Mul(square, third), hn::Set(lanes, 2.0f)));
    const auto halvings = hn::Mul(hn::ConvertTo(lanes, exponent), hn::Set(lanes, 0.69314718f));
    return hn::Div(hn::Add(series, halvings), w);
}
inline constexpr float RANK_MARGIN = 0.01f;

template <class D>
std::int32_t drawWeighted(const BLOCK_ARRAYS<D>& block, D threshold, float tied_weight) {
    float* const weights = block.weights;
    std::uint16_t* const drawing = block.drawing;
    const int count = placesBelow(block, threshold);
    int count_of_threads = 0;
    int chunk = 0;
    for (int i = 0; i < count; ++i) {
        const int place = static_cast<int>(block.places[i]);
        while (place >= chunk + block.shape.threads)
            chunk += block.shape.threads;
        const int thread = place - chunk;
        drawing[count_of_threads] = static_cast<std::uint16_t>(thread);
        count_of_threads += weights[thread] == 0;
        weights[thread] += block.delta[place] < threshold ? 1.0f : tied_weight;
    }
    for (int i = 0; i < count_of_threads; ++i) {
        const int thread = drawing[i];
        unsigned long& state = block.generators[thread];
        state = xor_shift(state);
        block.draws[i] = unit_draw(state);
        block.draw_weights[i] = weights[thread];
        weights[thread] = 0;
    }
    // The rank rises with u and w. Only threads that come near the best by an estimate of it have
    // theirs computed, since the power is what this selection would spend its time on.
    const hn::ScalableTag<float> lanes;
    const int step = static_cast<int>(hn::Lanes(lanes));
    const auto lowest = hn::Set(lanes, -std::numeric_limits<float>::infinity());
    auto best_lanes = lowest;
    for (int i = 0; i < count_of_threads; i += step) {
        const auto drawn = hn::FirstN(lanes, static_cast<std::size_t>(count_of_threads - i));
        const auto estimate = rankEstimate(lanes, hn::Load(lanes, block.draws + i),
                                           hn::Load(lanes, block.draw_weights + i));
        const auto valid = hn::IfThenElse(drawn, estimate, lowest);
        hn::Store(valid, lanes, block.estimates + i);
        best_lanes = hn::Max(best_lanes, valid);
    }
    const float best = hn::GetLane(hn::MaxOfLanes(lanes, best_lanes));
    // Keys of e^-12 and less are told apart by few bits of a rank or none.
    const float near =
        best < -12.0f ? -std::numeric_limits<float>::max() : best - RANK_MARGIN * (1.0f - best);
    std::int32_t highest = -1;
    for (int i = 0; i < count_of_threads; i += step) {
        const auto candidates = hn::Ge(hn::Load(lanes, block.estimates + i), hn::Set(lanes, near));
        for (std::uint64_t bits = maskBits(lanes, candidates); bits != 0; bits &= bits - 1) {
            const int j = i + __builtin_ctzll(bits);
            const std::uint32_t rank = sampling_rank(block.draws[j], block.draw_weights[j]);
            highest = std::max(highest, bid(rank, drawing[j]));
        }
    }
    return highest;
}

template <class D>
D lowestInSpan(const BLOCK_ARRAYS<D>& block, int first, int last) {
    const hn::ScalableTag<D> lanes;
    const int step = static_cast<int>(hn::Lanes(lanes));
    const auto none = hn::Set(lanes, MAX<D>);
    auto low = none;
    for (int c = 0; c < block.shape.own; ++c) {
        const int chunk = c * block.shape.threads;
        for (int t = first / step * step; t < last; t += step) {
            auto plays = freeLanes(lanes, block.tabu + chunk + t);
            if (t < first || t + step > last)
                plays = hn::And(plays, lanesIn(lanes, t, first, last));
            const auto values = hn::Load(lanes, block.delta + chunk + t);
            low = hn::Min(low, hn::IfThenElse(plays, values, none));
        }
    }
    return hn::GetLane(hn::MinOfLanes(lanes, low));
}

template <class D>
int findInSpan(const BLOCK_ARRAYS<D>& block, int first, int last, D value) {
    if (first >= last) return -1;
    const hn::ScalableTag<D> lanes;
    const D* delta = block.delta;
    const std::uint8_t* tabu = block.tabu;
    const auto wanted = hn::Set(lanes, value);
    return findLast<D>(block.shape, first, last, [=](int p) {
        return hn::And(hn::Eq(hn::LoadU(lanes, delta + p), wanted), freeLanes(lanes, tabu + p));
    });
}

template <class D>
int race(const BLOCK_ARRAYS<D>& block, std::uint32_t threshold) {
    const hn::ScalableTag<std::int64_t> lanes;
    const hn::RebindToUnsigned<decltype(lanes)> states;
    const int step = static_cast<int>(hn::Lanes(lanes));
    const int threads = block.shape.threads;
    const auto limit = hn::Set(lanes, static_cast<std::int64_t>(threshold));
    const auto low_words = hn::Set(states, 0xFFFFFFFFu);
    const auto none = hn::Set(lanes, static_cast<std::int64_t>(MAX<D>));
    const auto ascending = hn::Iota(lanes, 0);
    auto lowest_yet = none;
    auto winners = hn::Zero(lanes);  // thread * own + own bit, per lane
    for (int t = 0; t < threads; t += step) {
        std::uint64_t* generators = block.generators + t;
        auto state = hn::Load(states, generators);
        auto running = none;
        auto kept = hn::Zero(lanes);
        for (int c = 0; c < block.shape.own; ++c) {
            const int p = c * threads + t;
            const auto delta = widenDeltas(lanes, block.delta + p);
            // A bit that could not win spends no draw.
            const auto draws = hn::And(hn::Lt(delta, running), freeLanes(lanes, block.tabu + p));
            const auto moved = xorShiftLanes(state);
            state = hn::IfThenElse(hn::RebindMask(states, draws), moved, state);
            const auto draw = hn::BitCast(lanes, hn::And(moved, low_words));
            const auto stays = hn::AndNot(hn::Gt(draw, limit), draws);
            running = hn::IfThenElse(stays, delta, running);
            kept = hn::IfThenElse(stays, hn::Set(lanes, c), kept);
        }
        hn::Store(state, states, generators);
        // Threads come in ascending order, so that of equal values the later one takes over. If no
        // bit stayed in anywhere, that is the first bit of the last thread.
        const auto thread = hn::Add(ascending, hn::Set(lanes, t));
        const auto bits = hn::Add(hn::Mul(thread, hn::Set(lanes, block.shape.own)), kept);
        const auto keeps = hn::Gt(running, lowest_yet);
        winners = hn::IfThenElse(keeps, winners, bits);
        lowest_yet = hn::Min(running, lowest_yet);
    }
    const auto wins = hn::Eq(lowest_yet, hn::MinOfLanes(lanes, lowest_yet));
    const auto bits = hn::IfThenElse(wins, winners, hn::Set(lanes, -1));
    return static_cast<int>(hn::GetLane(hn::MaxOfLanes(lanes, bits)));
}

}  // namespace orvex::device::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // include guard per target
