// A model on its way down: the graph that is left and the way back so far, which change together.
// Invariant: 4 times the energy of a restored solution is at most the graph's energy of what it was
// restored from, its constant included.
#pragma once

#include <span>
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

    /**
     * Takes out nodes whose couplings go to each other and to the terminals only, and puts their
     * least energies in their place.
     *
     * @param nodes of the piece
     * @param terminals one to three; the field may be among them
     * @param energies the least energy of the piece's couplings for each assignment, of which bit i
     *     says whether terminal i is like the last one
     * @param choices of each node, its spins there, as WayBack::add_piece takes them
     */
    void replace(std::span<const std::int32_t> nodes, std::span<const std::int32_t> terminals,
                 std::span<const Wide> energies, std::span<const std::uint8_t> choices);

    /** The reduced model, and the end of the way back. */
    Presolved finish(std::vector<RuleUse> rules) &&;

  private:
    SpinGraph graph_;
    WayBack way_back_;
    std::vector<Link> links_;
};

}  // namespace orvex::toolkit
