// A model on its way down: the graph that is left and the way back so far, which change together.
// Invariant: 4 times the energy of a restored solution is at most the graph's energy of what it was
// restored from, its constant included.
#pragma once

#include <vector>

#include "toolkit/presolve/presolve.hpp"
#include "toolkit/presolve/spin_graph.hpp"
#include "toolkit/presolve/way_back.hpp"

namespace orvex::toolkit {

class Reduction {
  public:
    explicit Reduction(const SparseQubo& qubo) : graph_(qubo), way_back_(qubo.size()) {}

    SpinGraph& graph() { return graph_; }
    const SpinGraph& graph() const { return graph_; }

    /**
     * Ties the spin of a node to that of another one for good; that it is exact is the rule's
     * matter. The node with fewer couplings goes.
     *
     * @param yields the end that turns, in a solution where they are not so, to be no worse
     * @param other the other end; either may be the field
     * @param sign of the product of their spins
     */
    void tie(int yields, int other, int sign);

    /** The reduced model, and the end of the way back. */
    Presolved finish(std::vector<RuleUse> rules) &&;

  private:
    SpinGraph graph_;
    WayBack way_back_;
    std::vector<Link> links_;
};

}  // namespace orvex::toolkit
