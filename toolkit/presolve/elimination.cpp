// The next node is one that is joined to fewest others, and of these one for which fewest pairs
// must be joined (least fill among those of least degree; both are the usual greedy orders, see H.
// L. Bodlaender, A. M. C. A. Koster, "Treewidth computations I. Upper bounds", 2010). Nodes wait in
// a heap under the key that they had when they changed last; a key that has changed since is found
// when its turn comes.
// Cost. A node of degree d costs d^2 steps, with at most the width for d, and what it takes to keep
// the neighbours' lists sorted.
#include "toolkit/presolve/elimination.hpp"

#include <algorithm>
#include <functional>
#include <queue>
#include <tuple>

namespace orvex::toolkit {
namespace {

std::size_t at(int i) {
    return static_cast<std::size_t>(i);
}

/** The graph that couplings and nodes taken out make. */
class Joined {
  public:
    explicit Joined(const SpinGraph& graph) : lists_(at(graph.size())) {
        for (int v = 0; v < graph.size(); ++v) {
            if (!graph.holds(v)) continue;
            lists_[at(v)].reserve(at(graph.degree(v)));
            graph.for_each(v, [&](const Link& link) {
                if (link.node != graph.field()) lists_[at(v)].push_back(link.node);
            });
        }
    }

    const std::vector<std::int32_t>& of(int v) const { return lists_[at(v)]; }
    int degree(int v) const { return static_cast<int>(of(v).size()); }

    /** The pairs of neighbours that are not joined yet. */
    int fill(int v) const {
        int pairs = 0;
        for (const std::int32_t u : of(v)) {
            // Of two lists the shorter one is gone through.
            const auto& list = of(u);
            const auto& own = of(v);
            int joined = 0;
            if (list.size() < 4 * own.size()) {
                auto place = own.begin();
                for (const std::int32_t w : list) {
                    while (place != own.end() && *place < w)
                        ++place;
                    joined += place != own.end() && *place == w;
                }
            } else {
                for (const std::int32_t w : own)
                    joined += std::binary_search(list.begin(), list.end(), w);
            }
            pairs += degree(v) - 1 - joined;
        }
        return pairs / 2;
    }

    /** Takes a node out. @return what it was joined to */
    std::vector<std::int32_t> remove(int v) {
        const std::vector<std::int32_t> scope = std::move(lists_[at(v)]);
        lists_[at(v)] = {};
        for (const std::int32_t u : scope) {
            auto& list = lists_[at(u)];
            list.erase(std::lower_bound(list.begin(), list.end(), v));
            if (list.size() < 8 * scope.size()) {
                join(list, scope, u);
                continue;
            }
            for (const std::int32_t w : scope) {
                const auto place = std::lower_bound(list.begin(), list.end(), w);
                if (w != u && (place == list.end() || *place != w)) list.insert(place, w);
            }
        }
        return scope;
    }

  private:
    void join(std::vector<std::int32_t>& list, const std::vector<std::int32_t>& scope,
              std::int32_t self) {
        merged_.clear();
        std::set_union(list.begin(), list.end(), scope.begin(), scope.end(),
                       std::back_inserter(merged_));
        merged_.erase(std::lower_bound(merged_.begin(), merged_.end(), self));
        list.assign(merged_.begin(), merged_.end());
    }

    std::vector<std::vector<std::int32_t>> lists_;  // ascending
    std::vector<std::int32_t> merged_;
};

}  // namespace

Elimination eliminate(const SpinGraph& graph, int width) {
    using Key = std::tuple<std::int32_t, std::int32_t, std::int32_t>;  // degree, fill, node
    Elimination elimination;
    elimination.places.assign(at(graph.size()), -1);
    Joined joined(graph);
    std::priority_queue<Key, std::vector<Key>, std::greater<>> waiting;
    const auto key_of = [&](int v) { return Key{joined.degree(v), joined.fill(v), v}; };
    for (int v = 0; v < graph.size(); ++v)
        if (graph.holds(v) && joined.degree(v) <= width) waiting.push(key_of(v));

    while (!waiting.empty()) {
        const auto [degree, fill, v] = waiting.top();
        waiting.pop();
        if (elimination.places[at(v)] != -1 || joined.degree(v) != degree) continue;
        elimination.places[at(v)] = static_cast<std::int32_t>(elimination.order.size());
        elimination.order.push_back(v);
        const std::vector<std::int32_t> scope = joined.remove(v);
        elimination.scopes.insert(elimination.scopes.end(), scope.begin(), scope.end());
        elimination.starts.push_back(elimination.scopes.size());
        for (const std::int32_t u : scope)
            if (joined.degree(u) <= width) waiting.push(key_of(u));
    }
    return elimination;
}

}  // namespace orvex::toolkit
