#include "engine/matrix.hpp"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <memory>
#include <string>

#include "engine/device/formulas.hpp"
#include "engine/error_exit.hpp"

namespace orvex::engine {

namespace {

/** Below one element in so many that is not 0, the zeros of a row are not written. */
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
void permute_nonzero(E* row, const X* elements, int count, const device::SHAPE& shape) {
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

/** Writes all elements into row order. */
template <class E, class X>
void permute_all(E* row, const X* elements, int count, const device::SHAPE& shape) {
    const int own = shape.own;
    for (int c = 0; c < own; ++c) {
        E* const chunk = row + c * shape.threads;
        for (int t = 0, j = c; j < count; ++t, j += own)
            chunk[t] = static_cast<E>(elements[j]);
    }
}

/** The first `count` elements of a model's row become a row of S. */
template <class E, class X>
void permute_row(E* row, const X* elements, int count, const device::SHAPE& shape, bool zeros) {
    assert(count <= shape.size);
    if (zeros && is_sparse(elements, count)) return permute_nonzero(row, elements, count, shape);
    if (!zeros && count < shape.size) std::fill_n(row, shape.size, E{0});
    permute_all(row, elements, count, shape);
}

/** The same from the bytes of the row, which has elements of that many bits. */
template <class E>
void permute_bytes(E* row, const unsigned char* bytes, int bits, int count,
                   const device::SHAPE& shape, bool zeros) {
    const auto as = [&](const auto* elements) { permute_row(row, elements, count, shape, zeros); };
    switch (bits) {
        case 8:
            return as(reinterpret_cast<const std::int8_t*>(bytes));
        case 16:
            return as(reinterpret_cast<const std::int16_t*>(bytes));
        case 32:
            return as(reinterpret_cast<const std::int32_t*>(bytes));
        default:
            assert(bits == 64);
            return as(reinterpret_cast<const std::int64_t*>(bytes));
    }
}

}  // namespace

void check_model_fits(int n, int band_size) {
    if (n > band_size)
        error_exit("QUBO probmem bit (" + std::to_string(n) + ") exceeds Program supporting bit (" +
                   std::to_string(band_size) + ")");
}

template <class E>
void load_rows(E* rows, E* diagonal, int n, const device::SHAPE& shape, const Model::Impl& model,
               bool zeros) {
    assert(n == model.size || n > shape.size);
    check_model_fits(n, shape.size);
    assert(model.mat.bytes * 8 == model.mat.bits);
    const std::size_t size = static_cast<std::size_t>(shape.size);
    const std::size_t row_bytes = static_cast<std::size_t>(n) * model.mat.bytes;
    for (int i = 0; i < shape.size; ++i) {
        E* const row = rows + static_cast<std::size_t>(i) * size;
        const int own_place = shape.place(i);
        assert(own_place >= 0 && own_place < shape.size);
        if (i < n) {
            permute_bytes(row, model.mat.data.get() + static_cast<std::size_t>(i) * row_bytes,
                          static_cast<int>(model.mat.bits), n, shape, zeros);
        } else {
            if (!zeros) std::fill_n(row, size, E{0});
            row[own_place] = FILLER;
        }
        diagonal[own_place] = row[own_place];
    }
}

template <class E>
std::int64_t energy_of_bits(const E* rows, int n, const device::SHAPE& shape,
                            const std::uint64_t* bits) {
    assert(n <= shape.size);
    const auto one = [&](int i) { return (bits[i >> 6] >> (i & 63) & 1) != 0; };
    const std::size_t count = static_cast<std::size_t>(n);
    const std::unique_ptr<std::int64_t[]> sums(new std::int64_t[count]());
    const E* row = rows;
    for (int i = 0; i < n; ++i, row += shape.size) {
        if (!one(i)) continue;
        std::int64_t& sum = sums[static_cast<std::size_t>(i)];
        for (int j = i; j < n; ++j)
            if (one(j)) sum = device::wrapping_add<std::int64_t>(sum, row[shape.place(j)]);
    }
    std::int64_t energy = 0;
    for (std::size_t i = 0; i < count; ++i)
        energy = device::wrapping_add(energy, sums[i]);
    return energy;
}

template void load_rows(std::int32_t*, std::int32_t*, int, const device::SHAPE&, const Model::Impl&,
                        bool);
template void load_rows(std::int64_t*, std::int64_t*, int, const device::SHAPE&, const Model::Impl&,
                        bool);
template std::int64_t energy_of_bits(const std::int32_t*, int, const device::SHAPE&,
                                     const std::uint64_t*);
template std::int64_t energy_of_bits(const std::int64_t*, int, const device::SHAPE&,
                                     const std::uint64_t*);

}  // namespace orvex::engine
