// What a least cut of the network of implications decides.
//
// Statement. Give each node v an opposite -v, the field as source and its opposite as sink. A
// coupling J < 0 joins u with v and -u with -v, J > 0 joins u with -v and -u with v, each with
// capacity |J|. Let U be a least cut's source side with no node beside its opposite. Then giving +1
// to the nodes in U and -1 to those whose opposite is in U makes no solution worse. Why. A solution
// is a cut X that holds one of v and -v each, and its energy is a constant and the cut's capacity:
// a coupling at odds cuts both its edges, which is 2 |J| for the 2 |J| that it costs. Capacities of
// cuts are submodular, so cap(X + U) <= cap(X) + cap(U) - cap(X * U) <= cap(X), since X * U is a
// cut as well and U a least one; and in the same way for taking away the opposites of U, which are
// a least cut's sink side. What remains is X with the nodes of U as U says. Which U. Sets that no
// arc with capacity left leads out of, with the source, are the least cuts. What the source reaches
// holds in every optimum (strong persistency). Beyond that components of nodes that reach each
// other are taken one by one as for the satisfiability of clauses of two; a component that reaches
// one with a node beside its opposite cannot be (weak persistency). The flow is made symmetric
// first, by taking the mean with its mirror image. Source. P. L. Hammer, P. Hansen, B. Simeone,
// "Roof duality, complementation and persistency in quadratic 0-1 optimization" (1984); E. Boros,
// P. L. Hammer, G. Tavares, "Preprocessing of unconstrained quadratic binary optimization" (2006)
// for the network and its components. Cost. One maximum flow over twice the couplings; nothing at
// all for a model without a field, which decides nothing.
#include "toolkit/presolve/implications.hpp"
#include "toolkit/presolve/rules.hpp"

namespace orvex::toolkit {

void roof_duality(Reduction& reduction) {
    SpinGraph& graph = reduction.graph();
    if (graph.degree(graph.field()) == 0) return;
    // Memory is waited for at most arcs, so one counts for several of other rules' steps; and a
    // flow needs some rounds over all of them, so that one which cannot be ended is not begun.
    const double steps = reduction.limits().flow_steps;
    double arcs = 0;
    for (int v = 0; v < graph.size(); ++v)
        if (graph.holds(v)) arcs += 2 * graph.degree(v);
    if (8 * arcs > steps || !reduction.may_spend(4 * steps)) return;
    Implications implications(graph);
    if (!implications.fill(steps)) return;
    const std::vector<std::int8_t> decided = implications.decided();
    for (int v = 0; v < graph.size(); ++v)
        if (graph.holds(v) && decided[static_cast<std::size_t>(v)] != 0)
            reduction.tie(v, graph.field(), decided[static_cast<std::size_t>(v)]);
}

}  // namespace orvex::toolkit
