// The loops of a CPU block. They know pointers and lengths, not bands, so they are compiled once
// per pair of widths and instruction set, and the best set that the processor has is chosen at run
// time.
//
// All arrays are in row order (see SHAPE): element c * T + t belongs to own bit c of thread t. Bits
// are bytes, 0 or -1, and so are truth values. Ties are broken as if the threads stored in
// ascending order: of equal deltas the highest thread wins, and within a thread the lowest own bit.
#pragma once

#include <array>
#include <cassert>
#include <cstddef>
#include <cstdint>

#include "engine/device/row_form.hpp"
#include "engine/device/shape.hpp"

namespace orvex::device {

/**
 * What is kept about each word of places (see WORD) where rows are short (words.hpp), as the rule
 * asks. The arrays are whole vectors, filled with values that no search reaches.
 */
template <class D>
struct WORD_NUMBERS {
    D* low = nullptr;         ///< lowest delta
    D* free_low = nullptr;    ///< lowest free delta
    D* free_high = nullptr;   ///< highest free delta
    D* above = nullptr;       ///< lowest delta above 0
    D* ties = nullptr;        ///< how many bits have it
    D* free_above = nullptr;  ///< lowest free delta above 0
    D* free_ties = nullptr;   ///< how many free bits have it
    int* below = nullptr;     ///< one for all words: free deltas not above 0; `chosen` notes them
};

/**
 * The state of a block that the loops work on; S elements each where nothing else is said. D is the
 * type in which deltas are kept.
 */
template <class D>
struct BLOCK_ARRAYS {
    SHAPE shape;
    D* delta = nullptr;               ///< change of energy if that bit alone flipped
    std::int8_t* ones = nullptr;      ///< the current solution
    std::int8_t* differs = nullptr;   ///< where the current solution differs from the target
    std::uint8_t* barred = nullptr;   ///< 0 where the bit is free (see TABU_LIST)
    D* group_low = nullptr;           ///< a vector of lows for each word, see WORD
    std::uint64_t* chosen = nullptr;  ///< scratch: S / WORD words, what was counted
    std::uint64_t* tied = nullptr;    ///< scratch: the same of the bits that tie
    WORD_NUMBERS<D> words{};          ///< of models with short rows
};

/**
 * Places that are looked at together: a bit for each of them makes a word, and lane i of the w-th
 * vector of `group_low` is the lowest free delta in lane i of their vectors.
 */
inline constexpr int WORD = 64;

/** Whether rows with that many elements on average change few of a block's words. */
constexpr bool touches_few_words(std::uint64_t entries, int size) {
    const auto rows = static_cast<std::uint64_t>(size);
    return (entries + rows) * 4 * WORD <= rows * rows;
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
    D low;          ///< lowest delta after the sum
    bool overflow;  ///< some sum left the range of D
    /** 64-bit elements only: some delta is so large that an energy plus a delta might wrap. */
    bool wide;
};

/** The rule whose next selection a flip prepares, by what it looks up beside the lowest delta. */
enum class PREPARE_FOR { NOTHING, MAX_MIN, POSITIVE_MIN, RANDOM_MIN };

/** What a sweep found after the flip; of `free` and `positive` only what was asked for. */
template <class D>
struct SWEEP {
    D low;                ///< lowest delta of all
    DELTA_RANGE<D> free;  ///< "MaxMin"; of "RandomMin" the lowest
    D positive;           ///< "PositiveMin": lowest free delta above 0
};

/** Sweeps over rows of one element type, by what they look up; for "RandomMin" they also write
 * `group_low`. */
template <class D>
struct SWEEPS {
    using FUNCTION = SWEEP<D> (*)(const BLOCK_ARRAYS<D>&, const void* row, std::int8_t sign);
    FUNCTION nothing, max_min, positive_min, random_min;
};

/** The places, beside those of a row, at which a flip changes something; -1 for none: the flipped
 * bit and those that came free. */
using CHANGED_PLACES = std::array<int, 3>;

/** Flips over listed rows by what they look up; see BLOCK_OPS. */
template <class E, class D>
struct LIST_FLIPS {
    using FUNCTION = SWEEP<D> (*)(const BLOCK_ARRAYS<D>&, const LIST_ENTRY<E>* begin,
                                  const LIST_ENTRY<E>* end, const CHANGED_PLACES& changed,
                                  std::int8_t sign, bool words_known);
    FUNCTION nothing, max_min, positive_min, random_min;
};

/** What "PositiveMin" draws among: see `weigh`. */
struct WEIGHED {
    int below;      ///< free bits with deltas below m
    int tied;       ///< bits with the delta m, free or not
    int tied_free;  ///< those of them that are free

    /** What all free bits weigh: 1 each below m, and the tied ones an equal part of 1. */
    double total() const {
        return below + (tied == 0 ? 0.0 : tied_free / static_cast<double>(tied));
    }
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
     * Adds a listed row where the flipped bit has its new delta already. Keeps the numbers of the
     * words that the rule asks for, and takes all of them anew where they are not known.
     */
    LIST_FLIPS<E, D> lists;
    D (*lowest)(const BLOCK_ARRAYS<D>&);
    D (*lowestDiffering)(const BLOCK_ARRAYS<D>&);
    int (*find)(const BLOCK_ARRAYS<D>&, D value);
    int (*findDiffering)(const BLOCK_ARRAYS<D>&, D value);

    /** "MaxMin". */
    DELTA_RANGE<D> (*freeRange)(const BLOCK_ARRAYS<D>&);
    /**
     * "MaxMin": free bits with deltas up to `threshold`, noted in `chosen`. Reads the numbers of
     * the words where they are known.
     */
    int (*countBelow)(const BLOCK_ARRAYS<D>&, D threshold, bool words_known);

    /** "PositiveMin": the lowest free delta above 0. */
    D (*lowestPositive)(const BLOCK_ARRAYS<D>&);
    /** "PositiveMin": notes the free bits below m in `chosen` and the tied free ones in `tied`. */
    WEIGHED (*weigh)(const BLOCK_ARRAYS<D>&, D m);
    /** The same by the numbers of the words, m being above 0; the tied bits are not noted. */
    WEIGHED (*weighWords)(const BLOCK_ARRAYS<D>&, D m);
    /** Notes these then. */
    void (*noteTied)(const BLOCK_ARRAYS<D>&, D m);

    /** The place of the noted bit number r, from 0, in row order. */
    int (*pick)(const std::uint64_t* noted, int r);

    // "CyclicMin": the free bits of the threads from `first` to before `last`
    D (*lowestInSpan)(const BLOCK_ARRAYS<D>&, int first, int last);
    int (*findInSpan)(const BLOCK_ARRAYS<D>&, int first, int last, D value);

    /** "RandomMin": the lowest free delta; writes `group_low`. */
    D (*lowestFree)(const BLOCK_ARRAYS<D>&);
    /** "RandomMin": the same where the words' numbers are known but for a bit barred or freed. */
    D (*lowestFreeAfter)(const BLOCK_ARRAYS<D>&, int place);
    /** "RandomMin": the free bit with that delta. Reads `group_low`, or the words' numbers. */
    int (*findFree)(const BLOCK_ARRAYS<D>&, D value, bool words_known);
};

/** The loops for the best instruction set that Highway now offers on this processor. */
template <class E, class D>
BLOCK_OPS<E, D> block_ops();

}  // namespace orvex::device
