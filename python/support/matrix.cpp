// Problems from matrices. A matrix may be large and its problem small, so it is read in as few
// sweeps as the form of the rows allows: one for the range of its elements, one for everything
// else.
#include <algorithm>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>

#include "support.hpp"

namespace orvex::python {
namespace {

/** A matrix of the caller's, row after row. */
struct MATRIX {
    std::size_t size;
    const std::int64_t* elements;

    std::int64_t at(std::size_t i, std::size_t j) const { return elements[i * size + j]; }
};

/** The elements off the diagonal: how many are not 0, and their range with 0 in it. */
struct SURVEY {
    std::size_t count = 0;
    std::int64_t smallest = 0, largest = 0;
    bool upper = true;  ///< all below the diagonal are 0
};

SURVEY survey(const MATRIX& matrix) {
    SURVEY survey;
    const auto look_at = [&](const std::int64_t* from, const std::int64_t* to) {
        for (; from < to; ++from) {
            survey.count += *from != 0;
            survey.smallest = std::min(survey.smallest, *from);
            survey.largest = std::max(survey.largest, *from);
        }
    };
    for (std::size_t i = 0; i < matrix.size; ++i) {
        const std::int64_t* const row = matrix.elements + i * matrix.size;
        const std::size_t before = survey.count;
        look_at(row, row + i);
        survey.upper = survey.upper && survey.count == before;
        look_at(row + i + 1, row + matrix.size);
    }
    return survey;
}

/** Calls work(i, j) for all i > j, tile by tile, so that both triangles stay in the cache. */
template <class WORK>
void each_below_diagonal(std::size_t size, const WORK& work) {
    constexpr std::size_t TILE = 64;
    for (std::size_t top = 0; top < size; top += TILE)
        for (std::size_t left = 0; left <= top; left += TILE)
            for (std::size_t i = top; i < std::min(top + TILE, size); ++i)
                for (std::size_t j = left; j < std::min(left + TILE, i); ++j)
                    work(i, j);
}

[[noreturn]] void refuse(const MATRIX& matrix) {
    const auto element = [&](std::size_t i, std::size_t j) {
        return "[" + std::to_string(i) + ", " + std::to_string(j) + "] is " +
               std::to_string(matrix.at(i, j));
    };
    std::size_t i = 1, j = 0;
    while (matrix.at(i, j) == matrix.at(j, i))
        if (++j == i) ++i, j = 0;
    throw std::invalid_argument("the matrix is neither symmetric nor upper triangular: " +
                                element(i, j) + " and " + element(j, i));
}

/** @param elements those of the matrix, in whatever type they are read fastest */
template <class T>
void expect_symmetric(const MATRIX& matrix, const T* elements) {
    bool symmetric = true;
    each_below_diagonal(matrix.size, [&](std::size_t i, std::size_t j) {
        symmetric &= elements[i * matrix.size + j] == elements[j * matrix.size + i];
    });
    if (!symmetric) refuse(matrix);
}

/** Rows in order are narrowed fast; what has to do with both triangles is done in the narrow ones.
 */
template <class T>
void fill(DENSE_ROWS<T>& rows, const MATRIX& matrix, bool upper) {
    for (std::size_t i = 0; i < matrix.size; ++i) {
        for (std::size_t j = 0; j < matrix.size; ++j)
            rows.row(i)[j] = static_cast<T>(matrix.at(i, j));
        rows.row(i)[i] = 0;
    }
    if (!upper) return expect_symmetric(matrix, rows.row(0));
    each_below_diagonal(matrix.size,
                        [&](std::size_t i, std::size_t j) { rows.row(i)[j] = rows.row(j)[i]; });
}

ROWS couplings_of(const MATRIX& matrix) {
    const SURVEY known = survey(matrix);
    if (is_dense(matrix.size, known.count, known.smallest, known.largest))
        return dense_rows(matrix.size, known.smallest, known.largest,
                          [&](auto& rows) { fill(rows, matrix, known.upper); });
    if (!known.upper) expect_symmetric(matrix, matrix.elements);
    return listed_rows(matrix.size, [&](const auto& take) {
        for (std::size_t i = 0; i < matrix.size; ++i)
            for (std::size_t j = i + 1; j < matrix.size; ++j)
                if (const std::int64_t value = matrix.at(i, j); value != 0) take(i, j, value);
    });
}

}  // namespace
}  // namespace orvex::python

using namespace orvex::python;

/** The upper triangle of a matrix, row after row, whose lower one repeats it or is zero throughout.
 */
ORVEX_PYTHON_API PROBLEM* orvex_python_from_matrix(std::uint32_t n, const std::int64_t* elements) {
    return guarded<>(static_cast<PROBLEM*>(nullptr), [&] {
        const MATRIX matrix{n, elements};
        auto problem = std::make_unique<PROBLEM>();
        problem->size = static_cast<int>(n);
        problem->rows = couplings_of(matrix);
        for (std::size_t i = 0; i < n; ++i)
            problem->linear.push_back(matrix.at(i, i));
        problem->settle();
        return problem.release();
    });
}
