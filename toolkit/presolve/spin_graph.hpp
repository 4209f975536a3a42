// A QUBO as a graph of spins, for rules that take nodes out. With x = (1 + s s0) / 2 for the spin
// s0 of the field,
//
//     4 E(x) = constant + sum over couplings of J s s',   J = w between two variables,
//                                                         J = 2 linear + sum of w to the field.
//
// So a linear term is a coupling like any other. The sum of all couplings at a node is even, and
// only then the graph is a QUBO in integers again: linear = (J to the field - sum of the others)
// / 2. Invariants: that sum stays even under what the rules do; the magnitudes of all couplings
// together never grow, so that 64 bits hold every sum if they hold that one.
//
// The couplings of a node are a sorted run in one pool, in which a weight of 0 marks an empty
// place, so that a node with very many of them loses one in logarithmic time. The field has no such
// run.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

#include "toolkit/model/bounds.hpp"
#include "toolkit/model/sparse_qubo.hpp"

namespace orvex::toolkit {

/** A coupling, seen from one of its ends. */
struct Link {
    std::int32_t node;
    std::int64_t weight;
};

class SpinGraph {
  public:
    /** Who is told of changes: each has a list of its own. */
    enum Watcher { HEAVY, STAR, PAIRS, BALLS, LARGE_BALLS, WATCHERS };

    explicit SpinGraph(const SparseQubo& qubo);

    /** The sum of magnitudes of all couplings; the constructor needs it to be at most MOST. */
    static Wide weight_of(const SparseQubo& qubo);
    static constexpr Wide MOST = Wide{1} << 61;

    int size() const { return static_cast<int>(nodes_.size()) - 1; }
    int field() const { return size(); }
    int alive() const { return alive_; }
    bool holds(int v) const { return nodes_[at(v)].there; }

    /** Number of couplings of a node, that to the field included. */
    int degree(int v) const { return nodes_[at(v)].degree; }

    /** The sum of magnitudes of a node's couplings. */
    std::int64_t weight(int v) const { return nodes_[at(v)].weight; }

    /** The coupling to the field. */
    std::int64_t field_of(int v) const { return nodes_[at(v)].field; }

    /** The coupling of two different nodes, 0 if there is none. */
    std::int64_t coupling(int u, int v) const;

    /** Calls with each coupling of a node that is not the field; the field comes last. */
    template <class Function>
    void for_each(int v, Function&& call) const {
        for (const Link& link : run_of(v))
            if (link.weight != 0) call(link);
        if (field_of(v) != 0) call(Link{field(), field_of(v)});
    }

    /** Its couplings in a list that stays as it is when the graph changes. */
    void copy_links(int v, std::vector<Link>& links) const {
        links.clear();
        for_each(v, [&](const Link& link) { links.push_back(link); });
    }

    /**
     * A strongest coupling of a node if it may outweigh all others together; else, and for a node
     * without couplings, one of weight 0. Cheap if the answer is no.
     */
    Link heaviest(int v);

    void add(int u, int v, std::int64_t weight);

    /** Takes a node out with its couplings. */
    void remove(int v);

    /** A node that has changed since the watcher was last given it, or -1. */
    int next_changed(Watcher watcher);

    /** Whether a node is still to be given to the watcher. */
    bool awaits(int v, Watcher watcher) const { return (nodes_[at(v)].listed >> watcher & 1) != 0; }

    /** The constant of the energies, four times. */
    Wide constant = 0;

  private:
    struct Node {
        std::size_t start = 0;
        std::int64_t field = 0;
        std::int64_t weight = 0;
        std::int64_t largest = 0;  // no coupling is larger
        std::int32_t count = 0, capacity = 0, empty = 0;
        std::int32_t degree = 0;
        std::uint8_t listed = 0;  // by which watchers
        bool there = true;
    };
    /** First in, first out, so that a node with many neighbours is looked at once for all of them.
     */
    struct List {
        std::vector<std::int32_t> nodes, later;
        std::size_t next = 0;
    };

    static std::size_t at(int v) { return static_cast<std::size_t>(v); }
    std::span<const Link> run_of(int v) const {
        const Node& node = nodes_[at(v)];
        return {pool_.data() + node.start, at(node.count)};
    }
    std::span<Link> run_of(int v) {
        const Node& node = nodes_[at(v)];
        return {pool_.data() + node.start, at(node.count)};
    }
    void change(int u, int v, std::int64_t by);
    void note(Node& node, std::int64_t before, std::int64_t after);
    void insert(int u, const Link& link);
    void tidy(Node& node);
    void touch(int v);

    std::vector<Node> nodes_;  // the field is the last
    std::vector<Link> pool_;
    int alive_;
    List lists_[WATCHERS];
};

}  // namespace orvex::toolkit
