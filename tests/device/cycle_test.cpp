// What a block does with an instance: the walk to the target, the descents, the searches and the
// budget, the state that lasts from one instance to the next, and the ways an instance ends early.
// Most models here have no couplings, so that each energy can be read off the diagonal.
#include <gtest/gtest.h>

#include "bench.hpp"

namespace orvex::device::test {
namespace {

template <class BLOCK>
class CYCLE_TEST : public BLOCK_TEST<BLOCK> {};
TYPED_TEST_SUITE(CYCLE_TEST, ALL_BLOCKS, NAMES);

// ---- walk ----------------------------------------------------------------------------------

TYPED_TEST(CYCLE_TEST, TheWalkTakesTheCheapestFlipFirst) {
    typename TestFixture::MODEL model(64, uncoupled({3, -7, 5, -1}, 9));
    typename TestFixture::ON_BENCH bench(model);
    bench.kill_at = 4;
    bench.run({.target = {1, 1, 1, 1}});
    EXPECT_EQ(bench.flipped, (std::vector<int>{1, 3, 0, 2}));
}

TYPED_TEST(CYCLE_TEST, TheWalkFlipsOnlyBitsThatDiffer) {
    typename TestFixture::MODEL model(64, uncoupled({-3, -7, -5, -1}, 9));
    typename TestFixture::ON_BENCH bench(model);
    bench.run({.target = {1, 1, 1, 1}});
    bench.flipped.clear();
    bench.kill_at = 3;
    bench.run({.target = {1, 0, 0, 1, 1}});
    EXPECT_EQ(bench.flipped, (std::vector<int>{2, 1, 4}));
}

TYPED_TEST(CYCLE_TEST, ABitWhoseDeltaIsTheMaximumIsNeverWalked) {
    typename TestFixture::MODEL model(64, uncoupled({5, 5}, 9));
    typename TestFixture::ON_BENCH bench(model);
    deltaOf(bench.block, 1) = TestFixture::MAX;
    bench.run({.target = {1, 1}, .generation = 0});
    EXPECT_EQ(bench.flipped, (std::vector<int>{0, 0}));  // there and, in the descent, back
}

TYPED_TEST(CYCLE_TEST, AWalkFromEnergyZeroIsNotTracked) {
    typename TestFixture::MODEL model(64, uncoupled({-7}, 9));
    typename TestFixture::ON_BENCH bench(model);
    const auto result = bench.run({.target = {1}});
    EXPECT_EQ(bench.block.record.energy, -7);
    EXPECT_EQ(result->energy, 0);
    EXPECT_EQ(result->bits, BITS(64));
}

TYPED_TEST(CYCLE_TEST, AnyOtherWalkIsTracked) {
    typename TestFixture::MODEL model(64, uncoupled({-7, 2}, 9));
    typename TestFixture::ON_BENCH bench(model);
    bench.run({.target = {1}});
    const auto result = bench.run({.target = {1, 1}});
    EXPECT_EQ(result->energy, -7);
    EXPECT_EQ(result->bits, bits(64, {0}));
}

TYPED_TEST(CYCLE_TEST, ATargetEqualToTheCurrentSolutionEndsTheWalkAtOnceAndForgetsTheBest) {
    typename TestFixture::MODEL model(64, uncoupled({-7}, 9));
    typename TestFixture::ON_BENCH bench(model);
    bench.run({.target = {1}});
    const auto result = bench.run({.target = {1}});
    EXPECT_EQ(result->tail.cycles, 0u);
    EXPECT_EQ(result->energy, 0);
    EXPECT_EQ(result->bits, BITS(64));
    EXPECT_EQ(bench.block.record.energy, -7);
}

TYPED_TEST(CYCLE_TEST, AWalkThatEndsAtTheEnergyOfItsStartForgetsWhatItSaw) {
    typename TestFixture::MODEL model(64, uncoupled({-7, 0, 0}, 9));
    typename TestFixture::ON_BENCH bench(model);
    bench.run({.target = {1}});
    std::int64_t seen = 0;
    bench.on_flip = [&] { seen = std::min(seen, bench.block.record.best_energy); };
    const auto result = bench.run({.target = {1, 1, 1}});
    EXPECT_EQ(bench.block.record.energy, -7);
    EXPECT_EQ(seen, -7);
    EXPECT_EQ(result->energy, 0);
    EXPECT_EQ(result->bits, BITS(64));
}

// ---- descent and energy zero ---------------------------------------------------------------

TYPED_TEST(CYCLE_TEST, TheDescentEndsInALocalMinimumAndTracksOnItsWay) {
    typename TestFixture::MODEL model(64, uncoupled({-3, -7, -5}, 9));
    typename TestFixture::ON_BENCH bench(model);
    const auto result = bench.run({.target = {0, 0, 0, 1}});
    EXPECT_EQ(bench.flipped, (std::vector<int>{3, 3, 1, 2, 0}));
    EXPECT_EQ(bench.block.record.energy, -15);
    EXPECT_EQ(result->energy, -15);
    EXPECT_EQ(result->bits, bits(64, {0, 1, 2}));
}

TYPED_TEST(CYCLE_TEST, AModelWithoutNegativeEnergyGivesTheZeroSolutionWithNoSearch) {
    typename TestFixture::MODEL model(64, dense(51, 0, 50));
    typename TestFixture::ON_BENCH bench(model);
    const auto result = bench.run({.target = {}, .budget = 1000, .steps = 1000});
    EXPECT_EQ(result->energy, 0);
    EXPECT_EQ(result->bits, BITS(64));
    EXPECT_EQ(result->tail.cycles, 0u);
}

TYPED_TEST(CYCLE_TEST, NoSearchIsMadeFromEnergyZero) {
    typename TestFixture::MODEL model(64, uncoupled({0, 0, 0}, 9));
    typename TestFixture::ON_BENCH bench(model);
    const auto result = bench.run({.target = {1, 1, 1}, .budget = 1000, .steps = 1000});
    EXPECT_EQ(result->tail.cycles, 3u);
    EXPECT_EQ(bench.current(), bits(64, {0, 1, 2}));
}

// ---- searches and the budget ---------------------------------------------------------------

/** A deep minimum with nothing else near: ten ones of -100. */
ELEMENT oneDeepMinimum() {
    return uncoupled(std::vector<std::int64_t>(10, -100), 1);
}

TYPED_TEST(CYCLE_TEST, ABudgetSmallerThanTheWalkStillMeansOneSearchAndOneDescent) {
    typename TestFixture::MODEL model(64, oneDeepMinimum());
    for (std::uint32_t budget : {0u, 1u, 10u, 12u}) {
        typename TestFixture::ON_BENCH bench(model);
        const auto result =
            bench.run({.target = BITS(10, 1), .algorithm = MAX_MIN, .budget = budget, .steps = 5});
        // Ten flips of the walk; one of the search, which finds the minimum that it has just left;
        // one of the descent back to it.
        EXPECT_EQ(result->tail.cycles, 12u);
        EXPECT_EQ(result->energy, -1000);
    }
}

TYPED_TEST(CYCLE_TEST, SearchesGoOnUntilTheBudgetIsSpent) {
    typename TestFixture::MODEL model(64, oneDeepMinimum());
    typename TestFixture::ON_BENCH bench(model);
    const auto result =
        bench.run({.target = BITS(10, 1), .algorithm = MAX_MIN, .budget = 100, .steps = 5});
    EXPECT_GE(result->tail.cycles, 100u);
    EXPECT_LE(result->tail.cycles, 100u + 2 * 5);  // one search and the way back
}

TYPED_TEST(CYCLE_TEST, NoStepsMeanNoSelectionAndADescent) {
    typename TestFixture::MODEL model(64, uncoupled({-3, -7}, 9));
    for (std::int8_t rule : {MAX_MIN, POSITIVE_MIN, CYCLIC_MIN, RANDOM_MIN}) {
        typename TestFixture::ON_BENCH bench(model);
        const auto result = bench.run({.target = {0, 0, 1}, .algorithm = rule, .budget = 4});
        EXPECT_EQ(bench.flipped, (std::vector<int>{2, 2, 1, 0}));
        EXPECT_EQ(result->energy, -10);
    }
}

TYPED_TEST(CYCLE_TEST, ANewBestEndsASearchButNotADescent) {
    typename TestFixture::MODEL model(64, dense(52, -100, 100));
    typename TestFixture::ON_BENCH bench(model);
    const auto result = bench.run(
        {.target = bits(64, {1, 2, 3}), .algorithm = RANDOM_MIN, .budget = 5000, .steps = 64});
    EXPECT_GE(result->tail.cycles, 5000u);
    bench.expectExactState();
    // After the last descent: a local minimum, and the best is at least as good.
    EXPECT_FALSE(bench.block.descend());
    EXPECT_LE(result->energy, bench.block.record.energy);
}

TYPED_TEST(CYCLE_TEST, AWrongRulePrintsOnceForEachThreadAndDescends) {
    typename TestFixture::MODEL model(256, uncoupled({-3, -7}, 9));
    typename TestFixture::ON_BENCH bench(model);
    testing::internal::CaptureStdout();
    const auto result = bench.run({.target = {1}, .algorithm = 7, .budget = 0, .steps = 50});
    std::string expected;
    for (int t = 0; t < 64; ++t)
        expected += "Type.A=7\n";
    EXPECT_EQ(testing::internal::GetCapturedStdout(), expected);
    EXPECT_EQ(bench.flipped, (std::vector<int>{0, 1}));
    EXPECT_EQ(result->tail.algorithm, 7);
}

// ---- generations ---------------------------------------------------------------------------

TYPED_TEST(CYCLE_TEST, TheFirstInstanceStartsFromZeroWhateverItsGeneration) {
    typename TestFixture::MODEL model(128, dense(53, -100, 100));
    typename TestFixture::ON_BENCH fresh(model);
    typename TestFixture::ON_BENCH first(model);
    INSTANCE instance = {.target = bits(128, {4, 90}), .budget = 50, .steps = 50, .generation = 0};
    const auto of_zero = fresh.run(instance);
    instance.generation = 1;
    const auto of_one = first.run(instance);
    EXPECT_EQ(fresh.flipped, first.flipped);
    EXPECT_EQ(of_zero->energy, of_one->energy);
    EXPECT_EQ(of_zero->bits, of_one->bits);
}

TYPED_TEST(CYCLE_TEST, ANewGenerationStartsAgainFromNothing) {
    typename TestFixture::MODEL model(64, uncoupled({-3, -7}, 9));
    typename TestFixture::ON_BENCH bench(model);
    bench.run({.target = {1, 1}, .generation = 1});
    bench.flipped.clear();
    bench.run({.target = {1, 1}, .generation = 2});
    EXPECT_EQ(bench.flipped, (std::vector<int>{1, 0}));
    bench.expectExactState();
}

TYPED_TEST(CYCLE_TEST, AStaleGenerationGoesOnFromWhereTheBlockIs) {
    typename TestFixture::MODEL model(64, uncoupled({-3, -7}, 9));
    typename TestFixture::ON_BENCH bench(model);
    bench.run({.target = {1, 1}, .generation = 5});
    bench.flipped.clear();
    const auto result = bench.run({.target = {1, 1}, .generation = 3});
    EXPECT_TRUE(bench.flipped.empty());
    EXPECT_EQ(result->tail.generation, 3);
    EXPECT_EQ(bench.block.record.done_generation, 3);
}

TYPED_TEST(CYCLE_TEST, GenerationsAreComparedAsSixteenBitsWithoutASign) {
    typename TestFixture::MODEL model(64, uncoupled({-3, -7}, 9));
    typename TestFixture::ON_BENCH bench(model);
    bench.run({.target = {1, 1}, .generation = 0x7FFF});
    bench.flipped.clear();
    bench.run({.target = {1, 1}, .generation = 0x8000});  // higher: starts again
    EXPECT_EQ(bench.flipped, (std::vector<int>{1, 0}));
    bench.run({.target = {1, 1}, .generation = 0});  // wrapped: lower
    EXPECT_EQ(bench.flipped, (std::vector<int>{1, 0}));
}

// ---- early ends ----------------------------------------------------------------------------

TYPED_TEST(CYCLE_TEST, AKilledSearchGivesNoResult) {
    typename TestFixture::MODEL model(64, oneDeepMinimum());
    for (int kill_at : {0, 5, 10, 11, 12, 50}) {
        typename TestFixture::ON_BENCH bench(model);
        bench.flip(0);
        bench.kill_at = kill_at;
        const auto result =
            bench.run({.target = BITS(10, 1), .budget = 1000, .steps = 20, .generation = 0});
        EXPECT_FALSE(result.has_value()) << kill_at;
        EXPECT_EQ(bench.rings.resultsHandedIn(0), 0);
    }
}

TYPED_TEST(CYCLE_TEST, AKillAtEnergyZeroStillHandsIn) {
    typename TestFixture::MODEL model(64, oneDeepMinimum());
    typename TestFixture::ON_BENCH bench(model);
    bench.kill_at = 0;
    const auto result = bench.run({.target = BITS(10, 1)});
    EXPECT_EQ(result->energy, 0);
    EXPECT_EQ(result->tail.cycles, 0u);
}

TYPED_TEST(CYCLE_TEST, AKilledPassOfTwoNeighborStillHandsIn) {
    typename TestFixture::MODEL model(64, oneDeepMinimum());
    typename TestFixture::ON_BENCH bench(model);
    bench.kill_at = 10 + 4;  // in the pass
    const auto result = bench.run({.target = BITS(10, 1), .algorithm = TWO_NEIGHBOR});
    ASSERT_TRUE(result.has_value());
    // The kill byte is looked at after each flip of a new bit's predecessor: flips 1, 3, 5, ...
    EXPECT_EQ(result->tail.cycles, 10u + 5);
}

TYPED_TEST(CYCLE_TEST, AnOverflowIsHandedInAndLastsForTheBlocksLife) {
    typename TestFixture::MODEL model(64, oneDeepMinimum());
    typename TestFixture::ON_BENCH bench(model);
    bench.block.record.overflow = 1;
    const auto walking = bench.run({.target = BITS(10, 1), .budget = 50, .steps = 50});
    EXPECT_EQ(walking->tail.overflow, 1);
    EXPECT_EQ(walking->tail.cycles, 1u);
    const auto again = bench.run({.target = BITS(10, 0), .budget = 50, .generation = 2});
    EXPECT_EQ(again->tail.overflow, 1);
    EXPECT_EQ(again->tail.cycles, 0u);
}

}  // namespace
}  // namespace orvex::device::test
