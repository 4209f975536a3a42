#include "engine/device/model_rows.hpp"

#include <algorithm>
#include <cassert>
#include <cstring>

namespace orvex::device {

namespace {

/** Below one element in this number that is not 0, the zeros of a row are not written. */
constexpr int SPARSE_BELOW = 8;

template <class X>
bool is_sparse(const X* elements, int count) {
    int nonzero = 0;
    for (int j = 0; j < count; ++j)
        nonzero += elements[j] != 0;
    return nonzero < count / SPARSE_BELOW;
}

/** Writes the elements that are not 0 into row order; looks at eight bytes at a time. */
template <class E, class X>
void permute_nonzero(E* row, const X* elements, int count, const SHAPE& shape) {
    constexpr int GROUP = static_cast<int>(sizeof(std::uint64_t) / sizeof(X));
    for (int begin = 0; begin < count; begin += GROUP) {
        const int end = std::min(begin + GROUP, count);
        std::uint64_t bytes = 0;
        std::memcpy(&bytes, elements + begin, static_cast<std::size_t>(end - begin) * sizeof(X));
        if (bytes == 0) continue;
        for (int j = begin; j < end; ++j)
            if (elements[j] != 0) row[shape.place(j)] = static_cast<E>(elements[j]);
    }
}

/** The first `count` elements of a model's row become a row of S. */
template <class E, class X>
void write_row(E* row, const X* elements, int count, const SHAPE& shape, bool zeros) {
    assert(count >= 0 && count <= shape.size);
    if (zeros && is_sparse(elements, count)) return permute_nonzero(row, elements, count, shape);
    if (!zeros && count < shape.size) std::fill_n(row, shape.size, E{0});
    permute_row(row, elements, count, shape);
}

}  // namespace

template <class E>
void write_rows(E* rows, E* diagonal, const SHAPE& shape, const Model::Impl& model, bool zeros) {
    assert(model.size <= shape.size);
    assert(model.mat.bytes * 8 == model.mat.bits);
    const std::size_t size = static_cast<std::size_t>(shape.size);
    for (int i = 0; i < shape.size; ++i) {
        E* const row = rows + static_cast<std::size_t>(i) * size;
        const int own_place = shape.place(i);
        if (i < model.size) {
            with_element_type(model, [&](auto* type) {
                using X = std::remove_cvref_t<decltype(*type)>;
                write_row(row, model_row<X>(model, i), model.size, shape, zeros);
            });
        } else {
            if (!zeros) std::fill_n(row, size, E{0});
            row[own_place] = FILLER;
        }
        diagonal[own_place] = row[own_place];
    }
}

template <class E>
void write_diagonal(E* diagonal, const SHAPE& shape, const Model::Impl& model) {
    assert(model.size <= shape.size);
    with_element_type(model, [&](auto* type) {
        using X = std::remove_cvref_t<decltype(*type)>;
        for (int i = 0; i < shape.size; ++i)
            diagonal[shape.place(i)] =
                i < model.size ? static_cast<E>(model_row<X>(model, i)[i]) : E{FILLER};
    });
}

template void write_rows(std::int32_t*, std::int32_t*, const SHAPE&, const Model::Impl&, bool);
template void write_rows(std::int64_t*, std::int64_t*, const SHAPE&, const Model::Impl&, bool);
template void write_diagonal(std::int32_t*, const SHAPE&, const Model::Impl&);
template void write_diagonal(std::int64_t*, const SHAPE&, const Model::Impl&);

}  // namespace orvex::device
