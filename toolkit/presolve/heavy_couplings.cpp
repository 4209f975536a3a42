// A coupling that outweighs the rest of one of its ends.
//
// Statement. Let |J| of the coupling between v and p be at least the sum of the magnitudes of all
// other couplings of v. Then some optimum has s_v s_p = -sign(J).
// Why. Turning v changes the energy by -2 s_v (J s_p + the rest), and where s_v s_p = sign(J) that
// is at most -2 |J| + 2 |rest| <= 0. So turning v makes no solution worse, which is the way forward
// too.
//
// What it holds: a node without couplings (any sign); with one; with two, of which one is the
// larger; a linear term that outweighs all couplings of its variable, since the field is a node
// like any other (persistency of first order); and a field whose one coupling outweighs the others.
// Source. P. L. Hammer, P. Hansen, B. Simeone (1984) for linear terms; J.-H. Lange, B. Andres,
// P. Swoboda, "Combinatorial persistency criteria for multicut and max-cut" (CVPR 2019), theorem 1
// for a cut around one node.
// Cost. A node is looked at when a coupling of it has changed, in constant time while an upper
// bound of its couplings says no; tying costs the couplings of the end that has fewer.
#include "toolkit/presolve/rules.hpp"

namespace orvex::toolkit {

void heavy_couplings(Reduction& reduction) {
    SpinGraph& graph = reduction.graph();
    for (int v; (v = graph.next_changed(SpinGraph::HEAVY)) >= 0;) {
        if (graph.degree(v) == 0) {
            if (v != graph.field()) reduction.tie(v, graph.field(), -1);
            continue;
        }
        const Link heaviest = graph.heaviest(v);
        if (heaviest.weight != 0) reduction.tie(v, heaviest.node, heaviest.weight > 0 ? -1 : 1);
    }
}

}  // namespace orvex::toolkit
