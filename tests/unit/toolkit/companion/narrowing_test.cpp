#include "toolkit/companion/narrowing.hpp"

#include <algorithm>
#include <limits>
#include <set>

#include <gtest/gtest.h>

#include "unit/toolkit/companion/models.hpp"

namespace orvex::toolkit {
namespace {

using namespace test;

TEST(NARROWING_TEST, divides_by_what_all_weights_have_in_common) {
    const Narrowing narrowing = narrowing_of(torus(5, 5, 1));
    EXPECT_EQ(narrowing.unit, 2);
    EXPECT_EQ(narrowing.bytes, 1);
    EXPECT_TRUE(narrowing.by_table);
    EXPECT_EQ(narrowing.narrowed(-4), -2);
}

TEST(NARROWING_TEST, takes_the_narrowest_width_that_every_field_fits) {
    const auto bytes = [](std::int64_t linear, std::int64_t weight) {
        return narrowing_of(sparse_qubo({linear, 1}, {{0, 1, weight}})).bytes;
    };
    EXPECT_EQ(bytes(100, 27), 1);
    EXPECT_EQ(bytes(100, 28), 2);
    EXPECT_EQ(bytes(-100, 28), 1);  // -100 to -72
    EXPECT_EQ(bytes(32767, 1), 4);
    EXPECT_EQ(bytes(std::int64_t{1} << 29, 1), 4);
    EXPECT_EQ(bytes(std::int64_t{1} << 30, 1), 8);
}

TEST(NARROWING_TEST, rounds_only_what_would_not_fit_64_bits) {
    constexpr std::int64_t LOWEST = std::numeric_limits<std::int64_t>::min();
    const SparseQubo qubo = sparse_qubo({LOWEST, LOWEST + 1}, {{0, 1, LOWEST}});
    const Narrowing narrowing = narrowing_of(qubo);
    EXPECT_EQ(narrowing.bytes, 8);
    const Part<std::int64_t> part = whole_of<std::int64_t>(qubo, narrowing);
    EXPECT_LT(part.linear[0], 0);
    EXPECT_GT(part.linear[0] + part.weights[0], LOWEST / 2);
}

TEST(NARROWING_TEST, a_region_is_connected_and_of_the_size_asked_for) {
    const SparseQubo qubo = torus(30, 30, 1);
    const auto whole = whole_of<std::int8_t>(qubo, narrowing_of(qubo));
    Cutter<std::int8_t> cutter(whole);
    std::mt19937_64 random(1);
    std::vector<std::int32_t> variables;
    for (int round = 0; round < 20; ++round) {
        cutter.choose(200, random, variables);
        EXPECT_EQ(variables.size(), 200U);
        EXPECT_EQ(std::set<std::int32_t>(variables.begin(), variables.end()).size(), 200U);
        for (std::size_t k = 1; k < variables.size(); ++k) {
            const auto neighbours = qubo.neighbours_of(variables[k]);
            EXPECT_TRUE(std::any_of(neighbours.begin(), neighbours.end(), [&](std::int32_t j) {
                const auto end = variables.begin() + static_cast<std::ptrdiff_t>(k);
                return std::find(variables.begin(), end, j) != end;
            }));
        }
    }
}

TEST(NARROWING_TEST, a_region_goes_on_elsewhere_where_its_component_ends) {
    const SparseQubo qubo = sparse_qubo(std::vector<std::int64_t>(10, -1), {});
    const auto whole = whole_of<std::int8_t>(qubo, narrowing_of(qubo));
    std::mt19937_64 random(1);
    std::vector<std::int32_t> variables;
    Cutter<std::int8_t>(whole).choose(7, random, variables);
    EXPECT_EQ(std::set<std::int32_t>(variables.begin(), variables.end()).size(), 7U);
}

TEST(NARROWING_TEST, flips_inside_a_part_cost_what_they_cost_in_the_model) {
    const SparseQubo qubo = random_sparse(60, 150, 9, 2);
    const Narrowing narrowing = narrowing_of(qubo);
    const auto whole = whole_of<std::int16_t>(qubo, narrowing);
    Cutter<std::int16_t> cutter(whole);
    std::mt19937_64 random(1);
    std::vector<std::int32_t> variables;
    Part<std::int16_t> part;
    const Bits before = random_bits(60, 1);
    cutter.choose(25, random, variables);
    cutter.cut(variables, before, part);
    const Bits change = random_bits(60, 2);
    Bits after = before;
    Wide expected = 0;
    const auto part_energy = [&](const Bits& bits) {
        Wide energy = 0;
        for (std::size_t p = 0; p < part.size(); ++p) {
            if (bits[static_cast<std::size_t>(variables[p])] == 0) continue;
            energy += part.linear[p];
            for (std::uint32_t k = part.starts[p]; k < part.starts[p + 1]; ++k) {
                const auto q = static_cast<std::size_t>(part.neighbours[k]);
                if (q < p && bits[static_cast<std::size_t>(variables[q])] != 0)
                    energy += part.weights[k];
            }
        }
        return energy;
    };
    for (const std::int32_t i : variables)
        after[static_cast<std::size_t>(i)] = change[static_cast<std::size_t>(i)];
    expected = energy_of(qubo, after) - energy_of(qubo, before);
    EXPECT_EQ((part_energy(after) - part_energy(before)) * narrowing.unit, expected);
}

}  // namespace
}  // namespace orvex::toolkit
