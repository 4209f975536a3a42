// One selection of each flip rule: which bits it may take and how often, which draws it spends with
// an RNG for each thread and with one for the block, and what happens when there is nothing to
// take.
#include <algorithm>

#include <gtest/gtest.h>

#include "bench.hpp"

namespace orvex::device::test {
namespace {

template <class BLOCK>
class RULES_TEST : public BLOCK_TEST<BLOCK> {
  public:
    /** A block in the middle of a search on this model. */
    struct SEARCHING {
        SEARCHING(typename BLOCK_TEST<BLOCK>::MODEL& model, std::uint32_t step) : bench(model) {
            bench.block.record.step = step;
            bench.block.record.steps = STEPS;
        }
        void makeAllTabu() {
            for (int bit = 0; bit < bench.model.size(); ++bit)
                setTabu(bench.block, bit, 1);
        }
        BENCH<BLOCK> bench;
    };

    /** How often each bit is selected in that many tries. */
    template <class SELECT>
    static std::vector<int> frequencies(BENCH<BLOCK>& bench, int tries, SELECT select) {
        std::vector<int> count(static_cast<std::size_t>(bench.model.size()));
        for (int i = 0; i < tries; ++i) {
            select();
            ++count[static_cast<std::size_t>(bench.block.record.selected)];
        }
        return count;
    }

