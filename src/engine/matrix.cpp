#include "engine/matrix.hpp"

#include <cassert>
#include <memory>
#include <string>

#include "engine/device/formulas.hpp"
#include "engine/error_exit.hpp"

namespace orvex::engine {

void check_model_fits(int n, int band_size) {
    if (n > band_size)
        error_exit("QUBO probmem bit (" + std::to_string(n) + ") exceeds Program supporting bit (" +
                   std::to_string(band_size) + ")");
}

template <class E>
void load_rows(E* rows, E* diagonal, int n, const device::SHAPE& shape, const Model::Impl& model,
               bool zeros) {
    check_model_fits(n, shape.size);
    assert(rows && diagonal && n == model.size);
    device::write_rows(rows, diagonal, shape, model, zeros);
}

template <class E>
std::int64_t energy_of_bits(const E* rows, int n, const device::SHAPE& shape,
                            const std::uint64_t* bits) {
    assert(n >= 0 && n <= shape.size);
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
