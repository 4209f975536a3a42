// The network whose cuts are the roof dual of a graph of spins: each node twice, as itself and as
// its opposite, so that a coupling of either sign joins two nodes that want to be alike.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "toolkit/presolve/spin_graph.hpp"

namespace orvex::toolkit {

class Implications {
  public:
    explicit Implications(const SpinGraph& graph);

    /**
     * Finds a maximum flow from the field to its opposite.
     *
     * @param steps arcs that may be looked at, before it is given up
     * @return whether the flow is maximum
     */
    bool fill(double steps);

    /** For each node of the graph what a least cut that decides most says: 1, -1, or 0 for nothing.
     */
    std::vector<std::int8_t> decided() const;

  private:
    struct Arc {
        std::int32_t to, next;
        std::int64_t rest;  // capacity that is left
    };

    static std::size_t at(std::int32_t i) { return static_cast<std::size_t>(i); }
    static std::int32_t opposite(std::int32_t node) { return node ^ 1; }
    std::int32_t source() const { return 2 * field_; }
    std::int32_t sink() const { return source() + 1; }
    void join(std::int32_t a, std::int32_t b, std::int64_t capacity);
    bool find_levels(double& steps);
    void augment(double& steps);
    /** Of the mean of the flow and its mirror image, which is a flow too. */
    bool open(std::int32_t arc) const {
        return arcs_[at(arc)].rest > 0 || arcs_[at(arc ^ 3)].rest > 0;
    }
    struct Components;
    Components components() const;

    std::int32_t field_;
    std::vector<std::int32_t> first_;  // arc of each node
    std::vector<Arc> arcs_;  // by fours: a to b, back, opposite of a to opposite of b, back
    std::vector<std::int32_t> levels_, current_;
};

}  // namespace orvex::toolkit