    static constexpr std::uint32_t STEPS = 1000;
};
TYPED_TEST_SUITE(RULES_TEST, ALL_BLOCKS, NAMES);

/** A draw of each thread: what the rules tell, and kernels do. */
template <class BLOCK>
class DRAWS_OF_THREADS_TEST : public RULES_TEST<BLOCK> {};
TYPED_TEST_SUITE(DRAWS_OF_THREADS_TEST, BLOCKS_OF_RNGS, NAMES);

/** Draws of one RNG for the whole block. */
template <class BLOCK>
class DRAWS_OF_A_BLOCK_TEST : public RULES_TEST<BLOCK> {
  public:
    /** How many steps the block's RNG went from `before`. */
    static int stepsFrom(unsigned long before, BENCH<BLOCK>& bench) {
        int steps = 0;
        for (; before != bench.block.rng() && steps < 1000; ++steps)
            before = xor_shift(before);
        return steps;
    }
};
TYPED_TEST_SUITE(DRAWS_OF_A_BLOCK_TEST, CPU_BLOCKS, NAMES);

// ---- "MaxMin" ------------------------------------------------------------------------------

TYPED_TEST(RULES_TEST, MaxMinLateInASearchTakesTheLowestFreeDelta) {
    typename TestFixture::MODEL model(128, uncoupled({50, 50, 50, 4, 50, 7}, 90));
    typename TestFixture::SEARCHING late(model, TestFixture::STEPS - 1);
    late.bench.block.selectMaxMin();
    EXPECT_EQ(late.bench.block.record.selected, 3);
    setTabu(late.bench.block, 3, 1);
    late.bench.block.selectMaxMin();
    EXPECT_EQ(late.bench.block.record.selected, 5);
}

TYPED_TEST(RULES_TEST, MaxMinGivesEveryEligibleBitAnEvenChance) {
    typename TestFixture::MODEL model(256, uncoupled({}, 7));
    typename TestFixture::SEARCHING search(model, 0);
    const auto count =
        this->frequencies(search.bench, 25600, [&] { search.bench.block.selectMaxMin(); });
    for (int of_bit : count)
        EXPECT_NEAR(of_bit, 100, 50);
}

TYPED_TEST(RULES_TEST, MaxMinWithNothingToTakeRepeatsTheLastSelection) {
    typename TestFixture::MODEL model(64, uncoupled({}, 7));
    typename TestFixture::SEARCHING search(model, 0);
    search.makeAllTabu();
    search.bench.block.select(17);
    search.bench.block.selectMaxMin();
    EXPECT_EQ(search.bench.block.record.maxmin_bid, -1);
    EXPECT_EQ(search.bench.block.record.selected, 17);
}

TYPED_TEST(RULES_TEST, MaxMinWithNothingToTakeInAFullBlockTakesTheLastThreadsFirstBit) {
    typename TestFixture::MODEL model(4096, 10, uncoupled({}, 7));
    typename TestFixture::SEARCHING search(model, 0);
    search.makeAllTabu();
    search.bench.block.select(17);
    search.bench.block.selectMaxMin();
    EXPECT_EQ(search.bench.block.record.selected, 1023 * 4);
}

// ---- "PositiveMin" -------------------------------------------------------------------------

TYPED_TEST(RULES_TEST, PositiveMinDrawsAmongTheGoodBitsAndTheCheapestBadOnesTogether) {
    // Bits 0 and 9 improve, bit 20 changes nothing; the three of 6 share one weight.
    typename TestFixture::MODEL model(128, [](int i, int j) {
        if (i != j) return std::int64_t{0};
        if (i == 0 || i == 9) return std::int64_t{-5};
        if (i == 20) return std::int64_t{0};
        return std::int64_t{i == 1 || i == 40 || i == 41 ? 6 : 80};
    });
    typename TestFixture::SEARCHING search(model, 0);
    const auto count =
        this->frequencies(search.bench, 12000, [&] { search.bench.block.selectPositiveMin(); });
    EXPECT_EQ(search.bench.block.record.positive_threshold, 6);
    EXPECT_EQ(search.bench.block.record.positive_count, 3);
    for (std::size_t good : {0, 9, 20})
        EXPECT_NEAR(count[good], 3000, 250);
    for (std::size_t tied : {1, 40, 41})
        EXPECT_NEAR(count[tied], 1000, 250);
}

TYPED_TEST(RULES_TEST, PositiveMinWithoutAFreePositiveDeltaLetsTheZerosShareOneWeight) {
    typename TestFixture::MODEL model(64, uncoupled({0, 0, -5, 0}, 8));
    typename TestFixture::SEARCHING search(model, 0);
    for (int bit = 4; bit < 64; ++bit)
        setTabu(search.bench.block, bit, 1);
    const auto count =
        this->frequencies(search.bench, 12000, [&] { search.bench.block.selectPositiveMin(); });
    EXPECT_EQ(search.bench.block.record.positive_threshold, 0);
    EXPECT_NEAR(count[2], 6000, 400);
    for (std::size_t tied : {0, 1, 3})
        EXPECT_NEAR(count[tied], 2000, 300);
}

TYPED_TEST(RULES_TEST, PositiveMinCountsTiedBitsThatAreNotFreeInTheDivisor) {
    typename TestFixture::MODEL model(64, uncoupled({-5, 6, 6, 6, 6}, 80));
    typename TestFixture::SEARCHING search(model, 0);
    for (int bit : {2, 3, 4})
        setTabu(search.bench.block, bit, 1);
    const auto count =
        this->frequencies(search.bench, 10000, [&] { search.bench.block.selectPositiveMin(); });
    EXPECT_EQ(search.bench.block.record.positive_count, 4);
    EXPECT_NEAR(count[0], 8000, 400);  // 1 against 1/4
    EXPECT_NEAR(count[1], 2000, 400);
}

TYPED_TEST(RULES_TEST, PositiveMinWithNothingToTakeRepeatsTheLastSelection) {
    typename TestFixture::MODEL model(64, uncoupled({}, 7));
    typename TestFixture::SEARCHING search(model, 0);
    search.makeAllTabu();
    search.bench.block.select(17);
    search.bench.block.selectPositiveMin();
    EXPECT_EQ(search.bench.block.record.positive_bid, -1);
    EXPECT_EQ(search.bench.block.record.selected, 17);
}

TYPED_TEST(RULES_TEST, PositiveMinWithNothingToTakeInAFullBlockTakesTheLastThreadsFirstBit) {
    typename TestFixture::MODEL model(4096, 10, uncoupled({}, 7));
    typename TestFixture::SEARCHING search(model, 0);
    search.makeAllTabu();
    search.bench.block.select(17);
    search.bench.block.selectPositiveMin();
    EXPECT_EQ(search.bench.block.record.selected, 1023 * 4);
}

// ---- "CyclicMin" ---------------------------------------------------------------------------

TYPED_TEST(RULES_TEST, CyclicMinLooksAtSixteenThreadsFirstWhateverTheBlock) {
    for (int size : {64, 384, 4096}) {
        typename TestFixture::MODEL model(size, 10, uncoupled({}, 7));
        typename TestFixture::SEARCHING search(model, 0);
        auto& block = search.bench.block;
        const int own = model.shape.own;
        deltaOf(block, 16 * own) = -9;  // the first bit outside
        deltaOf(block, 16 * own - 1) = -2;
        deltaOf(block, 2 * own) = -1;
        block.selectCyclicMin();
        EXPECT_EQ(block.record.selected, 16 * own - 1);
        EXPECT_EQ(block.record.cycle_start, 16);
        block.selectCyclicMin();
        EXPECT_EQ(block.record.selected, 16 * own);
        EXPECT_EQ(block.record.cycle_start, 32);
    }
}

TYPED_TEST(RULES_TEST, CyclicMinGoesRoundTheEndOfTheBlock) {
    typename TestFixture::MODEL model(64, uncoupled({}, 7));
    typename TestFixture::SEARCHING search(model, 0);
    auto& block = search.bench.block;
    block.record.cycle_start = 60;
    deltaOf(block, 11) = -3;
    deltaOf(block, 12) = -9;
    block.selectCyclicMin();
    EXPECT_EQ(block.record.selected, 11);
    EXPECT_EQ(block.record.cycle_start, 12);
}

TYPED_TEST(RULES_TEST, CyclicMinFlipsTheSpansFirstBitIfAllAreBlocked) {
    typename TestFixture::MODEL model(256, uncoupled({}, 7));
    typename TestFixture::SEARCHING search(model, 0);
    search.bench.block.record.cycle_start = 5;
    for (int bit = 5 * 4; bit < 21 * 4; ++bit)
        setTabu(search.bench.block, bit, 1);
    search.bench.block.selectCyclicMin();
    EXPECT_EQ(search.bench.block.record.selected, 5 * 4);
}

TYPED_TEST(RULES_TEST, CyclicMinSkipsDeltasAtTheMaximum) {
    typename TestFixture::MODEL model(64, uncoupled({}, 7));
    typename TestFixture::SEARCHING search(model, 0);
    for (int bit = 0; bit < 16; ++bit)
        deltaOf(search.bench.block, bit) = TestFixture::MAX;
    search.bench.block.selectCyclicMin();
    EXPECT_EQ(search.bench.block.record.selected, 0);
    EXPECT_EQ(search.bench.block.record.cyclic_low, TestFixture::MAX);
}

// ---- "RandomMin" ---------------------------------------------------------------------------

TYPED_TEST(RULES_TEST, RandomMinLeavesTheLowestDeltaOutOneTimeInTen) {
    typename TestFixture::MODEL model(128, uncoupled({7, -3, 7, -2}, 7));
    typename TestFixture::SEARCHING search(model, 0);
    const auto count =
        this->frequencies(search.bench, 10000, [&] { search.bench.block.selectRandomMin(); });
    EXPECT_NEAR(count[1], 9000, 200);
    EXPECT_NEAR(count[3], 900, 150);
}

TYPED_TEST(RULES_TEST, RandomMinAtTheLastStepNearlyAlwaysTakesTheLowestDelta) {
    typename TestFixture::MODEL model(128, uncoupled({7, -3, 7, -2}, 7));
    typename TestFixture::SEARCHING late(model, TestFixture::STEPS - 1);
    const auto count =
        this->frequencies(late.bench, 2000, [&] { late.bench.block.selectRandomMin(); });
    EXPECT_GE(count[1], 1990);
    EXPECT_LT(late.bench.block.record.random_threshold, 0xFFFFFFFFu);
}

TYPED_TEST(RULES_TEST, RandomMinWithNoBitInTheRaceTakesAThreadsFirstBit) {
    typename TestFixture::MODEL model(128, uncoupled({}, 7));
    typename TestFixture::SEARCHING search(model, 0);
    search.makeAllTabu();
    search.bench.block.selectRandomMin();
    EXPECT_EQ(search.bench.block.record.selected, 63 * 2);  // the last thread stores last
}

// ---- draws ---------------------------------------------------------------------------------

TYPED_TEST(DRAWS_OF_THREADS_TEST, MaxMinSpendsDrawsOnEligibleBitsOnly) {
    typename TestFixture::MODEL model(128, uncoupled({90, 90, 4, 4}, 90));
    typename TestFixture::SEARCHING late(model, TestFixture::STEPS - 1);
    const auto before = late.bench.snapshot().rngs;
    late.bench.block.selectMaxMin();
    const auto after = late.bench.snapshot().rngs;
    EXPECT_EQ(after[0], xor_shift(before[0]));  // the threshold
    // Two eligible bits, and the choice among them.
    EXPECT_EQ(after[1], xor_shift(xor_shift(xor_shift(before[1]))));
    EXPECT_TRUE(std::equal(after.begin() + 2, after.end(), before.begin() + 2));
}

TYPED_TEST(DRAWS_OF_THREADS_TEST, PositiveMinSpendsOneDrawOnEachThreadWithWeight) {
    typename TestFixture::MODEL model(128, uncoupled({90, 90, 4, 4, -1}, 90));
    typename TestFixture::SEARCHING search(model, 0);
    const auto before = search.bench.snapshot().rngs;
    search.bench.block.selectPositiveMin();
    const auto after = search.bench.snapshot().rngs;
    EXPECT_EQ(after[0], before[0]);
    EXPECT_EQ(after[1], xor_shift(before[1]));
    EXPECT_EQ(after[2], xor_shift(before[2]));
    EXPECT_TRUE(std::equal(after.begin() + 3, after.end(), before.begin() + 3));
}

/** The state from which one step of the RNG leads to `state`. */
unsigned long stateBefore(unsigned long state) {
    const auto undo = [](unsigned long mixed, auto shift) {
        unsigned long before = mixed;
        for (int i = 0; i < 10; ++i)  // each round sets right at least 7 more bits
            before = mixed ^ shift(before);
        return before;
    };
    state = undo(state, [](unsigned long x) { return x << 17; });
    state = undo(state, [](unsigned long x) { return x >> 7; });
    return undo(state, [](unsigned long x) { return x << 13; });
}

TYPED_TEST(DRAWS_OF_THREADS_TEST, RandomMinKeepsABitWhoseDrawIsTheThresholdItself) {
    typename TestFixture::MODEL model(64, uncoupled({}, 7));
    typename TestFixture::SEARCHING search(model, 0);
    auto& block = search.bench.block;
    const std::uint32_t threshold = random_threshold(0, TestFixture::STEPS);
    deltaOf(block, 5) = -3;
    rngOf(block, 5) = stateBefore(0xABC00000000 + threshold);
    block.selectRandomMin();
    EXPECT_EQ(block.record.selected, 5);
    rngOf(block, 5) = stateBefore(0xABC00000000 + threshold + 1);
    block.selectRandomMin();
    EXPECT_NE(block.record.selected, 5);
}

TYPED_TEST(DRAWS_OF_THREADS_TEST, RandomMinSpendsNoDrawOnABitThatCouldNotWin) {
    typename TestFixture::MODEL model(128, uncoupled({}, 7));
    typename TestFixture::SEARCHING late(model, TestFixture::STEPS - 1);
    auto& block = late.bench.block;
    setTabu(block, 0, 1);  // thread 0: none free
    setTabu(block, 1, 1);
    deltaOf(block, 2) = TestFixture::MAX;  // thread 1: only its second bit plays
    deltaOf(block, 4) = 9;                 // thread 2: the second bit is lower
    const auto before = late.bench.snapshot().rngs;
    block.selectRandomMin();
    const auto after = late.bench.snapshot().rngs;
    EXPECT_EQ(after[0], before[0]);
    EXPECT_EQ(after[1], xor_shift(before[1]));
    EXPECT_EQ(after[2], xor_shift(xor_shift(before[2])));
    EXPECT_EQ(after[3], xor_shift(before[3]));  // the second bit is no lower than the first
}

TYPED_TEST(DRAWS_OF_THREADS_TEST, MaxMinWithNothingToTakeInAFullBlockStillDrawsForTheLastThread) {
    typename TestFixture::MODEL model(4096, 10, uncoupled({}, 7));
    typename TestFixture::SEARCHING search(model, 0);
    search.makeAllTabu();
    const unsigned long before = rngOf(search.bench.block, 1023);
    search.bench.block.selectMaxMin();
    EXPECT_EQ(rngOf(search.bench.block, 1023), xor_shift(before));
}

TYPED_TEST(DRAWS_OF_A_BLOCK_TEST, MaxMinDrawsTheThresholdAndPlacesUntilOneIsEligible) {
    typename TestFixture::MODEL model(128, uncoupled({}, 7));
    typename TestFixture::SEARCHING all(model, 0);
    unsigned long before = all.bench.block.rng();
    all.bench.block.selectMaxMin();
    EXPECT_EQ(this->stepsFrom(before, all.bench), 1 + TRIES / 2);

    typename TestFixture::MODEL one_low(4096, 10, uncoupled({}, 7));
    typename TestFixture::SEARCHING late(one_low, TestFixture::STEPS - 1);
    deltaOf(late.bench.block, 4001) = 3;
    const int rounds = rounds_of_tries(4096);
    EXPECT_EQ(rounds, 4);
    int most = 0;
    for (int i = 0; i < 50; ++i) {
        before = late.bench.block.rng();
        late.bench.block.selectMaxMin();
        EXPECT_EQ(late.bench.block.record.selected, 4001);
        most = std::max(most, this->stepsFrom(before, late.bench));
    }
    EXPECT_EQ(most, 1 + rounds * TRIES / 2 + 1) << "the last counts, and draws among these";
}

TYPED_TEST(DRAWS_OF_A_BLOCK_TEST, PositiveMinDrawsOnceAndOnceMoreWithinAThread) {
    typename TestFixture::MODEL single(64, uncoupled({-3, -2}, 90));
    typename TestFixture::SEARCHING search(single, 0);
    setTabu(search.bench.block, 63, 1);
    for (int bit = 2; bit < 63; ++bit)
        deltaOf(search.bench.block, bit) = -1;
    unsigned long before = search.bench.block.rng();
    search.bench.block.selectPositiveMin();
    EXPECT_EQ(this->stepsFrom(before, search.bench), 1);

    typename TestFixture::MODEL pairs(128, uncoupled({-3, -2}, 90));
    typename TestFixture::SEARCHING within(pairs, 0);
    for (int bit = 2; bit < 128; ++bit)
        setTabu(within.bench.block, bit, 1);
    before = within.bench.block.rng();
    within.bench.block.selectPositiveMin();
    EXPECT_EQ(within.bench.block.record.positive_count, 0);
    EXPECT_EQ(within.bench.block.record.selected, 0)
        << "with a count of 0, nothing weighs anything";
    EXPECT_EQ(this->stepsFrom(before, within.bench), 1);
    deltaOf(within.bench.block, 9) = 0;  // barred, and yet counted
    before = within.bench.block.rng();
    within.bench.block.selectPositiveMin();
    const int steps = this->stepsFrom(before, within.bench);
    EXPECT_GE(steps, 2);
    EXPECT_LT(steps, 50);
}

TYPED_TEST(DRAWS_OF_A_BLOCK_TEST, RandomMinDrawsForEachBitThatItLooksAt) {
    typename TestFixture::MODEL model(128, uncoupled({7, -3, 7, -2}, 7));
    typename TestFixture::SEARCHING search(model, 0);
    auto& block = search.bench.block;
    const std::uint32_t threshold = random_threshold(0, TestFixture::STEPS);
    block.rng() = stateBefore(0xABC00000000 + threshold);
    block.selectRandomMin();
    EXPECT_EQ(block.record.selected, 1) << "a draw that is the threshold itself keeps the bit";
    const unsigned long before = block.rng() = stateBefore(0xABC00000000 + threshold + 1);
    block.selectRandomMin();
    EXPECT_NE(block.record.selected, 1);
    EXPECT_GE(this->stepsFrom(before, search.bench), 2);

    search.makeAllTabu();
    const unsigned long state = block.rng();
    block.selectRandomMin();
    EXPECT_EQ(block.rng(), state) << "no bit in the race";
}

}  // namespace
}  // namespace orvex::device::test
