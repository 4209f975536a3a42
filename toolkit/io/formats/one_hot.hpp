// Assignments as bits: n things get n places, x[i * n + k] = 1 where thing i gets place k, and each
// thing and each place is used once. A penalty A keeps it so: A times the square of (1 - the sum of
// the bits) for each thing and for each place gives -2 A to each bit, 2 A to each pair of bits of
// one thing or one place, and 2 n A to the offset.
#pragma once

#include "toolkit/io/formats/format.hpp"

namespace orvex::toolkit {

/** The most things whose bits a model holds. */
inline constexpr int MOST_THINGS = 256;

/** What is to be known of the costs to choose a penalty. */
struct Costs {
    Wide positive = 0;       ///< sum of the positive coefficients
    Wide negative = 0;       ///< sum of the negative ones
    Wide most_of_a_bit = 0;  ///< without negative ones: what setting one more bit can cost
};

/**
 * Chooses the penalty, or takes the one that is asked for, and adds the constraints.
 *
 * Without negative costs a solution that breaks constraints is never better than one that does not,
 * if 2 A is more than setting a bit can cost: taking away a bit of a thing or place that has
 * several raises neither cost nor penalty, and then as many things as places are left over, and
 * each bit that joins two of them gains 2 A. With negative costs A is more than all costs can
 * differ by.
 */
void add_one_hot(int n, const Costs& costs, const ReadOptions& options, const Lines& lines,
                 Statement& statement);

}  // namespace orvex::toolkit
