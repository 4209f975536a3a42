// The lowest delta of a large model whose rows have few elements. A flip changes the deltas of its
// neighbours alone; the lows of spans of vectors are kept, so that it costs looking at the spans it
// touched and at their lows, not at all bits. Included once per instruction set.
#if defined(ORVEX_CPU_SPANS_HPP) == defined(HWY_TARGET_TOGGLE)
#ifdef ORVEX_CPU_SPANS_HPP
#undef ORVEX_CPU_SPANS_HPP
#else
#define ORVEX_CPU_SPANS_HPP
#endif

#include <algorithm>
#include <cassert>
#include <cstdint>

#include <hwy/highway.h>

#include "engine/device/cpu/lanes.hpp"
#include "engine/device/cpu/ops.hpp"

HWY_BEFORE_NAMESPACE();
namespace orvex::device::HWY_NAMESPACE {

/** Takes the low of each lane of a span anew; the span at the end of the block may be shorter. */
template <class TAG, class D = hn::TFromD<TAG>>
void takeSpan(TAG lanes, const BLOCK_ARRAYS<D>& block, int span) {
    const int step = static_cast<int>(hn::Lanes(lanes));
    assert(span >= 0 && span * SPAN * step < block.shape.size);
    const int first = span * SPAN * step;
    const int last = std::min(first + SPAN * step, block.shape.size);
    auto low = hn::Load(lanes, block.delta + first);
    for (int p = first + step; p < last; p += step)
        low = hn::Min(low, hn::Load(lanes, block.delta + p));
    hn::Store(low, lanes, block.span_low + span * step);
}

template <class E, class D>
D flipList(const BLOCK_ARRAYS<D>& block, const LIST_ENTRY<E>* begin, const LIST_ENTRY<E>* end,
           int flipped, std::int8_t sign, bool spans_known) {
    const hn::ScalableTag<D> lanes;
    const int step = static_cast<int>(hn::Lanes(lanes));
    assert(flipped >= 0 && flipped < block.shape.size);
    const int spans = (block.shape.size + SPAN * step - 1) / (SPAN * step);
    addList(block, begin, end, sign);
    if (spans_known) {
        takeSpan(lanes, block, flipped / (SPAN * step));
        for (const LIST_ENTRY<E>* entry = begin; entry != end; ++entry)
            takeSpan(lanes, block, entry->place / (SPAN * step));
    } else {
        for (int span = 0; span < spans; ++span)
            takeSpan(lanes, block, span);
    }
    auto low = hn::Load(lanes, block.span_low);
    for (int span = 1; span < spans; ++span)
        low = hn::Min(low, hn::Load(lanes, block.span_low + span * step));
    return hn::GetLane(hn::MinOfLanes(lanes, low));
}

}  // namespace orvex::device::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // include guard per target
