// One flip and the tracking after it: what they do to the energy, the deltas and the best
// solution, and when arithmetic counts as overflowed.
#include <limits>

#include <gtest/gtest.h>

#include "bench.hpp"

namespace orvex::device::test {
namespace {

template <class BLOCK>
class FLIP_TEST : public BLOCK_TEST<BLOCK> {
  public:
    using D = typename BLOCK_TEST<BLOCK>::D;
    using E = typename BLOCK_TEST<BLOCK>::E;

    /** A model with one coupling, between bits 0 and 1, and ones on the diagonal. */
    static ELEMENT oneCoupling(std::int64_t weight) {
        return [=](int i, int j) {
            if (i == j) return std::int64_t{1};
            return i == 0 && j == 1 ? weight : std::int64_t{0};
        };
    }

    /** Whether a coupling added to the delta of bit 1 counts as overflow. */
    static bool overflowsWhenAdded(D delta, E coupling) {
        typename BLOCK_TEST<BLOCK>::MODEL model(64, oneCoupling(coupling));
        BENCH<BLOCK> bench(model);
        deltaOf(bench.block, 1) = delta;
        bench.flip(0);
        EXPECT_EQ(deltaOf(bench.block, 1), wrapping_add<D>(delta, coupling));
        return bench.block.record.overflow;
    }

