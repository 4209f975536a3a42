#include "toolkit/presolve/reduction.hpp"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <utility>

namespace orvex::toolkit {
namespace {

std::size_t at(int i) {
    return static_cast<std::size_t>(i);
}

/**
 * For each node the one against whose spin it is understood: the field if they are connected, else
 * the node with most couplings of its component, which then is no variable any more.
 */
std::vector<std::int32_t> references_of(const SpinGraph& graph) {
    std::vector<std::int32_t> references(at(graph.size()), -1);
    std::vector<std::int32_t> component;
    for (int root = 0; root < graph.size(); ++root) {
        if (!graph.holds(root) || references[at(root)] != -1) continue;
        component = {root};
        references[at(root)] = root;
        int reference = root;
        for (std::size_t next = 0; next < component.size(); ++next) {
            const int v = component[next];
            if (graph.degree(v) > graph.degree(reference)) reference = v;
            graph.for_each(v, [&](const Link& link) {
                if (link.node == graph.field() || references[at(link.node)] != -1) return;
                references[at(link.node)] = root;
                component.push_back(link.node);
            });
        }
        for (const int v : component)
            if (graph.field_of(v) != 0) reference = graph.field();
        for (const int v : component)
            references[at(v)] = reference;
    }
    return references;
}

/** What a slow machine does of them, so that a programme is not begun that would end late. */
constexpr double STEPS_IN_A_SECOND = 2e8;

}  // namespace

Limits limits_of(const PresolveOptions& options) {
    const bool full = options.effort == PresolveEffort::FULL;
    return {.ball = 13,
            .large_ball = full ? 18U : 16U,
            .patient = full,
            .width = full ? 25 : 20,
            .narrow = 8,
            .memory = options.memory,
            .steps = full ? 3e10 : 6e8,
            .flow_steps = full ? 1e9 : 4e6,
            .seconds = options.time_limit};
}

bool Reduction::may_spend(double steps) {
    if (late() || spent_ + steps > limits_.steps) return false;
    if (limits_.seconds > 0 && seconds() + steps / STEPS_IN_A_SECOND > limits_.seconds)
        return false;
    spent_ += steps;
    return true;
}

int proven_bits(const SparseQubo& qubo) {
    RowSums rows(qubo.size());
    for (int v = 0; v < qubo.size(); ++v) {
        Wide positive = 0, negative = 0;
        for (const std::int64_t weight : qubo.weights_of(v))
            (weight > 0 ? positive : negative) += weight;
        rows.set(v, qubo.linear[at(v)], positive, negative);
    }
    return rows.bound().bits(0);
}

std::int64_t row_limit_of(const SparseQubo& qubo) {
    // A row's linear term is half of what its couplings and its field add up to, at most.
    return proven_bits(qubo) == 32 ? std::numeric_limits<std::int32_t>::max() / 3 * 2
                                   : std::numeric_limits<std::int64_t>::max();
}

bool Reduction::may_merge(int one, int other) const {
    const std::int64_t coupling = std::abs(graph_.coupling(one, other));
    const std::int64_t merged = graph_.weight(one) + graph_.weight(other) - 2 * coupling;
    return merged <= std::max({row_limit_, graph_.weight(one), graph_.weight(other)});
}

void Reduction::tie(int yields, int other, int sign) {
    const bool swap = yields == graph_.field() ||
                      (other != graph_.field() && graph_.degree(other) < graph_.degree(yields));
    contract(swap ? Tie{other, yields, static_cast<std::int8_t>(sign), true}
                  : Tie{yields, other, static_cast<std::int8_t>(sign), false});
}

void Reduction::tie_in_ball(std::span<const std::int32_t> nodes, int one, int other, int sign) {
    couplings_.clear();
    for (std::size_t k = 0; k < nodes.size(); ++k)
        graph_.for_each(nodes[k], [&](const Link& link) {
            const auto earlier = nodes.first(k);
            if (std::find(earlier.begin(), earlier.end(), link.node) == earlier.end())
                couplings_.push_back({nodes[k], link.node, link.weight});
        });
    way_back_.add_ball(nodes, couplings_, one, other, sign);
    if (other != graph_.field() && graph_.degree(other) < graph_.degree(one)) std::swap(one, other);
    contract(Tie{one, other, static_cast<std::int8_t>(sign), false});
}

void Reduction::contract(const Tie& tie) {
    way_back_.add(tie);
    graph_.copy_links(tie.gone, links_);
    graph_.remove(tie.gone);
    for (const Link& link : links_) {
        if (link.node == tie.kept)
            graph_.constant += tie.sign * link.weight;
        else
            graph_.add(link.node, tie.kept, tie.sign * link.weight);
    }
}

void Reduction::replace(std::span<const std::int32_t> nodes,
                        std::span<const std::int32_t> terminals, std::span<const Wide> energies,
                        std::span<const std::uint8_t> choices) {
    way_back_.add_piece(nodes, terminals, choices);
    for (const int v : nodes)
        graph_.remove(v);
    const auto& f = energies;
    const auto add = [&](int i, int j, Wide weight) {
        graph_.add(terminals[at(i)], terminals[at(j)], static_cast<std::int64_t>(weight));
    };
    if (terminals.size() == 1) {
        graph_.constant += f[0];
    } else if (terminals.size() == 2) {
        graph_.constant += (f[0] + f[1]) / 2;
        add(0, 1, (f[1] - f[0]) / 2);
    } else {
        graph_.constant += (f[0] + f[1] + f[2] + f[3]) / 4;
        add(0, 2, (f[1] + f[3] - f[0] - f[2]) / 4);
        add(1, 2, (f[2] + f[3] - f[0] - f[1]) / 4);
        add(0, 1, (f[0] + f[3] - f[1] - f[2]) / 4);
    }
}

Wide Reduction::bound() const {
    Wide twice = 0;
    for (int v = 0; v <= graph_.size(); ++v)
        twice += graph_.weight(v);
    // No coupling can do better than its magnitude. Upwards, since energies are integers.
    const Wide least = graph_.constant - twice / 2;
    return least > 0 ? (least + 3) / 4 : -(-least / 4);
}

Presolved Reduction::finish(std::vector<RuleUse> rules) && {
    const std::vector<std::int32_t> reference_of = references_of(graph_);
    std::vector<std::int32_t> left, references, number(at(graph_.size()), -1);
    for (int v = 0; v < graph_.size(); ++v) {
        if (!graph_.holds(v) || reference_of[at(v)] == v) continue;
        number[at(v)] = static_cast<std::int32_t>(left.size());
        left.push_back(v);
        references.push_back(reference_of[at(v)]);
    }

    SparseQubo reduced;
    Wide reference_energy = 0;
    for (const int v : left) {
        Wide towards_reference = 0, others = 0;
        graph_.for_each(v, [&](const Link& link) {
            if (link.node == reference_of[at(v)]) {
                towards_reference = link.weight;
                return;
            }
            others += link.weight;
            reduced.neighbours.push_back(number[at(link.node)]);
            reduced.weights.push_back(link.weight);
        });
        reduced.linear.push_back(static_cast<std::int64_t>((towards_reference - others) / 2));
        reduced.starts.push_back(reduced.neighbours.size());
        // With all bits 0 the couplings count plain, those to the reference negative.
        reference_energy += others - 2 * towards_reference;
    }
    const Wide zero_energy = graph_.constant + reference_energy / 2;
    way_back_.finish(std::move(left), std::move(references), zero_energy / 4);
    return {std::move(way_back_), std::move(reduced), bound(), std::move(rules)};
}

}  // namespace orvex::toolkit
