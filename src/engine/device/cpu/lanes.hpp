// What the loops of a CPU block share: bytes and deltas as vector lanes, minima and searches under
// a condition, random numbers as vectors. Included once per instruction set.
#if defined(ORVEX_CPU_LANES_HPP) == defined(HWY_TARGET_TOGGLE)
#ifdef ORVEX_CPU_LANES_HPP
#undef ORVEX_CPU_LANES_HPP
#else
#define ORVEX_CPU_LANES_HPP
#endif

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

#include <hwy/highway.h>

#include "engine/device/cpu/ops.hpp"
#include "engine/device/formulas.hpp"
#include "engine/device/shape.hpp"

HWY_BEFORE_NAMESPACE();
namespace orvex::device::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

template <class D>
inline constexpr D MAX = std::numeric_limits<D>::max();

/** N bytes from `bytes` on as lanes, sign-extended. */
template <class TAG>
hn::Vec<TAG> widenBytes(TAG lanes, const std::int8_t* bytes) {
    if constexpr (sizeof(hn::TFromD<TAG>) == 8) {
        const hn::Rebind<std::int32_t, TAG> half;
        return hn::PromoteTo(lanes, widenBytes(half, bytes));
    } else if constexpr (sizeof(hn::TFromD<TAG>) == 1) {
        return hn::LoadU(lanes, bytes);
    } else {
        const hn::Rebind<std::int8_t, TAG> narrow;
        return hn::PromoteTo(lanes, hn::LoadU(narrow, bytes));
    }
}

/** Lanes of the bits that are free. */
template <class TAG>
hn::Mask<TAG> freeLanes(TAG lanes, const std::uint8_t* barred) {
#if HWY_TARGET <= HWY_AVX3 && HWY_ARCH_X86
    // A mask is a bit for each lane, whatever their width.
    const hn::Rebind<std::uint8_t, TAG> bytes;
    const auto free = hn::Eq(hn::LoadU(bytes, barred), hn::Zero(bytes));
    return {static_cast<decltype(hn::Mask<TAG>::raw)>(free.raw)};
#else
    const auto flags = widenBytes(lanes, reinterpret_cast<const std::int8_t*>(barred));
    return hn::Eq(flags, hn::Zero(lanes));
#endif
}

/** The lowest delta of the lanes from `first` to before `last` for which plays(place, deltas). */
template <class D, class PLAYS>
D lowestWhere(const D* delta, int first, int last, PLAYS plays) {
    const hn::ScalableTag<D> lanes;
    const int step = static_cast<int>(hn::Lanes(lanes));
    assert(first <= last && (last - first) % step == 0);
    const auto none = hn::Set(lanes, MAX<D>);
    auto low = none;
    for (int p = first; p < last; p += step) {
        const auto values = hn::LoadU(lanes, delta + p);
        low = hn::Min(low, hn::IfThenElse(plays(p, values), values, none));
    }
    return hn::GetLane(hn::MinOfLanes(lanes, low));
}

/** Bit i is lane i. */
template <class TAG>
std::uint64_t maskBits(TAG lanes, hn::Mask<TAG> mask) {
#if HWY_TARGET <= HWY_AVX3 && HWY_ARCH_X86
    static_cast<void>(lanes);
    // The mask passes through a register of its own width: GCC 12 may else store the 32 bits of a
    // mask and load 64 from there, with whatever lies beside them.
    auto bits = mask.raw;
    asm("" : "+r"(bits));
    return bits;
#else
    std::uint8_t bytes[8] = {};
    hn::StoreMaskBits(lanes, mask, bytes);
    std::uint64_t bits;
    std::memcpy(&bits, bytes, sizeof(bits));
    return bits;
#endif
}

/** Calls look(place, deltas, lanes of free bits) for every vector. */
template <class D, class LOOK>
void visitFree(const BLOCK_ARRAYS<D>& block, LOOK look) {
    const hn::ScalableTag<D> lanes;
    const int step = static_cast<int>(hn::Lanes(lanes));
    assert(block.shape.size % step == 0);
    for (int p = 0; p < block.shape.size; p += step)
        look(p, hn::Load(lanes, block.delta + p), freeLanes(lanes, block.barred + p));
}

/** The same, and writes `group_low`. */
template <class D, class LOOK>
void visitGroups(const BLOCK_ARRAYS<D>& block, LOOK look) {
    const hn::ScalableTag<D> lanes;
    const int step = static_cast<int>(hn::Lanes(lanes));
    assert(block.shape.size % WORD == 0);
    const auto none = hn::Set(lanes, MAX<D>);
    D* group_low = block.group_low;
    for (int p = 0; p < block.shape.size; p += WORD, group_low += step) {
        auto low = none;
        for (int q = p; q < p + WORD; q += step) {
            const auto values = hn::Load(lanes, block.delta + q);
            const auto free = freeLanes(lanes, block.barred + q);
            low = hn::Min(low, hn::IfThenElse(free, values, none));
            look(q, values, free);
        }
        hn::Store(low, lanes, group_low);
    }
}

/** The lanes of the vector at `t` that lie within [first, last). */
template <class TAG>
hn::Mask<TAG> lanesIn(TAG lanes, int t, int first, int last) {
    assert(t < last && first <= last);
    const auto before_last = hn::FirstN(lanes, static_cast<std::size_t>(last - t));
    const auto before_first = hn::FirstN(lanes, static_cast<std::size_t>(std::max(first - t, 0)));
    return hn::AndNot(before_first, before_last);
}

/** Index of the last true lane, or -1. */
template <class TAG>
int lastTrue(TAG lanes, hn::Mask<TAG> mask) {
    const std::uint64_t bits = maskBits(lanes, mask);
    return bits == 0 ? -1 : 63 - __builtin_clzll(bits);
}

/**
 * The bit of the highest thread from `first` to before `last` with an own bit in a lane for which
 * matches(place), the lowest such own bit of it; -1 if there is none. Lanes of threads before
 * `first` are looked at together with the first one and dropped.
 */
template <class D, class MATCHES>
int findLast(const SHAPE& shape, int first, int last, MATCHES matches) {
    const hn::ScalableTag<D> lanes;
    const int step = static_cast<int>(hn::Lanes(lanes));
    assert(first >= 0 && first < last && last <= shape.threads);
    assert(shape.threads % step == 0);
    int best_thread = first - 1;
    int best_own = 0;
    for (int c = 0; c < shape.own; ++c) {
        const int chunk = c * shape.threads;
        // T is a multiple of the number of lanes: begin from the whole vector that holds last - 1.
        for (int t = (last - 1) / step * step; t + step - 1 > best_thread; t -= step) {
            auto mask = matches(chunk + t);
            if (hn::AllFalse(lanes, mask)) continue;
            if (t + step > last) mask = hn::And(mask, lanesIn(lanes, t, 0, last));
            const int thread = t + lastTrue(lanes, mask);
            if (thread > best_thread && thread >= t) {
                best_thread = thread;
                best_own = c;
                break;
            }
        }
    }
    return best_thread < first ? -1 : best_thread * shape.own + best_own;
}

}  // namespace orvex::device::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // include guard per target
