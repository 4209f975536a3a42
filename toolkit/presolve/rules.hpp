// The rules, each in a file of its own with its proof. Each takes out what it can, looks again at
// what has changed since it was last called, and is exact by itself.
#pragma once

#include "toolkit/presolve/reduction.hpp"

namespace orvex::toolkit {

/** Ties a node to the neighbour whose coupling outweighs all its others. */
void heavy_couplings(Reduction& reduction);

/** Takes out nodes with three couplings. */
void stars(Reduction& reduction);

/** Solves pieces behind at most three nodes, whole components among them. */
void pieces(Reduction& reduction);

}  // namespace orvex::toolkit
