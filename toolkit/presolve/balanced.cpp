// Components in which all couplings can have their way at once.
//
// Statement. If the spins of a component can be chosen so that every coupling J of it has
// s s' = -sign(J), the field counted as a node, they are an optimum of it.
// Why. No coupling can do better. The choice, if there is one, is found by walking the component
// from any of its nodes, and checked at each coupling that closes a cycle. Such are bipartite
// graphs for Max-Cut, ferromagnets, and models whose roof dual leaves no gap only because of their
// signs; F. Harary, "On the notion of balance of a signed graph" (1953). Cost. Each coupling is
// looked at twice.
#include <array>
#include <cstdlib>
#include <vector>

#include "toolkit/presolve/rules.hpp"

namespace orvex::toolkit {

void balanced_components(Reduction& reduction) {
    SpinGraph& graph = reduction.graph();
    std::vector<std::int8_t> spins(static_cast<std::size_t>(graph.size()) + 1);
    const auto spin = [&](int v) -> std::int8_t& { return spins[static_cast<std::size_t>(v)]; };
    std::vector<std::int32_t> nodes;
    std::vector<std::uint8_t> choices;
    // Those coupled to the field are one component, and the first.
    for (int root = graph.field(); root >= 0; --root) {
        nodes.clear();
        if (root == graph.field()) {
            spin(root) = 1;
            for (int v = 0; v < graph.size(); ++v)
                if (graph.holds(v) && graph.field_of(v) != 0) {
                    spin(v) = graph.field_of(v) > 0 ? -1 : 1;
                    nodes.push_back(v);
                }
        } else if (graph.holds(root) && spin(root) == 0) {
            spin(root) = 1;
            nodes.push_back(root);
        }
        bool balanced = !nodes.empty();
        Wide twice = 0;
        for (std::size_t next = 0; next < nodes.size(); ++next) {
            const int v = nodes[next];
            graph.for_each(v, [&](const auto& link) {
                const auto wanted = static_cast<std::int8_t>(link.weight > 0 ? -spin(v) : spin(v));
                if (spin(link.node) == 0) {
                    spin(link.node) = wanted;
                    nodes.push_back(link.node);
                }
                balanced = balanced && spin(link.node) == wanted;
                twice -= (link.node == graph.field() ? 2 : 1) * Wide{std::abs(link.weight)};
            });
        }
        if (!balanced) continue;
        choices.clear();
        for (const std::int32_t v : nodes)
            choices.push_back(spin(v) > 0 ? 1 : 0);
        reduction.replace(nodes, std::array{graph.field()}, std::array{twice / 2}, choices);
    }
}

}  // namespace orvex::toolkit
