// Random matrices. docs/generators.md defines each of them; a weight that comes out as 0 is no
// entry.
#pragma once

#include "toolkit/generate/generated_model.hpp"

namespace orvex::toolkit::generate {

/** Smallest and largest weight, less than 2^32 apart. */
struct Range {
    std::int64_t smallest, largest;
};

/**
 * The models of G. Palubeckis, "Multistart tabu search strategies for the unconstrained binary
 * quadratic optimization problem", Annals of Operations Research 131, 2004: integer coefficients
 * uniform in [-100, 100], maximised over the full symmetric matrix.
 *
 * @param density per cent of the pairs that have a coefficient
 * @param seed from 1 to 2147483646
 */
GeneratedModel palubeckis(int size, float density, std::int64_t seed);

/** A weight for every pair i <= j, uniform in the range. */
GeneratedModel dense(int size, Range range, std::uint64_t seed);

/**
 * Exactly that many entries, every set of pairs i <= j equally likely, with weights uniform among
 * the range's values other than 0.
 */
GeneratedModel sparse(int size, std::int64_t entries, Range range, std::uint64_t seed);

}  // namespace orvex::toolkit::generate
