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
#include <cassert>
#include <cstdint>
#include <limits>

#include <hwy/highway.h>

#include "engine/device/cpu/lanes.hpp"
#include "engine/device/cpu/ops.hpp"
#include "engine/device/formulas.hpp"

HWY_BEFORE_NAMESPACE();
namespace orvex::device::HWY_NAMESPACE {

/** States of generators, fewer to a vector than deltas where these have 32 bits. */
using STATES = hn::ScalableTag<std::uint64_t>;

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

/** The generators of the threads of a vector of bidders, taken from memory once for some draws. */
template <class B>
class GENERATORS {
  public:
    using WORDS = hn::ScalableTag<std::make_unsigned_t<B>>;
    using BIDDERS = hn::Mask<hn::ScalableTag<B>>;

    explicit GENERATORS(std::uint64_t* states) : memory_(states), low_(hn::Load(STATES(), states)) {
        if constexpr (TWO) high_ = hn::Load(STATES(), states + hn::Lanes(STATES()));
    }

    /** Moves them on where `draws`; returns the low words of what all of them would draw. */
    hn::Vec<WORDS> draw(BIDDERS draws) {
        if constexpr (sizeof(B) == 8) {
            const auto drawn = moveOn(low_, hn::RebindMask(STATES(), draws));
            return hn::And(drawn, hn::Set(WORDS(), 0xFFFFFFFFu));
        } else {
#if HWY_TARGET == HWY_SCALAR
            const auto wide = hn::Mask<STATES>::FromBool(draws.bits != 0);
            return hn::TruncateTo(WORDS(), moveOn(low_, wide));
#else
            const auto low = moveOn(low_, halfMask<0>(hn::ScalableTag<B>(), draws));
            const auto high = moveOn(high_, halfMask<1>(hn::ScalableTag<B>(), draws));
            return hn::ConcatEven(WORDS(), hn::BitCast(WORDS(), high), hn::BitCast(WORDS(), low));
#endif
        }
    }

    void store() const {
        hn::Store(low_, STATES(), memory_);
        if constexpr (TWO) hn::Store(high_, STATES(), memory_ + hn::Lanes(STATES()));
    }

  private:
    /** Bidders of 32 bits, more than one to a vector, have their states in two vectors. */
    static constexpr bool TWO = sizeof(B) == 4 && HWY_TARGET != HWY_SCALAR;

    static hn::Vec<STATES> moveOn(hn::Vec<STATES>& state, hn::Mask<STATES> draws) {
        const auto moved = xorShiftLanes(state);
        state = hn::IfThenElse(draws, moved, state);
        return moved;
    }

