// What is known of a problem's weights, from the rows of its model.
#pragma once

#include "toolkit/model/problem.hpp"

namespace orvex::toolkit {

/**
 * Settles all that follows from the weights: size, width, counts, ranges, couplings, bounds.
 *
 * @param problem has its model, which is symmetric
 */
void take_facts(Problem& problem);

}  // namespace orvex::toolkit
