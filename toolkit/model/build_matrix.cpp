// Problems from matrices. A matrix of the caller's may be large and its elements much wider than
// the weights are, so it is read once: row by row into the model, narrowed, and the two triangles
// are added up in the narrow rows. The width is guessed from some of the variables; where another
// needs more, the model is made anew.
#include <algorithm>
#include <cstddef>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>

#include "toolkit/model/build.hpp"
#include "toolkit/model/errors.hpp"
#include "toolkit/model/facts.hpp"

namespace orvex::toolkit {
namespace {

/** A matrix of the caller's. */
template <class T>
struct Matrix {
    std::size_t size;
    const T* elements;

    const T* row(std::size_t i) const { return elements + i * size; }
    std::string text(std::size_t i, std::size_t j) const {
        return "[" + std::to_string(i) + ", " + std::to_string(j) + "] is " +
               std::to_string(row(i)[j]);
    }
};

bool fits(Wide weight) {
    return weight == static_cast<long>(weight);
}

/**
 * Converts elements, and tells whether all of them fit. What is beyond is gathered in bits, without
 * a branch or a comparison, which makes vectors of it even where there are none for the type.
 */
template <class Weight, class T>
bool narrow(Weight* weights, const T* elements, std::size_t count) {
    using Bits = std::make_unsigned_t<T>;
    constexpr int WIDTH = 8 * static_cast<int>(sizeof(Weight));
    constexpr int HIGHEST =
        std::is_signed_v<T> ? WIDTH : WIDTH - 1;  // unused bit of those that fit
    if constexpr (HIGHEST >= 8 * static_cast<int>(sizeof(T))) {
        for (std::size_t j = 0; j < count; ++j)
            weights[j] = static_cast<Weight>(elements[j]);
        return true;
    } else {
        constexpr Bits LOWEST = std::is_signed_v<T> ? Bits{1} << (WIDTH - 1) : Bits{0};
        Bits used = 0;
        for (std::size_t j = 0; j < count; ++j) {
            weights[j] = static_cast<Weight>(elements[j]);
            used = static_cast<Bits>(used |
                                     static_cast<Bits>(static_cast<Bits>(elements[j]) + LOWEST));
        }
        return used >> HIGHEST == 0;
    }
}

template <class Weight>
bool any(const Weight* weights, std::size_t count) {
    Weight bits = 0;
    for (std::size_t j = 0; j < count; ++j)
        bits = static_cast<Weight>(bits | weights[j]);
    return bits != 0;
}

/** Calls work(i, j) for all i > j, tile by tile, so that both triangles stay in the cache. */
template <class Work>
void each_below_diagonal(std::size_t size, const Work& work) {
    constexpr std::size_t TILE = 64;
    for (std::size_t top = 0; top < size; top += TILE)
        for (std::size_t left = 0; left <= top; left += TILE)
            for (std::size_t i = top; i < std::min(top + TILE, size); ++i)
                for (std::size_t j = left; j < std::min(left + TILE, i); ++j)
                    work(i, j);
}

template <class T>
[[noreturn]] void refuse_sum(const Matrix<T>& matrix) {
    const auto sum = [&](std::size_t i, std::size_t j) {
        return Wide{matrix.row(i)[j]} + matrix.row(j)[i];
    };
    std::size_t i = 1, j = 0;
    while (fits(sum(i, j)))
        if (++j == i) ++i, j = 0;
    throw InputError(matrix.text(i, j) + " and " + matrix.text(j, i) +
                     ", and their sum, the weight of the pair, does not fit into 64 bits");
}

template <class T>
[[noreturn]] void refuse_too_large(const Matrix<T>& matrix) {
    std::size_t k = 0;
    while (std::in_range<long>(matrix.elements[k]))
        ++k;
    throw InputError(matrix.text(k / matrix.size, k % matrix.size) +
                     ", which does not fit into 64 bits");
}

/** Fills the rows of a model of zeros. False if an element, or a pair's weight, does not fit. */
template <class Weight, class T>
bool fill(Weight* rows, const Matrix<T>& matrix) {
    const std::size_t n = matrix.size;
    bool upper = true;
    for (std::size_t i = 0; i < n; ++i) {
        Weight* const row = rows + i * n;
        if (!narrow(row, matrix.row(i), n)) return false;
        upper = upper && !any(row, i);
    }
    if (upper) {
        each_below_diagonal(
            n, [&](std::size_t i, std::size_t j) { rows[i * n + j] = rows[j * n + i]; });
        return true;
    }
    bool beyond = false;
    each_below_diagonal(n, [&](std::size_t i, std::size_t j) {
        Weight& below = rows[i * n + j];
        beyond |= __builtin_add_overflow(below, rows[j * n + i], &below);
        rows[j * n + i] = below;
    });
    if (beyond && sizeof(Weight) == sizeof(long)) refuse_sum(matrix);
    return !beyond;
}

/** The width that the weights of some variables need: nearly always that of all. */
template <class T>
int guessed_width(const Matrix<T>& matrix) {
    constexpr std::size_t STEP = 64;
    Wide smallest = 0, largest = 0;
    for (std::size_t i = 0; i < matrix.size; i += STEP)
        for (std::size_t j = 0; j < matrix.size; ++j) {
            const Wide weight =
                i == j ? Wide{matrix.row(i)[i]} : Wide{matrix.row(i)[j]} + matrix.row(j)[i];
            smallest = std::min(smallest, weight);
            largest = std::max(largest, weight);
        }
    if (!fits(smallest) || !fits(largest)) return 64;
    return weight_width(static_cast<long>(smallest), static_cast<long>(largest));
}

/** A model of this width; null if it is not enough. */
template <class T>
std::unique_ptr<const Model> model_of_width(int width, const Matrix<T>& matrix) {
    const int size = static_cast<int>(matrix.size);
    expect_model_memory(size, width);
    auto model = std::make_unique<Model>(size, width);
    unsigned char* const rows = model->impl().mat.data.get();
    const auto filled = [&](auto* weights) { return fill(weights, matrix); };
    const bool enough = width == 8    ? filled(reinterpret_cast<std::int8_t*>(rows))
                        : width == 16 ? filled(reinterpret_cast<std::int16_t*>(rows))
                        : width == 32 ? filled(reinterpret_cast<std::int32_t*>(rows))
                                      : filled(reinterpret_cast<std::int64_t*>(rows));
    if (!enough && width == 64) refuse_too_large(matrix);
    return enough ? std::move(model) : nullptr;
}

}  // namespace

template <class T>
Problem problem_of_matrix(int size, const T* elements) {
    expect_model_size(size);
    const Matrix<T> matrix{static_cast<std::size_t>(size), elements};
    for (int width = guessed_width(matrix);; width *= 2) {
        Problem problem;
        auto model = model_of_width(width, matrix);
        if (!model) continue;
        problem.weights = Weights(std::move(model));
        take_facts(problem);
        if (weight_width(problem.smallest, problem.largest) <= width) return problem;
    }
}

template Problem problem_of_matrix(int, const std::int8_t*);
template Problem problem_of_matrix(int, const std::int16_t*);
template Problem problem_of_matrix(int, const std::int32_t*);
template Problem problem_of_matrix(int, const std::int64_t*);
template Problem problem_of_matrix(int, const std::uint8_t*);
template Problem problem_of_matrix(int, const std::uint16_t*);
template Problem problem_of_matrix(int, const std::uint32_t*);
template Problem problem_of_matrix(int, const std::uint64_t*);

}  // namespace orvex::toolkit
