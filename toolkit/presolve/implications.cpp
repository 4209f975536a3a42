// The maximum flow is found by blocking flows along shortest paths (E. A. Dinic 1970).
#include "toolkit/presolve/implications.hpp"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <utility>

namespace orvex::toolkit {

Implications::Implications(const SpinGraph& graph)
    : field_(graph.field()), first_(2 * (static_cast<std::size_t>(graph.size()) + 1), -1) {
    for (int v = 0; v < graph.size(); ++v) {
        if (!graph.holds(v)) continue;
        graph.for_each(v, [&](const Link& link) {
            if (link.node < v) return;
            const std::int32_t wanted = 2 * link.node + (link.weight > 0 ? 1 : 0);
            join(2 * v, wanted, std::abs(link.weight));
            join(opposite(2 * v), opposite(wanted), std::abs(link.weight));
        });
    }
}

void Implications::join(std::int32_t a, std::int32_t b, std::int64_t capacity) {
    for (const auto& [from, to] : {std::pair{a, b}, {b, a}}) {
        arcs_.push_back({to, first_[at(from)], capacity});
        first_[at(from)] = static_cast<std::int32_t>(arcs_.size()) - 1;
    }
}

bool Implications::fill(double steps) {
    while (steps > 0) {
        if (!find_levels(steps)) return true;
        current_ = first_;
        augment(steps);
    }
    return false;
}

/** Distances from the source. @return whether the sink is reached */
bool Implications::find_levels(double& steps) {
    levels_.assign(first_.size(), -1);
    std::vector<std::int32_t> reached{source()};
    levels_[at(source())] = 0;
    for (std::size_t next = 0; next < reached.size() && levels_[at(sink())] < 0; ++next) {
        const std::int32_t a = reached[next];
        for (std::int32_t arc = first_[at(a)]; arc >= 0; arc = arcs_[at(arc)].next) {
            const auto& [b, following, rest] = arcs_[at(arc)];
            --steps;
            if (rest == 0 || levels_[at(b)] >= 0) continue;
            levels_[at(b)] = levels_[at(a)] + 1;
            reached.push_back(b);
        }
    }
    return levels_[at(sink())] >= 0;
}

/** Sends flow along shortest paths until none is left, walking one path forward and back. */
void Implications::augment(double& steps) {
    std::vector<std::int32_t> path;
    for (std::int32_t a = source(); steps > 0;) {
        if (a == sink()) {
            std::int64_t least = std::numeric_limits<std::int64_t>::max();
            for (const std::int32_t arc : path)
                least = std::min(least, arcs_[at(arc)].rest);
            steps -= static_cast<double>(path.size());
            std::size_t full = path.size();
            for (std::size_t k = path.size(); k-- > 0;) {
                arcs_[at(path[k])].rest -= least;
                arcs_[at(path[k] ^ 1)].rest += least;
                if (arcs_[at(path[k])].rest == 0) full = k;
            }
            a = arcs_[at(path[full] ^ 1)].to;
            path.resize(full);
            continue;
        }
        std::int32_t& arc = current_[at(a)];
        while (arc >= 0 &&
               (arcs_[at(arc)].rest == 0 || levels_[at(arcs_[at(arc)].to)] != levels_[at(a)] + 1))
            arc = arcs_[at(arc)].next, --steps;
        if (arc >= 0) {
            path.push_back(arc);
            a = arcs_[at(arc)].to;
        } else if (path.empty()) {
            return;
        } else {
            levels_[at(a)] = -1;  // no way on from here
            a = arcs_[at(path.back() ^ 1)].to;
            path.pop_back();
        }
    }
}

/** Nodes that reach each other through open arcs; a component's successors have lower numbers. */
struct Implications::Components {
    std::vector<std::int32_t> of;
    std::vector<bool> torn;  ///< whether one that holds a node with its opposite is reached
};

/** R. E. Tarjan's algorithm (1972), without recursion. */
Implications::Components Implications::components() const {
    const std::size_t size = first_.size();
    Components found{std::vector<std::int32_t>(size, -1), {}};
    std::vector<std::int32_t> index(size, -1), low(size), arc = first_, stack, walk;
    std::int32_t next = 0;
    for (std::int32_t root = 0; at(root) < size; ++root) {
        if (index[at(root)] >= 0) continue;
        walk.push_back(root);
        while (!walk.empty()) {
            const std::int32_t a = walk.back();
            if (index[at(a)] < 0) {
                index[at(a)] = low[at(a)] = next++;
                stack.push_back(a);
            }
            std::int32_t& at_arc = arc[at(a)];
            while (at_arc >= 0) {
                const std::int32_t b = arcs_[at(at_arc)].to;
                if (open(at_arc)) {
                    if (index[at(b)] < 0) break;
                    if (found.of[at(b)] < 0) low[at(a)] = std::min(low[at(a)], low[at(b)]);
                }
                at_arc = arcs_[at(at_arc)].next;
            }
            if (at_arc >= 0) {
                walk.push_back(arcs_[at(at_arc)].to);
                continue;
            }
            walk.pop_back();
            if (low[at(a)] != index[at(a)]) continue;
            const auto component = static_cast<std::int32_t>(found.torn.size());
            const auto begin = std::find(stack.rbegin(), stack.rend(), a).base() - 1;
            for (auto member = begin; member != stack.end(); ++member)
                found.of[at(*member)] = component;
            bool torn = false;
            for (auto member = begin; member != stack.end(); ++member) {
                torn = torn || found.of[at(opposite(*member))] == component;
                for (std::int32_t k = first_[at(*member)]; k >= 0; k = arcs_[at(k)].next)
                    if (open(k)) {
                        const std::int32_t to = found.of[at(arcs_[at(k)].to)];
                        torn = torn || (to != component && found.torn[at(to)]);
                    }
            }
            found.torn.push_back(torn);
            stack.erase(begin, stack.end());
        }
    }
    return found;
}

std::vector<std::int8_t> Implications::decided() const {
    const Components components = this->components();
    // What the field reaches is decided whatever else is.
    std::vector<bool> reached(first_.size());
    std::vector<std::int32_t> list{source()};
    reached[at(source())] = true;
    for (std::size_t next = 0; next < list.size(); ++next)
        for (std::int32_t arc = first_[at(list[next])]; arc >= 0; arc = arcs_[at(arc)].next)
            if (const std::int32_t b = arcs_[at(arc)].to; open(arc) && !reached[at(b)]) {
                reached[at(b)] = true;
                list.push_back(b);
            }
    const auto chosen = [&](std::int32_t a) {
        if (reached[at(a)] || reached[at(opposite(a))]) return bool{reached[at(a)]};
        const std::int32_t here = components.of[at(a)], there = components.of[at(opposite(a))];
        if (components.torn[at(here)]) return false;
        return components.torn[at(there)] || here < there;
    };
    std::vector<std::int8_t> decided(at(field_));
    for (std::int32_t v = 0; v < field_; ++v)
        decided[at(v)] = static_cast<std::int8_t>(chosen(2 * v) - chosen(2 * v + 1));
    return decided;
}

}  // namespace orvex::toolkit
