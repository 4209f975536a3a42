// Models whose optimum is known, by hand or because two rules that share nothing agree.
#include <array>
#include <random>

#include <gtest/gtest.h>

#include "toolkit/presolve/presolve.hpp"
#include "toolkit/presolve/reduce.hpp"
#include "toolkit/presolve/rules.hpp"

namespace {

using namespace orvex::toolkit;

/** A graph whose largest cut is looked for. */
class Cut {
  public:
    explicit Cut(int vertices) : linear_(static_cast<std::size_t>(vertices)) {}
    Cut& edge(int i, int j, std::int64_t weight = 1) {
        couplings_.push_back({i, j, 2 * weight});
        linear_[static_cast<std::size_t>(i)] -= weight;
        linear_[static_cast<std::size_t>(j)] -= weight;
        return *this;
    }
    SparseQubo model() const { return sparse_qubo(linear_, couplings_); }

  private:
    std::vector<std::int64_t> linear_;
    std::vector<Coupling> couplings_;
};

void expect_solved(const SparseQubo& qubo, std::int64_t optimum) {
    const Presolved presolved = presolve(qubo);
    ASSERT_TRUE(presolved.optimal());
    EXPECT_TRUE(presolved.bound() == Wide{optimum});
    EXPECT_TRUE(energy_of(qubo, presolved.restore({})) == Wide{optimum});
}

TEST(KNOWN_OPTIMA_TEST, a_path_is_cut_everywhere) {
    Cut path(100);
    for (int i = 1; i < 100; ++i)
        path.edge(i - 1, i);
    expect_solved(path.model(), -99);
}

TEST(KNOWN_OPTIMA_TEST, an_odd_cycle_keeps_its_lightest_edge) {
    Cut cycle(7);
    for (int i = 0; i < 7; ++i)
        cycle.edge(i, (i + 1) % 7, 3 + i);
    expect_solved(cycle.model(), -(3 + 4 + 5 + 6 + 7 + 8 + 9 - 3));
}

TEST(KNOWN_OPTIMA_TEST, triangles_in_a_row_keep_an_edge_each) {
    Cut cactus(41);
    for (int i = 0; i < 40; i += 2)
        cactus.edge(i, i + 1).edge(i + 1, i + 2).edge(i, i + 2);
    expect_solved(cactus.model(), -2 * 20);
}

TEST(KNOWN_OPTIMA_TEST, a_grid_is_bipartite) {
    Cut grid(100);
    for (int v = 0; v < 100; ++v) {
        if (v % 10 != 9) grid.edge(v, v + 1);
        if (v < 90) grid.edge(v, v + 10);
    }
    expect_solved(grid.model(), -180);
}

TEST(KNOWN_OPTIMA_TEST, a_grid_with_diagonals_keeps_an_edge_of_every_second_triangle) {
    // Every square has two triangles, which share a diagonal: cutting all but those is best.
    Cut grid(100);
    for (int v = 0; v < 100; ++v) {
        if (v % 10 != 9) grid.edge(v, v + 1);
        if (v < 90) grid.edge(v, v + 10);
        if (v < 90 && v % 10 != 9) grid.edge(v, v + 11);
    }
    expect_solved(grid.model(), -180);
}

TEST(KNOWN_OPTIMA_TEST, cliques_in_a_tree_are_cut_in_halves) {
    Cut cliques(60);
    for (int first = 0; first < 60; first += 6)
        for (int i = first; i < first + 6; ++i) {
            for (int j = i + 1; j < first + 6; ++j)
                cliques.edge(i, j);
            if (i > 5 && i == first) cliques.edge((first / 6 - 1) / 2 * 6 + 3, i);
        }
    expect_solved(cliques.model(), -(10 * 9 + 9));
}

TEST(KNOWN_OPTIMA_TEST, a_star_of_a_hundred_thousand_leaves_is_no_matter_of_its_size_squared) {
    const int leaves = 100000;
    std::vector<std::int64_t> linear(leaves + 1, 1);
    std::vector<Coupling> couplings;
    for (int leaf = 1; leaf <= leaves; ++leaf)
        couplings.push_back({0, leaf, leaf % 2 == 0 ? -3 : 2});
    // The middle and the even leaves: 1 + 50000 (1 - 3).
    expect_solved(sparse_qubo(linear, couplings), 1 - 2 * (leaves / 2));
}

TEST(KNOWN_OPTIMA_TEST, no_variables_are_solved_and_no_couplings_too) {
    expect_solved(SparseQubo{}, 0);
    expect_solved(sparse_qubo({-3, 4, 0, -5}, {}), -8);
}

TEST(KNOWN_OPTIMA_TEST, numbers_beyond_half_the_range_are_left_alone) {
    const std::int64_t large = std::int64_t{1} << 61;
    const SparseQubo qubo = sparse_qubo({large, -large}, {{0, 1, large}});
    const Presolved presolved = presolve(qubo);
    EXPECT_EQ(presolved.reduced_size(), 2);
    EXPECT_EQ(presolved.restore({0, 1}), (Bits{0, 1}));
    // A little less is reduced without an overflow on the way.
    expect_solved(sparse_qubo({large / 8, -large / 8}, {{0, 1, large / 8}}), -large / 8);
}

/** Lattices and random graphs of a middle size, too large for trying all solutions. */
SparseQubo middle_model(std::mt19937& random) {
    const auto below = [&](int limit) { return static_cast<int>(random() % unsigned(limit)); };
    const int size = 30 + below(40), columns = 4 + below(3), largest = 1 + below(9);
    std::vector<Coupling> couplings;
    for (int v = 0; v < size; ++v) {
        if (below(2) != 0 || v % columns != 0)
            couplings.push_back({(v + 1) % size, v, 1 + below(largest)});
        if (v >= columns) couplings.push_back({v, v - columns, below(2 * largest + 1) - largest});
        if (below(8) == 0) couplings.push_back({v, (v + size / 2) % size, 1});
    }
    std::vector<std::int64_t> linear(static_cast<std::size_t>(size));
    for (const auto& [i, j, weight] : couplings)
        for (const int end : {i, j})
            linear[std::size_t(end)] -= weight / 2 + (below(6) == 0 ? below(3) : 0);
    return sparse_qubo(linear, couplings);
}

TEST(KNOWN_OPTIMA_TEST, rules_that_share_nothing_agree) {
    std::mt19937 random(11);
    int compared = 0;
    const std::array alone{Rule{"pieces", pieces}};
    const PresolveOptions full{.effort = PresolveEffort::FULL};
    std::vector<Rule> others;
    for (const Rule& rule : all_rules())
        if (rule.apply != pieces) others.push_back(rule);
    for (int trial = 0; trial < 200; ++trial) {
        const SparseQubo qubo = middle_model(random);
        const Presolved by_tables = reduce_with(qubo, {}, alone);
        const Presolved by_others = reduce_with(qubo, full, others);
        for (const Presolved* const one : {&by_tables, &by_others}) {
            if (!one->optimal()) continue;
            EXPECT_TRUE(energy_of(qubo, one->restore({})) == *one->bound());
        }
        if (!by_tables.optimal()) continue;
        EXPECT_TRUE(*by_others.bound() <= *by_tables.bound());
        // What the others leave has the same optimum.
        const Presolved rest = reduce_with(by_others.reduced(), {}, alone);
        if (!rest.optimal()) continue;
        ++compared;
        EXPECT_TRUE(*rest.bound() + by_others.offset() == *by_tables.bound());
        EXPECT_TRUE(energy_of(qubo, by_others.restore(rest.restore({}))) == *by_tables.bound());
    }
    EXPECT_GT(compared, 100);
}

}  // namespace
