// Compiled once per instruction set: the file includes itself through Highway, which puts each pass
// into a namespace and under the compiler's target of its own. The loops are written so that the
// compiler turns them into vectors of that target.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "engine/device/cpu/ops.cpp"
// clang-format off
#include <hwy/foreach_target.h>  // must come before highway.h
#include <hwy/highway.h>
// clang-format on

#include "engine/device/cpu/flip_pass.hpp"
#include "engine/device/cpu/loops.hpp"
#include "engine/device/cpu/selection.hpp"
#include "engine/device/cpu/words.hpp"

HWY_BEFORE_NAMESPACE();
namespace orvex::device::HWY_NAMESPACE {

/** The loops over the record's own rows; none for deltas that are narrower than its elements. */
template <class E, class D>
auto addsRecordRow() -> decltype(BLOCK_OPS<E, D>::addRow) {
    if constexpr (sizeof(D) >= sizeof(E)) return addRow<E, D>;
    return nullptr;
}
template <class E, class D>
SWEEPS<D> recordSweeps() {
    if constexpr (sizeof(D) >= sizeof(E)) return sweeps<E, D>();
    return {};
}

template <class E, class D>
BLOCK_OPS<E, D> make_ops() {
    return {.addRow = addsRecordRow<E, D>(),
            .record_rows = recordSweeps<E, D>(),
            .byte_rows = sweeps<std::int8_t, D>(),
            .word_rows = sweeps<std::int16_t, D>(),
            .summed = sweeps<void, D>(),
            .lists = listFlips<E, D>(),
            .lowest = lowest<D>,
            .lowestDiffering = lowestDiffering<D>,
            .find = find<D>,
            .findDiffering = findDiffering<D>,
            .freeRange = freeRange<D>,
            .countBelow = countBelow<D>,
            .lowestPositive = lowestPositive<D>,
            .weigh = weigh<D>,
            .weighWords = weighWords<D>,
            .noteTied = noteTied<D>,
            .pick = pick,
            .lowestInSpan = lowestInSpan<D>,
            .findInSpan = findInSpan<D>,
            .lowestFree = lowestFree<D>,
            .lowestFreeAfter = lowestFreeAfter<D>,
            .findFree = findFree<D>};
}

BLOCK_OPS<std::int32_t, std::int16_t> ops_32_16() {
    return make_ops<std::int32_t, std::int16_t>();
}
BLOCK_OPS<std::int32_t, std::int32_t> ops_32_32() {
    return make_ops<std::int32_t, std::int32_t>();
}
BLOCK_OPS<std::int32_t, std::int64_t> ops_32_64() {
    return make_ops<std::int32_t, std::int64_t>();
}
BLOCK_OPS<std::int64_t, std::int64_t> ops_64_64() {
    return make_ops<std::int64_t, std::int64_t>();
}

}  // namespace orvex::device::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace orvex::device {

HWY_EXPORT(ops_32_16);
HWY_EXPORT(ops_32_32);
HWY_EXPORT(ops_32_64);
HWY_EXPORT(ops_64_64);

template <>
BLOCK_OPS<std::int32_t, std::int16_t> block_ops() {
    return HWY_DYNAMIC_DISPATCH(ops_32_16)();
}

template <>
BLOCK_OPS<std::int32_t, std::int32_t> block_ops() {
    return HWY_DYNAMIC_DISPATCH(ops_32_32)();
}

template <>
BLOCK_OPS<std::int32_t, std::int64_t> block_ops() {
    return HWY_DYNAMIC_DISPATCH(ops_32_64)();
}

template <>
BLOCK_OPS<std::int64_t, std::int64_t> block_ops() {
    return HWY_DYNAMIC_DISPATCH(ops_64_64)();
}

}  // namespace orvex::device
#endif  // HWY_ONCE
