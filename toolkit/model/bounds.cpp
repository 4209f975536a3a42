// With P and N as the sums of the positive and negative couplings of variable i and W its linear
// term, flipping i changes the energy by W plus some of its couplings, up or down: by at most
// max(|W + P|, |W + N|). And an energy is the sum over the set variables of W plus half of the
// couplings to other set variables, each coupling belonging to two variables: it lies between the
// sum of min(0, W + N/2) and the sum of max(0, W + P/2).
#include "toolkit/model/bounds.hpp"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace orvex::toolkit {
namespace {

constexpr int FILLER_WEIGHT = 255;

Wide magnitude(Wide number) {
    return number < 0 ? -number : number;
}

/** The largest delta is the engines' mark for a bit that is out of play, so it may not occur. */
template <class D>
bool fits(const Bound& bound, Wide highest_energy) {
    using Limits = std::numeric_limits<D>;
    return bound.largest_delta <= Limits::max() - 1 && bound.lowest_energy >= Limits::min() &&
           highest_energy <= Limits::max();
}

}  // namespace

std::string to_string(Wide number) {
    std::string digits;
    for (Wide rest = magnitude(number); rest != 0 || digits.empty(); rest /= 10)
        digits += static_cast<char>('0' + static_cast<int>(rest % 10));
    if (number < 0) digits += '-';
    return {digits.rbegin(), digits.rend()};
}

int Bound::bits(int fillers) const {
    const Wide highest = highest_energy + Wide{FILLER_WEIGHT} * fillers;
    if (fits<std::int32_t>(*this, highest)) return 32;
    return fits<std::int64_t>(*this, highest) ? 64 : 128;
}

void RowSums::change(int i, int j, long before, long after) {
    Row& row = rows_[static_cast<std::size_t>(i)];
    if (i == j) {
        row.linear = after;
        return;
    }
    Row& column = rows_[static_cast<std::size_t>(j)];
    const Wide positive = Wide{std::max(after, 0L)} - std::max(before, 0L);
    const Wide negative = Wide{std::min(after, 0L)} - std::min(before, 0L);
    row.positive += positive;
    row.negative += negative;
    column.positive += positive;
    column.negative += negative;
}

Bound RowSums::bound() const {
    Bound bound{};
    Wide lowest_twice = 0, highest_twice = 0;
    for (const Row& row : rows_) {
        lowest_twice += std::min<Wide>(0, 2 * row.linear + row.negative);
        highest_twice += std::max<Wide>(0, 2 * row.linear + row.positive);
        bound.largest_delta = std::max({bound.largest_delta, magnitude(row.linear + row.positive),
                                        magnitude(row.linear + row.negative)});
        bound.largest_row_sum =
            std::max(bound.largest_row_sum, magnitude(row.linear) + row.positive - row.negative);
    }
    bound.lowest_energy = (lowest_twice - 1) / 2;  // halves are rounded away from zero
    bound.highest_energy = (highest_twice + 1) / 2;
    return bound;
}

}  // namespace orvex::toolkit
