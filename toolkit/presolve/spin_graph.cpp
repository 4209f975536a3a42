#include "toolkit/presolve/spin_graph.hpp"

#include <cstdlib>
#include <utility>

namespace orvex::toolkit {
namespace {

constexpr std::uint8_t ALL = (1 << SpinGraph::WATCHERS) - 1;

Wide magnitude(Wide number) {
    return number < 0 ? -number : number;
}

Wide field_coupling(const SparseQubo& qubo, int v) {
    Wide sum = Wide{2} * qubo.linear[static_cast<std::size_t>(v)];
    for (const std::int64_t weight : qubo.weights_of(v))
        sum += weight;
    return sum;
}

const auto BY_NODE = [](const Link& link, int node) { return link.node < node; };

}  // namespace

Wide SpinGraph::weight_of(const SparseQubo& qubo) {
    Wide sum = 0, halves = 0;
    for (int v = 0; v < qubo.size(); ++v)
        sum += magnitude(field_coupling(qubo, v));
    for (const std::int64_t weight : qubo.weights)
        halves += magnitude(weight);
    return sum + halves / 2;
}

SpinGraph::SpinGraph(const SparseQubo& qubo) : nodes_(at(qubo.size()) + 1), alive_(qubo.size()) {
    pool_.reserve(qubo.neighbours.size() + qubo.neighbours.size() / 4);
    Wide couplings = 0;
    for (int v = 0; v < qubo.size(); ++v) {
        Node& node = nodes_[at(v)];
        node.start = pool_.size();
        const auto neighbours = qubo.neighbours_of(v);
        const auto weights = qubo.weights_of(v);
        for (std::size_t k = 0; k < neighbours.size(); ++k) {
            pool_.push_back({neighbours[k], weights[k]});
            note(node, 0, weights[k]);
            couplings += weights[k];
        }
        node.count = node.capacity = static_cast<std::int32_t>(neighbours.size());
        node.field = static_cast<std::int64_t>(field_coupling(qubo, v));
        note(node, 0, node.field);
        note(nodes_.back(), 0, node.field);
        constant += Wide{2} * qubo.linear[at(v)];
    }
    constant += couplings / 2;
    for (List& list : lists_)
        list.later.reserve(nodes_.size());
    for (int v = 0; v <= size(); ++v)
        touch(v);
}

std::int64_t SpinGraph::coupling(int u, int v) const {
    if (v == field()) return field_of(u);
    if (u == field()) return field_of(v);
    if (nodes_[at(v)].count < nodes_[at(u)].count) std::swap(u, v);
    const auto run = run_of(u);
    const auto link = std::lower_bound(run.begin(), run.end(), v, BY_NODE);
    return link != run.end() && link->node == v ? link->weight : 0;
}

Link SpinGraph::heaviest(int v) {
    Node& node = nodes_[at(v)];
    Link heaviest{-1, 0};
    if (node.largest < node.weight - node.largest) return heaviest;
    const auto compare = [&](const Link& link) {
        if (std::abs(link.weight) > std::abs(heaviest.weight)) heaviest = link;
    };
    if (v != field()) {
        for_each(v, compare);
    } else {
        for (int u = 0; u < size(); ++u)
            compare({u, field_of(u)});
    }
    node.largest = std::abs(heaviest.weight);
    return node.largest >= node.weight - node.largest ? heaviest : Link{-1, 0};
}

void SpinGraph::add(int u, int v, std::int64_t weight) {
    if (weight == 0) return;
    if (u == field()) std::swap(u, v);
    if (v == field()) {
        Node& node = nodes_[at(u)];
        const std::int64_t before = std::exchange(node.field, node.field + weight);
        note(node, before, node.field);
        note(nodes_.back(), before, node.field);
    } else {
        change(u, v, weight);
        change(v, u, weight);
    }
    touch(u);
    touch(v);
}

void SpinGraph::remove(int v) {
    Node& node = nodes_[at(v)];
    for (const Link& link : run_of(v)) {
        if (link.weight == 0) continue;
        change(link.node, v, -link.weight);
        touch(link.node);
    }
    if (node.field != 0) {
        note(nodes_.back(), node.field, 0);
        touch(field());
    }
    node = Node{};
    node.there = false;
    --alive_;
}

int SpinGraph::next_changed(Watcher watcher) {
    List& list = lists_[watcher];
    while (true) {
        if (list.next == list.nodes.size()) {
            if (list.later.empty()) return -1;
            list.nodes.clear();
            list.nodes.swap(list.later);
            list.next = 0;
        }
        const int v = list.nodes[list.next++];
        Node& node = nodes_[at(v)];
        if (!node.there) continue;
        node.listed = static_cast<std::uint8_t>(node.listed & ~(1 << watcher));
        return v;
    }
}

/** A coupling in the run of `u` alone. */
void SpinGraph::change(int u, int v, std::int64_t by) {
    Node& node = nodes_[at(u)];
    const auto run = run_of(u);
    const auto link = std::lower_bound(run.begin(), run.end(), v, BY_NODE);
    if (link == run.end() || link->node != v) {
        note(node, 0, by);
        insert(u, {v, by});
        return;
    }
    const std::int64_t before = std::exchange(link->weight, link->weight + by);
    note(node, before, link->weight);
    node.empty += (link->weight == 0) - (before == 0);
    if (node.empty > 8 && node.empty > node.count / 2) tidy(node);
}

void SpinGraph::note(Node& node, std::int64_t before, std::int64_t after) {
    node.degree += (after != 0) - (before != 0);
    node.weight += std::abs(after) - std::abs(before);
    node.largest = std::max<std::int64_t>(node.largest, std::abs(after));
}

void SpinGraph::insert(int u, const Link& link) {
    Node& node = nodes_[at(u)];
    const auto run = run_of(u);
    auto place = std::lower_bound(run.begin(), run.end(), link.node, BY_NODE) - run.begin();
    // An empty place on either side will do as well.
    for (const auto beside : {place, place - 1}) {
        if (beside < 0 || beside >= node.count || run[at(static_cast<int>(beside))].weight != 0)
            continue;
        run[at(static_cast<int>(beside))] = link;
        --node.empty;
        return;
    }
    if (node.count == node.capacity) {
        node.capacity = std::max(4, 2 * node.capacity);
        const std::size_t start = pool_.size();
        pool_.resize(start + at(node.capacity));
        std::copy_n(pool_.begin() + static_cast<std::ptrdiff_t>(node.start), node.count,
                    pool_.begin() + static_cast<std::ptrdiff_t>(start));
        node.start = start;
    }
    Link* const first = pool_.data() + node.start;
    std::copy_backward(first + place, first + node.count, first + node.count + 1);
    first[place] = link;
    ++node.count;
}

void SpinGraph::tidy(Node& node) {
    const auto first = pool_.begin() + static_cast<std::ptrdiff_t>(node.start);
    const auto last = std::remove_if(first, first + node.count,
                                     [](const Link& link) { return link.weight == 0; });
    node.count = static_cast<std::int32_t>(last - first);
    node.empty = 0;
}

void SpinGraph::touch(int v) {
    Node& node = nodes_[at(v)];
    if (node.listed == ALL) return;
    for (int watcher = 0; watcher < WATCHERS; ++watcher)
        if ((node.listed >> watcher & 1) == 0) lists_[watcher].later.push_back(v);
    node.listed = ALL;
}

}  // namespace orvex::toolkit