    /** Whether a flip of bit 0 with this delta, from this energy, counts as overflow. */
    static bool overflowsWhenFlipped(D energy, D delta) {
        typename BLOCK_TEST<BLOCK>::MODEL model(64, uncoupled({}, 1));
        BENCH<BLOCK> bench(model);
        bench.block.record.energy = energy;
        deltaOf(bench.block, 0) = delta;
        bench.flip(0);
        EXPECT_EQ(bench.block.record.energy, wrapping_add(energy, delta));
        EXPECT_EQ(deltaOf(bench.block, 0), wrapping_negate(delta));
        return bench.block.record.overflow;
    }
};
TYPED_TEST_SUITE(FLIP_TEST, ALL_BLOCKS, NAMES);

TYPED_TEST(FLIP_TEST, ABlockStartsAtTheAllZeroSolution) {
    typename TestFixture::MODEL model(128, 100, dense(41, -9, 9));
    typename TestFixture::ON_BENCH bench(model);
    EXPECT_EQ(bench.block.record.energy, 0);
    EXPECT_EQ(bench.current(), BITS(128));
    EXPECT_EQ(deltaOf(bench.block, 5), model.at(5, 5));
    EXPECT_EQ(deltaOf(bench.block, 127), FILLER);
}

TYPED_TEST(FLIP_TEST, EnergyAndDeltasStayExact) {
    for (int size : {64, 192, 384}) {
        typename TestFixture::MODEL model(size, size - 3, dense(42, -1000, 1000));
        typename TestFixture::ON_BENCH bench(model);
        for (int i = 0; i < 100; ++i)
            bench.flip(static_cast<int>(mixed(43, size, i) % static_cast<unsigned>(size)));
        bench.expectExactState();
    }
}

TYPED_TEST(FLIP_TEST, TheSignIsTakenBeforeTheBitChanges) {
    typename TestFixture::MODEL model(64, uncoupled({}, 1));
    typename TestFixture::ON_BENCH bench(model);
    bench.flip(5);
    EXPECT_EQ(bench.block.record.flip_sign, -1);
    bench.flip(5);
    EXPECT_EQ(bench.block.record.flip_sign, 1);
}

TYPED_TEST(FLIP_TEST, AZeroElementLeavesTheDeltaOfItsBitAlone) {
    typename TestFixture::MODEL model(64, this->oneCoupling(5));
    typename TestFixture::ON_BENCH bench(model);
    deltaOf(bench.block, 2) = TestFixture::MAX;
    deltaOf(bench.block, 3) = TestFixture::LOWEST;
    bench.flip(0);
    EXPECT_EQ(deltaOf(bench.block, 1), 6);
    EXPECT_EQ(deltaOf(bench.block, 2), TestFixture::MAX);
    EXPECT_EQ(deltaOf(bench.block, 3), TestFixture::LOWEST);
    EXPECT_EQ(bench.block.record.overflow, 0);
}

TYPED_TEST(FLIP_TEST, TheDiagonalElementOfTheRowIsNotUsed) {
    for (auto element : {TestFixture::ELEMENT_MAX, TestFixture::ELEMENT_LOWEST}) {
        typename TestFixture::MODEL model(64, uncoupled({}, 3));
        typename TestFixture::ON_BENCH bench(model);
        model.inMemory(9, 9) = element;
        bench.flip(9);
        EXPECT_EQ(bench.block.record.energy, 3);
        EXPECT_EQ(deltaOf(bench.block, 9), -3);
        EXPECT_EQ(bench.block.record.overflow, 0);
        EXPECT_TRUE(bench.block.descend());
        EXPECT_EQ(bench.block.record.descent_min, -3);
        bench.flip(9);
        EXPECT_EQ(deltaOf(bench.block, 9), 3);
        EXPECT_FALSE(bench.block.descend());
    }
}

TYPED_TEST(FLIP_TEST, FlippingTwiceLeavesNoDrift) {
    typename TestFixture::MODEL model(128, dense(44, -1000, 1000));
    typename TestFixture::ON_BENCH bench(model);
    bench.flip(3);
    bench.flip(77);
    const auto before = bench.snapshot();
    bench.flip(50);
    bench.flip(50);
    EXPECT_EQ(bench.snapshot().delta, before.delta);
    EXPECT_EQ(bench.snapshot().ones, before.ones);
    EXPECT_EQ(bench.block.record.energy, before.record.energy);
}

TYPED_TEST(FLIP_TEST, CountsStepsAndFlipsAndWritesTheTenureOfTheStepBefore) {
    typename TestFixture::MODEL model(64, uncoupled({}, 1));
    typename TestFixture::ON_BENCH bench(model, {.tabu_cycles = 9});
    bench.block.record.step = 5;  // the first tenure, 6, holds for the steps 0 to 5
    bench.flip(1);
    bench.flip(2);
    EXPECT_EQ(tabuOf(bench.block, 1), 6);
    EXPECT_EQ(tabuOf(bench.block, 2), 9);
    EXPECT_EQ(bench.block.record.step, 7u);
    EXPECT_EQ(bench.block.record.flips, 2u);
}

// ---- overflow ------------------------------------------------------------------------------

TYPED_TEST(FLIP_TEST, ADeltaMayReachTheEndsOfTheRangeButNotPassThem) {
    EXPECT_FALSE(this->overflowsWhenAdded(TestFixture::MAX - 5, 5));
    EXPECT_TRUE(this->overflowsWhenAdded(TestFixture::MAX - 4, 5));
    EXPECT_FALSE(this->overflowsWhenAdded(TestFixture::LOWEST + 5, -5));
    EXPECT_TRUE(this->overflowsWhenAdded(TestFixture::LOWEST + 4, -5));
}

/** Blocks whose elements are as wide as their deltas. */
template <class BLOCK>
class FLIP_SAME_WIDTHS_TEST : public FLIP_TEST<BLOCK> {};
TYPED_TEST_SUITE(FLIP_SAME_WIDTHS_TEST, SAME_WIDTHS_BLOCKS, NAMES);

TYPED_TEST(FLIP_SAME_WIDTHS_TEST, TwoLowestValuesThatAddUpToZeroPassOnlyIn64Bits) {
    const bool overflows =
        this->overflowsWhenAdded(TestFixture::LOWEST, TestFixture::ELEMENT_LOWEST);
    EXPECT_EQ(overflows, sizeof(typename TestFixture::D) == 4);
}

TYPED_TEST(FLIP_TEST, AnEnergyMayReachTheEndsOfTheRangeButNotPassThem) {
    EXPECT_FALSE(this->overflowsWhenFlipped(TestFixture::MAX - 5, 5));
    EXPECT_TRUE(this->overflowsWhenFlipped(TestFixture::MAX - 4, 5));
    EXPECT_FALSE(this->overflowsWhenFlipped(TestFixture::LOWEST + 5, -5));
    EXPECT_TRUE(this->overflowsWhenFlipped(TestFixture::LOWEST + 4, -5));
}

TYPED_TEST(FLIP_TEST, TheLowestDeltaOverflowsAndIsItsOwnNegative) {
    EXPECT_TRUE(this->overflowsWhenFlipped(0, TestFixture::LOWEST));
    EXPECT_FALSE(this->overflowsWhenFlipped(0, TestFixture::LOWEST + 1));
}

TEST(NarrowElementTest, AStepChangeOfThirtyTwoBitsWrapsBeforeItIsWidened) {
    const std::int64_t lowest = std::numeric_limits<std::int32_t>::min();
    const auto run = [&](auto&& bench) {
        bench.flip(0);
        EXPECT_EQ(deltaOf(bench.block, 1), 1 + lowest);
        bench.flip(0);  // the change is -lowest, which wraps to lowest
        EXPECT_EQ(deltaOf(bench.block, 1), 1 + 2 * lowest);
        EXPECT_EQ(bench.block.record.overflow, 0);
    };
    TEST_MODEL<std::int32_t> model(64, [=](int i, int j) {
        return i == j ? std::int64_t{1} : i == 0 && j == 1 ? lowest : std::int64_t{0};
    });
    run(BENCH<CPU_BLOCK<std::int32_t, std::int64_t>>(model));
    run(BENCH<REFERENCE_BLOCK<std::int32_t, std::int64_t>>(model));
}

// ---- tracking ------------------------------------------------------------------------------

TYPED_TEST(FLIP_TEST, AnEnergyLowerByOneIsANewBestAndAnEqualOneIsNot) {
    typename TestFixture::MODEL equal(64, uncoupled({-5}, 5));
    typename TestFixture::ON_BENCH on_equal(equal);
    on_equal.flip(1);  // energy 5; its best neighbours have 0
    EXPECT_FALSE(on_equal.block.trackBest());
    EXPECT_EQ(on_equal.block.record.best_energy, 0);

    typename TestFixture::MODEL lower(64, uncoupled({-6}, 5));
    typename TestFixture::ON_BENCH on_lower(lower);
    on_lower.flip(1);
    EXPECT_TRUE(on_lower.block.trackBest());
    EXPECT_EQ(on_lower.block.record.best_energy, -1);
}

TYPED_TEST(FLIP_TEST, TheBestIsTheCurrentSolutionWithOneBitFlipped) {
    typename TestFixture::MODEL model(128, uncoupled({4, -9, -7}, 5));
    typename TestFixture::ON_BENCH bench(model);
    bench.flip(2);
    EXPECT_TRUE(bench.block.trackBest());
    EXPECT_EQ(bench.snapshot().best, bits(128, {1, 2}));
    EXPECT_EQ(bench.current(), bits(128, {2}));
    EXPECT_EQ(bench.block.record.selected, 1);
    EXPECT_EQ(bench.block.record.best_energy, -16);
}

TYPED_TEST(FLIP_TEST, OfEqualNeighboursTheHighestThreadsLowestBitIsTaken) {
    typename TestFixture::MODEL model(128, [](int i, int j) {
        const bool tied = i == 0 || i == 1 || i == 6 || i == 7;  // of the threads 0 and 3
        return std::int64_t{i != j ? 0 : tied ? -6 : 5};
    });
    typename TestFixture::ON_BENCH bench(model);
    bench.flip(20);
    EXPECT_TRUE(bench.block.trackBest());
    EXPECT_EQ(bench.block.record.selected, 7 - 1);
}

TYPED_TEST(FLIP_TEST, AWorseBestIsKeptAndTrackingChangesNothing) {
    typename TestFixture::MODEL model(64, uncoupled({-6}, 5));
    typename TestFixture::ON_BENCH bench(model);
    bench.block.record.best_energy = -100;
    bench.flip(1);
    EXPECT_FALSE(bench.block.trackBest());
    EXPECT_EQ(bench.block.record.selected, 1);
    EXPECT_EQ(bench.block.record.best_candidate, -100);
    EXPECT_EQ(bench.snapshot().best, BITS(64));
}

TYPED_TEST(FLIP_TEST, TheBestEnergyIsNeverAboveZero) {
    typename TestFixture::MODEL model(64, dense(45, 1, 100));
    typename TestFixture::ON_BENCH bench(model);
    for (int i = 0; i < 5; ++i) {
        const auto result = bench.run({.target = BITS(64, 1), .steps = 50});
        EXPECT_EQ(result->energy, 0);
        EXPECT_EQ(result->bits, BITS(64));
    }
}

}  // namespace
}  // namespace orvex::device::test
