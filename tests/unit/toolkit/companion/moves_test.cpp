#include "toolkit/companion/moves.hpp"

#include <gtest/gtest.h>

#include "unit/toolkit/companion/models.hpp"

namespace orvex::toolkit {
namespace {

using namespace test;

int ones_of(const Bits& bits, const std::vector<std::int32_t>& members) {
    int ones = 0;
    for (const std::int32_t i : members)
        ones += bits[static_cast<std::size_t>(i)];
    return ones;
}

/** Makes random moves, and compares each delta with the energies. @return bits flipped in each */
template <class T>
std::vector<int> wander(const SparseQubo& qubo, const Groups& groups, bool full) {
    const Families families(groups, qubo.size());
    Mover<T> mover(qubo, families);
    std::mt19937_64 random(1);
    mover.stand_at(random_bits(qubo.size(), 1), random);
    Wide energy = energy_of(qubo, mover.bits());
    std::vector<int> counts(5);
    for (int step = 0; step < 500; ++step) {
        const auto variable =
            static_cast<std::int32_t>(random() % static_cast<unsigned>(qubo.size()));
        const Move move = mover.move_of(variable);
        ++counts[static_cast<std::size_t>(move.count)];
        if (move.count == 0) continue;
        const T delta = mover.delta_of(move);
        mover.make(move);
        energy += delta;
        EXPECT_EQ(energy, energy_of(qubo, mover.bits()));
        for (const auto& members : groups.members) {
            EXPECT_LE(ones_of(mover.bits(), members), 1);
            if (full) {
                EXPECT_EQ(ones_of(mover.bits(), members), 1);
            }
        }
    }
    return counts;
}

Groups all_exactly_one(std::vector<std::vector<std::int32_t>> members) {
    const std::size_t count = members.size();
    return {std::move(members), std::vector<bool>(count, true)};
}

TEST(MOVES_TEST, swap_in_a_permutation) {
    const auto counts =
        wander<std::int32_t>(assignment(6, 1), all_exactly_one(permutation_groups(6)), false);
    EXPECT_GT(counts[4], 300);
}

TEST(MOVES_TEST, keep_a_permutation_once_it_is_one) {
    const SparseQubo qubo = assignment(6, 1);
    const Groups groups = all_exactly_one(permutation_groups(6));
    const Families families(groups, qubo.size());
    Mover<std::int64_t> mover(qubo, families);
    std::mt19937_64 random(1);
    Bits diagonal(36);
    for (std::size_t k = 0; k < 6; ++k)
        diagonal[7 * k] = 1;
    mover.stand_at(diagonal, random);
    EXPECT_EQ(mover.bits(), diagonal);
    for (int step = 0; step < 300; ++step) {
        mover.make(mover.move_of(static_cast<std::int32_t>(random() % 36)));
        for (const auto& members : groups.members)
            EXPECT_EQ(ones_of(mover.bits(), members), 1);
    }
}

TEST(MOVES_TEST, shift_where_groups_do_not_cross) {
    const SparseQubo qubo = colouring(20, 3, 40, 1);
    const auto counts = wander<std::int32_t>(qubo, find_groups(qubo), true);
    EXPECT_GT(counts[2], 200);
    EXPECT_EQ(counts[1] + counts[3] + counts[4], 0);
}

TEST(MOVES_TEST, set_and_clear_where_a_group_may_be_empty_and_flip_what_is_in_none) {
    const SparseQubo qubo = random_sparse(12, 20, 9, 1);
    const Groups groups{{{0, 1, 2, 3}, {4, 5, 6}}, {false, false}};
    const auto counts = wander<std::int64_t>(qubo, groups, false);
    EXPECT_EQ(counts[0], 0);
    EXPECT_GT(counts[1], 100);
    EXPECT_GT(counts[2], 100);
}

TEST(MOVES_TEST, go_by_lists_where_the_model_is_sparse) {
    const SparseQubo qubo = colouring(60, 3, 120, 1);
    ASSERT_LT(static_cast<double>(2 * qubo.couplings()), 0.1 * 180 * 180);
    wander<std::int32_t>(qubo, find_groups(qubo), true);
}

TEST(MOVES_TEST, reach_every_permutation) {
    const SparseQubo qubo = assignment(4, 1);
    const Families families(all_exactly_one(permutation_groups(4)), 16);
    Mover<std::int32_t> mover(qubo, families);
    std::mt19937_64 random(1);
    Bits diagonal(16);
    for (std::size_t k = 0; k < 4; ++k)
        diagonal[5 * k] = 1;
    mover.stand_at(diagonal, random);
    std::vector<Bits> seen;
    for (int step = 0; step < 2000; ++step) {
        mover.make(mover.move_of(static_cast<std::int32_t>(random() % 16)));
        if (std::find(seen.begin(), seen.end(), mover.bits()) == seen.end())
            seen.push_back(mover.bits());
    }
    EXPECT_EQ(seen.size(), 24U);
}

}  // namespace
}  // namespace orvex::toolkit
