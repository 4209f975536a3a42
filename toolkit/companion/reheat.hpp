// The work of one thread on a sparse model: reheat a solution, cool it, and merge what became
// better.
#pragma once

#include <cstdint>

#include "toolkit/companion/exchange.hpp"
#include "toolkit/model/sparse_qubo.hpp"

namespace orvex::toolkit {

/** Searches until the exchange stops. @param worker its number there */
void reheat(const SparseQubo& qubo, Exchange& exchange, int worker, std::uint64_t seed);

}  // namespace orvex::toolkit
