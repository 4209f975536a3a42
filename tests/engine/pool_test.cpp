// A pool by itself: what it starts with, random fillings, the ranking.
#include <numeric>

#include "engine/support/draws.hpp"
#include "engine/support/run_by_hand.hpp"

namespace {

using namespace orvex;
using namespace engine_tests;
using band::INST_t;
using band::SOLPOOL;

class Pool : public RunByHand {
  protected:
    Pool() { begin(); }
};

TEST_F(Pool, StartsWithFreshRecordsInTheOrderOfTheirSlots) {
    SOLPOOL pool(*run, 5);
    EXPECT_EQ(pool.pool_size, 5);
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(pool.order[i], i);
        EXPECT_EQ(pool.pool[i].energy, device::NO_ENERGY);
        EXPECT_EQ(pool.pool[i].found_time, -1000000000);
        EXPECT_EQ(pool.pool[i].inst, 10);
        EXPECT_EQ(pool.pool[i].algorithm, 5);
        EXPECT_EQ(pool.pool[i].bits[0] | pool.pool[i].bits[1], 0u);
    }
}

TEST_F(Pool, StartsWithStatisticsOfNoResult) {
    const SOLPOOL pool(*run, 5);
    EXPECT_EQ(pool.param_lo, -9);
    EXPECT_EQ(pool.param_hi, 0);
    EXPECT_EQ(pool.ring_len, 100);
    EXPECT_EQ(pool.rate, 0.1f);
    EXPECT_EQ(pool.ring_pos, 0);
    ASSERT_EQ(pool.ring.size(), 100u);
    for (const signed char entry : pool.ring) {
        EXPECT_GE(entry, -9);
        EXPECT_LE(entry, 0);
    }
    for (const unsigned hit : pool.hits)
        EXPECT_EQ(hit, 0u);
}

TEST_F(Pool, KeepsItsStagingRecords) {
    SOLPOOL pool(*run, 2);
    engine::OWN_INSTANCE out(2);
    engine::OWN_INSTANCE in(2);
    pool.init(out, in);
    EXPECT_EQ(pool.out, &out);
    EXPECT_EQ(pool.in, &in);
}

TEST_F(Pool, ARandomFillingDrawsEveryWordInTheOrderOfSlots) {
    SOLPOOL pool(*run, 7);
    pool.state = 12345;
    DRAWS draws(12345);
    pool.randomInit(0);
    for (int i = 0; i < 7; ++i)
        for (int w = 0; w < 2; ++w)
            EXPECT_EQ(pool.pool[i].bits[w], draws.next());
    EXPECT_EQ(pool.state, draws.state());
}

TEST_F(Pool, ARandomFillingHasNoEnergyAndNoRule) {
    run->kernel_flag = 3;
    SOLPOOL pool(*run, 4);
    std::memset(pool.pool[0].memory(), 0x55, sizeof(INST_t));
    pool.state = 1;
    pool.randomInit(0);
    for (int i = 0; i < 4; ++i) {
        INST_t expected{};
        expected.bits[0] = pool.pool[i].bits[0];
        expected.bits[1] = pool.pool[i].bits[1];
        expected.energy = device::NO_ENERGY;
        expected.found_time = -1000000000;
        expected.inst = engine::RANDOM;
        expected.algorithm = -1;
        expected.flag = 3;
        EXPECT_EQ(std::memcmp(pool.pool[i].memory(), &expected, sizeof(INST_t)), 0);
    }
}

TEST_F(Pool, RoundsOfARandomFillingAreTakenTogetherByAnd) {
    run->random_and_rounds = 2;
    SOLPOOL pool(*run, 3);
    pool.state = 99;
    DRAWS draws(99);
    pool.randomInit(0);
    for (int i = 0; i < 3; ++i)
        for (int w = 0; w < 2; ++w)
            EXPECT_EQ(pool.pool[i].bits[w], draws.all_of(3));
}

TEST_F(Pool, ARandomFillingKeepsTheRanking) {
    SOLPOOL pool(*run, 3);
    pool.state = 1;
    pool.order[0] = 2;
    pool.order[1] = 0;
    pool.order[2] = 1;
    pool.randomInit(0);
    EXPECT_EQ(pool.order[0], 2);
    EXPECT_EQ(pool.order[1], 0);
    EXPECT_EQ(pool.order[2], 1);
}

/** The ranking of six slots, at first in their order, after one rotation. */
std::vector<int> rotated(const band::GLOBAL_VARS& run, int from, int to) {
    SOLPOOL pool(run, 6);
    pool.rotate(from, to);
    return {pool.order.get(), pool.order.get() + 6};
}

TEST_F(Pool, RotatingMovesOneEntryUpAndThoseBetweenDown) {
    EXPECT_EQ(rotated(*run, 1, 4), (std::vector<int>{0, 4, 1, 2, 3, 5}));
    EXPECT_EQ(rotated(*run, 0, 5), (std::vector<int>{5, 0, 1, 2, 3, 4}));
    EXPECT_EQ(rotated(*run, 2, 3), (std::vector<int>{0, 1, 3, 2, 4, 5}));
}

TEST_F(Pool, RotatingAnEntryToItselfChangesNothing) {
    for (int rank = 0; rank < 6; ++rank)
        EXPECT_EQ(rotated(*run, rank, rank), (std::vector<int>{0, 1, 2, 3, 4, 5}));
}

}  // namespace
