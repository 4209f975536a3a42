// Pieces behind at most three nodes, solved and replaced by what they make of these nodes.
//
// Statement. Let a set of nodes have couplings to itself and to three terminals at most, the field
// counted as one. Its least energy depends on how the terminals' spins are alike: four values, so a
// constant and three couplings among them. A component, a block behind a cut node, a part behind
// two nodes or three without a field are such pieces. Why in integers: as for a node with three
// couplings (stars.cpp), whose proof never asks how many nodes are inside. How they are found. In
// an elimination order the nodes below any node are connected, and its scope is exactly what bounds
// them together. So the highest nodes whose scope, with the field if one below is coupled to it,
// has three members at most are the tops of disjoint pieces; and a piece that wide tables would be
// needed for is never begun, since its nodes are not in the order. A whole component is a piece
// without a terminal but the field. Cost. That of the order, and of the programme, which is told
// beforehand and must fit.
#include <algorithm>
#include <cmath>
#include <vector>

#include "toolkit/presolve/dynamic_program.hpp"
#include "toolkit/presolve/rules.hpp"

namespace orvex::toolkit {
namespace {

std::size_t at(int i) {
    return static_cast<std::size_t>(i);
}

constexpr std::size_t MOST_TERMINALS = 3;

/**
 * For each place of the elimination the top of the piece it belongs to, or -1.
 *
 * @param steps that a piece's programme may take about
 */
std::vector<std::int32_t> tops_of(const SpinGraph& graph, const Elimination& elimination,
                                  double steps) {
    const std::size_t size = elimination.size();
    std::vector<std::int32_t> above(size, -1), tops(size, -1);
    std::vector<bool> coupled(size);
    std::vector<double> costs(size);
    for (std::size_t k = 0; k < size; ++k) {
        if (graph.field_of(elimination.order[k]) != 0) coupled[k] = true;
        for (const std::int32_t u : elimination.scope_of(k)) {
            const std::int32_t place = elimination.places[at(u)];
            if (place >= 0 && (above[k] < 0 || place < above[k])) above[k] = place;
        }
        costs[k] += std::ldexp(5, static_cast<int>(elimination.scope_of(k).size()));
        if (above[k] < 0) continue;
        costs[at(above[k])] += costs[k];
        if (coupled[k]) coupled[at(above[k])] = true;
    }
    for (std::size_t k = size; k-- > 0;) {
        if (above[k] >= 0) tops[k] = tops[at(above[k])];
        const bool small = elimination.scope_of(k).size() + coupled[k] <= MOST_TERMINALS;
        if (tops[k] == -1 && small && costs[k] <= steps) tops[k] = static_cast<std::int32_t>(k);
    }
    return tops;
}

void solve_pieces(Reduction& reduction, int width) {
    SpinGraph& graph = reduction.graph();
    const Elimination elimination = eliminate(graph, width);
    const std::vector<std::int32_t> tops = tops_of(graph, elimination, reduction.limits().steps);

    // The places of each piece, ascending, piece after piece.
    std::vector<std::int32_t> places;
    for (std::size_t k = 0; k < tops.size(); ++k)
        if (tops[k] >= 0) places.push_back(static_cast<std::int32_t>(k));
    std::stable_sort(places.begin(), places.end(),
                     [&](int a, int b) { return tops[at(a)] < tops[at(b)]; });

    std::vector<std::int32_t> nodes;
    for (auto first = places.begin(), last = first; first != places.end(); first = last) {
        last = std::find_if(first, places.end(),
                            [&](int place) { return tops[at(place)] != tops[at(*first)]; });
        const DynamicProgram program(graph, elimination, {first, last});
        const ProgramCost cost = program.cost();
        if (cost.bytes > reduction.limits().memory || !reduction.may_spend(cost.steps)) continue;
        nodes.clear();
        for (auto place = first; place != last; ++place)
            nodes.push_back(elimination.order[at(*place)]);
        const Solved solved = program.solve();
        reduction.replace(nodes, solved.terminals, solved.energies, solved.choices);
    }
}

}  // namespace

void pieces(Reduction& reduction) {
    solve_pieces(reduction, reduction.limits().narrow);
}

void wide_pieces(Reduction& reduction) {
    solve_pieces(reduction, reduction.limits().width);
}

}  // namespace orvex::toolkit
