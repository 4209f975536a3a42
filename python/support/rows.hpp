// The couplings of a problem, row after row, in one of two forms: lists of those that are not 0, or
// all of them in the narrowest type that holds them. Invariant: each coupling stands in the rows of
// both of its variables, a row's own element is 0, and the form is the one that takes less memory.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <type_traits>
#include <variant>
#include <vector>

#include <orvex/mat.hpp>

#include "toolkit/model/bounds.hpp"

namespace orvex::python {

using Wide = toolkit::Wide;

/** What each variable's couplings count for in a sum: 0, 1 or 2. */
using FACTORS = std::vector<std::int8_t>;

/** What is known of a row. */
struct ROW_FACTS {
    Wide positive = 0, negative = 0;  ///< sums
    std::int64_t count = 0;           ///< elements that are not 0
    std::int64_t smallest = 0, largest = 0;
};

/** Elements that are not 0, each with its variable, in ascending order. */
struct LISTED_ROWS {
    std::vector<std::int64_t> begin;  ///< of each row; one more for the end
    std::vector<std::int32_t> other;
    std::vector<std::int64_t> coupling;

    static constexpr std::size_t BYTES_OF_ELEMENT = 12;
    std::size_t bytes() const { return other.size() * BYTES_OF_ELEMENT + begin.size() * 8; }

    /** Calls work(j, coupling) for the elements of row i whose j is `from` or above. */
    template <class WORK>
    void each(std::size_t i, std::size_t from, const WORK& work) const {
        const auto first = other.begin() + begin[i], end = other.begin() + begin[i + 1];
        const auto start = std::lower_bound(first, end, static_cast<std::int32_t>(from));
        for (auto k = static_cast<std::size_t>(start - other.begin());
             k < static_cast<std::size_t>(begin[i + 1]); ++k)
            work(static_cast<std::size_t>(other[k]), coupling[k]);
    }

    Wide sum(std::size_t i, const FACTORS& factors) const {
        Wide total = 0;
        each(i, 0, [&](std::size_t j, std::int64_t value) {
            if (factors[j] != 0) total += Wide{value} * factors[j];
        });
        return total;
    }

    ROW_FACTS facts(std::size_t i) const {
        ROW_FACTS facts;
        each(i, 0, [&](std::size_t, std::int64_t value) {
            (value < 0 ? facts.negative : facts.positive) += value;
            ++facts.count;
            facts.smallest = std::min(facts.smallest, value);
            facts.largest = std::max(facts.largest, value);
        });
        return facts;
    }
};

/** All elements. Sums are formed in pieces that a narrow type cannot overflow: those are fast. */
template <class T>
struct DENSE_ROWS {
    std::size_t size;
    std::unique_ptr<T[]> elements = std::make_unique<T[]>(size * size);

    std::size_t bytes() const { return size * size * sizeof(T); }
    T* row(std::size_t i) { return elements.get() + i * size; }
    const T* row(std::size_t i) const { return elements.get() + i * size; }

    template <class WORK>
    void each(std::size_t i, std::size_t from, const WORK& work) const {
        const T* const values = row(i);
        for (std::size_t j = from; j < size; ++j)
            if (values[j] != 0) work(j, std::int64_t{values[j]});
    }

    Wide sum(std::size_t i, const FACTORS& factors) const {
        const T* const values = row(i);
        Wide total = 0;
        for (std::size_t from = 0; from < size; from += PIECE) {
            PART part = 0;
            for (std::size_t j = from; j < std::min(from + PIECE, size); ++j)
                part += static_cast<PART>(values[j]) * factors[j];
            total += part;
        }
        return total;
    }

