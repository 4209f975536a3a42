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
 * Chooses the penalty, or takes the one that is asked for, and notes it with its offset.
 *
 * Without negative costs a solution that breaks constraints is never better than one that does not,
 * if 2 A is more than setting a bit can cost: taking away a bit of a thing or place that has
 * several raises neither cost nor penalty, and then as many things as places are left over, and
 * each bit that joins two of them gains 2 A. With negative costs A is more than all costs can
 * differ by.
 */
Wide choose_penalty(int n, const Costs& costs, const ReadOptions& options, const Lines& lines,
                    Statement& statement);

/**
 * Adds what the penalty says of bit (i, k) alone and of it with the later bits of the same thing.
 * The caller adds 2 A for its pairs with later things in the same place, in the order of their
 * bits, since a statement whose terms come in order need not be sorted.
 */
void add_one_hot_bit(int i, int k, int n, Wide penalty, Statement& statement);

/**
 * Refuses a problem whose list of couplings this machine cannot hold, and announces one that takes
 * long: a file of some hundred bytes may ask for 2^31 couplings.
 *
 * @throws MemoryShortage
 */
void expect_couplings(Wide couplings, const ReadOptions& options, const Lines& lines);

}  // namespace orvex::toolkit
