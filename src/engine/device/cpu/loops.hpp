// The loops behind BLOCK_OPS of the walk, the descent and "CyclicMin", included once per
// instruction set. Each is a straight pass over the S elements in row order; where a rule asks for
// an order within a thread (own bits ascending), the outer loop is over the own bits and the inner
// one over the threads.
#if defined(ORVEX_CPU_LOOPS_HPP) == defined(HWY_TARGET_TOGGLE)
#ifdef ORVEX_CPU_LOOPS_HPP
#undef ORVEX_CPU_LOOPS_HPP
#else
#define ORVEX_CPU_LOOPS_HPP
#endif

#include <algorithm>
#include <cassert>
#include <cstring>
#include <limits>

#include <hwy/highway.h>

#include "engine/device/cpu/lanes.hpp"
#include "engine/device/cpu/ops.hpp"

HWY_BEFORE_NAMESPACE();
namespace orvex::device::HWY_NAMESPACE {

template <class E, class D>
ROW_SUM<D> addRow(const BLOCK_ARRAYS<D>& block, const E* HWY_RESTRICT row, std::int8_t sign) {
    using UE = std::make_unsigned_t<E>;
    using UD = std::make_unsigned_t<D>;
    assert(sign == 0 || sign == -1);
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
    assert(block.shape.size % step == 0);
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
D lowestInSpan(const BLOCK_ARRAYS<D>& block, int first, int last) {
    const hn::ScalableTag<D> lanes;
    const int step = static_cast<int>(hn::Lanes(lanes));
    assert(first >= 0 && last <= block.shape.threads);
    assert(block.shape.threads % step == 0);
    const auto none = hn::Set(lanes, MAX<D>);
    auto low = none;
    for (int c = 0; c < block.shape.own; ++c) {
        const int chunk = c * block.shape.threads;
        for (int t = first / step * step; t < last; t += step) {
            auto plays = freeLanes(lanes, block.barred + chunk + t);
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
    assert(first >= 0 && last <= block.shape.threads);
    if (first >= last) return -1;
    const hn::ScalableTag<D> lanes;
    const D* delta = block.delta;
    const std::uint8_t* barred = block.barred;
    const auto wanted = hn::Set(lanes, value);
    return findLast<D>(block.shape, first, last, [=](int p) {
        return hn::And(hn::Eq(hn::LoadU(lanes, delta + p), wanted), freeLanes(lanes, barred + p));
    });
}

}  // namespace orvex::device::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // include guard per target
