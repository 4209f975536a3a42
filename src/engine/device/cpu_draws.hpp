// The loops in which generators move on: the bids of "MaxMin" and "PositiveMin" and the race of
// "RandomMin". All draws of a vector of threads are made at once, those of the threads that have
// none are dropped; bits of one thread come in ascending order. Included once per instruction set.
#if defined(ORVEX_CPU_DRAWS_HPP) == defined(HWY_TARGET_TOGGLE)
#ifdef ORVEX_CPU_DRAWS_HPP
#undef ORVEX_CPU_DRAWS_HPP
#else
#define ORVEX_CPU_DRAWS_HPP
#endif

#include <algorithm>
#include <cstdint>
#include <limits>

#include <hwy/highway.h>

#include "engine/device/cpu_block_ops.hpp"
#include "engine/device/cpu_lanes.hpp"
#include "engine/device/formulas.hpp"

HWY_BEFORE_NAMESPACE();
namespace orvex::device::HWY_NAMESPACE {

/** States of generators, fewer to a vector than deltas where these have 32 bits. */
using STATES = hn::ScalableTag<std::uint64_t>;

/** Moves the generators from `states` on where `draws`; returns what all of them would draw. */
inline hn::Vec<STATES> moveOn(std::uint64_t* states, hn::Mask<STATES> draws) {
    const STATES lanes;
    const auto state = hn::Load(lanes, states);
    const auto moved = xorShiftLanes(state);
    hn::Store(hn::IfThenElse(draws, moved, state), lanes, states);
    return moved;
}

#if HWY_TARGET != HWY_SCALAR
/** The lower (HALF 0) or upper half of a mask of 32-bit lanes as a mask of states. */
template <int HALF, class TAG>
hn::Mask<STATES> halfMask(TAG lanes, hn::Mask<TAG> mask) {
#if HWY_TARGET <= HWY_AVX3 && HWY_ARCH_X86
    static_cast<void>(lanes);
    return {static_cast<decltype(hn::Mask<STATES>::raw)>(mask.raw >> (8 * HALF))};
#else
    const hn::Half<TAG> half;
    const hn::RebindToSigned<STATES> wide;
    const auto flags = hn::VecFromMask(lanes, mask);
    const auto part = HALF == 0 ? hn::LowerHalf(half, flags) : hn::UpperHalf(half, flags);
    return hn::RebindMask(STATES(), hn::MaskFromVec(hn::PromoteTo(wide, part)));
#endif
}
#endif

/**
 * Moves the generators of the threads beside a vector of deltas on where `draws`; returns the low
 * words of what all of them would draw, as lanes of D's width.
 */
template <class D>
hn::Vec<hn::ScalableTag<std::make_unsigned_t<D>>> drawWords(std::uint64_t* states,
                                                            hn::Mask<hn::ScalableTag<D>> draws) {
    const hn::ScalableTag<std::make_unsigned_t<D>> words;
    if constexpr (sizeof(D) == 8) {
        const auto drawn = moveOn(states, hn::RebindMask(STATES(), draws));
        return hn::And(drawn, hn::Set(words, 0xFFFFFFFFu));
    } else {
#if HWY_TARGET == HWY_SCALAR
        const auto wide = hn::Mask<STATES>::FromBool(draws.bits != 0);
        return hn::TruncateTo(words, moveOn(states, wide));
#else
        const auto low = moveOn(states, halfMask<0>(hn::ScalableTag<D>(), draws));
        const auto high =
            moveOn(states + hn::Lanes(STATES()), halfMask<1>(hn::ScalableTag<D>(), draws));
        return hn::ConcatEven(words, hn::BitCast(words, high), hn::BitCast(words, low));
#endif
    }
}

template <class D>
std::int32_t drawBelow(const BLOCK_ARRAYS<D>& block, D threshold) {
    const hn::ScalableTag<D> lanes;
    const hn::ScalableTag<std::make_unsigned_t<D>> words;
    const int threads = block.shape.threads;
    const auto limit = hn::Set(lanes, threshold);
    const auto rank = hn::Set(words, BID_RANK);
    const auto ascending = hn::Iota(lanes, 0);
    const auto none = hn::Set(lanes, -1);
    const D* HWY_RESTRICT delta = block.delta;
    const std::uint8_t* HWY_RESTRICT tabu = block.tabu;
    const int count = vectorsBelow(block, threshold);
    auto highest = none;
    int chunk = 0;
    for (int i = 0; i < count; ++i) {
        const int place = block.vectors[i];
        while (place >= chunk + threads)
            chunk += threads;
        const int thread = place - chunk;
        const auto above = hn::Gt(hn::Load(lanes, delta + place), limit);
        const auto draws = hn::AndNot(above, freeLanes(lanes, tabu + place));
        const auto ranks = hn::And(drawWords<D>(block.generators + thread, draws), rank);
        const auto owners = hn::Add(ascending, hn::Set(lanes, static_cast<D>(thread)));
        const auto bids = hn::Or(hn::BitCast(lanes, ranks), owners);
        highest = hn::Max(highest, hn::IfThenElse(draws, bids, none));
    }
    return static_cast<std::int32_t>(hn::GetLane(hn::MaxOfLanes(lanes, highest)));
}

/**
 * log(u) / w for u in [0, 1), to one part in 20000 of itself (a fit of log(1 + t) / t by
 * polynomials over [-1/2, 0], minimax in the relative error); far below 0 for u = 0.
 */
template <class TAG>
hn::Vec<TAG> rankEstimate(TAG lanes, hn::Vec<TAG> u, hn::Vec<TAG> w) {
    const hn::RebindToSigned<TAG> words;
    const auto word = hn::BitCast(words, u);
    const auto exponent = hn::Sub(hn::ShiftRight<23>(word), hn::Set(words, 126));
    const auto mantissa = hn::And(word, hn::Set(words, 0x7FFFFF));
    const auto scaled = hn::BitCast(lanes, hn::Or(mantissa, hn::Set(words, 126 << 23)));
    const auto t = hn::Sub(scaled, hn::Set(lanes, 1.0f));
    auto fit = hn::Set(lanes, 0.74519319f);
    for (float coefficient : {0.05781904f, 0.39580216f, -0.49578152f, 1.00004436f})
        fit = hn::MulAdd(fit, t, hn::Set(lanes, coefficient));
    const auto halvings = hn::Mul(hn::ConvertTo(lanes, exponent), hn::Set(lanes, 0.69314718f));
    return hn::Div(hn::MulAdd(fit, t, halvings), w);
}

/**
 * Estimates from here on may belong to the highest rank when `best` is the highest of them. Of low
 * keys, ranks keep few bits (below e^-12 hardly any) and bids fewer.
 */
inline float lowestNear(float best) {
    if (best > -4.0f) return best * 1.001f - 0.0001f;
    return best > -12.0f ? best - 0.01f * (1.0f - best) : -std::numeric_limits<float>::max();
}

/** A mask of deltas as one of as many floats. */
template <class D, class TAG>
hn::Mask<TAG> floatMask(TAG lanes, hn::Mask<hn::ScalableTag<D>> mask) {
    if constexpr (sizeof(D) == sizeof(float)) {
        return hn::RebindMask(lanes, mask);
    } else {
        const hn::ScalableTag<D> wide;
        const hn::RebindToUnsigned<decltype(wide)> flags;
        const hn::RebindToUnsigned<TAG> words;
        const auto narrow = hn::TruncateTo(words, hn::BitCast(flags, hn::VecFromMask(wide, mask)));
        return hn::MaskFromVec(hn::BitCast(lanes, narrow));
    }
}

/**
 * Adds up the weights of the threads' free bits with deltas up to `threshold` in `weights`, bits in
 * ascending order. Lists the vectors of threads that have any in `drawing`; returns their number.
 */
template <class D>
int weighThreads(const BLOCK_ARRAYS<D>& block, D threshold, float tied_weight) {
    const hn::ScalableTag<D> lanes;
    const hn::Rebind<float, decltype(lanes)> floats;
    const int step = static_cast<int>(hn::Lanes(lanes));
    const int threads = block.shape.threads;
    const D* HWY_RESTRICT delta = block.delta;
    const D* HWY_RESTRICT group_low = block.group_low;
    const std::uint8_t* HWY_RESTRICT tabu = block.tabu;
    float* HWY_RESTRICT weights = block.weights;
    std::uint16_t* HWY_RESTRICT drawing = block.drawing;
    const auto limit = hn::Set(lanes, threshold);
    const auto zero = hn::Zero(floats);
    const auto tied = hn::Set(floats, tied_weight);
    const auto one = hn::Set(floats, 1.0f);
    int listed = 0;
    for (int p = 0, t = 0; p < block.shape.size; p += GROUP * step, group_low += step) {
        if (hn::AllTrue(lanes, hn::Gt(hn::Load(lanes, group_low), limit))) {
            t = (t + GROUP * step) % threads;
            continue;
        }
        for (int q = p; q < p + GROUP * step; q += step) {
            const auto values = hn::Load(lanes, delta + q);
            const auto eligible = hn::AndNot(hn::Gt(values, limit), freeLanes(lanes, tabu + q));
            const auto below = hn::Lt(values, limit);
            const auto weight = hn::IfThenElse(floatMask<D>(floats, below), one, tied);
            const auto before = hn::Load(floats, weights + t);
            const auto added = hn::IfThenElseZero(floatMask<D>(floats, eligible), weight);
            hn::Store(hn::Add(before, added), floats, weights + t);
            drawing[listed] = static_cast<std::uint16_t>(t);
            listed += !hn::AllFalse(lanes, eligible) && hn::AllFalse(floats, hn::Gt(before, zero));
            t += step;
            if (t == threads) t = 0;
        }
    }
    return listed;
}

/** The threads that have weights, among those of the vector from `first` on, draw. */
template <class D>
void drawUnits(const BLOCK_ARRAYS<D>& block, int first) {
    const hn::ScalableTag<D> lanes;
    const hn::Rebind<float, decltype(lanes)> floats;
    const hn::RebindToUnsigned<decltype(floats)> narrow;
    const hn::RebindToSigned<decltype(floats)> integers;
    const auto weights = hn::Load(floats, block.weights + first);
    const auto drawn = [&] {
        std::uint64_t* const states = block.generators + first;
        if constexpr (sizeof(D) == sizeof(float)) {
            const auto draws = hn::Gt(weights, hn::Zero(floats));
            return drawWords<D>(states, hn::RebindMask(lanes, draws));
        } else {
            const hn::Rebind<double, decltype(lanes)> doubles;
            const auto draws = hn::Gt(hn::PromoteTo(doubles, weights), hn::Zero(doubles));
            return hn::TruncateTo(narrow, drawWords<D>(states, hn::RebindMask(lanes, draws)));
        }
    }();
    const auto low = hn::And(drawn, hn::Set(narrow, 0xFFFF));
    const auto units = hn::ConvertTo(floats, hn::BitCast(integers, low));
    hn::Store(hn::Mul(units, hn::Set(floats, 1.0f / 65536.0f)), floats, block.draws + first);
}

template <class D>
std::int32_t drawWeighted(const BLOCK_ARRAYS<D>& block, D threshold, float tied_weight) {
    const hn::Rebind<float, hn::ScalableTag<D>> lanes;
    const auto none = hn::Set(lanes, -std::numeric_limits<float>::infinity());
    const int count = weighThreads(block, threshold, tied_weight);
    for (int i = 0; i < count; ++i)
        drawUnits(block, block.drawing[i]);
    // The rank rises with u and w. Only threads that come near the best by an estimate of it have
    // theirs computed, since the power is what this selection would spend its time on.
    auto best = none;
    for (int i = 0; i < count; ++i) {
        const int first = block.drawing[i];
        const auto weights = hn::Load(lanes, block.weights + first);
        const auto draws = hn::Load(lanes, block.draws + first);
        const auto estimates = hn::IfThenElse(hn::Gt(weights, hn::Zero(lanes)),
                                              rankEstimate(lanes, draws, weights), none);
        hn::Store(estimates, lanes, block.estimates + first);
        best = hn::Max(best, estimates);
    }
    const auto near = hn::Set(lanes, lowestNear(hn::GetLane(hn::MaxOfLanes(lanes, best))));
    std::int32_t highest = -1;
    for (int i = 0; i < count; ++i) {
        const int first = block.drawing[i];
        const auto candidates = hn::Ge(hn::Load(lanes, block.estimates + first), near);
        if (!hn::AllFalse(lanes, candidates)) {
            for (std::uint64_t bits = maskBits(lanes, candidates); bits != 0; bits &= bits - 1) {
                const int t = first + __builtin_ctzll(bits);
                const std::uint32_t rank = sampling_rank(block.draws[t], block.weights[t]);
                highest = std::max(highest, bid(rank, t));
            }
        }
        hn::Store(hn::Zero(lanes), lanes, block.weights + first);
    }
    return highest;
}

template <class D>
int race(const BLOCK_ARRAYS<D>& block, std::uint32_t threshold) {
    const hn::ScalableTag<D> lanes;
    const hn::ScalableTag<std::make_unsigned_t<D>> words;
    const int step = static_cast<int>(hn::Lanes(lanes));
    const int threads = block.shape.threads;
    const int own = block.shape.own;
    const D* HWY_RESTRICT delta = block.delta;
    const std::uint8_t* HWY_RESTRICT tabu = block.tabu;
    const auto limit = hn::Set(words, threshold);
    const auto none = hn::Set(lanes, MAX<D>);
    const auto ascending = hn::Iota(lanes, 0);
    auto lowest_yet = none;
    auto winners = hn::Zero(lanes);  // thread * own + own bit, per lane
    for (int t = 0; t < threads; t += step) {
        auto running = none;
        auto kept = hn::Zero(lanes);
        for (int c = 0; c < own; ++c) {
            const int p = c * threads + t;
            const auto values = hn::Load(lanes, delta + p);
            // A bit that could not win spends no draw.
            const auto draws = hn::And(hn::Lt(values, running), freeLanes(lanes, tabu + p));
            const auto drawn = drawWords<D>(block.generators + t, draws);
            const auto stays = hn::AndNot(hn::RebindMask(lanes, hn::Gt(drawn, limit)), draws);
            running = hn::IfThenElse(stays, values, running);
            kept = hn::IfThenElse(stays, hn::Set(lanes, static_cast<D>(c)), kept);
        }
        // Threads come in ascending order, so that of equal values the later one takes over. If no
        // bit stayed in anywhere, that is the first bit of the last thread.
        const auto thread = hn::Add(ascending, hn::Set(lanes, static_cast<D>(t)));
        const auto bits = hn::Add(hn::Mul(thread, hn::Set(lanes, static_cast<D>(own))), kept);
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