    std::uint64_t* const memory_;
    hn::Vec<STATES> low_;
    hn::Vec<STATES> high_;  // only if TWO
};

/** One draw of each thread of a vector of bidders that `draws`; as GENERATORS::draw(). */
template <class B>
auto drawWords(std::uint64_t* states, hn::Mask<hn::ScalableTag<B>> draws) {
    GENERATORS<B> generators(states);
    const auto words = generators.draw(draws);
    generators.store();
    return words;
}

template <class D>
std::int32_t drawBelow(const BLOCK_ARRAYS<D>& block, D threshold) {
    using B = BIDDER<D>;
    const hn::ScalableTag<B> lanes;
    const hn::ScalableTag<std::make_unsigned_t<B>> words;
    const int threads = block.shape.threads;
    const auto limit = hn::Set(lanes, B{threshold});
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
        assert(place < block.shape.size && thread >= 0 && thread < threads);
        const auto above = hn::Gt(loadDeltas(lanes, delta + place), limit);
        const auto draws = hn::AndNot(above, freeLanes(lanes, tabu + place));
        const auto ranks = hn::And(drawWords<B>(block.generators + thread, draws), rank);
        const auto owners = hn::Add(ascending, hn::Set(lanes, static_cast<B>(thread)));
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

/** A mask of bidders as one of as many floats. */
template <class B, class TAG>
hn::Mask<TAG> floatMask(TAG lanes, hn::Mask<hn::ScalableTag<B>> mask) {
    if constexpr (sizeof(B) == sizeof(float)) {
        return hn::RebindMask(lanes, mask);
    } else {
        const hn::ScalableTag<B> wide;
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
    using B = BIDDER<D>;
    const hn::ScalableTag<D> group_lanes;
    const hn::ScalableTag<B> lanes;
    const hn::Rebind<float, decltype(lanes)> floats;
    const int group_step = static_cast<int>(hn::Lanes(group_lanes));
    const int step = static_cast<int>(hn::Lanes(lanes));
    const int threads = block.shape.threads;
    const D* HWY_RESTRICT delta = block.delta;
    const D* HWY_RESTRICT group_low = block.group_low;
    const std::uint8_t* HWY_RESTRICT tabu = block.tabu;
    float* HWY_RESTRICT weights = block.weights;
    std::uint16_t* HWY_RESTRICT drawing = block.drawing;
    const auto group_limit = hn::Set(group_lanes, threshold);
    const auto limit = hn::Set(lanes, B{threshold});
    const auto zero = hn::Zero(floats);
    const auto tied = hn::Set(floats, tied_weight);
    const auto one = hn::Set(floats, 1.0f);
    int listed = 0;
    for (int p = 0, t = 0; p < block.shape.size; p += GROUP * group_step, group_low += group_step) {
        if (hn::AllTrue(group_lanes, hn::Gt(hn::Load(group_lanes, group_low), group_limit))) {
            t = (t + GROUP * group_step) % threads;
            continue;
        }
        for (int q = p; q < p + GROUP * group_step; q += step) {
            const auto values = loadDeltas(lanes, delta + q);
            const auto eligible = hn::AndNot(hn::Gt(values, limit), freeLanes(lanes, tabu + q));
            const auto below = hn::Lt(values, limit);
            const auto weight = hn::IfThenElse(floatMask<B>(floats, below), one, tied);
            const auto before = hn::Load(floats, weights + t);
            const auto added = hn::IfThenElseZero(floatMask<B>(floats, eligible), weight);
            hn::Store(hn::Add(before, added), floats, weights + t);
            drawing[listed] = static_cast<std::uint16_t>(t);
            listed += !hn::AllFalse(lanes, eligible) && hn::AllFalse(floats, hn::Gt(before, zero));
            t += step;
            if (t == threads) t = 0;
        }
    }
    return listed;
}

/** The same thread by thread, without looking for vectors that add nothing. */
template <class D>
int weighAllThreads(const BLOCK_ARRAYS<D>& block, D threshold, float tied_weight) {
    using B = BIDDER<D>;
    const hn::ScalableTag<B> lanes;
    const hn::Rebind<float, decltype(lanes)> floats;
    const int step = static_cast<int>(hn::Lanes(lanes));
    assert(block.shape.threads % step == 0);
    const int threads = block.shape.threads;
    const int own = block.shape.own;
    const auto limit = hn::Set(lanes, B{threshold});
    const auto tied = hn::Set(floats, tied_weight);
    const auto one = hn::Set(floats, 1.0f);
    int listed = 0;
    for (int t = 0; t < threads; t += step) {
        auto weights = hn::Zero(floats);
        for (int c = 0; c < own; ++c) {
            const int p = c * threads + t;
            const auto values = loadDeltas(lanes, block.delta + p);
            const auto free = freeLanes(lanes, block.tabu + p);
            const auto eligible = hn::AndNot(hn::Gt(values, limit), free);
            const auto below = hn::Lt(values, limit);
            const auto weight = hn::IfThenElse(floatMask<B>(floats, below), one, tied);
            const auto added = hn::IfThenElseZero(floatMask<B>(floats, eligible), weight);
            weights = hn::Add(weights, added);
        }
        hn::Store(weights, floats, block.weights + t);
        block.drawing[listed] = static_cast<std::uint16_t>(t);
        listed += !hn::AllFalse(floats, hn::Gt(weights, hn::Zero(floats)));
    }
    return listed;
}

/** The threads that have weights, among those of the vector from `first` on, draw. */
template <class D>
void drawUnits(const BLOCK_ARRAYS<D>& block, int first) {
    using B = BIDDER<D>;
    const hn::ScalableTag<B> lanes;
    const hn::Rebind<float, decltype(lanes)> floats;
    const hn::RebindToUnsigned<decltype(floats)> narrow;
    const hn::RebindToSigned<decltype(floats)> integers;
    const auto weights = hn::Load(floats, block.weights + first);
    const auto drawn = [&] {
        std::uint64_t* const states = block.generators + first;
        if constexpr (sizeof(B) == sizeof(float)) {
            const auto draws = hn::Gt(weights, hn::Zero(floats));
            return drawWords<B>(states, hn::RebindMask(lanes, draws));
        } else {
            const hn::Rebind<double, decltype(lanes)> doubles;
            const auto draws = hn::Gt(hn::PromoteTo(doubles, weights), hn::Zero(doubles));
            return hn::TruncateTo(narrow, drawWords<B>(states, hn::RebindMask(lanes, draws)));
        }
    }();
    const auto low = hn::And(drawn, hn::Set(narrow, 0xFFFF));
    const auto units = hn::ConvertTo(floats, hn::BitCast(integers, low));
    hn::Store(hn::Mul(units, hn::Set(floats, 1.0f / 65536.0f)), floats, block.draws + first);
}

template <class D>
std::int32_t drawWeighted(const BLOCK_ARRAYS<D>& block, D threshold, float tied_weight) {
    const hn::Rebind<float, hn::ScalableTag<BIDDER<D>>> lanes;
    const auto none = hn::Set(lanes, -std::numeric_limits<float>::infinity());
    // Where so many bits tie, nearly all threads have some.
    const bool most_draw = tied_weight * static_cast<float>(block.shape.threads) <= 4.0f;
    const int count = most_draw ? weighAllThreads(block, threshold, tied_weight)
                                : weighThreads(block, threshold, tied_weight);
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
                assert(t < block.shape.threads);
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
    using B = BIDDER<D>;
    const hn::ScalableTag<B> lanes;
    const hn::ScalableTag<std::make_unsigned_t<B>> words;
    const int step = static_cast<int>(hn::Lanes(lanes));
    assert(block.shape.threads % step == 0);
    const int threads = block.shape.threads;
    const int own = block.shape.own;
    const D* HWY_RESTRICT delta = block.delta;
    const std::uint8_t* HWY_RESTRICT tabu = block.tabu;
    const auto limit = hn::Set(words, threshold);
    const auto none = hn::Set(lanes, MAX<B>);
    const auto ascending = hn::Iota(lanes, 0);
    auto lowest_yet = none;
    auto winners = hn::Zero(lanes);  // thread * own + own bit, per lane
    for (int t = 0; t < threads; t += step) {
        auto running = none;
        auto kept = hn::Zero(lanes);
        GENERATORS<B> generators(block.generators + t);
        for (int c = 0; c < own; ++c) {
            const int p = c * threads + t;
            const auto values = loadDeltas(lanes, delta + p);
            // A bit that could not win spends no draw.
            const auto draws = hn::And(hn::Lt(values, running), freeLanes(lanes, tabu + p));
            const auto drawn = generators.draw(draws);
            const auto stays = hn::AndNot(hn::RebindMask(lanes, hn::Gt(drawn, limit)), draws);
            running = hn::IfThenElse(stays, values, running);
            kept = hn::IfThenElse(stays, hn::Set(lanes, static_cast<B>(c)), kept);
        }
        generators.store();
        // Threads come in ascending order, so that of equal values the later one takes over. If no
        // bit stayed in anywhere, that is the first bit of the last thread.
        const auto thread = hn::Add(ascending, hn::Set(lanes, static_cast<B>(t)));
        const auto bits = hn::Add(hn::Mul(thread, hn::Set(lanes, static_cast<B>(own))), kept);
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
