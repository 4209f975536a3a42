// A model on its way down: the graph that is left and the way back so far, which change together.
// Invariant: 4 times the energy of a restored solution is at most the graph's energy of what it was
// restored from, its constant included.
#pragma once

#include <chrono>
#include <span>
#include <vector>

#include "toolkit/presolve/presolve.hpp"
#include "toolkit/presolve/spin_graph.hpp"
#include "toolkit/presolve/way_back.hpp"

namespace orvex::toolkit {

/** How far the dear rules go. */
struct Limits {
    std::size_t ball = 0;        ///< nodes of a ball with what surrounds it
    std::size_t large_ball = 0;  ///< the same where small ones find nothing more
    bool patient = false;        ///< whether balls are tried although most are in vain
    int width = 0;               ///< nodes that a table of a dynamic programme may depend on
    int narrow = 0;              ///< the same before balls are tried
    std::uint64_t memory = 0;    ///< bytes of such tables
    double steps = 0;            ///< entries of tables and assignments looked at, in all
    double flow_steps = 0;       ///< couplings that a maximum flow may look at
    double seconds = 0;          ///< until no dear rule begins anything more; 0: no limit
};

/** The limits that these options mean. */
Limits limits_of(const PresolveOptions& options);

/** The most that the magnitudes at a node may add up to if energies of 32 bits are to stay so. */
std::int64_t row_limit_of(const SparseQubo& qubo);

/** The width of arithmetic that is proven to be enough for a model. */
int proven_bits(const SparseQubo& qubo);

class Reduction {
  public:
    Reduction(const SparseQubo& qubo, const Limits& limits)
        : graph_(qubo), way_back_(qubo.size()), limits_(limits), row_limit_(row_limit_of(qubo)) {}

    const Limits& limits() const { return limits_; }

    /** Whether no dear rule may begin anything more. */
    bool late() const { return limits_.seconds > 0 && seconds() > limits_.seconds; }

    /** Whether this many steps fit into what is left of the limits, from which they are taken. */
    bool may_spend(double steps);

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
     * The same where more than one node may have to turn for it.
     *
     * @param nodes with any spins of all other nodes, some best spins of these have the sign
     * @param one among these nodes
     * @param other any other node
     */
    void tie_in_ball(std::span<const std::int32_t> nodes, int one, int other, int sign);

    /**
     * Whether two nodes may become one without making the reduced model's arithmetic wider: the
     * magnitudes at one node are kept within what the original's widest row has or its width
     * allows. The rules that never add up rows need not ask.
     */
    bool may_merge(int one, int other) const;

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

    /** No energy of the original is below this. */
    Wide bound() const;

    /** The reduced model, and the end of the way back. */
    Presolved finish(std::vector<RuleUse> rules) &&;

  private:
    void contract(const Tie& tie);
    double seconds() const {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
    }

    const std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
    SpinGraph graph_;
    WayBack way_back_;
    Limits limits_;
    std::int64_t row_limit_;
    double spent_ = 0;
    std::vector<Link> links_;
    std::vector<Coupling> couplings_;
};

}  // namespace orvex::toolkit
