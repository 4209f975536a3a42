// Two coupled nodes, looked at together.
//
// Statement. Let J couple u and v, and let f = sum a_k s_k and g = sum b_k s_k be what the others
// pull at u and at v with. With t = -sign(J), some optimum has s_u = t s_v if for some p, q >= 0,
// not both 0,
//
//     sum over k of |p a_k - q t b_k|  <=  (p + q) |J|.
//
// Why. The best energy with s_u = t s_v is -|f + t g| - |J|, that with s_u = -t s_v is -|f - t g| +
// |J|. Their difference is |f - t g| - |f + t g| - 2 |J|; it is negative unless f and t g have
// opposite signs, and then it is 2 min(|f|, |g|) - 2 |J|. That minimum is at most any weighted
// mean, (p |f| + q |g|) / (p + q) = |p f - q t g| / (p + q), which the sum bounds. With q = 0 or p
// = 0 this is the rule of heavy couplings; with p = q it is the test of pairs by differences of
// rows. The left side is convex in p / q, with corners where one term vanishes; the best corner is
// looked for in floating point and then tried exactly. Source. F. Glover, M. Lewis, G.
// Kochenberger, "Logical and inequality implications for reducing the size and difficulty of
// quadratic unconstrained binary optimization problems" (2018); J.-H. Lange et al. (2019) for two
// nodes against the rest. Cost. The couplings of both nodes, and sorting the corners. A pair is
// looked at when one of its nodes has changed.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <vector>

#include "toolkit/presolve/rules.hpp"

namespace orvex::toolkit {
namespace {

/** No node with more couplings is looked at. */
constexpr int MOST_COUPLINGS = 512;

/** The two pulls of one node. */
struct Pull {
    std::int64_t a, b;
};

/** Nodes that pull at u and v, the two themselves left out; b is turned by the sign. */
void pulls_of(const std::vector<Link>& at_u, const std::vector<Link>& at_v, int u, int v, int sign,
              std::vector<Pull>& pulls) {
    pulls.clear();
    auto i = at_u.begin(), j = at_v.begin();
    while (i != at_u.end() || j != at_v.end()) {
        const bool left = j == at_v.end() || (i != at_u.end() && i->node <= j->node);
        const bool right = i == at_u.end() || (j != at_v.end() && j->node <= i->node);
        const int node = left ? i->node : j->node;
        if (node != u && node != v)
            pulls.push_back({left ? i->weight : 0, right ? sign * j->weight : 0});
        i += left;
        j += right;
    }
}

/** Where |p a - q b| summed over all, with p + q = 1, is least: p and q, not divided. */
Pull best_mean(const std::vector<Pull>& pulls) {
    struct Corner {
        double place, slope;
        std::int64_t p, q;
    };
    static thread_local std::vector<Corner> corners;
    corners.clear();
    double slope = 0;  // at p = 0
    for (const auto& [a, b] : pulls) {
        const double sum = static_cast<double>(a) + static_cast<double>(b);
        slope += b == 0 ? std::abs(sum) : (b > 0 ? -sum : sum);
        if (a != 0 && b != 0 && (a > 0) == (b > 0))
            corners.push_back(
                {static_cast<double>(b) / sum, 2 * std::abs(sum), std::abs(b), std::abs(a)});
    }
    if (slope >= 0) return {0, 1};
    std::sort(corners.begin(), corners.end(),
              [](const Corner& x, const Corner& y) { return x.place < y.place; });
    for (const Corner& corner : corners) {
        slope += corner.slope;
        if (slope >= 0) return {corner.p, corner.q};
    }
    return {1, 0};
}

bool holds_together(const std::vector<Pull>& pulls, std::int64_t coupling) {
    const auto [p, q] = best_mean(pulls);
    Wide sum = 0;
    for (const auto& [a, b] : pulls) {
        const Wide difference = Wide{p} * a - Wide{q} * b;
        sum += difference < 0 ? -difference : difference;
    }
    return sum <= (Wide{p} + q) * std::abs(coupling);
}

/** The couplings of one node, found by the other end. */
class Marks {
  public:
    explicit Marks(int nodes) : weights_(static_cast<std::size_t>(nodes)) {}
    std::int64_t operator[](int v) const { return weights_[static_cast<std::size_t>(v)]; }
    void set(const std::vector<Link>& links) {
        for (const Link& link : links)
            weights_[static_cast<std::size_t>(link.node)] = link.weight;
    }
    void clear(const std::vector<Link>& links) {
        for (const Link& link : links)
            weights_[static_cast<std::size_t>(link.node)] = 0;
    }

  private:
    std::vector<std::int64_t> weights_;
};

/** Whether what pulls at u alone, or at v alone, is at most their coupling. */
bool may_hold(const SpinGraph& graph, const Marks& at_u, int u, int v, std::int64_t coupling) {
    std::int64_t alone_u = graph.weight(u), alone_v = graph.weight(v);
    graph.for_each(v, [&](const Link& link) {
        const std::int64_t shared = at_u[link.node];
        if (shared == 0) return;
        alone_u -= std::abs(shared);
        alone_v -= std::abs(link.weight);
    });
    // The coupling itself is still in both.
    return std::min(alone_u, alone_v) <= 2 * std::abs(coupling);
}

}  // namespace

void pairs(Reduction& reduction) {
    SpinGraph& graph = reduction.graph();
    Marks marks(graph.size() + 1);
    std::vector<Link> at_u, at_v;
    std::vector<Pull> pulls;
    for (int u; (u = graph.next_changed(SpinGraph::PAIRS)) >= 0;) {
        if (u == graph.field() || graph.degree(u) > MOST_COUPLINGS) continue;
        if (!reduction.may_spend(graph.degree(u))) return;
        graph.copy_links(u, at_u);
        marks.set(at_u);
        const auto tied = std::find_if(at_u.begin(), at_u.end(), [&](const Link& link) {
            const auto [v, coupling] = link;
            // A pair waits for its other node if that one is to come.
            if (v == graph.field() || graph.awaits(v, SpinGraph::PAIRS)) return false;
            if (graph.degree(v) > MOST_COUPLINGS || !may_hold(graph, marks, u, v, coupling))
                return false;
            graph.copy_links(v, at_v);
            pulls_of(at_u, at_v, u, v, coupling > 0 ? -1 : 1, pulls);
            return holds_together(pulls, coupling) && reduction.may_merge(u, v);
        });
        marks.clear(at_u);
        if (tied != at_u.end())
            reduction.tie_in_ball(std::array{u, tied->node}, u, tied->node,
                                  tied->weight > 0 ? -1 : 1);
    }
}

}  // namespace orvex::toolkit
