// In which order to take the nodes of a graph out so that few others are bound together each time.
// The field does not count: its spin is fixed wherever the order is used.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "toolkit/presolve/spin_graph.hpp"

namespace orvex::toolkit {

/**
 * Nodes in the order in which they are taken out, each with its scope: the nodes that are still
 * there and that it is joined to, by couplings or through nodes taken out before. The scope is what
 * bounds the node with all those below it, which are connected; its first member to be taken out is
 * above it. Nodes whose scope would be too wide are not in the order.
 */
struct Elimination {
    std::vector<std::int32_t> order;     ///< nodes of the graph
    std::vector<std::size_t> starts{0};  ///< of each one's scope
    std::vector<std::int32_t> scopes;    ///< nodes of the graph, ascending
    std::vector<std::int32_t> places;    ///< of each node of the graph in the order, or -1

    std::size_t size() const { return order.size(); }
    std::span<const std::int32_t> scope_of(std::size_t place) const {
        return {scopes.data() + starts[place], starts[place + 1] - starts[place]};
    }
};

/** @param width no scope has more nodes */
Elimination eliminate(const SpinGraph& graph, int width);

}  // namespace orvex::toolkit
