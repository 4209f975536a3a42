// Several good solutions for a caller who wants more than the best. Invariant: their energies were
// added up from their bits, of which no two have the same.
#pragma once

#include <vector>

#include "toolkit/run/events.hpp"
#include "toolkit/run/record.hpp"

namespace orvex::toolkit {

/**
 * The best of a record's history and of what else was found.
 *
 * @param searched solutions of the searched model
 * @param count at most
 * @return of the caller's problem, the best first
 */
std::vector<Ranked> best_distinct(const Record& record, const std::vector<Sol>& searched,
                                  int count);

}  // namespace orvex::toolkit
