// Balls around a node, with all assignments of what surrounds them compared.
//
// Statement. Let B be a set of nodes and R the nodes outside that it is coupled to, the field among
// them. If for every assignment of R some best assignment of B given R has s_u = t s_w, with u in
// B, w in B or R and t the same each time, then some optimum has it too. Why. Take any solution and
// put the best spins of B with s_u = t s_w in the place of its own: its energy does not grow, and
// nothing outside of B has turned. That is the way forward as well. A ball finds whatever a ball
// within it finds, so a node is tried once, with the largest ball that the limit of assignments
// allows, grown by the neighbour that makes the surroundings smallest. Most balls hold no such
// pair, which a few assignments of R already show. Source. For one node and its neighbours this is
// persistency; comparing all assignments of a small set given its boundary is the idea of data
// reduction for Max-Cut and of "subgraph-based criteria": J.-H. Lange, B. Andres, P. Swoboda
// (2019). Cost. At most 2^(|B| + |R| - 1) energies for a ball; 2^|B| for each assignment of R
// looked at.
#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <limits>
#include <optional>
#include <vector>

#include "toolkit/presolve/rules.hpp"

namespace orvex::toolkit {
namespace {

constexpr std::size_t MOST_INSIDE = 8;

std::size_t at(int i) {
    return static_cast<std::size_t>(i);
}

/** A ball with its couplings in numbers of its own: the nodes inside first, then the others. */
class Surrounded {
  public:
    Surrounded(const SpinGraph& graph, int centre, std::size_t most_nodes) : graph_(graph) {
        take(centre);
        while (inside_.size() < MOST_INSIDE) {
            std::optional<int> best;
            std::size_t least = most_nodes + 1;
            for (const std::int32_t v : around_) {
                if (v == graph.field() || at(graph.degree(v)) > most_nodes) continue;
                const std::size_t size = size_with(v);
                if (size < least) {
                    least = size;
                    best = v;
                }
            }
            if (!best) break;
            take(*best);
        }
    }

    std::span<const std::int32_t> inside() const { return inside_; }
    std::size_t size() const { return inside_.size() + around_.size(); }
    int node(std::size_t number) const {
        return number < inside_.size() ? inside_[number] : around_[number - inside_.size()];
    }

    struct Found {
        int one, other, sign;
    };
    /** A pair of nodes that is tied so in a best assignment whatever surrounds the ball. */
    std::optional<Found> tied_pair() const;

  private:
    bool has(std::span<const std::int32_t> nodes, int v) const {
        return std::find(nodes.begin(), nodes.end(), v) != nodes.end();
    }
    void take(int v) {
        std::erase(around_, v);
        inside_.push_back(v);
        graph_.for_each(v, [&](const Link& link) {
            if (!has(inside_, link.node) && !has(around_, link.node)) around_.push_back(link.node);
        });
    }
    std::size_t size_with(int v) const {
        std::size_t size = inside_.size() + around_.size();
        graph_.for_each(v, [&](const Link& link) {
            size += !has(inside_, link.node) && !has(around_, link.node);
        });
        return size;
    }
    std::vector<std::int64_t> energies_inside() const;

