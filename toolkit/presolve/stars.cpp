// A node with three couplings, taken out by the star-triangle transformation.
//
// Statement. Let a, b, c couple v to p, q, r, the field may be one of them. With v at its best, its
// couplings' energy is -|a s_p + b s_q + c s_r|, which takes one value for each of the four ways in
// which the three spins are alike: so it is a constant and three couplings among p, q and r.
// Why in integers. Turning p changes -|...| by 2 a modulo 4, since a + b + c is even; so
// f(alike) + f(p turned) - f(q turned) - f(r turned) is 2 (a - b - c), that is 0, modulo 4, and the
// new couplings are such quarters. What p loses, a, and what it gains differ by an even number for
// the same reason, so its sum stays even. The same holds of any piece with three terminals in the
// place of v.
// No sum of magnitudes grows: turning p changes f by at most 2 |a|, and by at most twice the
// magnitudes of its two new couplings, which is reached.
// Source. The transformation is that of statistical physics (L. Onsager 1944; M. E. Fisher 1959);
// for Max-Cut, D. Rehfeldt, T. Koch, Y. Shinano, "Faster exact solution of sparse MaxCut and QUBO
// problems" (2023).
// Cost. Constant for each node taken out, apart from finding a coupling in a sorted run.
#include <array>
#include <cstdlib>
#include <vector>

#include "toolkit/presolve/rules.hpp"

namespace orvex::toolkit {

void stars(Reduction& reduction) {
    SpinGraph& graph = reduction.graph();
    std::vector<Link> links;
    for (int v; (v = graph.next_changed(SpinGraph::STAR)) >= 0;) {
        if (v == graph.field() || graph.degree(v) != 3) continue;
        graph.copy_links(v, links);
        std::array<Wide, 4> energies{};
        std::uint8_t choices = 0;
        for (unsigned alike = 0; alike < energies.size(); ++alike) {
            const Wide towards = (alike & 1 ? links[0].weight : -links[0].weight) +
                                 (alike & 2 ? links[1].weight : -links[1].weight) + links[2].weight;
            energies[alike] = towards < 0 ? towards : -towards;
            if (towards < 0) choices = static_cast<std::uint8_t>(choices | 1U << alike);
        }
        const std::array node{v};
        const std::array terminals{links[0].node, links[1].node, links[2].node};
        reduction.replace(node, terminals, energies, std::array{choices});
    }
}

}  // namespace orvex::toolkit
