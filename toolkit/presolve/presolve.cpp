#include "toolkit/presolve/presolve.hpp"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <limits>
#include <utility>

#include "toolkit/presolve/reduce.hpp"
#include "toolkit/presolve/rules.hpp"

namespace orvex::toolkit {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::array RULES{
    Rule{.name = "heavy couplings", .apply = heavy_couplings, .cheap = true},
    Rule{.name = "stars", .apply = stars, .cheap = true},
    Rule{.name = "balanced components", .apply = balanced_components, .cheap = true, .whole = true},
    Rule{.name = "twins", .apply = twins, .cheap = true, .whole = true},
    Rule{.name = "pairs", .apply = pairs},
    Rule{.name = "pieces", .apply = pieces, .whole = true},
    Rule{.name = "balls", .apply = balls},
    Rule{.name = "wide pieces", .apply = wide_pieces, .whole = true},
    Rule{.name = "large balls", .apply = large_balls},
    Rule{.name = "roof duality", .apply = roof_duality, .whole = true},
};

/** A rule that looks at the whole graph is called again when it has shrunk to this part. */
constexpr double SHRUNK = 0.9;

/** Below this many couplings a node may be worth a look of the rules that compare assignments. */
constexpr std::size_t FEW = 16;

/** A model of this size is solved, whatever its couplings. */
constexpr int SMALL = 21;

/**
 * Whether any rule could begin: a dense model in which no coupling is heavy is not even made a
 * graph.
 */
bool promising(const SparseQubo& qubo) {
    if (qubo.size() <= SMALL) return true;
    for (int v = 0; v < qubo.size(); ++v) {
        if (qubo.degree(v) <= FEW) return true;
        Wide field = Wide{2} * qubo.linear[static_cast<std::size_t>(v)], sum = 0, largest = 0;
        for (const std::int64_t weight : qubo.weights_of(v)) {
            const Wide magnitude = weight < 0 ? -Wide{weight} : Wide{weight};
            field += weight;
            sum += magnitude;
            largest = std::max(largest, magnitude);
        }
        field = field < 0 ? -field : field;
        if (2 * std::max(largest, field) >= sum + field) return true;
    }
    return false;
}

Presolved unreduced(const SparseQubo& qubo, std::optional<Wide> bound = {},
                    std::vector<RuleUse> uses = {}) {
    return {WayBack(qubo.size()), qubo, bound, std::move(uses)};
}

}  // namespace

std::span<const Rule> all_rules() {
    return RULES;
}

Presolved reduce_with(const SparseQubo& qubo, const PresolveOptions& options,
                      std::span<const Rule> rules) {
    const auto seconds_since = [](Clock::time_point before) {
        return std::chrono::duration<double>(Clock::now() - before).count();
    };
    Reduction reduction(qubo, limits_of(options));
    std::vector<RuleUse> uses;
    for (const Rule& rule : rules)
        uses.push_back({rule.name});
    // The nodes that there were when a rule was called last.
    std::vector<int> seen(rules.size(), std::numeric_limits<int>::max());
    bool last_look = false;
    for (std::size_t next = 0; next < rules.size();) {
        const int before = reduction.graph().alive();
        const bool soon = rules[next].whole &&
                          (before == seen[next] || (before > SHRUNK * seen[next] && !last_look));
        if (!soon && (rules[next].cheap || !reduction.late())) {
            const Clock::time_point begin = Clock::now();
            rules[next].apply(reduction);
            uses[next].seconds += seconds_since(begin);
            seen[next] = before;
        }
        const int taken = before - reduction.graph().alive();
        uses[next].nodes += taken;
        if (taken > 0 && next > 0) {
            next = 0;
            last_look = false;
        } else if (++next == rules.size() && !last_look) {
            last_look = true;
            next = 0;
        }
    }
    const Wide bound = reduction.bound();
    if (reduction.graph().alive() == qubo.size()) return unreduced(qubo, bound, std::move(uses));
    Presolved presolved = std::move(reduction).finish(std::move(uses));
    const bool wider = proven_bits(presolved.reduced()) > proven_bits(qubo);
    return wider ? unreduced(qubo, bound) : std::move(presolved);
}

Presolved presolve(const SparseQubo& qubo, const PresolveOptions& options) {
    if (options.effort == PresolveEffort::OFF || !promising(qubo) ||
        SpinGraph::weight_of(qubo) > SpinGraph::MOST)
        return unreduced(qubo);
    return reduce_with(qubo, options, RULES);
}

}  // namespace orvex::toolkit
