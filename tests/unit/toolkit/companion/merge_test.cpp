#include "toolkit/companion/merge.hpp"

#include <limits>
#include <numeric>

#include <gtest/gtest.h>

#include "unit/toolkit/companion/models.hpp"

namespace orvex::toolkit {
namespace {

using namespace test;

/** Number of each variable's connected component of the difference; -1 where both are equal. */
std::vector<int> components_of(const SparseQubo& qubo, const Bits& one, const Bits& other) {
    std::vector<int> components(one.size(), -1);
    int count = 0;
    for (std::size_t seed = 0; seed < one.size(); ++seed) {
        if (one[seed] == other[seed] || components[seed] >= 0) continue;
        std::vector<std::size_t> open{seed};
        components[seed] = count;
        while (!open.empty()) {
            const auto i = static_cast<int>(open.back());
            open.pop_back();
            for (const std::int32_t j : qubo.neighbours_of(i)) {
                const auto at = static_cast<std::size_t>(j);
                if (one[at] == other[at] || components[at] >= 0) continue;
                components[at] = count;
                open.push_back(at);
            }
        }
        ++count;
    }
    return components;
}

TEST(MERGE_TEST, is_the_best_of_all_combinations_of_components) {
    int several = 0;
    for (unsigned seed = 0; seed < 300; ++seed) {
        const SparseQubo qubo = random_sparse(24, 20, 9, seed);
        const Bits one = random_bits(24, 2 * seed);
        const Bits other = random_bits(24, 2 * seed + 1);
        const std::vector<int> components = components_of(qubo, one, other);
        const int count = 1 + *std::max_element(components.begin(), components.end());
        Wide best = energy_of(qubo, one);
        for (unsigned choice = 0; choice < 1u << count; ++choice) {
            Bits mixed = one;
            for (std::size_t i = 0; i < mixed.size(); ++i)
                if (components[i] >= 0 && (choice >> components[i] & 1) != 0) mixed[i] = other[i];
            best = std::min(best, energy_of(qubo, mixed));
        }

        Solution elite{one, energy_of(qubo, one)};
        const Merged merged = Merger(qubo).merge(elite, other);
        EXPECT_EQ(elite.energy, best);
        EXPECT_EQ(energy_of(qubo, elite.bits), best);
        EXPECT_EQ(merged.gain, energy_of(qubo, one) - best);
        EXPECT_EQ(merged.components, count);
        EXPECT_EQ(merged.kept + merged.refused, count);
        Merger merger(qubo);
        Solution again{one, energy_of(qubo, one)};
        EXPECT_EQ(merger.merge(again, other).loss, energy_of(qubo, other) - best);
        for (const std::int32_t i : merger.refused())
            again.bits[static_cast<std::size_t>(i)] ^= 1;
        EXPECT_EQ(again.bits, other) << "but for what was refused";
        several += merged.kept > 0 && merged.refused > 0;
    }
    EXPECT_GT(several, 100) << "hardly ever was there anything to choose";
}

TEST(MERGE_TEST, takes_what_costs_nothing_too) {
    const SparseQubo qubo = sparse_qubo({0, 2, -1}, {{0, 1, -2}});
    Solution elite{{0, 0, 1}, -1};
    const Merged merged = Merger(qubo).merge(elite, {1, 1, 0});
    EXPECT_EQ(elite.bits, (Bits{1, 1, 1}));
    EXPECT_EQ(merged.gain, 0);
    EXPECT_EQ(merged.refused, 1);
}

TEST(MERGE_TEST, of_equal_solutions_changes_nothing) {
    const SparseQubo qubo = random_sparse(30, 60, 9, 1);
    const Bits bits = random_bits(30, 1);
    Solution elite{bits, energy_of(qubo, bits)};
    EXPECT_EQ(Merger(qubo).merge(elite, bits).components, 0);
    EXPECT_EQ(elite.bits, bits);
}

TEST(MERGE_TEST, can_be_repeated_with_the_same_memory) {
    const SparseQubo qubo = torus(20, 20, 1);
    Merger merger(qubo);
    Solution elite{random_bits(400, 0), 0};
    elite.energy = energy_of(qubo, elite.bits);
    for (unsigned seed = 1; seed < 50; ++seed) {
        const Wide before = elite.energy;
        const Bits other = random_bits(400, seed);
        merger.merge(elite, other);
        EXPECT_LE(elite.energy, std::min(before, energy_of(qubo, other)));
        EXPECT_EQ(elite.energy, energy_of(qubo, elite.bits));
    }
}

TEST(MERGE_TEST, leaves_the_solution_sound_when_it_is_stopped) {
    const SparseQubo qubo = torus(100, 100, 1);
    const std::atomic<bool> stop = true;
    Merger merger(qubo, &stop);
    Solution elite{Bits(10000), 0};
    merger.merge(elite, Bits(10000, 1));  // one component of all variables
    EXPECT_EQ(elite.bits, Bits(10000));
    merger.merge(elite, random_bits(10000, 1));
    EXPECT_EQ(elite.energy, energy_of(qubo, elite.bits));
}

TEST(MERGE_TEST, adds_up_beyond_64_bits) {
    constexpr std::int64_t LARGEST = std::numeric_limits<std::int64_t>::max();
    constexpr std::int64_t LOWEST = std::numeric_limits<std::int64_t>::min();
    const SparseQubo qubo =
        sparse_qubo({LOWEST, LOWEST, LARGEST}, {{0, 1, LOWEST}, {1, 2, LOWEST}});
    Solution elite{{0, 0, 0}, 0};
    Merger(qubo).merge(elite, {1, 1, 1});
    EXPECT_EQ(elite.bits, (Bits{1, 1, 1}));
    EXPECT_EQ(elite.energy, 4 * static_cast<Wide>(LOWEST) + LARGEST);
}

}  // namespace
}  // namespace orvex::toolkit
