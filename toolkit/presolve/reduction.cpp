#include "toolkit/presolve/reduction.hpp"

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

Wide floor_of_quarter(Wide number) {
    return number >= 0 ? number / 4 : -((-number + 3) / 4);
}

/** What a slow machine does of them, so that a programme is not begun that would end late. */
constexpr double STEPS_IN_A_SECOND = 2e8;

}  // namespace

Limits limits_of(const PresolveOptions& options) {
    const bool full = options.effort == PresolveEffort::FULL;
    return {.width = full ? 25 : 20,
            .memory = options.memory,
            .steps = full ? 3e10 : 6e8,
            .seconds = options.time_limit};
}

bool Reduction::may_spend(double steps) {
    if (late() || spent_ + steps > limits_.steps) return false;
    if (limits_.seconds > 0 && seconds() + steps / STEPS_IN_A_SECOND > limits_.seconds)
        return false;
    spent_ += steps;
    return true;
}

void Reduction::tie(int yields, int other, int sign) {
    int gone = yields, kept = other;
    const bool swap = gone == graph_.field() ||
                      (kept != graph_.field() && graph_.degree(kept) < graph_.degree(gone));
    if (swap) std::swap(gone, kept);
    way_back_.add(Tie{gone, kept, static_cast<std::int8_t>(sign), swap});

    graph_.copy_links(gone, links_);
    graph_.remove(gone);
    for (const Link& link : links_) {
        if (link.node == kept)
            graph_.constant += sign * link.weight;
        else
            graph_.add(link.node, kept, sign * link.weight);
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
    Wide reference_energy = 0, all = 0;
    for (const int v : left) {
        Wide towards_reference = 0, others = 0;
        graph_.for_each(v, [&](const Link& link) {
            if (link.node == reference_of[at(v)]) {
                towards_reference = link.weight;
                all += 2 * (link.weight < 0 ? -link.weight : link.weight);
                return;
            }
            others += link.weight;
            all += link.weight < 0 ? -link.weight : link.weight;
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
    const Wide bound = -floor_of_quarter(-(graph_.constant - all / 2));
    return {std::move(way_back_), std::move(reduced), bound, std::move(rules)};
}

}  // namespace orvex::toolkit
