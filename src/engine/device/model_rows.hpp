// The rows of a model in the order in which blocks read them: a band has more variables than most
// models, and the columns of a row are permuted (see SHAPE). Whatever keeps rows for blocks, the
// matrix record and the forms beside it, is filled through here.
#pragma once

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "orvex/model.hpp"

#include "engine/device/shape.hpp"

namespace orvex::device {

/** Diagonal of the filler variables: a search never gains by setting one. */
inline constexpr int FILLER = 255;

/** Calls visit with a null pointer to the type of the model's elements; returns what it returns. */
template <class VISIT>
auto with_element_type(const Model::Impl& model, VISIT visit) {
    switch (model.mat.bits) {
        case 8:
            return visit(static_cast<const std::int8_t*>(nullptr));
        case 16:
            return visit(static_cast<const std::int16_t*>(nullptr));
        case 32:
            return visit(static_cast<const std::int32_t*>(nullptr));
        default:
            assert(model.mat.bits == 64);
            return visit(static_cast<const std::int64_t*>(nullptr));
    }
}

/** Row i of a model whose elements are of type X, in bit order. */
template <class X>
const X* model_row(const Model::Impl& model, int i) {
    assert(sizeof(X) == model.mat.bytes && i >= 0 && i < model.size);
    return reinterpret_cast<const X*>(model.mat.data.get()) +
           static_cast<std::size_t>(i) * static_cast<std::size_t>(model.size);
}

/** Writes all elements of a row, from bit order into row order; what is after them stays. */
template <class N, class X>
void permute_row(N* row, const X* elements, int count, const SHAPE& shape) {
    assert(count <= shape.size);
    const int own = shape.own;
    for (int c = 0; c < own; ++c) {
        N* const chunk = row + c * shape.threads;
        for (int t = 0, j = c; j < count; ++t, j += own)
            chunk[t] = static_cast<N>(elements[j]);
    }
}

/**
 * Fills all S rows of a matrix record and its diagonal from the model's n variables, at most S. E
 * is int32_t or int64_t.
 *
 * @param zeros whether the rows are zero; then nothing is written where few elements are not, so
 *     that a sparse model takes few of the pages of its record
 */
template <class E>
void write_rows(E* rows, E* diagonal, const SHAPE& shape, const Model::Impl& model, bool zeros);

/** Fills the diagonal alone. */
template <class E>
void write_diagonal(E* diagonal, const SHAPE& shape, const Model::Impl& model);

}  // namespace orvex::device
