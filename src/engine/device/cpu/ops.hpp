// The loops of a CPU block. They know pointers and lengths, not bands, so they are compiled once
// per pair of widths and instruction set, and the best set that the processor has is chosen at run
// time.
//
// All arrays are in row order (see SHAPE): element c * T + t belongs to own bit c of thread t. Bits
// are bytes, 0 or -1, and so are truth values. Ties are broken as if the threads stored in
// ascending order: of equal deltas the highest thread wins, and within a thread the lowest own bit.
#pragma once

#include <cassert>
#include <cstddef>
#include <cstdint>

#include "engine/device/row_form.hpp"
#include "engine/device/shape.hpp"

namespace orvex::device {

/**
 * The state of a block that the loops work on; S elements each but for `generators`. D is the type
 * in which deltas are kept.
 */
template <class D>
struct BLOCK_ARRAYS {
    SHAPE shape;
    D* delta = nullptr;                   ///< change of energy if that bit alone flipped
    std::int8_t* ones = nullptr;          ///< the current solution
    std::int8_t* differs = nullptr;       ///< where the current solution differs from the target
    std::uint8_t* tabu = nullptr;         ///< tabu counters, 0 means free
    unsigned long* generators = nullptr;  ///< T states
    float* weights = nullptr;             ///< scratch: T values, all 0 between uses
    std::uint16_t* vectors = nullptr;     ///< scratch: S + 1 places where vectors begin
    std::uint16_t* drawing = nullptr;     ///< scratch: T + 1 first threads of vectors
    float* draws = nullptr;               ///< scratch: T values, what threads drew,
    float* estimates = nullptr;           ///< and about the logarithms of their keys
    D* group_low = nullptr;               ///< S / GROUP lows of the free deltas, see GROUP
    D* span_low = nullptr;                ///< lows of all deltas, see SPAN; a vector over S / SPAN
};

/**
 * Vectors whose free deltas are looked at together when bits below a threshold are wanted: lane i
 * of `group_low`'s vector g is the lowest free delta in lane i of the vectors from g * GROUP on.
 */
inline constexpr int GROUP = 4;

/** Vectors whose lowest deltas are kept for flips of few neighbours, lane by lane as with GROUP. */
inline constexpr int SPAN = 16;

/** Whether a row with so many elements changes the lows of few spans. */
template <class D>
constexpr bool touches_few_spans(std::ptrdiff_t elements, int size) {
    constexpr int LANES = 64 / sizeof(D);  // of the widest vectors
    return (elements + 1) * 2 * SPAN * LANES <= size;
}

/** Adds a listed row to the deltas; `sign` is as in BLOCK_OPS::addRow. */
template <class E, class D>
void addList(const BLOCK_ARRAYS<D>& block, const LIST_ENTRY<E>* begin, const LIST_ENTRY<E>* end,
             std::int8_t sign) {
    assert(begin <= end && (sign == 0 || sign == -1));
    for (const LIST_ENTRY<E>* entry = begin; entry != end; ++entry) {
        assert(entry->place < block.shape.size);
        const E flags = block.ones[entry->place] ^ sign;
        D& delta = block.delta[entry->place];
        delta = static_cast<D>(delta + ((entry->value ^ flags) - flags));
    }
}

/** Lowest and highest of the free deltas that are not the maximum of D. */
template <class D>
struct DELTA_RANGE {
    D low, high;
};

/** What a row did to the deltas. */
template <class D>
struct ROW_SUM {
    D low;          ///< lowest delta behind the sum
    bool overflow;  ///< some sum left the range of D
    /** 64-bit elements only: some delta is so large that an energy plus a delta might wrap. */
    bool wide;
};

/** What a sweep looks up for the next selection, beside the lowest delta. */
enum class SURVEY_FOR { NOTHING, MAX_MIN, POSITIVE_MIN };

/** What a sweep found behind the flip; of `free` and `positive` only what was asked for. */
template <class D>
struct SWEEP {
    D low;                ///< lowest delta of all
    DELTA_RANGE<D> free;  ///< "MaxMin"
    D positive;           ///< "PositiveMin": lowest free delta above 0
};

/**
 * Sweeps over rows of one element type, by what they look up. Those that look up something count
 * every tabu byte down first, and write `group_low`.
 */
template <class D>
struct SWEEPS {
    using FUNCTION = SWEEP<D> (*)(const BLOCK_ARRAYS<D>&, const void* row, std::int8_t sign);
    FUNCTION nothing, max_min, positive_min;
};

/** Deltas and energies below this in magnitude add up without wrapping. */
template <class D>
inline constexpr D WIDE = D{1} << (sizeof(D) * 8 - 3);

/**
 * E is the element type of a matrix row, D that of the deltas. A minimum over nothing is the
 * maximum of D; a selection over nothing is -1. Deltas equal to the maximum of D are out of play.
 */
template <class E, class D>
struct BLOCK_OPS {
    /**
     * A flip's change of the deltas: with `sign` -1 (the flipped bit was 1) row[p] is added for
     * bits that are 1 and subtracted for those that are 0; with `sign` 0 the other way round.
     */
    ROW_SUM<D> (*addRow)(const BLOCK_ARRAYS<D>&, const E* row, std::int8_t sign);
    /** The same where sums stay in range, with all else that a step does to every bit. */
    SWEEPS<D> record_rows, byte_rows, word_rows;
    /** Sweeps over deltas that have the row's elements in them already. */
    SWEEPS<D> summed;
    /**
     * Adds a listed row where `flipped` has its new delta already, and returns the lowest delta.
     * The lows of spans are kept, and taken anew where they are not known.
     */
    D(*flipList)
    (const BLOCK_ARRAYS<D>&, const LIST_ENTRY<E>* begin, const LIST_ENTRY<E>* end, int flipped,
     std::int8_t sign, bool spans_known);
    D (*lowest)(const BLOCK_ARRAYS<D>&);
    D (*lowestDiffering)(const BLOCK_ARRAYS<D>&);
    int (*find)(const BLOCK_ARRAYS<D>&, D value);
    int (*findDiffering)(const BLOCK_ARRAYS<D>&, D value);
    void (*countTabuDown)(const BLOCK_ARRAYS<D>&);

    // "MaxMin"; writes `group_low`
    DELTA_RANGE<D> (*freeRange)(const BLOCK_ARRAYS<D>&);
    /** Every free bit with a delta up to `threshold` draws; the highest bid. Reads `group_low`. */
    std::int32_t (*drawBelow)(const BLOCK_ARRAYS<D>&, D threshold);

    // "PositiveMin"; writes `group_low`
    D (*lowestPositive)(const BLOCK_ARRAYS<D>&);
    std::int32_t (*countEqual)(const BLOCK_ARRAYS<D>&, D value);
    /** Every thread with weight draws; the highest bid. Reads `group_low`. */
    std::int32_t (*drawWeighted)(const BLOCK_ARRAYS<D>&, D threshold, float tied_weight);

    // "CyclicMin": the free bits of the threads from `first` to before `last`
    D (*lowestInSpan)(const BLOCK_ARRAYS<D>&, int first, int last);
    int (*findInSpan)(const BLOCK_ARRAYS<D>&, int first, int last, D value);

    // "RandomMin"
    /** Free bits enter a race by their draws; the bit that wins. */
    int (*race)(const BLOCK_ARRAYS<D>&, std::uint32_t threshold);
};

/** The loops for the best instruction set that Highway now offers on this processor. */
template <class E, class D>
BLOCK_OPS<E, D> block_ops();

}  // namespace orvex::device
