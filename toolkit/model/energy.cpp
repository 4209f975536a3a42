#include "toolkit/model/energy.hpp"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace orvex::toolkit {
namespace {

/** What each variable counts for in a sum over a row: 0, 1 or 2. */
using Factors = std::vector<std::int8_t>;

/**
 * The sum of factor * weight over the first `count` elements of a row. Sums of a narrow type are
 * formed in pieces that cannot overflow: those are what a compiler makes vectors of.
 */
template <class Element, class Part>
Wide row_sum(const Element* row, const Factors& factors, std::size_t count) {
    constexpr std::size_t PIECE = 4096;
    Wide sum = 0;
    for (std::size_t from = 0; from < count; from += PIECE) {
        const std::size_t to = std::min(from + PIECE, count);
        Part part = 0;
        for (std::size_t j = from; j < to; ++j)
            part += static_cast<Part>(row[j]) * factors[j];
        sum += part;
    }
    return sum;
}

/** The sum over the first `count` elements of row i. */
Wide row_sum(const Model& model, int i, const Factors& factors, std::size_t count) {
    const MAT& mat = model.impl().mat;
    const unsigned char* const bytes =
        mat.data.get() + static_cast<std::size_t>(i) * mat.size * mat.bytes;
    switch (mat.bits) {
        case 8:
            return row_sum<std::int8_t, std::int32_t>(reinterpret_cast<const std::int8_t*>(bytes),
                                                      factors, count);
        case 16:
            return row_sum<std::int16_t, std::int32_t>(reinterpret_cast<const std::int16_t*>(bytes),
                                                       factors, count);
        case 32:
            return row_sum<std::int32_t, std::int64_t>(reinterpret_cast<const std::int32_t*>(bytes),
                                                       factors, count);
        default:
            return row_sum<std::int64_t, Wide>(reinterpret_cast<const std::int64_t*>(bytes),
                                               factors, count);
    }
}

}  // namespace

Wide exact_energy(const Model& model, const Sol& solution, int size) {
    Factors ones(static_cast<std::size_t>(size));
    Wide energy = 0;
    for (int i = 0; i < size; ++i) {
        const auto place = static_cast<std::size_t>(i);
        if (!solution.get(i)) continue;
        ones[place] = 1;
        energy += row_sum(model, i, ones, place + 1);
    }
    return energy;
}

// With d = to - from: the sum over i of d_i (w_ii + half of the couplings of i times (from + to)),
// since x'Wx - y'Wy is (x - y)'W(x + y) for a symmetric W.
Wide energy_change(const Model& model, const Sol& from, const Sol& to, int size) {
    Factors both(static_cast<std::size_t>(size));
    for (int i = 0; i < size; ++i)
        both[static_cast<std::size_t>(i)] = static_cast<std::int8_t>(from.get(i) + to.get(i));
    Wide twice = 0;
    for (int i = 0; i < size; ++i) {
        if (both[static_cast<std::size_t>(i)] != 1) continue;  // as it was
        // The row has the linear term once where it counts twice.
        const Wide sum = row_sum(model, i, both, both.size()) + model.get(i, i);
        twice += to.get(i) ? sum : -sum;
    }
    return twice / 2;
}

}  // namespace orvex::toolkit
