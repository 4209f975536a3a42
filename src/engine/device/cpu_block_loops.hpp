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
    const int step = static_cast<int>(hn::Lanes(lanes));
    const auto highest = hn::Set(lanes, MAX<D>);
    const auto lowest = hn::Set(lanes, std::numeric_limits<D>::min());
    auto low = highest;
    auto high = lowest;
    for (int p = 0; p < block.shape.size; p += step) {
        const auto values = hn::Load(lanes, block.delta + p);
        // The maximum of D is out of play; as the lowest it changes nothing.
        const auto free = freeLanes(lanes, block.tabu + p);
        const auto plays = hn::And(free, hn::Lt(values, highest));
        low = hn::Min(low, hn::IfThenElse(free, values, highest));
        high = hn::Max(high, hn::IfThenElse(plays, values, lowest));
    }
    return {hn::GetLane(hn::MinOfLanes(lanes, low)), hn::GetLane(hn::MaxOfLanes(lanes, high))};
}

template <class D>
std::int32_t drawBelow(const BLOCK_ARRAYS<D>& block, D threshold) {
    const hn::ScalableTag<D> lanes;
    const hn::ScalableTag<std::int64_t> wide;
    const int step = static_cast<int>(hn::Lanes(lanes));
    const int wide_step = static_cast<int>(hn::Lanes(wide));
    const auto limit = hn::Set(lanes, threshold);
    auto highest = hn::Set(wide, -1);
    std::int64_t highest_single = -1;
    // A thread's generator moves on once for each of its bits; only the order within a thread
    // matters, and the highest bid of all is the highest of the threads' highest.
    for (int c = 0; c < block.shape.own; ++c) {
        const int chunk = c * block.shape.threads;
        for (int t = 0; t < block.shape.threads; t += step) {
            const auto above = hn::Gt(hn::Load(lanes, block.delta + chunk + t), limit);
            const auto eligible = hn::AndNot(above, freeLanes(lanes, block.tabu + chunk + t));
            if (hn::AllFalse(lanes, eligible)) continue;
            std::uint64_t bits = maskBits(lanes, eligible);
            if ((bits & (bits - 1)) == 0) {  // mostly there is one
                const int thread = t + __builtin_ctzll(bits);
                unsigned long& state = block.generators[thread];
                state = xor_shift(state);
                highest_single =
                    std::max<std::int64_t>(highest_single, bid(low_word(state), thread));
                continue;
            }
            for (int i = 0; i < step; i += wide_step, bits >>= wide_step)
                highest = hn::Max(highest, drawLanes(wide, block.generators, t + i, bits));
        }
    }
    return static_cast<std::int32_t>(
        std::max(highest_single, hn::GetLane(hn::MaxOfLanes(wide, highest))));
}

template <class D>
D lowestPositive(const BLOCK_ARRAYS<D>& block) {
    const hn::ScalableTag<D> lanes;
    const std::uint8_t* tabu = block.tabu;
    return lowestWhere(block.delta, 0, block.shape.size, [=](int p, auto values) {
        return hn::And(freeLanes(lanes, tabu + p), hn::Gt(values, hn::Zero(lanes)));
    });
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
    const hn::ScalableTag<float> lanes;
    const int step = static_cast<int>(hn::Lanes(lanes));
    std::int32_t highest = -1;
    for (int t = 0; t < threads; t += step) {
        const auto weighs = hn::Gt(hn::Load(lanes, weights + t), hn::Zero(lanes));
        forEachLane(lanes, weighs, [&](int lane) {
            unsigned long& state = block.generators[t + lane];
            state = xor_shift(state);
            const std::uint32_t rank = sampling_rank(unit_draw(state), weights[t + lane]);
            highest = std::max(highest, bid(rank, t + lane));
        });
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
        const auto first_bits = hn::Iota(lanes, t);
        const auto bits = hn::Add(hn::Mul(first_bits, hn::Set(lanes, block.shape.own)), kept);
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
