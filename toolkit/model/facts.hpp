// What is known of a problem's weights, from their rows.
#pragma once

#include "toolkit/model/problem.hpp"

namespace orvex::toolkit {

/**
 * Settles all that follows from the weights: size, width, counts, ranges, couplings, bounds.
 *
 * @param problem has its weights as a matrix, which is symmetric
 */
void take_facts(Problem& problem);

/** The same of weights that are about to be the problem's. */
void take_facts(Problem& problem, const SparseQubo& qubo);

}  // namespace orvex::toolkit