    const SpinGraph& graph_;
    std::vector<std::int32_t> inside_, around_;
};

/** Of the couplings between nodes inside, for each assignment of them. */
std::vector<std::int64_t> Surrounded::energies_inside() const {
    std::vector<std::int64_t> energies(std::size_t{1} << inside_.size());
    for (std::size_t i = 0; i < inside_.size(); ++i)
        graph_.for_each(inside_[i], [&](const Link& link) {
            const auto place = std::find(inside_.begin(), inside_.end(), link.node);
            const auto j = static_cast<std::size_t>(place - inside_.begin());
            if (j >= i) return;
            for (std::size_t x = 0; x < energies.size(); ++x)
                energies[x] += ((x >> i ^ x >> j) & 1) != 0 ? -link.weight : link.weight;
        });
    return energies;
}

std::optional<Surrounded::Found> Surrounded::tied_pair() const {
    const std::size_t inner = inside_.size(), outer = around_.size();
    const std::vector<std::int64_t> within = energies_inside();
    std::vector<std::int64_t> couplings(inner * outer), pulls(inner), energies(within.size());
    for (std::size_t i = 0; i < inner; ++i)
        for (std::size_t r = 0; r < outer; ++r) {
            couplings[r * inner + i] = graph_.coupling(inside_[i], around_[r]);
            pulls[i] -= couplings[r * inner + i];
        }

    // For each node inside, the nodes that it may still be tied to with either sign.
    const std::uint32_t everyone = (std::uint32_t{1} << size()) - 1;
    std::vector<std::uint32_t> alike(inner), unlike(inner);
    for (std::size_t i = 0; i < inner; ++i)
        alike[i] = unlike[i] = everyone & ~(std::uint32_t{1} << i);
    // With all spins turned nothing changes, so the last of the surroundings stays down.
    const std::uint32_t assignments = std::uint32_t{1} << (outer > 0 ? outer - 1 : 0);
    for (std::uint32_t count = 0, surroundings = 0; count < assignments; ++count) {
        if (count > 0) {
            const auto turned = static_cast<std::size_t>(std::countr_zero(count));
            surroundings ^= std::uint32_t{1} << turned;
            const bool up = (surroundings >> turned & 1) != 0;
            for (std::size_t i = 0; i < inner; ++i)
                pulls[i] += (up ? 2 : -2) * couplings[turned * inner + i];
        }
        energies[0] = 0;
        for (const std::int64_t pull : pulls)
            energies[0] -= pull;
        for (std::size_t i = 0; i < inner; ++i)
            for (std::size_t x = 0, half = std::size_t{1} << i; x < half; ++x)
                energies[half + x] = energies[x] + 2 * pulls[i];
        std::int64_t least = std::numeric_limits<std::int64_t>::max();
        for (std::size_t x = 0; x < energies.size(); ++x) {
            energies[x] += within[x];
            least = std::min(least, energies[x]);
        }
        std::array<std::uint32_t, MOST_INSIDE> seen_alike{}, seen_unlike{};
        for (std::uint32_t x = 0; x < energies.size(); ++x) {
            if (energies[x] != least) continue;
            const std::uint32_t spins = x | surroundings << inner;
            for (std::size_t i = 0; i < inner; ++i) {
                const std::uint32_t same = (spins >> i & 1) != 0 ? spins : ~spins;
                seen_alike[i] |= same;
                seen_unlike[i] |= ~same;
            }
        }
        std::uint32_t any = 0;
        for (std::size_t i = 0; i < inner; ++i)
            any |= (alike[i] &= seen_alike[i]) | (unlike[i] &= seen_unlike[i]);
        if (any == 0) return std::nullopt;
    }
    for (std::size_t i = 0; i < inner; ++i)
        if (const std::uint32_t any = alike[i] | unlike[i]; any != 0) {
            const auto other = static_cast<std::size_t>(std::countr_zero(any));
            return Found{inside_[i], node(other), (alike[i] >> other & 1) != 0 ? 1 : -1};
        }
    return std::nullopt;
}

/** Balls in vain that are tried in any case, and as many more for each that is not. */
constexpr long PATIENCE = 500, MORE_PATIENCE = 100;

void tie_in_balls(Reduction& reduction, SpinGraph::Watcher watcher, std::size_t most_nodes) {
    SpinGraph& graph = reduction.graph();
    long patience = PATIENCE;
    for (int v; (v = graph.next_changed(watcher)) >= 0;) {
        if (v == graph.field() || at(graph.degree(v)) >= most_nodes) continue;
        const bool in_vain = !reduction.limits().patient && --patience < 0;
        if (in_vain || !reduction.may_spend(256)) return;
        const Surrounded ball(graph, v, most_nodes);
        const auto found = ball.tied_pair();
        if (!found || !reduction.may_merge(found->one, found->other)) continue;
        reduction.tie_in_ball(ball.inside(), found->one, found->other, found->sign);
        patience += MORE_PATIENCE;
    }
}

}  // namespace

void balls(Reduction& reduction) {
    tie_in_balls(reduction, SpinGraph::BALLS, reduction.limits().ball);
}

void large_balls(Reduction& reduction) {
    tie_in_balls(reduction, SpinGraph::LARGE_BALLS, reduction.limits().large_ball);
}

}  // namespace orvex::toolkit
