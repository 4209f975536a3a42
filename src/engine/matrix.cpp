#include "engine/matrix.hpp"

#include <algorithm>
#include <cassert>
#include <memory>
#include <string>

#include "engine/device/formulas.hpp"
#include "engine/error_exit.hpp"

namespace orvex::engine {

namespace {

/** Writes the first `count` elements of a model's row into row order. */
template <class E, class X>
void permute_row(E* row, const X* elements, int count, const device::SHAPE& shape) {
    assert(count <= shape.size);
    const int own = shape.own;
    for (int c = 0; c < own; ++c) {
        E* const chunk = row + c * shape.threads;
        for (int t = 0, j = c; j < count; ++t, j += own)
            chunk[t] = static_cast<E>(elements[j]);
    }
}

/** The same from the bytes of the row, which has elements of that many bits. */
template <class E>
void permute_bytes(E* row, const unsigned char* bytes, int bits, int count,
                   const device::SHAPE& shape) {
    switch (bits) {
        case 8:
            return permute_row(row, reinterpret_cast<const std::int8_t*>(bytes), count, shape);
        case 16:
            return permute_row(row, reinterpret_cast<const std::int16_t*>(bytes), count, shape);
        case 32:
            return permute_row(row, reinterpret_cast<const std::int32_t*>(bytes), count, shape);
        default:
            assert(bits == 64);
            return permute_row(row, reinterpret_cast<const std::int64_t*>(bytes), count, shape);
    }
}

}  // namespace

void check_model_fits(int n, int band_size) {
    if (n > band_size)
        error_exit("QUBO probmem bit (" + std::to_string(n) + ") exceeds Program supporting bit (" +
                   std::to_string(band_size) + ")");
}

template <class E>
void load_rows(E* rows, E* diagonal, int n, const device::SHAPE& shape, const Model::Impl& model) {
    assert(n == model.size || n > shape.size);
    check_model_fits(n, shape.size);
    assert(model.mat.bytes * 8 == model.mat.bits);
    const std::size_t size = static_cast<std::size_t>(shape.size);
    const std::size_t row_bytes = static_cast<std::size_t>(n) * model.mat.bytes;
    for (int i = 0; i < shape.size; ++i) {
        E* const row = rows + static_cast<std::size_t>(i) * size;
        const int own_place = shape.place(i);
        assert(own_place >= 0 && own_place < shape.size);
        if (i >= n || n < shape.size) std::fill_n(row, size, E{0});
        if (i < n)
            permute_bytes(row, model.mat.data.get() + static_cast<std::size_t>(i) * row_bytes,
                          static_cast<int>(model.mat.bits), n, shape);
        else
            row[own_place] = FILLER;
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

template void load_rows(std::int32_t*, std::int32_t*, int, const device::SHAPE&,
                        const Model::Impl&);
template void load_rows(std::int64_t*, std::int64_t*, int, const device::SHAPE&,
                        const Model::Impl&);
template std::int64_t energy_of_bits(const std::int32_t*, int, const device::SHAPE&,
                                     const std::uint64_t*);
template std::int64_t energy_of_bits(const std::int64_t*, int, const device::SHAPE&,
                                     const std::uint64_t*);

}  // namespace orvex::engine
