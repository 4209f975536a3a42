#include "toolkit/presolve/presolve.hpp"

#include <array>
#include <random>

#include <gtest/gtest.h>

#include "toolkit/presolve/reduce.hpp"
#include "toolkit/presolve/reduction.hpp"
#include "toolkit/presolve/rules.hpp"
#include "unit/toolkit/presolve/small_models.hpp"

namespace {

using namespace orvex::toolkit;

TEST(PRESOLVE_TEST, is_exact_on_random_models) {
    const auto all = [](const SparseQubo& qubo) { return presolve(qubo); };
    EXPECT_GT(small_models::expect_exact(all, small_models::trials(20000)), 0);
}

TEST(PRESOLVE_TEST, is_exact_whatever_the_effort_and_the_time) {
    for (const PresolveEffort effort :
         {PresolveEffort::OFF, PresolveEffort::AUTO, PresolveEffort::FULL})
        for (const double seconds : {0.0, 1e-9}) {
            const PresolveOptions options{.effort = effort, .time_limit = seconds};
            const auto reduce = [&](const SparseQubo& qubo) { return presolve(qubo, options); };
            const long taken = small_models::expect_exact(reduce, small_models::trials(500), 3);
            EXPECT_EQ(taken > 0, effort != PresolveEffort::OFF);
        }
}

TEST(PRESOLVE_TEST, off_leaves_the_model_as_it_is) {
    const SparseQubo qubo = sparse_qubo({1, -2, 3}, {{0, 1, 4}});
    const Presolved presolved = presolve(qubo, {.effort = PresolveEffort::OFF});
    EXPECT_EQ(presolved.reduced().linear, qubo.linear);
    EXPECT_EQ(presolved.reduced().weights, qubo.weights);
    EXPECT_EQ(presolved.restore({0, 1, 1}), (Bits{0, 1, 1}));
    EXPECT_TRUE(presolved.rules().empty());
    EXPECT_FALSE(presolved.optimal());
}

TEST(PRESOLVE_TEST, tells_what_each_rule_took) {
    const Presolved presolved = presolve(sparse_qubo({1, -2, 3, 0}, {{0, 1, 4}, {1, 2, -5}}));
    ASSERT_TRUE(presolved.optimal());
    long taken = 0;
    for (const RuleUse& use : presolved.rules())
        taken += use.nodes;
    EXPECT_EQ(taken, 4);
    EXPECT_STREQ(presolved.rules().front().rule, "heavy couplings");
    EXPECT_EQ(presolved.rules().front().nodes, 4);
}

TEST(PRESOLVE_TEST, what_is_left_names_its_variables) {
    // A clique too large to be solved by tables, with a leaf at its first variable.
    std::mt19937 random(1);
    const int size = 40;
    std::vector<Coupling> couplings{{0, size - 1, 3}};
    for (int i = 1; i < size; ++i)
        for (int j = 1; j < i; ++j)
            couplings.push_back({i, j, static_cast<int>(random() % 2000) - 1000});
    const SparseQubo qubo = sparse_qubo(std::vector<std::int64_t>(size, 1), couplings);
    const Presolved presolved = presolve(qubo);
    ASSERT_EQ(presolved.reduced_size(), size - 1);
    for (int i = 0; i < size - 1; ++i)
        EXPECT_EQ(presolved.origin()[static_cast<std::size_t>(i)], i + 1);
    EXPECT_EQ(presolved.reduced().couplings(), qubo.couplings() - 1);
    EXPECT_TRUE(*presolved.bound() < 0);
}

TEST(PRESOLVE_TEST, keeps_the_arithmetic_of_the_model) {
    // The rules that add up rows, and no others, so that much is left.
    const std::array merging{Rule{"twins", twins}, Rule{"pairs", pairs}};
    std::mt19937 random(4);
    int narrow = 0;
    for (int trial = 0; trial < 3000; ++trial) {
        SparseQubo qubo = small_models::random_model(random);
        const std::int64_t factor = (std::int64_t{1} << 31) / (1 + random() % 300);
        for (auto& weight : qubo.weights)
            weight *= factor;
        for (auto& term : qubo.linear)
            term *= factor;
        const Presolved presolved = reduce_with(qubo, {}, merging);
        EXPECT_LE(proven_bits(presolved.reduced()), proven_bits(qubo));
        narrow += proven_bits(qubo) == 32 && presolved.reduced_size() > 0 &&
                  presolved.reduced_size() < qubo.size();
        ASSERT_EQ(small_models::fault_of(qubo, presolved), "") << small_models::as_text(qubo);
    }
    EXPECT_GT(narrow, 100);
}

}  // namespace
