// The least energies of a piece of a graph for each assignment of what bounds it, by dynamic
// programming over an elimination order.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "toolkit/model/bounds.hpp"
#include "toolkit/presolve/elimination.hpp"
#include "toolkit/presolve/spin_graph.hpp"

namespace orvex::toolkit {

/** What a piece's programme would take. */
struct ProgramCost {
    std::uint64_t bytes = 0;  ///< at its largest
    double steps = 0;         ///< entries of tables that are computed or read
};

/** What a piece is replaced by, as Reduction::replace takes it. */
struct Solved {
    std::vector<std::int32_t> terminals;
    std::vector<Wide> energies;
    std::vector<std::uint8_t> choices;  ///< of the piece's nodes in their order
};

/** A node of the elimination with all those below it. */
class DynamicProgram {
  public:
    /**
     * @param places of the nodes in the elimination, ascending; the last one is above all others
     */
    DynamicProgram(const SpinGraph& graph, const Elimination& elimination,
                   std::span<const std::int32_t> places);

    /** What bounds the piece, the field as the last if it is coupled to it. */
    const std::vector<std::int32_t>& terminals() const { return terminals_; }

    ProgramCost cost() const;

    /** Only where there are at most three terminals. */
    Solved solve() const;

  private:
    /** What a node's elimination reads and leaves, in numbers of the piece's own. */
    struct Step {
        std::int64_t field = 0;
        std::vector<std::int32_t> scope;      // ascending; terminals after the nodes
        std::vector<std::int64_t> couplings;  // to the scope
        std::vector<std::int32_t> below;      // steps whose tables it takes
    };

    std::vector<Step> steps_;
    std::vector<std::int32_t> terminals_;
    bool field_ = false;
};

}  // namespace orvex::toolkit
