// One sweep over the block's state per flip: it adds the row, finds the lowest delta and looks up
// what the next selection asks first, so that every array is read once a step. For models whose
// sums cannot leave the range of the deltas (CALM_REACH). Included once per instruction set.
#if defined(ORVEX_CPU_FLIP_PASS_HPP) == defined(HWY_TARGET_TOGGLE)
#ifdef ORVEX_CPU_FLIP_PASS_HPP
#undef ORVEX_CPU_FLIP_PASS_HPP
#else
#define ORVEX_CPU_FLIP_PASS_HPP
#endif

#include <cassert>
#include <cstdint>
#include <limits>
#include <type_traits>

#include <hwy/highway.h>

#include "engine/device/cpu/lanes.hpp"
#include "engine/device/cpu/ops.hpp"

HWY_BEFORE_NAMESPACE();
namespace orvex::device::HWY_NAMESPACE {

/** N elements of a row, each negated where its byte of `ones` differs from `sign`, as deltas. */
template <class R, class TAG>
hn::Vec<TAG> signedElements(TAG lanes, const R* row, const std::int8_t* ones, std::int8_t sign) {
    using D = hn::TFromD<TAG>;
    // The sign is applied in the row's own width, where a vector instruction costs least.
    const hn::Rebind<R, TAG> narrow;
    const auto flags = hn::Xor(widenBytes(narrow, ones), hn::Set(narrow, sign));
    const auto elements = hn::Sub(hn::Xor(hn::LoadU(narrow, row), flags), flags);
    if constexpr (sizeof(R) == sizeof(D)) {
        return elements;
    } else if constexpr (sizeof(D) == 8 && sizeof(R) < 4) {
        const hn::Rebind<std::int32_t, TAG> middle;
        return hn::PromoteTo(lanes, hn::PromoteTo(middle, elements));
    } else {
        return hn::PromoteTo(lanes, elements);
    }
}

/**
 * The sweep after a flip. R is the row's element type, or void for a row that is in the deltas
 * already. `sign` is as in addRow.
 */
template <class R, PREPARE_FOR FOR, class D>
SWEEP<D> sweep(const BLOCK_ARRAYS<D>& block, const void* row_memory, std::int8_t sign) {
    const hn::ScalableTag<D> lanes;
    const int step = static_cast<int>(hn::Lanes(lanes));
    assert(block.shape.size % WORD == 0);
    assert(std::is_void_v<R> || row_memory);
    assert(sign == 0 || sign == -1);
    constexpr bool GROUPS = FOR == PREPARE_FOR::RANDOM_MIN;
    const R* HWY_RESTRICT row = static_cast<const R*>(row_memory);
    D* HWY_RESTRICT delta = block.delta;
    const std::int8_t* HWY_RESTRICT ones = block.ones;
    const std::uint8_t* HWY_RESTRICT barred = block.barred;
    D* HWY_RESTRICT group_low = block.group_low;
    const hn::RebindToUnsigned<decltype(lanes)> magnitudes;
    const auto one = hn::Set(magnitudes, 1);
    const auto highest = hn::Set(lanes, MAX<D>);
    auto low = highest;
    auto free_low = highest;
    auto free_high = hn::Set(lanes, std::numeric_limits<D>::min());
    auto positive = hn::BitCast(magnitudes, highest);  // lowest free delta above 0, less 1
    for (int p = 0; p < block.shape.size; p += WORD, group_low += step) {
        auto group = highest;
        for (int q = p; q < p + WORD; q += step) {
            auto values = hn::Load(lanes, delta + q);
            if constexpr (!std::is_void_v<R>) {
                values = hn::Add(values, signedElements(lanes, row + q, ones + q, sign));
                hn::Store(values, lanes, delta + q);
            }
            low = hn::Min(low, values);
            if constexpr (FOR == PREPARE_FOR::NOTHING) continue;
            const auto free = freeLanes(lanes, barred + q);
            const auto plays = hn::IfThenElse(free, values, highest);
            if constexpr (GROUPS) group = hn::Min(group, plays);
            if constexpr (FOR == PREPARE_FOR::MAX_MIN) {
                free_low = hn::Min(free_low, plays);
                free_high = hn::IfThenElse(free, hn::Max(free_high, values), free_high);
            }
            // Without a sign, all that is not above 0 becomes higher than any delta.
            if constexpr (FOR == PREPARE_FOR::POSITIVE_MIN)
                positive = hn::Min(positive, hn::Sub(hn::BitCast(magnitudes, plays), one));
        }
        if constexpr (GROUPS) {
            hn::Store(group, lanes, group_low);
            free_low = hn::Min(free_low, group);
        }
    }
    SWEEP<D> found{};
    found.low = hn::GetLane(hn::MinOfLanes(lanes, low));
    if constexpr (FOR == PREPARE_FOR::MAX_MIN || FOR == PREPARE_FOR::RANDOM_MIN)
        found.free.low = hn::GetLane(hn::MinOfLanes(lanes, free_low));
    if constexpr (FOR == PREPARE_FOR::MAX_MIN)
        found.free.high = hn::GetLane(hn::MaxOfLanes(lanes, free_high));
    if constexpr (FOR == PREPARE_FOR::POSITIVE_MIN) {
        // What is left is below the highest delta, so its sign says nothing any more.
        const auto left = hn::BitCast(lanes, positive);
        const D above_zero = hn::GetLane(hn::MinOfLanes(lanes, left));
        found.positive = above_zero == MAX<D> ? MAX<D> : above_zero + 1;
    }
    return found;
}

template <class R, class D>
SWEEPS<D> sweeps() {
    return {.nothing = sweep<R, PREPARE_FOR::NOTHING, D>,
            .max_min = sweep<R, PREPARE_FOR::MAX_MIN, D>,
            .positive_min = sweep<R, PREPARE_FOR::POSITIVE_MIN, D>,
            .random_min = sweep<R, PREPARE_FOR::RANDOM_MIN, D>};
}

}  // namespace orvex::device::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // include guard per target
