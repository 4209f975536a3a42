// Nodes without a coupling between them whose couplings are proportional.
//
// Statement. Let the couplings of u be c times those of v, to the same nodes, with c not 0. Then
// some optimum has s_u = sign(c) s_v. Why. What pulls at u is c times what pulls at v, whatever the
// other spins; so with both at their best they follow the same pull, in one direction or in
// opposite ones (and where it is 0, any spins do). A solution where they do not gets the better of
// the two assignments in which they do. Source. Known as data reduction for Max-Cut: S. Lamm et
// al., "Engineering kernelization for maximum cut" (2020), for equal neighbourhoods; the field
// makes it the rule for equal rows of a QUBO. Cost. One hash over the couplings of each node; equal
// hashes are compared term by term.
#include <cstdint>
#include <numeric>
#include <unordered_map>
#include <vector>

#include "toolkit/presolve/rules.hpp"

namespace orvex::toolkit {
namespace {

/** Equal for proportional couplings. */
std::uint64_t shape_of(const std::vector<Link>& links) {
    std::int64_t divisor = 0;
    for (const Link& link : links)
        divisor = std::gcd(divisor, link.weight);
    if (links.front().weight < 0) divisor = -divisor;
    std::uint64_t hash = links.size();
    const auto mix = [&](std::int64_t number) {
        hash = (hash ^ static_cast<std::uint64_t>(number)) * 0x9E3779B97F4A7C15U;
        hash ^= hash >> 29;
    };
    for (const Link& link : links) {
        mix(link.node);
        mix(link.weight / divisor);
    }
    return hash;
}

bool proportional(const std::vector<Link>& a, const std::vector<Link>& b) {
    if (a.size() != b.size()) return false;
    for (std::size_t k = 0; k < a.size(); ++k)
        if (a[k].node != b[k].node ||
            Wide{a[k].weight} * b[0].weight != Wide{b[k].weight} * a[0].weight)
            return false;
    return true;
}

}  // namespace

void twins(Reduction& reduction) {
    SpinGraph& graph = reduction.graph();

    std::unordered_map<std::uint64_t, std::int32_t> known;
    known.reserve(static_cast<std::size_t>(graph.alive()));
    std::vector<Link> links, others;
    for (int v = 0; v < graph.size(); ++v) {
        if (!graph.holds(v) || graph.degree(v) == 0) continue;
        graph.copy_links(v, links);
        const auto [place, first] = known.try_emplace(shape_of(links), v);
        if (first) continue;
        const int u = place->second;
        // It may have changed since, or be gone.
        if (graph.holds(u)) graph.copy_links(u, others);
        if (!graph.holds(u) || !proportional(links, others)) {
            place->second = v;
            continue;
        }
        if (!reduction.may_merge(u, v)) continue;
        const int sign = (links[0].weight > 0) == (others[0].weight > 0) ? 1 : -1;
        reduction.tie_in_ball(std::array{u, v}, u, v, sign);
        place->second = graph.holds(u) ? u : v;
    }
}

}  // namespace orvex::toolkit
