// The search loop of an island: what it sends and when it ends. Its events and restarts are in
// search_loop_events_test.cpp.
#include "engine/support/search_loop.hpp"

#include <limits>

#include "engine/names.hpp"
#include "engine/support/draws.hpp"

namespace {

using namespace orvex;
using namespace engine_tests;
using band::INST_t;

TEST_F(SearchLoop, AnswersEachResultUntilTheTrialLimitThenStopsTheBlocksAndDrains) {
    prepareLoop(3);
    handIn({-7, -6, -5, -4, -3, -2, -1});
    search();
    EXPECT_EQ(ticketsAfterFirstWave(5), (std::vector<std::int64_t>{5, 6, 7, -1, -1}));
    EXPECT_EQ(island(0).sent, 7);
    EXPECT_EQ(island(0).received, 7);
    for (long energy = -7; energy <= -1; ++energy)
        EXPECT_TRUE(poolHolds(energy)) << energy;
}

TEST_F(SearchLoop, PoolAndBestTakeResultsWithoutWhatIsSetAboveTheModel) {
    prepareLoop(1);
    INST_t handed_in = result_of(-100);
    handed_in.bits[1] = std::uint64_t{1} << 63 | 1;
    blocks->handIn(handed_in);
    handIn({-1, -2, -3, -4});
    search();
    EXPECT_TRUE(poolHolds(-355));
    EXPECT_FALSE(poolHolds(-100));
    EXPECT_EQ(allbest().energy, -355);
    EXPECT_EQ(allbest().bits[1], 1u);
}

TEST_F(SearchLoop, ResultsOfTheDrainCompeteForTheRunsBest) {
    prepareLoop(1);
    handIn({-1, -2, -3, -4, -5});
    search();
    EXPECT_EQ(allbest().energy, -5);
}

TEST_F(SearchLoop, WithoutTicketsOnlyStopsAndDrains) {
    prepareLoop(0);
    handIn({-1, -2, -3, -4});
    search();
    EXPECT_EQ(ticketsAfterFirstWave(2), (std::vector<std::int64_t>{-1, -1}));
    EXPECT_EQ(island(0).received, 4);
}

TEST_F(SearchLoop, OfARunThatHasStoppedOnlyStopsAndDrains) {
    prepareLoop(100);
    run->stop_code = 1;
    handIn({-1, -2, -3, -4});
    search();
    EXPECT_EQ(ticketsAfterFirstWave(2), (std::vector<std::int64_t>{-1, -1}));
    EXPECT_EQ(island(0).received, 4);
}

TEST_F(SearchLoop, OfAKilledRunSendsNothingAndDrainsNothing) {
    prepareLoop(100);
    run->killed = true;
    handIn({-1, -2, -3, -4});
    search();
    EXPECT_EQ(ticketsAfterFirstWave(2), (std::vector<std::int64_t>{0, 0}));
    EXPECT_EQ(island(0).received, 0);
}

TEST_F(SearchLoop, EndsAtTheTargetWithoutAnsweringThatResult) {
    param.set("target_energy", "-5");
    prepareLoop(100);
    handIn({-1, -5, -2, -3, -4});
    search();
    EXPECT_EQ(ticketsAfterFirstWave(3), (std::vector<std::int64_t>{5, -1, -1}));
    EXPECT_EQ(island(0).received, 5);
    EXPECT_EQ(run->stop_code, 0);
}

TEST_F(SearchLoop, EndsBelowTheTargetToo) {
    param.set("target_energy", "-5");
    prepareLoop(100);
    handIn({-6, -1, -1, -1});
    search();
    EXPECT_EQ(ticketsAfterFirstWave(2), (std::vector<std::int64_t>{-1, -1}));
}

TEST_F(SearchLoop, EndsAtTheTargetThatAnotherIslandHasReached) {
    param.set("target_energy", "-5");
    prepareLoop(100);
    allbest().energy = -5;
    handIn({-1, -1, -1, -1});
    search();
    EXPECT_EQ(island(0).sent, FIRST_WAVE);
}

TEST_F(SearchLoop, ATargetOf0IsNoTarget) {
    param.set("target_energy", "0");
    prepareLoop(2);
    handIn({-1, -1, -1, -1, -1, -1});
    search();
    EXPECT_EQ(island(0).sent, FIRST_WAVE + 2);
}

TEST_F(SearchLoop, AfterTheTimeLimitOneMoreInstanceGoesOut) {
    param.set("time_limit", "100");
    prepareLoop(100);
    run->restart_clock->end = engine::now() - 1;
    handIn({-1, -2, -3, -4, -5});
    search();
    EXPECT_EQ(run->stop_code, 1);
    EXPECT_EQ(ticketsAfterFirstWave(3), (std::vector<std::int64_t>{5, -1, -1}));
    EXPECT_EQ(island(0).received, 5);
}

TEST_F(SearchLoop, AnOverflowStopsTheRunAfterTheNextInstance) {
    prepareLoop(100);
    INST_t overflown = result_of(-1);
    overflown.overflow = 1;
    blocks->handIn(overflown);
    handIn({-2, -3, -4, -5});
    search();
    EXPECT_EQ(run->stop_code, -1);
    EXPECT_EQ(ticketsAfterFirstWave(3), (std::vector<std::int64_t>{5, -1, -1}));
}

TEST_F(SearchLoop, GoesOnBeyondTwoThousandMillionResults) {
    prepareLoop(3);
    constexpr std::int64_t BEFORE = (std::int64_t{1} << 31) - 4;
    ASSERT_EQ(BEFORE % RING, FIRST_WAVE) << "where the first wave ends";
    island(0).sent = BEFORE;
    island(0).received = BEFORE - FIRST_WAVE;
    blocks.emplace(island(0), BEFORE - FIRST_WAVE);
    handIn({-7, -6, -5, -4, -3, -2, -1});
    search();
    EXPECT_EQ(island(0).sent, BEFORE + 3);
    EXPECT_EQ(island(0).received, island(0).sent);
    EXPECT_EQ(allbest().energy, -7);
}

TEST_F(SearchLoop, StopsWhereTheBlocksCanCountNoFurther) {
    prepareLoop(1000);
    constexpr std::int64_t LAST = std::numeric_limits<std::uint32_t>::max();
    island(0).sent = LAST - 5;
    island(0).received = island(0).sent - FIRST_WAVE;
    island(0).recv_pos = static_cast<int>(island(0).received % RING);
    island(0).send_pos = static_cast<int>(island(0).sent % RING);
    blocks.emplace(island(0), island(0).received);
    handIn({-7, -6, -5, -4, -3, -2});
    search();
    EXPECT_EQ(island(0).received, island(0).sent);
    EXPECT_LE(island(0).sent + BLOCKS_OF_ISLAND, LAST);
    EXPECT_EQ(run->stop_code, 0);
}

TEST_F(SearchLoop, ChoosesTheGeneratorThenBuildsThenChoosesTheRule) {
    param.set("pool_size", "2");
    prepareLoop(1);
    handIn({-1, -2, -3, -4, -5});
    band::SOLPOOL& pool = island(0).pool;
    pool.state = 424242;
    DRAWS draws(424242);
    // Both members of the pool are of generator Random and rule MaxMin after the first result,
    // or random records, which have no rule.
    const bool any_kind = draws.next() % 20 == 0;
    ASSERT_FALSE(any_kind) << "choose another seed";
    draws.next();
    const std::uint64_t kind = draws.next() & 7;
    search();
    EXPECT_EQ(island(0).send_ring[FIRST_WAVE].inst, static_cast<int>(kind));
}

}  // namespace
