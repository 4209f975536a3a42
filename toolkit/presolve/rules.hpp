// The rules, each in a file of its own with its proof. Each takes out what it can, looks again at
// what has changed since it was last called, and is exact by itself.
#pragma once

#include "toolkit/presolve/reduction.hpp"

namespace orvex::toolkit {

/** Ties a node to the neighbour whose coupling outweighs all its others. */
void heavy_couplings(Reduction& reduction);

/** Takes out nodes with three couplings. */
void stars(Reduction& reduction);

/** Takes out components whose couplings can all have their way at once. */
void balanced_components(Reduction& reduction);

/** Ties nodes that are not coupled and whose couplings are proportional. */
void twins(Reduction& reduction);

/** Ties two coupled nodes whose other couplings pull them apart less than theirs holds them. */
void pairs(Reduction& reduction);

/** Solves pieces behind at most three nodes, whole components among them. */
void pieces(Reduction& reduction);

/** The same with wider tables. */
void wide_pieces(Reduction& reduction);

/** Ties nodes that are alike, or unlike, in a best assignment of a ball around a node, whatever is
 * outside. */
void balls(Reduction& reduction);

/** The same in larger balls. */
void large_balls(Reduction& reduction);

/** Ties to the field what a least cut of the network of implications decides. */
void roof_duality(Reduction& reduction);

}  // namespace orvex::toolkit
