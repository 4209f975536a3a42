// Every rule by itself is exact on models of all shapes, and finds something to do in them.
#include "toolkit/presolve/rules.hpp"

#include <array>
#include <ostream>

#include <gtest/gtest.h>

#include "toolkit/presolve/reduce.hpp"
#include "unit/toolkit/presolve/small_models.hpp"

namespace orvex::toolkit {

void PrintTo(const Rule& rule, std::ostream* out) {
    *out << rule.name;
}

}  // namespace orvex::toolkit

namespace {

using namespace orvex::toolkit;
using small_models::expect_exact;
using small_models::trials;

class EACH_RULE_TEST : public testing::TestWithParam<Rule> {};

TEST_P(EACH_RULE_TEST, is_exact_by_itself) {
    const std::array rule{GetParam()};
    const auto alone = [&](const SparseQubo& qubo) { return reduce_with(qubo, {}, rule); };
    EXPECT_GT(expect_exact(alone, trials(1000), 2), 0);
}

INSTANTIATE_TEST_SUITE_P(PRESOLVE, EACH_RULE_TEST,
                         testing::ValuesIn(all_rules().begin(), all_rules().end()),
                         [](const auto& test) {
                             std::string name = test.param.name;
                             std::replace(name.begin(), name.end(), ' ', '_');
                             return name;
                         });

/** Ties each node to its strongest neighbour, whether or not that outweighs the others. */
void wrong(Reduction& reduction) {
    SpinGraph& graph = reduction.graph();
    for (int v; (v = graph.next_changed(SpinGraph::BALLS)) >= 0;) {
        if (v == graph.field() || graph.degree(v) == 0) continue;
        Link strongest{-1, 0};
        graph.for_each(v, [&](const Link& link) {
            if (std::abs(link.weight) > std::abs(strongest.weight)) strongest = link;
        });
        reduction.tie(v, strongest.node, strongest.weight > 0 ? -1 : 1);
    }
}

TEST(RULES_TEST, a_wrong_rule_among_the_right_ones_is_found) {
    std::vector<Rule> rules(all_rules().begin(), all_rules().end());
    rules.insert(rules.begin(), Rule{"wrong", wrong});
    std::mt19937 random(3);
    int found = 0;
    for (int trial = 0; trial < 300; ++trial) {
        const SparseQubo qubo = small_models::random_model(random);
        found += !small_models::fault_of(qubo, reduce_with(qubo, {}, rules)).empty();
    }
    EXPECT_GT(found, 10);
}

}  // namespace