    /** One plain loop for each question: those the compiler makes vectors of. */
    ROW_FACTS facts(std::size_t i) const {
        const T* const values = row(i);
        ROW_FACTS facts;
        for (std::size_t from = 0; from < size; from += PIECE) {
            const std::size_t to = std::min(from + PIECE, size);
            PART sum = 0, positive = 0;
            for (std::size_t j = from; j < to; ++j) {
                const PART value = values[j];
                sum += value;
                positive += value > 0 ? value : 0;
            }
            facts.positive += positive;
            facts.negative += sum - positive;
        }
        std::int32_t count = 0;
        for (std::size_t j = 0; j < size; ++j)
            count += values[j] != 0;
        T smallest = 0, largest = 0;
        for (std::size_t j = 0; j < size; ++j) {
            smallest = std::min(smallest, values[j]);
            largest = std::max(largest, values[j]);
        }
        facts.count = count;
        facts.smallest = smallest;
        facts.largest = largest;
        return facts;
    }

  private:
    static constexpr std::size_t PIECE = 4096;
    using PART = std::conditional_t<sizeof(T) <= 2, std::int32_t,
                                    std::conditional_t<sizeof(T) == 4, std::int64_t, Wide>>;
};

using ROWS = std::variant<LISTED_ROWS, DENSE_ROWS<std::int8_t>, DENSE_ROWS<std::int16_t>,
                          DENSE_ROWS<std::int32_t>, DENSE_ROWS<std::int64_t>>;

/** Calls work with rows of zeros in the narrowest type that holds a range; they become a problem's.
 */
template <class WORK>
ROWS dense_rows(std::size_t size, std::int64_t smallest, std::int64_t largest, const WORK& work) {
    const auto filled = [&](auto rows) {
        work(rows);
        return ROWS(std::move(rows));
    };
    switch (find_wbit(smallest, largest)) {
        case 8:
            return filled(DENSE_ROWS<std::int8_t>{size});
        case 16:
            return filled(DENSE_ROWS<std::int16_t>{size});
        case 32:
            return filled(DENSE_ROWS<std::int32_t>{size});
        default:
            return filled(DENSE_ROWS<std::int64_t>{size});
    }
}

/** Whether so many elements, both of each pair counted, are better kept with all the zeros. */
inline bool is_dense(std::size_t size, std::size_t elements, std::int64_t smallest,
                     std::int64_t largest) {
    const auto width = static_cast<std::size_t>(find_wbit(smallest, largest)) / 8;
    return size * size * width <= elements * LISTED_ROWS::BYTES_OF_ELEMENT;
}

/** Lists of what `each` calls its argument with: all (i, j, value), i < j, the same again twice. */
template <class EACH>
LISTED_ROWS listed_rows(std::size_t size, const EACH& each) {
    LISTED_ROWS rows;
    std::vector<std::int64_t>& begin = rows.begin;
    begin.resize(size + 1);
    each([&](std::size_t i, std::size_t j, std::int64_t) { ++begin[i + 1], ++begin[j + 1]; });
    for (std::size_t i = 1; i < begin.size(); ++i)
        begin[i] += begin[i - 1];
    rows.other.resize(static_cast<std::size_t>(begin.back()));
    rows.coupling.resize(rows.other.size());
    std::vector<std::int64_t> next(begin.begin(), begin.end() - 1);
    const auto put = [&](std::size_t at, std::size_t other, std::int64_t value) {
        const auto slot = static_cast<std::size_t>(next[at]++);
        rows.other[slot] = static_cast<std::int32_t>(other);
        rows.coupling[slot] = value;
    };
    each([&](std::size_t i, std::size_t j, std::int64_t value) {
        put(i, j, value);
        put(j, i, value);
    });
    return rows;
}

/**
 * The rows of `pairs` couplings in a range.
 *
 * @param each calls its argument with all (i, j, value), i < j, value not 0, whenever it is called
 */
template <class EACH>
ROWS rows_of(std::size_t size, std::size_t pairs, std::int64_t smallest, std::int64_t largest,
             const EACH& each) {
    if (!is_dense(size, 2 * pairs, smallest, largest)) return listed_rows(size, each);
    return dense_rows(size, smallest, largest, [&](auto& rows) {
        each([&](std::size_t i, std::size_t j, std::int64_t value) {
            using T = std::remove_reference_t<decltype(*rows.row(0))>;
            rows.row(i)[j] = rows.row(j)[i] = static_cast<T>(value);
        });
    });
}

}  // namespace orvex::python
