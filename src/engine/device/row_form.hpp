// In which form CPU blocks read the rows of a matrix. Beside the record, which has every element in
// full width, a narrower or a sparse form of the rows is kept where the elements allow it: a flip
// of a large model costs what its row costs to read. Needs nothing else of the engine, so that the
// program tells by the same text what a run will do.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace orvex::device {

enum class ROW_FORM : std::uint8_t {
    RECORD,  ///< the record's own rows
    BYTES,   ///< dense rows of 8-bit elements
    WORDS,   ///< dense rows of 16-bit elements
    LISTS,   ///< the elements that are not 0, each with its place
};

/** Element of a row in the form LISTS. */
template <class E>
struct LIST_ENTRY {
    E value;
    std::uint16_t place;
};

static_assert(sizeof(LIST_ENTRY<std::int32_t>) == 8 && sizeof(LIST_ENTRY<std::int64_t>) == 16);

/** Name of a form in reports. */
constexpr const char* form_name(ROW_FORM form, int record_bits) {
    switch (form) {
        case ROW_FORM::BYTES:
            return "8-bit";
        case ROW_FORM::WORDS:
            return "16-bit";
        case ROW_FORM::LISTS:
            return "sparse";
        case ROW_FORM::RECORD:
            break;
    }
    return record_bits == 64 ? "64-bit" : "32-bit";
}

/**
 * Where the magnitudes of every row add up to less than this, no delta can leave the range of D,
 * whatever the solution: it is the diagonal element and some of the row, added or subtracted.
 */
template <class D>
inline constexpr std::uint64_t CALM_REACH = std::uint64_t{1} << (sizeof(D) * 8 - 3);

/** Statistics of the rows of a matrix, which decide on their form and on the width of the deltas;
 * one look at the whole matrix gives them. */
struct ROW_STATISTICS {
    std::uint64_t widest = 0;   ///< largest magnitude off the diagonal
    std::uint64_t entries = 0;  ///< elements off the diagonal that are not 0
    std::uint64_t reach = 0;    ///< largest sum of the magnitudes in a row, as far as it matters

    /** Takes a row in, or the statistics of some rows. */
    constexpr void add(std::uint64_t row_widest, std::uint64_t row_entries,
                       std::uint64_t row_reach) {
        widest = std::max(widest, row_widest);
        entries += row_entries;
        reach = std::max(reach, row_reach);
    }

    /** Below one entry in this number of elements, index lists beat dense rows of bytes (measured).
     */
    static constexpr std::uint64_t SPARSE_BELOW = 24;

    /** The form that a flip reads fastest; `size` is S of the band. */
    constexpr ROW_FORM best_form(int size) const {
        const auto rows = static_cast<std::uint64_t>(size);
        if (entries < rows * rows / SPARSE_BELOW) return ROW_FORM::LISTS;
        if (widest <= 127) return ROW_FORM::BYTES;
        return widest <= 32767 ? ROW_FORM::WORDS : ROW_FORM::RECORD;
    }

    /**
     * Bits of the narrowest deltas that hold every value of a search. Sums of 16 bits take
     * rows that are no wider, and whole groups of their vectors, which have up to 128 bits.
     */
    constexpr int delta_bits(ROW_FORM form, int size, int arithmetic_bits) const {
        if (form != ROW_FORM::RECORD && size % 128 == 0 && reach < CALM_REACH<std::int16_t>)
            return 16;
        return reach < CALM_REACH<std::int32_t> ? 32 : arithmetic_bits;
    }

    /**
     * Whether flips read the record's own rows: as their form, or since its sums must be tested in
     * the width of the arithmetic.
     */
    constexpr bool needs_record(ROW_FORM form, std::size_t arithmetic_bits) const {
        return form == ROW_FORM::RECORD ||
               reach >=
                   (arithmetic_bits == 64 ? CALM_REACH<std::int64_t> : CALM_REACH<std::int32_t>);
    }

    /** Memory that the form takes beside a record with elements of `element_bytes`. */
    constexpr std::size_t bytes(ROW_FORM form, int size, std::size_t element_bytes) const {
        const auto rows = static_cast<std::size_t>(size);
        switch (form) {
            case ROW_FORM::BYTES:
                return rows * rows;
            case ROW_FORM::WORDS:
                return 2 * rows * rows;
            case ROW_FORM::LISTS:
                return (rows + 1) * sizeof(std::uint64_t) + entries * 2 * element_bytes;
            case ROW_FORM::RECORD:
                break;
        }
        return 0;
    }
};

}  // namespace orvex::device
